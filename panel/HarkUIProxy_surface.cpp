// The lines of a console: its keys and knobs by number, and its faders' off buttons. What only a console has
// is dealt with here; what is left becomes a line as a network panel would send it.
#include "panel/HarkUIProxy.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "addressing/HarkResolv.h"
#include "base/clock.h"
#include "base/text.h"
#include "panel/console_buttons.h"
#include "panel/vol_step.h"

namespace hark {

// What a console's line says.
struct HarkUIProxy::ConsoleKey {
  Signature signature = 0;
  char action = '\0';  // 'D' down, 'U' up, NUL: no key event
  int clicks = 0;      // of a rotary
};

namespace {

constexpr std::string_view kFader = "FaCH#";
constexpr std::string_view kOffButton = " OFF_But=";
constexpr int kMenuPage = 4;
constexpr long kMostClicks = 1000;
constexpr long kFaderLimit = 1'000'000;

const char* behind(const char* text, std::string_view prefix) {
  return std::strncmp(text, prefix.data(), prefix.size()) == 0 ? text + prefix.size() : nullptr;
}

char action_of(char letter) {
  if (letter == '\0') return letter;
  return letter == 'D' ? 'D' : 'U';
}

// The second letter of a key: what it is for.
constexpr char kTalkFamily = 'T';
constexpr char kListenFamily = 'L';
constexpr char kBothFamily = 'X';
char family(Signature key) { return static_cast<char>(key >> 16 & 0xFF); }
bool is_key(Signature signature) { return signature >> 24 == 'K'; }

}  // namespace

Signature HarkUIProxy::listen_key(Signature key) {
  return sig_between(key, kBoth00 + 1, kBoth99) ? key - kBoth00 + kListen00 : key;
}

void HarkUIProxy::harkui_receive_surface(const char* text) {
  if (behind(text, kFader) != nullptr) return receive_fader_button(text);
  const ConsoleKey key = read_console_key(text);
  if (key.action != '\0' && key.signature != 0) apply_menu_item();
  if (taken_by_menu_command(key) || taken_by_menu_knob(key) || taken_by_source(key) ||
      taken_by_held_volume(key))
    return;
  if (key.signature == kSpeakerVolume && key.clicks != 0) turn_speaker_rotary(key.clicks);
  if (key.signature == 0 || key.action == '\0') return;
  std::array<char, 32> line;
  format_text(line, "BUT#%s KEY=%c\n", sig_text(key.signature).data(), key.action);
  harkui_receive(line.data());
}

// While a fader's off button is down, channel keys choose the source of the fader.
void HarkUIProxy::receive_fader_button(const char* text) {
  char* end = nullptr;
  const long number = std::strtol(text + kFader.size(), &end, 0);
  const char* button = std::strstr(end, kOffButton.data());
  if (button == nullptr || button[kOffButton.size()] == '\0') return;
  fach_armed_ = false;
  fach_ = fach_listen_key_ = fach_talk_key_ = 0;
  if (button[kOffButton.size()] != 'D') return;
  fach_ = static_cast<int>(std::clamp(number, -kFaderLimit, kFaderLimit));
  fach_deadline_ = clock_now() + kSourceTimeUs;
  fach_armed_ = true;
}

HarkUIProxy::ConsoleKey HarkUIProxy::read_console_key(const char* text) const {
  ConsoleKey key;
  const char* number = behind(text, ".btn#");
  if (number == nullptr) number = behind(text, ".key#");
  if (number == nullptr) return key;
  char* end = nullptr;
  key.signature = console_key(std::strtol(number, &end, 0), type == kModuleColour);
  for (const std::string_view field : {" KEY=", " state="}) {
    if (const char* value = behind(end, field)) key.action = action_of(*value);
  }
  if (const char* value = behind(end, " rot="))
    key.clicks = static_cast<int>(std::clamp(std::strtol(value, nullptr, 0), -kMostClicks, kMostClicks));
  return key;
}

// The item under the menu's cursor is what the auto-answer keys are for; it is looked at with each key event.
void HarkUIProxy::apply_menu_item() {
  const HarkUI_ScrollItem* item = menu_.selected_item();
  if (item == nullptr) return;
  if (item->id == kItemStation) shared_->SetAALabel(item->text.c_str());
  if (item->id == kItemNone) shared_->SetAALabel("");
}

// The assign key on a link or a shift of the menu chooses that.
bool HarkUIProxy::taken_by_menu_command(const ConsoleKey& key) {
  if (key.signature != kAssign || key.action == '\0') return false;
  const HarkUI_ScrollItem* item = menu_.selected_item();
  if (item == nullptr) return false;
  const bool is_link = item->id >= kPageMain && item->id <= kPageStatus;
  if (!is_link && item->id != kItemShift) return false;
  if (key.action != 'D') return true;
  if (is_link) {
    menu_.OpenPage(item->id);
  } else {
    shared_->SelectShift(item->text.c_str());
  }
  return true;
}

bool HarkUIProxy::taken_by_menu_knob(const ConsoleKey& key) {
  if (key.signature != kMenu) return false;
  if (key.action == 'D') {
    show_alt_ = show_alt_ == 1 ? 0 : 1;
    shared_->dirty |= kDirtyLabels;
    menu_.dirty = true;
  }
  if (key.clicks != 0) menu_.Scroll(key.clicks, kMenuPage);
  return true;
}

// Notes which channel's keys are down, and gives a fader its source when both halves of one are.
bool HarkUIProxy::taken_by_source(const ConsoleKey& key) {
  if (!is_key(key.signature) || key.action == '\0') return false;
  const int number = key.action == 'D' ? sigidx(key.signature) : 0;
  const char half = family(key.signature);
  if (half == kTalkFamily || half == kBothFamily) fach_talk_key_ = number;
  if (half == kListenFamily || half == kBothFamily) fach_listen_key_ = number;
  if (fach_talk_key_ != 0 || fach_listen_key_ != 0) fach_armed_ = false;  // a touched key keeps the source
  if (fach_ == 0) return false;
  if (fach_talk_key_ != 0 && fach_talk_key_ == fach_listen_key_) {
    const int channel = Resolv2QnChannel(std::string(label_of(fach_talk_key_ - 1)).c_str());
    harkui_sendf("SET FaCH#%d hark_src=%d\n", fach_, channel == 0 ? -1 : channel);
    fach_talk_key_ = fach_listen_key_ = 0;
  }
  return true;
}

// The release of a listen key whose volume was set meanwhile drops nothing.
bool HarkUIProxy::taken_by_held_volume(const ConsoleKey& key) {
  const char half = family(key.signature);
  if (!is_key(key.signature) || key.action == '\0' || (half != kListenFamily && half != kBothFamily))
    return false;
  if (key.action == 'D') {
    shared_->held_key = key.signature;
    shared_->held_volume_changed = false;
    return false;
  }
  if (shared_->held_key != key.signature) return false;
  shared_->held_key = 0;
  return shared_->held_volume_changed;
}

// The speaker's rotary sets the volume of the held listen key, if one is held.
void HarkUIProxy::turn_speaker_rotary(int clicks) {
  Signature fader = kSpeakerVolume;
  if (shared_->held_key != 0) {
    fader = shared_->held_key;
    shared_->held_volume_changed = true;
  }
  const int level = CalcFaderScroll(fader, clicks * kRotaryClick);
  if (level == kNoValue) return;
  std::array<char, 32> line;
  format_text(line, "FAD#%s gain=%d\n", sig_text(listen_key(fader)).data(), level);
  harkui_receive(line.data());
}

}  // namespace hark

// The lamps of a panel's keys: which letter each shows, and how each kind of panel is told. A letter is sent
// only when it has changed, so that the refresh every few seconds costs no text.
#include "panel/HarkUIProxy.h"

#include <array>

#include "panel/console_buttons.h"

namespace hark {
namespace {

// Letters of an indicator.
constexpr char kOff = '0';
constexpr char kOn = '1';
constexpr char kRinging = 'R';
constexpr char kDropped = 'd';
constexpr char kArmed = '*';

constexpr std::uint8_t kMember = kListenOn | kTalkOn;  // how a member of the group is shown

// The index of a channel's key of the family `base`, -1 when `key` is none.
int channel_index(Signature key, Signature base, int nkeys) {
  return sig_between(key, base + 1, mksig(base, nkeys)) && sigidx(key) <= nkeys ? sigidx(key) - 1 : -1;
}

// The letter of one half of a state; the bits are those of listen.
char letter_of(unsigned half) {
  if ((half & (kListenRingsIn | kListenRingsOut)) != 0) return kRinging;
  if ((half & kListenOn) != 0) return kOn;
  return (half & kListenDropped) != 0 ? kDropped : kOff;
}

bool flashes(char letter) { return letter == kArmed || letter == 'C' || letter == kRinging || letter == 'r'; }

constexpr std::array<const char*, 4> kColours{"OFF", "RED", "GREEN", "YELLOW"};  // bit 0 talk, bit 1 listen
constexpr unsigned kTalkLight = 1;
constexpr unsigned kListenLight = 2;

struct Lights {
  unsigned steady = 0;
  unsigned lit = 0;
};

void add_light(Lights& lights, char letter, unsigned light) {
  const bool blinks = letter == kArmed || letter == kRinging || letter == kDropped || letter == 'r';
  if (letter == kOn) lights.steady |= light;
  if (letter == kOn || blinks) lights.lit |= light;
}

}  // namespace

int HarkUIProxy::indicator_place(Signature key) const {
  const int nkeys = shared_->nkeys();
  if (const ConsoleButton* button = indicator_button(key)) return 2 * nkeys + button->place;
  if (const int listen = channel_index(key, kListen00, nkeys); listen >= 0) return listen;
  const int talk = channel_index(key, kTalk00, nkeys);
  return talk >= 0 ? nkeys + talk : -1;
}

// Keeps the letter of a key. False when it has it already, or has no place.
bool HarkUIProxy::cache_indicator(Signature key, char letter) {
  const int place = indicator_place(key);
  if (place < 0) return false;
  char& cached = indicators_[static_cast<std::size_t>(place)];
  if (cached == letter) return false;
  cached = letter;
  return true;
}

void HarkUIProxy::UpdateKeyIndicator(Signature key, char letter) {
  if (!cache_indicator(key, letter)) return;
  if (type == kNetworkPanel) {
    render_network(key, letter);
  } else if (type != kModuleColour || indicator_button(key) != nullptr) {
    render_button(key, letter);
  } else {
    render_colour_key(sigidx(key) - 1);
  }
}

void HarkUIProxy::UpdateKeyIndicators(int index, std::uint8_t status) {
  const bool auto_answer = index == shared_->nkeys();
  const Signature listen = auto_answer ? kListenAa : mksig(kListen00, index + 1);
  const Signature talk = auto_answer ? kTalkAa : mksig(kTalk00, index + 1);
  const char listen_letter = letter_of(status & kListenBits);
  const char talk_letter = letter_of(status >> 4);
  if (type == kModuleColour && !auto_answer) {
    // One lamp for both halves: one line, and no state in between.
    const bool listen_changed = cache_indicator(listen, listen_letter);
    const bool talk_changed = cache_indicator(talk, talk_letter);
    if (listen_changed || talk_changed) render_colour_key(index);
    return;
  }
  UpdateKeyIndicator(listen, listen_letter);
  UpdateKeyIndicator(talk, talk_letter);
}

void HarkUIProxy::UpdateKeyIndicators() {
  const bool programming = shared_->group_state == GroupState::kProgramming;
  for (int i = first_ - 1; i < last_; ++i) {
    const std::string_view label = label_of(i);
    if (programming) {
      UpdateKeyIndicators(i, shared_->in_group(label) ? kMember : 0);
    } else {
      UpdateKeyIndicators(i, shared_->status_of(label));
    }
  }
  UpdateKeyIndicators(shared_->nkeys(), shared_->callstack_combinedstatus());
  const bool talking = shared_->group_state == GroupState::kTalking;
  UpdateKeyIndicator(kGroupTalk, talking ? kOn : programming ? kArmed : kOff);
  UpdateKeyIndicator(kAssign, shared_->assign_mode == AssignMode::kArmed ? kArmed : kOff);
  UpdateKeyIndicator(kSpeakerMute, shared_->spk_mute ? kOn : kOff);
  UpdateKeyIndicator(kMicMute, shared_->mic_mute ? kOn : kOff);
}

void HarkUIProxy::render_network(Signature key, char letter) {
  const std::array<char, 2> itself{letter, '\0'};
  const char* ind = itself.data();
  if (flashes(letter) || letter == kDropped) ind = "Flash";
  if (letter == kOff) ind = "Off";
  if (letter == kOn) ind = "On";
  harkui_sendf("set HARKUI#%s.BUT#%s IND=%s\n", id_.c_str(), sig_text(key).data(), ind);
}

void HarkUIProxy::render_button(Signature key, char letter) {
  const ConsoleButton* function = indicator_button(key);
  const int channel = sigidx(key) - 1;
  const bool talk = function == nullptr && key < kBoth00 && key > kTalk00;
  const int channel_button = talk ? talk_button(channel + 1) : listen_button(channel + 1);
  const int number = function != nullptr ? function->number : channel_button;
  const std::array<char, 2> itself{letter, '\0'};
  const char* ind = itself.data();
  if (letter == kOn) ind = "ON";
  if (flashes(letter)) ind = "FLASH";
  if (letter == kDropped) ind = "FLASH_FAST";
  if (letter == kOff || letter == '\0') {
    const bool winks = talk && (keys_[static_cast<std::size_t>(channel)].dfl & kDflHigherLevel) != 0;
    ind = winks ? "WINK" : "OFF";
  }
  harkui_sendf("SET Intercom.btn#%d IND=%s\n", number, ind);
}

void HarkUIProxy::render_colour_key(int index) {
  const auto i = static_cast<std::size_t>(index);
  const char listen = indicators_[i];
  const char talk = indicators_[keys_.size() + i];
  Lights lights;
  add_light(lights, listen, kListenLight);
  add_light(lights, talk, kTalkLight);
  const char* ind = lights.steady != lights.lit ? "FLASH" : "OFF";
  if (talk == kOff && listen == kDropped) {
    ind = "FLASH_FAST";
  } else if ((keys_[i].dfl & kDflHigherLevel) != 0 && lights.steady == 0) {
    lights.steady |= kTalkLight;
    ind = "WINK";
  }
  harkui_sendf("SET Intercom.key#%d BACKCOLOROFF=%s,BACKCOLORON=%s,IND=%s\n", index + 1,
               kColours[lights.steady], kColours[lights.lit], ind);
}

}  // namespace hark

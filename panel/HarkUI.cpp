#include "panel/HarkUI.h"

#include <algorithm>
#include <cstdarg>
#include <new>

#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "panel/HarkUI_CallstackMenu.h"
#include "panel/panel_line.h"

namespace hark {

int harkchTable_size = 20;

namespace {

constexpr std::size_t kLongestId = 1900;  // a line has room for so much and all that may stand around it
constexpr long kLevelLimit = 1'000'000;   // beyond any fader, and safe to calculate with
constexpr int kEscapedTextSize = 2 * (kPanelTextSize - 1) + 1;

// Letters of an indicator.
constexpr char kNone = '\0';
constexpr char kOff = '0';
constexpr char kOn = '1';
constexpr char kWink = 'P';

constexpr std::uint32_t kTickMask = 127;
constexpr std::uint32_t kBlinkBit = 8;       // of the ticks: so long a flashing lamp is on, then off
constexpr std::uint32_t kWinkTickMask = 31;  // a wink is each tick with none of these bits

struct FunctionKey {
  Signature key;
  int place;  // of its letter, behind those of the channels
};

// key, place
// Kept: the speaker's place is before the microphone's, the other way round than at the station. Only the
// names of keys go over the line; each end counts its places for itself.
constexpr std::array<FunctionKey, 6> kFunctionKeys{{
    {kGroupTalk, 0},
    {kAssign, 1},
    {kListenAa, 2},
    {kTalkAa, 3},
    {kSpeakerMute, 4},
    {kMicMute, 5},
}};
constexpr int kFunctionPlaces = 8;  // two of them are free

struct FunctionLamp {
  Signature kind;
  int index;
  Signature key;  // whose letter it shows
};

// kind, index, key
constexpr std::array<FunctionLamp, 6> kFunctionLamps{{
    {kLampTalk, kAutoAnswerLamp, kTalkAa},
    {kLampListen, kAutoAnswerLamp, kListenAa},
    {kLampGroup, 0, kGroupTalk},
    {kLampAssign, 0, kAssign},
    {kLampSpeakerMute, 0, kSpeakerMute},
    {kLampMicMute, 0, kMicMute},
}};

struct ListObject {
  std::string_view name;
  Signature list;
};

// object, list
constexpr std::array<ListObject, 3> kLists{{
    {"SEL#CHSEL", kListStations},
    {"SEL#SHIFT", kListShifts},
    {"SEL#CALLS", kListCalls},
}};

// What a line does with a list; the verbs of all other objects say nothing that the object does not.
enum class Verb { kOther, kAdd, kRemove };

struct VerbWord {
  std::string_view word;
  Verb verb;
};

// word, verb
constexpr std::array<VerbWord, 4> kVerbs{{
    {"set ", Verb::kOther},
    {"event ", Verb::kOther},
    {"add ", Verb::kAdd},
    {"remove ", Verb::kRemove},
}};

// Takes the verb off `text`, which has one only in front of a panel's name.
Verb take_verb(const char*& text) {
  for (const VerbWord& row : kVerbs) {
    if (!starts_with_nocase(text, row.word) || !starts_with_nocase(text + row.word.size(), kPanelObject)) {
      continue;
    }
    text += row.word.size();
    return row.verb;
  }
  return Verb::kOther;
}

PanelText panel_text(const char* value) {
  PanelText text{};
  qnr_copyval(text.data(), value, kPanelTextSize);
  return text;
}

// The letter of an IND value.
// Kept: of a word other than On and Off the first letter is the state. So `Flash` is F however it is
// written, and a state that a station has no word for, which it sends as its letter, arrives as that.
char letter_of(const char* value) {
  std::array<char, 32> word{};
  qnr_copyval(word.data(), value, static_cast<int>(word.size()));
  if (equal_nocase(word.data(), "On")) return kOn;
  if (equal_nocase(word.data(), "Off")) return kOff;
  return word[0];
}

int lamp_state(char letter, bool dark) {
  switch (letter) {
    case kOn:
      return kLampOn;
    case kWink:
      return kLampPulse;
    case '*':
    case 'F':
    case 'R':
      return dark ? kLampOff : kLampOn;
    default:
      return kLampOff;
  }
}

}  // namespace

HarkUI::HarkUI(int first_key, int nkeys, int aans, std::string_view id, const HarkUI_Callbacks* callbacks,
               void* ctx)
    : first_key_(first_key),
      nkeys_(nkeys),
      aans_(aans),
      callbacks_(callbacks),
      ctx_(ctx),
      indicators_(static_cast<std::size_t>(2 * nkeys + kFunctionPlaces)),
      records_(static_cast<std::size_t>(nkeys + 1)),
      id_(id.substr(0, kLongestId)) {}

std::unique_ptr<HarkUI> HarkUI_Create(int first, int nkeys, int aans, std::string_view id,
                                      const HarkUI_Callbacks* callbacks, void* ctx) {
  if (nkeys < 0 || nkeys > kMostPanelKeys || callbacks == nullptr) return nullptr;
  return std::unique_ptr<HarkUI>(new (std::nothrow) HarkUI(first, nkeys, aans, id, callbacks, ctx));
}

void HarkUI_Free(std::unique_ptr<HarkUI> ui) { ui.reset(); }

void HarkUI::HarkUI_Initialize() {
  std::fill(indicators_.begin(), indicators_.end(), kNone);
  std::fill(records_.begin(), records_.end(), Record{});
  for (int i = 0; i <= nkeys_; ++i)
    show(i);
  sendf("attach HARKUI#%s KEYS=\"%d-%ld\" AANS:%d\nHARK\n", id_.c_str(), first_key_,
        long{first_key_} + nkeys_ - 1, aans_);
}

std::string_view HarkUI::label() const { return field_text(label_); }

// The key index that the number of `key` stands for, whatever kind of key it is; -1 for one that the panel
// does not have.
int HarkUI::key_index(Signature key) const {
  const long index = long{sigidx(key)} - first_key_;
  return index >= 0 && index < nkeys_ ? static_cast<int>(index) : -1;
}

// Where the letter of `key` is, -1 when it has no place.
int HarkUI::calcindiidx(Signature key) const {
  for (const FunctionKey& row : kFunctionKeys) {
    if (row.key == key) return 2 * nkeys_ + row.place;
  }
  constexpr int kFamilyShift = 16;  // the two characters in front of the number
  const Signature family = key >> kFamilyShift;
  const bool talk = family == kTalk00 >> kFamilyShift;
  const int index = talk || family == kListen00 >> kFamilyShift ? key_index(key) : -1;
  return talk && index >= 0 ? nkeys_ + index : index;
}

char HarkUI::getindi(Signature key) const {
  const int place = calcindiidx(key);
  return place >= 0 ? indicators_[static_cast<std::size_t>(place)] : kNone;
}

void HarkUI::sendf(const char* format, ...) {
  if (callbacks_->send == nullptr) return;
  LineBuffer text;
  va_list args;
  va_start(args, format);
  vformat_text(text, format, args);
  va_end(args);
  callbacks_->send(ctx_, text.data());
}

void HarkUI::show(int index) {
  if (callbacks_->display == nullptr) return;
  const Record& shown = record(index);
  callbacks_->display(ctx_, index, shown.text.data(), shown.alt.data());
}

void HarkUI::IntercomKeyEvent(Signature key, bool down, std::optional<std::uint32_t> time, const char* text) {
  if (key == kShiftKey) {
    std::array<char, kEscapedTextSize> shift;
    qnr_escape(shift.data(), kEscapedTextSize, text);
    sendf("event HARKUI#%s.SEL#SHIFT TEXT=\"%s\"\n", id_.c_str(), shift.data());
    return;
  }
  send_auto_answer_label();
  if (key == 0) return;
  const char* direction = down ? "DOWN" : "UP";
  if (!time) {
    sendf("event HARKUI#%s.BUT#%s KEY=%s\n", id_.c_str(), sig_text(key).data(), direction);
    return;
  }
  // Kept: an empty line follows. A station takes any run of line ends as one, and recordings of panels'
  // traffic, which are compared line by line, have it.
  sendf("event HARKUI#%s.BUT#%s KEY=%s T=%lu\n\n", id_.c_str(), sig_text(key).data(), direction,
        static_cast<unsigned long>(*time));
}

// Tells the station of a label that the panel has chosen since it last heard of one.
void HarkUI::send_auto_answer_label() {
  if (callbacks_->auto_answer_label == nullptr) return;
  PanelText chosen{};
  callbacks_->auto_answer_label(ctx_, chosen.data(), kPanelTextSize);
  chosen.back() = '\0';
  Record& known = records_.back();
  if (field_text(chosen) == field_text(known.text)) return;
  known.text = chosen;
  std::array<char, kEscapedTextSize> escaped;
  qnr_escape(escaped.data(), kEscapedTextSize, chosen.data());
  sendf("event HARKUI#%s.DISP#KLAA TEXT=\"%s\"\n", id_.c_str(), escaped.data());
}

void HarkUI::IntercomFaderMoved(Signature key, int value, bool relative) {
  sendf("event HARKUI#%s.FAD#%s %sgain=%d\n", id_.c_str(), sig_text(key).data(), relative ? "d" : "", value);
}

void HarkUI::harkd_receive(const char* text) {
  const Verb verb = take_verb(text);
  const char* object = behind_panel_name(text, id_);
  if (object == nullptr) return;
  Signature signature = 0;
  if (const char* key = object_values(object, kKeyObject, signature)) return receive_key(signature, key);
  if (const char* fader = object_values(object, kFaderObject, signature)) {
    return receive_fader(signature, fader);
  }
  if (const char* display = object_values(object, kDisplayObject, signature)) {
    return receive_display(signature, display);
  }
  for (const ListObject& row : kLists) {
    if (!starts_with_nocase(object, row.name)) continue;
    if (verb == Verb::kRemove) return receive_clear(row.list, object + row.name.size());
    if (verb == Verb::kAdd) return receive_item(row.list, object + row.name.size());
  }
  receive_station(object);
}

void HarkUI::receive_key(Signature key, const char* values) {
  const int place = calcindiidx(key);
  const char* state = qnr_findval(values, "IND");
  if (place < 0 || state == nullptr) return;
  indicators_[static_cast<std::size_t>(place)] = letter_of(state);
  UpdateKeyIndicators();
  // Kept: a display is told again with its key's lamp, for panels that show both in one place, but the first
  // key's is not. Its text has not changed, so nothing is lost; it comes with each DISP line.
  if (place < 2 * nkeys_ && key_index(key) > 0) show(key_index(key));
}

void HarkUI::receive_fader(Signature fader, const char* values) {
  const char* gain = qnr_findval(values, "gain");
  if (gain == nullptr || callbacks_->fader == nullptr) return;
  callbacks_->fader(ctx_, fader, static_cast<int>(std::clamp(qnr_vall(gain), -kLevelLimit, kLevelLimit)));
}

void HarkUI::receive_display(Signature display, const char* values) {
  const char* text = qnr_findval(values, "TEXT");
  const int index = display == kListenAa ? nkeys_ : key_index(display);
  if (text == nullptr || index < 0) return;
  Record& shown = records_[static_cast<std::size_t>(index)];
  shown.text = panel_text(text);
  shown.alt = panel_text(qnr_findval(values, "ALT"));
  shown.dfl = static_cast<std::uint32_t>(qnr_getl(values, "DFL", 0));
  show(index);
}

// `rest` is what stands behind the list's name: nothing, of a line that clears the list.
void HarkUI::receive_clear(Signature list, const char* rest) {
  const bool alone = *rest == '\0' || *rest == '\r' || *rest == '\n';
  if (alone && callbacks_->clear_list != nullptr) callbacks_->clear_list(ctx_, list);
}

void HarkUI::receive_item(Signature list, const char* rest) {
  if (*rest != ' ' || callbacks_->add_to_list == nullptr) return;
  const char* value = qnr_findval(rest, "TEXT");
  if (value == nullptr) return;
  const PanelText text = panel_text(value);
  const PanelText alt = panel_text(qnr_findval(rest, "ALT"));
  char letter = kNone;
  if (list == kListCalls) {
    const char* state = qnr_findval(rest, "IND");
    letter = state != nullptr ? letter_of(state) : kOff;
  }
  callbacks_->add_to_list(ctx_, list, text.data(), alt.data(), letter);
}

// The station's own line.
void HarkUI::receive_station(const char* text) {
  constexpr std::string_view kStation = "HARK ";
  if (!starts_with_nocase(text, kStation)) return;
  if (const char* name = qnr_findval(text + kStation.size(), "LABL")) label_ = panel_text(name);
}

void HarkUI::TimerAction() {
  tick_ = (tick_ + 1) & kTickMask;
  UpdateKeyIndicators();
}

void HarkUI::UpdateKeyIndicators() {
  for (int i = 0; i < harkchTable_size; ++i)
    update_channel_lamps(i);
  for (const FunctionLamp& row : kFunctionLamps)
    set_lamp(row.kind, row.index, getindi(row.key));
}

// The lamps of a channel, dark where it is beyond the panel's keys.
void HarkUI::update_channel_lamps(int index) {
  char talk = kNone;
  char listen = kNone;
  if (index < nkeys_) {
    const auto i = static_cast<std::size_t>(index);
    listen = indicators_[i];
    talk = indicators_[static_cast<std::size_t>(nkeys_) + i];
    // Kept: one wink in 32 steps, four of the flashing, and the listen lamp is dark in it, lit or not. So a
    // key whose far end will not answer by itself is told from one that rings, also during a call.
    if ((records_[i].dfl & kDflHigherLevel) != 0 && (tick_ & kWinkTickMask) == 0) {
      talk = kWink;
      listen = kOff;
    }
  }
  set_lamp(kLampTalk, index, talk);
  set_lamp(kLampListen, index, listen);
}

void HarkUI::set_lamp(Signature kind, int index, char letter) {
  if (callbacks_->lamp == nullptr) return;
  callbacks_->lamp(ctx_, kind, index, lamp_state(letter, (tick_ & kBlinkBit) != 0));
}

}  // namespace hark

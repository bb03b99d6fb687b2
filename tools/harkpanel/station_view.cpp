#include "tools/harkpanel/station_view.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/text.h"
#include "panel/vol_step.h"
#include "tools/control/control_lines.h"

namespace hark::panel_gateway {
namespace {

// Levels from a station are held to these, so that differences of them stay small; -1000 is muted.
constexpr int kLowestLevel = -1000;
constexpr int kHighestLevel = 1000;

// Bits of EXTC: what the station hides from its panels.
constexpr long kHideTalk = 1;
constexpr long kHideListen = 2;

constexpr std::string_view kOutputsLine = "SET Intercom ";
constexpr std::string_view kSettingsLine = "HARK ";

bool says_on(const std::string& value) { return equal_nocase(value.c_str(), "ON"); }

}  // namespace

// What HarkUI reaches this object through. What it keeps itself, displays and letters of lamps, is looked at
// when it is told on.
struct StationView::Callbacks {
  static StationView& view(void* ctx) { return *static_cast<StationView*>(ctx); }

  // Without a choice of our own the station's label stays: HarkUI sends what differs from it.
  static void auto_answer_label(void* ctx, char* buffer, int size) {
    const StationView& self = view(ctx);
    const std::span<char> out(buffer, static_cast<std::size_t>(size));
    copy_text(out, self.caller_ ? std::string_view(*self.caller_)
                                : field_text(self.ui_->record(self.ui_->nkeys()).text));
  }
  static void fader(void* ctx, Signature fader, int level) { view(ctx).station_fader(fader, level); }
  static void clear_list(void* ctx, Signature list) {
    if (list == kShiftKey && view(ctx).shifts_.clear_told()) view(ctx).changes_.shifts = true;
  }
  static void add_to_list(void* ctx, Signature list, const char* text, const char* /*alt*/, char /*letter*/) {
    if (list == kShiftKey && view(ctx).shifts_.add_told(text)) view(ctx).changes_.shifts = true;
  }
  static void send(void* ctx, const char* text) { view(ctx).send(text); }

  static constexpr HarkUI_Callbacks kTable{.auto_answer_label = auto_answer_label,
                                           .fader = fader,
                                           .clear_list = clear_list,
                                           .add_to_list = add_to_list,
                                           .send = send};
};

StationView::StationView(const std::string& id, int first_key, int nkeys, bool auto_answer, ShiftNames shifts,
                         std::function<void(const char*)> send)
    : shifts_(std::move(shifts)),
      send_(std::move(send)),
      offers_auto_answer_(auto_answer),
      ui_(HarkUI_Create(first_key, nkeys, auto_answer ? 1 : 0, id, &Callbacks::kTable, this)),
      levels_(static_cast<std::size_t>(nkeys)) {
  told_ = shown();
}

// ---- the connection ----

// A link that is lost while something is sent takes nothing more.
void StationView::send(const char* text) {
  if (link_ == Link::kUp) send_(text);
}

void StationView::set_link(Link link) {
  link_ = link;
  error_.clear();
  answered_ = settings_known_ = calls_listed_ = false;
  talking_ = listening_ = false;
  calls_.clear();
  changes_.station = changes_.calls = look_again_ = true;
}

void StationView::connected() {
  set_link(Link::kUp);
  retry_ms_ = 0;
  caller_.reset();
  std::fill(levels_.begin(), levels_.end(), 0);
  speaker_level_ = 0;
  ui_->HarkUI_Initialize();
  send("CALL\n");
}

void StationView::lost(std::string why, std::int64_t retry_ms) {
  // What the station itself has said of it tells more than what the socket saw.
  why_ = error_.empty() ? std::move(why) : std::move(error_);
  retry_ms_ = retry_ms;
  if (shifts_.forget_choice()) changes_.shifts = true;
  set_link(Link::kLost);
}

void StationView::connecting() {
  retry_ms_ = 0;
  set_link(Link::kConnecting);
}

void StationView::probe() { send("VER\n"); }

// ---- lines from the station ----

void StationView::receive(const std::string& line) {
  look_again_ = true;
  receive_error(line);
  receive_settings(line);
  receive_outputs(line);
  if (calls_.receive(line)) changes_.calls = true;
  receive_list_end(line);
  ui_->harkd_receive(line.c_str());
}

// A station that turns us away says why and closes. Other errors are followed by further lines.
void StationView::receive_error(const std::string& line) {
  std::optional<std::string> error = control::read_error(line);
  if (!error && !answered_) {
    answered_ = changes_.station = true;
    why_.clear();
  }
  error_ = std::move(error).value_or("");
}

void StationView::receive_settings(const std::string& line) {
  if (!starts_with_nocase(std::string_view(line), kSettingsLine)) return;
  settings_known_ = true;
  if (const std::optional<long> latch = control::number_of(line, "LATCH"))
    latch_ms_ = static_cast<std::uint32_t>(std::clamp<long>(*latch, 0, std::numeric_limits<int>::max()));
  hidden_outputs_ = control::number_of(line, "EXTC").value_or(hidden_outputs_);
}

void StationView::receive_outputs(const std::string& line) {
  if (!starts_with_nocase(std::string_view(line), kOutputsLine)) return;
  const std::string values = line.substr(kOutputsLine.size());
  if (const auto talk = control::tag_of(values, "talk")) talking_ = says_on(*talk);
  if (const auto listen = control::tag_of(values, "listen")) listening_ = says_on(*listen);
}

// The station tells its outputs when they change. How they stand at first is seen from the first list of
// calls.
void StationView::receive_list_end(const std::string& line) {
  if (line != "END" || std::exchange(calls_listed_, true)) return;
  constexpr char kUp = '1';
  for (const control::Call& call : calls_.calls()) {
    if (call.talk == kUp && (hidden_outputs_ & kHideTalk) == 0) talking_ = true;
    if (call.listen == kUp && (hidden_outputs_ & kHideListen) == 0) listening_ = true;
  }
}

void StationView::station_fader(Signature fader, int level) {
  if (int* known = level_of(fader)) *known = std::clamp(level, kLowestLevel, kHighestLevel);
}

int* StationView::level_of(Signature fader) {
  if (fader == kSpeakerVolume) return &speaker_level_;
  if (!sig_between(fader, kListen00 + 1, mksig(kListen00, kHighestKeyNumber))) return nullptr;
  const int index = sigidx(fader) - first_key();
  return index >= 0 && index < nkeys() ? &levels_[static_cast<std::size_t>(index)] : nullptr;
}

// ---- the operator's actions ----

void StationView::key(Signature key, bool down, std::uint32_t time_ms) {
  ui_->IntercomKeyEvent(key, down, time_ms, nullptr);
}

// Another caller may have come while the key was down, or been chosen: the one of the press comes back for
// the release, which his label goes ahead of.
void StationView::key_up(Signature key, std::uint32_t time_ms, const std::string& caller) {
  const std::string present = auto_answer().text;
  const bool other = !caller.empty() && caller != present;
  if (other) caller_ = caller;
  this->key(key, false, time_ms);
  caller_.reset();
  if (other) choose_caller(present);
}

void StationView::choose_caller(const std::string& label) {
  look_again_ = true;
  caller_ = label;
  ui_->IntercomKeyEvent(0, false, std::nullopt, nullptr);
  caller_.reset();
}

void StationView::have_all_keys() {
  send(("attach HARKUI#" + id() + " KEYS=\"1-90\" AANS:" + (offers_auto_answer_ ? "1" : "0") + "\n").c_str());
}

void StationView::have_own_keys() {
  if (link_ != Link::kUp) return;
  look_again_ = true;
  ui_->HarkUI_Initialize();
}

void StationView::select_shift(const std::string& name) {
  if (shifts_.choose(name)) changes_.shifts = true;
  ui_->IntercomKeyEvent(kShiftKey, true, std::nullopt, name.c_str());
}

void StationView::fader_to(Signature fader, int level) {
  int* known = level_of(fader);
  if (known == nullptr) return;
  if (fader != kSpeakerVolume) return fader_by(fader, level - *known);
  *known = level;
  look_again_ = true;
  ui_->IntercomFaderMoved(fader, level, false);
}

void StationView::fader_by(Signature fader, int delta) {
  int* known = level_of(fader);
  if (known == nullptr || delta == 0) return;
  *known = vol_step(*known, delta);
  look_again_ = true;
  const bool speaker = fader == kSpeakerVolume;
  ui_->IntercomFaderMoved(fader, speaker ? *known : delta, !speaker);
}

void StationView::look_at_shifts() {
  if (shifts_.look()) changes_.shifts = true;
}

}  // namespace hark::panel_gateway

// The lines of a network panel: keys, faders, labels, shifts. A console's events become the same lines.
#include "panel/HarkUIProxy.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "base/clock.h"
#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "panel/panel_line.h"

namespace hark {
namespace {

constexpr std::string_view kShiftList = "SEL#SHIFT ";

int level_of(const char* value) {
  return static_cast<int>(std::clamp<long>(qnr_vall(value), -kGainLimit, kGainLimit));
}

// The label that a line carries; none without one.
std::optional<Label> text_of(const char* values) {
  const char* value = qnr_findval(values, "TEXT");
  if (value == nullptr) return std::nullopt;
  Label label{};
  qnr_copyval(label.data(), value, kLabelSize);
  return label;
}

}  // namespace

void HarkUIProxy::harkui_receive(const char* text) {
  const char* object = behind_panel_name(text, id_);
  if (object == nullptr) return;
  if (starts_with_nocase(object, kShiftList)) {
    if (const std::optional<Label> label = text_of(object + kShiftList.size()))
      shared_->SelectShift(label->data());
    return;
  }
  Signature signature = 0;
  if (const char* key = object_values(object, kKeyObject, signature)) return receive_key(signature, key);
  if (const char* fader = object_values(object, kFaderObject, signature))
    return receive_fader(signature, fader);
  if (const char* display = object_values(object, kDisplayObject, signature))
    receive_display(signature, display);
}

void HarkUIProxy::receive_key(Signature key, const char* values) {
  const char* direction = qnr_findval(values, "KEY");
  if (direction == nullptr) return;
  if (*direction == '"') ++direction;
  if (*direction != 'D' && *direction != 'U') return;
  const bool down = *direction == 'D';
  const char* time = qnr_findval(values, "T");
  const auto ms = static_cast<std::uint32_t>(time != nullptr ? qnr_vall(time) : clock_now() / kUsPerMs);
  shared_->IntercomKeyPressed(key, down, ms, *this);
  (void)shared_->harkd_sendf("event HARKUI#%.*s.BUT#%.4s KEY=%s\r\n", kLongestShownId, id_.c_str(),
                             sig_text(key).data(), down ? "DOWN" : "UP");
}

void HarkUIProxy::receive_fader(Signature fader, const char* values) {
  const bool held = fader == kHeldKeyVolume && shared_->held_key != 0;
  if (fader == kHeldKeyVolume) fader = held ? listen_key(shared_->held_key) : kSpeakerVolume;
  int level = kNoValue;
  if (const char* gain = qnr_findval(values, "gain")) {
    level = level_of(gain);
  } else if (const char* dgain = qnr_findval(values, "dgain")) {
    level = CalcFaderScroll(fader, level_of(dgain));
  }
  if (level == kNoValue) return;
  shared_->IntercomFaderSetValue(fader, level);
  if (held) shared_->held_volume_changed = true;
}

void HarkUIProxy::receive_display(Signature display, const char* values) {
  const std::optional<Label> label = text_of(values);
  if (!label) return;
  if (display == kListenAa) {
    shared_->SetAALabel(label->data());
  } else if (sig_between(display, kListen00 + 1, kListen99)) {
    shared_->AssignChannel(sigidx(display) - 1, label->data());
  }
}

}  // namespace hark

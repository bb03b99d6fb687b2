// A panel's life, and what one pass of the loop makes it send. Labels, indicators and the menu have files of
// their own, and so has each of the two ways in.
#include "panel/HarkUIProxy.h"

#include <algorithm>
#include <cstdarg>
#include <new>
#include <utility>

#include "base/text.h"
#include "panel/vol_step.h"

namespace hark {
namespace {

constexpr std::size_t kFunctionPlaces = 8;  // behind the channels' places; six are in use

int vsend(HarkUIProxy::Send send, int context, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

int vsend(HarkUIProxy::Send send, int context, const char* format, va_list args) {
  LineBuffer text;
  const int length = vformat_text(text, format, args);
  // A line that was cut ends all the same, or the next would be taken for a part of it.
  if (length > 0) text[static_cast<std::size_t>(length) - 1] = '\n';
  return send(text.data(), context);
}

}  // namespace

HarkUIProxy::HarkUIProxy(std::string id, int first, int last, int aans, HarkUIProxyShared* shared, Send send,
                         int context)
    : id_(std::move(id)),
      first_(first),
      last_(last),
      aans_(aans),
      shared_(shared),
      send_(send),
      context_(context),
      indicators_(2 * static_cast<std::size_t>(shared->nkeys()) + kFunctionPlaces, '\0'),
      keys_(static_cast<std::size_t>(shared->nkeys())) {}

std::unique_ptr<HarkUIProxy> HarkUIProxy::Create(std::string id, int first, int last, int aans,
                                                 HarkUIProxyShared* shared, Send send, int context) {
  if (shared == nullptr) return nullptr;
  first = std::max(first, 1);
  last = std::min(last, shared->nkeys());
  return std::unique_ptr<HarkUIProxy>(
      new (std::nothrow) HarkUIProxy(std::move(id), first, last, aans, shared, send, context));
}

void HarkUIProxy::Notify(std::uint32_t flags, TimeUs now) {
  if ((flags & kDirtyLabels) != 0) UpdateChannelLabels();
  if ((flags & kDirtyIndicators) != 0) UpdateKeyIndicators();
  if ((flags & kDirtyShiftList) != 0) PopulateShiftListCombo();
  if ((flags & kDirtyChannelList) != 0) PopulateChannelListCombo();
  if ((flags & kDirtyFaders) != 0) send_faders();
  if ((flags & kDirtyCallstack) != 0) PopulateCallstack();
  if (menu_.dirty) {
    menu_.RefreshMenu();
    menu_.dirty = false;
    surfacemodule_callstackmenu_update();
  }
  if (now == 0) return;
  lapse_source(now);
  flash_menu(now);
}

// Consoles have their own faders: what they show is not this program's.
void HarkUIProxy::send_faders() {
  if (type != kNetworkPanel) return;
  harkui_sendf("set HARKUI#%s.FAD#SPKV gain=%d\n", id_.c_str(), shared_->spk_volume);
  for (int i = first_ - 1; i < last_; ++i) {
    harkui_sendf("set HARKUI#%s.FAD#%s gain=%d\n", id_.c_str(), sig_text(mksig(kListen00, i + 1)).data(),
                 shared_->volumes[static_cast<std::size_t>(i)]);
  }
}

// A fader whose off button has stayed down for so long without a key loses its source.
void HarkUIProxy::lapse_source(TimeUs now) {
  if (fach_ == 0 || !fach_armed_ || fach_deadline_ - now >= 1) return;
  harkui_sendf("SET FaCH#%d hark_src=-1\n", fach_);
  fach_armed_ = false;
}

int HarkUIProxy::CalcFaderScroll(Signature key, int delta) {
  int* level = nullptr;
  if (key == kHeadphoneVolume) {
    level = &hdp_scroll_;
  } else if (key == kSpeakerVolume) {
    level = &spk_scroll_;
  } else if (sig_between(key, kListen00 + 1, kListen99) || sig_between(key, kBoth00 + 1, kBoth99)) {
    const int index = sigidx(key) - 1;
    if (index >= 0 && index < shared_->nkeys()) level = &shared_->volumes[static_cast<std::size_t>(index)];
  }
  if (level == nullptr) return kNoValue;
  *level = vol_step(*level, delta);
  return *level;
}

std::string_view HarkUIProxy::label_of(int index) const {
  if (index < 0 || static_cast<std::size_t>(index) >= keys_.size()) return {};
  const std::optional<std::string>& text = keys_[static_cast<std::size_t>(index)].text;
  return text ? std::string_view(*text) : std::string_view();
}

int HarkUIProxy::harkui_sendf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = vsend(send_, context_, format, args);
  va_end(args);
  return result;
}

}  // namespace hark

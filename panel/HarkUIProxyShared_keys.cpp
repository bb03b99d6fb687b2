// What a key means: tap, latch and hold, the group, the assign mode, and the call that a channel key makes.
#include "panel/HarkUIProxyShared.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "addressing/HarkResolv.h"
#include "addressing/harkbonjour.h"
#include "addressing/harkurl.h"
#include "base/text.h"
#include "daemon/station/listenvol.h"
#include "panel/HarkUIProxy.h"

namespace hark {

// A channel key, and what it is still good for.
struct HarkUIProxyShared::CallKey {
  int index = -1;  // nkeys: the auto-answer channel
  bool talk = false;
  bool listen = false;

  [[nodiscard]] bool is_call_key() const { return talk || listen; }
};

namespace {

struct Family {
  Signature auto_answer;
  Signature base;
  bool talk;
  bool listen;
};

// key of the auto-answer channel, base of the channels' keys, talk, listen
constexpr std::array<Family, 3> kFamilies{
    {{kTalkAa, kTalk00, true, false}, {kBothAa, kBoth00, true, true}, {kListenAa, kListen00, false, true}}};

// Widens what is on or rings to all bits of its half; a half that the far end has dropped stays as it is.
std::uint8_t widened(std::uint8_t status) {
  if ((status & (kTalkOn | kTalkRingsIn | kTalkRingsOut)) != 0) status |= kTalkBits;
  if ((status & (kListenOn | kListenRingsIn | kListenRingsOut)) != 0) status |= kListenBits;
  return status;
}

}  // namespace

void HarkUIProxyShared::IntercomKeyPressed(Signature key, bool down, std::uint32_t ms,
                                           const HarkUIProxy& proxy) {
  const bool tap = taps(down, ms);
  if (key == kAssign) return press_assign(down);
  if (key == kGroupTalk) return press_group(down, tap);
  if (key == kSpeakerMute || key == kMicMute) return press_mute(key, down);
  CallKey call_key;
  for (const Family& family : kFamilies) {
    const bool numbered = sig_between(key, family.base + 1, mksig(family.base, kHighestKeyNumber));
    if (key == family.auto_answer) {
      call_key = {nkeys(), family.talk, family.listen};
    } else if (numbered) {
      // Kept: the number behind the last key is the auto-answer channel, whose index it has.
      call_key = {sigidx(key) - 1, family.talk, family.listen};
    }
  }
  if (!call_key.is_call_key()) return;
  const bool auto_answer = call_key.index == nkeys();
  const std::string label(auto_answer ? field_text(aa_label) : proxy.label_of(call_key.index));
  if (group_state == GroupState::kProgramming) {
    if (!down && !auto_answer) edit_group(label);
  } else if (assign_mode == AssignMode::kArmed) {
    if (!down && !auto_answer) assign_key(call_key.index);
  } else if (!label.empty()) {
    press_call_key(call_key, down, tap, label.c_str());
  }
}

// Notes a press; tells of a release whether it came soon enough.
bool HarkUIProxyShared::taps(bool down, std::uint32_t ms) {
  if (down) {
    press_ms_ = ms;
    return false;
  }
  return station.harkui_tap_time_ms != 0 && TimeUs{ms - press_ms_} < station.harkui_tap_time_ms;
}

void HarkUIProxyShared::press_assign(bool down) {
  if (!down) return;
  assign_mode = assign_mode == AssignMode::kArmed ? AssignMode::kIdle : AssignMode::kArmed;
  dirty |= kDirtyIndicators;
}

void HarkUIProxyShared::press_group(bool down, bool tap) {
  GroupState next = GroupState::kIdle;
  if (group_state == GroupState::kTalking) {
    if (!down && tap) return;  // latched
    (void)GroupCall(false);
  } else if (!down) {
    return;
  } else if (group_state == GroupState::kIdle && assign_mode == AssignMode::kArmed) {
    next = GroupState::kProgramming;
    assign_mode = AssignMode::kIdle;
  } else if (group_state == GroupState::kIdle) {
    if (!GroupCall(true)) return;
    next = GroupState::kTalking;
  }
  group_state = next;
  dirty |= kDirtyIndicators;
}

void HarkUIProxyShared::press_mute(Signature key, bool down) {
  if (!down) return;
  const bool muted = key == kSpeakerMute ? spk_mute : mic_mute;
  IntercomIOPropertySet(key, muted ? 0 : 1);
}

// Flips the membership of a station.
void HarkUIProxyShared::edit_group(std::string_view label) {
  if (label.empty()) return;
  take_foreign_changes();
  std::list<std::string>& group = table_->group;
  const auto member = std::find(group.begin(), group.end(), label);
  if (member != group.end()) {
    group.erase(member);
  } else {
    group.emplace_front(label);
  }
  dirty |= kDirtyIndicators;
  // Kept: the model takes this save for a change by another program and loads it again, which turns the order
  // of the group round. Only the order in which its members are called depends on it.
  save_shift();
}

void HarkUIProxyShared::assign_key(int index) {
  if (index < 0 || index >= nkeys()) return;
  const Label label = aa_label;
  AssignChannel(index, label.data());
  assign_mode = AssignMode::kIdle;
  dirty |= kDirtyIndicators;
}

void HarkUIProxyShared::apply_flags(CallKey& key, bool& tap) const {
  if (key.index < 0 || key.index >= nkeys()) return;
  const std::uint32_t flags = table_->entries[static_cast<std::size_t>(key.index)].flags;
  const bool no_latch =
      (key.talk && (flags & kNoTalkLatch) != 0) || (key.listen && (flags & kNoListenLatch) != 0);
  tap = tap && !no_latch;
  key.talk = key.talk && (flags & kNoTalk) == 0;
  key.listen = key.listen && (flags & kNoListen) == 0;
}

void HarkUIProxyShared::press_call_key(CallKey key, bool down, bool tap, const char* label) {
  ResolvedLabel found;
  bool resolved = HarkResolv2(kResolveLabel, label, found.info) == 0;
  apply_flags(key, tap);
  harkurl_info url;
  (void)harkurl_parse(resolved ? found.url.data() : nullptr, &url);
  key.talk = key.talk && urli_get_talk_control(url);
  if (!key.is_call_key()) return;
  const std::uint8_t status = widened(status_of(label));
  if (down) {
    take_press(key, status);
  } else if (release_ends_here(key, tap)) {
    return;
  }
  if (down && key.index == nkeys() && (status & (kListenOn | kTalkOn)) == 0 &&
      (callstack_combinedstatus() & (kListenOn | kTalkOn)) != 0) {
    (void)std::puts("callstack busy");
    return;
  }
  if (!resolved || found.info.addr_len == 0) {
    if (harkbonjour_lookupservice(label) == 1) {
      resolved = HarkResolv2(kResolveLabel, label, found.info) == 0 || resolved;
    }
  }
  if (resolved) call_from_key(key, down, label, behind_star(found.url.data()), status);
}

// What a press turns on: its own half, and the other as well where `conn`, a widened state, has that half.
void HarkUIProxyShared::take_press(CallKey& key, std::uint8_t conn) {
  const auto want = static_cast<std::uint8_t>((key.talk ? kTalkBits : 0) | (key.listen ? kListenBits : 0));
  press_latches_ = (conn & want) != want;
  if (key.listen) {
    held_key = mksig(kListen00, key.index + 1);
    held_volume_changed = false;
  }
  // The second test sees what the first has added.
  key.listen = key.listen || (key.talk && (conn & kListenRingsIn) != 0);
  key.talk = key.talk || (key.listen && (conn & kTalkRingsIn) != 0);
}

// Whether a release leaves the call as it is.
bool HarkUIProxyShared::release_ends_here(const CallKey& key, bool tap) {
  if (key.listen) {
    held_key = 0;
    if (held_volume_changed) return true;
  }
  return press_latches_ && tap;
}

void HarkUIProxyShared::call_from_key(const CallKey& key, bool down, const char* label, const char* url,
                                      std::uint8_t conn) {
  unsigned which = 0;
  unsigned value = 0;
  int volume = 0;
  if (key.talk) {
    which |= kCallTalk;
    if (down) value |= kCallTalk;
    // Opening a talk path unmutes the microphone.
    if (down && (conn & kTalkOn) == 0) IntercomIOPropertySet(kMicMute, 0);
  }
  if (key.listen) {
    volume = listenvol_get(label);
    which |= kCallListen | kCallVolume;
    if (down) value |= kCallListen;
  }
  (void)harkd_call(url, which, value, volume);
}

}  // namespace hark

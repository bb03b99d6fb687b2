// The one model behind all panels of the daemon: which station each key calls, the live state of every party,
// the modes of the assign and group keys, mutes and faders, the call stack. Key presses of all panels come in
// here and leave as text commands to the daemon; it never touches a call itself. The state of a call comes
// back as an indication. Panels render the model and read its fields; only the main loop clears `dirty`.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "daemon/station/station.h"
#include "panel/ChannelAssignmentTable.h"
#include "panel/callstack.h"
#include "panel/party.h"
#include "panel/signature.h"

namespace hark {

class HarkUIProxy;

// Bits of `dirty`: what the panels must refresh.
inline constexpr std::uint32_t kDirtyLabels = 1;
inline constexpr std::uint32_t kDirtyIndicators = 2;  // the main loop computes the outputs anew as well
inline constexpr std::uint32_t kDirtyChannelList = 4;
inline constexpr std::uint32_t kDirtyFaders = 8;
inline constexpr std::uint32_t kDirtyCallstack = 16;
inline constexpr std::uint32_t kDirtyShiftList = 32;
inline constexpr std::uint32_t kDirtyStations = kDirtyLabels | kDirtyIndicators | kDirtyChannelList;
inline constexpr std::uint32_t kDirtyAll = 65535;

// `which` of harkd_call.
inline constexpr unsigned kCallListen = 1;
inline constexpr unsigned kCallVolume = 2;
inline constexpr unsigned kCallTalk = 16;

// Outputs of ComputeGPO, before they are made active low.
inline constexpr std::uint8_t kOutListen = 1;
inline constexpr std::uint8_t kOutRinging = 4;
inline constexpr std::uint8_t kOutMicMute = 8;
inline constexpr std::uint8_t kOutTalk = 16;

// Whether any attached panel offers auto-answer. Filled at start.
extern int (*harkd_has_autoanswer_callback)();

enum class AssignMode { kIdle, kArmed };
enum class GroupState { kIdle, kProgramming, kTalking };

class HarkUIProxyShared {
 public:
  // Receives each command of the model as text, a whole line; `context` is what Create was given. Not 0 when
  // it was taken. It may call back into the model.
  using Send = int (*)(const char* text, int context);

  // A new model for `nkeys` keys with its channel file in `folder`, the default shift selected; null if there
  // is no memory or `nkeys` is below 1.
  [[nodiscard]] static std::unique_ptr<HarkUIProxyShared> Create(int nkeys, const std::string& folder,
                                                                 Send send, int context);
  // Forgets the listen volumes too.
  ~HarkUIProxyShared();
  HarkUIProxyShared(const HarkUIProxyShared&) = delete;
  HarkUIProxyShared& operator=(const HarkUIProxyShared&) = delete;

  // The number of channels; as an index it stands for the auto-answer channel.
  [[nodiscard]] int nkeys() const { return table_->size(); }
  [[nodiscard]] const ChannelAssignmentTable& table() const { return *table_; }

  // Puts `label` on key index `index` (others are ignored) and saves the table.
  void AssignChannel(int index, const char* label);
  // Talks to all members of the group, or ends that. Whether the group has members.
  bool GroupCall(bool on);
  // A key of `proxy` went down or up, at `ms` milliseconds on any clock that presses and releases share.
  void IntercomKeyPressed(Signature key, bool down, std::uint32_t ms, const HarkUIProxy& proxy);
  // Mutes or unmutes the speaker (SPKM) or the microphone (MICM), or sets the speaker level (SPKV).
  void IntercomIOPropertySet(Signature key, int value);
  // A fader was moved to `value`.
  void IntercomFaderSetValue(Signature key, int value);
  // Loads the shift `label` (its first 10 characters).
  void SelectShift(const char* label);
  // Sets the auto-answer label (its first 10 characters).
  void SetAALabel(const char* label);
  // Copies the auto-answer label, cut to `len` - 1 characters. -1 for a null buffer or no length, else 0.
  int GetAALabel(char* buf, std::size_t len) const;
  // The state of the panel outputs, active low.
  [[nodiscard]] std::uint8_t ComputeGPO() const;
  // Housekeeping, at least every 3 seconds: notices files that other programs changed.
  void TimerAction();
  // The speaker's mute, as a far contact sets it.
  void SetSpeakerMute(bool mute) { IntercomIOPropertySet(kSpeakerMute, mute ? 1 : 0); }

  // An indication of a call: what the daemon reports of it.
  void harkd_receive(const char* text);
  // Sends a command; the line is cut to 2000 characters. The result is that of `Send`.
  int harkd_sendf(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Asks for a change of the call to `url`: `which` says what is meant (kCall...), `value` has the bits of
  // what is to be on, `volume` is in tenths of a dB.
  int harkd_call(const char* url, unsigned which, unsigned value, int volume);

  // `label` on the stack. Always 0.
  int callstack_add(std::string_view label, std::uint32_t status);
  // Moves parties whose label is on no key to the stack.
  void callstack_stackunassignedcalls();
  [[nodiscard]] std::uint8_t callstack_combinedstatus() const { return callstack.combined_status(); }

  // The status of the party `label`.
  [[nodiscard]] std::uint8_t status_of(std::string_view label) const {
    return icconnections_get(connections, label);
  }
  [[nodiscard]] bool in_group(std::string_view label) const;

  // What the panels show, and the state that the panels' own keys share.
  Label aa_label{};  // auto-answer label
  bool spk_mute = false;
  bool mic_mute = false;
  int spk_volume = 0;                // tenths of a dB
  std::vector<int> volumes;          // by key, tenths of a dB, as last reported
  Signature held_key = 0;            // the listen key that is held down, 0: none
  bool held_volume_changed = false;  // its volume was set meanwhile: its release drops nothing
  AssignMode assign_mode = AssignMode::kIdle;
  GroupState group_state = GroupState::kIdle;
  PartyList connections;
  std::string conf_path;  // of the channel file
  Label shift{};          // selected shift
  std::uint32_t dirty = 0;
  Callstack callstack;

 private:
  struct CallKey;

  HarkUIProxyShared(std::unique_ptr<ChannelAssignmentTable> table, Send send, int context);
  void load_shift();
  void save_shift();
  void reload_channels();
  void take_foreign_changes();
  bool taps(bool down, std::uint32_t ms);
  void press_assign(bool down);
  void press_group(bool down, bool tap);
  void press_mute(Signature key, bool down);
  void edit_group(std::string_view label);
  void assign_key(int index);
  void press_call_key(CallKey key, bool down, bool tap, const char* label);
  void apply_flags(CallKey& key, bool& tap) const;
  bool release_ends_here(const CallKey& key, bool tap);
  void take_press(CallKey& key, std::uint8_t conn);
  void call_from_key(const CallKey& key, bool down, const char* label, const char* url, std::uint8_t conn);
  bool note_volume(const char* text, std::string_view label);
  void answer(ICCONNECTION& party, std::uint8_t rings, const char* url);
  bool answers(std::string_view label, bool recent, bool assigned, const char* url_tags) const;

  Send send_;
  int context_;
  std::unique_ptr<ChannelAssignmentTable> table_;
  TimeUs conf_mtime_ = 0;   // of the channel file that is loaded
  TimeUs saved_mtime_ = 0;  // of the one that the model wrote last
  TimeUs sources_mtime_ = 0;
  // Shared by all panels and keys: two panels that press at the same moment disturb each other's tap test.
  std::uint32_t press_ms_ = 0;
  bool press_latches_ = false;  // the last press turned something on, so that a tap may leave it on
};

}  // namespace hark

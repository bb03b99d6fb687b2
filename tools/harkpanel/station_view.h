// What the gateway knows of the station: a panel client with what it shows, the list of calls, the settings,
// and which parts of it have changed. No sockets.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "panel/HarkUI.h"
#include "tools/control/call_list.h"
#include "tools/harkpanel/shift_names.h"

namespace hark::panel_gateway {

// The keys beside those of channels, as a browser is told of them.
inline constexpr std::array<Signature, 4> kFunctionKeys{kGroupTalk, kAssign, kSpeakerMute, kMicMute};

// Calls that a browser is told of: a station has 136 lines.
inline constexpr std::size_t kMostCallsTold = 256;

// What a key's lamp shows.
enum class Lamp { kOff, kOn, kFlash, kWink };

enum class Link {
  kConnecting,  // dialling
  kUp,
  kLost,  // waiting before the next attempt
};

// Parts of the state. A set of them is what a browser has yet to be told.
struct Parts {
  bool station = false;  // link, name, why it is lost
  bool auto_answer = false;
  bool function_keys = false;
  bool speaker = false;
  bool outputs = false;
  bool calls = false;
  bool shifts = false;
  std::vector<bool> channels;  // by index

  [[nodiscard]] bool any() const;
  void add(const Parts& other);
  [[nodiscard]] static Parts all(int channels);
};

class StationView {
 public:
  // `send`: whole lines for the station.
  StationView(const std::string& id, int first_key, int nkeys, bool auto_answer, ShiftNames shifts,
              std::function<void(const char*)> send);
  StationView(const StationView&) = delete;
  StationView& operator=(const StationView&) = delete;

  // The connection is there: attaches, and asks for what a page shows.
  void connected();
  // A line from the station, without its end.
  void receive(const std::string& line);
  // It is gone, for the reason `why`; the next attempt comes in `retry_ms`.
  void lost(std::string why, std::int64_t retry_ms);
  void connecting();
  // Asks for an answer to all that was sent before, which is a line that begins with VER.
  void probe();

  // Operator's actions, sent on. Require the link to be up.
  void key(Signature key, bool down, std::uint32_t time_ms);
  // The release of a key. `caller`: whom the auto-answer channel was when a key of it was pressed; empty for
  // other keys. The station ends the call of the one that it is at the release.
  void key_up(Signature key, std::uint32_t time_ms, const std::string& caller);
  void choose_caller(const std::string& label);
  // The panel has all keys that a station has from here on, and again its own alone: to let go of one that an
  // earlier start had, since the station passes over keys that a panel does not have.
  void have_all_keys();
  void have_own_keys();
  void select_shift(const std::string& name);
  // A fader to a level, or by a step. The speaker is set; a channel is stepped along the station's scale,
  // which keeps all panels at one level.
  void fader_to(Signature fader, int level);
  void fader_by(Signature fader, int delta);
  // Looks at the channel file.
  void look_at_shifts();

  // What has changed since the last call.
  [[nodiscard]] Parts take_changes();

  // ---- what is known ----
  struct Channel {
    int number = 0;
    std::string text, alt;
    Lamp talk = Lamp::kOff, listen = Lamp::kOff;
    bool no_talk = false;         // the talk key does nothing
    bool latched_listen = false;  // opens by itself
    int level = 0;                // tenths of a dB
    bool operator==(const Channel&) const = default;
  };
  [[nodiscard]] Channel channel(int index) const;
  [[nodiscard]] Channel auto_answer() const;  // number 0
  [[nodiscard]] Lamp function_key(Signature key) const;
  [[nodiscard]] int speaker_level() const { return speaker_level_; }
  [[nodiscard]] const std::vector<control::Call>& calls() const { return calls_.calls(); }
  [[nodiscard]] const ShiftNames& shifts() const { return shifts_; }
  [[nodiscard]] std::string station_name() const { return std::string(ui_->label()); }
  [[nodiscard]] Link link() const { return link_; }
  [[nodiscard]] const std::string& why() const { return why_; }  // why it is lost; empty: not yet dialled
  [[nodiscard]] std::int64_t retry_ms() const { return retry_ms_; }
  // Whether anybody hears us, and we anybody: what the station tells all its panels.
  [[nodiscard]] bool talking() const { return talking_; }
  [[nodiscard]] bool listening() const { return listening_; }
  // Whether the station has said anything on this connection but that it will not have us.
  [[nodiscard]] bool answered() const { return answered_; }
  // Whether it has told its settings on this connection, latch_ms() among them.
  [[nodiscard]] bool settings_known() const { return settings_known_; }
  // The time within which a release is a tap.
  [[nodiscard]] std::uint32_t latch_ms() const { return latch_ms_; }

  [[nodiscard]] const std::string& id() const { return ui_->GetUIID(); }
  [[nodiscard]] int first_key() const { return ui_->first_key(); }
  [[nodiscard]] int nkeys() const { return ui_->nkeys(); }
  [[nodiscard]] bool offers_auto_answer() const { return offers_auto_answer_; }

 private:
  struct Callbacks;  // HarkUI's, with this object as their first argument
  // All that browsers are told of but lists, to see what a line has changed: much of what a station says
  // repeats what it has said.
  struct Shown {
    std::string name;
    std::vector<Channel> channels;
    Channel auto_answer;
    std::array<Lamp, kFunctionKeys.size()> keys{};
    int speaker = 0;
    bool talking = false, listening = false;
  };

  void send(const char* text);
  void set_link(Link link);
  [[nodiscard]] Lamp lamp_of(Signature key, std::uint32_t dfl) const;
  [[nodiscard]] Channel channel_of(int index, int number, Signature talk, Signature listen) const;
  [[nodiscard]] Shown shown() const;
  void receive_error(const std::string& line);
  void receive_outputs(const std::string& line);
  void receive_settings(const std::string& line);
  void receive_list_end(const std::string& line);
  void station_fader(Signature fader, int level);
  // Where the level of a fader is kept; null for one that the panel does not have.
  int* level_of(Signature fader);

  ShiftNames shifts_;
  std::function<void(const char*)> send_;
  bool offers_auto_answer_;
  std::unique_ptr<HarkUI> ui_;
  control::CallList calls_;
  std::vector<int> levels_;  // of channels, by index
  int speaker_level_ = 0;
  std::optional<std::string> caller_;  // a label that the station has yet to hear of
  Link link_ = Link::kConnecting;
  std::string why_;
  std::string error_;  // what the station's last line said, if that was an error
  std::int64_t retry_ms_ = 0;
  bool answered_ = false;
  bool settings_known_ = false;
  bool calls_listed_ = false;
  bool talking_ = false;
  bool listening_ = false;
  long hidden_outputs_ = 0;  // EXTC
  std::uint32_t latch_ms_ = 200;
  bool look_again_ = false;  // something may differ from told_
  Shown told_;
  Parts changes_;  // beyond what a look at told_ finds
};

}  // namespace hark::panel_gateway

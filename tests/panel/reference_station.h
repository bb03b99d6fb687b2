// A whole station as the property tests hold it: files, calls, the model behind the panels, the panels and
// their lamps. It is told what the daemon is told, and says which commands must have gone out, which line,
// party and stack entry there must be, and what each lamp shows. Oddities of the product that are meant stand
// here with their reason. The console's menu has tests of its own: the item under its cursor is an input.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "panel/reference_calls.h"
#include "panel/reference_files.h"

namespace hark::reference {

struct Party {
  std::string label;
  unsigned status = 0;  // low four bits listen, high four talk
  TimeUs idle_since = 0;
  bool idle = false;
  bool answered = false;
};

struct StackEntry {
  std::string label;
  unsigned status = 0;
};

struct Panel {
  std::string id;
  int type = 0;
  int first = 1;
  int last = 1;
  bool aans = false;
  std::vector<std::optional<std::string>> text;  // by key index: the label shown
  std::vector<unsigned> dfl;
  std::map<std::string, char> letters;       // last letter by key, such as "KL01"
  std::map<std::string, std::string> lamps;  // last value by object, such as "BUT#KL01"
  std::set<std::string> resent;              // objects sent in this pass
  bool fader_off = false;                    // a fader's off button is down
  int spk_scroll = 0;
  int hdp_scroll = 0;

  [[nodiscard]] std::string label_of(int index) const;
};

// The console's menu item under the cursor.
struct MenuItem {
  int id = -1000;  // none
  std::string text;
};

enum class Group { kIdle, kProgramming, kTalking };

class Station {
 public:
  Station(int nkeys, Sources sources_now, ChannelFile channels_now, std::string sources_path,
          std::string channels_path);

  // Inputs.
  void attach(std::size_t i, Panel panel);
  void network_key(std::size_t i, const std::string& key, bool down, std::uint32_t ms);
  void console_key(std::size_t i, const std::string& key, char letter, const MenuItem& item,
                   std::uint32_t ms);
  void console_rotary(std::size_t i, int clicks);
  void fader(std::size_t i, std::string key, std::optional<int> gain, int delta);
  void display(const std::string& key, const std::string& label);
  void select_shift(const std::string& label);
  void timer_action();
  void volume_report(int listen_line, int volume);
  // The pass of the loop: every panel shows what has changed.
  void notify();

  Sources sources;
  ChannelFile channels;
  Calls calls;
  std::vector<Panel> panels;
  std::list<Party> parties;  // newest first
  std::list<StackEntry> stack;
  Table table;
  std::string shift;
  std::string aa_label;
  bool spk_mute = false;
  bool mic_mute = false;
  int spk_volume = 0;
  std::vector<int> volumes;
  bool assign_armed = false;
  Group group_state = Group::kIdle;
  std::vector<std::string> sent;   // commands and events, in order
  int saves = 0;                   // of the channel file
  bool rewritten = false;          // by another program, since it was last loaded for that reason
  bool last_save_unnoted = false;  // the daemon will take it for another program's
  // State bits that a party was forgotten with, until they are reported anew: the time of a recent call runs
  // from when a party became idle, and a ring, in or out, does not stop it.
  std::map<std::string, unsigned> forgotten;

  [[nodiscard]] unsigned status_of(const std::string& label) const;
  // The panel outputs, active low.
  [[nodiscard]] unsigned outputs() const;

 private:
  static constexpr unsigned kLabels = 1;
  static constexpr unsigned kIndicators = 2;

  // The model (reference_station.cpp).
  void send(const std::string& text);
  void call(const std::string& url, unsigned which, unsigned value, int volume);
  void receive(const std::string& url, char listen, char talk, std::optional<int> volume);
  bool set_party(const std::string& label, unsigned set, unsigned mask);
  void mark_answered(const std::string& label);
  void stack_add(const std::string& label, unsigned status);
  void stack_unassigned();
  [[nodiscard]] unsigned stack_status() const;
  [[nodiscard]] bool any_active() const;
  [[nodiscard]] int listen_volume(const std::string& label) const;
  void set_aa(const std::string& label);
  void assign(int index, const std::string& label);
  void load();
  void reload();
  void save();

  // The keys (reference_keys.cpp).
  void press(const Panel& panel, const std::string& key, bool down, std::uint32_t ms);
  void press_group(bool down, bool tap);
  void edit_group(const std::string& label);
  void press_call(const Panel& panel, int index, bool talk, bool listen, bool down, bool tap);
  bool group_call(bool on);
  void io_set(const std::string& key, int value);
  void fader_set(const std::string& key, int value);
  int scroll(Panel& panel, const std::string& key, int delta);
  bool menu_takes(Panel& panel, const std::string& key, char letter, const MenuItem& item);

  // The panels (reference_panels.cpp).
  void show_labels(Panel& panel);
  void show_indicators(Panel& panel);
  bool set_letter(Panel& panel, const std::string& key, char letter);
  void show_pair(Panel& panel, int index, unsigned status);
  void show_key(Panel& panel, const std::string& key, char letter);
  void lamp(Panel& panel, const std::string& object, const std::string& value);

  int nkeys_;
  std::string sources_path_;
  std::string channels_path_;
  long long sources_time_ = 0;
  long long channels_time_ = 0;
  unsigned dirty_ = 0;
  std::map<std::string, int> listen_volumes_;
  std::map<std::string, unsigned> answering_;  // rings of a party that are being answered
  std::string held_key_;                       // a listen key that is down
  bool held_volume_changed_ = false;
  // One each for all panels: two that press at the same moment disturb each other's tap, which is accepted.
  std::uint32_t press_ms_ = 0;
  bool press_latches_ = false;
};

// "KL" and 7: "KL07".
[[nodiscard]] std::string key_name(const char* prefix, int number);
// The number of a channel key, 0 when it is none.
[[nodiscard]] int key_number(const std::string& key);

}  // namespace hark::reference

// The intercom key module of the simulated console, without its connection: which keys, lamps and displays
// each type has, and what the station has set on them. As in mixer.h each change gives one line of text for
// whoever watches, and a set that changes nothing an empty one.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tools/quillsim/console_command.h"

namespace quillsim {

// Numbers of the keys that every type has; the channel keys are below them.
inline constexpr int kTalkAnswerKey = 41;
inline constexpr int kListenAnswerKey = 42;
inline constexpr int kMicrophoneMuteKey = 49;
inline constexpr int kSpeakerMuteKey = 50;
inline constexpr int kTalkGroupKey = 51;
inline constexpr int kAssignKey = 52;
inline constexpr int kSpeakerRotary = 129;
inline constexpr int kMenuKnob = 130;

inline constexpr int kNoModule = -1;

struct ModuleShape {
  int type = kNoModule;
  int channels = 0;          // keys, or pairs of a talk and a listen key
  int channels_per_row = 1;  // as they lie on the module
  int displays = 0;          // of two lines each
  bool coloured = false;     // one key with a coloured light per channel, instead of two with a lamp
};

// The shape of module type 1, 2 or 3; of any other an empty one.
[[nodiscard]] const ModuleShape& module_shape(int type);

// The talk key, the listen key of a channel of types 1 and 2, from 1.
[[nodiscard]] constexpr int talk_key(int channel) { return 2 * channel - 1; }
[[nodiscard]] constexpr int listen_key(int channel) { return 2 * channel; }
// Display and line that show a channel's label; 0, 0 when the module has none for it.
[[nodiscard]] std::pair<int, int> display_place(const ModuleShape& shape, int channel);
// What is written beside the key, "talk 3": for people.
[[nodiscard]] std::string key_name(int key);

class KeyModule {
 public:
  explicit KeyModule(int type) : type_(type) {}

  [[nodiscard]] int type() const { return type_; }
  [[nodiscard]] const ModuleShape& shape() const { return module_shape(type_); }
  // Another module is plugged in, dark. What the station set on the console itself stays.
  void replace(int type);
  // Everything goes dark, as at the end of a connection; faders keep their sources.
  void darken();

  // What was never set is off, dark or empty.
  [[nodiscard]] Lamp lamp(int button) const;
  [[nodiscard]] KeyLight light(int key) const;
  [[nodiscard]] std::string display(int display, int line) const;
  // The text of the display that belongs to the channel.
  [[nodiscard]] std::string label(int channel) const;
  [[nodiscard]] const Menu& menu() const { return menu_; }
  [[nodiscard]] std::optional<int> fader_source(int fader) const;
  [[nodiscard]] const std::map<int, int>& fader_sources() const { return faders_; }
  // None: the station has not told yet.
  [[nodiscard]] std::optional<bool> talk_on() const { return talk_; }
  [[nodiscard]] std::optional<bool> listen_on() const { return listen_; }

  // Why a module of this type cannot carry the command out, or an empty text.
  [[nodiscard]] static std::string misfit(int type, const ConsoleCommand& command);
  // Carries the command out; gives the line that tells the change, or an empty text when there is none.
  std::string apply(const ConsoleCommand& command);

 private:
  void darken_module();
  std::string set(const SetLamp& command);
  std::string set(const SetKeyLight& command);
  std::string set(const SetDisplay& command);
  std::string set(const SetMenu& command);
  std::string set(const SetCallLamp& command);
  std::string set(const SetFaderSource& command);
  // A question changes nothing.
  template <typename Question>
  std::string set(const Question&) {
    return {};
  }

  int type_;
  std::map<int, Lamp> lamps_;
  std::map<int, KeyLight> lights_;
  std::map<std::pair<int, int>, std::string> displays_;
  Menu menu_;
  std::map<int, int> faders_;
  std::optional<bool> talk_;
  std::optional<bool> listen_;
};

// The first byte of a menu line may be a mark of state, the last the cursor; taken off they leave the text.
enum class MenuMark { kNone, kSteady, kFlash1, kFlash2, kFlash3 };
struct MenuLine {
  std::string text;
  MenuMark mark = MenuMark::kNone;
  bool cursor = false;
};
[[nodiscard]] MenuLine read_menu_line(std::string_view line);
// The line for people: "*" in front when marked and steady, "!" when it flashes, "<" at the end for the
// cursor.
[[nodiscard]] std::string menu_text(std::string_view line);
// Whether one of the menu's lines is the text, marks apart, and cut as far as they need the room.
[[nodiscard]] bool shows(const Menu& menu, std::string_view text);

}  // namespace quillsim

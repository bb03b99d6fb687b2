// What a station may say to a mixing console with a key module, and the one reader of it. Like command.h it
// takes exactly what a sound station writes and names the first thing that is wrong with any other line;
// whether a command fits the module that is plugged in is for key_module.h to judge.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillsim {

inline constexpr int kNoSource = -1;
inline constexpr int kMaxFaderSource = 0x7fff;  // a channel number of the network
inline constexpr int kMenuLines = 4;
inline constexpr std::size_t kDisplayColumns = 10;

// How a lamp, or the light of a coloured key, goes on and off.
enum class Lamp { kOff, kOn, kWink, kFlash, kFlashFast };
enum class Colour { kOff, kRed, kGreen, kYellow };

// The light of a coloured key: flashing goes between the two colours, otherwise the key shows `off`.
struct KeyLight {
  Colour off = Colour::kOff;
  Colour on = Colour::kOff;
  Lamp how = Lamp::kOff;  // never kOn
  bool operator==(const KeyLight&) const = default;
};

struct Menu {
  std::vector<std::string> lines;  // with the glyph bytes of the module's character set
  int selected = 1;                // 1 to kMenuLines
  bool operator==(const Menu&) const = default;
};

// GET Intercom type
struct GetModuleType {};
// SUB Intercom
struct SubscribeModule {};
// SET Intercom.btn#N IND=OFF|ON|WINK|FLASH|FLASH_FAST
struct SetLamp {
  int button = 0;
  Lamp lamp = Lamp::kOff;
};
// SET Intercom.key#N BACKCOLOROFF=C,BACKCOLORON=C,IND=OFF|WINK|FLASH|FLASH_FAST
struct SetKeyLight {
  int key = 0;
  KeyLight light;
};
// SET Intercom.oled#N lineN="text"
struct SetDisplay {
  int display = 0;
  int line = 0;
  std::string text;
};
// SET Intercom.menu list=["text",...],selected=N
struct SetMenu {
  Menu menu;
};
// SET Intercom talk=ON|OFF, SET Intercom listen=ON|OFF
struct SetCallLamp {
  bool talk = false;  // otherwise listen
  bool on = false;
};
// SET FaCH#N hark_src=N
struct SetFaderSource {
  int fader = 0;
  int source = kNoSource;
};

using ConsoleCommand = std::variant<GetModuleType, SubscribeModule, SetLamp, SetKeyLight, SetDisplay, SetMenu,
                                    SetCallLamp, SetFaderSource>;

// What a line holds: a command, or the reason why it is none.
struct ParsedConsoleLine {
  std::optional<ConsoleCommand> command;
  std::string error;
};

// Reads one line with its line end: CR LF behind GET and SUB, LF alone behind SET.
[[nodiscard]] ParsedConsoleLine parse_console_command(std::string_view line);

// The words of the two enums, as they stand in a line.
[[nodiscard]] std::string_view lamp_word(Lamp lamp);
[[nodiscard]] std::string_view colour_word(Colour colour);
[[nodiscard]] std::optional<Lamp> lamp_of(std::string_view word);
[[nodiscard]] std::optional<Colour> colour_of(std::string_view word);

}  // namespace quillsim

#include "tools/quillsim/console_command.h"

#include <cstddef>
#include <utility>

#include "base/text.h"
#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

constexpr int kMaxObject = 9999;  // what no module has at all is told apart in key_module.h

// By the value of the enum.
constexpr std::array<std::string_view, 5> kLampWords = {"OFF", "ON", "WINK", "FLASH", "FLASH_FAST"};
constexpr std::array<std::string_view, 4> kColourWords = {"OFF", "RED", "GREEN", "YELLOW"};

template <typename Enum, std::size_t N>
std::optional<Enum> find_word(const std::array<std::string_view, N>& words, std::string_view word) {
  for (std::size_t i = 0; i < N; ++i) {
    if (words[i] == word) return static_cast<Enum>(i);
  }
  return std::nullopt;
}

ParsedConsoleLine refuse(std::string error) { return {std::nullopt, std::move(error)}; }

// Accepts when nothing follows.
ParsedConsoleLine finish(const Scanner& in, ConsoleCommand command) {
  if (!in.at_end()) return refuse("something follows the command");
  return {std::move(command), {}};
}

// A number of an object, from 1; none when it is none.
std::optional<int> object_number(Scanner& in) {
  const std::optional<int> number = in.number();
  return number && *number >= 1 && *number <= kMaxObject ? number : std::nullopt;
}

ParsedConsoleLine parse_lamp(Scanner& in) {
  const std::optional<int> button = object_number(in);
  if (!button) return refuse("button is no number from 1");
  if (!in.skip(" IND=")) return refuse("expected \" IND=\" behind the button");
  const std::optional<Lamp> lamp = lamp_of(in.word());
  if (!lamp) return refuse("IND is not OFF, ON, WINK, FLASH or FLASH_FAST");
  return finish(in, SetLamp{*button, *lamp});
}

ParsedConsoleLine parse_key(Scanner& in) {
  const std::optional<int> key = object_number(in);
  if (!key) return refuse("key is no number from 1");
  if (!in.skip(" BACKCOLOROFF=")) return refuse("expected \" BACKCOLOROFF=\" behind the key");
  const std::optional<Colour> off = colour_of(in.word());
  if (!off) return refuse("BACKCOLOROFF is not OFF, RED, GREEN or YELLOW");
  if (!in.skip(",BACKCOLORON=")) return refuse("expected \",BACKCOLORON=\"");
  const std::optional<Colour> on = colour_of(in.word());
  if (!on) return refuse("BACKCOLORON is not OFF, RED, GREEN or YELLOW");
  if (!in.skip(",IND=")) return refuse("expected \",IND=\"");
  const std::optional<Lamp> how = lamp_of(in.word());
  if (!how || *how == Lamp::kOn) return refuse("IND of a key is not OFF, WINK, FLASH or FLASH_FAST");
  return finish(in, SetKeyLight{*key, {*off, *on, *how}});
}

// A label goes out as its file has it, so that a quote or a backslash may stand bare in it, and an alternate
// text escaped: what stands between the outer quotes counts, its pairs undone.
std::optional<std::string> loosely_quoted(std::string_view text) {
  if (text.size() < 2 || !text.starts_with('"') || !text.ends_with('"')) return std::nullopt;
  text = text.substr(1, text.size() - 2);
  std::string value;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool pair = text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '"' || text[i + 1] == '\\');
    if (pair) ++i;
    value.push_back(text[i]);
  }
  return value;
}

ParsedConsoleLine parse_display(Scanner& in) {
  const std::optional<int> display = object_number(in);
  if (!display) return refuse("display is no number from 1");
  if (!in.skip(" line")) return refuse("expected \" line\" behind the display");
  const std::optional<int> line = in.number();
  if (!line || *line < 1 || *line > 2) return refuse("line is not 1 or 2");
  if (!in.skip("=")) return refuse("expected \"=\" behind the line");
  const std::optional<std::string> text = loosely_quoted(in.rest());
  if (!text) return refuse("the display's text is not quoted");
  return {SetDisplay{*display, *line, *text}, {}};
}

ParsedConsoleLine parse_menu(Scanner& in) {
  SetMenu command;
  while (!in.skip("]")) {
    if (!command.menu.lines.empty() && !in.skip(",")) return refuse("expected a comma between menu lines");
    std::optional<std::string> text = in.quoted();
    if (!text) return refuse("a menu line is not quoted text");
    if (text->size() > kDisplayColumns) return refuse("a menu line is longer than 10 characters");
    if (command.menu.lines.size() == kMenuLines) return refuse("more than 4 menu lines");
    command.menu.lines.push_back(std::move(*text));
  }
  if (!in.skip(",selected=")) return refuse("expected \",selected=\" behind the list");
  const std::optional<int> selected = in.number();
  if (!selected || *selected < 1 || *selected > kMenuLines) return refuse("selected is not 1 to 4");
  command.menu.selected = *selected;
  return finish(in, command);
}

ParsedConsoleLine parse_call_lamp(Scanner& in, bool talk) {
  const std::string_view word = in.word();
  if (word != "ON" && word != "OFF") return refuse("expected ON or OFF");
  return finish(in, SetCallLamp{talk, word == "ON"});
}
ParsedConsoleLine parse_talk(Scanner& in) { return parse_call_lamp(in, true); }
ParsedConsoleLine parse_listen(Scanner& in) { return parse_call_lamp(in, false); }

ParsedConsoleLine parse_fader(Scanner& in) {
  const std::optional<int> fader = object_number(in);
  if (!fader) return refuse("fader is no number from 1");
  if (!in.skip(" hark_src=")) return refuse("expected \" hark_src=\" behind the fader");
  const std::optional<int> source = in.number();
  const bool good = source && (*source == kNoSource || (*source >= 1 && *source <= kMaxFaderSource));
  if (!good) return refuse("hark_src is not -1 or 1 to 32767");
  return finish(in, SetFaderSource{*fader, *source});
}

struct Object {
  std::string_view head;
  ParsedConsoleLine (*parse)(Scanner&);
};
// Head of a line with LF alone, reader of what follows.
constexpr std::array kObjects = {
    Object{"SET Intercom.btn#", parse_lamp},
    Object{"SET Intercom.key#", parse_key},
    Object{"SET Intercom.oled#", parse_display},
    Object{"SET Intercom.menu list=[", parse_menu},
    Object{"SET Intercom talk=", parse_talk},
    Object{"SET Intercom listen=", parse_listen},
    Object{"SET FaCH#", parse_fader},
};

// The two questions, whose line ends in CR LF.
std::optional<ConsoleCommand> parse_question(std::string_view text) {
  if (text == "GET Intercom type") return GetModuleType{};
  if (text == "SUB Intercom") return SubscribeModule{};
  return std::nullopt;
}

}  // namespace

ParsedConsoleLine parse_console_command(std::string_view line) {
  if (line.size() > hark::kMaxLine) return refuse("line longer than 2000 bytes");
  if (!line.ends_with('\n')) return refuse("line without its end");
  line.remove_suffix(1);
  const bool with_cr = line.ends_with('\r');
  if (with_cr) line.remove_suffix(1);
  if (line.find_first_of(std::string_view("\0\r\n", 3)) != std::string_view::npos) {
    return refuse("NUL, CR or LF inside the line");
  }
  if (std::optional<ConsoleCommand> question = parse_question(line)) {
    if (!with_cr) return refuse("line ends in LF without CR");
    return {std::move(question), {}};
  }
  Scanner in(line);
  for (const Object& object : kObjects) {
    if (!in.skip(object.head)) continue;
    if (with_cr) return refuse("a SET line ends in LF alone");
    return object.parse(in);
  }
  return refuse("no such command of a console");
}

std::string_view lamp_word(Lamp lamp) { return kLampWords[static_cast<std::size_t>(lamp)]; }
std::string_view colour_word(Colour colour) { return kColourWords[static_cast<std::size_t>(colour)]; }
std::optional<Lamp> lamp_of(std::string_view word) { return find_word<Lamp>(kLampWords, word); }
std::optional<Colour> colour_of(std::string_view word) { return find_word<Colour>(kColourWords, word); }

}  // namespace quillsim

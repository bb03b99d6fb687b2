#include "tools/quillsim/console_view.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

using std::chrono::milliseconds;

// Lamps by their value: how many steps a turn has, and for how many of them the lamp is lit. A wink is a
// short glimpse.
struct Pattern {
  int steps;
  int lit;
};
constexpr std::array kPatterns = {Pattern{1, 0}, Pattern{1, 1}, Pattern{8, 1}, Pattern{4, 2}, Pattern{2, 1}};
// For people who read plain text.
constexpr std::array<std::string_view, 5> kLampNames = {"off", "on", "wink", "flash", "fast"};
constexpr std::array<std::string_view, 4> kColourNames = {"off", "red", "green", "yellow"};
constexpr std::size_t kLampNameWidth = 5;

constexpr std::string_view kReset = "\x1b[0m";
constexpr std::string_view kDim = "\x1b[2m";
constexpr std::string_view kInverse = "\x1b[7m";
// Black on the colour; the first is a key without light.
constexpr std::array<std::string_view, 4> kBackgrounds = {"\x1b[2m", "\x1b[30;41m", "\x1b[30;42m",
                                                          "\x1b[30;43m"};

std::string_view background(Colour colour) { return kBackgrounds[static_cast<std::size_t>(colour)]; }
std::string_view lamp_name(Lamp lamp) { return kLampNames[static_cast<std::size_t>(lamp)]; }
std::string_view colour_name(Colour colour) { return kColourNames[static_cast<std::size_t>(colour)]; }

// Cut and filled up to `width` characters. In UTF-8 a character is its first byte and those that follow it.
std::string fitted(std::string_view text, std::size_t width) {
  std::string out;
  std::size_t characters = 0;
  for (const char c : printable(text)) {
    const bool follows = (static_cast<std::uint8_t>(c) & 0xc0) == 0x80;
    if (!follows && characters++ == width) break;
    out.push_back(c);
  }
  return out + std::string(width - std::min(width, characters), ' ');
}

std::string number(int value, std::size_t width) {
  const std::string digits = std::to_string(value);
  return std::string(width - std::min(width, digits.size()), ' ') + digits;
}

class Drawing {
 public:
  Drawing(const KeyModule& module, const std::set<int>& held, const ViewStyle& style)
      : module_(module), held_(held), style_(style) {}

  std::vector<std::string> lines() {
    title();
    channels();
    function_keys();
    menu();
    faders();
    return std::move(lines_);
  }

 private:
  [[nodiscard]] std::string painted(std::string_view colour, std::string text) const {
    if (!style_.colours) return text;
    return std::string(colour) + text + std::string(kReset);
  }
  [[nodiscard]] const char* mark(int key) const { return held_.contains(key) ? ">" : " "; }

  // A lamp under its key's name, in the colour that it has when it is lit.
  [[nodiscard]] std::string lamp(int key, std::string_view name, Colour colour) const {
    const Lamp state = module_.lamp(key);
    if (!style_.colours)
      return mark(key) + std::string(name) + ":" + fitted(lamp_name(state), kLampNameWidth);
    const Colour now = lit(state, style_.time) ? colour : Colour::kOff;
    return mark(key) + painted(background(now), " " + std::string(name) + " ");
  }

  [[nodiscard]] std::string channel(int n) const {
    const std::string head = number(n, 2) + " ";
    if (module_.shape().coloured) return head + coloured_key(n);
    return head + painted(kInverse, fitted(module_.label(n), kDisplayColumns)) + " " +
           lamp(talk_key(n), "T", Colour::kRed) + " " + lamp(listen_key(n), "L", Colour::kGreen);
  }

  [[nodiscard]] std::string coloured_key(int n) const {
    const KeyLight light = module_.light(n);
    if (style_.colours) return mark(n) + painted(background(shown_colour(light, style_.time)), "      ");
    std::string text = mark(n) + std::string(colour_name(light.off));
    if (light.how != Lamp::kOff) {
      text += "/" + std::string(colour_name(light.on)) + " " + std::string(lamp_name(light.how));
    }
    return text;
  }

  [[nodiscard]] std::string call_lamp(std::string_view name, std::optional<bool> on) const {
    const char* state = !on ? "?" : *on ? "on" : "off";
    return "  " + std::string(name) + " " + painted(on.value_or(false) ? kInverse : kDim, state);
  }

  void title() {
    const std::string type = module_.type() == kNoModule ? "none" : std::to_string(module_.type());
    add("key module " + type + call_lamp("talk", module_.talk_on()) +
        call_lamp("listen", module_.listen_on()));
  }

  void channels() {
    const ModuleShape& shape = module_.shape();
    for (int first = 1; first <= shape.channels; first += shape.channels_per_row) {
      std::string row;
      for (int n = first; n < first + shape.channels_per_row; ++n)
        row += (n == first ? "" : "   ") + channel(n);
      add(row);
    }
  }

  void function_keys() {
    if (module_.shape().channels == 0) return;
    add("   answer     " + lamp(kTalkAnswerKey, "T", Colour::kRed) + " " +
        lamp(kListenAnswerKey, "L", Colour::kGreen));
    add("  " + lamp(kTalkGroupKey, "group", Colour::kYellow) + lamp(kAssignKey, "assign", Colour::kYellow) +
        lamp(kMicrophoneMuteKey, "mic mute", Colour::kRed) +
        lamp(kSpeakerMuteKey, "speaker mute", Colour::kRed));
  }

  void menu() {
    const Menu& menu = module_.menu();
    for (std::size_t i = 0; i < menu.lines.size(); ++i) {
      const bool selected = static_cast<int>(i) + 1 == menu.selected;
      add(std::string(selected ? "  > " : "    ") + menu_line(menu.lines[i], selected));
    }
  }

  [[nodiscard]] std::string menu_line(std::string_view line, bool selected) const {
    if (!style_.colours) return fitted(menu_text(line), kDisplayColumns + 1);
    const MenuLine read = read_menu_line(line);
    // The station itself sends the phases of the flashing.
    constexpr std::array<char, 5> kMarks = {' ', '*', '.', 'o', 'O'};
    const std::string text = fitted(read.text, kDisplayColumns) + (read.cursor ? "<" : " ");
    const std::string whole = std::string(1, kMarks[static_cast<std::size_t>(read.mark)]) + text;
    return selected ? painted(kInverse, whole) : whole;
  }

  void faders() {
    for (const auto& [fader, source] : module_.fader_sources()) {
      const std::string carries = source == kNoSource ? "none" : std::to_string(source);
      add("  fader " + std::to_string(fader) + " source " + carries);
    }
  }

  // Blanks at the end are nobody's gain, and a terminal has them already.
  void add(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    lines_.push_back(std::move(line));
  }

  const KeyModule& module_;
  const std::set<int>& held_;
  const ViewStyle& style_;
  std::vector<std::string> lines_;
};

}  // namespace

bool lit(Lamp lamp, milliseconds time) {
  const Pattern& pattern = kPatterns[static_cast<std::size_t>(lamp)];
  return time / kFlashStep % pattern.steps < pattern.lit;
}

Colour shown_colour(const KeyLight& light, milliseconds time) {
  // A winking key glimpses in its off colour: that of a channel which is off but not free.
  if (light.how == Lamp::kWink) return lit(Lamp::kWink, time) ? light.off : light.on;
  return lit(light.how, time) ? light.on : light.off;
}

bool flashes(const KeyModule& module) {
  const auto moves = [](Lamp lamp) { return lamp != Lamp::kOff && lamp != Lamp::kOn; };
  for (int key = 1; key <= kAssignKey; ++key) {
    if (moves(module.lamp(key)) || moves(module.light(key).how)) return true;
  }
  return false;
}

std::vector<std::string> draw_module(const KeyModule& module, const std::set<int>& held,
                                     const ViewStyle& style) {
  return Drawing(module, held, style).lines();
}

}  // namespace quillsim

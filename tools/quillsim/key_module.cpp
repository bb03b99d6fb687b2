#include "tools/quillsim/key_module.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

// Type, channels, channels in a row, displays, coloured keys.
constexpr std::array kShapes = {
    ModuleShape{1, 20, 2, 10, false},
    ModuleShape{2, 10, 1, 5, false},
    ModuleShape{3, 10, 1, 0, true},
};
constexpr ModuleShape kNoShape;

struct NamedKey {
  int key;
  const char* name;
};
// The keys and rotaries that every type has, and what is written beside them.
constexpr std::array kNamedKeys = {
    NamedKey{kTalkAnswerKey, "talk answer"},   NamedKey{kListenAnswerKey, "listen answer"},
    NamedKey{kMicrophoneMuteKey, "mic mute"},  NamedKey{kSpeakerMuteKey, "speaker mute"},
    NamedKey{kTalkGroupKey, "talk group"},     NamedKey{kAssignKey, "assign"},
    NamedKey{kSpeakerRotary, "speaker level"}, NamedKey{kMenuKnob, "menu"},
};

const char* named_key(int key) {
  for (const NamedKey& named : kNamedKeys) {
    if (named.key == key) return named.name;
  }
  return nullptr;
}

constexpr char kCursorByte = '\x81';
constexpr char kSteadyByte = '\x82';
constexpr char kFlashByte3 = '\x85';

// Puts `value` into `field`; whether that changed it.
template <typename T>
bool store(T& field, const T& value) {
  if (field == value) return false;
  field = value;
  return true;
}

// The value of a map's key, or `none`.
template <typename Map, typename Value>
Value value_of(const Map& map, const typename Map::key_type& key, const Value& none) {
  const auto found = map.find(key);
  return found == map.end() ? none : found->second;
}

// Whether the lamp is one that can be lit: of a channel, or a named key's (a rotary has none).
bool has_lamp(const ModuleShape& shape, int button) {
  if (!shape.coloured && button <= 2 * shape.channels) return true;
  return button <= kAssignKey && named_key(button) != nullptr;
}

std::string misfit_of(const ModuleShape& shape, const SetLamp& command) {
  return has_lamp(shape, command.button) ? "" : "this module has no such button";
}
std::string misfit_of(const ModuleShape& shape, const SetKeyLight& command) {
  if (!shape.coloured) return "this module has no coloured keys";
  return command.key <= shape.channels ? "" : "this module has no such key";
}
std::string misfit_of(const ModuleShape& shape, const SetDisplay& command) {
  return command.display <= shape.displays ? "" : "this module has no such display";
}
template <typename Other>
std::string misfit_of(const ModuleShape&, const Other&) {
  return {};
}

std::string source_words(int source) {
  return source == kNoSource ? "carries no source" : "carries source " + std::to_string(source);
}

// The lines as people see them: the phases of a flashing mark look the same.
std::string menu_words(const Menu& menu) {
  std::string words;
  for (const std::string& line : menu.lines)
    words += (words.empty() ? "" : ",") + quote(menu_text(line));
  return "[" + words + "],selected=" + std::to_string(menu.selected);
}

}  // namespace

const ModuleShape& module_shape(int type) {
  for (const ModuleShape& shape : kShapes) {
    if (shape.type == type) return shape;
  }
  return kNoShape;
}

std::pair<int, int> display_place(const ModuleShape& shape, int channel) {
  if (channel < 1 || channel > shape.channels || shape.displays == 0) return {0, 0};
  // Two channels of a column share a display, line 1 the upper one.
  const int column = (channel - 1) % shape.channels_per_row;
  const int row = (channel - 1) / shape.channels_per_row;
  return {row / 2 * shape.channels_per_row + column + 1, row % 2 + 1};
}

std::string key_name(int key) {
  if (const char* name = named_key(key)) return name;
  if (key < 1 || key >= kTalkAnswerKey) return "no key";
  return (key % 2 == 1 ? "talk " : "listen ") + std::to_string((key + 1) / 2);
}

void KeyModule::replace(int type) {
  darken_module();
  type_ = type;
}

void KeyModule::darken() {
  darken_module();
  talk_.reset();
  listen_.reset();
}

void KeyModule::darken_module() {
  lamps_.clear();
  lights_.clear();
  displays_.clear();
  menu_ = {};
}

Lamp KeyModule::lamp(int button) const { return value_of(lamps_, button, Lamp::kOff); }
KeyLight KeyModule::light(int key) const { return value_of(lights_, key, KeyLight()); }

std::string KeyModule::display(int display, int line) const {
  return value_of(displays_, {display, line}, std::string());
}

std::string KeyModule::label(int channel) const {
  const auto [number, line] = display_place(shape(), channel);
  return display(number, line);
}

std::optional<int> KeyModule::fader_source(int fader) const {
  return value_of(faders_, fader, std::optional<int>());
}

std::string KeyModule::misfit(int type, const ConsoleCommand& command) {
  const ModuleShape& shape = module_shape(type);
  return std::visit([&shape](const auto& what) { return misfit_of(shape, what); }, command);
}

std::string KeyModule::apply(const ConsoleCommand& command) {
  return std::visit([this](const auto& what) { return set(what); }, command);
}

std::string KeyModule::set(const SetLamp& command) {
  if (!store(lamps_[command.button], command.lamp)) return {};
  return "Intercom.btn#" + std::to_string(command.button) + " IND=" + std::string(lamp_word(command.lamp)) +
         "  (" + key_name(command.button) + ")";
}

std::string KeyModule::set(const SetKeyLight& command) {
  if (!store(lights_[command.key], command.light)) return {};
  return "Intercom.key#" + std::to_string(command.key) +
         " BACKCOLOROFF=" + std::string(colour_word(command.light.off)) +
         ",BACKCOLORON=" + std::string(colour_word(command.light.on)) +
         ",IND=" + std::string(lamp_word(command.light.how));
}

std::string KeyModule::set(const SetDisplay& command) {
  if (!store(displays_[{command.display, command.line}], command.text)) return {};
  return "Intercom.oled#" + std::to_string(command.display) + " line" + std::to_string(command.line) + "=" +
         printable(quote(command.text));
}

std::string KeyModule::set(const SetMenu& command) {
  const std::string before = menu_words(menu_);
  menu_ = command.menu;
  const std::string words = menu_words(menu_);
  return words == before ? std::string() : "Intercom.menu list=" + printable(words);
}

std::string KeyModule::set(const SetCallLamp& command) {
  if (!store(command.talk ? talk_ : listen_, std::optional<bool>(command.on))) return {};
  return std::string("Intercom ") + (command.talk ? "talk=" : "listen=") + (command.on ? "ON" : "OFF");
}

std::string KeyModule::set(const SetFaderSource& command) {
  const auto [found, is_new] = faders_.try_emplace(command.fader, command.source);
  if (!is_new && !store(found->second, command.source)) return {};
  return "FaCH#" + std::to_string(command.fader) + " hark_src=" + std::to_string(command.source) +
         "  (fader " + std::to_string(command.fader) + " " + source_words(command.source) + ")";
}

MenuLine read_menu_line(std::string_view line) {
  MenuLine out;
  // No text begins with one of these bytes: in UTF-8 they only follow others.
  if (!line.empty() && line.front() >= kSteadyByte && line.front() <= kFlashByte3) {
    out.mark = static_cast<MenuMark>(line.front() - kSteadyByte + 1);
    line.remove_prefix(1);
  }
  // Behind the first byte of a pair the last byte is its second.
  if (line.ends_with(kCursorByte)) {
    const bool of_a_pair = line.size() > 1 && static_cast<std::uint8_t>(line[line.size() - 2]) >= 0xc0;
    out.cursor = !of_a_pair;
    if (out.cursor) line.remove_suffix(1);
  }
  out.text = line;
  return out;
}

std::string menu_text(std::string_view line) {
  const MenuLine read = read_menu_line(line);
  const char* mark = read.mark == MenuMark::kNone ? "" : read.mark == MenuMark::kSteady ? "*" : "!";
  return mark + read.text + (read.cursor ? "<" : "");
}

bool shows(const Menu& menu, std::string_view text) {
  return std::any_of(menu.lines.begin(), menu.lines.end(), [text](const std::string& line) {
    const std::string shown = read_menu_line(line).text;
    const bool full = line.size() >= kDisplayColumns && text.size() <= kDisplayColumns;
    return shown == text || (full && text.starts_with(shown));
  });
}

}  // namespace quillsim

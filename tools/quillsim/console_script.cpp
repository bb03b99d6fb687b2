#include "tools/quillsim/console_script.h"

#include <array>
#include <optional>
#include <utility>

#include "tools/quillsim/console_view.h"
#include "tools/quillsim/scanner.h"

namespace quillsim {

const char kConsoleScriptHelp[] =
    "and with a console (--console)\n"
    "  press N        key N down and up again; 2n-1 is the talk key, 2n the listen key of channel n,\n"
    "                 on module 3 n the key; 41, 42: answer talk, listen; 49, 50: mute microphone,\n"
    "                 speaker; 51: talk group; 52: assign; 130: the menu knob\n"
    "  hold N         key N down\n"
    "  release N      key N up\n"
    "  turn N CLICKS  rotary 129 (speaker level) or 130 (menu), by a signed number of clicks\n"
    "  off-button N down|up\n"
    "                 the off button of fader N\n"
    "  module TYPE    another key module is plugged in: 1, 2, 3, or none\n"
    "  wait-lamp N OFF|ON|WINK|FLASH|FLASH_FAST\n"
    "                 waits until the lamp of key N is so\n"
    "  wait-key N OFF|RED|GREEN|YELLOW[/OFF|RED|GREEN|YELLOW]\n"
    "                 waits until key N of module 3 has this colour, or flashes between the two\n"
    "  wait-display N LINE \"TEXT\"\n"
    "                 waits until the display shows the text\n"
    "  wait-menu \"TEXT\"\n"
    "                 waits until a line of the menu, without its marks, is the text\n"
    "  wait-fader N SOURCE\n"
    "                 waits until fader N carries the source (-1: none)\n"
    "  draw           prints the key module\n"
    "  close-console  drops the station's connection to the console\n";

namespace {

// Of keys, displays, clicks; more than any module has, for mistakes on purpose.
constexpr int kMaxNumber = 999;
constexpr int kMaxFaderNumber = 9999;
constexpr int kMaxType = 99;

ConsoleStep unknown() {
  ConsoleStep step;
  step.known = false;
  return step;
}

ConsoleStep done_if(bool sent) {
  ConsoleStep step;
  if (!sent) step.error = "no station listens to the console";
  return step;
}

ConsoleStep wait_until(std::function<bool()> condition) {
  ConsoleStep step;
  step.until = std::move(condition);
  return step;
}

// The number in front of the rest of the line; none when it is not in the range.
std::optional<int> take_number(Scanner& in, int min, int max) {
  const std::optional<int> value = in.number();
  return value && *value >= min && *value <= max ? value : std::nullopt;
}

// One number and nothing else.
std::optional<int> only_number(Scanner& in) {
  const std::optional<int> value = take_number(in, 0, kMaxNumber);
  return in.at_end() ? value : std::nullopt;
}

ConsoleStep press(Scanner& in, Console& console) {
  const std::optional<int> key = only_number(in);
  return key ? done_if(console.press(*key)) : unknown();
}

ConsoleStep hold(Scanner& in, Console& console) {
  const std::optional<int> key = only_number(in);
  return key ? done_if(console.hold(*key)) : unknown();
}

ConsoleStep release(Scanner& in, Console& console) {
  const std::optional<int> key = only_number(in);
  return key ? done_if(console.release(*key)) : unknown();
}

ConsoleStep turn(Scanner& in, Console& console) {
  const std::optional<int> rotary = take_number(in, 0, kMaxNumber);
  if (!rotary || !in.skip(" ")) return unknown();
  const std::optional<int> clicks = take_number(in, -kMaxNumber, kMaxNumber);
  return clicks && in.at_end() ? done_if(console.turn(*rotary, *clicks)) : unknown();
}

ConsoleStep off_button(Scanner& in, Console& console) {
  const std::optional<int> fader = take_number(in, 0, kMaxFaderNumber);
  if (!fader) return unknown();
  if (in.rest() == " down") return done_if(console.off_button(*fader, true));
  if (in.rest() == " up") return done_if(console.off_button(*fader, false));
  return unknown();
}

ConsoleStep module(Scanner& in, Console& console) {
  const std::optional<int> type =
      in.rest() == "none" ? std::optional<int>(kNoModule) : take_number(in, 0, kMaxType);
  if (!type || (*type != kNoModule && !in.at_end())) return unknown();
  console.set_type(*type);
  return {};
}

ConsoleStep wait_lamp(Scanner& in, Console& console) {
  const std::optional<int> button = take_number(in, 0, kMaxNumber);
  if (!button || !in.skip(" ")) return unknown();
  const std::optional<Lamp> lamp = lamp_of(in.word());
  if (!lamp || !in.at_end()) return unknown();
  return wait_until([&console, button = *button, lamp = *lamp] { return console.lamp(button) == lamp; });
}

ConsoleStep wait_key(Scanner& in, Console& console) {
  const std::optional<int> key = take_number(in, 0, kMaxNumber);
  if (!key || !in.skip(" ")) return unknown();
  const std::optional<Colour> off = colour_of(in.word());
  const std::optional<Colour> on = in.skip("/") ? colour_of(in.word()) : off;
  if (!off || !on || !in.at_end()) return unknown();
  return wait_until([&console, key = *key, off = *off, on = *on] {
    const KeyLight light = console.light(key);
    if (off == on) return light.off == off && (light.how == Lamp::kOff || light.on == off);
    return light.off == off && light.on == on && light.how != Lamp::kOff;
  });
}

ConsoleStep wait_display(Scanner& in, Console& console) {
  const std::optional<int> display = take_number(in, 0, kMaxNumber);
  if (!display || !in.skip(" ")) return unknown();
  const std::optional<int> line = take_number(in, 1, 2);
  if (!line || !in.skip(" ")) return unknown();
  const std::optional<std::string> text = in.quoted();
  if (!text || !in.at_end()) return unknown();
  return wait_until([&console, display = *display, line = *line, text = *text] {
    return console.display(display, line) == text;
  });
}

ConsoleStep wait_menu(Scanner& in, Console& console) {
  const std::optional<std::string> text = in.quoted();
  if (!text || !in.at_end()) return unknown();
  return wait_until([&console, text = *text] { return shows(console.menu(), text); });
}

ConsoleStep wait_fader(Scanner& in, Console& console) {
  const std::optional<int> fader = take_number(in, 0, kMaxFaderNumber);
  if (!fader || !in.skip(" ")) return unknown();
  const std::optional<int> source = take_number(in, kNoSource, kMaxFaderSource);
  if (!source || !in.at_end()) return unknown();
  return wait_until(
      [&console, fader = *fader, source = *source] { return console.fader_source(fader) == source; });
}

ConsoleStep draw(Scanner& in, Console& console) {
  if (!in.at_end()) return unknown();
  ConsoleStep step;
  step.out = draw_module(console.module(), console.held(), {});
  return step;
}

ConsoleStep close_console(Scanner& in, Console& console) {
  if (!in.at_end()) return unknown();
  console.close_station();
  return {};
}

struct Directive {
  std::string_view head;  // the word, with the blank behind it if more follows
  ConsoleStep (*run)(Scanner&, Console&);
};
constexpr std::array kDirectives = {
    Directive{"press ", press},
    Directive{"hold ", hold},
    Directive{"release ", release},
    Directive{"turn ", turn},
    Directive{"off-button ", off_button},
    Directive{"module ", module},
    Directive{"wait-lamp ", wait_lamp},
    Directive{"wait-key ", wait_key},
    Directive{"wait-display ", wait_display},
    Directive{"wait-menu ", wait_menu},
    Directive{"wait-fader ", wait_fader},
    Directive{"draw", draw},
    Directive{"close-console", close_console},
};

}  // namespace

ConsoleStep run_console_directive(std::string_view line, Console* console) {
  Scanner in(line);
  for (const Directive& directive : kDirectives) {
    if (!in.skip(directive.head)) continue;
    if (console != nullptr) return directive.run(in, *console);
    ConsoleStep step;
    step.error = "no console is played (--console)";
    return step;
  }
  return unknown();
}

}  // namespace quillsim

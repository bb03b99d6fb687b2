#include "tools/quillsim/console_script.h"

#include <array>
#include <optional>

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

Step done_if(bool sent) { return done_or(sent, "no station listens to the console"); }

// One number and nothing else.
std::optional<int> only_number(Scanner& in) {
  const std::optional<int> value = take_number(in, 0, kMaxNumber);
  return in.at_end() ? value : std::nullopt;
}

Step press(Scanner& in, Console& console) {
  const std::optional<int> key = only_number(in);
  return key ? done_if(console.press(*key)) : unknown_step();
}

Step hold(Scanner& in, Console& console) {
  const std::optional<int> key = only_number(in);
  return key ? done_if(console.hold(*key)) : unknown_step();
}

Step release(Scanner& in, Console& console) {
  const std::optional<int> key = only_number(in);
  return key ? done_if(console.release(*key)) : unknown_step();
}

Step turn(Scanner& in, Console& console) {
  const std::optional<int> rotary = take_number(in, 0, kMaxNumber);
  if (!rotary || !in.skip(" ")) return unknown_step();
  const std::optional<int> clicks = take_number(in, -kMaxNumber, kMaxNumber);
  return clicks && in.at_end() ? done_if(console.turn(*rotary, *clicks)) : unknown_step();
}

Step off_button(Scanner& in, Console& console) {
  const std::optional<int> fader = take_number(in, 0, kMaxFaderNumber);
  if (!fader) return unknown_step();
  if (in.rest() == " down") return done_if(console.off_button(*fader, true));
  if (in.rest() == " up") return done_if(console.off_button(*fader, false));
  return unknown_step();
}

Step module(Scanner& in, Console& console) {
  const std::optional<int> type =
      in.rest() == "none" ? std::optional<int>(kNoModule) : take_number(in, 0, kMaxType);
  if (!type || (*type != kNoModule && !in.at_end())) return unknown_step();
  console.set_type(*type);
  return {};
}

Step wait_lamp(Scanner& in, Console& console) {
  const std::optional<int> button = take_number(in, 0, kMaxNumber);
  if (!button || !in.skip(" ")) return unknown_step();
  const std::optional<Lamp> lamp = lamp_of(in.word());
  if (!lamp || !in.at_end()) return unknown_step();
  return wait_step([&console, button = *button, lamp = *lamp] { return console.lamp(button) == lamp; });
}

Step wait_key(Scanner& in, Console& console) {
  const std::optional<int> key = take_number(in, 0, kMaxNumber);
  if (!key || !in.skip(" ")) return unknown_step();
  const std::optional<Colour> off = colour_of(in.word());
  const std::optional<Colour> on = in.skip("/") ? colour_of(in.word()) : off;
  if (!off || !on || !in.at_end()) return unknown_step();
  return wait_step([&console, key = *key, off = *off, on = *on] {
    const KeyLight light = console.light(key);
    if (off == on) return light.off == off && (light.how == Lamp::kOff || light.on == off);
    return light.off == off && light.on == on && light.how != Lamp::kOff;
  });
}

Step wait_display(Scanner& in, Console& console) {
  const std::optional<int> display = take_number(in, 0, kMaxNumber);
  if (!display || !in.skip(" ")) return unknown_step();
  const std::optional<int> line = take_number(in, 1, 2);
  if (!line || !in.skip(" ")) return unknown_step();
  const std::optional<std::string> text = in.quoted();
  if (!text || !in.at_end()) return unknown_step();
  return wait_step([&console, display = *display, line = *line, text = *text] {
    return console.display(display, line) == text;
  });
}

Step wait_menu(Scanner& in, Console& console) {
  const std::optional<std::string> text = in.quoted();
  if (!text || !in.at_end()) return unknown_step();
  return wait_step([&console, text = *text] { return shows(console.menu(), text); });
}

Step wait_fader(Scanner& in, Console& console) {
  const std::optional<int> fader = take_number(in, 0, kMaxFaderNumber);
  if (!fader || !in.skip(" ")) return unknown_step();
  const std::optional<int> source = take_number(in, kNoSource, kMaxFaderSource);
  if (!source || !in.at_end()) return unknown_step();
  return wait_step(
      [&console, fader = *fader, source = *source] { return console.fader_source(fader) == source; });
}

Step draw(Scanner& in, Console& console) {
  if (!in.at_end()) return unknown_step();
  Step step;
  step.out = draw_module(console.module(), console.held(), {});
  return step;
}

Step close_console(Scanner& in, Console& console) {
  if (!in.at_end()) return unknown_step();
  console.close_station();
  return {};
}

constexpr std::array kDirectives = {
    Directive<Console>{"press ", press},
    Directive<Console>{"hold ", hold},
    Directive<Console>{"release ", release},
    Directive<Console>{"turn ", turn},
    Directive<Console>{"off-button ", off_button},
    Directive<Console>{"module ", module},
    Directive<Console>{"wait-lamp ", wait_lamp},
    Directive<Console>{"wait-key ", wait_key},
    Directive<Console>{"wait-display ", wait_display},
    Directive<Console>{"wait-menu ", wait_menu},
    Directive<Console>{"wait-fader ", wait_fader},
    Directive<Console>{"draw", draw},
    Directive<Console>{"close-console", close_console},
};

}  // namespace

Step run_console_directive(std::string_view line, Console* console) {
  return run_directive(line, console, kDirectives, "no console is played (--console)");
}

}  // namespace quillsim

#include "tools/quillsim/console.h"

#include <algorithm>
#include <utility>

#include "tools/quillsim/scanner.h"

namespace quillsim {
namespace {

std::string type_words(int type) {
  return type == kNoModule ? "no key module" : "key module " + std::to_string(type);
}

}  // namespace

Console::Console(int type, Printer printer) : printer_(std::move(printer)), module_(type) {}

bool Console::send(std::string_view line) { return send_raw(std::string(line) + "\r\n"); }

bool Console::press(int key) {
  held_.erase(key);
  ++looks_;
  // In one piece: the station takes the time between the two from its own clock.
  return subscribed_ && send("EVENT " + key_text(key, true) + "\r\nEVENT " + key_text(key, false));
}

bool Console::hold(int key) {
  held_.insert(key);
  ++looks_;
  return event(key_text(key, true));
}

bool Console::release(int key) {
  held_.erase(key);
  ++looks_;
  return event(key_text(key, false));
}

bool Console::turn(int rotary, int clicks) {
  return event("Intercom.btn#" + std::to_string(rotary) + " rot=" + std::to_string(clicks));
}

bool Console::off_button(int fader, bool down) {
  return event("FaCH#" + std::to_string(fader) + " OFF_But=" + (down ? "DOWN" : "UP"));
}

void Console::set_type(int type) {
  if (type == module_.type()) return;
  former_types_.insert(module_.type());
  module_.replace(type);
  held_.clear();
  ++looks_;
  print("console has " + type_words(type));
  (void)event("Intercom type=" + std::to_string(type));
}

void Console::forget_records() {
  received_.clear();
  changes_.clear();
  refused_.clear();
}

void Console::link_opened(const std::string& from) {
  former_types_.clear();
  print("station connected to the console from " + from);
}

void Console::link_turned_away(const std::string& from) {
  print("a second station from " + from + " turned away from the console");
}

void Console::wire_line(std::string_view line) {
  ++lines_received_;
  received_.emplace_back(without_line_end(line));
  const ParsedConsoleLine parsed = parse_console_command(line);
  if (!parsed.command) return refuse(line, parsed.error);
  carry_out(line, *parsed.command);
}

void Console::wire_closed() {
  subscribed_ = false;
  module_.darken();
  ++looks_;
  print("station disconnected from the console");
}

bool Console::event(const std::string& text) { return subscribed_ && send("EVENT " + text); }

std::string Console::key_text(int key, bool down) const {
  // The channel keys of a coloured module are objects of their own kind.
  const bool coloured = module_.shape().coloured && key < kTalkAnswerKey;
  return std::string("Intercom.") + (coloured ? "key#" : "btn#") + std::to_string(key) +
         " KEY=" + (down ? "DOWN" : "UP");
}

void Console::carry_out(std::string_view line, const ConsoleCommand& command) {
  if (std::holds_alternative<GetModuleType>(command)) {
    (void)send("INDI Intercom type=" + std::to_string(module_.type()));
    return;
  }
  if (std::holds_alternative<SubscribeModule>(command)) {
    subscribed_ = true;
    return;
  }
  if (const std::string misfit = KeyModule::misfit(module_.type(), command); !misfit.empty()) {
    // Said to a module before this one, which had it: nobody's mistake.
    const bool late = std::any_of(former_types_.begin(), former_types_.end(),
                                  [&](int type) { return KeyModule::misfit(type, command).empty(); });
    if (!late) refuse(line, misfit);
    return;
  }
  std::string change = module_.apply(command);
  ++looks_;
  if (change.empty()) return;
  print(change);
  changes_.push_back(std::move(change));
}

// Nothing is answered: the station has an error line of its own for each line that it does not know, and so
// the two would never end.
void Console::refuse(std::string_view line, std::string_view reason) {
  ever_refused_ = true;
  refused_.push_back({std::string(line), std::string(reason)});
  print("REFUSED by the console: " + std::string(reason) + ": " + printable(line));
}

void Console::print(const std::string& line) {
  if (printer_) printer_(line);
}

}  // namespace quillsim

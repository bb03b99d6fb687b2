// The directives of a script that are for the console: its operator's hands, and waits for what the station
// shows. script.h runs them in order with its own.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/quillsim/console.h"

namespace quillsim {

// The legend of these directives, for --help.
extern const char kConsoleScriptHelp[];

// What one line comes to. Nothing set: it is done.
struct ConsoleStep {
  bool known = true;             // one of these directives at all, and well formed
  std::string error;             // why it could not be carried out
  std::function<bool()> until;   // what has to hold before the next line runs; borrows the console
  std::vector<std::string> out;  // lines to print
};

// Carries the line out, or gives what it has to wait for. Without a console every directive fails.
[[nodiscard]] ConsoleStep run_console_directive(std::string_view line, Console* console);

}  // namespace quillsim

// The directives of a script that are for the console: its operator's hands, and waits for what the station
// shows.
#pragma once

#include <string_view>

#include "tools/quillsim/console.h"
#include "tools/quillsim/step.h"

namespace quillsim {

// The legend of these directives, for --help.
extern const char kConsoleScriptHelp[];

// Carries the line out, or gives what it has to wait for. Without a console every directive fails.
[[nodiscard]] Step run_console_directive(std::string_view line, Console* console);

}  // namespace quillsim

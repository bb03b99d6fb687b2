// The directives of a script that are for the device at the multicast group: who else talks, how it answers,
// and waits for who holds a channel.
#pragma once

#include <string_view>

#include "tools/quillsim/ptt_responder.h"
#include "tools/quillsim/step.h"

namespace quillsim {

// The legend of these directives, for --help.
extern const char kPttScriptHelp[];

// Carries the line out, or gives what it has to wait for. Without a device every directive fails.
[[nodiscard]] Step run_ptt_directive(std::string_view line, PttResponder* ptt);

}  // namespace quillsim

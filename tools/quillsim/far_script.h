// The directives of a script that are for the far device: what others do at its destinations, how it fails,
// and waits for what the station sets.
#pragma once

#include <string_view>

#include "tools/quillsim/far_device.h"
#include "tools/quillsim/step.h"

namespace quillsim {

// The legend of these directives, for --help.
extern const char kFarScriptHelp[];

// Carries the line out, or gives what it has to wait for. Without a device every directive fails.
[[nodiscard]] Step run_far_directive(std::string_view line, FarDevice* device);

}  // namespace quillsim

// The commands of harkctl, a function each. Every one writes to `out`, complains on standard error, and gives
// the status that the program ends with.
#pragma once

#include <string>

#include "tools/harkctl/ask.h"
#include "tools/harkctl/options.h"
#include "tools/harkctl/output.h"

namespace hark::ctl {

int run_status(const Options& options, Output& out);
int run_calls(const Options& options, Output& out);
int run_panels(const Options& options, Output& out);
// `root` stands in front of the station's paths (HARK_ROOT).
int run_call(const Options& options, const std::string& root, Output& out);
int run_drop(const Options& options, const std::string& root, Output& out);
int run_gpio(const Options& options, Output& out);
int run_set(const Options& options, Output& out);
int run_health(const Options& options, Output& out);
// Runs until one of `interrupts` is there, the first of which is the output's end.
int run_watch(const Options& options, const Interrupts& interrupts, Output& out);
int run_complete(const Options& options, const std::string& root, Output& out);

// Tells that there was no answer, and why; the status for that.
int complain_of(const control::HostPort& station, const Answer& answer);

// The command of `options`, one of those above. `root`: what stands in front of the station's paths.
// `interrupts` end `watch`; the others take no notice of them.
[[nodiscard]] int run_command(const Options& options, const std::string& root, const Interrupts& interrupts,
                              Output& out);

}  // namespace hark::ctl

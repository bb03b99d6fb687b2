#include "tools/harkctl/commands.h"

namespace hark::ctl {

int run_command(const Options& options, const std::string& root, const Interrupts& interrupts, Output& out) {
  switch (options.command) {
    case Command::kStatus:
      return run_status(options, out);
    case Command::kCalls:
      return run_calls(options, out);
    case Command::kWatch:
      return run_watch(options, interrupts, out);
    case Command::kCall:
      return run_call(options, root, out);
    case Command::kDrop:
      return run_drop(options, root, out);
    case Command::kGpio:
      return run_gpio(options, out);
    case Command::kSet:
      return run_set(options, out);
    case Command::kPanels:
      return run_panels(options, out);
    case Command::kHealth:
      return run_health(options, out);
    case Command::kComplete:
      return run_complete(options, root, out);
  }
  return kUsage;
}

}  // namespace hark::ctl

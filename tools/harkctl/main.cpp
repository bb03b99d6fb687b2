// harkctl: a station from a shell.
#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/fd.h"
#include "tools/harkctl/commands.h"
#include "tools/harkctl/options.h"
#include "tools/harkctl/output.h"

namespace hark::ctl {
namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// A shell may start us without one of the first three descriptors. The connection to the station must not get
// the number of our output.
void open_standard_descriptors() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO)
    fd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  if (fd >= 0) (void)::close(fd);
}

// SIGINT and SIGTERM as something to wait for, in place of what they do by themselves.
UniqueFd take_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  (void)::sigprocmask(SIG_BLOCK, &signals, nullptr);
  return UniqueFd(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

int watch(const Options& options) {
  const UniqueFd signals = take_signals();
  // No events of stdout: poll tells by itself when its reader is gone.
  const Interrupts interrupts = {{STDOUT_FILENO, 0, 0}, {signals.get(), POLLIN, 0}};
  Output out(STDOUT_FILENO, interrupts);
  return run_watch(options, interrupts, out);
}

int run(const Options& options) {
  const std::string root = environment("HARK_ROOT");
  Output out(STDOUT_FILENO);
  switch (options.command) {
    case Command::kStatus:
      return run_status(options, out);
    case Command::kCalls:
      return run_calls(options, out);
    case Command::kWatch:
      return watch(options);
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

}  // namespace
}  // namespace hark::ctl

int main(int argc, char** argv) {
  using namespace hark::ctl;
  open_standard_descriptors();
  (void)std::signal(SIGPIPE, SIG_IGN);
  const ParsedOptions parsed =
      parse_options({argv + 1, argv + (argc > 0 ? argc : 1)}, std::getenv("HARKCTL_STATION"));
  if (parsed.exit_status < 0) return run(parsed.options);
  if (parsed.exit_status == kOk) {
    (void)std::fputs(parsed.text.c_str(), stdout);
  } else {
    complain(parsed.text);
  }
  return parsed.exit_status;
}

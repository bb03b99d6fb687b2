// harkctl: a station from a shell.
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/fd.h"
#include "tools/control/standard_streams.h"
#include "tools/harkctl/commands.h"
#include "tools/harkctl/options.h"
#include "tools/harkctl/output.h"

namespace hark::ctl {
namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
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

int run(const Options& options) {
  const std::string root = environment("HARK_ROOT");
  if (options.command != Command::kWatch) {
    Output out(STDOUT_FILENO);
    return run_command(options, root, {}, out);
  }
  const UniqueFd signals = take_signals();
  // No events of stdout: poll tells by itself when its reader is gone.
  const Interrupts interrupts = {{STDOUT_FILENO, 0, 0}, {signals.get(), POLLIN, 0}};
  Output out(STDOUT_FILENO, interrupts);
  return run_command(options, root, interrupts, out);
}

}  // namespace
}  // namespace hark::ctl

int main(int argc, char** argv) {
  using namespace hark::ctl;
  hark::control::open_standard_streams();
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

#include "tools/harkpanel/stop_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>
#include <csignal>

namespace hark::panel_gateway {

namespace {

// nohup(1) has it ignored, and then means that.
bool is_ignored(int number) {
  struct sigaction now {};
  return ::sigaction(number, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

}  // namespace

bool StopSignals::catch_them(lws_vhost* vhost) {
  sigset_t stops;
  (void)sigemptyset(&stops);
  (void)sigaddset(&stops, SIGTERM);
  (void)sigaddset(&stops, SIGINT);
  // The terminal that it was started in is gone: the keys go up first then, too.
  if (!is_ignored(SIGHUP)) (void)sigaddset(&stops, SIGHUP);
  (void)sigprocmask(SIG_BLOCK, &stops, nullptr);
  UniqueFd file(::signalfd(-1, &stops, SFD_NONBLOCK | SFD_CLOEXEC));
  return file.is_open() && watch(vhost, std::move(file));
}

void StopSignals::on_readable() {
  signalfd_siginfo info;
  while (::read(fd(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    stop_();
  }
}

}  // namespace hark::panel_gateway

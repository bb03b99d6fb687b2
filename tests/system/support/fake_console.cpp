#include "system/support/fake_console.h"

#include <algorithm>

#include "system/support/sockets.h"

namespace hark::test {

FakeConsole::FakeConsole(std::string address, int port) : address_(std::move(address)) {
  reserved_ = shared_socket(address_, port);
  port_ = reserved_.is_open() ? port_of(reserved_.get()) : port;
  (void)accept();
}

bool FakeConsole::accept() {
  if (reserved_.is_open()) listener_ = shared_socket(address_, port_);
  if (listener_.is_open() && ::listen(listener_.get(), 4) != 0) listener_.reset();
  return listening();
}

bool FakeConsole::send_line(std::string_view line) {
  std::string rest = std::string(line) + "\r\n";
  bool alive = true;
  const bool done = wait_until([&] {
    alive = station_.send_some(rest);
    return !alive || rest.empty();
  });
  return done && alive;
}

testing::AssertionResult FakeConsole::wait_line(const std::string& line, int timeout_ms) const {
  const auto has_it = [&] { return std::find(lines_.begin(), lines_.end(), line) != lines_.end(); };
  if (wait_until(has_it, timeout_ms)) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "the station never sent: " << line << "\nit sent:";
  for (const std::string& other : lines_)
    failure << "\n  " << other;
  return failure;
}

void FakeConsole::fill(fd_set& read, fd_set&, int& highest) const {
  (void)fdset_add(listener_.get(), read, highest);
  if (connected()) (void)fdset_add(station_.fd(), read, highest);
}

void FakeConsole::serve(const fd_set& read, const fd_set&) {
  if (connected() && fdset_has(station_.fd(), read)) read_station();
  if (fdset_has(listener_.get(), read)) accept_station();
}

void FakeConsole::accept_station() {
  UniqueFd fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!fd.is_open()) return;
  ++connections_;
  station_.open(std::move(fd));
}

void FakeConsole::read_station() {
  station_.receive();
  for (std::string& line : station_.lines())
    lines_.push_back(without_line_end(std::move(line)));
  station_.lines().clear();
  if (station_.at_end()) station_.close();
}

}  // namespace hark::test

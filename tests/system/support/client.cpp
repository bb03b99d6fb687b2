#include "system/support/client.h"

#include <netinet/tcp.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "system/support/sockets.h"

namespace hark::test {
namespace {

// Connects the non-blocking `fd` while the peers are served.
bool finish_connect(int fd, const sockaddr_in& to) {
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0) return true;
  if (errno != EINPROGRESS) return false;
  int error = 0;
  const bool settled = wait_until([&] {
    fd_set write;
    FD_ZERO(&write);
    int highest = -1;
    if (!fdset_add(fd, write, highest)) return false;
    timeval no_time{};
    return ::select(highest + 1, nullptr, &write, nullptr, &no_time) > 0;
  });
  socklen_t size = sizeof error;
  return settled && ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

}  // namespace

bool Client::connect(int port, const std::string& source, const std::string& address) {
  socket_.close();
  UniqueFd fd = bound_socket(SOCK_STREAM, source, 0);
  if (!fd.is_open()) return false;
  if (receive_buffer_ > 0) {
    (void)::setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUF, &receive_buffer_, sizeof receive_buffer_);
  }
  const int on = 1;
  (void)::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  if (!finish_connect(fd.get(), ipv4(address, port))) return false;
  socket_.open(std::move(fd));
  return true;
}

void Client::abort() {
  const linger at_once{1, 0};
  (void)::setsockopt(socket_.fd(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  socket_.close();
}

void Client::finish_sending() { (void)::shutdown(socket_.fd(), SHUT_WR); }

bool Client::send_line(std::string_view line, int timeout_ms) {
  return send_raw(std::string(line) + "\r\n", timeout_ms);
}

bool Client::send_raw(std::string_view bytes, int timeout_ms) {
  std::string rest(bytes);
  bool alive = true;
  const bool done = wait_until(
      [&] {
        alive = socket_.send_some(rest);
        return !alive || rest.empty();
      },
      timeout_ms);
  return done && alive;
}

std::optional<std::string> Client::read_line_with_end(int timeout_ms) {
  if (!wait_until([this] { return has_line() || socket_.at_end(); }, timeout_ms)) return std::nullopt;
  if (socket_.lines().empty()) return std::nullopt;
  std::string line = std::move(socket_.lines().front());
  socket_.lines().pop_front();
  return line;
}

std::optional<std::string> Client::read_line(int timeout_ms) {
  std::optional<std::string> line = read_line_with_end(timeout_ms);
  if (line) line = without_line_end(std::move(*line));
  return line;
}

testing::AssertionResult Client::expect_line(std::string_view text, int timeout_ms) {
  const std::optional<std::string> line = read_line(timeout_ms);
  if (line && *line == text) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "expected the line: " << text << "\n";
  if (line) return failure << "got: " << testing::PrintToString(*line);
  return failure << (socket_.at_end() ? "the connection was closed" : "none came")
                 << ", partial line: " << testing::PrintToString(socket_.partial());
}

testing::AssertionResult Client::skip_to(std::string_view part, int timeout_ms) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  std::string dropped;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
    const std::optional<std::string> line = read_line(std::max(0, static_cast<int>(left.count())));
    if (!line) return testing::AssertionFailure() << "no line with: " << part << "\ngot:" << dropped;
    if (line->find(part) != std::string::npos) return testing::AssertionSuccess();
    dropped += "\n  " + *line;
  }
}

testing::AssertionResult Client::ask(std::string_view line, std::string_view answer) {
  if (!send_line(line)) return testing::AssertionFailure() << "could not send: " << line;
  return expect_line(answer);
}

testing::AssertionResult Client::expect_silence(int time_ms) {
  if (stays([this] { return !has_line() && socket_.partial().empty(); }, time_ms)) {
    return testing::AssertionSuccess();
  }
  auto failure = testing::AssertionFailure() << "got: ";
  for (const std::string& line : socket_.lines())
    failure << testing::PrintToString(line) << " ";
  return failure << testing::PrintToString(socket_.partial());
}

bool Client::wait_closed(int timeout_ms) {
  return wait_until(
      [this] {
        socket_.receive();
        return socket_.at_end();
      },
      timeout_ms);
}

bool Client::has_line() {
  socket_.receive();
  return !socket_.lines().empty();
}

}  // namespace hark::test

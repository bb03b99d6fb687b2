#include "system/support/line_socket.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace hark::test {

void LineSocket::open(UniqueFd fd) {
  *this = LineSocket();
  fd_ = std::move(fd);
}

void LineSocket::receive() {
  while (is_open() && !at_end_) {
    std::array<char, 16384> bytes{};
    const ssize_t got = ::recv(fd_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return;
    if (got <= 0) {
      at_end_ = true;
      return;
    }
    for (const char c : std::string_view(bytes.data(), static_cast<std::size_t>(got))) {
      partial_.push_back(c);
      if (c == '\n') lines_.push_back(std::exchange(partial_, {}));
    }
  }
}

bool LineSocket::send_some(std::string& bytes) const {
  if (!is_open()) return false;
  const ssize_t sent = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (sent < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
  bytes.erase(0, static_cast<std::size_t>(sent));
  return true;
}

std::string without_line_end(std::string line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
    line.pop_back();
  return line;
}

}  // namespace hark::test

#include "tools/quillsim/wire.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

#include "base/text.h"

namespace quillsim {
namespace {

constexpr int kBacklog = 8;
constexpr int kReadsPerServe = 64;  // a peer that floods must not hold up the owner's loop
constexpr std::size_t kReadSize = 4096;
constexpr std::size_t kMostUnsent = 16U << 20;

bool would_block(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

}  // namespace

std::string_view without_line_end(std::string_view line) {
  const std::size_t last = line.find_last_not_of("\r\n");
  return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::string address_text(const sockaddr_in& address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  (void)::inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
  return std::string(text.data()) + ":" + std::to_string(ntohs(address.sin_port));
}

std::optional<sockaddr_in> address_of(const std::string& address, int port) {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  if (port < 0 || port > UINT16_MAX) return std::nullopt;
  at.sin_port = htons(static_cast<in_port_t>(port));
  if (::inet_pton(AF_INET, address.c_str(), &at.sin_addr) != 1) return std::nullopt;
  return at;
}

int Listener::listen(const std::string& address, int port) {
  std::optional<sockaddr_in> at = address_of(address, port);
  if (!at) {
    errno = EINVAL;
    return -1;
  }
  hark::UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd.is_open()) return -1;
  const int on = 1;
  (void)::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&*at), sizeof *at) != 0) return -1;
  if (::listen(fd.get(), kBacklog) != 0) return -1;
  socklen_t size = sizeof *at;
  if (::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&*at), &size) != 0) return -1;
  fd_ = std::move(fd);
  return ntohs(at->sin_port);
}

std::optional<Listener::Arrival> Listener::accept(const fd_set& read) {
  if (!hark::fdset_has(fd_.get(), read)) return std::nullopt;
  sockaddr_in from{};
  socklen_t size = sizeof from;
  hark::UniqueFd fd(
      ::accept4(fd_.get(), reinterpret_cast<sockaddr*>(&from), &size, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!fd.is_open()) return std::nullopt;
  const int on = 1;
  (void)::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return Arrival{std::move(fd), address_text(from)};
}

void Wire::fill(fd_set& read, fd_set& write, int& highest, bool reading) const {
  if (reading) (void)hark::fdset_add(fd_.get(), read, highest);
  if (!unsent_.empty()) (void)hark::fdset_add(fd_.get(), write, highest);
}

void Wire::serve(const fd_set& read_set, const fd_set& write_set) {
  const int fd = fd_.get();
  if (hark::fdset_has(fd, write_set)) write();
  if (connected() && hark::fdset_has(fd, read_set)) read();
}

void Wire::close() {
  if (!connected()) return;
  fd_.reset();
  partial_.clear();
  unsent_.clear();
  skipping_ = false;
  user_.wire_closed();
}

bool Wire::send_raw(std::string_view bytes) {
  if (!connected()) return false;
  // A peer that does not read is as good as gone.
  if (unsent_.size() > kMostUnsent) {
    close();
    return false;
  }
  unsent_.append(bytes);
  write();
  return connected();
}

void Wire::read() {
  for (int i = 0; i < kReadsPerServe && connected(); ++i) {
    std::array<char, kReadSize> bytes{};
    const ssize_t got = ::recv(fd_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0 && would_block(errno)) return;
    if (got <= 0) {
      if (!partial_.empty()) {
        user_.wire_bad_line(std::exchange(partial_, {}), "connection closed inside a line");
      }
      return close();
    }
    take_bytes({bytes.data(), static_cast<std::size_t>(got)});
  }
}

void Wire::write() {
  while (!unsent_.empty()) {
    const ssize_t sent = ::send(fd_.get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL);
    if (sent < 0 && would_block(errno)) return;
    if (sent < 0) {
      // What the peer sent before it went may still wait to be read; reading then finds the end.
      unsent_.clear();
      return;
    }
    unsent_.erase(0, static_cast<std::size_t>(sent));
  }
}

void Wire::take_bytes(std::string_view bytes) {
  while (!bytes.empty() && connected()) {
    const std::size_t end = bytes.find('\n');
    const std::string_view piece = bytes.substr(0, end == std::string_view::npos ? end : end + 1);
    bytes.remove_prefix(piece.size());
    if (skipping_) {
      skipping_ = !piece.ends_with('\n');
      continue;
    }
    partial_.append(piece);
    if (partial_.size() > hark::kMaxLine) {
      skipping_ = !partial_.ends_with('\n');
      user_.wire_bad_line(std::exchange(partial_, {}), "line longer than 2000 bytes");
    } else if (partial_.ends_with('\n')) {
      user_.wire_line(std::exchange(partial_, {}));
    }
  }
}

bool select_once(fd_set& read, fd_set& write, int highest, int timeout_ms) {
  timeval timeout{};
  timeout.tv_sec = timeout_ms / 1000;
  timeout.tv_usec = static_cast<suseconds_t>(timeout_ms % 1000) * 1000;
  return ::select(highest + 1, &read, &write, nullptr, &timeout) > 0;
}

}  // namespace quillsim

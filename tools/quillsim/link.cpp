#include "tools/quillsim/link.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

#include "base/text.h"

namespace quillsim {
namespace {

constexpr int kBacklog = 8;
constexpr int kReadsPerServe = 64;  // a station that floods must not hold up the owner's loop
constexpr std::size_t kReadSize = 4096;
constexpr std::size_t kMostUnsent = 16U << 20;

std::string address_text(const sockaddr_in& address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  (void)::inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
  return std::string(text.data()) + ":" + std::to_string(ntohs(address.sin_port));
}

bool would_block(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

}  // namespace

int Link::listen(const std::string& address, int port) {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  if (::inet_pton(AF_INET, address.c_str(), &at.sin_addr) != 1 || port < 0 || port > UINT16_MAX) {
    errno = EINVAL;
    return -1;
  }
  at.sin_port = htons(static_cast<in_port_t>(port));
  hark::UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd.is_open()) return -1;
  const int on = 1;
  (void)::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0) return -1;
  if (::listen(fd.get(), kBacklog) != 0) return -1;
  socklen_t size = sizeof at;
  if (::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&at), &size) != 0) return -1;
  listener_ = std::move(fd);
  return ntohs(at.sin_port);
}

void Link::fill(fd_set& read, fd_set& write, int& highest) const {
  (void)hark::fdset_add(listener_.get(), read, highest);
  if (reading_) (void)hark::fdset_add(station_.get(), read, highest);
  if (!unsent_.empty()) (void)hark::fdset_add(station_.get(), write, highest);
}

void Link::serve(const fd_set& read, const fd_set& write) {
  // The station goes first, so that one that hung up and dials again meets a free place.
  const int station = station_.get();
  if (hark::fdset_has(station, write)) write_station();
  if (connected() && hark::fdset_has(station, read)) read_station();
  if (hark::fdset_has(listener_.get(), read)) accept_station();
}

bool Link::pump(int timeout_ms) {
  fd_set read;
  fd_set write;
  FD_ZERO(&read);
  FD_ZERO(&write);
  int highest = -1;
  fill(read, write, highest);
  timeval timeout{};
  timeout.tv_sec = timeout_ms / 1000;
  timeout.tv_usec = static_cast<suseconds_t>(timeout_ms % 1000) * 1000;
  if (::select(highest + 1, &read, &write, nullptr, &timeout) <= 0) return false;
  serve(read, write);
  return true;
}

void Link::close() {
  if (!connected()) return;
  station_.reset();
  partial_.clear();
  unsent_.clear();
  skipping_ = false;
  user_.link_closed();
}

bool Link::send_raw(std::string_view bytes) {
  if (!connected()) return false;
  // A station that does not read is as good as gone.
  if (unsent_.size() > kMostUnsent) {
    close();
    return false;
  }
  unsent_.append(bytes);
  write_station();
  return connected();
}

void Link::accept_station() {
  sockaddr_in from{};
  socklen_t size = sizeof from;
  hark::UniqueFd fd(
      ::accept4(listener_.get(), reinterpret_cast<sockaddr*>(&from), &size, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!fd.is_open()) return;
  if (connected()) return user_.link_turned_away(address_text(from));
  const int on = 1;
  (void)::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  station_ = std::move(fd);
  ++connections_;
  user_.link_opened(address_text(from));
}

void Link::read_station() {
  for (int i = 0; i < kReadsPerServe && connected(); ++i) {
    std::array<char, kReadSize> bytes{};
    const ssize_t got = ::recv(station_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0 && would_block(errno)) return;
    if (got <= 0) {
      if (!partial_.empty()) {
        user_.link_bad_line(std::exchange(partial_, {}), "connection closed inside a line");
      }
      return close();
    }
    take_bytes({bytes.data(), static_cast<std::size_t>(got)});
  }
}

void Link::write_station() {
  while (!unsent_.empty()) {
    const ssize_t sent = ::send(station_.get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL);
    if (sent < 0 && would_block(errno)) return;
    if (sent < 0) {
      // What the station sent before it went may still wait to be read; reading then finds the end.
      unsent_.clear();
      return;
    }
    unsent_.erase(0, static_cast<std::size_t>(sent));
  }
}

void Link::take_bytes(std::string_view bytes) {
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
      user_.link_bad_line(std::exchange(partial_, {}), "line longer than 2000 bytes");
    } else if (partial_.ends_with('\n')) {
      user_.link_line(std::exchange(partial_, {}));
    }
  }
}

}  // namespace quillsim

#include "routing/far_daemon.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace hark {

FarDaemon::FarDaemon(const std::string& ip, int queue, in_port_t port) : ip_(ip) {
  listener_.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  at_.sin_family = AF_INET;
  at_.sin_addr.s_addr = inet_addr(ip.c_str());
  at_.sin_port = port;
  socklen_t length = sizeof at_;
  if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&at_), sizeof at_) != 0 ||
      ::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&at_), &length) != 0)
    std::abort();
  if (queue != kRefuses && ::listen(listener_.get(), queue) != 0) std::abort();
}

std::string FarDaemon::Url(int dst, const std::string& password) const {
  return (password.empty() ? "" : password + "@") + At() + "/" + std::to_string(dst);
}

void FarDaemon::Accept() {
  connection_.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (!connection_.is_open()) return;
  ++connections_;
  sent_ = 0;
}

void FarDaemon::Poll() {
  if (!connection_.is_open()) Accept();
  while (connection_.is_open()) {
    std::array<char, 4096> part{};
    const ssize_t n = ::recv(connection_.get(), part.data(), part.size(), MSG_DONTWAIT);
    if (n > 0) {
      inbox_.append(part.data(), static_cast<std::size_t>(n));
    } else if (n == 0 || errno == ECONNRESET) {
      ++ended_;
      connection_.reset();
    } else {
      return;
    }
  }
}

std::string FarDaemon::Take() { return std::exchange(inbox_, {}); }

void FarDaemon::Send(const std::string& text) {
  if (::send(connection_.get(), text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size()))
    std::abort();
  sent_ += text.size();
}

}  // namespace hark

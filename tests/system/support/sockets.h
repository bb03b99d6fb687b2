// Small helpers over IPv4 sockets that the peers of this folder share. Private to the folder.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <string>

#include "base/fd.h"

namespace hark::test {

inline sockaddr_in ipv4(const std::string& address, int port) {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(static_cast<in_port_t>(port));
  if (::inet_pton(AF_INET, address.c_str(), &at.sin_addr) != 1) at.sin_addr.s_addr = INADDR_NONE;
  return at;
}

namespace detail {

inline UniqueFd bound_with(int type, const std::string& address, int port, int option) {
  UniqueFd fd(::socket(AF_INET, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const int on = 1;
  if (type == SOCK_STREAM) (void)::setsockopt(fd.get(), SOL_SOCKET, option, &on, sizeof on);
  const sockaddr_in at = ipv4(address, port);
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0) fd.reset();
  return fd;
}

}  // namespace detail

// A non-blocking socket bound there; none when it could not be bound. `type` is SOCK_STREAM or SOCK_DGRAM.
inline UniqueFd bound_socket(int type, const std::string& address, int port) {
  return detail::bound_with(type, address, port, SO_REUSEADDR);
}

// A TCP socket bound there that shares its place only with others of this function.
inline UniqueFd shared_socket(const std::string& address, int port) {
  return detail::bound_with(SOCK_STREAM, address, port, SO_REUSEPORT);
}

// The port that a socket is bound to.
inline int port_of(int fd) {
  sockaddr_in at{};
  socklen_t size = sizeof at;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&at), &size) != 0) return -1;
  return ntohs(at.sin_port);
}

}  // namespace hark::test

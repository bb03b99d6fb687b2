#include "tools/harkpanel/listener.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace hark::panel_gateway {
namespace {

constexpr int kBacklog = 64;

struct FreeAddresses {
  void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};

UniqueFd open_listener(const addrinfo& at) {
  UniqueFd file(::socket(at.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!file.is_open()) return file;  // the calls below would overwrite the reason
  const int on = 1;
  (void)::setsockopt(file.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (at.ai_family == AF_INET6) {
    (void)::setsockopt(file.get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
  }
  if (::bind(file.get(), at.ai_addr, at.ai_addrlen) != 0 || ::listen(file.get(), kBacklog) != 0) {
    return UniqueFd();
  }
  return file;
}

std::uint16_t port_of(const UniqueFd& file) {
  sockaddr_storage name{};
  socklen_t size = sizeof name;
  if (::getsockname(file.get(), reinterpret_cast<sockaddr*>(&name), &size) != 0) return 0;
  // The port is at the same place in both families.
  sockaddr_in in{};
  std::memcpy(&in, &name, sizeof in);
  return ntohs(in.sin_port);
}

}  // namespace

UniqueFd listen_at(control::HostPort& address, std::string& error) {
  const std::string host = address.host == "localhost" ? "127.0.0.1" : address.host;
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
  addrinfo* list = nullptr;
  if (const int failed = ::getaddrinfo(host.c_str(), std::to_string(address.port).c_str(), &hints, &list)) {
    error = ::gai_strerror(failed);
    return UniqueFd();
  }
  const std::unique_ptr<addrinfo, FreeAddresses> owned(list);
  UniqueFd file = open_listener(*list);
  if (file.is_open()) {
    address.port = port_of(file);
  } else {
    error = std::strerror(errno);
  }
  return file;
}

}  // namespace hark::panel_gateway

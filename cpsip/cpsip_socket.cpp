// The system calls on sockets, with the stack's addresses. No state: the blocks and the sets are in
// cpsip_select.cpp.
#include "cpsip/cpsip_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "cpsip/cpapp.h"

namespace hark {
namespace {

constexpr std::uint16_t kUnknownPort = 65535;

void report(std::uint32_t location = cpapp_here(cpapp_module::cpsip_osa)) { (void)cpapp_uxp(location); }

// What a failed call gives.
int failed(int& err, int error = errno) {
  err = error;
  return -1;
}

sockaddr_in to_system(const cpsip_address& address) {
  sockaddr_in system{};
  system.sin_family = AF_INET;
  system.sin_port = htons(address.port);
  system.sin_addr.s_addr = address.addr;
  return system;
}

const sockaddr* generic(const sockaddr_in& address) { return reinterpret_cast<const sockaddr*>(&address); }
sockaddr* generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

// Other addresses are the fault of who calls, and nothing could be heard or sent.
void require_ip4(const cpsip_address& address, std::uint32_t location = cpapp_here(cpapp_module::cpsip_osa)) {
  if (address.type != kAddressIp4) cpapp_fatal_err(location);
}

int open_socket(cpsip_transport_kind kind) {
  switch (kind) {
    case cpsip_transport_kind::udp:
      return ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    case cpsip_transport_kind::tcp:
    case cpsip_transport_kind::tls:
      return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    case cpsip_transport_kind::none:
    case cpsip_transport_kind::sctp:
      break;
  }
  report();
  errno = EPROTONOSUPPORT;
  return -1;
}

}  // namespace

int Cpsip_SOC_Socket(cpsip_transport_kind kind, std::uint32_t type, int& err) {
  if (type != kAddressIp4) {
    report();
    return failed(err, EAFNOSUPPORT);
  }
  UniqueFd fd(open_socket(kind));
  if (!fd.is_open() || !set_nonblocking(fd.get())) return failed(err);
  return fd.release();
}

int Cpsip_SOC_Bind(SocCB& cb, int& err) {
  require_ip4(cb.local);
  const int on = 1;
  (void)::setsockopt(cb.fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in local = to_system(cb.local);
  return ::bind(cb.fd.get(), generic(local), sizeof local) == 0 ? 0 : failed(err);
}

int Cpsip_SOC_Close(SocCB& cb, int& err) {
  // A set that kept the number would make select fail, or tell of whoever gets the number next.
  if (cb.fdset_slot >= 0) (void)Cpsip_SOC_ChangeSelSta(cb, false, false, false);
  return ::close(cb.fd.release()) == 0 ? 0 : failed(err);
}

int Cpsip_SOC_Connect(SocCB& cb, int& err) {
  require_ip4(cb.remote);
  const sockaddr_in remote = to_system(cb.remote);
  if (::connect(cb.fd.get(), generic(remote), sizeof remote) == 0 || errno == EINPROGRESS) return 0;
  return failed(err);
}

int Cpsip_SOC_Recvfrom(int fd, std::span<char> buf, cpsip_address& from, int& err) {
  sockaddr_in source{};
  socklen_t size = sizeof source;
  const ssize_t length = ::recvfrom(fd, buf.data(), buf.size(), 0, generic(source), &size);
  if (length < 0) return failed(err);
  if (size != sizeof source) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_osa));
  from = {.type = kAddressIp4, .port = ntohs(source.sin_port), .addr = source.sin_addr.s_addr};
  return static_cast<int>(length);
}

int Cpsip_SOC_Sendto(int fd, std::span<const char> buf, const cpsip_address& to, int& err) {
  const sockaddr_in target = to_system(to);
  const ssize_t sent = ::sendto(fd, buf.data(), buf.size(), MSG_NOSIGNAL, generic(target), sizeof target);
  if (sent < 0) return failed(err);
  if (static_cast<std::size_t>(sent) != buf.size()) report();
  return static_cast<int>(sent);
}

std::uint16_t Cpsip_SOC_GetLocalPort(const SocCB& cb) {
  sockaddr_in local{};
  socklen_t size = sizeof local;
  if (::getsockname(cb.fd.get(), generic(local), &size) != 0 || local.sin_family != AF_INET)
    return kUnknownPort;
  return ntohs(local.sin_port);
}

}  // namespace hark

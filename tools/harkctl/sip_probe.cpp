#include "tools/harkctl/sip_probe.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <random>
#include <vector>

#include "base/text.h"
#include "tools/harkctl/network.h"
#include "tools/harkctl/sip_options.h"

namespace hark::ctl {
namespace {

constexpr std::size_t kLongestDatagram = 65'536;
// What makes a branch unique at all times (RFC 3261 section 8.1.1.7).
constexpr const char* kBranchCookie = "z9hG4bK";

std::string random_word() {
  std::random_device random;
  std::array<char, 40> text;
  (void)format_text(text, "%08x%08x", random(), random());
  return text.data();
}

// Our own side of a connected socket, as SIP writes it.
std::string own_address(int fd) {
  sockaddr_storage own{};
  socklen_t size = sizeof own;
  std::array<char, INET6_ADDRSTRLEN> host{};
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&own), &size) != 0) return {};
  if (own.ss_family == AF_INET) {
    const auto* v4 = reinterpret_cast<const sockaddr_in*>(&own);
    (void)::inet_ntop(AF_INET, &v4->sin_addr, host.data(), host.size());
    return control::to_text({host.data(), ntohs(v4->sin_port)});
  }
  const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&own);
  (void)::inet_ntop(AF_INET6, &v6->sin6_addr, host.data(), host.size());
  return control::to_text({host.data(), ntohs(v6->sin6_port)});
}

bool all_settled(std::span<const SipProbe> probes) {
  return std::all_of(probes.begin(), probes.end(), [](const SipProbe& probe) { return probe.is_settled(); });
}

// Sends what is due, and waits for the first answer or the next send.
void ask_once(std::span<SipProbe> probes, Deadline deadline) {
  std::vector<pollfd> fds;
  for (SipProbe& probe : probes) {
    if (!probe.is_settled()) deadline = std::min(deadline, probe.send_when_due(Clock::now()));
    fds.push_back({probe.is_settled() ? -1 : probe.fd(), POLLIN, 0});
  }
  if (::poll(fds.data(), fds.size(), ms_until(deadline)) <= 0) return;
  for (std::size_t i = 0; i < fds.size(); ++i) {
    if (fds[i].revents != 0) probes[i].receive();
  }
}

}  // namespace

void SipProbe::start(Deadline deadline) {
  const Resolved resolved = resolve(place_, SOCK_DGRAM, deadline);
  why_ = resolved.why;
  if (resolved.addresses.empty()) return;
  const Address& address = resolved.addresses.front();
  fd_.reset(::socket(address.generic()->sa_family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  // Connected, so that we hear when the machine there says that nobody has this port.
  if (!fd_.is_open() || ::connect(fd_.get(), address.generic(), address.size) != 0) {
    why_ = reason_of(errno);
    return;
  }
  const std::string own = own_address(fd_.get());
  branch_ = kBranchCookie + random_word();
  request_ = options_request({service_, place(), own, branch_, random_word() + "@" + own, random_word()});
}

Deadline SipProbe::send_when_due(Deadline now) {
  if (now < due_) return due_;
  if (::send(fd_.get(), request_.data(), request_.size(), MSG_NOSIGNAL) < 0 && errno != EAGAIN)
    why_ = reason_of(errno);
  due_ = now + pause_;
  pause_ = next_pause(pause_);
  return due_;
}

void SipProbe::receive() {
  std::array<char, kLongestDatagram> datagram;
  for (;;) {
    const ssize_t got = ::recv(fd_.get(), datagram.data(), datagram.size(), 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno != EAGAIN) why_ = reason_of(errno);
    if (got < 0 || take({datagram.data(), static_cast<std::size_t>(got)})) return;
  }
}

bool SipProbe::take(std::string_view datagram) {
  const int status = response_status(datagram, branch_);
  if (is_final(status)) status_ = status;
  return is_settled();
}

void SipProbe::give_up(std::chrono::milliseconds time) {
  why_ = "no answer to OPTIONS in " + std::to_string(time.count()) + " ms";
}

void ask_services(std::span<SipProbe> probes, std::chrono::milliseconds time) {
  const Deadline deadline = Clock::now() + time;
  for (SipProbe& probe : probes)
    probe.start(deadline);
  while (!all_settled(probes) && Clock::now() < deadline)
    ask_once(probes, deadline);
  for (SipProbe& probe : probes) {
    if (!probe.is_settled()) probe.give_up(time);
  }
}

}  // namespace hark::ctl

#include "routing/qncpptt.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "base/text.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/station.h"
#include "routing/qncpptt_private.h"

namespace hark {

QncpPtt qncpptt;
void (*qncpptt_update_status_callback)(int port, bool active) = nullptr;

namespace {

constexpr in_addr_t kGroup = 0xEFC0FF04;  // 239.192.255.4, the network's control group
constexpr in_port_t kGroupPort = 4011;
constexpr int kLeaseMs = 5000;
constexpr TimeUs kConfirmedUs = 5'000'000;
// The second request goes out fast, to make up for a first one that was lost.
constexpr TimeUs kFirstRenewalUs = 50'000;
constexpr TimeUs kRenewalUs = 2'000'000;
constexpr std::size_t kMostReceived = 64;
constexpr int kBadPort = -1;
constexpr int kNoSocket = -2;

int fail(const char* what) {
  syslog(kLogError, "qncpptt %s error %d", what, errno);
  qncpptt.fd.reset();
  return -1;
}

int fail_bind(const sockaddr_in& address) {
  const int error = errno;
  syslog(kLogError, "qncpptt bind(%s:%d) error %d\n", dotted(address.sin_addr.s_addr).data(),
         ntohs(address.sin_port), error);
  errno = error;
  std::perror("qncpptt_initialize");
  qncpptt.fd.reset();
  return -1;
}

// By the index too: an interface that was replaced may have its old address again.
ip_mreqn membership(in_addr_t interface_address, unsigned interface_index) {
  ip_mreqn request{};
  request.imr_multiaddr = qncpptt.req_addr.sin_addr;
  request.imr_address.s_addr = interface_address;
  request.imr_ifindex = static_cast<int>(interface_index);
  return request;
}

int set_ip_option(int option, const void* value, socklen_t size) {
  return ::setsockopt(qncpptt.fd.get(), IPPROTO_IP, option, value, size);
}

void join_group(in_addr_t interface_address, unsigned interface_index) {
  const ip_mreqn request = membership(interface_address, interface_index);
  const auto group = dotted(request.imr_multiaddr.s_addr);
  if (set_ip_option(IP_ADD_MEMBERSHIP, &request, sizeof request) != 0) {
    syslog(kLogError, "qncpptt join %s error %d\n", group.data(), errno);
  } else {
    syslog(kLogDebug, "qncpptt joined %s on %s\n", group.data(), dotted(interface_address).data());
  }
  if (set_ip_option(IP_MULTICAST_IF, &request, sizeof request) != 0)
    syslog(kLogError, "qncpptt MULTICAST_IF %s error %d\n", dotted(interface_address).data(), errno);
}

// Follows the SIP address: the group is heard, and spoken to, on its interface.
void qncpptt_select_mcast_iface(in_addr_t address, unsigned index) {
  if (!qncpptt.fd.is_open()) return;
  if (address == qncpptt.mcast_iface_addr && index == qncpptt.mcast_iface_index) return;
  if (qncpptt.mcast_iface_addr != 0) {
    const ip_mreqn request = membership(qncpptt.mcast_iface_addr, qncpptt.mcast_iface_index);
    // Without effect, and no loss, where the interface went away with its address.
    (void)set_ip_option(IP_DROP_MEMBERSHIP, &request, sizeof request);
  }
  qncpptt.mcast_iface_addr = address;
  qncpptt.mcast_iface_index = index;
  if (address != 0) join_group(address, index);
}

void qncpptt_request(const qncpptt_port& port, bool down) {
  std::array<char, 80> text{};
  const int length = format_text(text, "EVENT QnCH#%u ptt=[%s,%u,%u]", port.dst, down ? "DOWN" : "UP",
                                 port.src, down ? kLeaseMs : 0U);
  const ssize_t sent =
      ::sendto(qncpptt.fd.get(), text.data(), static_cast<std::size_t>(length), MSG_DONTWAIT,
               reinterpret_cast<const sockaddr*>(&qncpptt.req_addr), sizeof qncpptt.req_addr);
  if (sent < length) {
    const int error = errno;
    std::perror("qncpptt_request");
    syslog(kLogError, "PTT req send error %d", error);
  } else {
    syslog(kLogInfo, "PTT req: %s", text.data());
  }
}

bool is_in_use(const qncpptt_port& port) { return port.dst != 0 && port.src != 0; }

void report(const qncpptt_port& port, bool active) {
  if (qncpptt_update_status_callback == nullptr) return;
  qncpptt_update_status_callback(static_cast<int>(&port - qncpptt.ports.data()), active);
}

// 0, or the error of an operation on `port`.
int check(int port) {
  if (port < 0 || port >= qncpptt_ports_count) return kBadPort;
  return qncpptt.fd.is_open() ? 0 : kNoSocket;
}

// One datagram; what does not fit is cut off it.
void receive(TimeUs now) {
  std::array<char, kMostReceived + 1> text{};
  const ssize_t n = ::recv(qncpptt.fd.get(), text.data(), kMostReceived, MSG_DONTWAIT);
  if (n <= 0) return;
  text[static_cast<std::size_t>(n)] = '\0';
  qncpptt_receive(text.data(), now);
}

// Each report comes last: the call code may clear and set the port then.
void run_timers(qncpptt_port& port, TimeUs now) {
  if (!is_in_use(port)) return;
  if (now >= port.next_request) {
    qncpptt_request(port, true);
    port.next_request = now + kRenewalUs;
  }
  if (!port.active || now < port.active_until) return;
  port.active = false;
  report(port, false);
}

}  // namespace

QncpPtt::QncpPtt() : req_addr{} {
  req_addr.sin_family = AF_INET;
  req_addr.sin_addr.s_addr = htonl(kGroup);
  req_addr.sin_port = htons(kGroupPort);
}

int qncpptt_initialize() {
  if (qncpptt.fd.is_open()) return 1;
  qncpptt.fd.reset(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!qncpptt.fd.is_open()) return fail("socket");
  const int on = 1;
  if (::setsockopt(qncpptt.fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) return fail("REUSEADDR");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(qncpptt.local_port);
  if (::bind(qncpptt.fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return fail_bind(address);
  return 0;
}

int qncpptt_set(int port, std::uint32_t dst, std::uint32_t src) {
  if (const int error = check(port); error != 0) return error;
  qncpptt_port& record = qncpptt.ports[static_cast<std::size_t>(port)];
  record.dst = dst;
  record.src = src;
  if (dst == 0 && src == 0) return 0;
  qncpptt_request(record, true);
  record.next_request = clock_now() + kFirstRenewalUs;
  return 0;
}

int qncpptt_clr(int port) {
  if (const int error = check(port); error != 0) return error;
  qncpptt_port& record = qncpptt.ports[static_cast<std::size_t>(port)];
  if (is_in_use(record)) qncpptt_request(record, false);
  // Kept: `active` stays with the port, so that one which is used again after its confirmation ran out tells
  // that end first, and the new talk shows as unconfirmed until the device answers it.
  record.dst = record.src = 0;
  return 0;
}

int qncpptt_selectevents(fd_set& set) {
  int highest = -1;
  (void)fdset_add(qncpptt.fd.get(), set, highest);
  return highest;
}

void qncpptt_receive(const char* text, TimeUs now) {
  for (const std::string_view prefix : {"indi ", "event "}) {
    if (!starts_with_nocase(text, prefix)) continue;
    text += prefix.size();
    break;
  }
  constexpr std::string_view object = "qnch#";
  if (!starts_with_nocase(text, object)) return;
  text += object.size();
  char* end = nullptr;
  const unsigned long dst = std::strtoul(text, &end, 10);
  if (end == text || *end != ' ') return;
  const char* owner = qnr_findval(end, "ifb_qnch");
  if (owner == nullptr) return;
  const auto src = static_cast<unsigned long>(qnr_vall(owner));
  for (qncpptt_port& port : qncpptt.ports) {
    if (!is_in_use(port) || port.dst != dst || port.src != src) continue;
    port.active = true;
    port.active_until = now + kConfirmedUs;
    report(port, true);
  }
}

void qncpptt_processevents(const fd_set& readable, TimeUs now) {
  qncpptt_select_mcast_iface(station.sip_ip, station.sip_iface_index);
  if (fdset_has(qncpptt.fd.get(), readable)) receive(now);
  for (qncpptt_port& port : qncpptt.ports)
    run_timers(port, now);
}

void qncpptt_cleanup() {
  for (int port = 0; port < qncpptt_ports_count; ++port)
    (void)qncpptt_clr(port);
  qncpptt.ports.fill(qncpptt_port());
  qncpptt.mcast_iface_addr = 0;
  qncpptt.mcast_iface_index = 0;
  qncpptt.fd.reset();
}

}  // namespace hark

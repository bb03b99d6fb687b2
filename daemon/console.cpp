// The outbound connection to the mixing console: which console, when to dial, how long to wait between
// attempts.
#include "daemon/server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "base/fd.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/qnrcli.h"
#include "daemon/server_private.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

constexpr in_port_t kConsolePort = 4010;
constexpr std::int32_t kFirstWaitUs = 1'000'000;
constexpr std::int32_t kLongestWaitUs = 16'000'000;

// A number up to `limit`; `p` is left behind it.
bool read_number(const char*& p, unsigned long limit, unsigned long& value) {
  char* end = nullptr;
  value = std::strtoul(p, &end, 0);
  if (end == p || value > limit) return false;
  p = end;
  return true;
}

// Reads "a.b.c.d" or "a.b.c.d:port" into `addr`; without a port it is 0. False when it is neither.
bool parse_inaddr(const char* text, sockaddr_in& addr) {
  std::uint32_t ip = 0;
  for (int part = 0; part < 4; ++part) {
    unsigned long value = 0;
    if (part > 0 && *text++ != '.') return false;
    if (!read_number(text, 255, value)) return false;
    ip = ip << 8 | static_cast<std::uint32_t>(value);
  }
  unsigned long port = 0;
  if (*text == ':' && !read_number(++text, 65535, port)) return false;
  if (*text != '\0') return false;
  addr = sockaddr_in{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(ip);
  addr.sin_port = htons(static_cast<in_port_t>(port));
  return true;
}

bool same_target(const sockaddr_in& a, const sockaddr_in& b) {
  return a.sin_addr.s_addr == b.sin_addr.s_addr && a.sin_port == b.sin_port;
}

// The panel stays in the record, idle since the socket is closed.
void give_up(int i) {
  ConnectionData& data = server.slot(i);
  if (server.is_open(i)) ::close(server.socket(i));
  server.socket(i) = -1;
  data.reconnect_us = kNotConsole;
  syslog(kLogInfo, "disconnect from console %s", peer_text(data.addr).c_str());
}

int free_slot() {
  for (int i = 0; i < kMaxConnections; ++i) {
    if (server.slot(i).reconnect_us == kNotConsole && !server.is_open(i)) return i;
  }
  return -1;
}

}  // namespace

void harkd_consoleconnect(const char* addr) {
  sockaddr_in target{};
  if (!parse_inaddr(addr, target)) return;
  if (target.sin_port == 0) target.sin_port = htons(kConsolePort);
  for (int i = 0; i < kMaxConnections; ++i) {
    const ConnectionData& data = server.slot(i);
    if (data.reconnect_us < 0) continue;
    if (same_target(data.addr, target)) return;
    if (data.addr.sin_addr.s_addr != 0) give_up(i);
  }
  if (target.sin_addr.s_addr == 0) return;
  const int i = free_slot();
  if (i < 0) {
    syslog(kLogError, "harkd_consoleconnect out of resource");
    return;
  }
  ConnectionData& data = server.slot(i);
  data.set_peer(target);
  data.reconnect_us = 0;
  syslog(kLogInfo, "connect to console %s", peer_text(target).c_str());
}

void console_redial(int i, TimeUs now) {
  ConnectionData& data = server.slot(i);
  if (server.is_open(i) || data.reconnect_us < 0 || data.addr.sin_addr.s_addr == 0) return;
  if (data.reconnect_us != 0 && now - data.last_attempt < data.reconnect_us) return;
  data.last_attempt = now;
  server.socket(i) = con_reconnect(i);
  // The greeting goes out once the slot knows its socket, so that the limit on sending holds for it too.
  if (server.is_open(i)) (void)server_resp_single(server.socket(i), "GET Intercom type\r\nSUB Intercom\r\n");
}

int con_reconnect(int i) {
  ConnectionData& data = server.slot(i);
  if (station.dbg)
    (void)std::printf("%s reconnect to %s\n", station.appName.c_str(), peer_text(data.addr).c_str());
  UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const bool usable = fd.is_open() && fd.get() < FD_SETSIZE;
  if (!usable || !connect_in_time(fd.get(), data.addr)) {
    data.reconnect_us =
        data.reconnect_us == 0 ? kFirstWaitUs : std::min(data.reconnect_us * 2, kLongestWaitUs);
    return -1;
  }
  set_socket_option(fd.get(), SOL_SOCKET, SO_KEEPALIVE, "SO_KEEPALIVE", 1);
  set_socket_option(fd.get(), IPPROTO_TCP, TCP_NODELAY, "TCP_NODELAY", 1);
  data.init();
  (void)qnrdb_sub_set(&qnrobjdb, nullptr, -1, i, false);
  data.reconnect_us = kFirstWaitUs;
  return fd.release();
}

}  // namespace hark

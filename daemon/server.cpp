#include "daemon/server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/fd.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/server_cmd.h"
#include "daemon/server_private.h"
#include "daemon/station/station.h"

namespace hark {

Server server;

namespace {

// Kept: a host is turned away when this many slots hold its address, while the log tells a limit of 6. The
// text is part of the log's interface, the count of the port's; neither moves for the other.
constexpr int kHostLimit = 7;
constexpr int kHostLimitInLog = 6;

LineBuffer resp;  // the one text buffer for formatted replies; valid until the next one

void set_inbound_options(int fd) {
  set_socket_option(fd, IPPROTO_TCP, TCP_NODELAY, "TCP_NODELAY", 1);
  const timeval limit{kSendLimitUs / kUsPerSecond, kSendLimitUs % kUsPerSecond};
  set_socket_option(fd, SOL_SOCKET, SO_SNDTIMEO, "SO_SNDTIMEO", limit);
}

// The slot for a new connection, -1 when there is none, and how many slots hold the peer's address. The
// address stays in a slot when its connection ends, and counts until another host takes the slot over, the
// one that would be taken now included. Kept: it is what slows down a host that connects over and over.
struct SlotSearch {
  int free = -1;
  int from_host = 0;

  explicit SlotSearch(in_addr_t host) {
    for (int i = 0; i < kMaxConnections; ++i) {
      const ConnectionData& data = server.slot(i);
      if (free < 0 && !server.is_open(i) && data.reconnect_us == kNotConsole) free = i;
      if (data.addr.sin_addr.s_addr == host) ++from_host;
    }
  }
};

int turn_away(int fd, const sockaddr_in& peer, const char* error, const char* which, int limit) {
  (void)::send(fd, error, std::strlen(error), MSG_NOSIGNAL | MSG_DONTWAIT);
  ::close(fd);
  syslog(kLogWarning, "rejecting %s: %s connection limit (%d) reached", dotted(peer.sin_addr.s_addr).data(),
         which, limit);
  return -1;
}

ConnectionData* slot_of(int fd) {
  const auto found = std::find(server.cons.begin(), server.cons.end(), fd);
  if (found == server.cons.end() || !server.con_data) return nullptr;
  return &server.con_data[static_cast<std::size_t>(found - server.cons.begin())];
}

// Waits until `fd` takes more, no longer than its peer's time in this pass allows. False when it does not.
// The wait is real time, which no test moves: it is a limit on the kernel's patience, not a timer of the
// station.
bool wait_writable(int fd, ConnectionData* slot) {
  using Clock = std::chrono::steady_clock;
  const TimeUs used = slot != nullptr ? slot->send_wait_us : 0;
  const TimeUs left = kSendLimitUs - used;
  if (left <= 0) return false;
  const auto start = Clock::now();
  pollfd wanted{fd, POLLOUT, 0};
  const int ready = ::poll(&wanted, 1, static_cast<int>((left + kUsPerMs - 1) / kUsPerMs));
  const TimeUs waited = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
  if (slot != nullptr) slot->send_wait_us = used + waited;
  return ready > 0 || (ready < 0 && errno == EINTR);
}

int send_failed(int fd, std::size_t sent, std::size_t length) {
  const int error = errno;
  syslog(kLogWarning, "socket %d send failed", fd);
  (void)std::fprintf(stderr, "%s: send(%d) err=%d %zu/%zu. Shut.\n", station.appName.c_str(), fd, error, sent,
                     length);
  (void)::shutdown(fd, SHUT_RD);
  // The kernel still delivers what such a peer goes on sending; the mark ends the connection all the same.
  if (ConnectionData* slot = slot_of(fd)) slot->shut = true;
  return -1;
}

// Closes the socket of a connection that is gone. Nothing is sent to its number any more, which may soon be
// another's.
int end_connection(int fd, ConnectionData& data) {
  data.shut = true;
  ::close(fd);
  return -1;
}

}  // namespace

int reply_fd(int i) { return i >= 0 && i < kMaxConnections ? server.socket(i) : -1; }

std::string peer_text(const sockaddr_in& addr) {
  return std::string(dotted(addr.sin_addr.s_addr).data()) + ":" + std::to_string(ntohs(addr.sin_port));
}

int server_accept(int listen_fd) {
  sockaddr_in peer{};
  socklen_t size = sizeof peer;
  const int fd = ::accept4(listen_fd, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC);
  if (fd < 0) {
    (void)std::fprintf(stderr, "%s: accept() err=%d\n", station.appName.c_str(), errno);
    return -1;
  }
  const SlotSearch search(peer.sin_addr.s_addr);
  if (search.free < 0 || fd >= FD_SETSIZE) {
    return turn_away(fd, peer, QNR_ERROR_SERVERBUSY, "global", kMaxConnections);
  }
  if (search.from_host >= kHostLimit) {
    return turn_away(fd, peer, QNR_ERROR_HOSTCONNLIMIT, "host", kHostLimitInLog);
  }
  if (station.dbg) {
    (void)std::printf("%s: %s connected (%d) [%d]\n", station.appName.c_str(), peer_text(peer).c_str(), fd,
                      search.free);
  }
  // Kept: the port is logged as it is stored, in network order. It tells connections apart, no more.
  syslog(kLogNotice, "connected %s:%d, connection id: %d", dotted(peer.sin_addr.s_addr).data(), peer.sin_port,
         fd);
  set_inbound_options(fd);
  ConnectionData& data = server.slot(search.free);
  data.init();
  data.set_peer(peer);
  server.socket(search.free) = fd;
  (void)qnrdb_sub_set(&qnrobjdb, nullptr, -1, search.free, false);
  return fd;
}

int server_recv(int i) {
  const int fd = server.socket(i);
  ConnectionData& data = server.slot(i);
  if (!data.rx_buf) data.rx_buf.reset(new (std::nothrow) LineReader);
  if (!data.rx_buf) {
    (void)std::fprintf(stderr, "%s server_recv: out of memory\n", station.appName.c_str());
    return end_connection(fd, data);
  }
  if (data.shut || data.rx_buf->receive(fd) <= 0) return end_connection(fd, data);
  // A command may close the connection that it came on (a console that is given up): look again after each.
  while (server.socket(i) == fd) {
    const char* line = data.rx_buf->next();
    if (line == nullptr) break;
    server_cmd(line, i);
  }
  return server.socket(i);
}

void server_disconnected(int i, TimeUs now) {
  ConnectionData& data = server.slot(i);
  if (station.dbg) {
    (void)std::printf("%s: connection closed (%d) [%d]\n", station.appName.c_str(), server.socket(i), i);
  }
  syslog(kLogNotice, "disconnected connection id: %d\n", server.socket(i));
  if (data.ui) {
    uilist_indi('R', i, -1);
    data.ui.reset();
  }
  (void)qnrdb_sub_set(&qnrobjdb, nullptr, -1, i, false);
  server.socket(i) = -1;
  data.last_attempt = now;
  writeuilist();
}

void server_cleanup() {
  for (int i = 0; server.con_data && i < kMaxConnections; ++i) {
    ConnectionData& data = server.slot(i);
    data.rx_buf.reset();
    data.ui.reset();
    if (server.is_open(i)) ::close(server.socket(i));
    server.socket(i) = -1;
  }
  writeuilist();
  server.con_data.reset();
  server.model.reset();
}

int server_resp_single(int fd, const char* text) {
  if (fd < 0) return -1;
  const std::size_t length = std::strlen(text);
  ConnectionData* slot = slot_of(fd);
  if (slot != nullptr && slot->shut) return -1;
  std::size_t sent = 0;
  while (sent < length) {
    const ssize_t n = ::send(fd, text + sent, length - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) {
      sent += static_cast<std::size_t>(n);
    } else if (n == 0 || (errno != EINTR && (errno != EAGAIN || !wait_writable(fd, slot)))) {
      return send_failed(fd, sent, length);
    }
  }
  return 0;
}

int server_resp(int fd, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  vformat_text(resp, fmt, args);
  va_end(args);
  return server_resp_single(fd, resp.data());
}

void server_new_pass(TimeUs passed) {
  for (int i = 0; i < kMaxConnections; ++i) {
    TimeUs& waited = server.slot(i).send_wait_us;
    waited = std::max<TimeUs>(waited - passed / kSendRefill, 0);
  }
}

}  // namespace hark

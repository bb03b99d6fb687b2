// The connections of the IFB link: dialling, sending, cutting what comes into lines, and when one ends.
#include "routing/qnrifb_con.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/text.h"
#include "daemon/log/log.h"
#include "daemon/station/station.h"

namespace hark {

std::list<qnrifb_remote_connection> qnrifb_cons;

namespace {

constexpr TimeUs kIdleUs = 30'000'000;
constexpr std::string_view kQuery = "DST\n";

// "0x5581... qnrifb 10.0.0.5:93 connected", by which the lines of one connection are told apart.
void log_con(int level, const qnrifb_remote_connection& conn, const char* what) {
  syslog(level, "0x%lX qnrifb %s:%d %s", static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(&conn)),
         dotted(conn.addr.sin_addr.s_addr).data(), ntohs(conn.addr.sin_port), what);
}

// Shuts the socket; the record goes at the end of the pass.
void drop(qnrifb_remote_connection& conn, const char* why) {
  log_con(kLogError, conn, why);
  conn.fd.reset();
}

bool fail(qnrifb_remote_connection& conn, const char* what) {
  std::perror(what);
  conn.fd.reset();
  return false;
}

bool open_socket(qnrifb_remote_connection& conn) {
  conn.fd.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  // A descriptor that select(2) cannot watch is as good as none.
  if (conn.fd.get() >= FD_SETSIZE) errno = EMFILE;
  if (!conn.fd.is_open() || conn.fd.get() >= FD_SETSIZE) return fail(conn, "qnrifb_connect socket");
  if (!set_nonblocking(conn.fd.get())) return fail(conn, "qnrifb_connect O_NONBLOCK");
  const int on = 1;
  if (::setsockopt(conn.fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0)
    return fail(conn, "qnrifb_connect TCP_NODELAY");
  return true;
}

void flush(qnrifb_remote_connection& conn) {
  if (!conn.fd.is_open() || conn.connecting || conn.tx_wr <= conn.tx_rd) return;
  const ssize_t n = ::send(conn.fd.get(), conn.tx.data() + conn.tx_rd, conn.tx_wr - conn.tx_rd, MSG_NOSIGNAL);
  if (n > 0) conn.tx_rd += static_cast<std::size_t>(n);
}

// Hands each complete line on, and moves the rest to the start. A line's taker may queue text here and set
// and clear ports, but never ends a connection.
void take_lines(qnrifb_remote_connection& conn) {
  std::size_t start = 0;
  for (std::size_t at = 0; at < conn.rx_wr; ++at) {
    if (conn.rx[at] != '\r' && conn.rx[at] != '\n') continue;
    conn.rx[at] = '\0';
    qnrifb_receive_msg(conn, &conn.rx[start]);
    start = at + 1;
  }
  conn.rx_wr -= start;
  std::memmove(conn.rx.data(), conn.rx.data() + start, conn.rx_wr);
}

void receive(qnrifb_remote_connection& conn) {
  const ssize_t n = ::recv(conn.fd.get(), conn.rx.data() + conn.rx_wr, conn.rx.size() - conn.rx_wr, 0);
  if (n == 0) {
    drop(conn, "dropped");
    return;
  }
  // Kept: a failure is no end by itself. The end that follows it is, so that a refused connection logs
  // "connected" and then "dropped".
  if (n < 0) return;
  conn.rx_wr += static_cast<std::size_t>(n);
  take_lines(conn);
  if (conn.rx_wr == conn.rx.size()) drop(conn, "failed (message too long)");
}

void write_ready(qnrifb_remote_connection& conn) {
  if (conn.connecting) {
    log_con(kLogNotice, conn, "connected");
    conn.connecting = false;
    for (std::size_t i = 0; i < conn.ports.size(); ++i)
      qnrifb_query(conn);
  }
  flush(conn);
}

bool is_wanted(const qnrifb_remote_connection& conn, TimeUs now) {
  return conn.fd.is_open() && (!conn.ports.empty() || now - conn.idle_since < kIdleUs);
}

// No port is told: a talk line stays as it is until it is dropped, and its port starts afresh at its next
// use.
void end_connection(qnrifb_remote_connection& conn) {
  for (qnrifb_port* port : conn.ports)
    port->conn = nullptr;
  conn.ports.clear();
  log_con(kLogNotice, conn, "closed");
}

}  // namespace

void qnrifb_connect(qnrifb_remote_connection& conn) {
  conn.rx_wr = conn.tx_wr = conn.tx_rd = 0;
  conn.connecting = false;
  if (!open_socket(conn)) return;
  conn.connecting = true;
  if (::connect(conn.fd.get(), reinterpret_cast<const sockaddr*>(&conn.addr), sizeof conn.addr) == 0) return;
  const int error = errno;
  if (error == EINPROGRESS) {
    log_con(kLogNotice, conn, "connect pending");
    return;
  }
  conn.connecting = false;
  (void)fail(conn, "qnrifb_connect");
  std::array<char, 32> what{};
  format_text(what, "connect error %d", error);
  log_con(kLogError, conn, what.data());
}

int qnrifb_send(qnrifb_remote_connection& conn, std::string_view text) {
  if (conn.tx_rd == conn.tx_wr) conn.tx_rd = conn.tx_wr = 0;
  if (text.size() > conn.tx.size() - conn.tx_wr) {
    (void)std::fputs("qnrifb tx buffer overrun\n", stderr);
    return -1;
  }
  std::copy(text.begin(), text.end(), conn.tx.begin() + static_cast<std::ptrdiff_t>(conn.tx_wr));
  conn.tx_wr += text.size();
  return 0;
}

void qnrifb_query(qnrifb_remote_connection& conn) { (void)qnrifb_send(conn, kQuery); }

int qnrifb_selectevents(fd_set& readable, fd_set& writable) {
  int highest = -1;
  for (const qnrifb_remote_connection& conn : qnrifb_cons) {
    if (!conn.fd.is_open()) continue;
    (void)fdset_add(conn.fd.get(), readable, highest);
    if (conn.connecting || conn.tx_wr > conn.tx_rd) (void)fdset_add(conn.fd.get(), writable, highest);
  }
  return highest;
}

void qnrifb_processevents(const fd_set& readable, const fd_set& writable, TimeUs now) {
  for (auto conn = qnrifb_cons.begin(); conn != qnrifb_cons.end();) {
    if (fdset_has(conn->fd.get(), readable)) receive(*conn);
    if (fdset_has(conn->fd.get(), writable)) write_ready(*conn);
    if (is_wanted(*conn, now)) {
      ++conn;
    } else {
      end_connection(*conn);
      conn = qnrifb_cons.erase(conn);
    }
  }
}

void qnrifb_close_oldest_idle() {
  qnrifb_remote_connection* oldest = nullptr;
  for (qnrifb_remote_connection& conn : qnrifb_cons) {
    if (!conn.ports.empty() || !conn.fd.is_open()) continue;
    if (oldest == nullptr || conn.idle_since < oldest->idle_since) oldest = &conn;
  }
  if (oldest == nullptr) return;
  flush(*oldest);
  oldest->fd.reset();
}

void qnrifb_close_connections() {
  for (qnrifb_remote_connection& conn : qnrifb_cons) {
    flush(conn);
    end_connection(conn);
  }
  qnrifb_cons.clear();
}

}  // namespace hark

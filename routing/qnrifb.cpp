// The ports of the IFB link: what each wants of its destination, and what the far daemon's answers mean for
// it.
#include "routing/qnrifb.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "base/text.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/station.h"
#include "routing/qnrifb_con.h"

namespace hark {

std::array<qnrifb_port, qnrifb_ports_count> qnrifb_ports;
void (*qnrifb_update_status_callback)(int port, bool active) = nullptr;

namespace {

constexpr int kBadPort = -1;
constexpr int kAddrTooLong = -2;
constexpr int kBadUrl = -3;
constexpr std::string_view kDstReply = "DST ";

// "qnrifb active 10.0.0.5:93/7 239.192.0.1 <^PTT>"
void log_port(int level, const char* what, const qnrifb_port& port, const std::string& value) {
  const sockaddr_in& to = port.conn->addr;
  syslog(level, "qnrifb %s %s:%d/%d %s", what, dotted(to.sin_addr.s_addr).data(), ntohs(to.sin_port),
         port.dst, value.c_str());
}

// Logs in and writes `addr` into the port's destination.
void set_destination(const qnrifb_port& port, const std::string& addr) {
  qnrifb_remote_connection& conn = *port.conn;
  std::string text = "LOGIN";
  if (!conn.password.empty()) text += " " + conn.password;
  std::string escaped(addr.size() * 2 + 1, '\0');
  escaped.resize(
      static_cast<std::size_t>(qnr_escape(escaped.data(), static_cast<int>(escaped.size()), addr.c_str())));
  text += "\nDST " + std::to_string(port.dst) + " ADDR:\"" + escaped + "\"\n";
  if (qnrifb_send(conn, text) == 0) log_port(kLogInfo, "route", port, addr);
}

// Takes the port off its connection. A destination that still is ours gets back what it carried.
void qnrifb_clr(qnrifb_port& port) {
  if (port.conn != nullptr) {
    if (port.original && !port.conflict) set_destination(port, *port.original);
    std::erase(port.conn->ports, &port);
    if (port.conn->ports.empty()) port.conn->idle_since = clock_now();
  }
  // Of a port that its connection left behind too: what it once found says nothing at its next use.
  port = qnrifb_port();
}

// The connection to `to`, made if there is none.
// Kept: one connection has one password, that of the port which made it; a device has no other.
qnrifb_remote_connection& connection_to(const IfbAddress& to) {
  const auto same = [&to](const qnrifb_remote_connection& conn) {
    return conn.addr.sin_addr.s_addr == to.addr.sin_addr.s_addr && conn.addr.sin_port == to.addr.sin_port;
  };
  const auto known = std::find_if(qnrifb_cons.begin(), qnrifb_cons.end(), same);
  if (known != qnrifb_cons.end()) return *known;
  // Each port has one at most: the others are idle, and wait for a port of theirs only as far as there is
  // room.
  if (qnrifb_cons.size() >= qnrifb_ports_count) qnrifb_close_oldest_idle();
  qnrifb_remote_connection& conn = qnrifb_cons.emplace_front();
  conn.addr = to.addr;
  conn.password = to.password;
  return conn;
}

void attach(qnrifb_port& port, const IfbAddress& to, const char* addr) {
  qnrifb_remote_connection& conn = connection_to(to);
  std::array<char, kIfbAddrSize> text{};
  format_text(text, "%s <%s>", addr, qnrp_ptt_tag.data());
  port.addr = text.data();
  port.dst = to.dst;
  port.conn = &conn;
  conn.ports.insert(conn.ports.begin(), &port);
  if (!conn.fd.is_open()) {
    qnrifb_connect(conn);
  } else if (!conn.connecting) {
    qnrifb_query(conn);
  }
}

void report(const qnrifb_port& port, bool active) {
  if (qnrifb_update_status_callback == nullptr) return;
  qnrifb_update_status_callback(static_cast<int>(&port - qnrifb_ports.data()), active);
}

std::string unquoted(const char* value) {
  std::string text(std::char_traits<char>::length(value) + 1, '\0');
  text.resize(static_cast<std::size_t>(qnr_copyval(text.data(), value, static_cast<int>(text.size()))));
  return text;
}

// The destination of the port carries `raw` now. Kept: a value that was sent before our own was read shows as
// a conflict as well, until ours comes back; what a device says last is what holds.
// Reports last, since the call code may clear the port then.
void qnrifb_dst_upd(qnrifb_port& port, const char* raw) {
  const std::string value = unquoted(raw);
  port.conflict = false;
  if (port.original) {
    port.conflict = value != port.addr;
    // Somebody else has it now, and at the end there is nothing of ours to put back.
    log_port(port.conflict ? kLogWarning : kLogInfo, port.conflict ? "conflict" : "active", port, value);
    report(port, !port.conflict);
  } else if (qnrifb_check_ptt_tag(raw)) {
    log_port(kLogWarning, "active other PTT", port, value);
  } else {
    port.original = value;
    log_port(kLogInfo, "original", port, value);
    set_destination(port, port.addr);
  }
}

}  // namespace

int qnrifb_set(int port, const char* url, const char* addr) {
  if (port < 0 || port >= qnrifb_ports_count) return kBadPort;
  qnrifb_port& record = qnrifb_ports[static_cast<std::size_t>(port)];
  qnrifb_clr(record);
  if (url == nullptr || *url == '\0' || addr == nullptr || *addr == '\0') return 0;
  if (std::string_view(addr).size() > kIfbAddrSize) return kAddrTooLong;
  IfbAddress to;
  if (parse_daddr(url, to) > 0) {
    syslog(kLogError, "qnrifb_set parse error: %s", url);
    return kBadUrl;
  }
  attach(record, to, addr);
  return 0;
}

void qnrifb_receive_msg(qnrifb_remote_connection& conn, const char* line) {
  if (!std::string_view(line).starts_with(kDstReply)) return;
  char* end = nullptr;
  const char* number = line + kDstReply.size();
  const long dst = std::strtol(number, &end, 10);
  if (end == number || *end != ' ') return;
  const char* value = qnr_findval(end, "ADDR");
  if (value == nullptr) return;
  // A copy: a port that is told may be cleared, and others set.
  const std::vector<qnrifb_port*> ports = conn.ports;
  for (qnrifb_port* port : ports) {
    if (port->conn == &conn && port->dst == dst) qnrifb_dst_upd(*port, value);
  }
}

void qnrifb_cleanup() {
  for (qnrifb_port& port : qnrifb_ports)
    qnrifb_clr(port);
  qnrifb_close_connections();
}

}  // namespace hark

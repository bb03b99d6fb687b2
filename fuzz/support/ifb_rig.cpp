#include "support/ifb_rig.h"

#include <fcntl.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "daemon/qnrlib/tagtext.h"
#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

constexpr std::string_view kLogin = "LOGIN";
constexpr std::string_view kQuery = "DST";

// The next line of the queue, without its end, which must be there.
std::string take_line(std::string_view& queue) {
  const std::size_t end = queue.find('\n');
  check(end != std::string_view::npos, "what is queued is whole lines");
  std::string line(queue.substr(0, end));
  queue.remove_prefix(end + 1);
  check(line.find('\r') == std::string::npos, "a line holds no other line's end");
  return line;
}

// Whether the text is a value in quotes and nothing behind it.
bool is_quoted(std::string_view text) {
  if (!text.starts_with('"')) return false;
  std::size_t at = 1;
  while (at < text.size() && text[at] != '"')
    at += text[at] == '\\' ? 2 : 1;
  return at + 1 == text.size();
}

IfbRequest read_request(const std::string& login, std::string_view line) {
  IfbRequest request;
  check(login == kLogin || login.starts_with("LOGIN "), "a request logs in first");
  if (login.size() > kLogin.size()) request.password = login.substr(kLogin.size() + 1);
  check(line.starts_with("DST "), "a request names its destination");
  line.remove_prefix(4);
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), request.dst);
  check(error == std::errc(), "a destination has a number");
  const std::string value(end, line.data() + line.size());
  constexpr std::string_view kName = " ADDR:";
  check(value.starts_with(kName) && is_quoted(std::string_view(value).substr(kName.size())),
        "a request ends with its value, the quote closed");
  ExactBuffer text(static_cast<int>(value.size()) + 1);
  const int length = qnr_copyval(text.data(), qnr_findval(value.c_str(), "ADDR"), text.size());
  request.value = text.text(length);
  return request;
}

}  // namespace

qnrifb_remote_connection& open_ifb_connection(const IfbAddress& to) {
  qnrifb_remote_connection& conn = qnrifb_cons.emplace_front();
  conn.addr = to.addr;
  conn.password = to.password;
  conn.fd.reset(::open("/dev/null", O_RDWR | O_CLOEXEC));
  check(conn.fd.is_open(), "a descriptor is to be had");
  return conn;
}

std::vector<IfbRequest> ifb_requests(const qnrifb_remote_connection& conn, std::size_t from) {
  check(conn.tx_rd <= conn.tx_wr && conn.tx_wr <= tx_size, "nothing is queued beyond the buffer");
  check(from <= conn.tx_wr, "what was queued stays");
  std::string_view queue(conn.tx.data() + from, conn.tx_wr - from);
  std::vector<IfbRequest> requests;
  while (!queue.empty()) {
    const std::string line = take_line(queue);
    if (line != kQuery) requests.push_back(read_request(line, take_line(queue)));
  }
  return requests;
}

void check_ifb_links() {
  std::size_t listed = 0;
  for (const qnrifb_remote_connection& conn : qnrifb_cons) {
    listed += conn.ports.size();
    for (const qnrifb_port* port : conn.ports)
      check(port->conn == &conn, "a connection's port is on that connection");
  }
  std::size_t used = 0;
  for (const qnrifb_port& port : qnrifb_ports) {
    if (port.conn == nullptr) continue;
    ++used;
    const auto conn = std::find_if(qnrifb_cons.begin(), qnrifb_cons.end(),
                                   [&](const auto& one) { return &one == port.conn; });
    check(conn != qnrifb_cons.end(), "a used port has a connection that exists");
    check(std::count(conn->ports.begin(), conn->ports.end(), &port) == 1,
          "a used port is in its connection's list once");
  }
  check(listed == used, "no port is in a list that is not its connection's");
}

void reset_ifb() {
  qnrifb_update_status_callback = nullptr;
  qnrifb_cleanup();
  check(qnrifb_cons.empty(), "no connection is left");
  for (const qnrifb_port& port : qnrifb_ports)
    check(port.conn == nullptr && !port.original, "no port is left");
}

}  // namespace hark::fuzz

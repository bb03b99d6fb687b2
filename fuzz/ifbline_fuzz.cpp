// Lines of a far daemon that carries destinations of ours: an input is what the call code does when it is
// told (a digit), how much is queued already, and behind a line feed the lines. They come to ports in every
// state. What is queued for the far daemon is whole requests with values that it was told or that are ours, a
// destination with the tag of another talker gets none, and only ports that took theirs are reported.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "support/fuzzing.h"
#include "support/ifb_rig.h"

namespace {

using hark::qnrifb_port;
using hark::qnrifb_ports;
using hark::qnrifb_remote_connection;
using hark::fuzz::check;

constexpr const char* kOurs = "10.0.0.1";
constexpr const char* kFar = "secret@10.0.0.5";
constexpr const char* kOther = "10.0.0.6:94";

// What the call code does when it is told of a port.
enum class OnReport {
  kNothing,
  kClearsIt,
  kClearsNext,
  kSetsItAnew,
  kMovesIt,
  kClearsAll,
  kSetsNew,
  kMovesPrevious
};
constexpr int kKinds = 8;

struct Run {
  OnReport on_report = OnReport::kNothing;
  std::vector<std::pair<int, bool>> reports;
  std::set<std::string> values;  // that may be written
};
Run g_run;

std::string url(const char* device, int dst) { return std::string(device) + "/" + std::to_string(dst); }

void set_port(int port, const char* device, int dst, const char* addr = kOurs) {
  check(hark::qnrifb_set(port, url(device, dst).c_str(), addr) == 0, "a port is set");
  g_run.values.insert(qnrifb_ports[static_cast<std::size_t>(port)].addr);
}

void clear_port(int port) { check(hark::qnrifb_set(port, nullptr, nullptr) == 0, "a port is cleared"); }

qnrifb_port& took(int port, const char* original) {
  qnrifb_port& record = qnrifb_ports[static_cast<std::size_t>(port)];
  record.original = original;
  g_run.values.insert(original);
  return record;
}

void act(int port) {
  switch (g_run.on_report) {
    case OnReport::kNothing:
      return;
    case OnReport::kClearsIt:
      return clear_port(port);
    case OnReport::kClearsNext:
      return clear_port((port + 1) % hark::qnrifb_ports_count);
    case OnReport::kSetsItAnew:
      return set_port(port, kFar, 1);
    case OnReport::kMovesIt:
      return set_port(port, kOther, 1);
    case OnReport::kClearsAll:
      for (int one = 0; one < hark::qnrifb_ports_count; ++one)
        clear_port(one);
      return;
    case OnReport::kSetsNew:
      return set_port((port + 16) % hark::qnrifb_ports_count, kFar, port % 4 + 1);
    case OnReport::kMovesPrevious:
      if (port > 0) set_port(port - 1, kOther, qnrifb_ports[static_cast<std::size_t>(port)].dst);
      return;
  }
}

void note_report(int port, bool active) {
  g_run.reports.emplace_back(port, active);
  const qnrifb_port& record = qnrifb_ports[static_cast<std::size_t>(port)];
  check(record.conn != nullptr && record.original && record.conflict == !active,
        "a port is reported when its destination was taken, as it shows");
  act(port);
}

// Ports in every state on one connection, some of one destination; one on another, one that its connection
// left behind.
void set_ports() {
  set_port(0, kFar, 1);
  set_port(1, kFar, 1, "239.192.0.77");
  set_port(2, kFar, 2);
  took(2, "Main \"1\" \\");
  set_port(3, kFar, 2);
  took(3, "");
  set_port(4, kFar, 3);
  took(4, "10.0.0.9").conflict = true;
  set_port(5, kFar, -4, std::string(60, '9').c_str());
  set_port(6, kFar, 3, "a\"b\\ c");
  set_port(7, kOther, 1);
  took(8, "left behind").dst = 1;
}

struct Snapshot {
  std::array<qnrifb_port, hark::qnrifb_ports_count> ports = qnrifb_ports;
  std::vector<std::size_t> queued;

  Snapshot() {
    for (const qnrifb_remote_connection& conn : hark::qnrifb_cons)
      queued.push_back(conn.tx_wr);
  }
};

// The value that the line tells of a destination; null for none.
const char* value_of(const char* line, long& dst) {
  if (std::string_view(line).substr(0, 4) != "DST ") return nullptr;
  char* end = nullptr;
  dst = std::strtol(line + 4, &end, 10);
  return end != line + 4 && *end == ' ' ? hark::qnr_findval(end, "ADDR") : nullptr;
}

bool same(const qnrifb_port& a, const qnrifb_port& b) {
  return a.dst == b.dst && a.original == b.original && a.conflict == b.conflict && a.addr == b.addr &&
         a.conn == b.conn;
}

// Where the call code does nothing, each port is as the line alone tells.
void check_port(const qnrifb_port& was, const qnrifb_port& is, const qnrifb_remote_connection& conn,
                const char* value, long dst) {
  if (value == nullptr || was.conn != &conn || was.dst != dst) {
    check(same(was, is), "a line is for the ports of its connection and destination");
    return;
  }
  check(is.conn == was.conn && is.dst == was.dst && is.addr == was.addr, "a port stays where it is");
  std::string text(std::char_traits<char>::length(value) + 1, '\0');
  text.resize(static_cast<std::size_t>(hark::qnr_copyval(text.data(), value, static_cast<int>(text.size()))));
  if (was.original) {
    check(is.original == was.original, "what was found first is kept");
    check(is.conflict == (text != was.addr), "a destination that shows another address is lost");
  } else {
    check(!is.conflict, "what is not taken is not lost");
    check(hark::qnrifb_check_ptt_tag(value) ? !is.original : is.original == text,
          "a destination is taken as it was found, unless somebody talks into it");
  }
}

void take_line(qnrifb_remote_connection& conn, const std::string& text) {
  const hark::fuzz::ExactText line(text);
  long dst = 0;
  const char* value = value_of(line.c_str(), dst);
  if (value != nullptr) {
    std::string found(line.size() + 1, '\0');
    found.resize(
        static_cast<std::size_t>(hark::qnr_copyval(found.data(), value, static_cast<int>(found.size()))));
    g_run.values.insert(found);
  }
  const Snapshot before;
  g_run.reports.clear();
  hark::qnrifb_receive_msg(conn, line.c_str());

  hark::fuzz::check_ifb_links();
  std::size_t i = 0;
  std::size_t requests = 0;
  for (const qnrifb_remote_connection& one : hark::qnrifb_cons) {
    for (const hark::fuzz::IfbRequest& request : hark::fuzz::ifb_requests(one, before.queued[i])) {
      ++requests;
      check(&one == &conn, "a line causes requests on its own connection only");
      check(request.password == one.password, "a request logs in with its connection's password");
      check(g_run.values.contains(request.value), "what is written was found there, or is our address");
    }
    ++i;
  }
  check(value != nullptr || (requests == 0 && g_run.reports.empty()), "any other line is passed over");
  if (g_run.on_report != OnReport::kNothing) return;
  check(value == nullptr || !hark::qnrifb_check_ptt_tag(value) || requests == 0,
        "nothing is written where somebody talks");
  for (std::size_t port = 0; port < qnrifb_ports.size(); ++port)
    check_port(before.ports[port], qnrifb_ports[port], conn, value, dst);
}

// Each port ends: its destination gets back what was found there, if we have it still.
void end_ports() {
  hark::qnrifb_update_status_callback = nullptr;
  for (int number = 0; number < hark::qnrifb_ports_count; ++number) {
    const qnrifb_port port = qnrifb_ports[static_cast<std::size_t>(number)];
    const std::size_t queued = port.conn != nullptr ? port.conn->tx_wr : 0;
    clear_port(number);
    if (port.conn == nullptr) continue;
    const auto requests = hark::fuzz::ifb_requests(*port.conn, queued);
    if (port.conflict || !port.original) {
      check(requests.empty(), "what is not ours is given back by nobody");
    } else if (requests.empty()) {
      const std::size_t longest = port.original->size() * 2 + 64;
      check(queued + longest > hark::tx_size, "a destination gets back what it carried while there is room");
    } else {
      check(requests.size() == 1 && requests[0].dst == port.dst && requests[0].value == *port.original,
            "a destination gets back what it carried");
    }
  }
}

// Fills the queue up to `size` bytes with queries.
void fill_queue(qnrifb_remote_connection& conn, int size) {
  while (conn.tx_wr + 4 <= static_cast<std::size_t>(std::clamp(size, 0, static_cast<int>(hark::tx_size))))
    check(hark::qnrifb_send(conn, "DST\n") == 0, "a query fits");
}

hark::IfbAddress address_of(const char* device) {
  hark::IfbAddress address;
  check(hark::parse_daddr(url(device, 1).c_str(), address) == 0, "the device is one");
  return address;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 2);
  if (parts.size() < 2 || parts[0].empty()) return 0;
  g_run = Run();
  hark::fuzz::open_ifb_connection(address_of(kOther));
  qnrifb_remote_connection& conn = hark::fuzz::open_ifb_connection(address_of(kFar));
  set_ports();
  fill_queue(conn, hark::parse_int(parts[0].c_str() + 1));
  g_run.on_report = static_cast<OnReport>((parts[0][0] & 0x7) % kKinds);
  hark::qnrifb_update_status_callback = note_report;
  for (const std::string& line : hark::fuzz::split(parts[1], "\r\n"))
    take_line(conn, line);
  end_ports();
  hark::fuzz::reset_ifb();
  return 0;
}

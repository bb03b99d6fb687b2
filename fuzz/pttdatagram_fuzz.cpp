// Datagrams of the control group, of which anybody on the network can send any: an input is what the call
// code does when it is told (a digit), and behind a line feed lines. One that begins with "@" moves the clock
// by so many ms and makes a pass, any other is a datagram. A datagram confirms the ports that it names and
// changes nothing else; a confirmation ends after its 5 seconds; the requests that go out have their form.
#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "routing/qncpptt_private.h"
#include "support/fuzzing.h"

namespace {

using hark::qncpptt;
using hark::qncpptt_port;
using hark::fuzz::check;
using Ports = decltype(qncpptt.ports);

constexpr hark::TimeUs kConfirmedUs = 5'000'000;
constexpr std::size_t kMostReceived = 64;
constexpr int kLongestStepMs = 10'000;
constexpr std::uint32_t kHighest = UINT32_MAX;

// What the call code does when it is told of a port.
enum class OnReport { kNothing, kClearsIt, kClearsNext, kSetsItAnew, kClearsAll };
constexpr int kKinds = 5;

struct Use {
  int port;
  std::uint32_t dst;
  std::uint32_t src;
};
// One channel of two sources, one source on two channels, two ports of one talk, the ends of the range, and
// ports that are half set.
constexpr std::array<Use, 9> kUses{{
    {0, 1, 2},
    {1, 1, 3},
    {2, 4, 2},
    {5, 4, 2},
    {60, kHighest, 0x7FFF},
    {61, 0x7FFF, kHighest},
    {100, 7, 0},
    {101, 0, 7},
    {127, 10, 8},
}};

hark::TimeUs g_now = 0;
OnReport g_on_report = OnReport::kNothing;
std::vector<std::pair<int, bool>> g_reports;

bool in_use(const qncpptt_port& port) { return port.dst != 0 && port.src != 0; }

bool same(const qncpptt_port& a, const qncpptt_port& b) {
  return a.dst == b.dst && a.src == b.src && a.next_request == b.next_request && a.active == b.active &&
         a.active_until == b.active_until;
}

void act(int port) {
  const qncpptt_port record = qncpptt.ports[static_cast<std::size_t>(port)];
  switch (g_on_report) {
    case OnReport::kNothing:
      return;
    case OnReport::kClearsIt:
      return (void)hark::qncpptt_clr(port);
    case OnReport::kClearsNext:
      return (void)hark::qncpptt_clr((port + 1) % hark::qncpptt_ports_count);
    case OnReport::kSetsItAnew:
      return (void)hark::qncpptt_set(port, record.src, record.dst);
    case OnReport::kClearsAll:
      for (int one = 0; one < hark::qncpptt_ports_count; ++one)
        (void)hark::qncpptt_clr(one);
  }
}

void note_report(int port, bool active) {
  const qncpptt_port& record = qncpptt.ports[static_cast<std::size_t>(port)];
  check(in_use(record) && record.active == active, "a port is reported when it is in use, as it is");
  check(!active || record.active_until == g_now + kConfirmedUs, "a confirmation lasts 5 seconds");
  g_reports.emplace_back(port, active);
  act(port);
}

// The number that stands behind "qnch#" where a status has it; 0 when it is no status.
unsigned long channel_of(const std::string& text) {
  for (const char* start : {"qnch#", "indi qnch#", "event qnch#"}) {
    if (hark::starts_with_nocase(text.c_str(), start))
      return std::strtoul(text.c_str() + std::string(start).size(), nullptr, 10);
  }
  return 0;
}

void receive(const std::string& datagram) {
  const hark::fuzz::ExactText text(std::string_view(datagram).substr(0, kMostReceived));
  const Ports before = qncpptt.ports;
  hark::qncpptt_receive(text.c_str(), g_now);
  const unsigned long dst = channel_of(text.c_str());
  const long src = hark::qnr_getl(text.c_str(), "ifb_qnch", 0);
  for (const auto& [number, active] : g_reports) {
    const qncpptt_port& port = before[static_cast<std::size_t>(number)];
    check(active, "a status ends nothing");
    // A port that was set anew by a report before this one has other channels than before.
    if (g_on_report == OnReport::kSetsItAnew) continue;
    check(port.dst == dst && port.src == static_cast<unsigned long>(src), "a status is for whom it names");
  }
  if (g_on_report != OnReport::kNothing) return;
  for (int number = 0; number < hark::qncpptt_ports_count; ++number) {
    qncpptt_port want = before[static_cast<std::size_t>(number)];
    if (std::find(g_reports.begin(), g_reports.end(), std::pair(number, true)) != g_reports.end()) {
      want.active = true;
      want.active_until = g_now + kConfirmedUs;
    }
    check(same(want, qncpptt.ports[static_cast<std::size_t>(number)]),
          "a status changes the confirmation of whom it names, and nothing else");
  }
}

// A pass with nothing to be read, behind which nothing is due.
void pass(int ms) {
  g_now += std::clamp(ms, 0, kLongestStepMs) * hark::kUsPerMs;
  fd_set nothing;
  FD_ZERO(&nothing);
  hark::qncpptt_processevents(nothing, g_now);
  for (const auto& [number, active] : g_reports)
    check(!active, "time confirms nothing");
  for (const qncpptt_port& port : qncpptt.ports) {
    if (!in_use(port)) continue;
    check(port.next_request > g_now, "a request that was due was made");
    check(g_on_report != OnReport::kNothing || !port.active || port.active_until > g_now,
          "a confirmation that is over has ended");
  }
}

// The socket of the group's other end.
class Group {
 public:
  Group() : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    at_.sin_family = AF_INET;
    at_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof at_;
    check(::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&at_), sizeof at_) == 0 &&
              ::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&at_), &size) == 0,
          "the group has a socket");
  }
  [[nodiscard]] const sockaddr_in& address() const { return at_; }

  // Reads what has come, and checks that it is requests. The form is written anew from what was read.
  void check_requests() const {
    std::array<char, 200> text{};
    for (;;) {
      const ssize_t n = ::recv(fd_.get(), text.data(), text.size() - 1, MSG_DONTWAIT);
      if (n < 0) return;
      const std::string request(text.data(), static_cast<std::size_t>(n));
      std::array<char, 5> what{};
      unsigned dst = 0;
      unsigned src = 0;
      unsigned lease = 0;
      const int read =
          std::sscanf(request.c_str(), "EVENT QnCH#%u ptt=[%4[A-Z],%u,%u]", &dst, what.data(), &src, &lease);
      const std::string verb = what.data();
      check(read == 4 && (verb == "DOWN" ? lease == 5000 : verb == "UP" && lease == 0), "a request is one");
      check(request == "EVENT QnCH#" + std::to_string(dst) + " ptt=[" + verb + "," + std::to_string(src) +
                           "," + std::to_string(lease) + "]",
            "a request has its form");
    }
  }

 private:
  hark::UniqueFd fd_;
  sockaddr_in at_{};
};

void start(const Group& group) {
  g_now = 1'700'000'000 * hark::kUsPerSecond;
  hark::clock_set_source([] { return g_now; });
  qncpptt.req_addr = group.address();
  qncpptt.local_port = 0;
  check(hark::qncpptt_initialize() == 0, "the socket is open");
  for (const Use& use : kUses)
    check(hark::qncpptt_set(use.port, use.dst, use.src) == 0, "a port is set");
  hark::qncpptt_update_status_callback = note_report;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Group group;
  const auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 2);
  if (parts.size() < 2 || parts[0].empty()) return 0;
  start(group);
  g_on_report = static_cast<OnReport>((parts[0][0] & 0x7) % kKinds);
  for (const std::string& line : hark::fuzz::split(parts[1], "\n")) {
    g_reports.clear();
    if (line.starts_with('@')) {
      pass(hark::parse_int(line.c_str() + 1));
    } else {
      receive(line);
    }
  }
  hark::qncpptt_update_status_callback = nullptr;
  hark::qncpptt_cleanup();
  check(!qncpptt.fd.is_open(), "the socket is closed");
  group.check_requests();
  hark::clock_set_source(nullptr);
  return 0;
}

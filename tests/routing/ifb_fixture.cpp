#include "routing/ifb_fixture.h"

#include <linux/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cstdio>

namespace hark {
namespace {

constexpr char kMark = '\x01';
constexpr int kMostPasses = 10'000;
constexpr int kPassUs = 1000;

std::vector<std::string>* g_reports = nullptr;
std::function<void(int, bool)>* g_on_report = nullptr;

void note_report(int port, bool active) {
  g_reports->push_back(std::to_string(port) + (active ? " 1" : " 0"));
  // A copy: what is done may be replaced while it is done.
  if (const auto act = *g_on_report) act(port, active);
}

// Whether `n` bytes came to the socket and all of them were read.
bool has_read(int fd, std::size_t n) {
  tcp_info info{};
  socklen_t length = sizeof info;
  if (::getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &length) != 0 || info.tcpi_bytes_received < n)
    return false;
  int unread = 0;
  return ::ioctl(fd, FIONREAD, &unread) == 0 && unread == 0;
}

}  // namespace

std::string DstLine(int dst, const std::string& value) {
  return "DST " + std::to_string(dst) + " ADDR:\"" + value + "\"\n";
}

std::string SetRequest(int dst, const std::string& value, const std::string& password) {
  return "LOGIN" + (password.empty() ? "" : " " + password) + "\n" + DstLine(dst, value);
}

RemoteIfb::RemoteIfb() {
  logged.clear();
  g_reports = &reports;
  g_on_report = &on_report;
  qnrifb_update_status_callback = note_report;
}

RemoteIfb::~RemoteIfb() {
  qnrifb_update_status_callback = nullptr;
  qnrifb_cleanup();
  qnrifb_ports.fill({});
  logged.clear();
}

void RemoteIfb::Pass() {
  fd_set readable;
  fd_set writable;
  FD_ZERO(&readable);
  FD_ZERO(&writable);
  const int highest = qnrifb_selectevents(readable, writable);
  timeval wait{0, kPassUs};
  ASSERT_GE(::select(highest + 1, &readable, &writable, nullptr, &wait), 0);
  qnrifb_processevents(readable, writable, clock.Now());
}

bool RemoteIfb::Await(const std::function<bool()>& done) {
  for (int pass = 0; pass < kMostPasses; ++pass) {
    if (done()) return true;
    Pass();
  }
  return false;
}

void RemoteIfb::Set(int port, const FarDaemon& far, int dst, const std::string& password) {
  EXPECT_EQ(qnrifb_set(port, far.Url(dst, password).c_str(), kOurSource), 0);
}

void RemoteIfb::TakeOver(int port, FarDaemon& far, int dst, const std::string& original) {
  Set(port, far, dst);
  EXPECT_EQ(Written(far), "DST\n");
  Hear(far, DstLine(dst, original));
  EXPECT_EQ(Written(far), SetRequest(dst, kOurAddr));
  Hear(far, DstLine(dst, kOurAddr));
  EXPECT_EQ(reports.back(), std::to_string(port) + " 1");
  reports.clear();
}

void RemoteIfb::Hear(FarDaemon& far, const std::string& text) {
  far.Send(text);
  EXPECT_TRUE(Await([&] {
    const qnrifb_remote_connection* link = Link(far);
    return link == nullptr || has_read(link->fd.get(), far.sent());
  }));
}

// A mark behind everything that the link has handed to its socket ends the wait, so that a silence is seen
// for certain.
std::string RemoteIfb::Written(FarDaemon& far) {
  EXPECT_TRUE(Await([&] {
    far.Poll();
    const qnrifb_remote_connection* link = Link(far);
    return link == nullptr || (!link->connecting && link->tx_rd == link->tx_wr);
  }));
  const qnrifb_remote_connection* link = Link(far);
  if (link != nullptr) {
    EXPECT_EQ(::send(link->fd.get(), &kMark, 1, MSG_NOSIGNAL), 1);
  }
  EXPECT_TRUE(Await([&] {
    far.Poll();
    return far.inbox().ends_with(kMark) || (link == nullptr && far.fd() < 0);
  }));
  std::string text = far.Take();
  if (text.ends_with(kMark)) text.pop_back();
  return text;
}

void RemoteIfb::AwaitNoConnection() {
  EXPECT_TRUE(Await([] { return qnrifb_cons.empty(); }));
}

std::string RemoteIfb::LogOf(int level, const std::string& at, const std::string& what) {
  std::array<char, 32> record{};
  (void)std::snprintf(record.data(), record.size(), "0x%lX",
                      reinterpret_cast<unsigned long>(&qnrifb_cons.front()));
  return std::to_string(level) + " " + record.data() + " qnrifb " + at + " " + what;
}

qnrifb_remote_connection* RemoteIfb::Link(const FarDaemon& far) {
  for (qnrifb_remote_connection& link : qnrifb_cons)
    if (link.addr.sin_addr.s_addr == far.address() && link.addr.sin_port == far.port() && link.fd.is_open())
      return &link;
  return nullptr;
}

}  // namespace hark

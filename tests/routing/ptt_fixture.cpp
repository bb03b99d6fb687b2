#include "routing/ptt_fixture.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cstdlib>

#include "daemon/station/station.h"

namespace hark {
namespace {

constexpr const char* kMark = "#";
constexpr int kLongestWaitMs = 10'000;

std::vector<std::string>* g_reports = nullptr;
std::function<void(int, bool)>* g_on_report = nullptr;

void note_report(int port, bool active) {
  g_reports->push_back(std::to_string(port) + (active ? " 1" : " 0"));
  // A copy: what is done may be replaced while it is done.
  if (const auto act = *g_on_report) act(port, active);
}

bool await_readable(int fd) {
  pollfd wait{fd, POLLIN, 0};
  return ::poll(&wait, 1, kLongestWaitMs) == 1;
}

sockaddr_in local_address(int fd) {
  sockaddr_in at{};
  socklen_t length = sizeof at;
  EXPECT_EQ(::getsockname(fd, reinterpret_cast<sockaddr*>(&at), &length), 0);
  return at;
}

void send_datagram(int fd, const std::string& text, const sockaddr_in& to) {
  EXPECT_EQ(::sendto(fd, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
            static_cast<ssize_t>(text.size()));
}

std::string request(unsigned dst, const char* what, unsigned src, const char* lease) {
  return "EVENT QnCH#" + std::to_string(dst) + " ptt=[" + what + "," + std::to_string(src) + "," + lease +
         "]";
}

}  // namespace

std::string Down(unsigned dst, unsigned src) { return request(dst, "DOWN", src, "5000"); }
std::string Up(unsigned dst, unsigned src) { return request(dst, "UP", src, "0"); }

Ptt::Ptt() {
  station_reset();
  logged.clear();
  g_reports = &reports;
  g_on_report = &on_report;
  qncpptt_update_status_callback = note_report;
  peer_.reset(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in any{};
  any.sin_family = AF_INET;
  any.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(peer_.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0) std::abort();
  qncpptt.req_addr = Peer();
  qncpptt.local_port = 0;
}

Ptt::~Ptt() {
  qncpptt_update_status_callback = nullptr;
  qncpptt_cleanup();
  qncpptt = QncpPtt();
  station_reset();
  logged.clear();
}

void Ptt::Pass() {
  fd_set nothing;
  FD_ZERO(&nothing);
  qncpptt_processevents(nothing, clock.Now());
}

void Ptt::PassAfterMs(long ms) {
  clock.AdvanceMs(ms);
  Pass();
}

// A mark behind everything that the product has sent ends the wait, so that a silence is seen for certain.
std::vector<std::string> Ptt::Sent() {
  send_datagram(qncpptt.fd.get(), kMark, Peer());
  std::vector<std::string> sent;
  for (;;) {
    std::array<char, 2048> text{};
    const ssize_t n = await_readable(peer_.get()) ? ::recv(peer_.get(), text.data(), text.size(), 0) : -1;
    if (n < 0) {
      ADD_FAILURE() << "the mark was lost";
      return sent;
    }
    sent.emplace_back(text.data(), static_cast<std::size_t>(n));
    if (sent.back() != kMark) continue;
    sent.pop_back();
    return sent;
  }
}

void Ptt::Receive(const std::string& datagram) {
  sockaddr_in to = Own();
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  send_datagram(peer_.get(), datagram, to);
  EXPECT_TRUE(await_readable(qncpptt.fd.get()));
  fd_set readable;
  FD_ZERO(&readable);
  EXPECT_EQ(qncpptt_selectevents(readable), qncpptt.fd.get());
  qncpptt_processevents(readable, clock.Now());
}

void Ptt::Confirm(unsigned dst, unsigned src) {
  Receive("indi QnCH#" + std::to_string(dst) + " ifb_qnch=" + std::to_string(src));
}

sockaddr_in Ptt::Own() { return local_address(qncpptt.fd.get()); }
sockaddr_in Ptt::Peer() const { return local_address(peer_.get()); }

}  // namespace hark

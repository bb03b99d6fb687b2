#include "system/support/ptt_sim.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "system/support/sockets.h"

namespace hark::test {
namespace {

constexpr char kInterface[] = "127.0.0.1";

quillsim::PttOptions for_own_channels(quillsim::PttOptions options) {
  const bool own = options.channels.empty();
  for (int index = 0; own && index < kOwnPttChannels; ++index)
    options.channels.insert(own_ptt_channel(index));
  return options;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines)
    text += "\n  " + line;
  return text;
}

}  // namespace

int own_ptt_channel(int index) {
  // Processes that live at the same time have numbers that are close to each other.
  return 1 + ::getpid() % (quillsim::kMaxChannel / kOwnPttChannels) * kOwnPttChannels + index;
}

std::string ptt_channel_address(int channel) {
  return "239.192." + std::to_string(channel >> 8) + "." + std::to_string(channel & 0xFF);
}

PttSim::PttSim(quillsim::PttOptions options, const std::string& interface_address)
    : ptt_(for_own_channels(std::move(options))) {
  EXPECT_TRUE(ptt_.open(interface_address)) << "the group cannot be joined";
}

void PttSim::advance_ms(int ms) {
  now_ += std::chrono::milliseconds(ms);
  ptt_.run(now_);
}

std::vector<std::string> PttSim::requests(int channel) const {
  std::vector<std::string> texts;
  for (const quillsim::PttRequest& request : ptt_.requests()) {
    if (request.channel == channel) texts.push_back(quillsim::ptt_request_text(request));
  }
  return texts;
}

testing::AssertionResult PttSim::wait_requests(int channel, int count, int timeout_ms) const {
  if (wait_until([&] { return static_cast<int>(requests(channel).size()) >= count; }, timeout_ms)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "fewer than " << count << " requests:" << joined(requests(channel));
}

testing::AssertionResult PttSim::wait_release(int channel, int timeout_ms) const {
  const auto released = [&] {
    const std::vector<std::string> texts = requests(channel);
    return !texts.empty() && texts.back().find("[UP,") != std::string::npos;
  };
  if (wait_until(released, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "not released:" << joined(requests(channel));
}

void PttSim::fill(fd_set& read, fd_set&, int& highest) const { ptt_.fill(read, highest); }

void PttSim::serve(const fd_set& read, const fd_set&) { ptt_.serve(read, now_); }

PttListener::PttListener() : fd_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  const int on = 1;
  (void)::setsockopt(fd_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in at = ipv4(quillsim::kPttGroup, quillsim::kPttStatusPort);
  EXPECT_EQ(::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at), 0);
  ip_mreq membership{};
  membership.imr_multiaddr = at.sin_addr;
  membership.imr_interface = ipv4(kInterface, 0).sin_addr;
  EXPECT_EQ(::setsockopt(fd_.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership), 0);
  EXPECT_EQ(::setsockopt(fd_.get(), IPPROTO_IP, IP_MULTICAST_IF, &membership.imr_interface,
                         sizeof membership.imr_interface),
            0);
}

bool PttListener::send_raw(const std::string& text) {
  const sockaddr_in to = ipv4(quillsim::kPttGroup, quillsim::kPttRequestPort);
  return ::sendto(fd_.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == static_cast<ssize_t>(text.size());
}

std::vector<std::string> PttListener::texts(int channel) const {
  std::vector<std::string> found;
  const std::string name = "QnCH#" + std::to_string(channel) + " ";
  std::copy_if(texts_.begin(), texts_.end(), std::back_inserter(found),
               [&](const std::string& text) { return text.find(name) != std::string::npos; });
  return found;
}

testing::AssertionResult PttListener::wait_text(const std::string& text, int timeout_ms) const {
  if (wait_until([&] { return std::find(texts_.begin(), texts_.end(), text) != texts_.end(); }, timeout_ms)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "not told at the group: " << text;
}

void PttListener::fill(fd_set& read, fd_set&, int& highest) const {
  (void)fdset_add(fd_.get(), read, highest);
}

void PttListener::serve(const fd_set& read, const fd_set&) {
  if (!fdset_has(fd_.get(), read)) return;
  std::array<char, 2048> bytes{};
  for (;;) {
    const ssize_t got = ::recv(fd_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0) return;
    texts_.emplace_back(bytes.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace hark::test

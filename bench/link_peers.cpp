#include "link_peers.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "routing/qncpptt.h"
#include "routing/qncpptt_private.h"
#include "routing/qnrifb.h"

namespace hark::bench {
namespace {

constexpr int kMostPasses = 10'000;
constexpr int kFirstChannel = 1000;
constexpr unsigned kOwnChannel = 77;
constexpr const char* kOwnAddress = "239.192.0.77";
constexpr const char* kTaken = "239.192.0.77 <^PTT>";

int destination_of(int port) { return port + 1; }

// "DST 7 ADDR:"...": the destination that is set, 0 when the line sets none.
int destination_set(const std::string& line) {
  int destination = 0;
  return std::sscanf(line.c_str(), "DST %d ADDR:", &destination) == 1 ? destination : 0;
}

// The next whole line of `unread`, taken off; false when there is none.
bool take_line(std::string& unread, std::string& line) {
  const std::size_t end = unread.find('\n');
  if (end == std::string::npos) return false;
  line = unread.substr(0, end);
  unread.erase(0, end + 1);
  return true;
}

void send_line(int fd, const std::string& line) {
  const std::string text = line + "\n";
  if (::send(fd, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size())) std::abort();
}

}  // namespace

LinkPeers::LinkPeers() : group_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  for (int i = 0; i < kFarDevices; ++i)
    devices_.push_back(std::make_unique<Device>());
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof at;
  if (::bind(group_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0 ||
      ::getsockname(group_.get(), reinterpret_cast<sockaddr*>(&at), &size) != 0)
    std::abort();
  qncpptt.req_addr = at;
  qncpptt.local_port = 0;
}

bool LinkPeers::set_ports() const {
  for (int port = 0; port < qnrifb_ports_count; ++port) {
    const Device& device = *devices_[static_cast<std::size_t>(port % kFarDevices)];
    const std::string url =
        "127.0.0.1:" + std::to_string(device.listener.port()) + "/" + std::to_string(destination_of(port));
    if (qnrifb_set(port, url.c_str(), kOwnAddress) != 0) return false;
  }
  for (int port = 0; port < qncpptt_ports_count; ++port) {
    if (qncpptt_set(port, static_cast<std::uint32_t>(kFirstChannel + port), kOwnChannel) != 0) return false;
  }
  return true;
}

bool LinkPeers::activate(const std::function<void()>& pass) {
  if (!set_ports()) return false;
  for (const auto& device : devices_)
    device->connection = device->listener.accept();
  for (int i = 0; i < kMostPasses && !all_active(); ++i) {
    pass();
    serve();
  }
  pass();  // takes the last answer
  return all_active();
}

bool LinkPeers::all_active() const {
  return taken_.size() == static_cast<std::size_t>(qnrifb_ports_count) &&
         std::all_of(qncpptt.ports.begin(), qncpptt.ports.end(),
                     [](const qncpptt_port& port) { return port.active; });
}

void LinkPeers::serve() {
  for (const auto& device : devices_)
    serve_device(*device);
  serve_group();
}

// A routing daemon tells all its destinations when it is asked, and each change of one by itself.
void LinkPeers::serve_device(Device& device) {
  std::array<char, 4096> part;
  for (;;) {
    const ssize_t n = ::recv(device.connection.get(), part.data(), part.size(), MSG_DONTWAIT);
    if (n <= 0) break;
    device.unread.append(part.data(), static_cast<std::size_t>(n));
  }
  for (std::string line; take_line(device.unread, line);) {
    if (line == "DST") {
      for (int i = 1; i <= qnrifb_ports_count; ++i)
        send_line(device.connection.get(),
                  "DST " + std::to_string(i) + " ADDR:\"" + (taken_.contains(i) ? kTaken : "Main") + "\"");
    } else if (const int destination = destination_set(line); destination != 0) {
      taken_.insert(destination);
      send_line(device.connection.get(), line);
    }
  }
}

// Each request to talk is confirmed.
void LinkPeers::serve_group() {
  std::array<char, 100> text;
  for (;;) {
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const ssize_t n = ::recvfrom(group_.get(), text.data(), text.size() - 1, MSG_DONTWAIT,
                                 reinterpret_cast<sockaddr*>(&from), &size);
    if (n <= 0) return;
    text[static_cast<std::size_t>(n)] = '\0';
    unsigned channel = 0;
    if (std::sscanf(text.data(), "EVENT QnCH#%u ptt=[DOWN", &channel) != 1) continue;
    const std::string answer =
        "INDI QnCH#" + std::to_string(channel) + " ifb_qnch=" + std::to_string(kOwnChannel);
    (void)::sendto(group_.get(), answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&from),
                   size);
  }
}

}  // namespace hark::bench

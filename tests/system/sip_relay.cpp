#include "system/sip_relay.h"

#include <array>
#include <cstdlib>

#include "system/net/test_net.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

constexpr std::size_t kMaxDatagram = 65'536;
constexpr int kMaxHeldMs = 400;
constexpr std::array<int, 2> kPorts = {5061, 5062};

void replace_all(std::string& text, const std::string& old, const std::string& with) {
  for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + with.size()))
    text.replace(at, old.size(), with);
}

}  // namespace

bool SipRelay::add(int number) {
  if (!ip_commands("address add " + address_of(number) + "/32 dev " + TestNet::bridge_of(Segment::kFirst) +
                   "\n"))
    return false;
  for (const int port : kPorts) {
    UniqueFd& socket = sockets_[{number, port}];
    socket = bound_socket(SOCK_DGRAM, address_of(number), port);
    if (!socket.is_open()) return false;
  }
  return true;
}

std::string SipRelay::route() { return std::string("route add ") + kOutside + "0/24 dev eth0\n"; }

int SipRelay::number_of(const std::string& address) {
  return address.starts_with(kOutside) ? std::atoi(address.c_str() + sizeof kOutside - 1) : 0;
}

void SipRelay::flush() {
  const auto now = std::chrono::steady_clock::now();
  std::erase_if(held_, [&](const Held& held) {
    if (held.due > now) return false;
    send(held.from, held.to, held.text);
    return true;
  });
}

void SipRelay::fill(fd_set& read, fd_set&, int& highest) const {
  for (const auto& [place, socket] : sockets_)
    (void)fdset_add(socket.get(), read, highest);
}

void SipRelay::serve(const fd_set& read, const fd_set&) {
  std::string text(kMaxDatagram, '\0');
  for (const auto& [to, socket] : sockets_) {
    if (!fdset_has(socket.get(), read)) continue;
    for (;;) {
      sockaddr_in at{};
      socklen_t at_size = sizeof at;
      const ssize_t size =
          ::recvfrom(socket.get(), text.data(), text.size(), 0, reinterpret_cast<sockaddr*>(&at), &at_size);
      if (size < 0) break;
      const Place from{static_cast<int>(ntohl(at.sin_addr.s_addr) & 0xffU), ntohs(at.sin_port)};
      pass(from, to, text.substr(0, static_cast<std::size_t>(size)));
    }
  }
}

void SipRelay::pass(const Place& from, const Place& to, const std::string& text) {
  ++passed_;
  // Rolled for every datagram, so that the die's sequence does not hang on what came before.
  const bool lost = unlucky();
  const bool doubled = unlucky();
  const bool late = unlucky();
  const auto delay = std::chrono::milliseconds(random_() % kMaxHeldMs);
  if (lost || doubled || late) ++spoiled_;
  if (lost) return;
  std::string seen = text;
  replace_all(seen, kInside + std::to_string(from.first), address_of(from.first));
  replace_all(seen, address_of(to.first), kInside + std::to_string(to.first));
  if (doubled) send(from, to, seen);
  if (late) {
    held_.push_back({std::chrono::steady_clock::now() + delay, from, to, std::move(seen)});
  } else {
    send(from, to, seen);
  }
}

void SipRelay::send(const Place& from, const Place& to, const std::string& text) const {
  const auto socket = sockets_.find(from);
  if (socket == sockets_.end()) return;
  const sockaddr_in at = ipv4(kInside + std::to_string(to.first), to.second);
  (void)::sendto(socket->second.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&at),
                 sizeof at);
}

}  // namespace hark::test

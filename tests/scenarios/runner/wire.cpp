#include "scenarios/runner/wire.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "cpsip/cpsip_socket.h"

namespace hark::test {
namespace {

constexpr std::string_view kMarker = "nothing that was sent before this comes behind it";
constexpr unsigned kAttempts = 16;
constexpr int kPatienceMs = 5000;  // of real time: only a machine that lost a datagram comes near it

sockaddr_in address_of(const std::string& host, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  inet_pton(AF_INET, host.c_str(), &address.sin_addr);
  return address;
}

UniqueFd open_at(const std::string& host, int port) {
  UniqueFd fd(::socket(AF_INET, SOCK_DGRAM, 0));
  const sockaddr_in address = address_of(host, port);
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fd.reset();
  return fd;
}

// Two hosts for each number of 22 bits, such as a process id.
std::string host(unsigned number, unsigned which) {
  return "127." + std::to_string(number >> 14 & 0xFFU) + "." + std::to_string(number >> 6 & 0xFFU) + "." +
         std::to_string((number << 2 & 0xFCU) + which);
}

// Of a process of another container the id may be the same: then the next try has other hosts.
unsigned number_of_process(unsigned attempt) { return static_cast<unsigned>(::getpid()) + attempt * 65'537; }

void send_to(int fd, const std::string& to, int port, std::string_view bytes) {
  const sockaddr_in address = address_of(to, port);
  const auto sent = ::sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                             sizeof address);
  if (sent != static_cast<ssize_t>(bytes.size())) throw std::runtime_error("cannot send to " + to);
}

void wait_until_stack_can_read() {
  fd_set read{};
  fd_set except{};
  fd_set write{};
  const int count = CPSIP_Select_FDs(read, except, write);
  timeval patience{kPatienceMs / 1000, 0};
  if (count > 0) (void)::select(count, &read, nullptr, nullptr, &patience);
}

}  // namespace

Wire::Wire() {
  for (unsigned attempt = 0; attempt < kAttempts; ++attempt)
    if (OpenAll(number_of_process(attempt))) return;
  throw std::runtime_error("all addresses are taken");
}

bool Wire::OpenAll(unsigned number) {
  const std::string us = host(number, 1);
  const std::string far = host(number, 2);
  addresses_["ushost"] = us;
  addresses_["usport"] = std::to_string(StackPort());
  addresses_["us"] = us + ":" + std::to_string(StackPort());
  if (!Open("far", far, 5070) || !Open("alt", far, 5060)) return false;
  marker_ = open_at(far, 0);
  return marker_.is_open();
}

bool Wire::Open(const std::string& name, const std::string& host_text, int port) {
  sockets_[name] = open_at(host_text, port);
  addresses_[name + "host"] = host_text;
  addresses_[name + "port"] = std::to_string(port);
  addresses_[name] = host_text + ":" + std::to_string(port);
  return sockets_[name].is_open();
}

void Wire::Send(const std::string& from, const std::string& bytes, int port) {
  send_to(sockets_.at(from).get(), addresses_["ushost"], port, bytes);
  wait_until_stack_can_read();
}

void Wire::Collect() {
  for (const auto& [name, fd] : sockets_)
    CollectAt(name);
}

void Wire::CollectAt(const std::string& name) {
  const int fd = sockets_.at(name).get();
  send_to(marker_.get(), addresses_[name + "host"], std::stoi(addresses_[name + "port"]), kMarker);
  while (true) {
    std::array<char, 4096> buffer{};
    pollfd ready{fd, POLLIN, 0};
    if (::poll(&ready, 1, kPatienceMs) <= 0) throw std::runtime_error("a datagram was lost");
    const auto length = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (length < 0) throw std::runtime_error("cannot read");
    std::string bytes(buffer.data(), static_cast<std::size_t>(length));
    if (bytes == kMarker) return;
    arrived_.push_back({name, std::move(bytes)});
  }
}

}  // namespace hark::test

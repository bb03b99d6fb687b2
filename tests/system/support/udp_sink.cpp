#include "system/support/udp_sink.h"

#include <algorithm>
#include <array>

#include "system/support/sockets.h"

namespace hark::test {

UdpSink::UdpSink(const std::string& address, int port)
    : fd_(bound_socket(SOCK_DGRAM, address, port)), port_(port_of(fd_.get())) {}

int UdpSink::count(const std::string& text) const {
  return static_cast<int>(
      std::count_if(datagrams_.begin(), datagrams_.end(),
                    [&](const std::string& datagram) { return datagram.find(text) != std::string::npos; }));
}

testing::AssertionResult UdpSink::wait_for(const std::string& text, int timeout_ms) const {
  if (wait_until([&] { return count(text) > 0; }, timeout_ms)) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "no datagram with: " << text << "\narrived:";
  for (const std::string& datagram : datagrams_)
    failure << "\n  " << testing::PrintToString(datagram);
  return failure;
}

void UdpSink::fill(fd_set& read, fd_set&, int& highest) const { (void)fdset_add(fd_.get(), read, highest); }

void UdpSink::serve(const fd_set& read, const fd_set&) {
  if (!fdset_has(fd_.get(), read)) return;
  std::array<char, 65536> bytes{};
  for (;;) {
    const ssize_t got = ::recv(fd_.get(), bytes.data(), bytes.size(), 0);
    if (got < 0) return;
    datagrams_.emplace_back(bytes.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace hark::test

// The operating system as the SIP stack's sockets see it, in memory: the linker puts these calls in the place
// of socket(2), bind(2), sendto(2) and their like (sip_stack.cmake). Descriptors lie in the upper part of
// what a set can hold, so that other files are never mistaken for them; those go to the real calls. What the
// stack does with a descriptor that is not open ends the run.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace hark::fuzz {

struct SentDatagram {
  std::string text;
  std::uint32_t addr;  // of the destination, host order, as the ports
  std::uint16_t port;
  std::uint16_t from_port;
};

class SipKernel {
 public:
  // No socket, nothing to read, and calls succeed.
  static void Reset();
  // Told of all that leaves.
  static void OnSend(std::function<void(const SentDatagram&)> sink);
  // Puts a datagram where the socket that is bound to `port` finds it; drops it when there is none.
  static void Arrive(std::uint16_t port, std::string_view text, std::uint32_t from_addr,
                     std::uint16_t from_port);
  // The next `times` calls to open or bind a socket, or to send, fail.
  static void Fail(unsigned times);
  [[nodiscard]] static unsigned OpenSockets();
  // Datagrams that nobody has read.
  [[nodiscard]] static bool HasUnread();
};

}  // namespace hark::fuzz

// What the tests of the socket layer share: a fresh table with a slot, blocks whose callbacks are recorded,
// sockets on a loopback address of the test process's own, and how reports look.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "cpsip/cpsip_socket.h"

namespace hark::test {

// One call of a block's callback.
struct Told {
  int fd;
  bool read, write, except;

  bool operator==(const Told&) const = default;
};
void PrintTo(const Told& told, std::ostream* out);

[[nodiscard]] inline Told ToldRead(int fd) { return {fd, true, false, false}; }
[[nodiscard]] inline Told ToldWrite(int fd) { return {fd, false, true, false}; }
[[nodiscard]] inline Told ToldExcept(int fd) { return {fd, false, false, true}; }

class SocketTest : public ::testing::Test {
 protected:
  SocketTest();
  ~SocketTest() override;

  // A block in the stack's slot, whose callback is recorded and then does what `on_told` says.
  [[nodiscard]] static SocCB& Add(cpsip_transport_kind kind = cpsip_transport_kind::udp);
  // The same with a socket, which is not bound.
  [[nodiscard]] static SocCB& AddOpen(cpsip_transport_kind kind = cpsip_transport_kind::udp);
  // The same, bound to a port of the process's own address and in the read set.
  [[nodiscard]] static SocCB& AddBound();
  // Where a bound block can be reached.
  [[nodiscard]] static cpsip_address AddressOf(const SocCB& cb);
  // Sends a datagram from one block to the other.
  static void Send(const SocCB& from, const SocCB& to, std::string_view text);

  // The stack's sets, as the main loop gets them.
  struct Sets {
    int nfds = 0;
    std::vector<int> read, except, write;
  };
  [[nodiscard]] static Sets StackSets();

  static void Record(int fd, bool read, bool write, bool except);

  static std::vector<Told> told;
  static std::function<void(const Told&)> on_told;
};

// 127.x.y.z, of this process alone: tests that run at the same time never meet. Network order.
[[nodiscard]] std::uint32_t OwnLoopback();
// A port of that address, 0: any.
[[nodiscard]] cpsip_address OwnAddress(std::uint16_t port = 0);

// What `action` makes the stack print on standard output.
[[nodiscard]] std::string Printed(const std::function<void()>& action);
// One report of the socket layer.
[[nodiscard]] inline auto IsOneReport() {
  return ::testing::MatchesRegex("UXP: file: cpsip_osa line: [0-9]+\r\n");
}

// Runs `action`, whose fatal report goes to standard error, where a death test reads.
void Dying(const std::function<void()>& action);
inline constexpr const char* kFatalReport = "!!!FATAL ERR: file: cpsip_osa line: ";

}  // namespace hark::test

// What the tests of the PTT requests share: a clock that stands, a socket of the test's own in place of the
// group, so that tests that run side by side hear nothing of each other, and the reports to the call code as
// text.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "base/fd.h"
#include "routing/log_recorder.h"
#include "routing/qncpptt.h"
#include "routing/qncpptt_private.h"
#include "support/test_clock.h"

namespace hark {

// A request as it goes over the wire.
std::string Down(unsigned dst, unsigned src);
std::string Up(unsigned dst, unsigned src);

class Ptt : public ::testing::Test {
 protected:
  Ptt();
  ~Ptt() override;

  // Opens the socket.
  void Start() { ASSERT_EQ(qncpptt_initialize(), 0); }
  // One pass of the main loop with nothing to be read.
  void Pass();
  void PassAfterMs(long ms);
  // The requests since the last call.
  std::vector<std::string> Sent();
  // A datagram comes in, and is served in a pass. Any bytes.
  void Receive(const std::string& datagram);
  // The same for a status of channel `dst`, held by `src`.
  void Confirm(unsigned dst, unsigned src);

  // The local address of the product's socket, and of the test's.
  static sockaddr_in Own();
  [[nodiscard]] sockaddr_in Peer() const;
  static qncpptt_port& Port(int port) { return qncpptt.ports[static_cast<std::size_t>(port)]; }

  TestClock clock;
  std::vector<std::string> reports;               // "port 1" or "port 0"
  std::function<void(int port, bool)> on_report;  // what the call code does then

 private:
  UniqueFd peer_;
};

// The same with the socket open.
class PttOpen : public Ptt {
 protected:
  PttOpen() { Start(); }
};

}  // namespace hark

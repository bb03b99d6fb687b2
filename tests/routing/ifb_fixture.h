// What the tests of the IFB link share: a clock that stands, a main loop that a test runs pass by pass, the
// reports to the call code as text, and the talk with a far daemon in steps that end when the link is through
// with them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "routing/far_daemon.h"
#include "routing/log_recorder.h"
#include "routing/qnrifb.h"
#include "routing/qnrifb_private.h"
#include "support/test_clock.h"

namespace hark {

inline constexpr const char* kOurSource = "10.0.0.1";
inline constexpr const char* kOurAddr = "10.0.0.1 <^PTT>";  // what a destination shows that we took

// A line of a far daemon, and what the link writes to take destination `dst` or to give it back. `value` as
// it stands between the quotes.
std::string DstLine(int dst, const std::string& value);
std::string SetRequest(int dst, const std::string& value, const std::string& password = "");

class RemoteIfb : public ::testing::Test {
 protected:
  RemoteIfb();
  ~RemoteIfb() override;

  // One pass of the main loop.
  void Pass();
  // Passes until `done`; false when that does not come.
  bool Await(const std::function<bool()>& done);

  // Points the port at the destination of `far`.
  void Set(int port, const FarDaemon& far, int dst, const std::string& password = "");
  void Clear(int port) { EXPECT_EQ(qnrifb_set(port, nullptr, nullptr), 0); }
  // Sets the port, and lets the far daemon show that it carries `original` and then our address.
  void TakeOver(int port, FarDaemon& far, int dst, const std::string& original);

  // The far daemon says `text`; ends when the link has read it.
  void Hear(FarDaemon& far, const std::string& text);
  // All that was written to the far daemon since the last call, also what still waited.
  std::string Written(FarDaemon& far);
  // Ends when the link has closed or lost all its connections.
  void AwaitNoConnection();

  // The log line about the newest connection.
  static std::string LogOf(int level, const std::string& at, const std::string& what);
  // The connection to `far`, or null.
  static qnrifb_remote_connection* Link(const FarDaemon& far);
  static qnrifb_port& Port(int port) { return qnrifb_ports[static_cast<std::size_t>(port)]; }

  TestClock clock;
  std::vector<std::string> reports;               // "port 1" or "port 0"
  std::function<void(int port, bool)> on_report;  // what the call code does then
};

}  // namespace hark

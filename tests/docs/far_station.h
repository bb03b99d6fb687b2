// The other station of an example that shows a call: "Studio B", a real harkd at a loopback address of its
// own with a routing daemon and one client, and the address at which the example's own station calls and is
// called.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "docs/document.h"
#include "system/support/client.h"
#include "system/support/routing_sim.h"
#include "system/support/station.h"

namespace hark::test {

// Whether the example speaks of the other station.
[[nodiscard]] bool has_far_station(const Example& example);

// An address on the loopback network that no other process uses, for the example's own station and for the
// other one: SIP sockets may share an address and a port, so that two tests must not.
[[nodiscard]] std::string call_address(bool far);

// A station at that address and the usual ports, since others call it there.
[[nodiscard]] StationOptions calling_station(const std::string& address, int routing_port);

class FarStation {
 public:
  FarStation();

  // Starts it on its name and source, and connects the client.
  [[nodiscard]] testing::AssertionResult start();
  // A step of its client, with its text filled in.
  [[nodiscard]] testing::AssertionResult run(const Step& step, const std::string& text);
  // Its client got nothing that the example does not show.
  [[nodiscard]] testing::AssertionResult shown_all();
  // It ends without complaint.
  [[nodiscard]] testing::AssertionResult finish();

 private:
  [[nodiscard]] testing::AssertionResult expect(const std::string& text);

  RoutingSim sim_;
  Station station_;
  Client client_;
  bool skips_ = false;  // lines that are not shown may come
};

}  // namespace hark::test

// A station on a simulated host, with a routing daemon of its own that this process plays from its own place
// in the network.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "system/net/host.h"
#include "system/support/client.h"
#include "system/support/routing_sim.h"
#include "system/support/station.h"

namespace hark::test {

// What the routing daemon says of the station's own source.
inline constexpr char kOwnSource[] = "SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.77:5004\"";

class NetStation {
 public:
  // On host `number` of the network.
  NetStation(const TestNet& net, int number);

  // Starts the station; it is connected to its routing daemon when this returns. The host's system bus and
  // DNS-SD daemon are the test's business.
  [[nodiscard]] testing::AssertionResult start();
  // The routing daemon says what its own source is, which makes its services, and renews its announcement.
  bool give_source(const std::string& line = kOwnSource) { return sim->send(line); }
  // Connects to its control port from the test's own address.
  [[nodiscard]] bool connect(Client& client) const;

  // The file of stations that it has found.
  [[nodiscard]] std::string table() const { return station.root().read("var/tmp/orfehark-bonjour.tbl"); }
  // What the file says of one station: its line and those behind it, none when it does not have it.
  [[nodiscard]] std::string entry(const std::string& name) const;
  // The names in the file, sorted.
  [[nodiscard]] std::vector<std::string> found() const;
  [[nodiscard]] testing::AssertionResult wait_entry(const std::string& name, const std::string& want,
                                                    int timeout_ms = kWaitMs) const;
  [[nodiscard]] testing::AssertionResult wait_found(std::size_t count, int timeout_ms = kWaitMs) const;
  // What others' files say of it while it announces itself with the source above.
  [[nodiscard]] std::string own_entry(const std::string& alt = "Main", int trgl = 4) const;
  // Waits for a part of its log.
  [[nodiscard]] testing::AssertionResult logged(std::string_view text, int times = 1,
                                                int timeout_ms = kWaitMs) const;
  // How often the log holds a text.
  [[nodiscard]] int log_count(std::string_view text) const;
  // Its threads, from /proc.
  [[nodiscard]] int threads() const;

  Host host;
  RoutingSim sim;
  Station station;
};

}  // namespace hark::test

// A network of its own for one test, on one machine: the test's process leaves for it and is a host there,
// N.1 on both of its segments, so that tests that run side by side do not meet, and nothing of it is left
// when it goes. Other hosts are plugged in by host.h.
#pragma once

#include <string>
#include <vector>

#include "base/fd.h"

namespace hark::test {

// The segments: two bridges that nothing connects.
enum class Segment { kFirst = 0, kSecond = 1 };

class TestNet {
 public:
  // The process is in the new network from here on. Where that is not allowed it stays where it is; see
  // why_not().
  TestNet();
  TestNet(const TestNet&) = delete;
  TestNet& operator=(const TestNet&) = delete;
  // The process is back where it was. Sockets that were made in between stay in the network, and keep it.
  ~TestNet();

  // Why there is no network; empty when there is one. A test that cannot do without it skips with this.
  [[nodiscard]] const std::string& why_not() const { return why_not_; }
  // The test's own address on the first segment.
  [[nodiscard]] std::string address() const { return address_of(1); }
  // The address of host `number`, 1 to 254.
  [[nodiscard]] static std::string address_of(int number, Segment segment = Segment::kFirst);
  [[nodiscard]] static std::string bridge_of(Segment segment);

 private:
  UniqueFd before_;
  std::string why_not_;
};

// Names of the interfaces that this process sees, sorted.
[[nodiscard]] std::vector<std::string> interface_names();

// Waits until the bridge passes on what comes in by this port of it, which is a moment after the cable is up.
[[nodiscard]] bool wait_forwarding(const std::string& port);

// Runs ip(8) on these commands, one a line, in the network of this process. False when one of them failed.
[[nodiscard]] bool ip_commands(const std::string& commands);

}  // namespace hark::test

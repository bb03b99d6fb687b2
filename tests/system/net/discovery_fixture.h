// Stations that find each other, as the tests of discovery want it: a network of their own, a host that only
// watches, and a way to start a station so that it announces itself.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "system/net/desk.h"
#include "system/net/host.h"
#include "system/net/net_station.h"
#include "system/net/test_net.h"

namespace hark::test {

// Whom a DNS-SD daemon holds up has lost 2 s before he gives up on it; the rest is for a loaded machine.
inline constexpr int kNotHeldUpMs = 1'900;
inline constexpr int kHeldUpOnceMs = 3'900;

class DiscoveryTest : public testing::Test {
 protected:
  void SetUp() override;

  // Starts the station, attaches the panel, and then lets its source be known, which makes it announce
  // itself.
  static void Start(NetStation& station, Desk& desk);
  // The same on a host that has no DNS-SD daemon yet: starts that first.
  static void Boot(NetStation& station, Desk& desk);
  // The station goes on answering while the condition comes true in time, and no answer takes longer than
  // what a hanging daemon may cost.
  [[nodiscard]] static testing::AssertionResult AnswersUntil(Desk& desk,
                                                             const std::function<bool()>& condition,
                                                             int timeout_ms = kWaitMs);

  TestNet net;
  Host watcher{net, 200};  // has a DNS-SD daemon
};

}  // namespace hark::test

#include "system/net/discovery_fixture.h"

#include <algorithm>
#include <chrono>

namespace hark::test {

void DiscoveryTest::SetUp() {
  if (!net.why_not().empty()) GTEST_SKIP() << net.why_not();
  ASSERT_TRUE(watcher.made());
  ASSERT_TRUE(watcher.start_discovery());
}

void DiscoveryTest::Start(NetStation& station, Desk& desk) {
  ASSERT_TRUE(station.start());
  ASSERT_TRUE(desk.attach(station));
  ASSERT_TRUE(station.give_source());
}

void DiscoveryTest::Boot(NetStation& station, Desk& desk) {
  ASSERT_TRUE(station.host.start_discovery());
  Start(station, desk);
}

testing::AssertionResult DiscoveryTest::AnswersUntil(Desk& desk, const std::function<bool()>& condition,
                                                     int timeout_ms) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  int longest = 0;
  while (!condition()) {
    const int ms = desk.answer_ms();
    longest = std::max(longest, ms);
    RecordProperty("longest_answer_ms", longest);
    if (ms > kHeldUpOnceMs) return testing::AssertionFailure() << "an answer took " << ms << " ms";
    if (steady_clock::now() > end) return testing::AssertionFailure() << "what was waited for never came";
    pump_once(10);
  }
  return testing::AssertionSuccess();
}

}  // namespace hark::test

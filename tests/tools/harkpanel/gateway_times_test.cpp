// The times that the station is told: true durations, by which it alone decides what a tap latches, and never
// a tap where nobody let go by will.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::SizeIs;

class GatewayTimes : public GatewayTest {
 protected:
  GatewayTimes() {
    StationUp();
    (void)StationLines();
  }
  // How long the station takes the first key to have been down, as it reckons itself.
  std::uint32_t Duration() {
    const std::vector<KeyLine> keys = Keys();
    EXPECT_GE(keys.size(), 2U);
    if (keys.size() < 2) return 0;
    EXPECT_TRUE(keys.front().down);
    EXPECT_FALSE(keys.back().down);
    return keys.back().t - keys.front().t;
  }
};

TEST_F(GatewayTimes, DurationIsTheBrowsersOwnHoweverLateItsMessagesCome) {
  struct Row {
    double down_at, up_at;
    Ms elapsed;  // between their arrivals
    std::uint32_t duration;
  };
  for (const Row& row : {Row{1000, 1150, 150, 150}, Row{1000, 1150, 5, 150}, Row{1000, 1150, 3000, 150},
                         Row{1000, 1700, 0, 700}, Row{1000.25, 1100.5, 400, 100}, Row{0, 0, 300, 0},
                         Row{9007199254740000.0, 9007199254740180.0, 90, 180}}) {
    SCOPED_TRACE(testing::Message() << row.down_at << " to " << row.up_at << ", arrives after "
                                    << row.elapsed);
    const BrowserId browser = Join();
    KeyDown(browser, "KL01", row.down_at);
    now += row.elapsed;
    KeyUp(browser, "KL01", row.up_at);
    EXPECT_NEAR(Duration(), row.duration, 1);
    Close(browser);
    now += 20'000;
  }
}

TEST_F(GatewayTimes, DurationIsHeldToWhatCanBe) {
  struct Row {
    double down_at, up_at;
    Ms elapsed;
    std::uint32_t least, most;
  };
  for (const Row& row : {Row{5000, 1000, 700, 0, 0},  // a clock that was put back
                         Row{0, 9007199254740992.0, 700, 10'700, 10'700}, Row{9007199254740992.0, 0, 0, 0, 0},
                         Row{0, 10'500, 600, 10'500, 10'500}, Row{0, 10'700, 600, 10'600, 10'600}}) {
    SCOPED_TRACE(testing::Message() << row.down_at << " to " << row.up_at);
    const BrowserId browser = Join();
    KeyDown(browser, "KL01", row.down_at);
    now += row.elapsed;
    KeyUp(browser, "KL01", row.up_at);
    const std::uint32_t duration = Duration();
    EXPECT_GE(duration, row.least);
    EXPECT_LE(duration, row.most);
    Close(browser);
    now += 20'000;
  }
}

TEST_F(GatewayTimes, UpOfAnotherHolderCountsByTheGatewaysClock) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  KeyDown(one, "KL01", 1'000'000);
  now += 100;
  KeyDown(two, "KL01", 5);
  now += 50;
  KeyUp(one, "KL01", 1'000'150);
  now += 500;
  KeyUp(two, "KL01", 6);
  EXPECT_EQ(Duration(), 650U);
}

TEST_F(GatewayTimes, BrowserThatCameLaterCannotStretchOrShortenThePressOfTheFirst) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  KeyDown(one, "KL01", 0);
  KeyDown(two, "KL01", 0);
  Close(one);
  now += 800;
  KeyUp(two, "KL01", 0);
  EXPECT_EQ(Duration(), 800U);
}

TEST_F(GatewayTimes, TimeNeverRunsBackwards) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  KeyDown(one, "KL01", 0);
  KeyUp(one, "KL01", 9'000);  // ahead of the gateway's own clock
  KeyDown(two, "KT02", 0);
  now += 300;
  KeyDown(one, "KL03", 9'001);
  KeyUp(two, "KT02", 300);
  KeyUp(one, "KL03", 9'001);
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(6));
  for (std::size_t at = 1; at < keys.size(); ++at)
    EXPECT_GE(keys[at].t, keys[at - 1].t) << keys[at];
  EXPECT_EQ(keys[1].t - keys[0].t, 9'000U);
}

TEST_F(GatewayTimes, NothingThatTheGatewayLetsGoOfIsATap) {
  struct Way {
    const char* name;
    std::function<void(BrowserId)> act;
  };
  const std::vector<Way> ways = {
      {"cancelled", [this](BrowserId browser) { KeyCancelled(browser, "KL01", 1); }},
      {"closed", [this](BrowserId browser) { Close(browser); }},
      {"refused", [this](BrowserId browser) { SayText(browser, "nonsense"); }},
      {"too large",
       [this](BrowserId browser) { gateway->browser_misbehaved(browser, CloseCode::kTooLarge, "x"); }},
      {"shut down", [this](BrowserId) { gateway->shut_down(now); }},
  };
  for (const std::uint32_t latch : {0U, 1U, 200U, 5'000U, 1'000'000'000U, 2'147'483'647U}) {
    for (const Way& way : ways) {
      SCOPED_TRACE(testing::Message() << way.name << ", LATCH " << latch);
      out.closed.clear();
      Restart();
      StationUp("HARK LABL:\"A\" LATCH:" + std::to_string(latch));
      (void)StationLines();
      const BrowserId browser = Join();
      KeyDown(browser, "KL01", 0);
      now += 10;
      way.act(browser);
      EXPECT_GT(Duration(), latch);
    }
  }
}

TEST_F(GatewayTimes, SilentHoldersKeyIsNoTapWithALongLatch) {
  StationSays("HARK LABL:\"A\" LATCH:60000");
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  AdvanceMs(4'200);
  EXPECT_GT(Duration(), 60'000U);
}

// The station remembers the time of one press for all keys: the newest.
TEST_F(GatewayTimes, CancelledIsNoTapOfThePressOfAnotherKeyEither) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  KeyDown(one, "KL01", 0);
  now += 1'000;
  KeyDown(two, "KT02", 0);
  now += 10;
  KeyCancelled(one, "KL01", 1'010);
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(3));
  EXPECT_GT(keys[2].t - keys[1].t, 200U);
  KeyUp(two, "KT02", 20);
  EXPECT_GE(Keys().at(0).t, keys[2].t);
}

TEST_F(GatewayTimes, LastFingerDecidesWhetherItIsCancelled) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  KeyDown(one, "KL01", 0);
  KeyDown(two, "KL01", 0);
  now += 20;
  KeyUp(one, "KL01", 20);
  KeyCancelled(two, "KL01", 20);
  EXPECT_GT(Duration(), 200U);
}

TEST_F(GatewayTimes, NewLatchOfTheStationCountsForTheKeysThatAreDown) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  StationSays("HARK LABL:\"A\" LATCH:3000");
  Close(browser);
  EXPECT_GT(Duration(), 3'000U);
}

// After 49 days of the machine's uptime.
TEST_F(GatewayTimes, DurationsStayTrueWhereTheNumberWraps) {
  now = (Ms{1} << 32) - 300;
  Restart();
  StationUp();
  const BrowserId browser = Join();
  (void)StationLines();
  for (int press = 0; press < 6; ++press) {
    SCOPED_TRACE(press);
    KeyDown(browser, "KL01", press);
    now += 150;
    KeyUp(browser, "KL01", press + 150.0);
    EXPECT_EQ(Duration(), 150U);
    KeyDown(browser, "KL01", press);
    now += 20;
    KeyCancelled(browser, "KL01", press + 20.0);
    const std::uint32_t cancelled = Duration();
    EXPECT_GT(cancelled, 200U);
    EXPECT_LT(cancelled, 100'000U);
  }
}

}  // namespace
}  // namespace hark::test

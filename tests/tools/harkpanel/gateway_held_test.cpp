// The file of held keys in the hands of the gateway: at each moment at which the process may be killed, it
// names every key that the station knows as down.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class GatewayHeld : public GatewayTest {
 protected:
  void Start(const panel_gateway::GatewayOptions& options = {}) { Restart(options, path); }
  // The process is killed, and another one starts; the file is all that it has. The station notes the keys.
  void Killed(const panel_gateway::GatewayOptions& options = {}) {
    out.closed.clear();
    const std::string file = read_file(path);
    gateway.reset();
    (void)Keys();
    out.down.clear();
    write_file(path, file);
    now += 2'000;
    Start(options);
  }

  TempFolder folder;
  const std::string path = folder.file("held");
};

TEST_F(GatewayHeld, KeyIsInTheFileBeforeTheStationHearsOfItAndUntilItHasHeardOfItsRelease) {
  Start();
  StationUp();
  const BrowserId browser = Join();
  out.on_line = [this](const std::string& line) {
    const auto key = read_key_line(line);
    if (key) {
      EXPECT_THAT(held_in(path), testing::Contains(key->key)) << line;
    }
  };
  KeyDown(browser, "KL01", 0);
  KeyDown(browser, "KT02", 0);
  EXPECT_THAT(held_in(path), ElementsAre("KL01", "KT02"));
  KeyUp(browser, "KL01", 500);
  AdvanceMs(50);
  EXPECT_THAT(held_in(path), ElementsAre("KT02"));
  Close(browser);
  AdvanceMs(50);
  EXPECT_THAT(held_in(path), IsEmpty());
}

TEST_F(GatewayHeld, KilledGatewayIsFollowedByOneThatLetsGo) {
  Start();
  StationUp();
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  KeyDown(browser, "TGRP", 0);
  const std::uint32_t pressed = T();
  Killed();
  EXPECT_THAT(held_in(path), ElementsAre("KL01", "TGRP")) << "they are held until the station is told";
  gateway->tick(now);
  gateway->station_connected(now);
  StationSays("HARK LABL:\"A\" LATCH:30000");
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(2));
  for (const KeyLine& key : keys) {
    EXPECT_FALSE(key.down);
    EXPECT_GT(key.t - pressed, 30'000U) << "never a tap";
  }
  AdvanceMs(50);
  EXPECT_THAT(held_in(path), IsEmpty());
}

// Lost pointers in a row push the times ahead of the clock, each by more than a tap takes.
TEST_F(GatewayHeld, KilledAheadOfItsClockIsFollowedByNoTapEither) {
  Start();
  StationUp();
  const BrowserId browser = Join();
  for (int count = 0; count < 10; ++count) {
    KeyDown(browser, "KL01", count);
    KeyCancelled(browser, "KL01", count);
  }
  (void)Keys();
  KeyDown(browser, "KL01", 100);
  const std::vector<KeyLine> pressed = Keys();
  ASSERT_THAT(pressed, SizeIs(1));
  ASSERT_GT(pressed[0].t, T() + 2'000);
  Killed();
  now = pressed[0].t - 100;
  StationUp();
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(1));
  EXPECT_GT(keys[0].t - pressed[0].t, 200U);
  EXPECT_LT(keys[0].t - pressed[0].t, 100'000U);
}

TEST_F(GatewayHeld, KilledTwiceBeforeTheStationWasBackStillLetsGo) {
  Start();
  StationUp();
  KeyDown(Join(), "KL01", 0);
  Killed();
  gateway->tick(now);
  gateway->station_lost("connection refused", now);
  AdvanceMs(500);
  Killed();
  StationUp();
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(1));
  EXPECT_EQ(keys[0].key, "KL01");
  EXPECT_FALSE(keys[0].down);
}

TEST_F(GatewayHeld, KeyThatIsNotOfThisPanelAnyMoreIsLetGoOfToo) {
  panel_gateway::GatewayOptions wide;
  wide.last_key = 40;
  Start(wide);
  StationUp();
  KeyDown(Join(), "KL35", 0);
  Killed();
  StationUp();
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(1));
  EXPECT_EQ(keys[0].key, "KL35");
  EXPECT_FALSE(keys[0].down);
}

TEST_F(GatewayHeld, KeyThatWasDownWhenTheStationWasLostStaysInTheFile) {
  Start();
  StationUp();
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  StationLost();
  EXPECT_THAT(held_in(path), ElementsAre("KL01"));
  AdvanceMs(1'000);
  StationUp();
  AdvanceMs(50);
  EXPECT_THAT(held_in(path), IsEmpty());
  KeyDown(browser, "KT02", 0);
  AdvanceMs(50);
  EXPECT_THAT(held_in(path), ElementsAre("KT02"));
}

TEST_F(GatewayHeld, StaleKeyAndANewOneAreBothInTheFile) {
  Start();
  StationUp();
  KeyDown(Join(), "KL01", 0);
  Killed();
  gateway->tick(now);
  gateway->station_connected(now);
  // Pressed before the station has said anything.
  const BrowserId browser = Join();
  KeyDown(browser, "KT02", 0);
  EXPECT_THAT(held_in(path), testing::Contains("KL01"));
  StationSays(kSettings);
  AdvanceMs(50);
  EXPECT_THAT(held_in(path), testing::Not(testing::Contains("KL01")));
  EXPECT_EQ(Lines(out.down.begin(), out.down.end()), held_in(path));
}

TEST_F(GatewayHeld, OrderlyEndLeavesNothingInIt) {
  Start();
  StationUp();
  KeyDown(Join(), "KL01", 0);
  gateway->shut_down(now);
  AdvanceMs(50);
  EXPECT_THAT(held_in(path), IsEmpty());
  gateway.reset();
  EXPECT_THAT(held_in(path), IsEmpty());
}

TEST_F(GatewayHeld, OrderlyEndWithoutAStationLeavesWhatIsStillDown) {
  Start();
  StationUp();
  KeyDown(Join(), "KL01", 0);
  StationLost();
  gateway->shut_down(now);
  gateway.reset();
  EXPECT_THAT(held_in(path), ElementsAre("KL01"));
}

TEST_F(GatewayHeld, WithoutAFileKeysWorkAsWell) {
  StationUp();
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  StationLost();
  AdvanceMs(1'000);
  StationUp();
  EXPECT_THAT(out.down, IsEmpty());
}

}  // namespace
}  // namespace hark::test

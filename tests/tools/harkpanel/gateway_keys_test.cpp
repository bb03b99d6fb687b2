// Keys from browsers to the station: one panel of many hands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class GatewayKeys : public GatewayTest {
 protected:
  GatewayKeys() {
    StationUp();
    (void)StationLines();
  }
};

TEST_F(GatewayKeys, DownIsToldAtOnceWithTheGatewaysTime) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 77);
  EXPECT_THAT(Keys(), ElementsAre(KeyLine{"KL01", true, T()}));
  EXPECT_THAT(names(gateway->keys_down()), ElementsAre("KL01"));
}

TEST_F(GatewayKeys, ManyHandsArePressAndReleaseOfOne) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  const BrowserId three = Join();
  KeyDown(one, "KL01", 0);
  KeyDown(two, "KL01", 0);
  KeyDown(three, "KL01", 0);
  EXPECT_THAT(Keys(), SizeIs(1));
  KeyUp(one, "KL01", 10);
  Close(three);
  EXPECT_THAT(Keys(), IsEmpty());
  EXPECT_THAT(out.down, ElementsAre("KL01"));
  KeyUp(two, "KL01", 30);
  EXPECT_THAT(Keys(), SizeIs(1));
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayKeys, SecondDownAndForeignUpAreNothing) {
  const BrowserId one = Join();
  const BrowserId two = Join();
  KeyDown(one, "KL01", 0);
  (void)Keys();
  KeyDown(one, "KL01", 5);
  KeyUp(two, "KL01", 5);
  KeyUp(one, "KT01", 5);
  KeyCancelled(two, "KL01", 5);
  EXPECT_THAT(Keys(), IsEmpty());
  EXPECT_EQ(Code(one), 0);
  EXPECT_EQ(Code(two), 0);
  EXPECT_THAT(out.down, ElementsAre("KL01"));
}

TEST_F(GatewayKeys, EveryKindOfKeyOfThePanelGoesThrough) {
  const BrowserId browser = Join();
  for (const char* key : {"KL01", "KT01", "KX01", "KL20", "KT20", "KX20", "KLAA", "KTAA", "KXAA", "ASGN",
                          "TGRP", "SPKM", "MICM"}) {
    SCOPED_TRACE(key);
    KeyDown(browser, key, 0);
    KeyUp(browser, key, 1'000);
    const std::vector<KeyLine> told = Keys();
    ASSERT_THAT(told, SizeIs(2));
    EXPECT_EQ(told[0].key, key);
    EXPECT_TRUE(told[0].down);
    EXPECT_EQ(told[1].key, key);
    EXPECT_FALSE(told[1].down);
  }
}

TEST_F(GatewayKeys, KeyBeyondThePanelIsRefused) {
  panel_gateway::GatewayOptions options;
  options.first_key = 5;
  options.last_key = 8;
  Restart(options);
  StationUp();
  (void)StationLines();
  for (const char* key : {"KL04", "KT04", "KX04", "KL09", "KL98", "KL01"}) {
    SCOPED_TRACE(key);
    const BrowserId browser = Join();
    KeyDown(browser, key, 0);
    EXPECT_EQ(Code(browser), 4400);
  }
  EXPECT_THAT(Keys(), IsEmpty());
  const BrowserId browser = Join();
  for (const char* key : {"KL05", "KT08", "TGRP", "KLAA"})
    KeyDown(browser, key, 0);
  EXPECT_THAT(Keys(), SizeIs(4));
}

TEST_F(GatewayKeys, ClosedConnectionLetsGoAtOnce) {
  const BrowserId browser = Join();
  const BrowserId other = Join();
  KeyDown(browser, "KL01", 0);
  KeyDown(browser, "KT02", 0);
  KeyDown(other, "KT02", 0);
  KeyDown(other, "KL03", 0);
  (void)Keys();
  now += 40;
  Close(browser);
  const std::vector<KeyLine> told = Keys();
  ASSERT_THAT(told, SizeIs(1));
  EXPECT_EQ(told[0].key, "KL01");
  EXPECT_FALSE(told[0].down);
  EXPECT_THAT(out.down, ElementsAre("KL03", "KT02"));
  EXPECT_THAT(Told(other, "released"), IsEmpty());
}

TEST_F(GatewayKeys, RefusedBrowserLetsGoAtOnce) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  SayText(browser, "nonsense");
  EXPECT_THAT(out.down, IsEmpty()) << "without waiting for its connection to end";
  (void)Keys();
  Close(browser);
  EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(GatewayKeys, SameKeyIsPressedAnewAfterEachRelease) {
  const BrowserId browser = Join();
  for (int press = 0; press < 50; ++press) {
    KeyDown(browser, "KL01", press * 100.0);
    now += 30;
    KeyUp(browser, "KL01", press * 100.0 + 30);
    now += 70;
  }
  EXPECT_THAT(Keys(), SizeIs(100));
  EXPECT_THAT(out.down, IsEmpty());
}

// Two hundred lost pointers and fifty killed connections, and whatever else.
TEST_F(GatewayKeys, NoKeyIsLeftDownByAnyOrderOfEvents) {
  std::mt19937 random(11);
  std::vector<BrowserId> browsers;
  for (int count = 0; count < 5; ++count)
    browsers.push_back(Join());
  const std::vector<std::string> keys = {"KL01", "KT01", "KX02", "TGRP", "KLAA"};
  for (int step = 0; step < 5'000; ++step) {
    BrowserId& browser = browsers[random() % browsers.size()];
    const std::string& key = keys[random() % keys.size()];
    const double at = static_cast<double>(random() % 100'000);
    switch (random() % 12) {
      case 0:
        Close(browser);
        browser = Join();
        break;
      case 1:
        KeyCancelled(browser, key, at);
        break;
      case 2:
        SayText(browser, "nonsense");
        Close(browser);
        browser = Join();
        break;
      case 3:
        AdvanceMs(static_cast<Ms>(random() % 900));
        break;
      case 4:
      case 5:
      case 6:
      case 7:
        KeyDown(browser, key, at);
        break;
      default:
        KeyUp(browser, key, at);
    }
    ASSERT_EQ(Lines(out.down.begin(), out.down.end()), names(gateway->keys_down())) << step;
    for (BrowserId& one : browsers) {
      if (Code(one) == 0) continue;
      Close(one);
      one = Join();
    }
  }
  for (const BrowserId browser : browsers)
    Close(browser);
  EXPECT_THAT(out.down, IsEmpty());
  std::uint32_t last = 0;
  for (const KeyLine& line : Keys()) {
    EXPECT_GE(line.t, last) << "time never runs backwards";
    last = line.t;
  }
}

}  // namespace
}  // namespace hark::test

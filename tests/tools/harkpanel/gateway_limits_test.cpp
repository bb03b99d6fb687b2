// Browsers that are silent, slow or too fast: each is ended alone, with the reason, and costs no more than
// its share.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/harkpanel/gateway_rig.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class GatewayLimits : public GatewayTest {
 protected:
  GatewayLimits() {
    StationUp();
    (void)StationLines();
  }
  void Echo(BrowserId browser, int number = 1) { Say(browser, {{"t", "echo"}, {"n", number}}); }
};

TEST_F(GatewayLimits, SilentHolderLosesItsKeysInFourSecondsAndIsTold) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 1);
  KeyDown(browser, "KT02", 2);
  AdvanceMs(3'900);
  EXPECT_THAT(out.down, ElementsAre("KL01", "KT02"));
  AdvanceMs(200);
  EXPECT_THAT(out.down, IsEmpty());
  const std::vector<Json> told = Told(browser, "released");
  ASSERT_FALSE(told.empty());
  std::set<std::string> keys;
  for (const Json& message : told) {
    EXPECT_EQ(message["why"], "silent");
    for (const Json& key : message["keys"])
      keys.insert(key.get<std::string>());
  }
  EXPECT_THAT(keys, ElementsAre("KL01", "KT02"));
  EXPECT_EQ(Code(browser), 0) << "it may come back";
  // Its late release is nothing.
  (void)StationLines();
  KeyUp(browser, "KL01", 5'000);
  EXPECT_THAT(Keys(), IsEmpty());
  KeyDown(browser, "KL01", 6'000);
  EXPECT_THAT(out.down, ElementsAre("KL01"));
}

TEST_F(GatewayLimits, AnythingThatAHolderSaysKeepsItsKeys) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 1);
  for (int second = 0; second < 30; ++second) {
    AdvanceMs(1'000);
    Echo(browser);
    ASSERT_THAT(out.down, ElementsAre("KL01"));
  }
  AdvanceMs(3'900);
  Say(browser, {{"t", "fader"}, {"key", "SPKV"}, {"by", 10}});
  AdvanceMs(3'900);
  EXPECT_THAT(out.down, ElementsAre("KL01"));
}

TEST_F(GatewayLimits, ReadingIsNoSignOfLife) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 1);
  for (int step = 0; step < 41; ++step) {
    AdvanceMs(100);
    StationSays("set HARKUI#web.FAD#SPKV gain=-" + std::to_string(step + 1));
  }
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayLimits, KeyThatAnotherHoldsTooStaysWhenOneFallsSilent) {
  const BrowserId silent = Join();
  const BrowserId other = Join();
  KeepAlive(other);
  KeyDown(silent, "KL01", 1);
  KeyDown(other, "KL01", 1);
  AdvanceMs(5'000);
  EXPECT_THAT(out.down, ElementsAre("KL01"));
  EXPECT_THAT(Told(silent, "released"), SizeIs(1));
  EXPECT_THAT(Told(other, "released"), IsEmpty());
  KeyUp(other, "KL01", 5'001);
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayLimits, WhoHoldsNothingMayBeSilentForTwoMinutes) {
  const BrowserId silent = Join();
  const BrowserId other = Join();
  KeepAlive(other);
  AdvanceMs(119'000);
  EXPECT_EQ(Code(silent), 0);
  AdvanceMs(2'000);
  EXPECT_EQ(Code(silent), 4408);
  EXPECT_EQ(Code(other), 0);
}

TEST_F(GatewayLimits, PageInTheBackgroundThatSpeaksOnceAMinuteStays) {
  const BrowserId browser = Join();
  for (int minute = 0; minute < 10; ++minute) {
    AdvanceMs(60'000);
    Echo(browser);
  }
  EXPECT_EQ(Code(browser), 0);
}

TEST_F(GatewayLimits, WhoTakesNothingForTenSecondsIsSlow) {
  const BrowserId slow = Join();
  const BrowserId other = Join();
  KeepAlive(slow);
  KeepAlive(other);
  KeyDown(slow, "KL01", 1);
  StopReading(slow);
  StationSays("set HARKUI#web.BUT#KL02 IND=On");
  AdvanceMs(9'800);
  EXPECT_EQ(Code(slow), 0);
  AdvanceMs(1'500);
  EXPECT_EQ(Code(slow), 4409);
  EXPECT_THAT(out.down, IsEmpty());
  EXPECT_EQ(Code(other), 0);
}

TEST_F(GatewayLimits, WhoTakesNothingThoughItIsToldWithoutPauseIsSlowToo) {
  const BrowserId slow = Join();
  KeepAlive(slow);
  StopReading(slow);
  for (int step = 0; step < 120; ++step) {
    StationSays("set HARKUI#web.FAD#SPKV gain=-" + std::to_string(step + 1));
    AdvanceMs(100);
  }
  EXPECT_EQ(Code(slow), 4409);
}

TEST_F(GatewayLimits, ReadingNowAndThenIsNotSlow) {
  const BrowserId browser = Join();
  KeepAlive(browser);
  for (int turn = 0; turn < 5; ++turn) {
    StopReading(browser);
    StationSays("set HARKUI#web.FAD#SPKV gain=-" + std::to_string(turn + 1));
    AdvanceMs(8'000);
    ReadAgain(browser);
    EXPECT_EQ(Shown(browser)["speaker"], -(turn + 1));
  }
  EXPECT_EQ(Code(browser), 0);
}

TEST_F(GatewayLimits, WhoIsToldNothingIsNotSlow) {
  const BrowserId browser = Join();
  StopReading(browser);
  AdvanceMs(60'000);
  EXPECT_EQ(Code(browser), 0);
}

TEST_F(GatewayLimits, BurstOfFourHundredIsHeardAndMoreIsTooMany) {
  const BrowserId browser = Join();
  const BrowserId other = Join();
  for (int count = 0; count < 390; ++count)
    Echo(browser, count);
  EXPECT_EQ(Code(browser), 0);
  EXPECT_THAT(Told(browser, "echo"), SizeIs(390));
  for (int count = 0; count < 20; ++count)
    Echo(browser, count);
  EXPECT_EQ(Code(browser), 4429);
  Echo(other);
  EXPECT_THAT(Told(other, "echo"), SizeIs(1));
}

TEST_F(GatewayLimits, BadMessagesCountAsWell) {
  // Refused by the first already; none of the others costs another reason.
  const BrowserId browser = Join();
  for (int count = 0; count < 1000; ++count)
    SayText(browser, "nonsense");
  EXPECT_EQ(Code(browser), 4400);
  EXPECT_THAT(ReadAll(browser).size(), testing::Le(1U));
}

TEST_F(GatewayLimits, TwoHundredASecondAreHeardForEver) {
  const BrowserId browser = Join();
  for (int second = 0; second < 30; ++second) {
    for (int part = 0; part < 20; ++part) {
      for (int count = 0; count < 10; ++count)
        Echo(browser);
      AdvanceMs(50);
    }
  }
  EXPECT_EQ(Code(browser), 0);
}

TEST_F(GatewayLimits, MoreThanThatAreTooManyInTheEnd) {
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 1);
  int heard = 0;
  for (int part = 0; part < 400 && Code(browser) == 0; ++part) {
    for (int count = 0; count < 12 && Code(browser) == 0; ++count, ++heard)
      Echo(browser);
    AdvanceMs(50);
  }
  EXPECT_EQ(Code(browser), 4429);
  EXPECT_GT(heard, 1'000) << "a little too fast is borne for a while";
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayLimits, SlowReaderGetsTheNewestStateAndNoQueue) {
  const BrowserId slow = Join();
  StopReading(slow);
  for (int step = 0; step < 5'000; ++step) {
    StationSays("set HARKUI#web.FAD#SPKV gain=-" + std::to_string(step % 800));
    StationSays(std::string("set HARKUI#web.BUT#KL01 IND=") + (step % 2 == 0 ? "On" : "Off"));
  }
  StationSays("set HARKUI#web.FAD#SPKV gain=-77");
  const std::vector<Json> told = ReadAll(slow);
  ASSERT_THAT(told, SizeIs(1));
  EXPECT_EQ(told[0]["t"], "state");
  EXPECT_EQ(told[0]["speaker"], -77);
  EXPECT_FALSE(told[0].contains("calls")) << "only what has changed";
  EXPECT_EQ(Shown(slow)["ch"]["1"]["listen"], "off");
}

TEST_F(GatewayLimits, RepliesForASlowReaderAreLimited) {
  const BrowserId slow = Join();
  StopReading(slow);
  for (int count = 0; count < 300; ++count)
    Echo(slow, count);
  StationSays("set HARKUI#web.FAD#SPKV gain=-5");
  std::size_t messages = 0;
  for (std::string text = gateway->take_message(slow, now); !text.empty();
       text = gateway->take_message(slow, now)) {
    ++messages;
    if (Json::parse(text)["t"] == "state") {
      EXPECT_EQ(Json::parse(text)["speaker"], -5);
    }
  }
  EXPECT_GE(messages, 1U);
  EXPECT_LE(messages, panel_gateway::kMostReplies + 1);
}

TEST_F(GatewayLimits, FloodOfKeysLeavesNoneDown) {
  const BrowserId browser = Join();
  for (int count = 0; count < 500; ++count) {
    const std::string key = count % 2 == 0 ? "KL01" : "KT03";
    Say(browser, {{"t", "key"}, {"key", key}, {"down", count % 3 != 0}, {"at", count}});
  }
  EXPECT_EQ(Code(browser), 4429);
  EXPECT_THAT(out.down, IsEmpty());
}

}  // namespace
}  // namespace hark::test

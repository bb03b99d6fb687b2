// The gateway and its station: dialled for ever, lost with keys down, turned away, back again.
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

class GatewayStation : public GatewayTest {
 protected:
  // How long after now the station is dialled next; -1: not within the time.
  Ms TimeToDial(Ms limit = 20'000) {
    const Ms from = now;
    const int before = out.dials;
    while (now - from < limit) {
      AdvanceMs(50);
      if (out.dials > before) return now - from;
    }
    return -1;
  }
};

TEST_F(GatewayStation, IsDialledAtTheFirstTickAndOnce) {
  EXPECT_EQ(out.dials, 0);
  gateway->tick(now);
  EXPECT_EQ(out.dials, 1);
  AdvanceMs(2'000);
  EXPECT_EQ(out.dials, 1) << "it is being dialled already";
}

TEST_F(GatewayStation, IsDialledAfterOneSecondDoublingToSixteenForEver) {
  gateway->tick(now);
  for (const Ms expected : {1'000, 2'000, 4'000, 8'000, 16'000, 16'000, 16'000, 16'000, 16'000}) {
    gateway->station_lost("connection refused", now);
    EXPECT_EQ(gateway->view().link(), panel_gateway::Link::kLost);
    EXPECT_EQ(gateway->view().why(), "connection refused");
    EXPECT_EQ(gateway->view().retry_ms(), expected);
    const Ms waited = TimeToDial();
    EXPECT_GE(waited, expected);
    EXPECT_LE(waited, expected + 50);
    EXPECT_EQ(gateway->view().link(), panel_gateway::Link::kConnecting);
  }
}

TEST_F(GatewayStation, WhoHasAnsweredIsDialledAfterOneSecondAgain) {
  gateway->tick(now);
  for (int attempt = 0; attempt < 4; ++attempt) {
    gateway->station_lost("connection refused", now);
    (void)TimeToDial();
  }
  StationUp();
  EXPECT_EQ(gateway->view().link(), panel_gateway::Link::kUp);
  AdvanceMs(5'000);
  StationLost();
  EXPECT_LE(TimeToDial(), 1'050);
}

TEST_F(GatewayStation, ThatTurnsTheHostAwayIsAskedMoreAndMoreSeldomAndTheReasonIsShown) {
  const BrowserId browser = Join();
  gateway->tick(now);
  for (const Ms expected : {1'000, 2'000, 4'000, 8'000, 16'000, 16'000}) {
    gateway->station_connected(now);
    StationSays("ERROR 2001 too many connections from host");
    StationLost("closed by the station");
    EXPECT_EQ(Shown(browser)["station"]["link"], "lost");
    EXPECT_EQ(Shown(browser)["station"]["why"], "too many connections from this host");
    KeepAlive(browser);
    const Ms waited = TimeToDial();
    EXPECT_GE(waited, expected);
    EXPECT_LE(waited, expected + 50);
  }
  // There is room again.
  StationUp();
  EXPECT_EQ(Shown(browser)["station"]["link"], "up");
}

TEST_F(GatewayStation, LostWithKeysDownReleasesThemAndTellsTheirHolders) {
  StationUp();
  const BrowserId one = Join();
  const BrowserId two = Join();
  const BrowserId other = Join();
  KeyDown(one, "KL01", 0);
  KeyDown(two, "KL01", 0);
  KeyDown(two, "KT02", 0);
  StationLost();
  EXPECT_THAT(gateway->keys_down(), IsEmpty());
  for (const BrowserId browser : {one, two}) {
    std::set<std::string> keys;
    for (const Json& message : Told(browser, "released")) {
      EXPECT_EQ(message["why"], "station");
      for (const Json& key : message["keys"])
        keys.insert(key.get<std::string>());
    }
    EXPECT_EQ(keys,
              browser == one ? std::set<std::string>({"KL01"}) : std::set<std::string>({"KL01", "KT02"}));
    EXPECT_EQ(Code(browser), 0);
  }
  EXPECT_THAT(Told(other, "released"), IsEmpty());
}

TEST_F(GatewayStation, KeysThatWereDownGoUpAsSoonAsItIsBackAndNeverAsATap) {
  StationUp();
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  KeyDown(browser, "KT02", 0);
  const std::vector<KeyLine> pressed = Keys();
  StationLost();
  AdvanceMs(1'000);
  StationUp("HARK LABL:\"A\" LATCH:70000");
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(2));
  for (const KeyLine& key : keys) {
    EXPECT_FALSE(key.down);
    EXPECT_GT(key.t - pressed[1].t, 70'000U);
  }
  EXPECT_THAT(out.down, IsEmpty());
  AdvanceMs(100);
  StationLost();
  AdvanceMs(1'100);
  StationUp();
  EXPECT_THAT(Keys(), IsEmpty()) << "it was heard";
}

// What was handed to a socket may never arrive.
TEST_F(GatewayStation, ReleaseThatTheStationMayNotHaveHeardIsToldAgain) {
  StationUp();
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  now += 500;
  KeyUp(browser, "KL01", 500);
  StationLost();
  AdvanceMs(1'000);
  (void)Keys();
  StationUp();
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(1));
  EXPECT_EQ(keys[0].key, "KL01");
  EXPECT_FALSE(keys[0].down);
}

TEST_F(GatewayStation, KeysThatAreStaleSurviveFailedAttempts) {
  StationUp();
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  StationLost();
  (void)Keys();
  for (int attempt = 0; attempt < 3; ++attempt) {
    (void)TimeToDial();
    gateway->station_connected(now);
    StationSays("ERROR 2000 server busy");
    StationLost();
  }
  (void)TimeToDial();
  (void)Keys();
  StationUp();
  EXPECT_THAT(out.down, IsEmpty());
}

TEST_F(GatewayStation, ReleaseOfAStaleKeyGoesAheadOfItsNextPress) {
  StationUp();
  const BrowserId browser = Join();
  KeyDown(browser, "KL01", 0);
  StationLost();
  AdvanceMs(1'000);
  (void)Keys();
  StationUp();
  KeyDown(browser, "KL01", 5'000);
  const std::vector<KeyLine> keys = Keys();
  ASSERT_THAT(keys, SizeIs(2));
  EXPECT_FALSE(keys[0].down);
  EXPECT_TRUE(keys[1].down);
  EXPECT_THAT(out.down, ElementsAre("KL01"));
}

TEST_F(GatewayStation, KeyWhileItIsLostIsReleasedAtOnceAndNotToldLater) {
  StationUp();
  const BrowserId browser = Join();
  StationLost();
  (void)Told(browser);
  (void)Keys();
  KeyDown(browser, "KL01", 0);
  const std::vector<Json> told = Told(browser, "released");
  ASSERT_THAT(told, SizeIs(1));
  EXPECT_EQ(told[0], Json::parse(R"({"t":"released","keys":["KL01"],"why":"station"})"));
  EXPECT_THAT(gateway->keys_down(), IsEmpty());
  KeyUp(browser, "KL01", 100);
  EXPECT_EQ(Code(browser), 0);
  AdvanceMs(1'100);
  StationUp();
  EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(GatewayStation, NothingIsSentToAStationThatIsNotThere) {
  const BrowserId browser = Join();
  Say(browser, {{"t", "fader"}, {"key", "SPKV"}, {"to", -60}});
  Say(browser, {{"t", "fader"}, {"key", "KL01"}, {"by", 10}});
  Say(browser, {{"t", "caller"}, {"label", "Desk"}});
  Say(browser, {{"t", "shift"}, {"name", "Night"}});
  KeyDown(browser, "KL01", 0);
  EXPECT_THAT(StationLines(), IsEmpty());
  EXPECT_EQ(Code(browser), 0);
}

TEST_F(GatewayStation, RetryDialsAtOnceAndIsHeardOnceASecond) {
  const BrowserId browser = Join();
  gateway->tick(now);
  for (int attempt = 0; attempt < 4; ++attempt) {
    gateway->station_lost("connection refused", now);
    (void)TimeToDial();
  }
  gateway->station_lost("connection refused", now);
  AdvanceMs(2'000);
  int before = out.dials;
  Say(browser, {{"t", "retry"}});
  AdvanceMs(50);
  EXPECT_EQ(out.dials, before + 1);
  Say(browser, {{"t", "retry"}});
  AdvanceMs(50);
  EXPECT_EQ(out.dials, before + 1) << "it is being dialled";
  gateway->station_lost("connection refused", now);
  before = out.dials;
  for (int count = 0; count < 100; ++count)
    Say(browser, {{"t", "retry"}});
  EXPECT_LE(out.dials, before + 1) << "not again within the second";
  for (int turn = 0; turn < 10; ++turn) {
    gateway->station_lost("connection refused", now);
    for (int count = 0; count < 20; ++count) {
      Say(browser, {{"t", "retry"}});
      AdvanceMs(50);
    }
  }
  EXPECT_LE(out.dials, before + 13) << "ten seconds, ten attempts";
  EXPECT_GE(out.dials, before + 8);
}

TEST_F(GatewayStation, RetryOfAStationThatIsThereChangesNothing) {
  StationUp();
  const BrowserId browser = Join();
  (void)StationLines();
  const int before = out.dials;
  Say(browser, {{"t", "retry"}});
  AdvanceMs(3'000);
  EXPECT_EQ(out.dials, before);
  EXPECT_EQ(out.drops, 0);
  EXPECT_THAT(StationLines(), IsEmpty());
}

TEST_F(GatewayStation, EachConnectionAttachesAnew) {
  for (int turn = 0; turn < 3; ++turn) {
    (void)StationLines();
    StationUp();
    const Lines lines = StationLines();
    EXPECT_THAT(lines, testing::Contains("attach HARKUI#web KEYS=\"1-20\" AANS:0")) << turn;
    StationLost();
    AdvanceMs(1'100);
  }
}

TEST_F(GatewayStation, LateLinesAndLossesOfALostStationAreNothing) {
  StationUp();
  const BrowserId browser = Join();
  StationLost();
  const Ms retry = gateway->view().retry_ms();
  StationLost("once more");
  EXPECT_EQ(gateway->view().retry_ms(), retry) << "one loss, one step of the back-off";
  EXPECT_EQ(Shown(browser)["station"]["why"], "closed by the station");
}

// A station that hangs keeps its connection, and the page would go on saying that it is there.
TEST_F(GatewayStation, ThatSaysNothingIsAskedAndThenLost) {
  StationUp();
  const BrowserId browser = Join();
  const int asked = out.questions;
  const auto tick_for = [&](Ms ms) {
    for (Ms at = 0; at < ms; at += 100)
      gateway->tick(now += 100);
  };
  tick_for(4'900);
  EXPECT_EQ(out.questions, asked);
  tick_for(4'900);
  EXPECT_EQ(out.questions, asked + 1) << "once is enough";
  EXPECT_EQ(gateway->view().link(), panel_gateway::Link::kUp);
  EXPECT_EQ(out.drops, 0);
  tick_for(200);
  EXPECT_EQ(out.drops, 1);
  AdvanceMs(50);
  EXPECT_EQ(Shown(browser)["station"]["link"], "lost");
  EXPECT_EQ(Shown(browser)["station"]["why"], "does not answer");
}

TEST_F(GatewayStation, ThatAnswersIsKeptHoweverQuietItIs) {
  StationUp();
  AdvanceMs(60'000);
  EXPECT_EQ(gateway->view().link(), panel_gateway::Link::kUp);
  EXPECT_EQ(out.drops, 0);
}

// What the station said meanwhile has yet to be read.
TEST_F(GatewayStation, IsNotLostByAGatewayThatStoodStill) {
  StationUp();
  for (int i = 0; i < 10; ++i)
    gateway->tick(now += 60'000);
  EXPECT_EQ(gateway->view().link(), panel_gateway::Link::kUp);
}

}  // namespace
}  // namespace hark::test

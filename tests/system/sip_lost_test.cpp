// Stations that go away in the middle of calls: ended, killed, renamed, or without their routing daemon. The
// other side is free at once when it is told, and otherwise when it drops; who comes back can call and be
// called.
#include <csignal>

#include "system/sip_far_end.h"
#include "system/sip_station.h"

namespace hark::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

class SipLost : public SipTest {
 protected:
  // Both ways between the two, from one that made the calls.
  void Call(SipStation& from, SipStation& to) {
    from.call(to, "TALK:1 LISTEN:1");
    ASSERT_TRUE(to.shows(from, "LISTEN:R"));
    ASSERT_TRUE(to.shows(from, "TALK:R"));
    to.call(from, "TALK:1 LISTEN:1");
    ASSERT_TRUE(from.shows(to, "TALK:1"));
    ASSERT_TRUE(from.shows(to, "LISTEN:1"));
    ASSERT_TRUE(to.shows(from, "TALK:1"));
    ASSERT_TRUE(to.shows(from, "LISTEN:1"));
    EXPECT_TRUE(a.hears({b.media()}));
    EXPECT_TRUE(b.hears({a.media()}));
  }
  // The station is started again; nothing of its calls is left there.
  static void ComesBack(SipStation& station) {
    ASSERT_TRUE(station.start());
    EXPECT_THAT(station.list(), ElementsAre());
    EXPECT_THAT(station.heard(), ElementsAre());
  }
  void CallsBothWaysWork() {
    ASSERT_NO_FATAL_FAILURE(Talk(a, b));
    EXPECT_TRUE(b.hears({a.media()}));
    b.call(a, "LISTEN:0");
    BothFree();
    ASSERT_NO_FATAL_FAILURE(Talk(b, a));
    EXPECT_TRUE(a.hears({b.media()}));
    b.call(a, "TALK:0");
    BothFree();
  }
};

TEST_F(SipLost, EndedStationTellsTheOtherSideOfEveryCall) {
  ASSERT_NO_FATAL_FAILURE(Call(a, b));
  EXPECT_EQ(a.station.terminate(kSipWaitMs), 0);
  EXPECT_TRUE(b.shows(a, "TALK:0"));
  EXPECT_TRUE(b.shows(a, "LISTEN:d"));
  EXPECT_TRUE(b.becomes_free());
  EXPECT_TRUE(b.hears({}));
  ASSERT_NO_FATAL_FAILURE(ComesBack(a));
  CallsBothWaysWork();
}

TEST_F(SipLost, EndedStationTellsOfCallsThatRing) {
  a.call(b, "TALK:1");
  b.call(a, "TALK:1");
  ASSERT_TRUE(a.shows(b, "TALK:r"));
  ASSERT_TRUE(a.shows(b, "LISTEN:R"));
  ASSERT_TRUE(b.shows(a, "LISTEN:R"));
  ExpectLog("]: Line 2/0 error 487 Call failed");
  EXPECT_EQ(a.station.terminate(kSipWaitMs), 0);
  EXPECT_TRUE(b.becomes_free());
  EXPECT_THAT(b.told(a), Contains("TALK:0"));
  ASSERT_NO_FATAL_FAILURE(ComesBack(a));
  CallsBothWaysWork();
}

// Nobody asks whether the other is still there, so that a killed one is noticed with the drop, which takes
// the time of one that is not answered.
TEST_F(SipLost, KilledStationIsNoticedWhenThisSideDrops) {
  ExpectLog("error 51 No response on disconnect");
  ASSERT_NO_FATAL_FAILURE(Call(a, b));
  a.station.send_signal(SIGKILL);
  EXPECT_EQ(a.station.wait_exit(kSipWaitMs), 128 + SIGKILL);
  b.settle();
  EXPECT_EQ(b.list().size(), 2U);
  EXPECT_TRUE(b.hears({a.media()}));
  b.call(a, "TALK:0 LISTEN:0");
  EXPECT_TRUE(b.becomes_free());
  EXPECT_TRUE(b.hears({}));
  ASSERT_NO_FATAL_FAILURE(ComesBack(a));
  CallsBothWaysWork();
}

TEST_F(SipLost, KilledStationThatCallsAgainReplacesItsCalls) {
  ASSERT_NO_FATAL_FAILURE(Call(a, b));
  a.station.send_signal(SIGKILL);
  EXPECT_EQ(a.station.wait_exit(kSipWaitMs), 128 + SIGKILL);
  ASSERT_NO_FATAL_FAILURE(ComesBack(a));
  b.watch.forget();
  a.call(b, "TALK:1");
  ASSERT_TRUE(a.shows(b, "TALK:1")) << "who was up lately is answered";
  ASSERT_TRUE(b.shows(a, "LISTEN:1"));
  EXPECT_THAT(b.told(a), ElementsAre("LISTEN:0", "LISTEN:R", "LISTEN:1"));
  EXPECT_TRUE(b.hears({a.media()}));
  EXPECT_EQ(b.list().size(), 2U) << "its other call is still to be dropped";
  b.call(a, "TALK:0");
  a.call(b, "TALK:0");
  BothFree();
  CallsBothWaysWork();
}

TEST_F(SipLost, KilledStationsRingEndsWithARefusalHere) {
  a.call(b, "TALK:1");
  ASSERT_TRUE(b.shows(a, "LISTEN:R"));
  a.station.send_signal(SIGKILL);
  EXPECT_EQ(a.station.wait_exit(kSipWaitMs), 128 + SIGKILL);
  b.call(a, "LISTEN:0");
  EXPECT_TRUE(b.becomes_free());
  ASSERT_NO_FATAL_FAILURE(ComesBack(a));
  CallsBothWaysWork();
}

// The name is part of what the services say of the station, so that they are made anew.
TEST_F(SipLost, RenamedStationDropsItsCallsAndTellsTheOtherSide) {
  ASSERT_NO_FATAL_FAILURE(Call(a, b));
  a.command("HARK LABL:\"STUDIO Z\"");
  EXPECT_TRUE(a.shows(b, "TALK:0"));
  EXPECT_TRUE(a.shows(b, "LISTEN:0"));
  EXPECT_TRUE(b.shows(a, "TALK:0"));
  EXPECT_TRUE(b.shows(a, "LISTEN:0"));
  BothFree();
  CallsBothWaysWork();
}

TEST_F(SipLost, CallsAreNotTheRoutingDaemonsBusiness) {
  ASSERT_NO_FATAL_FAILURE(Call(a, b));
  a.watch.forget();
  b.watch.forget();
  a.sim.die();
  a.settle();
  EXPECT_EQ(a.list().size(), 2U);
  EXPECT_TRUE(b.hears({a.media()}));
  ASSERT_TRUE(a.sim.come_back());
  ASSERT_TRUE(a.sim.wait_mixer(kSipWaitMs));
  EXPECT_THAT(a.heard(), ElementsAre()) << "what was heard has to be called anew";
  EXPECT_THAT(a.told(b), ElementsAre());
  EXPECT_THAT(b.told(a), ElementsAre());
  b.call(a, "TALK:0 LISTEN:0");
  BothFree();
  CallsBothWaysWork();
}

TEST_F(SipLost, CallsEndWhileTheRoutingDaemonIsAway) {
  ASSERT_NO_FATAL_FAILURE(Call(a, b));
  a.sim.die();
  b.call(a, "TALK:0 LISTEN:0");
  EXPECT_TRUE(a.becomes_free());
  ASSERT_TRUE(a.sim.come_back());
  ASSERT_TRUE(a.sim.wait_mixer(kSipWaitMs));
  BothFree();
  CallsBothWaysWork();
}

// Sources of the routing network use the same lines, with or without a call of a station beside them.
TEST_F(SipLost, ContactsOfASourceAndCallsOfAStationShareTheLines) {
  const std::string source = "quillnet:239.192.0.77";
  a.station.root().write("etc/Orfe/hark/hark_sources", "Bob <" + source + ">;gpio=3;gpiot=1;gpiol=2\n");
  ASSERT_TRUE(a.sim->send("GPO 4 hLhhh"));
  ASSERT_TRUE(wait_until([&] { return a.list().size() == 1; }, kSipWaitMs));
  a.command("CALL URL:\"" + source + "\" LISTEN:1");
  ASSERT_TRUE(a.hears({"239.192.0.77"}));
  ASSERT_NO_FATAL_FAILURE(Talk(b, a));
  EXPECT_TRUE(a.hears({"239.192.0.77", b.media()}));
  ASSERT_TRUE(a.sim->send("GPO 4 hHhhh"));
  EXPECT_TRUE(a.hears({b.media()}));
  b.call(a, "TALK:0");
  BothFree();
}

}  // namespace
}  // namespace hark::test

// Calls between two stations by command: both directions, from the wish on one side to the mixers and the
// reports on both, and their end by either side at any moment.
#include "system/sip_station.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SipCalls : public SipTest {};

TEST_F(SipCalls, TalkRingsIsAnsweredAndHeardAtTheFarStation) {
  a.call(b, "TALK:1");
  ASSERT_TRUE(b.shows(a, "LISTEN:R"));
  ASSERT_TRUE(a.shows(b, "TALK:r"));
  EXPECT_TRUE(b.hears({})) << "nothing is heard before the answer";
  b.call(a, "LISTEN:1");
  ASSERT_TRUE(a.shows(b, "TALK:1"));
  ASSERT_TRUE(b.shows(a, "LISTEN:1"));
  EXPECT_TRUE(b.hears({a.media()}));
  EXPECT_TRUE(a.hears({}));
  EXPECT_THAT(a.list(), ElementsAre(AllOf(HasSubstr(b.url()), HasSubstr(" TALK:1"))));
  EXPECT_THAT(b.list(), ElementsAre(AllOf(HasSubstr(a.url()), HasSubstr(" LISTEN:1"))));
  a.call(b, "TALK:0");
  BothFree();
  EXPECT_THAT(a.told(b), ElementsAre("TALK:r", "TALK:1", "TALK:0"));
  EXPECT_THAT(b.told(a), ElementsAre("LISTEN:R", "LISTEN:1", "LISTEN:d", "LISTEN:0"));
}

TEST_F(SipCalls, ListenRingsIsAnsweredAndHeardHere) {
  a.call(b, "LISTEN:1");
  ASSERT_TRUE(b.shows(a, "TALK:R"));
  ASSERT_TRUE(a.shows(b, "LISTEN:r"));
  b.call(a, "TALK:1");
  ASSERT_TRUE(a.shows(b, "LISTEN:1"));
  ASSERT_TRUE(b.shows(a, "TALK:1"));
  EXPECT_TRUE(a.hears({b.media()}));
  EXPECT_TRUE(b.hears({}));
  a.call(b, "LISTEN:0");
  BothFree();
  EXPECT_THAT(a.told(b), ElementsAre("LISTEN:r", "LISTEN:1", "LISTEN:0")) << "no flash for who drops";
  EXPECT_THAT(b.told(a), ElementsAre("TALK:R", "TALK:1", "TALK:0")) << "no flash for who is not heard";
}

TEST_F(SipCalls, BothDirectionsAreTwoCallsAndEndApart) {
  a.call(b, "TALK:1 LISTEN:1");
  ASSERT_TRUE(b.shows(a, "LISTEN:R"));
  ASSERT_TRUE(b.shows(a, "TALK:R"));
  b.call(a, "TALK:1 LISTEN:1");
  ASSERT_TRUE(a.shows(b, "LISTEN:1"));
  ASSERT_TRUE(a.shows(b, "TALK:1"));
  EXPECT_TRUE(a.hears({b.media()}));
  EXPECT_TRUE(b.hears({a.media()}));
  EXPECT_EQ(a.list().size(), 2U);
  EXPECT_EQ(b.list().size(), 2U);
  a.call(b, "LISTEN:0");
  EXPECT_TRUE(a.hears({}));
  ASSERT_TRUE(b.shows(a, "TALK:0"));
  EXPECT_THAT(a.list(), ElementsAre(HasSubstr(" TALK:1")));
  EXPECT_TRUE(b.hears({a.media()})) << "the other direction goes on";
  b.call(a, "LISTEN:0");
  BothFree();
}

TEST_F(SipCalls, StationsOnBothSidesCallEachOtherInTurnAsOftenAsTheyLike) {
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    ASSERT_NO_FATAL_FAILURE(Talk(a, b));
    a.call(b, "TALK:0");
    BothFree();
    ASSERT_NO_FATAL_FAILURE(Listen(b, a));
    a.call(b, "TALK:0");
    BothFree();
  }
}

TEST_F(SipCalls, VolumeMovesTheGainOfWhoIsHeard) {
  ASSERT_NO_FATAL_FAILURE(Listen(a, b));
  a.call(b, "VOLUME:-60");
  EXPECT_TRUE(wait_until([&] { return a.sim->mixer().input(1)->gain == -60; }, kSipWaitMs));
  EXPECT_TRUE(a.hears({b.media()}));
  a.call(b, "LISTEN:0");
  BothFree();
}

// Who listens has heard the far end drop, and shows it for a while; who talks has nothing to show.
TEST_F(SipCalls, DropOfTheCalledSideEndsBothLines) {
  ASSERT_NO_FATAL_FAILURE(Talk(a, b));
  b.call(a, "LISTEN:0");
  BothFree();
  EXPECT_THAT(a.told(b), ElementsAre("TALK:r", "TALK:1", "TALK:0"));
  EXPECT_THAT(b.told(a), ElementsAre("LISTEN:R", "LISTEN:1", "LISTEN:0"));
  ASSERT_NO_FATAL_FAILURE(Listen(a, b));
  b.call(a, "TALK:0");
  BothFree();
  EXPECT_THAT(a.told(b), ElementsAre("LISTEN:1", "LISTEN:d", "LISTEN:0"))
      << "who was up lately does not ring";
  EXPECT_THAT(b.told(a), ElementsAre("TALK:R", "TALK:1", "TALK:0"));
}

TEST_F(SipCalls, DropOfARingingCallByTheCallerEndsTheRinging) {
  a.call(b, "TALK:1");
  ASSERT_TRUE(a.shows(b, "TALK:r"));
  ASSERT_TRUE(b.shows(a, "LISTEN:R"));
  a.call(b, "TALK:0");
  BothFree();
  EXPECT_THAT(a.told(b), ElementsAre("TALK:r", "TALK:0"));
  EXPECT_THAT(b.told(a), ElementsAre("LISTEN:R", "LISTEN:d", "LISTEN:0")) << "a missed call flashes";
}

TEST_F(SipCalls, RejectedCallIsOffOnBothSides) {
  a.call(b, "TALK:1");
  ASSERT_TRUE(a.shows(b, "TALK:r"));
  ASSERT_TRUE(b.shows(a, "LISTEN:R"));
  ExpectLog("]: Line 2/0 error 487 Call failed");
  b.call(a, "LISTEN:0");
  BothFree();
  EXPECT_THAT(a.told(b), ElementsAre("TALK:r", "TALK:0"));
  EXPECT_THAT(b.told(a), ElementsAre("LISTEN:R", "LISTEN:0"));
}

TEST_F(SipCalls, DropsOfWhatIsNotThereAndDropsSaidTwiceAreHarmless) {
  a.call(b, "TALK:0 LISTEN:0");
  b.call(a, "TALK:0");
  EXPECT_THAT(a.told(b), ElementsAre());
  ASSERT_NO_FATAL_FAILURE(Talk(a, b));
  for (int times = 0; times < 3; ++times)
    a.call(b, "TALK:0");
  ASSERT_TRUE(a.shows(b, "TALK:0"));
  a.call(b, "TALK:0");
  b.call(a, "LISTEN:0");
  BothFree();
  ASSERT_NO_FATAL_FAILURE(Talk(a, b));
  a.call(b, "TALK:0");
  BothFree();
}

TEST_F(SipCalls, WishInTheTimeOfADropKeepsTheCall) {
  ASSERT_NO_FATAL_FAILURE(Talk(a, b));
  ASSERT_NO_FATAL_FAILURE(Listen(a, b));
  a.watch.forget();
  const std::string line = "CALL URL:\"" + b.url() + "\" ";
  ASSERT_TRUE(a.client.send_raw(line + "TALK:0 LISTEN:0\r\n" + line + "TALK:1\r\n"));
  ASSERT_TRUE(a.shows(b, "LISTEN:0"));
  EXPECT_THAT(a.told(b), ElementsAre("LISTEN:0")) << "the other's time was over as well";
  EXPECT_TRUE(b.hears({a.media()}));
  a.call(b, "TALK:0");
  BothFree();
}

TEST_F(SipCalls, BothSidesDropAtTheSameTime) {
  for (int round = 0; round < 5; ++round) {
    SCOPED_TRACE(round);
    ASSERT_NO_FATAL_FAILURE(Talk(a, b));
    ASSERT_TRUE(a.client.send_line("CALL URL:\"" + b.url() + "\" TALK:0"));
    ASSERT_TRUE(b.client.send_line("CALL URL:\"" + a.url() + "\" LISTEN:0"));
    BothFree();
    EXPECT_EQ(a.watch.letter(b.address(), "TALK"), "0");
    EXPECT_EQ(b.watch.letter(a.address(), "LISTEN"), "0");
  }
}

TEST_F(SipCalls, BothSidesTalkToEachOtherAtTheSameTime) {
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    a.watch.forget();
    b.watch.forget();
    ASSERT_TRUE(a.client.send_line("CALL URL:\"" + b.url() + "\" TALK:1"));
    ASSERT_TRUE(b.client.send_line("CALL URL:\"" + a.url() + "\" TALK:1"));
    // Each is a call of its own; who was in contact before is answered by itself.
    for (auto [here, there] : {std::pair{&a, &b}, std::pair{&b, &a}}) {
      ASSERT_TRUE(here->shows(*there, "LISTEN:R"));
      here->call(*there, "LISTEN:1");
    }
    ASSERT_TRUE(a.shows(b, "TALK:1"));
    ASSERT_TRUE(b.shows(a, "TALK:1"));
    EXPECT_TRUE(a.hears({b.media()}));
    EXPECT_TRUE(b.hears({a.media()}));
    a.call(b, "TALK:0 LISTEN:0");
    BothFree();
  }
}

// What one talks is what the other listens to: each sees the other's call replace its own, so that both may
// well end. Whatever came of it, nothing of it stays.
TEST_F(SipCalls, CrossingCallsForOnePathLeaveNothingBehind) {
  for (int round = 0; round < 5; ++round) {
    SCOPED_TRACE(round);
    ASSERT_TRUE(a.client.send_line("CALL URL:\"" + b.url() + "\" TALK:1"));
    ASSERT_TRUE(b.client.send_line("CALL URL:\"" + a.url() + "\" LISTEN:1"));
    a.settle();
    b.settle();
    (void)answers(a.client, "CALL URL:\"" + b.url() + "\" TALK:0 LISTEN:0");
    (void)answers(b.client, "CALL URL:\"" + a.url() + "\" TALK:0 LISTEN:0");
    BothFree();
  }
  ASSERT_NO_FATAL_FAILURE(Talk(a, b));
  EXPECT_TRUE(b.hears({a.media()}));
  a.call(b, "TALK:0");
  BothFree();
}

}  // namespace
}  // namespace hark::test

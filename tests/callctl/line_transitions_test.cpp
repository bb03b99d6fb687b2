// The state letters from end to end: each way from one to the next that a call can take, by what causes it.
#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LineTransitions : public CallTest {
 protected:
  static std::string Letters(int kind, int i) {
    const char state = Line(kind, i).state;
    return state == kLineFree ? "free" : std::string(1, state);
  }
};

TEST_F(LineTransitions, OutgoingCallIsCallingWhenTheStackSaysSo) {
  ASSERT_EQ(LineTableAlloc(listen_lines, kStation, 2), 0);
  EXPECT_EQ(Letters(kListenKind, 0), "free");
  Calling(kListenKind, 0);
  EXPECT_EQ(Letters(kListenKind, 0), "C");
}

TEST_F(LineTransitions, RoutingCallIsSeizedAndStaysSoWithNothingToWaitFor) {
  ASSERT_EQ(Talk(kSource), 0);
  EXPECT_EQ(Letters(kTalkKind, 0), "S");
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(LineTransitions, FarStationThatRingsIsARequest) {
  line_ring(kListenKind, 0, "", "sip:hark-talk@10.0.0.5");
  EXPECT_EQ(Letters(kListenKind, 0), "R");
}

TEST_F(LineTransitions, FarContactThatAsksIsARequest) {
  for (const int kind : {kListenKind, kTalkKind}) {
    Remote(kind, kSource, kWishConnect);
    EXPECT_EQ(Letters(kind, 0), "R");
  }
}

TEST_F(LineTransitions, CallingLineRingsAtTheFarEnd) {
  for (const int kind : {kListenKind, kTalkKind}) {
    Put(kind, 0, kStation, kLineCalling);
    Ringing(kind, 0);
    EXPECT_EQ(Letters(kind, 0), "r");
  }
}

TEST_F(LineTransitions, CallingRingingAndRequestedLinesConnect) {
  for (const int kind : {kListenKind, kTalkKind}) {
    for (const char from : {kLineCalling, kLineFarRinging, kLineRequest}) {
      SCOPED_TRACE(from);
      Put(kind, 0, kStation, from);
      Connected(kind, 0);
      EXPECT_EQ(Letters(kind, 0), "1");
    }
  }
}

TEST_F(LineTransitions, RequestOfARoutingSourceIsAnswered) {
  for (const int kind : {kListenKind, kTalkKind})
    Remote(kind, kSource, kWishConnect);
  ASSERT_EQ(Modify(kSource, kWishConnect, kWishConnect), 0);
  EXPECT_EQ(Letters(kListenKind, 0), "1");
  EXPECT_EQ(Letters(kTalkKind, 0), "1");
}

TEST_F(LineTransitions, ConfirmationTurnsARingingTalkLineOnAndOff) {
  Put(kTalkKind, 0, kSource, kLineFarRinging);
  ifb_update_status(0, true);
  EXPECT_EQ(Letters(kTalkKind, 0), "1");
  ifb_update_status(0, false);
  EXPECT_EQ(Letters(kTalkKind, 0), "0");
  EXPECT_EQ(talk_lines[0].url, kSource);
}

TEST_F(LineTransitions, AnyListenLineIsFarDropped) {
  for (const char from :
       {kLineRequest, kLineSeized, kLineCalling, kLineFarRinging, kLineConnected, kLineFarDropped}) {
    SCOPED_TRACE(from);
    Put(kListenKind, 0, kStation, from);
    FarDrop(kListenKind, 0);
    EXPECT_EQ(Letters(kListenKind, 0), "d");
    EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:d"));
  }
}

TEST_F(LineTransitions, NoTalkLineIsFarDropped) {
  for (const char from : {kLineRequest, kLineSeized, kLineCalling, kLineFarRinging, kLineConnected}) {
    Put(kTalkKind, 0, kStation, from);
    FarDrop(kTalkKind, 0);
    EXPECT_EQ(Letters(kTalkKind, 0), std::string(1, from));
  }
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(LineTransitions, FarDroppedLineIsFreedByItsFlashTime) {
  Put(kListenKind, 0, kStation, kLineConnected);
  FarDrop(kListenKind, 0);
  PassAfterUs(station.hark_fardrop_timeout + 1);
  EXPECT_EQ(Letters(kListenKind, 0), "free");
}

TEST_F(LineTransitions, FarDroppedLineIsFreedByATalkLineThatConnects) {
  Put(kListenKind, 0, kStation, kLineFarDropped);
  Put(kTalkKind, 0, kStation, kLineCalling);
  Connected(kTalkKind, 0);
  EXPECT_EQ(Letters(kListenKind, 0), "free");
}

TEST_F(LineTransitions, FarDroppedLineIsFreedByItsConfirmation) {
  for (const bool active : {true, false}) {
    Put(kListenKind, 0, kSource, kLineFarDropped);
    Put(kTalkKind, 0, kSource, kLineFarRinging);
    Forget();
    ifb_update_status(0, active);
    EXPECT_EQ(Letters(kListenKind, 0), "free");
    EXPECT_EQ(Reports().back(), std::string("quillnet:239.192.0.7 L:0 T:") + (active ? '1' : '0'));
  }
}

TEST_F(LineTransitions, FarDroppedLineIsFreedByANewWish) {
  Put(kListenKind, 3, kSource, kLineFarDropped).drop_pending = true;
  ASSERT_EQ(Listen(kSource), 0);
  EXPECT_EQ(Letters(kListenKind, 3), "free");
  EXPECT_EQ(Letters(kListenKind, 0), "1");
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0", "quillnet:239.192.0.7 L:1"));
}

TEST_F(LineTransitions, AnyLineIsFreedWhenItsSipLineIsIdle) {
  for (const int kind : {kListenKind, kTalkKind}) {
    for (const char from : {kLineFree, kLineRequest, kLineSeized, kLineCalling, kLineFarRinging,
                            kLineConnected, kLineFarDropped, kLineOff}) {
      SCOPED_TRACE(static_cast<int>(from));
      Put(kind, 0, kStation, from);
      Idle(kind, 0);
      EXPECT_EQ(Letters(kind, 0), "free");
      EXPECT_TRUE(Line(kind, 0).url.empty());
    }
  }
}

TEST_F(LineTransitions, FlashOfAFarDroppedLineOutlivesItsSipLine) {
  for (const int kind : {kListenKind, kTalkKind}) {
    Put(kind, 0, kStation, kLineFarDropped).drop_pending = true;
    Idle(kind, 0);
    EXPECT_EQ(Letters(kind, 0), "d");
  }
}

}  // namespace
}  // namespace hark

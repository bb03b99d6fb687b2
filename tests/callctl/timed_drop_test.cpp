// Drops in time: the delay of a wish to drop, the flash of a far-dropped line, and the states in which a drop
// waits.
#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TimedDrop : public CallTest {};

TEST_F(TimedDrop, DefaultsAreTheDocumentedOnes) {
  EXPECT_EQ(station.hark_localdrop_delay_us, 400'000);
  EXPECT_EQ(station.hark_fardrop_timeout, 5'000'000);
  EXPECT_EQ(station.hark_recentcall_timeout_us, 60'000'000);
}

TEST_F(TimedDrop, WishToDropIsDoneAfterItsDelay) {
  ASSERT_EQ(Listen(kSource), 0);
  ASSERT_EQ(Talk("quillnet:239.192.0.8;gpio=1;gpiot=1"), 0);
  Forget();
  ASSERT_EQ(DropListen(kSource), 0);
  ASSERT_EQ(DropTalk("quillnet:239.192.0.8"), 0);
  PassAfterMs(400);
  EXPECT_THAT(Reports(), IsEmpty());
  PassAfterUs(1);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0", "quillnet:239.192.0.8;gpio=1;gpiot=1 T:0"));
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"\", gain=0"));
  EXPECT_THAT(Inputs(), ElementsAre("GPI 2 Hxxxx\r\n"));
}

TEST_F(TimedDrop, QuickPressKeepsTheCall) {
  ASSERT_EQ(Listen(kSource), 0);
  ASSERT_EQ(DropListen(kSource), 0);
  PassAfterMs(399);
  ASSERT_EQ(Listen(kSource), 0);
  PassAfterMs(5000);
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
}

TEST_F(TimedDrop, SecondWishToDropStartsTheDelayAfresh) {
  ASSERT_EQ(Listen(kSource), 0);
  ASSERT_EQ(DropListen(kSource), 0);
  PassAfterMs(300);
  ASSERT_EQ(DropListen(kSource), 0);
  PassAfterMs(400);
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
  PassAfterMs(1);
  EXPECT_TRUE(listen_lines[0].url.empty());
}

TEST_F(TimedDrop, WithoutADelayTheDropIsDoneOnTheNextPass) {
  station.hark_localdrop_delay_us = 0;
  ASSERT_EQ(Listen(kSource), 0);
  ASSERT_EQ(DropListen(kSource), 0);
  EXPECT_EQ(listen_lines[0].state, kLineConnected);
  PassAfterMs(0);
  EXPECT_TRUE(listen_lines[0].url.empty());
}

TEST_F(TimedDrop, FarDroppedLineGoesAfterItsFlash) {
  Put(kListenKind, 0, kSource, kLineConnected);
  FarDrop(kListenKind, 0);
  Forget();
  PassAfterMs(5000);
  EXPECT_EQ(listen_lines[0].state, kLineFarDropped);
  PassAfterUs(1);
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 L:0"));
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(TimedDrop, FlashTimeIsTheOneInForceWhenItIsLookedAt) {
  Put(kListenKind, 0, kSource, kLineConnected);
  FarDrop(kListenKind, 0);
  station.hark_fardrop_timeout = 1'000'000;
  PassAfterMs(1001);
  EXPECT_TRUE(listen_lines[0].url.empty());
}

TEST_F(TimedDrop, WithoutAFlashTheLineGoesOnTheNextPass) {
  station.hark_fardrop_timeout = 0;
  Put(kListenKind, 0, kSource, kLineConnected);
  FarDrop(kListenKind, 0);
  EXPECT_EQ(listen_lines[0].state, kLineFarDropped);
  PassAfterMs(0);
  EXPECT_TRUE(listen_lines[0].url.empty());
}

TEST_F(TimedDrop, CallingLineKeepsItsDropUntilTheFarEndReacts) {
  for (const int kind : {kListenKind, kTalkKind}) {
    const std::string url = "quillnet:239.192.0.7;gpio=1;gpiol=1;gpiot=2;gpioack=1";
    const char wish = kWishConnect;
    ASSERT_EQ(kind == kListenKind ? Modify(url, wish, kNoWish) : Modify(url, kNoWish, wish), 0);
    ASSERT_EQ(Line(kind, 0).state, kLineCalling);
    ASSERT_EQ(Modify(url, kWishDrop, kWishDrop), 0);
    PassAfterMs(60'000);
    EXPECT_EQ(Line(kind, 0).state, kLineCalling);
    EXPECT_TRUE(Line(kind, 0).drop_pending);
    Ringing(kind, 0);
    PassAfterMs(0);
    EXPECT_TRUE(Line(kind, 0).url.empty());
  }
}

TEST_F(TimedDrop, LinesInEveryOtherStateAreDropped) {
  for (const char state : {kLineRequest, kLineSeized, kLineFarRinging, kLineConnected}) {
    SCOPED_TRACE(state);
    ASSERT_EQ(Talk("quillnet:239.192.0.7;qntb=1"), 0);
    talk_lines[0].state = state;
    ASSERT_EQ(DropTalk(kSource), 0);
    PassAfterMs(401);
    EXPECT_TRUE(talk_lines[0].url.empty());
  }
}

TEST_F(TimedDrop, TalkLineThatIsOffIsDroppedWithoutAReport) {
  ASSERT_EQ(Talk("quillnet:239.192.0.7;qntb=1"), 0);
  ifb_update_status(0, false);
  Forget();
  ASSERT_EQ(DropTalk(kSource), 0);
  PassAfterMs(401);
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(TimedDrop, FreeLinesAreNotLookedAt) {
  listen_lines[3].drop_pending = true;
  listen_lines[3].state = kLineFarDropped;
  PassAfterMs(10'000);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(TimedDrop, DroppedLineLetsTheOthersUpAgain) {
  ASSERT_EQ(Listen("quillnet:239.192.0.1;trgl=1"), 0);
  ASSERT_EQ(Listen("quillnet:239.192.0.2;trgl=10"), 0);
  Forget();
  ASSERT_EQ(DropListen("quillnet:239.192.0.2"), 0);
  PassAfterMs(401);
  EXPECT_THAT(MixerLines(),
              ElementsAre("set hark#1.sub#1.in#2 src_id=\"\", gain=0", "set hark#1.sub#1.in#1 gain=0"));
}

class Confirmation : public CallTest {};

TEST_F(Confirmation, TurnsTheTalkLineOnAndOff) {
  ASSERT_EQ(Talk("quillnet:239.192.0.7;qntb=1"), 0);
  Forget();
  ifb_update_status(0, true);
  EXPECT_EQ(talk_lines[0].state, kLineConnected);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7;qntb=1 T:1"));
  ifb_update_status(0, false);
  EXPECT_EQ(talk_lines[0].state, kLineOff);
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7;qntb=1 T:0"));
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(Confirmation, OfNoLineDoesNothing) {
  for (const int port : {0, 127, 128, -1, 1000, -1000}) {
    ifb_update_status(port, true);
    ifb_update_status(port, false);
  }
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_EQ(talk_lines[0].state, kLineFree);
}

}  // namespace
}  // namespace hark

// Calls to stations, over a stack that takes them: what is dialled, what a wish does to a call in each state,
// and a stack that refuses.
#include "callctl/call_fixture.h"
#include "callctl/fake_stack.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Outcome = FakeStack::Outcome;

class SipCall : public CallTest {
 protected:
  SipCall() {
    (void)StackCommands();
    fake_stack.call = fake_stack.seize = Outcome::kAccepted;
  }
  ~SipCall() override { fake_stack.call = fake_stack.seize = Outcome::kAccepted; }
};

TEST_F(SipCall, ListenCallsTheFarTalkService) {
  EXPECT_EQ(Listen(kStation), 0);
  EXPECT_THAT(StackCommands(), ElementsAre("Call 1/0 sip:hark-talk@10.0.0.5:5062"));
  EXPECT_EQ(listen_lines[0].url, kStation);
  EXPECT_EQ(listen_lines[0].state, kLineCalling);
  EXPECT_EQ(listen_lines[0].direction, 2);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(SipCall, TalkCallsTheFarListenService) {
  EXPECT_EQ(Talk(kStation), 0);
  EXPECT_THAT(StackCommands(), ElementsAre("Call 2/0 sip:hark-listen@10.0.0.5:5061"));
  EXPECT_EQ(talk_lines[0].state, kLineCalling);
  EXPECT_EQ(talk_lines[0].direction, 1);
}

TEST_F(SipCall, BothDirectionsAreCalledListenFirst) {
  EXPECT_EQ(Modify(kStation, kWishConnect, kWishConnect), 0);
  EXPECT_THAT(StackCommands(),
              ElementsAre("Call 1/0 sip:hark-talk@10.0.0.5:5062", "Call 2/0 sip:hark-listen@10.0.0.5:5061"));
}

// The far station's ports are those of its defaults; our own have nothing to do with them.
TEST_F(SipCall, FarPortsDoNotFollowOurOwn) {
  station.sip_port = 6000;
  EXPECT_EQ(Listen(kStation), 0);
  EXPECT_THAT(StackCommands(), ElementsAre("Call 1/0 sip:hark-talk@10.0.0.5:5062"));
}

TEST_F(SipCall, DialledIsTheAddressOrElseTheWholeText) {
  struct Row {
    const char* url;
    const char* dialled;
  };
  for (const Row& row : {Row{"hark:studio-a.local", "sip:hark-talk@studio-a.local:5062"},
                         {"hark:10.0.0.5;trgl=2;label=x", "sip:hark-talk@10.0.0.5:5062"},
                         {"\"Studio\" <hark:10.0.0.5>;trgl=2", "sip:hark-talk@10.0.0.5:5062"},
                         {"hark:x", "sip:hark-talk@x:5062"},
                         {"hark:", "hark:"},
                         {"*hark:10.0.0.5", "*hark:10.0.0.5"},
                         {"sip:hark-talk@10.0.0.5", "sip:hark-talk@10.0.0.5"},
                         {"sip:hark-listen@10.0.0.5;trgl=2", "sip:hark-listen@10.0.0.5;trgl=2"}}) {
    SCOPED_TRACE(row.url);
    EXPECT_EQ(Listen(row.url), 0);
    EXPECT_THAT(StackCommands(), ElementsAre(std::string("Call 1/0 ") + row.dialled));
    EXPECT_EQ(listen_lines[0].url, row.url);
    InitializeLineTable(listen_lines);
  }
}

TEST_F(SipCall, LongAddressIsDialledWhole) {
  const std::string address(1500, 'a');
  EXPECT_EQ(Listen("hark:" + address), 0);
  EXPECT_THAT(StackCommands(), ElementsAre("Call 1/0 sip:hark-talk@" + address + ":5062"));
}

TEST_F(SipCall, TriggerLevelIsThatOfTheUrl) {
  struct Row {
    const char* tags;
    int level;
  };
  for (const Row& row : {Row{"", 3}, {";trgl=1", 0}, {";trgl=10", 9}, {";trgl=0", 3}, {";trgl=-2", 3}}) {
    SCOPED_TRACE(row.tags);
    EXPECT_EQ(Listen(std::string(kStation) + row.tags), 0);
    EXPECT_EQ(listen_lines[0].trgl, row.level);
    EXPECT_EQ(listen_lines[0].trgl_compare, row.level);
    InitializeLineTable(listen_lines);
  }
}

TEST_F(SipCall, CallThatIsNotTakenUpFailsSilently) {
  fake_stack.call = Outcome::kNothing;
  EXPECT_EQ(Modify(kStation, kWishConnect, kWishConnect), -1);
  EXPECT_THAT(StackCommands(), ElementsAre("Call 1/0 sip:hark-talk@10.0.0.5:5062"));
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(SipCall, CallThatEndsAtOnceFailsAndIsReportedOff) {
  fake_stack.call = Outcome::kIdle;
  EXPECT_EQ(Modify(kStation, kWishConnect, kWishConnect), -1);
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_TRUE(talk_lines[0].url.empty());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
}

// Whoever hears that the call is off may try again before the failed attempt has returned; the second call is
// its own.
void try_again(const char* url, char listen, char talk) {
  note_report(url, listen, talk);
  if (listen != kLineOff) return;
  fake_stack.call = Outcome::kAccepted;
  EXPECT_EQ(sipctrl_modifycall(url, kWishConnect, kNoWish), 0);
}

TEST_F(SipCall, FailedCallDoesNotTakeDownTheOneThatItsListenerBegan) {
  fake_stack.call = Outcome::kIdle;
  sipctrl_modifycall_callback = try_again;
  EXPECT_EQ(Listen(kStation), -1);
  EXPECT_EQ(listen_lines[0].url, kStation);
  EXPECT_EQ(listen_lines[0].state, kLineCalling);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
}

TEST_F(SipCall, FullListenTableFailsBeforeTheTalkIsTried) {
  for (int i = 0; i < kListenLines; ++i)
    ASSERT_EQ(Listen("hark:10.0.1." + std::to_string(i)), 0);
  (void)StackCommands();
  EXPECT_EQ(Modify(kStation, kWishConnect, kWishConnect), -1);
  EXPECT_THAT(StackCommands(), IsEmpty());
  EXPECT_TRUE(talk_lines[0].url.empty());
}

TEST_F(SipCall, FullTalkTableFailsBehindTheListen) {
  for (int i = 0; i < kTalkLines; ++i)
    ASSERT_EQ(Talk("hark:10.0.1." + std::to_string(i)), 0);
  (void)StackCommands();
  EXPECT_EQ(Modify(kStation, kWishConnect, kWishConnect), -1);
  EXPECT_THAT(StackCommands(), ElementsAre("Call 1/0 sip:hark-talk@10.0.0.5:5062"));
}

TEST_F(SipCall, WishForARingingStationAnswersIt) {
  for (const int kind : {kListenKind, kTalkKind}) {
    line_ring(kind, 4, "Studio", "sip:hark-talk@10.0.0.5");
    (void)StackCommands();
    Forget();
    EXPECT_EQ(Modify("hark:10.0.0.5;trgl=2", kind == kListenKind ? kWishConnect : kNoWish,
                     kind == kTalkKind ? kWishConnect : kNoWish),
              0);
    EXPECT_THAT(StackCommands(), ElementsAre("Answer " + std::to_string(kind) + "/4"));
    EXPECT_EQ(Line(kind, 4).state, kLineRequest);  // until the stack reports it connected
    EXPECT_EQ(Line(kind, 4).trgl, 1);
    EXPECT_EQ(Line(kind, 4).trgl_compare, 1);
    EXPECT_THAT(Reports(), IsEmpty());
  }
}

TEST_F(SipCall, WishForACallThatStandsClearsItsDropAndTakesItsLevel) {
  for (const char state : {kLineCalling, kLineFarRinging, kLineConnected}) {
    SCOPED_TRACE(state);
    HarkLine& line = Put(kListenKind, 0, kStation, state);
    line.drop_pending = true;
    EXPECT_EQ(Listen("hark:10.0.0.5;trgl=7"), 0);
    EXPECT_FALSE(line.drop_pending);
    EXPECT_EQ(line.trgl, 6);
    EXPECT_EQ(line.trgl_compare, 6);
    EXPECT_EQ(line.state, state);
  }
  EXPECT_THAT(StackCommands(), IsEmpty());
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(SipCall, WishForAFarDroppedStationCallsItAfresh) {
  Put(kListenKind, 2, kStation, kLineFarDropped).drop_pending = true;
  EXPECT_EQ(Listen(kStation), 0);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
  EXPECT_THAT(StackCommands(), ElementsAre("Call 1/0 sip:hark-talk@10.0.0.5:5062"));
  EXPECT_TRUE(listen_lines[2].url.empty());
}

TEST_F(SipCall, WishToDropHangsUpAfterItsDelay) {
  Put(kListenKind, 1, kStation, kLineConnected);
  Put(kTalkKind, 9, kStation, kLineFarRinging);
  EXPECT_EQ(Modify(kStation, kWishDrop, kWishDrop), 0);
  PassAfterMs(400);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages"));
  PassAfterMs(1);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages", "Drop 1/1", "Drop 2/9"));
  // Hung up once; the line goes when the far end has answered.
  PassAfterMs(5000);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages"));
  EXPECT_EQ(listen_lines[1].state, kLineConnected);
  Idle(kListenKind, 1);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#2 src_id=\"\", gain=0"));
}

TEST_F(SipCall, CallingLineIsHungUpOnlyWhenTheFarEndReacts) {
  EXPECT_EQ(Listen(kStation), 0);
  EXPECT_EQ(DropListen(kStation), 0);
  (void)StackCommands();
  PassAfterMs(60'000);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages"));
  Ringing(kListenKind, 0);
  PassAfterMs(0);
  EXPECT_THAT(StackCommands(), ElementsAre("ProcessMessages", "Drop 1/0"));
}

TEST_F(SipCall, LifeOfAKeyPress) {
  EXPECT_EQ(Listen(kStation), 0);
  Ringing(kListenKind, 0);
  Connected(kListenKind, 0, "10.0.0.5:5004");
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:r", "hark:10.0.0.5 L:1"));
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"10.0.0.5:5004\", gain=0"));
  EXPECT_EQ(DropListen(kStation), 0);
  PassAfterMs(401);
  EXPECT_EQ(StackCommands().back(), "Drop 1/0");
  Idle(kListenKind, 0);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"\", gain=0"));
}

TEST_F(SipCall, RoutingCallOnlySeizesItsSipLine) {
  EXPECT_EQ(Modify(kSource, kWishConnect, kWishConnect), 0);
  EXPECT_THAT(StackCommands(), ElementsAre("Seize 1/0", "Seize 2/0"));
}

TEST_F(SipCall, RoutingCallFailsWhenItsSipLineIsNotSeized) {
  fake_stack.seize = Outcome::kNothing;
  EXPECT_EQ(Modify(kSource, kWishConnect, kWishConnect), -1);
  EXPECT_THAT(StackCommands(), ElementsAre("Seize 1/0"));
  EXPECT_TRUE(listen_lines[0].url.empty());
  EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(SipCall, AnswerOfARoutingSourceLeavesTheSipLineAlone) {
  Remote(kListenKind, kSource, kWishConnect);
  (void)StackCommands();
  EXPECT_EQ(Listen(kSource), 0);
  EXPECT_THAT(StackCommands(), IsEmpty());
}

TEST_F(SipCall, FarContactThatEndsItHangsUp) {
  Remote(kListenKind, kSource, kWishConnect);
  Remote(kTalkKind, kSource, kWishConnect);
  (void)StackCommands();
  Remote(kListenKind, kSource, kWishDrop);
  Remote(kTalkKind, kSource, kWishDrop);
  EXPECT_THAT(StackCommands(), ElementsAre("Drop 1/0", "Drop 2/0"));
  EXPECT_EQ(listen_lines[0].state, kLineFarDropped);
  EXPECT_EQ(talk_lines[0].state, kLineRequest);
}

TEST_F(SipCall, StalledCallsAreFreedAndThenHungUp) {
  Put(kTalkKind, 3, kStation, kLineConnected);
  Put(kTalkKind, 4, kOtherStation, kLineConnected);
  Put(kTalkKind, 5, kStation, kLineOff);
  line_ring(kTalkKind, 0, "", "sip:hark-listen@10.0.0.5");
  EXPECT_THAT(StackCommands(), ElementsAre("Drop 2/3"));
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:0", "hark:10.0.0.5 T:R"));
}

}  // namespace
}  // namespace hark

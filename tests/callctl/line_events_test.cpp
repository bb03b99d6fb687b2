// What each event of the SIP stack makes of its line: the letter, the mixer's text, the contact, and the
// report.
#include "callctl/line_events.h"

#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Events = ISipStackUAEvents;

class LineEvents : public CallTest {};

TEST_F(LineEvents, StackGetsTenSlotsOfThirteen) {
  const Events::Slots slots = line_events().slots;
  EXPECT_NE(slots.ServiceError, nullptr);
  EXPECT_EQ(slots.ServiceCreate, nullptr);
  EXPECT_NE(slots.ServiceDestroy, nullptr);
  EXPECT_EQ(slots.LineRing, nullptr);
  EXPECT_NE(slots.LineConnected, nullptr);
  EXPECT_NE(slots.LineRing2, nullptr);
  EXPECT_NE(slots.FarEndRinging, nullptr);
  EXPECT_NE(slots.FarEndDrop, nullptr);
  EXPECT_NE(slots.LocalDrop, nullptr);
  EXPECT_NE(slots.LineSeized, nullptr);
  EXPECT_NE(slots.LineState, nullptr);
  EXPECT_NE(slots.LineError, nullptr);
  EXPECT_EQ(slots.Codecs, nullptr);
}

TEST_F(LineEvents, ConnectedListenLineGetsItsInput) {
  HarkLine& line = Put(kListenKind, 3, kStation, kLineCalling);
  line.volume = -15;
  Connected(kListenKind, 3, "10.0.0.5:5004");
  EXPECT_EQ(line.state, kLineConnected);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#4 src_id=\"10.0.0.5:5004\", gain=-15"));
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:1"));
  EXPECT_THAT(Inputs(), IsEmpty());
}

TEST_F(LineEvents, ConnectedListenLineClosesItsContact) {
  HarkLine& line = Put(kListenKind, 0, kStation, kLineCalling);
  line.gpio = 2;
  line.gpiol = 4;
  line.gpiot = 5;
  Connected(kListenKind, 0);
  EXPECT_THAT(Inputs(), ElementsAre("GPI 3 xxxLx\r\n"));
}

TEST_F(LineEvents, ConnectedTalkLineNeedsNoMixerCommand) {
  HarkLine& line = Put(kTalkKind, 100, kStation, kLineFarRinging);
  Connected(kTalkKind, 100);
  EXPECT_EQ(line.state, kLineConnected);
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:1"));
}

TEST_F(LineEvents, ConnectedTalkLineReleasesTheFarDroppedListen) {
  Put(kListenKind, 2, kStation, kLineFarDropped);
  Put(kTalkKind, 0, kStation, kLineFarRinging);
  Connected(kTalkKind, 0);
  EXPECT_TRUE(listen_lines[2].url.empty());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0", "hark:10.0.0.5 L:0 T:1"));
}

TEST_F(LineEvents, FarEndRingingIsReportedOnItsSide) {
  Put(kListenKind, 0, kStation, kLineCalling);
  Put(kTalkKind, 0, kStation, kLineCalling);
  Ringing(kListenKind, 0);
  EXPECT_EQ(listen_lines[0].state, kLineFarRinging);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:r"));
  Ringing(kTalkKind, 0);
  EXPECT_EQ(talk_lines[0].state, kLineFarRinging);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:r"));
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(LineEvents, SeizureSetsTheLetterAndNothingElse) {
  for (const int kind : {kListenKind, kTalkKind}) {
    HarkLine& line = Put(kind, 0, kSource, kLineFree);
    Stack().NotifyLineSeized(static_cast<unsigned>(kind), 0);
    EXPECT_EQ(line.state, kLineSeized);
  }
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(LineEvents, CallingSetsTheLetterAndNothingElse) {
  for (const int kind : {kListenKind, kTalkKind}) {
    HarkLine& line = Put(kind, 0, kStation, kLineFree);
    Calling(kind, 0);
    EXPECT_EQ(line.state, kLineCalling);
  }
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(LineEvents, OtherStatesOfTheSipLineChangeNothing) {
  for (const int kind : {kListenKind, kTalkKind}) {
    HarkLine& line = Put(kind, 0, kStation, kLineConnected);
    for (const Events::ESipLineState state :
         {Events::STATE_RINGING, Events::STATE_SEIZED, Events::STATE_CONNECTED, Events::STATE_CANCELING,
          Events::STATE_DISCONNECTING}) {
      Stack().NotifyLineState(static_cast<unsigned>(kind), 0, state);
      EXPECT_EQ(line.state, kLineConnected) << state;
    }
  }
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(LineEvents, LocalDropAndErrorsChangeNothing) {
  HarkLine& line = Put(kListenKind, 0, kStation, kLineConnected);
  Stack().NotifyLocalDrop(kListenKind, 0);
  Stack().NotifyLocalDrop(kTalkKind, 5);  // of a line that is free
  Stack().NotifyLineError(kListenKind, 0, 404, "Call failed");
  Stack().NotifyServiceError(kListenKind, 10, "Service failed!");
  EXPECT_EQ(line.state, kLineConnected);
  EXPECT_THAT(Reports(), IsEmpty());
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(LineEvents, FarDropOfAListenLineIsShown) {
  HarkLine& line = Put(kListenKind, 1, kStation, kLineConnected);
  clock.AdvanceMs(50);
  FarDrop(kListenKind, 1);
  EXPECT_EQ(line.state, kLineFarDropped);
  EXPECT_TRUE(line.drop_pending);
  EXPECT_EQ(line.drop_time, clock.Now());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:d"));
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(LineEvents, FarDropOfATalkLineChangesNothingUntilItIsIdle) {
  HarkLine& line = Put(kTalkKind, 1, kStation, kLineConnected);
  FarDrop(kTalkKind, 1);
  EXPECT_EQ(line.state, kLineConnected);
  EXPECT_FALSE(line.drop_pending);
  EXPECT_THAT(Reports(), IsEmpty());
  Idle(kTalkKind, 1);
  EXPECT_TRUE(line.url.empty());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:0"));
}

TEST_F(LineEvents, IdleListenLineLosesItsInputAndIsFreed) {
  HarkLine& line = Put(kListenKind, 4, kStation, kLineConnected);
  line.gpio = 1;
  line.gpiol = 2;
  Idle(kListenKind, 4);
  EXPECT_TRUE(line.url.empty());
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#5 src_id=\"\", gain=0"));
  EXPECT_THAT(Inputs(), ElementsAre("GPI 2 xHxxx\r\n"));
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
}

TEST_F(LineEvents, IdleTalkLineOpensItsContactAndIsFreed) {
  HarkLine& line = Put(kTalkKind, 4, kSource, kLineConnected);
  line.gpio = 1;
  line.gpiol = 2;
  line.gpiot = 3;
  Idle(kTalkKind, 4);
  EXPECT_TRUE(line.url.empty());
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_THAT(Inputs(), ElementsAre("GPI 2 xxHxx\r\n"));
  EXPECT_THAT(Reports(), ElementsAre("quillnet:239.192.0.7 T:0"));
}

TEST_F(LineEvents, IdleListenLineInItsFlashStaysUntilTheFlashIsOver) {
  HarkLine& line = Put(kListenKind, 0, kStation, kLineConnected);
  FarDrop(kListenKind, 0);
  Forget();
  Idle(kListenKind, 0);
  EXPECT_EQ(line.state, kLineFarDropped);
  EXPECT_EQ(line.url, kStation);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"\", gain=0"));
  EXPECT_THAT(Reports(), IsEmpty());
  PassAfterMs(5000);
  EXPECT_THAT(Reports(), IsEmpty());
  PassAfterUs(1);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
  EXPECT_TRUE(line.url.empty());
}

TEST_F(LineEvents, IdleFarDroppedLineWithoutAFlashIsFreed) {
  Put(kListenKind, 0, kStation, kLineFarDropped);
  Idle(kListenKind, 0);
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0"));
}

TEST_F(LineEvents, IdleLineWithAPendingDropInAnyOtherStateIsFreed) {
  for (const int kind : {kListenKind, kTalkKind}) {
    Put(kind, 0, kStation, kLineConnected).drop_pending = true;
    Idle(kind, 0);
    EXPECT_TRUE(Line(kind, 0).url.empty());
  }
}

TEST_F(LineEvents, IdleLineLetsTheOthersUpAgain) {
  Put(kListenKind, 0, kStation, kLineConnected).trgl = 3;
  HarkLine& low = Put(kListenKind, 1, kOtherStation, kLineConnected);
  low.trgl = low.trgl_compare = 0;
  low.ifb_gain = kMutedGain;
  Idle(kListenKind, 0);
  EXPECT_EQ(low.ifb_gain, 0);
  EXPECT_THAT(MixerLines(),
              ElementsAre("set hark#1.sub#1.in#1 src_id=\"\", gain=0", "set hark#1.sub#1.in#2 gain=0"));
}

TEST_F(LineEvents, EndOfTheListenServiceFreesItsLines) {
  HarkLine& first = Put(kListenKind, 0, kStation, kLineConnected);
  first.gpio = 1;
  first.gpiol = 1;
  Put(kListenKind, 3, kOtherStation, kLineFarDropped);
  Put(kListenKind, 5, kSource, kLineOff);
  Put(kTalkKind, 0, kStation, kLineConnected);
  Stack().NotifyServiceDestroy(kListenKind);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"\", gain=0",
                                        "set hark#1.sub#1.in#4 src_id=\"\", gain=0"));
  EXPECT_THAT(Inputs(), ElementsAre("GPI 2 Hxxxx\r\n"));
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 L:0", "hark:10.0.0.6 L:0"));
  EXPECT_EQ(listen_lines[5].url, kSource);  // it was off already
  EXPECT_EQ(talk_lines[0].url, kStation);
}

TEST_F(LineEvents, EndOfTheTalkServiceFreesItsLines) {
  Put(kTalkKind, 0, kStation, kLineConnected);
  Put(kTalkKind, 127, kOtherStation, kLineFarRinging);
  Put(kListenKind, 0, kStation, kLineConnected);
  Stack().NotifyServiceDestroy(kTalkKind);
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_THAT(Reports(), ElementsAre("hark:10.0.0.5 T:0", "hark:10.0.0.6 T:0"));
  EXPECT_EQ(listen_lines[0].url, kStation);
}

TEST_F(LineEvents, EndOfAnIdleOrUnknownServiceDoesNothing) {
  Put(kListenKind, 0, kStation, kLineConnected).ifb_gain = kMutedGain;
  for (const unsigned kind : {2u, 0u, 3u})
    Stack().NotifyServiceDestroy(kind);
  EXPECT_THAT(MixerLines(), IsEmpty());
  EXPECT_THAT(Reports(), IsEmpty());
}

// Nothing that is told of a line that no call uses, or of one that does not exist, may report or break
// anything.
TEST_F(LineEvents, EventsOfFreeAndUnknownLinesAreHarmless) {
  struct Row {
    unsigned kind;
    unsigned i;
  };
  for (const Row& row : {Row{1, 0},
                         {2, 0},
                         {1, 8},
                         {2, 128},
                         {1, 127},
                         {0, 0},
                         {3, 0},
                         {4294967295u, 4294967295u},
                         {1, 4294967295u},
                         {2, 2147483648u}}) {
    SCOPED_TRACE(std::to_string(row.kind) + "/" + std::to_string(row.i));
    Stack().NotifyLineConnected(row.kind, row.i, "", "", "", "");
    Stack().NotifyFarEndRinging(row.kind, row.i);
    Stack().NotifyFarEndDrop(row.kind, row.i);
    Stack().NotifyLocalDrop(row.kind, row.i);
    Stack().NotifyLineSeized(row.kind, row.i);
    for (const unsigned state : {3u, 1u, 2u, 4u, 5u, 6u, 7u, 1000u, 4294967295u, 0u}) {
      Stack().NotifyLineState(row.kind, row.i, static_cast<Events::ESipLineState>(state));
    }
    Stack().NotifyLineError(row.kind, row.i, 50, "Line is idle");
    Stack().NotifyLineRing2(row.kind, row.i, nullptr);
    for (const std::string& report : Reports())
      EXPECT_EQ(report, "");
  }
  for (const HarkLine& line : listen_lines)
    EXPECT_TRUE(line.url.empty());
  for (const HarkLine& line : talk_lines)
    EXPECT_TRUE(line.url.empty());
}

}  // namespace
}  // namespace hark

// One line of a service: what each command does in each state that a line without a protocol stack can be in,
// and receivers that call back from inside an event.
#include "sipua/SipLine.h"

#include "sipua/stack_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = ISipStackUAEvents::ESipLineState;

class SipLineTest : public StackTest {
 protected:
  SipLineTest() { StartServices(); }
};

TEST_F(SipLineTest, IdleLineIsSeizedWithItsOwnEventOnly) {
  Stack().Seize(1, 3);
  EXPECT_THAT(Events(), ElementsAre("LineSeized 1/3"));
}

TEST_F(SipLineTest, SeizedLineIsNotSeizedAgain) {
  Stack().Seize(1, 3);
  (void)Events();
  Stack().Seize(1, 3);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/3 50 Line not idle"));
  Stack().Drop(1, 3);  // and is as seized as before
  EXPECT_THAT(Events(), ElementsAre("LineState 1/3 0"));
}

TEST_F(SipLineTest, DropOfASeizedLineIsReportedAsIdleAndNotAsALocalDrop) {
  Stack().Seize(2, 1);
  (void)Events();
  Stack().Drop(2, 1);
  EXPECT_THAT(Events(), ElementsAre("LineState 2/1 0"));
  Stack().Seize(2, 1);
  EXPECT_THAT(Events(), ElementsAre("LineSeized 2/1"));
}

TEST_F(SipLineTest, DropOfAnIdleLineIsRefused) {
  Stack().Drop(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 50 Line is idle"));
}

TEST_F(SipLineTest, AnswerIsRefusedWhereNothingRings) {
  Stack().Answer(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 50 Line not ringing"));
  Stack().Seize(1, 0);
  (void)Events();
  Stack().Answer(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 50 Line not ringing"));
}

TEST_F(SipLineTest, CallFromIdleIsTriedAndEndsIdle) {
  Stack().Call(1, 0, "sip:hark-talk@10.0.0.1:5062");
  EXPECT_THAT(Events(),
              ElementsAre("LineState 1/0 3", "LineError 1/0 54 Invite could not be sent", "LineState 1/0 0"));
  Stack().Seize(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineSeized 1/0"));
}

TEST_F(SipLineTest, CallFromSeizedIsTriedAndEndsIdle) {
  Stack().Seize(1, 0);
  (void)Events();
  Stack().Call(1, 0, "sip:hark-talk@10.0.0.1:5062");
  EXPECT_THAT(Events(),
              ElementsAre("LineState 1/0 3", "LineError 1/0 54 Invite could not be sent", "LineState 1/0 0"));
  Stack().Drop(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 50 Line is idle"));
}

TEST_F(SipLineTest, LinesAndServicesAreApart) {
  Stack().Seize(1, 0);
  Stack().Seize(1, 1);
  Stack().Seize(2, 0);
  EXPECT_THAT(Events(), ElementsAre("LineSeized 1/0", "LineSeized 1/1", "LineSeized 2/0"));
  Stack().Drop(1, 1);
  EXPECT_THAT(Events(), ElementsAre("LineState 1/1 0"));
}

TEST_F(SipLineTest, RefusedCommandsReturnOneAsWell) {
  const auto service = SipServiceUA::Create(Stack(), 1, [] {
    SipServiceConfig config;
    config.lines = 1;
    return config;
  }());
  SipLine& line = *service->GetLineByIndex(0);
  EXPECT_EQ(line.OnAnswer(), 1);
  EXPECT_EQ(line.OnDrop(), 1);
  EXPECT_EQ(line.OnSeize(), 1);
  EXPECT_EQ(line.OnSeize(), 1);
  EXPECT_EQ(line.OnDrop(), 1);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 50 Line not ringing", "LineError 1/0 50 Line is idle",
                                    "LineSeized 1/0", "LineError 1/0 50 Line not idle", "LineState 1/0 0"));
}

class SipLineCallback : public SipLineTest {};

TEST_F(SipLineCallback, LineIsInItsNewStateWhenItReports) {
  table_.slots.LineSeized = [](unsigned service, unsigned line) {
    events_seen.emplace_back("seized");
    Stack().Drop(service, line);
  };
  Stack().Seize(1, 0);
  EXPECT_THAT(Events(), ElementsAre("seized", "LineState 1/0 0"));
  Stack().Drop(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 50 Line is idle"));
}

TEST_F(SipLineCallback, IdleLineMayBeTakenAgainFromInsideItsReport) {
  Stack().Seize(1, 0);
  (void)Events();
  table_.slots.LineState = [](unsigned service, unsigned line, State state) {
    if (state == ISipStackUAEvents::STATE_IDLE) Stack().Seize(service, line);
  };
  Stack().Drop(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineSeized 1/0"));
  Stack().Seize(1, 0);
  EXPECT_THAT(Events(), ElementsAre("LineError 1/0 50 Line not idle"));
}

TEST_F(SipLineCallback, ServiceMayBeDestroyedFromInsideTheReportOfASeizure) {
  table_.slots.LineSeized = [](unsigned service, unsigned /*line*/) { Stack().ServiceDestroy(service); };
  Stack().Seize(1, 0);
  EXPECT_THAT(Events(), ElementsAre("ServiceDestroy 1"));
}

TEST_F(SipLineCallback, ServiceMayBeDestroyedFromInsideARefusal) {
  table_.slots.LineError = [](unsigned service, unsigned, unsigned, const char*) {
    Stack().ServiceDestroy(service);
  };
  Stack().Drop(1, 0);
  EXPECT_THAT(Events(), ElementsAre("ServiceDestroy 1"));
}

TEST_F(SipLineCallback, ServiceMayBeDestroyedFromInsideTheReportOfTheIdleState) {
  Stack().Seize(1, 0);
  (void)Events();
  table_.slots.LineState = [](unsigned service, unsigned, State) { Stack().ServiceDestroy(service); };
  Stack().Drop(1, 0);
  EXPECT_THAT(Events(), ElementsAre("ServiceDestroy 1"));
}

TEST_F(SipLineCallback, ServiceMayBeDestroyedFromInsideACall) {
  table_.slots.LineState = [](unsigned service, unsigned, State state) {
    if (state == ISipStackUAEvents::STATE_CALLING) Stack().ServiceDestroy(service);
  };
  Stack().Call(1, 0, "sip:hark-talk@10.0.0.1:5062");
  EXPECT_EQ(Events().front(), "ServiceDestroy 1");
}

}  // namespace
}  // namespace hark

// The timers of a line: the watch of a call that rings, and the end of one that nobody answers.
#include <limits>

#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kNoResponse = "LineError 1/0 51 No response on disconnect";

class SipLineTimers : public LineTest {};

TEST_F(SipLineTimers, UnansweredDropEndsAfterFiveSeconds) {
  log_states = true;
  for (const State state : {CALLING, CONNECTED}) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    Bring(state);
    Stack().Drop(1, 0);
    (void)Log();
    AdvanceMs(4990);
    EXPECT_THAT(Log(), IsEmpty());
    AdvanceMs(10);
    EXPECT_THAT(Log(), ElementsAre(std::string("IDLE: ") + kNoResponse, "IDLE: LineState 1/0 0"));
  }
}

TEST_F(SipLineTimers, EndOfADropIsToldOnce) {
  Bring(DISCONNECTING);
  AdvanceMs(5000);
  (void)Log();
  Bring(CONNECTED);
  AdvanceMs(60'000);
  EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(SipLineTimers, AnsweredDropHasNoLateEnd) {
  struct Row {
    State state;
    unsigned code;
    cpsip_method method;
  };
  for (const Row& row :
       {Row{CANCELING, 487, cpsip_method::invite}, Row{CANCELING, 200, cpsip_method::cancel},
        Row{DISCONNECTING, 200, cpsip_method::bye}, Row{DISCONNECTING, 481, cpsip_method::bye}}) {
    SCOPED_TRACE(row.code);
    Bring(row.state);
    (void)Receive(make_response(row.code, row.method));
    Bring(CONNECTED);
    AdvanceMs(60'000);
    EXPECT_THAT(Log(), IsEmpty());
    ForceIdle();
  }
}

TEST_F(SipLineTimers, IgnoredAnswerLeavesTheEndOfTheDropWhereItIs) {
  Bring(CANCELING);
  (void)Receive(make_response(200));
  AdvanceMs(5000);
  EXPECT_THAT(Log(), ElementsAre(kNoResponse, "LineState 1/0 0"));
}

TEST_F(SipLineTimers, DropsOfASeizedOrRingingLineHaveNoLateEnd) {
  for (const State state : {SEIZED, RINGING}) {
    Bring(state);
    Stack().Drop(1, 0);
    Bring(CONNECTED);
    AdvanceMs(60'000);
    EXPECT_THAT(Log(), IsEmpty());
    ForceIdle();
  }
}

// Kept: the end of an earlier drop ends the next call too, if it is quick enough.
TEST_F(SipLineTimers, FarEndsByeOrAStatusDoesNotStopTheEndOfADrop) {
  struct Row {
    const char* name;
    cpsip_msg_ptr (*make)();
  };
  const Row rows[] = {
      {"BYE", [] { return make_request(cpsip_method::bye); }},
      {"CANCEL", [] { return make_request(cpsip_method::cancel); }},
      {"timeout", [] { return make_status(kStatusTimerF, cpsip_method::bye); }},
      {"INVITE timeout", [] { return make_status(kStatusTimerB); }},
      {"stuck", [] { return make_status(kStatusClearStuckDialog); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Bring(DISCONNECTING);
    (void)Receive(row.make());
    ASSERT_EQ(LineState(), IDLE);
    Bring(CONNECTED);
    AdvanceMs(4990);
    EXPECT_THAT(Log(), IsEmpty());
    AdvanceMs(10);
    EXPECT_THAT(Log(), ElementsAre(kNoResponse, "LineState 1/0 0"));
    EXPECT_EQ(LineState(), IDLE);
  }
}

TEST_F(SipLineTimers, EndOfADropEndsWhateverIsNotIdle) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    Bring(state);
    Line().OnTimer(TIMER_DISCONNECT, nullptr);
    const Strings expected{kNoResponse, "LineState 1/0 0"};
    EXPECT_EQ(Log(), state == IDLE ? Strings{} : expected);
    EXPECT_EQ(LineState(), IDLE);
    ForceIdle();
  }
}

TEST_F(SipLineTimers, LineCountsFromItsLastDrop) {
  Bring(DISCONNECTING);
  (void)Receive(make_request(cpsip_method::bye));
  AdvanceMs(3000);
  Bring(DISCONNECTING);
  AdvanceMs(4990);
  EXPECT_THAT(Log(), IsEmpty());
  AdvanceMs(10);
  EXPECT_THAT(Log(), ElementsAre(kNoResponse, "LineState 1/0 0"));
}

TEST_F(SipLineTimers, CallThatRingsForThirtyTwoSecondsIsDroppedByACancel) {
  Bring(CALLING);
  (void)Receive(make_response(180));
  AdvanceMs(31'990);
  EXPECT_THAT(Log(), IsEmpty());
  AdvanceMs(10);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 5", "send CANCEL s1 0#1 d1", "LocalDrop 1/0"));
  EXPECT_EQ(LineState(), CANCELING);
  AdvanceMs(5000);
  EXPECT_THAT(Log(), ElementsAre(kNoResponse, "LineState 1/0 0"));
}

TEST_F(SipLineTimers, EachRingingStartsTheWatchAnew) {
  Bring(CALLING);
  (void)Receive(make_response(180));
  AdvanceMs(20'000);
  (void)Receive(make_response(180));
  AdvanceMs(31'990);
  EXPECT_EQ(LineState(), CALLING);
  AdvanceMs(10);
  EXPECT_EQ(LineState(), CANCELING);
}

TEST_F(SipLineTimers, AnswerToAPrackStartsTheWatchAnewAndOtherAnswersDoNot) {
  for (const cpsip_method method : {cpsip_method::prack, cpsip_method::options, cpsip_method::update}) {
    SCOPED_TRACE(SipMsg::GetMethodText(method));
    Bring(CALLING);
    (void)Receive(make_response(180));
    AdvanceMs(20'000);
    (void)Receive(make_response(200, method));
    AdvanceMs(31'990);
    EXPECT_EQ(LineState(), CALLING);
    AdvanceMs(10);
    EXPECT_EQ(LineState(), method == cpsip_method::prack ? CANCELING : CALLING);
    ForceIdle();
  }
}

TEST_F(SipLineTimers, SessionProgressAfterTheRingingStopsTheWatchForGood) {
  Bring(CALLING);
  (void)Receive(make_response(180));
  (void)Receive(make_response(183));
  AdvanceMs(600'000);
  EXPECT_THAT(Log(), IsEmpty());
  EXPECT_EQ(LineState(), CALLING);
}

TEST_F(SipLineTimers, CallThatNeverRingsIsNotWatched) {
  Bring(CALLING);
  AdvanceMs(600'000);
  EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(SipLineTimers, ConnectedCallIsNotWatched) {
  Bring(CALLING);
  (void)Receive(make_response(180));
  (void)Receive(make_response(200));
  AdvanceMs(600'000);
  EXPECT_THAT(Log(), IsEmpty());
  EXPECT_EQ(LineState(), CONNECTED);
}

TEST_F(SipLineTimers, WatchThatExpiresDropsWhateverIsNotIdle) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    Bring(state);
    Line().OnTimer(TIMER_PROGRESS, nullptr);
    const State after[] = {IDLE, IDLE, IDLE, CANCELING, DISCONNECTING, CANCELING, DISCONNECTING};
    EXPECT_EQ(LineState(), after[state]);
    const Strings log = Log();
    EXPECT_EQ(log.empty(), state == IDLE || state == CANCELING || state == DISCONNECTING);
    ForceIdle();
  }
}

TEST_F(SipLineTimers, WatchOfADroppedCallFindsAnIdleLine) {
  Bring(CALLING);
  (void)Receive(make_response(180));
  Stack().Drop(1, 0);
  (void)Log();
  AdvanceMs(5000);
  EXPECT_THAT(Log(), ElementsAre(kNoResponse, "LineState 1/0 0"));
  AdvanceMs(600'000);
  EXPECT_THAT(Log(), IsEmpty());
}

// Kept: nothing but a message stops the watch.
TEST_F(SipLineTimers, WatchOfADroppedCallDropsTheNextOne) {
  Bring(CALLING);
  (void)Receive(make_response(180));
  Stack().Drop(1, 0);
  AdvanceMs(5000);
  ASSERT_EQ(LineState(), IDLE);
  Bring(CALLING);
  AdvanceMs(26'990);
  EXPECT_EQ(LineState(), CALLING);
  AdvanceMs(10);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 5", "send CANCEL s1 0#2 d2", "LocalDrop 1/0"));
}

TEST_F(SipLineTimers, LateResponseOfAnEarlierCallDoesNotStopTheWatch) {
  Bring(CALLING);
  FakeDialog& old = Dialog();
  ForceIdle();
  Bring(CALLING);
  (void)Receive(make_response(180));
  AdvanceMs(16'000);
  FakeStack::Deliver(old, make_response(487));
  AdvanceMs(16'000);
  EXPECT_EQ(LineState(), CANCELING);
}

TEST_F(SipLineTimers, WrapOfTheTickCounterMovesNoTimer) {
  for (const std::int32_t start : {std::numeric_limits<std::int32_t>::max() - 100, -100}) {
    SCOPED_TRACE(start);
    ticks_.Set(start);
    (void)Pump();
    Bring(CALLING);
    (void)Receive(make_response(180));
    AdvanceMs(31'990);
    EXPECT_EQ(LineState(), CALLING);
    AdvanceMs(10);
    EXPECT_EQ(LineState(), CANCELING);
    AdvanceMs(4990);
    EXPECT_EQ(LineState(), CANCELING);
    AdvanceMs(10);
    EXPECT_EQ(LineState(), IDLE);
  }
}

TEST_F(SipLineTimers, TimersOfLinesAreApart) {
  Bring(DISCONNECTING);
  AdvanceMs(2000);
  Stack().Call(1, 1, kFarUri);
  Stack().Drop(1, 1);
  (void)Log();
  AdvanceMs(3000);
  EXPECT_THAT(Log(), ElementsAre(kNoResponse, "LineState 1/0 0"));
  AdvanceMs(2000);
  EXPECT_THAT(Log(), ElementsAre("LineError 1/1 51 No response on disconnect", "LineState 1/1 0"));
}

TEST_F(SipLineTimers, OtherIdsAreIgnored) {
  for (const unsigned long id : {5UL, 6UL, 4294967295UL}) {
    Bring(CONNECTED);
    Line().OnTimer(id, nullptr);
    SipLine::OnTimerCallback(&Line(), id, nullptr);
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(LineState(), CONNECTED);
    ForceIdle();
  }
}

TEST_F(SipLineTimers, TrampolineIsTheLinesTimer) {
  Bring(CONNECTED);
  SipLine::OnTimerCallback(&Line(), TIMER_DISCONNECT, nullptr);
  EXPECT_THAT(Log(), ElementsAre(kNoResponse, "LineState 1/0 0"));
}

}  // namespace
}  // namespace hark::test

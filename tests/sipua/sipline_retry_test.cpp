// The retries of a line, a facility that nothing starts: their rounds, and what each of them does.
#include <ostream>

#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::IsEmpty;

struct RetryRow {
  std::uint32_t id;
  State state;
  const char* round;  // what is sent in each but the last
  Strings last;

  friend std::ostream& operator<<(std::ostream& out, const RetryRow& row) { return out << row.id; }
};

class SipLineRetry : public LineTest, public ::testing::WithParamInterface<RetryRow> {
 protected:
  // In single ticks, each with a pass, so that everything is as punctual as it can be.
  void Run(std::uint32_t ms) {
    for (std::uint32_t at = 0; at < ms; at += TestTicks::MsPerTick()) {
      ticks_.Advance(1);
      (void)Pump();
    }
  }
};

TEST_P(SipLineRetry, RunsElevenRoundsOfGrowingIntervals) {
  Bring(GetParam().state);
  TimerInfo info{.nTimerId = GetParam().id, .nCount = 7, .nInterval = 1, .bFinal = true};
  Line().InitTimer(info);
  EXPECT_EQ(info.nCount, 0U);
  EXPECT_EQ(info.nInterval, 500U);
  EXPECT_FALSE(info.bFinal);
  std::uint32_t now = 0;
  std::uint32_t count = 0;
  for (const std::uint32_t due : {500, 1500, 3500, 7500, 11500, 15500, 19500, 23500, 27500, 31500}) {
    SCOPED_TRACE(due);
    EXPECT_EQ(info.nInterval, due - now);
    Run(due - now - TestTicks::MsPerTick());
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(info.nCount, count);
    Run(TestTicks::MsPerTick());
    EXPECT_EQ(info.nCount, ++count);
    const Strings sent = GetParam().round != nullptr ? Strings{GetParam().round} : Strings{};
    EXPECT_EQ(Log(), sent);
    EXPECT_EQ(info.bFinal, count == 10);
    now = due;
  }
  Run(4000 - TestTicks::MsPerTick());
  EXPECT_THAT(Log(), IsEmpty());
  EXPECT_EQ(LineState(), GetParam().state);
  log_states = true;
  Run(TestTicks::MsPerTick());
  EXPECT_EQ(Log(), GetParam().last);
  Run(60'000);
  EXPECT_THAT(Log(), IsEmpty());
}

TEST_P(SipLineRetry, EndsWhenItIsKilled) {
  Bring(GetParam().state);
  TimerInfo info{.nTimerId = GetParam().id};
  Line().InitTimer(info);
  Run(500);
  EXPECT_EQ(info.nCount, 1U);
  Line().KillTimer(info);
  Run(60'000);
  EXPECT_EQ(info.nCount, 1U);
}

TEST_P(SipLineRetry, UpdateOfAFinalOneEndsIt) {
  Bring(GetParam().state);
  TimerInfo info{.nTimerId = GetParam().id};
  Line().InitTimer(info);
  info.bFinal = true;
  Line().UpdateTimer(info);
  EXPECT_EQ(info.nCount, 0U);
  EXPECT_EQ(info.nInterval, 500U);
  Run(60'000);
  EXPECT_THAT(Log(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    OfEachKind, SipLineRetry,
    ::testing::Values(RetryRow{TIMER_CALL_RETRY,
                               CALLING,
                               nullptr,
                               {"IDLE: LineError 1/0 51 Call failed", "IDLE: LineState 1/0 0"}},
                      RetryRow{
                          TIMER_CANCEL_RETRY, CALLING, "send CANCEL s1 0#1 d1", {"IDLE: LineState 1/0 0"}},
                      RetryRow{TIMER_BYE_RETRY, CONNECTED, "send BYE s1 0#1 d1", {"IDLE: LineState 1/0 0"}}),
    [](const auto& row) { return "Id" + std::to_string(row.param.id); });

}  // namespace
}  // namespace hark::test

// The clock of the timers: milliseconds of ticks, without a step where the counter wraps.
#include "sipua/Timer64.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <random>

#include "support/test_ticks.h"

namespace hark {
namespace {

constexpr std::int64_t kPeriod = std::int64_t{1} << 32;

class Timer64Test : public ::testing::Test {
 protected:
  Timer64Test() { Timer64::Reset(); }
  ~Timer64Test() override { Timer64::Reset(); }

  static unsigned long long MsOf(std::int64_t ticks) {
    const std::int64_t us_per_tick = 1'000'000 / ::sysconf(_SC_CLK_TCK);
    return static_cast<unsigned long long>(ticks * us_per_tick / 1000);
  }

  TestTicks ticks_;
  Timer64 clock_;
};

TEST_F(Timer64Test, StartsAtTheCounter) {
  EXPECT_EQ(Timer64::GetMsecCount(), 0ULL);
  ticks_.Set(12345);
  EXPECT_EQ(Timer64::GetMsecCount(), MsOf(12345));
}

TEST_F(Timer64Test, SecondOfTicksIs1000Ms) {
  ticks_.Advance(static_cast<std::uint32_t>(::sysconf(_SC_CLK_TCK)));
  EXPECT_EQ(Timer64::GetMsecCount(), 1000ULL);
}

TEST_F(Timer64Test, StandsWhileTheCounterStands) {
  ticks_.Set(77);
  EXPECT_EQ(Timer64::GetMsecCount(), Timer64::GetMsecCount());
}

TEST_F(Timer64Test, RisesTickByTickWhereTheCounterGoesNegative) {
  ticks_.Set(INT32_MAX - 3);
  for (std::int64_t ticks = std::int64_t{INT32_MAX} - 3; ticks <= std::int64_t{INT32_MAX} + 4; ++ticks) {
    EXPECT_EQ(Timer64::GetMsecCount(), MsOf(ticks)) << ticks;
    ticks_.Advance(1);
  }
}

TEST_F(Timer64Test, RisesTickByTickWhereTheCounterPassesFromMinusOneToZero) {
  ticks_.Set(-3);
  for (std::int64_t ticks = kPeriod - 3; ticks <= kPeriod + 3; ++ticks) {
    EXPECT_EQ(Timer64::GetMsecCount(), MsOf(ticks)) << ticks;
    ticks_.Advance(1);
  }
}

TEST_F(Timer64Test, CounterThatIsNegativeAtTheFirstReadingIsInItsSecondHalf) {
  ticks_.Set(INT32_MIN);
  EXPECT_EQ(Timer64::GetMsecCount(), MsOf(kPeriod / 2));
  Timer64::Reset();
  ticks_.Set(-1);
  EXPECT_EQ(Timer64::GetMsecCount(), MsOf(kPeriod - 1));
}

TEST_F(Timer64Test, WrapsAddUp) {
  for (std::int64_t halves = 0; halves < 12; ++halves) {
    EXPECT_EQ(Timer64::GetMsecCount(), MsOf(halves * (kPeriod / 2))) << halves;
    ticks_.Advance(std::uint32_t{1} << 31);
  }
}

TEST_F(Timer64Test, RunsOnInStepsOfUpToHalfAPeriod) {
  std::mt19937 random(6);
  std::int64_t sum = 0;
  for (int i = 0; i < 2000; ++i) {
    const std::uint32_t step = random() >> (1 + random() % 31);
    sum += step;
    ticks_.Advance(step);
    ASSERT_EQ(Timer64::GetMsecCount(), MsOf(sum)) << "step " << i << " of " << step;
  }
}

TEST_F(Timer64Test, WholePeriodWithoutAReadingIsLostButNoTimeRunsBackwards) {
  ticks_.Set(500);
  EXPECT_EQ(Timer64::GetMsecCount(), MsOf(500));
  ticks_.Advance(0x80000000U);
  ticks_.Advance(0x80000001U);
  EXPECT_EQ(Timer64::GetMsecCount(), MsOf(501));
}

TEST_F(Timer64Test, AllInstancesAreOneClock) {
  ticks_.Set(-1);
  EXPECT_EQ(Timer64::GetMsecCount(), MsOf(kPeriod - 1));
  const Timer64 another;
  ticks_.Set(0);
  EXPECT_EQ(another.GetMsecCount(), MsOf(kPeriod));
  EXPECT_EQ(clock_.GetMsecCount(), MsOf(kPeriod));
}

TEST_F(Timer64Test, ResetForgetsWrapsAndTheLastReading) {
  ticks_.Set(-1);
  (void)Timer64::GetMsecCount();
  ticks_.Set(3);
  (void)Timer64::GetMsecCount();
  Timer64::Reset();
  ticks_.Set(2);
  EXPECT_EQ(Timer64::GetMsecCount(), MsOf(2));
}

TEST_F(Timer64Test, CounterIsReadOncePerReading) {
  for (unsigned i = 1; i <= 3; ++i) {
    (void)Timer64::GetMsecCount();
    EXPECT_EQ(TestTicks::Reads(), i);
  }
}

}  // namespace
}  // namespace hark

// The time as the control layer sees it: it follows its source forwards, and a step backwards never shows.
// And the tick counter, which is its source's with nothing added.
#include "base/clock.h"

#include <gtest/gtest.h>

#include <sys/time.h>
#include <sys/times.h>

#include <cstdint>

#include "support/test_ticks.h"

namespace hark {
namespace {

TimeUs g_source = 0;

class Clock : public ::testing::Test {
 protected:
  Clock() {
    SourceSays(1'000'000'000);
    clock_set_source([] { return g_source; });
  }
  ~Clock() override { clock_set_source(nullptr); }

  static void SourceSays(TimeUs us) { g_source = us; }
};

TEST_F(Clock, GivesWhatTheSourceSays) {
  EXPECT_EQ(clock_now(), 1'000'000'000);
  SourceSays(1'000'000'001);
  EXPECT_EQ(clock_now(), 1'000'000'001);
}

TEST_F(Clock, StandsWhileTheSourceStands) {
  EXPECT_EQ(clock_now(), clock_now());
  EXPECT_EQ(clock_now(), 1'000'000'000);
}

TEST_F(Clock, StepForwardsIsSeenWhole) {
  (void)clock_now();
  SourceSays(1'000'000'000 + 3600 * kUsPerSecond);
  EXPECT_EQ(clock_now(), 1'000'000'000 + 3600 * kUsPerSecond);
}

TEST_F(Clock, StepBackwardsIsAbsorbed) {
  const TimeUs before = clock_now();
  SourceSays(before - 3600 * kUsPerSecond);
  EXPECT_EQ(clock_now(), before);
}

TEST_F(Clock, RunsOnFromAStepBackwardsWithoutWaitingForTheOldTime) {
  const TimeUs before = clock_now();
  SourceSays(before - 3600 * kUsPerSecond);
  (void)clock_now();
  SourceSays(before - 3600 * kUsPerSecond + 250 * kUsPerMs);
  EXPECT_EQ(clock_now(), before + 250 * kUsPerMs);
}

TEST_F(Clock, SeveralStepsBackwardsAddUp) {
  const TimeUs before = clock_now();
  TimeUs source = before;
  for (int step = 1; step <= 5; ++step) {
    SourceSays(source -= kUsPerSecond);
    (void)clock_now();
    SourceSays(source += 10);
    EXPECT_EQ(clock_now(), before + 10 * step);
  }
}

TEST_F(Clock, NeverRunsBackwardsWhateverTheSourceDoes) {
  TimeUs last = clock_now();
  unsigned random = 1;
  for (int i = 0; i < 1000; ++i) {
    random = random * 1103515245U + 12345U;
    SourceSays(static_cast<TimeUs>(random));
    const TimeUs now = clock_now();
    ASSERT_GE(now, last) << "reading " << i << ", source " << random;
    last = now;
  }
}

TEST_F(Clock, NewSourceForgetsTheAbsorbedStep) {
  (void)clock_now();
  SourceSays(500);
  (void)clock_now();
  clock_set_source([] { return g_source; });
  EXPECT_EQ(clock_now(), 500);
}

TEST_F(Clock, WithoutASourceItIsTheSystemsClock) {
  clock_set_source(nullptr);
  timeval before{};
  timeval after{};
  ASSERT_EQ(::gettimeofday(&before, nullptr), 0);
  const TimeUs now = clock_now();
  ASSERT_EQ(::gettimeofday(&after, nullptr), 0);
  EXPECT_GE(now, before.tv_sec * kUsPerSecond + before.tv_usec);
  EXPECT_LE(now, after.tv_sec * kUsPerSecond + after.tv_usec);
}

TEST(Ticks, AreWhatTheSourceSays) {
  TestTicks ticks;
  for (const std::int32_t value : {0, 1, INT32_MAX, INT32_MIN, -1, 5}) {
    ticks.Set(value);
    EXPECT_EQ(clock_ticks(), value);
  }
  EXPECT_EQ(TestTicks::Reads(), 6U);
}

TEST(Ticks, WrapWithTheirSource) {
  TestTicks ticks(INT32_MAX);
  ticks.Advance(1);
  EXPECT_EQ(clock_ticks(), INT32_MIN);
  ticks.Advance(0x80000000U);
  EXPECT_EQ(clock_ticks(), 0);
}

TEST_F(Clock, TicksTakeNoNoteOfItsSteps) {
  const TestTicks ticks(100);
  SourceSays(500);
  (void)clock_now();
  EXPECT_EQ(clock_ticks(), 100);
}

// The low 32 bits; the difference is taken as it wraps.
TEST(Ticks, WithoutASourceAreThoseOfTheProcess) {
  { const TestTicks ticks(-77); }
  tms unused{};
  const auto before = static_cast<std::uint32_t>(::times(&unused));
  const auto now = static_cast<std::uint32_t>(clock_ticks());
  const auto after = static_cast<std::uint32_t>(::times(&unused));
  EXPECT_LE(now - before, after - before);
}

}  // namespace
}  // namespace hark

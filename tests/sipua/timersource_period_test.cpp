// How timers repeat: by which period, on which entries, when they are late; and long rounds of everything
// against a model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <utility>

#include "sipua/timer_fixture.h"
#include "support/timer_twins.h"

namespace hark {
namespace {

struct PeriodRow {
  unsigned delay;
  unsigned fresh;  // the period of a new entry
};
constexpr PeriodRow kPeriods[] = {{1, 1}, {4, 4}, {5, 5}, {6, 1}, {7, 2}, {10, 5}, {100, 95}, {1000, 995}};

// How often a timer of `delay`, the first of its source but for entries that were used, has fired when `ms`
// are over.
std::size_t times_fired(TestTicks& ticks, bool used_entry, unsigned delay, std::uint32_t ms) {
  std::size_t times = 0;
  ITimerTarget target{[](void* ctx, unsigned long, void*) { ++*static_cast<std::size_t*>(ctx); }, &times};
  TimerSource source;
  if (used_entry) (void)source.SetTimer(0, 2, &target, nullptr);
  source.CancelTimer(2, &target);
  (void)source.SetTimer(delay, 1, &target, nullptr);
  ticks.AdvanceMs(ms);
  for (std::size_t before = times + 1; before != times && times < 100'000;) {
    before = times;
    source.DispatchTimerEvents();
  }
  return times;
}

TEST_F(TimerSourceTest, PeriodAbove5IsShortenedBy5OnANewEntry) {
  for (const auto& [delay, period] : kPeriods) {
    SCOPED_TRACE(delay);
    const std::uint32_t ms = (delay + 1000 * period + 9) / 10 * 10;
    EXPECT_EQ(times_fired(ticks_, false, delay, ms), (ms - delay) / period + 1);
  }
}

TEST_F(TimerSourceTest, PeriodIsAsToldOnAnEntryThatIsUsedAgain) {
  for (const auto& [delay, shortened] : kPeriods) {
    SCOPED_TRACE(delay);
    const std::uint32_t ms = (delay + 1000 * delay + 9) / 10 * 10;
    EXPECT_EQ(times_fired(ticks_, true, delay, ms), ms / delay);
  }
}

TEST_F(TimerSourceTest, FirstExpiryIsNeverShortened) {
  (void)a_.SetTimer(1, 100, nullptr);
  (void)a_.SetTimer(2, 105, nullptr);
  ticks_.AdvanceMs(100);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
}

TEST_F(TimerSourceTest, MovedTimerUsesItsOwnEntryAgainAndIsShortenedNoMore) {
  (void)a_.SetTimer(1, 100, nullptr);
  (void)a_.SetTimer(1, 100, nullptr);
  ticks_.AdvanceMs(2090);
  EXPECT_EQ(DispatchAll().size(), 20U);
}

TEST_F(TimerSourceTest, OnlyAsManyEntriesAreMadeAsRunAtOnce) {
  UseEntries(2);
  for (const unsigned long id : {1UL, 2UL, 3UL})
    (void)source_.SetTimer(100, id, &a_, nullptr);
  ticks_.AdvanceMs(1990);
  const Told told = DispatchAll();
  for (const auto& [name, times] : {std::pair{"a1", 19}, std::pair{"a2", 19}, std::pair{"a3", 20}})
    EXPECT_EQ(std::count(told.begin(), told.end(), name), times) << name;
}

TEST_F(TimerSourceTest, PeriodOfZeroFiresOnEveryCall) {
  (void)a_.SetTimer(1, 0, nullptr);
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(Dispatch(), Told{"a1"}) << i;
}

TEST_F(TimerSourceTest, LatenessDoesNotAddUp) {
  UseEntries(1);
  (void)a_.SetTimer(1, 100, nullptr);
  ticks_.AdvanceMs(190);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
  ticks_.AdvanceMs(10);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
}

TEST_F(TimerSourceTest, LateTimerFiresOncePerCallUntilItHasCaughtUp) {
  UseEntries(1);
  (void)a_.SetTimer(1, 100, nullptr);
  ticks_.AdvanceMs(350);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(Dispatch(), Told{"a1"}) << i;
  EXPECT_EQ(Dispatch(), Told{});
}

TEST_F(TimerSourceTest, RepeatedTimerGoesBehindThoseOfTheSameTime) {
  UseEntries(2);
  (void)a_.SetTimer(1, 100, nullptr);
  (void)b_.SetTimer(1, 200, nullptr);
  ticks_.AdvanceMs(200);
  EXPECT_EQ(DispatchAll(), (Told{"a1", "b1", "a1"}));
}

TEST_F(TimerSourceTest, DoesAsItsModelDoesWhateverIsSetAndCancelled) {
  std::mt19937 random(62);
  TimerTwins twins;
  for (int step = 0; step < 20'000; ++step) {
    SCOPED_TRACE(step);
    const std::size_t target = random() % TimerTwins::kTargets;
    const auto id = static_cast<std::uint32_t>(random() % 4);
    switch (random() % 8) {
      case 0:
        twins.Set(target, id, random() % 300,
                  static_cast<TimerTwins::Action>(random() % TimerTwins::kActions));
        break;
      case 1:
        twins.Cancel(target, id);
        break;
      case 2:
        twins.CancelOne(target);
        break;
      case 3:
        ticks_.AdvanceMs(random() % 100);
        break;
      default:
        ASSERT_EQ(twins.Dispatch(), "");
    }
  }
}

}  // namespace
}  // namespace hark

// Timers: when they fire and in which order, what ends them, and what their callbacks may do.
#include "sipua/TimerSource.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "sipua/timer_fixture.h"

namespace hark {
namespace {

TEST_F(TimerSourceTest, FiresWhenItIsDueAndNotBefore) {
  EXPECT_EQ(a_.SetTimer(7, 100, nullptr), 1);
  EXPECT_EQ(Dispatch(), Told{});
  ticks_.AdvanceMs(90);
  EXPECT_EQ(Dispatch(), Told{});
  ticks_.AdvanceMs(10);
  EXPECT_EQ(Dispatch(), Told{"a7"});
  EXPECT_EQ(Dispatch(), Told{});
}

TEST_F(TimerSourceTest, DelayOfZeroIsDueAtOnce) {
  (void)a_.SetTimer(1, 0, nullptr);
  EXPECT_EQ(Dispatch(), Told{"a1"});
}

TEST_F(TimerSourceTest, DataIsPassedBack) {
  std::string word = " ring";
  (void)a_.SetTimer(1, 0, &word);
  EXPECT_EQ(Dispatch(), Told{"a1 ring"});
}

TEST_F(TimerSourceTest, EmptySourceDoesNotReadTheClock) {
  EXPECT_EQ(Dispatch(), Told{});
  EXPECT_EQ(TestTicks::Reads(), 0U);
}

TEST_F(TimerSourceTest, TimersFireByDueTimeHoweverTheyWereSet) {
  for (const unsigned delay : {30U, 10U, 50U, 20U, 40U})
    (void)a_.SetTimer(delay, delay, nullptr);
  for (unsigned due = 10; due <= 50; due += 10)
    (void)b_.SetTimer(due, due + 5, nullptr);
  ticks_.AdvanceMs(20);
  EXPECT_EQ(Dispatch(), Told{"a10"});
  EXPECT_EQ(Dispatch(), (Told{"b10"}));
}

TEST_F(TimerSourceTest, TwoThatAreDueTogetherFireAsTheyWereSetOnePerCall) {
  (void)b_.SetTimer(2, 100, nullptr);
  (void)a_.SetTimer(1, 100, nullptr);
  (void)b_.SetTimer(1, 100, nullptr);
  ticks_.AdvanceMs(100);
  EXPECT_EQ(Dispatch(), Told{"b2"});
  EXPECT_EQ(Dispatch(), Told{"a1"});
  EXPECT_EQ(Dispatch(), Told{"b1"});
  EXPECT_EQ(Dispatch(), Told{});
}

TEST_F(TimerSourceTest, SettingARunningTimerMovesIt) {
  (void)a_.SetTimer(1, 100, nullptr);
  ticks_.AdvanceMs(50);
  std::string word = " moved";
  (void)a_.SetTimer(1, 200, &word);
  ticks_.AdvanceMs(190);
  EXPECT_EQ(DispatchAll(), Told{});
  ticks_.AdvanceMs(10);
  EXPECT_EQ(DispatchAll(), Told{"a1 moved"});
  a_.CancelTimer(1);
  ticks_.AdvanceMs(10'000);
  EXPECT_EQ(DispatchAll(), Told{}) << "there was a second one";
}

TEST_F(TimerSourceTest, IdsOfTwoTargetsAreTwoTimers) {
  (void)a_.SetTimer(1, 100, nullptr);
  (void)b_.SetTimer(1, 100, nullptr);
  a_.CancelTimer(1);
  a_.CancelTimer(2);
  ticks_.AdvanceMs(100);
  EXPECT_EQ(DispatchAll(), Told{"b1"});
}

TEST_F(TimerSourceTest, IdsAreComparedAsTheyAreHandedBack) {
  constexpr unsigned long kBeyond = (1UL << 32) + 5;
  EXPECT_EQ(source_.SetTimer(0, kBeyond, &a_, nullptr), 1);
  EXPECT_EQ(source_.SetTimer(0, kBeyond, &a_, nullptr), 1);
  EXPECT_EQ(Dispatch(), Told{"a5"});
  a_.CancelTimer(5);
  EXPECT_EQ(Dispatch(), Told{});
}

TEST_F(TimerSourceTest, RunsOnWhereTheCounterGoesNegative) {
  ticks_.Set(INT32_MAX);
  (void)a_.SetTimer(1, 100, nullptr);
  ticks_.AdvanceMs(90);
  EXPECT_EQ(DispatchAll(), Told{});
  ticks_.AdvanceMs(10);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
}

TEST_F(TimerSourceTest, CancelAllTimersEndsTheFirstOfThemOnly) {
  (void)a_.SetTimer(1, 200, nullptr);
  (void)a_.SetTimer(2, 100, nullptr);
  (void)b_.SetTimer(1, 50, nullptr);
  source_.CancelAllTimers(&a_);
  ticks_.AdvanceMs(200);
  b_.CancelTimer(1);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
  source_.CancelAllTimers(&a_);
  source_.CancelAllTimers(&a_);
  ticks_.AdvanceMs(1000);
  EXPECT_EQ(DispatchAll(), Told{});
}

TEST_F(TimerSourceTest, TimerWithoutATargetTellsNobody) {
  (void)source_.SetTimer(10, 1, nullptr, nullptr);
  (void)a_.SetTimer(1, 20, nullptr);
  ticks_.AdvanceMs(20);
  source_.CancelTimer(1, &b_);
  EXPECT_EQ(Dispatch(), Told{}) << "it takes its call";
  while (Dispatch().empty()) {
    ASSERT_LT(TestTicks::Reads(), 20U);
  }
  EXPECT_EQ(told_, Told{"a1"});
}

TEST_F(TimerSourceTest, TargetWithoutACallbackIsToldNothing) {
  ITimerTarget target;
  (void)source_.SetTimer(0, 1, &target, nullptr);
  EXPECT_EQ(Dispatch(), Told{});
}

TEST_F(TimerSourceTest, ClientWithoutASourceHasNoTimers) {
  Client alone("x", nullptr, told_);
  EXPECT_EQ(alone.SetTimer(1, 0, nullptr), 0);
  alone.CancelTimer(1);
  EXPECT_EQ(Dispatch(), Told{});
}

TEST_F(TimerSourceTest, ClientTakesItsTimerAlong) {
  {
    Client short_lived("x", &source_, told_);
    (void)short_lived.SetTimer(1, 0, nullptr);
  }
  EXPECT_EQ(Dispatch(), Told{});
}

TEST_F(TimerSourceTest, TimerThatCancelsItselfIsASingleShot) {
  (void)a_.SetTimer(1, 100, nullptr);
  a_.on_timer = [this] { a_.CancelTimer(1); };
  ticks_.AdvanceMs(5000);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
}

TEST_F(TimerSourceTest, TimerThatSetsItselfAnewCountsFromNow) {
  (void)a_.SetTimer(1, 100, nullptr);
  a_.on_timer = [this] { (void)a_.SetTimer(1, 50, nullptr); };
  ticks_.AdvanceMs(500);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
  ticks_.AdvanceMs(40);
  EXPECT_EQ(DispatchAll(), Told{});
  ticks_.AdvanceMs(10);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
}

TEST_F(TimerSourceTest, TimerThatCancelsTheNextKeepsItFromFiring) {
  (void)a_.SetTimer(1, 100, nullptr);
  (void)b_.SetTimer(1, 100, nullptr);
  a_.on_timer = [this] { b_.CancelTimer(1); };
  ticks_.AdvanceMs(110);
  EXPECT_EQ(DispatchAll(), Told{"a1"});
}

TEST_F(TimerSourceTest, CallbackMayEndItsClient) {
  auto client = std::make_unique<Client>("x", &source_, told_);
  (void)client->SetTimer(1, 100, nullptr);
  client->on_timer = [&client] { client.reset(); };
  ticks_.AdvanceMs(5000);
  EXPECT_EQ(DispatchAll(), Told{"x1"});
}

TEST_F(TimerSourceTest, CallbackMayEndTheSource) {
  Client alone("x", nullptr, told_);
  TimerSource* source = new TimerSource;
  alone.on_timer = [source] { delete source; };
  (void)source->SetTimer(0, 1, &alone, nullptr);
  (void)source->SetTimer(0, 2, &alone, nullptr);
  source->DispatchTimerEvents();
  EXPECT_EQ(told_, Told{"x1"});
}

}  // namespace
}  // namespace hark

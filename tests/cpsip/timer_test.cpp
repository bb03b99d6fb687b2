// The stack's timer list on a clock that only the test moves: when timers fire, in which order, and what
// their callbacks may do.
#include "cpsip/cpsip_timer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "base/clock.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TimeUs g_time = 0;
int g_readings = 0;

class StackTimer : public ::testing::Test {
 protected:
  StackTimer() {
    g_time = 1'000 * kUsPerSecond;
    clock_set_source([] {
      ++g_readings;
      return g_time;
    });
    cpsip_timer_reset();
    fired.clear();
    on_fired = nullptr;
  }
  ~StackTimer() override {
    cpsip_timer_reset();
    clock_set_source(nullptr);
  }

  static void Record(void* /*context*/, std::uint32_t id, std::uint32_t /*delay*/) {
    fired.push_back(id);
    if (on_fired) on_fired(id);
  }
  static cpsip_timer_handle Start(std::uint32_t id, std::uint32_t delay) {
    return Cpsip_starttimer(nullptr, id, delay, Record);
  }
  static void AdvanceMs(TimeUs ms) { g_time += ms * kUsPerMs; }
  // The ids that fire at one tick.
  static std::vector<std::uint32_t> Tick() {
    fired.clear();
    CPSIP_TimerTick();
    return fired;
  }
  static std::vector<std::uint32_t> TickAfterMs(TimeUs ms) {
    AdvanceMs(ms);
    return Tick();
  }

  static std::vector<std::uint32_t> fired;
  static std::function<void(std::uint32_t)> on_fired;
};
std::vector<std::uint32_t> StackTimer::fired;
std::function<void(std::uint32_t)> StackTimer::on_fired;

TEST_F(StackTimer, ClockIsWholeSecondsAsMillisecondsIn32Bits) {
  struct Row {
    TimeUs time;
    std::uint32_t clock;
  };
  for (const Row& row : {Row{0, 0}, Row{999'999, 0}, Row{1'000'000, 1000}, Row{1'999'999, 1000},
                         Row{4'294'967 * kUsPerSecond, 4'294'967'000}, Row{4'294'968 * kUsPerSecond, 704},
                         Row{1'800'000'000 * kUsPerSecond, 408'702'976}}) {
    SCOPED_TRACE(row.time);
    clock_set_source(nullptr);  // forgets that time ran back
    g_time = row.time;
    clock_set_source([] { return g_time; });
    EXPECT_EQ(cpsip_clock(), row.clock);
  }
}

TEST_F(StackTimer, WithDelay0FiresAtTheNextTick) {
  (void)Start(1, 0);
  EXPECT_THAT(fired, IsEmpty()) << "not in the start";
  EXPECT_THAT(Tick(), ElementsAre(1));
}

TEST_F(StackTimer, FiresAtTheFirstTickWithTheDelayBehindIt) {
  struct Row {
    std::uint32_t delay;
    TimeUs before_ms, fires_ms;  // after a start at a whole second
  };
  for (const Row& row :
       {Row{1, 999, 1000}, Row{500, 999, 1000}, Row{1000, 999, 1000}, Row{1001, 1999, 2000},
        Row{5000, 4999, 5000}, Row{32'000, 31'999, 32'000}, Row{180'000, 179'999, 180'000}}) {
    SCOPED_TRACE(row.delay);
    (void)Start(1, row.delay);
    EXPECT_THAT(Tick(), IsEmpty());
    EXPECT_THAT(TickAfterMs(row.before_ms), IsEmpty());
    EXPECT_THAT(TickAfterMs(row.fires_ms - row.before_ms), ElementsAre(1));
  }
}

TEST_F(StackTimer, CountsInTheSecondsOfTheClock) {
  // Started late in a second, it has that second behind it.
  AdvanceMs(900);
  (void)Start(1, 500);
  EXPECT_THAT(TickAfterMs(99), IsEmpty());
  EXPECT_THAT(TickAfterMs(1), ElementsAre(1));
}

TEST_F(StackTimer, FiresOnce) {
  (void)Start(1, 1000);
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(1));
  EXPECT_THAT(TickAfterMs(100'000), IsEmpty());
  EXPECT_EQ(cpsip_timer_count(), 0U);
}

TEST_F(StackTimer, CallbackGetsContextIdAndDelayAsAskedFor) {
  struct Got {
    int calls = 0;
    std::uint32_t id = 0, delay = 0;
  } got;
  (void)Cpsip_starttimer(&got, 0xFFFFFFFF, 1234, [](void* context, std::uint32_t id, std::uint32_t delay) {
    *static_cast<Got*>(context) = {1, id, delay};
  });
  AdvanceMs(10'000);
  CPSIP_TimerTick();
  EXPECT_EQ(got.calls, 1);
  EXPECT_EQ(got.id, 0xFFFFFFFFU);
  EXPECT_EQ(got.delay, 1234U);
}

TEST_F(StackTimer, SoonestFiresFirst) {
  (void)Start(3, 3000);
  (void)Start(1, 1000);
  (void)Start(4, 4000);
  (void)Start(2, 2000);
  EXPECT_THAT(TickAfterMs(2000), ElementsAre(1, 2));
  EXPECT_THAT(TickAfterMs(2000), ElementsAre(3, 4));
}

TEST_F(StackTimer, EqualDueFireInTheOrderOfStarting) {
  (void)Start(1, 2000);
  (void)Start(2, 2000);
  AdvanceMs(1000);
  (void)Start(3, 1000);
  (void)Start(4, 0);
  (void)Start(5, 1000);
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(4, 1, 2, 3, 5));
}

TEST_F(StackTimer, StoppedOneDoesNotFire) {
  (void)Start(1, 1000);
  cpsip_timer_handle handle = Start(2, 1000);
  (void)Start(3, 1000);
  Cpsip_stoptimer(handle);
  EXPECT_FALSE(handle) << "blanked";
  EXPECT_EQ(cpsip_timer_count(), 2U);
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(1, 3));
}

TEST_F(StackTimer, StopOfNoneIsHarmless) {
  cpsip_timer_handle none;
  EXPECT_FALSE(none);
  Cpsip_stoptimer(none);
  (void)Start(1, 0);
  Cpsip_stoptimer(none);
  EXPECT_THAT(Tick(), ElementsAre(1));
}

TEST_F(StackTimer, StopOfOneThatIsGoneIsHarmless) {
  cpsip_timer_handle fired_one = Start(1, 0);
  cpsip_timer_handle copy = fired_one;
  EXPECT_TRUE(fired_one);
  EXPECT_THAT(Tick(), ElementsAre(1));
  cpsip_timer_handle stopped = Start(2, 0);
  cpsip_timer_handle stopped_copy = stopped;
  Cpsip_stoptimer(stopped);
  (void)Start(3, 0);  // due at the same moment
  for (cpsip_timer_handle* const handle : {&fired_one, &copy, &stopped_copy}) {
    Cpsip_stoptimer(*handle);
    EXPECT_FALSE(*handle);
  }
  EXPECT_THAT(Tick(), ElementsAre(3));
}

TEST_F(StackTimer, NumbersAreNeverGivenTwice) {
  const cpsip_timer_handle first = Start(1, 0);
  const cpsip_timer_handle second = Start(2, 0);
  cpsip_timer_reset();
  const cpsip_timer_handle third = Start(3, 0);
  EXPECT_NE(first.number, second.number);
  EXPECT_NE(first.number, third.number);
  EXPECT_NE(second.number, third.number);
  cpsip_timer_handle forgotten = first;
  Cpsip_stoptimer(forgotten);
  EXPECT_THAT(Tick(), ElementsAre(3));
}

TEST_F(StackTimer, ResetForgetsAllWithoutACall) {
  (void)Start(1, 0);
  (void)Start(2, 5000);
  EXPECT_EQ(cpsip_timer_count(), 2U);
  cpsip_timer_reset();
  EXPECT_EQ(cpsip_timer_count(), 0U);
  EXPECT_THAT(TickAfterMs(10'000), IsEmpty());
}

TEST_F(StackTimer, StartedInACallbackCountsInThatTick) {
  (void)Start(1, 0);
  (void)Start(5, 0);
  on_fired = [](std::uint32_t id) {
    if (id == 1) (void)Start(2, 0);
    if (id == 2) (void)Start(3, 0);
    if (id == 3) (void)Start(4, 1000);
  };
  EXPECT_THAT(Tick(), ElementsAre(1, 5, 2, 3));
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(4));
}

TEST_F(StackTimer, CallbackMayStopOthers) {
  std::vector<cpsip_timer_handle> handles;
  for (std::uint32_t id = 0; id != 5; ++id)
    handles.push_back(Start(id, id * 1000));
  on_fired = [&](std::uint32_t id) {
    if (id != 1) return;
    Cpsip_stoptimer(handles[0]);  // has fired
    Cpsip_stoptimer(handles[2]);  // is due too
    Cpsip_stoptimer(handles[4]);
  };
  EXPECT_THAT(TickAfterMs(3000), ElementsAre(0, 1, 3));
  EXPECT_EQ(cpsip_timer_count(), 0U);
}

TEST_F(StackTimer, CallbackMayStopItselfAndStartAnew) {
  cpsip_timer_handle own = Start(1, 1000);
  on_fired = [&](std::uint32_t) {
    Cpsip_stoptimer(own);
    own = Start(1, 1000);
  };
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(1));
  EXPECT_TRUE(own);
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(1));
  Cpsip_stoptimer(own);
  EXPECT_THAT(TickAfterMs(1000), IsEmpty());
}

TEST_F(StackTimer, CallbackMayForgetAll) {
  (void)Start(1, 0);
  (void)Start(2, 0);
  on_fired = [](std::uint32_t id) {
    if (id != 1) return;
    cpsip_timer_reset();
    (void)Start(3, 0);
  };
  EXPECT_THAT(Tick(), ElementsAre(1, 3));
}

TEST_F(StackTimer, CallbackMayTick) {
  (void)Start(1, 0);
  (void)Start(2, 0);
  (void)Start(3, 0);
  on_fired = [](std::uint32_t id) {
    if (id == 1) CPSIP_TimerTick();
  };
  EXPECT_THAT(Tick(), ElementsAre(1, 2, 3));
}

TEST_F(StackTimer, TickReadsTheClockOnce) {
  (void)Start(1, 0);
  (void)Start(2, 1000);
  on_fired = [](std::uint32_t) { AdvanceMs(60'000); };
  g_readings = 0;
  EXPECT_THAT(Tick(), ElementsAre(1)) << "the second is due since the tick began";
  EXPECT_EQ(g_readings, 1);
  EXPECT_THAT(Tick(), ElementsAre(2));
}

TEST_F(StackTimer, DueIsComparedAsUnsigned) {
  g_time = 2'147'483 * kUsPerSecond;
  (void)Start(2, 2000);  // above 2^31
  (void)Start(1, 0);     // below
  EXPECT_THAT(Tick(), ElementsAre(1));
  EXPECT_THAT(TickAfterMs(2000), ElementsAre(2));
}

TEST_F(StackTimer, StartedJustBeforeTheClockWrapsIsDueAtOnce) {
  g_time = 4'294'967 * kUsPerSecond;
  const cpsip_timer_handle handle = Start(1, 1000);
  EXPECT_EQ(handle.due, 704U);
  EXPECT_THAT(Tick(), ElementsAre(1));
}

TEST_F(StackTimer, DueJustBeforeTheClockWrapsWaitsForTheNextRound) {
  g_time = 4'294'965 * kUsPerSecond;
  (void)Start(1, 1000);
  EXPECT_THAT(TickAfterMs(3000), IsEmpty());
  EXPECT_EQ(cpsip_clock(), 704U);
  (void)Start(2, 1000);
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(2));
  g_time = 8'589'933 * kUsPerSecond;
  EXPECT_THAT(Tick(), IsEmpty());
  EXPECT_THAT(TickAfterMs(1000), ElementsAre(1));
}

// A plain list, searched from its end, as the order of timers is told.
struct ModelTimer {
  std::uint32_t id, due;
  cpsip_timer_handle handle;
};

TEST_F(StackTimer, ManyFireAsAPlainListSays) {
  std::vector<ModelTimer> model;
  std::uint32_t seed = 7;
  const auto random = [&seed](std::uint32_t below) {
    seed = seed * 1664525 + 1013904223;
    return (seed >> 8U) % below;
  };
  for (std::uint32_t step = 0; step != 20'000; ++step) {
    const std::uint32_t what = random(10);
    if (what < 5) {
      const std::uint32_t delay = random(40) * 250;
      const ModelTimer timer{step, cpsip_clock() + delay, Start(step, delay)};
      auto at = model.end();
      while (at != model.begin() && std::prev(at)->due > timer.due)
        --at;
      model.insert(at, timer);
    } else if (what < 8 && !model.empty()) {
      const auto at = model.begin() + random(static_cast<std::uint32_t>(model.size()));
      Cpsip_stoptimer(at->handle);
      model.erase(at);
    } else {
      AdvanceMs(random(1500));
      std::vector<std::uint32_t> expected;
      while (!model.empty() && model.front().due <= cpsip_clock()) {
        expected.push_back(model.front().id);
        model.erase(model.begin());
      }
      ASSERT_EQ(Tick(), expected) << "step " << step;
    }
    ASSERT_EQ(cpsip_timer_count(), model.size()) << "step " << step;
  }
}

}  // namespace
}  // namespace hark::test

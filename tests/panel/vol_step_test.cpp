// The scale of a rotary, walked from beyond its quiet end to beyond its loud one: a level moves to a step of
// the scale, in the direction that it was turned, and by no more than it was turned.
#include "panel/vol_step.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace hark {
namespace {

constexpr int kFrom = -1200;
constexpr int kTo = 200;
constexpr int kDeltas[] = {-30, -10, -1, 0, 1, 10, 30};

// Every level that the scale has, the quietest first: 12 dB apart, then 9, 6 and 3, and 1 dB from -24 dB on.
const std::vector<int>& scale() {
  static const std::vector<int> steps = [] {
    std::vector<int> all{-840, -720, -630, -540, -480, -420, -360, -300, -270, -240};
    for (int level = -230; level <= 120; level += 10)
      all.push_back(level);
    return all;
  }();
  return steps;
}

// Where `level` is on the scale, -1 if it is no step of it.
int step_of(int level) {
  const auto found = std::find(scale().begin(), scale().end(), level);
  return found == scale().end() ? -1 : static_cast<int>(found - scale().begin());
}

// The nearest step at or above `level`, and at or below it; the ends of the scale beyond them.
int step_above(int level) {
  const auto found = std::lower_bound(scale().begin(), scale().end(), level);
  return found == scale().end() ? scale().back() : *found;
}
int step_below(int level) {
  const auto found = std::upper_bound(scale().begin(), scale().end(), level);
  return found == scale().begin() ? scale().front() : *(found - 1);
}

TEST(VolStep, EveryLevelMovesToTheStepThatItWasTurnedTo) {
  for (const int delta : kDeltas) {
    SCOPED_TRACE(delta);
    for (int current = kFrom; current <= kTo; ++current) {
      const int turned = current + delta;
      // The 1 dB steps below 0 dB are rounded towards 0 dB, in both directions.
      const bool upward = delta > 0 || (turned >= -239 && turned <= 0);
      EXPECT_EQ(vol_step(current, delta), upward ? step_above(turned) : step_below(turned)) << current;
    }
  }
}

TEST(VolStep, EveryResultIsAStepOfTheScale) {
  for (const int delta : kDeltas) {
    for (int current = kFrom; current <= kTo; ++current)
      EXPECT_GE(step_of(vol_step(current, delta)), 0) << current << " by " << delta;
  }
}

TEST(VolStep, LouderStaysLouder) {
  for (const int delta : kDeltas) {
    for (int current = kFrom; current < kTo; ++current)
      EXPECT_LE(vol_step(current, delta), vol_step(current + 1, delta)) << current << " by " << delta;
  }
}

TEST(VolStep, FurtherTurnedIsNeverLessFar) {
  for (int current = kFrom; current <= kTo; ++current) {
    for (std::size_t i = 1; i < std::size(kDeltas); ++i)
      EXPECT_LE(vol_step(current, kDeltas[i - 1]), vol_step(current, kDeltas[i])) << current;
  }
}

TEST(VolStep, OneClickIsOneStepUpToTheEnds) {
  const int last = static_cast<int>(scale().size()) - 1;
  for (int i = 0; i <= last; ++i) {
    SCOPED_TRACE(scale()[static_cast<std::size_t>(i)]);
    const int level = scale()[static_cast<std::size_t>(i)];
    EXPECT_EQ(step_of(vol_step(level, kRotaryClick)), std::min(i + 1, last));
    EXPECT_EQ(step_of(vol_step(level, -kRotaryClick)), std::max(i - 1, 0));
    EXPECT_EQ(vol_step(level, 0), level);
  }
}

TEST(VolStep, ThreeClicksAtOnceAreAtMostOneCoarseStep) {
  for (const int level : {-840, -720, -630, -540, -480, -420, -360, -300}) {
    SCOPED_TRACE(level);
    EXPECT_LE(step_of(vol_step(level, 30)) - step_of(level), 1);
    EXPECT_LE(step_of(level) - step_of(vol_step(level, -30)), 1);
  }
}

TEST(VolStep, WalkUpAndDownVisitsTheWholeScale) {
  std::vector<int> up{-840};
  while (up.size() < 200 && vol_step(up.back(), kRotaryClick) != up.back())
    up.push_back(vol_step(up.back(), kRotaryClick));
  EXPECT_EQ(up, scale());
  std::vector<int> down{120};
  while (down.size() < 200 && vol_step(down.back(), -kRotaryClick) != down.back())
    down.push_back(vol_step(down.back(), -kRotaryClick));
  std::reverse(down.begin(), down.end());
  EXPECT_EQ(down, scale());
}

TEST(VolStep, EndsAndSeams) {
  struct Row {
    int current;
    int delta;
    int expected;
  };
  for (const Row& row : {
           Row{-1000, 10, -840},  // from silence the scale begins at its quietest level
           Row{-1000, -10, -840}, Row{-840, -10, -840}, Row{-840, 10, -720},  Row{-849, 10, -720},
           Row{-850, 10, -840},   Row{-720, -10, -840}, Row{-720, 10, -630},  Row{-540, -10, -630},
           Row{-540, 10, -480},   Row{-300, -10, -360}, Row{-300, 10, -270},  Row{-240, -10, -270},
           Row{-240, 10, -230},   Row{-230, 10, -220},  Row{-230, -10, -240}, Row{-10, 10, 0},
           Row{0, 10, 10},        Row{0, -10, -10},     Row{110, 10, 120},    Row{120, 10, 120},
           Row{120, 1, 120},      Row{120, -10, 110},   Row{1000, -10, 120},
       }) {
    EXPECT_EQ(vol_step(row.current, row.delta), row.expected) << row.current << " by " << row.delta;
  }
  EXPECT_EQ(kQuietestVolume, scale().front());
  EXPECT_EQ(kLoudestVolume, scale().back());
}

}  // namespace
}  // namespace hark

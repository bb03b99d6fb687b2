// Who holds which key: a key is down from its first finger to its last.
#include "tools/harkpanel/holds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

namespace hark::panel_gateway {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr Signature kOne = sig("KL01");
constexpr Signature kTwo = sig("KT02");

TEST(Holds, KeyGoesDownByTheFirstFingerAndUpByTheLast) {
  Holds holds;
  EXPECT_TRUE(holds.press(kOne, 1));
  EXPECT_FALSE(holds.press(kOne, 2));
  EXPECT_FALSE(holds.press(kOne, 3));
  EXPECT_FALSE(holds.release(kOne, 1));
  EXPECT_FALSE(holds.release(kOne, 3));
  EXPECT_THAT(holds.down(), ElementsAre(kOne));
  EXPECT_TRUE(holds.release(kOne, 2));
  EXPECT_THAT(holds.down(), IsEmpty());
}

TEST(Holds, SecondPressOfTheSameBrowserNeedsNoSecondRelease) {
  Holds holds;
  EXPECT_TRUE(holds.press(kOne, 1));
  EXPECT_FALSE(holds.press(kOne, 1));
  EXPECT_TRUE(holds.release(kOne, 1));
  EXPECT_FALSE(holds.release(kOne, 1));
  EXPECT_THAT(holds.down(), IsEmpty());
}

TEST(Holds, WhoDoesNotHoldAKeyCannotLetItGo) {
  Holds holds;
  EXPECT_FALSE(holds.release(kOne, 1));
  EXPECT_TRUE(holds.press(kOne, 1));
  EXPECT_FALSE(holds.release(kOne, 2));
  EXPECT_FALSE(holds.release(kTwo, 1));
  EXPECT_THAT(holds.down(), ElementsAre(kOne));
  EXPECT_TRUE(holds.holds(kOne, 1));
  EXPECT_FALSE(holds.holds(kOne, 2));
  EXPECT_FALSE(holds.holds(kTwo, 1));
}

TEST(Holds, BrowserThatGoesLetsGoOfAllThatItHoldsAndOnlyUnheldKeysGoUp) {
  Holds holds;
  (void)holds.press(kOne, 1);
  (void)holds.press(kTwo, 1);
  (void)holds.press(kTwo, 2);
  EXPECT_TRUE(holds.any(1));
  const Holds::Released released = holds.release_all(1);
  EXPECT_THAT(released.up, ElementsAre(kOne));
  EXPECT_THAT(released.let_go, UnorderedElementsAre(kOne, kTwo));
  EXPECT_FALSE(holds.any(1));
  EXPECT_TRUE(holds.any(2));
  EXPECT_THAT(holds.down(), ElementsAre(kTwo));
}

TEST(Holds, BrowserThatHoldsNothingReleasesNothing) {
  Holds holds;
  (void)holds.press(kOne, 1);
  const Holds::Released released = holds.release_all(2);
  EXPECT_THAT(released.up, IsEmpty());
  EXPECT_THAT(released.let_go, IsEmpty());
  EXPECT_FALSE(holds.any(2));
  EXPECT_TRUE(holds.any(1));
}

TEST(Holds, AllAreLetGoOfAtOnce) {
  Holds holds;
  (void)holds.press(kOne, 1);
  (void)holds.press(kOne, 2);
  (void)holds.press(kTwo, 2);
  EXPECT_THAT(holds.clear(), UnorderedElementsAre(kOne, kTwo));
  EXPECT_THAT(holds.down(), IsEmpty());
  EXPECT_FALSE(holds.any(1));
  EXPECT_FALSE(holds.any(2));
  EXPECT_THAT(holds.clear(), IsEmpty());
  EXPECT_TRUE(holds.press(kOne, 2)) << "it is a new press";
}

TEST(Holds, AnyOrderOfPressesAndReleasesAgreesWithSetsOfFingers) {
  std::mt19937 random(7);
  Holds holds;
  std::map<Signature, std::set<BrowserId>> model;
  for (int step = 0; step < 20'000; ++step) {
    const Signature key = mksig(kListen00, 1 + static_cast<int>(random() % 3));
    const BrowserId browser = 1 + random() % 4;
    auto& fingers = model[key];
    if (random() % 2 == 0) {
      const bool first = fingers.empty();
      ASSERT_EQ(holds.press(key, browser), fingers.insert(browser).second && first);
    } else {
      const bool held = fingers.erase(browser) == 1;
      ASSERT_EQ(holds.release(key, browser), held && fingers.empty());
    }
    std::set<Signature> down;
    for (const auto& [pressed, by] : model)
      if (!by.empty()) down.insert(pressed);
    const std::vector<Signature> is_down = holds.down();
    ASSERT_EQ(std::set<Signature>(is_down.begin(), is_down.end()), down);
    ASSERT_EQ(is_down.size(), down.size());
  }
}

}  // namespace
}  // namespace hark::panel_gateway

// How long to wait before the station is dialled again.
#include "tools/harkpanel/back_off.h"

#include <gtest/gtest.h>

namespace hark::panel_gateway {
namespace {

TEST(BackOff, DoublesFromOneSecondToSixteenAndStaysThereForEver) {
  BackOff wait;
  for (const Ms expected : {1'000, 2'000, 4'000, 8'000, 16'000, 16'000, 16'000})
    EXPECT_EQ(wait.next(), expected);
  for (int attempt = 0; attempt < 100'000; ++attempt)
    ASSERT_EQ(wait.next(), 16'000);
}

TEST(BackOff, AnAnswerMakesTheNextWaitTheFirstAgain) {
  BackOff wait;
  for (int attempts : {0, 1, 3, 20}) {
    SCOPED_TRACE(attempts);
    for (int attempt = 0; attempt < attempts; ++attempt)
      (void)wait.next();
    wait.reset();
    EXPECT_EQ(wait.next(), 1'000);
    EXPECT_EQ(wait.next(), 2'000);
    wait.reset();
  }
}

}  // namespace
}  // namespace hark::panel_gateway

#include "sipua/reentry_fixture.h"

#include <algorithm>

namespace hark::test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

void ReentryTest::Restart(ReentryTest& test) {
  Stack().Finalize();
  ASSERT_EQ(Stack().Initialize(3, &test.table_), 1);
  Stack().ServiceCreate(1, Config(1, 2));
}

void ReentryTest::CheckQuiet() {
  const Strings log = Log();
  const auto done = std::find(log.begin(), log.end(), kDone);
  ASSERT_NE(done, log.end());
  EXPECT_THAT(Strings(done + 1, log.end()), IsEmpty()) << "from a service that has been ended";
}

void ReentryTest::CheckUsable() {
  ForceIdle();
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0"));
}

void ReentryTest::Check(const Action& action, bool quiet) {
  ASSERT_TRUE(ran_) << "the event did not come";
  on_event = nullptr;
  if (!action.ends_service) return CheckUsable();
  if (quiet) CheckQuiet();
  (void)Log();
  if (action.makes_service) {
    ASSERT_EQ(fake_.LiveServices().size(), 1U);
    EXPECT_EQ(Line().GetState(), IDLE);
    EXPECT_EQ(Line().GetAppDialogId(), 0);
  } else if (quiet) {
    EXPECT_THAT(fake_.LiveServices(), IsEmpty());
    EXPECT_EQ(Stack().GetServiceConfig(1), nullptr);
  }
  AdvanceMs(60'000);  // and no timer of before is heard of
  AdvanceMs(60'000);
  EXPECT_THAT(Log(), IsEmpty());
  if (action.makes_service) CheckUsable();
}

}  // namespace hark::test

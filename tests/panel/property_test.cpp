// Long random use of a station, the real one beside a model of it. What must hold: lines, parties and lamps
// agree on who is connected; whatever was switched on is switched off once all keys are up and all latches
// off; the call stack stays within its bounds; a saved channel file loads to what was saved; no lamp is told
// twice what it shows.
#include <gtest/gtest.h>

#include "panel/property_steps.h"

namespace hark {
namespace {

constexpr int kSteps = 3000;
constexpr int kManyGuests = 140;  // more than the call stack holds

class StationInRandomUse : public testing::TestWithParam<std::uint32_t> {
 protected:
  static Scenario OfSeed(std::uint32_t seed) {
    Scenario scenario;
    scenario.seed = seed;
    scenario.console_type = 1 + static_cast<int>(seed % 3);
    scenario.guests = seed % 10 == 0 ? kManyGuests : 6;
    scenario.careful_operator = seed % 2 == 0;
    return scenario;
  }
  static void Run(const Scenario& scenario) {
    SCOPED_TRACE("seed " + std::to_string(scenario.seed));
    RandomUse use(scenario);
    for (int step = 0; step < kSteps && !HasFailure(); ++step)
      use.Step();
    if (!HasFailure()) use.Finish();
    if (scenario.guests == kManyGuests) {
      EXPECT_EQ(use.bench().Reference().stack.size(), Callstack::kSize);
    }
  }
};

TEST_P(StationInRandomUse, AgreesWithItsModelAndEndsSilent) { Run(OfSeed(GetParam())); }

INSTANTIATE_TEST_SUITE_P(Seeds, StationInRandomUse, testing::Range<std::uint32_t>(1, 19));

using StationWithConfirmedContacts = StationInRandomUse;

// The answer to such a contact is a request once more until the far device confirms. It was answered again by
// its own report, without end.
TEST_P(StationWithConfirmedContacts, AgreesWithItsModelAndEndsSilent) {
  Scenario scenario = OfSeed(GetParam());
  scenario.confirmed_contacts = true;
  Run(scenario);
}

INSTANTIATE_TEST_SUITE_P(Seeds, StationWithConfirmedContacts, testing::Range<std::uint32_t>(101, 103));

}  // namespace
}  // namespace hark

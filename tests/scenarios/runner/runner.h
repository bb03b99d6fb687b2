// Runs a scenario: step by step, in virtual time. What comes out, and what the application is told, must be
// what the scenario says, in order and with nothing beside it; and once its steps are over and the time of
// every timer has passed, the stack must have nothing left.
#pragma once

#include <optional>

#include "scenarios/runner/scenario.h"

namespace hark::test {

// What went wrong first; none when all went as written.
[[nodiscard]] std::optional<Failure> RunScenario(const Scenario& scenario);

}  // namespace hark::test

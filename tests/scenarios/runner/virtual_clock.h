// Time, as a scenario moves it: the stack's clock and the tick counter of the lines' timers go together, from
// a point that the scenario may put just before either of them wraps.
#pragma once

#include "base/clock.h"
#include "scenarios/runner/words.h"
#include "support/test_ticks.h"

namespace hark::test {

class VirtualClock {
 public:
  // `start`: empty, "stack wraps in 3s", "ticks wrap in 3s" or "ticks turn negative in 3s".
  VirtualClock(const std::string& start, int line);
  ~VirtualClock();
  VirtualClock(const VirtualClock&) = delete;
  VirtualClock& operator=(const VirtualClock&) = delete;

  // Both clocks.
  void Move(Ms time);
  // What a set of the system's time does: the stack's clock alone. `time` may be negative.
  static void Set(Ms time);

 private:
  TestTicks ticks_;
};

}  // namespace hark::test

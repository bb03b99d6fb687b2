// A clock that stands until a test moves it, behind every time that the control layer reads.
#pragma once

#include "base/clock.h"

namespace hark {

class TestClock {
 public:
  TestClock();
  ~TestClock();
  TestClock(const TestClock&) = delete;
  TestClock& operator=(const TestClock&) = delete;

  void AdvanceMs(long ms) { AdvanceUs(ms * kUsPerMs); }
  void AdvanceUs(TimeUs us);
  [[nodiscard]] TimeUs Now() const { return clock_now(); }
};

}  // namespace hark

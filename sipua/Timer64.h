// The clock of the user agent's timers: milliseconds that never wrap and that no step of the system's clock
// touches, made of the process's tick counter (base/clock.h), which does wrap.
#pragma once

namespace hark {

// Without members of its own: all instances are one clock, which runs from the first that is made. Until then
// it stands at 0.
class Timer64 {
 public:
  Timer64();

  // The time now, in steps of a tick. Right if it is read at least once per half period of the counter (248
  // days at 100 ticks per second).
  [[nodiscard]] static unsigned long long GetMsecCount();

  // Forgets what was read, as at the start of the process. For tests.
  static void Reset();
};

}  // namespace hark

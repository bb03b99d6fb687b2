// The one seam through which the daemon learns the time. The main loop reads it once per pass and
// hands the value down; the few places that need a time of their own (a drop, a pulse) read it here too.
// Tests put a clock of their own behind it and move that instead of sleeping.
#pragma once

#include <cstdint>

namespace hark {

// A point in time: microseconds since the epoch of gettimeofday(2).
using TimeUs = std::int64_t;

inline constexpr TimeUs kUsPerMs = 1000;
inline constexpr TimeUs kUsPerSecond = 1'000'000;

// Where the time comes from: returns microseconds since the epoch.
using ClockSource = TimeUs (*)();

// The time now. It never runs backwards: when the system's clock is set back the step is absorbed, so that no
// timer stands still until the old time is reached again; when it is set forward the timers see the step.
TimeUs clock_now();

// Replaces the source of the time; null puts gettimeofday(2) back. Forgets any absorbed step. For tests.
void clock_set_source(ClockSource source);

// Where the process's tick counter comes from: returns the low 32 bits of times(2).
using TickSource = std::int32_t (*)();

// The tick counter now: the low 32 bits of times(2), which wrap. No step of the system's clock touches it.
std::int32_t clock_ticks();

// Replaces the source of the ticks; null puts times(2) back. For tests.
void clock_set_tick_source(TickSource source);

}  // namespace hark

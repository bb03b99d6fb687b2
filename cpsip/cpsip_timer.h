// The stack's one timer list. Its clock counts milliseconds in name and whole seconds in resolution.
#pragma once

#include <cstddef>
#include <cstdint>

namespace hark {

// The clock: whole seconds of the system's time, times 1000, in 32 bits.
//
// Kept: so a delay of 500 ms ends 0 to 1 second late, and the clock wraps after 49.7 days without a defence:
// what is started in the last seconds before it is due at once, and what was due in them waits for the next
// round. A station sees a retransmission too many; simple beats exact here.
[[nodiscard]] std::uint32_t cpsip_clock();

// A timer that was started, by number. 0: none. A number is never given twice.
struct cpsip_timer_handle {
  std::uint64_t number = 0;
  std::uint32_t due = 0;  // on cpsip_clock()

  [[nodiscard]] explicit operator bool() const { return number != 0; }
};

using cpsip_timer_callback = void (*)(void* context, std::uint32_t timer_id, std::uint32_t delay);

// Starts a timer that calls back once, with its context (borrowed), its id and `delay` (ms) as asked for, at
// the first tick that finds the clock at least `delay` further on.
[[nodiscard]] cpsip_timer_handle Cpsip_starttimer(void* context, std::uint32_t id, std::uint32_t delay,
                                                  cpsip_timer_callback callback);
// Stops it and blanks the handle. One that has fired, or none at all, is fine.
void Cpsip_stoptimer(cpsip_timer_handle& handle);

// Calls back for all timers that are due, the soonest first, equal ones in the order in which they were
// started; those that a callback starts count too. Reads the clock once. To be called in each pass of the
// main loop.
void CPSIP_TimerTick();

// Forgets all timers, without a call.
void cpsip_timer_reset();
// How many timers run.
[[nodiscard]] std::size_t cpsip_timer_count();

}  // namespace hark

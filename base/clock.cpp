#include "base/clock.h"

#include <sys/time.h>
#include <sys/times.h>

namespace hark {
namespace {

TimeUs time_of_day() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return TimeUs{tv.tv_sec} * kUsPerSecond + tv.tv_usec;
}

struct ClockState {
  ClockSource source = time_of_day;
  TimeUs last_reading = 0;  // what the source gave last
  TimeUs absorbed = 0;      // the sum of all steps backwards
};
ClockState g_clock;

std::int32_t ticks_of_process() {
  tms unused{};
  return static_cast<std::int32_t>(times(&unused));
}

TickSource g_ticks = ticks_of_process;

}  // namespace

TimeUs clock_now() {
  const TimeUs reading = g_clock.source();
  if (reading < g_clock.last_reading) g_clock.absorbed += g_clock.last_reading - reading;
  g_clock.last_reading = reading;
  return reading + g_clock.absorbed;
}

void clock_set_source(ClockSource source) {
  g_clock = ClockState{};
  if (source != nullptr) g_clock.source = source;
}

std::int32_t clock_ticks() { return g_ticks(); }

void clock_set_tick_source(TickSource source) { g_ticks = source != nullptr ? source : ticks_of_process; }

}  // namespace hark

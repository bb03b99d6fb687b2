#include "sipua/Timer64.h"

#include <unistd.h>

#include <cstdint>

#include "base/clock.h"

namespace hark {
namespace {

constexpr std::int64_t kUsPerTickUnknown = 10'000;     // of a system that doesn't tell
constexpr std::int64_t kWrap = std::int64_t{1} << 32;  // ticks from one wrap of the counter to the next

std::int64_t clockMult = 0;  // microseconds per tick; 0 until an instance is made
std::int64_t clockHigh = 0;  // ticks of all wraps so far
std::int32_t clockPrev = 0;  // the counter at the last reading

}  // namespace

Timer64::Timer64() {
  const std::int64_t per_second = ::sysconf(_SC_CLK_TCK);
  clockMult = per_second > 0 ? kUsPerSecond / per_second : kUsPerTickUnknown;
}

// The counter is added with its sign, so the step from its highest to its lowest value, which looks like a
// fall by one period, is made good by one period. The product leaves 64 bits after 290,000 years.
unsigned long long Timer64::GetMsecCount() {
  const std::int32_t t = clock_ticks();
  if (t < clockPrev) clockHigh += kWrap;
  clockPrev = t;
  return static_cast<unsigned long long>((clockHigh + t) * clockMult / kUsPerMs);
}

void Timer64::Reset() {
  clockHigh = 0;
  clockPrev = 0;
}

}  // namespace hark

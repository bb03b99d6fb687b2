#include "scenarios/runner/virtual_clock.h"

#include <limits>

namespace hark::test {
namespace {

constexpr TimeUs kStart = TimeUs{1'700'000'000} * kUsPerSecond;
constexpr TimeUs kStackWrapMs = TimeUs{1} << 32;  // the stack counts milliseconds in 32 bits
TimeUs g_now = kStart;

// The whole second of the stack's next wrap is `before` later.
TimeUs before_stack_wrap(Ms before) {
  const TimeUs wrap_ms = (kStart / kUsPerMs / kStackWrapMs + 1) * kStackWrapMs;
  const TimeUs first_second = wrap_ms / 1000 + 1;
  return first_second * kUsPerSecond - before.count() * kUsPerMs;
}

std::int32_t ticks_before(std::uint32_t point, Ms before) {
  return static_cast<std::int32_t>(point -
                                   static_cast<std::uint32_t>(before.count() / TestTicks::MsPerTick()));
}

}  // namespace

VirtualClock::VirtualClock(const std::string& start, int line) {
  constexpr std::string_view kStackWraps = "stack wraps in ";
  constexpr std::string_view kTicksWrap = "ticks wrap in ";
  constexpr std::string_view kTicksTurn = "ticks turn negative in ";
  g_now = kStart;
  if (start.starts_with(kStackWraps)) {
    g_now = before_stack_wrap(ReadDuration(start.substr(kStackWraps.size()), line));
  } else if (start.starts_with(kTicksWrap)) {
    ticks_.Set(ticks_before(0, ReadDuration(start.substr(kTicksWrap.size()), line)));
  } else if (start.starts_with(kTicksTurn)) {
    ticks_.Set(ticks_before(0x8000'0000, ReadDuration(start.substr(kTicksTurn.size()), line)));
  } else if (!start.empty()) {
    throw Failure{line, "no such start: " + start};
  }
  clock_set_source([] { return g_now; });
}

VirtualClock::~VirtualClock() { clock_set_source(nullptr); }

void VirtualClock::Move(Ms time) {
  g_now += time.count() * kUsPerMs;
  ticks_.AdvanceMs(static_cast<std::uint32_t>(time.count()));
}

void VirtualClock::Set(Ms time) { g_now += time.count() * kUsPerMs; }

}  // namespace hark::test

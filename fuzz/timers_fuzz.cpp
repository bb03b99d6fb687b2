// The timers: an input is the tick counter at the start, and behind a line feed what is done, a word and
// numbers: `set TARGET ID MS ACTION`, `cancel TARGET ID`, `all TARGET`, `tick TICKS`, `go CALLS`. Targets and
// actions are those of support/timer_twins.h; an action is what the timer's callback does. A model does the
// same, on a clock that is counted without wrapping.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "sipua/Timer64.h"
#include "support/fuzzing.h"
#include "support/test_ticks.h"
#include "support/timer_twins.h"

namespace {

using hark::TimerTwins;
using hark::fuzz::check;

constexpr unsigned kMostCalls = 50;

struct Clock {
  hark::TestTicks ticks;
  std::uint64_t sum;  // of all ticks since the counter's zero

  explicit Clock(std::uint32_t start) : ticks(static_cast<std::int32_t>(start)), sum(start) { read(); }

  void advance(std::uint32_t by) {
    ticks.Advance(by);
    sum += by;
    read();
  }
  void read() const {
    check(hark::Timer64::GetMsecCount() == sum * hark::TestTicks::MsPerTick(),
          "the clock runs with the ticks");
  }
};

void go(TimerTwins& twins, unsigned calls) {
  for (unsigned call = 0; call < std::min(calls, kMostCalls); ++call) {
    const std::string difference = twins.Dispatch();
    check(difference.empty(), difference.c_str());
  }
}

void act(const std::string& line, Clock& clock, TimerTwins& twins) {
  unsigned target = 0;
  unsigned id = 0;
  unsigned number = 0;
  unsigned action = 0;
  if (std::sscanf(line.c_str(), "set %u %u %u %u", &target, &id, &number, &action) == 4) {
    twins.Set(target % TimerTwins::kTargets, id, number,
              static_cast<TimerTwins::Action>(action % TimerTwins::kActions));
  } else if (std::sscanf(line.c_str(), "cancel %u %u", &target, &id) == 2) {
    twins.Cancel(target % TimerTwins::kTargets, id);
  } else if (std::sscanf(line.c_str(), "all %u", &target) == 1) {
    twins.CancelOne(target % TimerTwins::kTargets);
  } else if (std::sscanf(line.c_str(), "tick %u", &number) == 1) {
    clock.advance(number);
  } else if (std::sscanf(line.c_str(), "go %u", &number) == 1) {
    go(twins, number);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> lines = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n");
  unsigned start = 0;
  if (std::sscanf(lines[0].c_str(), "%u", &start) != 1) return 0;
  hark::Timer64::Reset();
  const hark::Timer64 timer;
  Clock clock(start);
  TimerTwins twins;
  for (const std::string& line : lines)
    act(line, clock, twins);
  go(twins, kMostCalls);
  return 0;
}

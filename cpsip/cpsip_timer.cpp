#include "cpsip/cpsip_timer.h"

#include <map>
#include <utility>

#include "base/clock.h"

namespace hark {
namespace {

struct Timer {
  void* context;
  std::uint32_t id;
  std::uint32_t delay;
  cpsip_timer_callback callback;
};

// By when it is due, and those of one moment by number, which is the order of starting.
using TimerKey = std::pair<std::uint32_t, std::uint64_t>;

struct TimerModule {
  std::map<TimerKey, Timer> timers;
  std::uint64_t last_number = 0;
};

// Never destroyed: transactions and dialogs that go when the process exits still stop their timers.
TimerModule& module() {
  static TimerModule& the_module = *new TimerModule;
  return the_module;
}

}  // namespace

std::uint32_t cpsip_clock() {
  constexpr TimeUs kMsPerSecond = kUsPerSecond / kUsPerMs;
  return static_cast<std::uint32_t>(clock_now() / kUsPerSecond * kMsPerSecond);
}

cpsip_timer_handle Cpsip_starttimer(void* context, std::uint32_t id, std::uint32_t delay,
                                    cpsip_timer_callback callback) {
  const cpsip_timer_handle handle{.number = ++module().last_number, .due = cpsip_clock() + delay};
  module().timers.emplace(TimerKey{handle.due, handle.number}, Timer{context, id, delay, callback});
  return handle;
}

void Cpsip_stoptimer(cpsip_timer_handle& handle) {
  // There is no number 0, and that of one that has fired is not in the list.
  module().timers.erase({handle.due, handle.number});
  handle = {};
}

void CPSIP_TimerTick() {
  const std::uint32_t now = cpsip_clock();
  auto& timers = module().timers;
  while (!timers.empty() && timers.begin()->first.first <= now) {
    // Off the list before the call, in which any timer may be started or stopped.
    const auto node = timers.extract(timers.begin());
    const Timer& timer = node.mapped();
    timer.callback(timer.context, timer.id, timer.delay);
  }
}

void cpsip_timer_reset() { module().timers.clear(); }

std::size_t cpsip_timer_count() { return module().timers.size(); }

}  // namespace hark

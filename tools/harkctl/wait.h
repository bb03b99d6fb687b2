// Waits that end: for a descriptor, until a moment, or until somebody wants the program to stop.
#pragma once

#include <poll.h>

#include <chrono>
#include <vector>

namespace hark::ctl {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;
inline constexpr Deadline kForever = Deadline::max();

// What ends any wait early, as poll(2) takes it: a signal that came, an output that nobody reads. Borrows the
// descriptors.
using Interrupts = std::vector<pollfd>;

enum class Wait { kReady, kTimeout, kInterrupted };

// Waits until one of `events`, or an error, is there at `fd` (-1: for the time alone). Interrupts go first;
// a deadline that has passed still looks once.
[[nodiscard]] Wait wait_for(int fd, short events, Deadline deadline, const Interrupts& interrupts);

// Milliseconds until then, as poll(2) takes them: rounded up, 0 when it has passed, -1 for ever.
[[nodiscard]] int ms_until(Deadline deadline);

}  // namespace hark::ctl

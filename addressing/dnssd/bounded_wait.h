// Holds the waits for the DNS-SD daemon short. libavahi-client makes each of its requests as a D-Bus call
// that it waits for, with libdbus's own limit of 25 seconds; if the DNS-SD daemon hangs, no key of any panel
// would be heard in that time. bounded_wait.cpp has a function of libdbus's name, through which all those
// requests go, and which stands in front of it for the whole program: it waits one second at most (two when
// the bus is slow to take the question), and what is late counts as no answer.
#pragma once

#include "base/clock.h"

namespace hark {

// Whether an answer was late in the last five seconds. Whoever asks the daemon looks here first, so that a
// daemon that hangs costs a second now and then, and not one for every request.
[[nodiscard]] bool daemon_hangs();

}  // namespace hark

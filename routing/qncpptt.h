// Seam: PTT requests by multicast, by which a talk line asks the device that serves a channel to let us talk
// into it. They are not built: nothing is sent or received, as with a device that never answers.
#pragma once

#include <sys/select.h>

#include <cstdint>

#include "base/clock.h"

namespace hark {

// Opens the socket. 0, 1 if it is open already, -1 on failure.
[[nodiscard]] int qncpptt_initialize();

// Asks, on port `port` (the talk line's index), for channel `dst` to take channel `src`. 0, or negative.
int qncpptt_set(int port, std::uint32_t dst, std::uint32_t src);

// Gives the channel of `port` back. 0, or negative.
int qncpptt_clr(int port);

// Adds the socket to `set`. Returns it, or -1.
[[nodiscard]] int qncpptt_selectevents(fd_set& set);

// Serves the socket and the renewals.
void qncpptt_processevents(const fd_set& readable, TimeUs now);

}  // namespace hark

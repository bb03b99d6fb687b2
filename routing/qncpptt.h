// PTT requests: a talk line with a `qntb` tag asks, by multicast on the routing network's control group, the
// device that serves a channel to let us talk into it. While the talk lasts the request is renewed before its
// lease of 5 seconds runs out; confirmations come back as text on the same group. The call code sets the
// ports, the main loop serves the socket and the renewals.
#pragma once

#include <sys/select.h>

#include <cstdint>

#include "base/clock.h"

namespace hark {

inline constexpr int qncpptt_ports_count = 128;  // one for each talk line, with its index

// Told of each confirmation of a port (true, also of one that is confirmed already), and of its end when none
// came for 5 seconds (false). May set and clear ports. Filled by the main loop's start-up.
extern void (*qncpptt_update_status_callback)(int port, bool active);

// Opens the socket, at UDP port 4012 of every address. 0, 1 if it is open already, -1 on failure.
[[nodiscard]] int qncpptt_initialize();

// Asks, on port `port` (the talk line's index), for channel `dst` to take our channel `src`: at once, 50 ms
// later, and then every 2 seconds. Both 0 frees the port without a word. 0, -1 for a port out of range, -2
// without a socket.
int qncpptt_set(int port, std::uint32_t dst, std::uint32_t src);

// Releases the channel of `port`, and frees the port. The same errors.
int qncpptt_clr(int port);

// Adds the socket to `set`. Returns it, or -1.
[[nodiscard]] int qncpptt_selectevents(fd_set& set);

// Serves the socket and the renewals. The group is joined on the interface of the SIP address, and is left
// and joined anew when that moves.
void qncpptt_processevents(const fd_set& readable, TimeUs now);

// Releases all channels and closes the socket.
void qncpptt_cleanup();

}  // namespace hark

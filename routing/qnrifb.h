// The remote IFB link: a talk line with an `ifb` tag talks into a destination of another routing daemon, a
// foreign device's output, for as long as the talk lasts. The link logs in there, sees what the destination
// carries, takes it over by writing our own address into it, and puts back what it found when the talk ends.
// All ports that go to one device share its connection. The call code sets the ports, the main loop serves
// the sockets; nothing blocks, since a far device may be absent.
#pragma once

#include <sys/select.h>

#include <string_view>

#include "base/clock.h"

namespace hark {

inline constexpr int qnrifb_ports_count = 128;  // one for each talk line, with its index

// Marks a destination as taken by somebody who talks into it.
inline constexpr std::string_view qnrp_ptt_tag = "^PTT";

// Told of each answer about a destination that was taken: `active` when it carries our address, else somebody
// else took it. May set and clear ports. Filled by the main loop's start-up.
extern void (*qnrifb_update_status_callback)(int port, bool active);

// Points the port (the talk line's index) at the far destination `url`, `[password@]a.b.c.d[:port]/dst`,
// which is to carry `addr`. What the port held before is given back first; an empty or null text does no more
// than that. 0; -1 for a port out of range, -2 for an `addr` above 60 characters, -3 for a `url` that cannot
// be read.
int qnrifb_set(int port, const char* url, const char* addr);

// Adds the sockets to the sets. Returns the highest, -1 when there is none.
[[nodiscard]] int qnrifb_selectevents(fd_set& readable, fd_set& writable);

// Serves the sockets that are ready, and ends the connections that are lost or have had no port for 30
// seconds.
void qnrifb_processevents(const fd_set& readable, const fd_set& writable, TimeUs now);

// Gives all destinations back as far as the sockets take it at once, and closes the connections.
void qnrifb_cleanup();

}  // namespace hark

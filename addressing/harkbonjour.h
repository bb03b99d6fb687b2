// Seam: announcing this station and finding others by DNS-SD. The client is not built; this answers as a
// station does whose DNS-SD daemon cannot be reached: each start fails, no socket is watched, and the main
// loop's back-off runs.
#pragma once

#include <netinet/in.h>
#include <sys/select.h>

namespace hark {

// Registers `name` (null: none) and browses. 0; 11001 when the registration failed, 11002 when the browse
// did.
[[nodiscard]] int harkbonjour_initialize(unsigned ifindex, int port, const char* name);

// Ends registration and browse.
void harkbonjour_cleanup();

// Rebuilds the TXT record: `alt` the alternate text, `level` the zero-based trigger level, `rtpa` the address
// of the station's audio in network order. Always 0.
int harkbonjour_set_TXT(const char* alt, int level, in_addr_t rtpa);

// Asks for the address of the station `label` now. 1 when it is known at once, 0 when it is on its way, -1
// when it cannot be asked for. As a seam: always -1.
int harkbonjour_lookupservice(const char* label);

// Adds the sockets to `set`. Returns the highest, -1 when there is none.
[[nodiscard]] int harkbonjour_addfdset(fd_set& set);

// Serves the sockets that are ready. 0, or -1 when the connection to the DNS-SD daemon has failed.
[[nodiscard]] int harkbonjour_processevents(const fd_set& set);

// Called after each change of the table of stations. Filled by the main loop's start-up.
extern void (*harkbonjour_callback)();

}  // namespace hark

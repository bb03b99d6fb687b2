// Announces this station by DNS-SD (RFC 6763) under the type "_hark._tcp", and finds the others: each is
// resolved to host, port and TXT record, its host to an address, and becomes an entry of the table of
// stations. It uses the DNS-SD client library as dns_sd.h declares it and knows nothing of what is behind
// that. The main loop drives it through its sockets and starts it again when the DNS-SD daemon is lost.
#pragma once

#include <netinet/in.h>
#include <sys/select.h>

namespace hark {

// The service type.
extern const char* hark_svctype;

// Prints progress to standard output.
extern bool harkbonjour_verbose;

// Called after each change of the table of stations. Filled by the main loop's start-up.
extern void (*harkbonjour_callback)();

// Called when another station on the network has our name, right before the process ends with status 255:
// what is still to be saved, given back or removed. Filled by the main loop's start-up.
extern void (*harkbonjour_before_exit)();

// Starts, or starts again: binds to the interface `ifindex` (0: any), registers `name` (null or empty: none)
// with the control port `port` (host order, 0: none), and browses unless a browse runs. Another interface
// than before empties the table. From the first call on, labels are looked for among the stations found. 0;
// 11001 when the registration failed, 11002 when the browse did.
[[nodiscard]] int harkbonjour_initialize(unsigned ifindex, int port, const char* name);

// Ends registration and browse, and empties the table and its file.
void harkbonjour_cleanup();

// Rebuilds the TXT record, and updates it where it is announced already: `alt` the alternate text (empty:
// none), `level` the zero-based trigger level, `rtpa` the address of the station's audio in network order (0:
// none). Always 0.
int harkbonjour_set_TXT(const char* alt, int level, in_addr_t rtpa);

// Asks for the address of the station `label` now. 1 when it is known at once, 0 when it is on its way, -1
// when it cannot be asked for.
int harkbonjour_lookupservice(const char* label);

// Adds the library's sockets to `set`. Returns the highest, -1 when there is none.
[[nodiscard]] int harkbonjour_addfdset(fd_set& set);

// Serves the library's sockets that are ready in `set`; all callbacks run in here. 0, or -1 when the
// connection to the DNS-SD daemon has failed, which stays so until the next start.
[[nodiscard]] int harkbonjour_processevents(const fd_set& set);

// Asks for the version of the DNS-SD daemon. The library's error code: 0 when the daemon can be reached.
[[nodiscard]] int harkbonjour_check();

}  // namespace hark

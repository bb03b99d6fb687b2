// The station's two SIP services, the gains of its listen lines, and the timed drops.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/clock.h"

namespace hark {

// Starts the stack and clears both tables. 0, or -1 when the stack refuses.
[[nodiscard]] int sipctrl_initialize();

// What the services are made of.
struct StationIdentity {
  const char* name = "";    // service name
  const char* alt = "";     // alternative name, shown to the far end
  int trgl = 0;             // zero-based
  std::uint32_t ip = 0;     // host order
  std::uint16_t port = 0;   // base: the services use the two ports above it
  std::uint32_t mcast = 0;  // host order; where our audio is
};

// The identity that the station's settings give now; its texts are borrowed from them.
[[nodiscard]] StationIdentity station_identity();

// Makes service 1, "hark-listen", and service 2, "hark-talk". Always 0: a service that cannot be made is
// logged by its own event.
int sipctrl_createservice(const StationIdentity& identity);

// Drops all calls and destroys both services, whose end frees what lines are left. 0.
int sipctrl_removeservice();

// Removes the services, ends the stack and frees all lines.
void sipctrl_done();

// The highest trigger level of the connected listen lines, zero-based; -1 when there is none.
[[nodiscard]] int sipctrl_computetriggerlevel();

// Sets the gain of every connected listen line by the trigger level. Line `line` (-1: none) gets no command
// of its own: the result is the gain, volume included, that the caller sends with its source; 0 when it is
// not connected.
int sipctrl_adjustifbgains(int line);

// One pass: pumps the stack, does the drops that are due, ends contact debounces.
void sipctrl_process(TimeUs now);

// Escapes a service name as a DNS label (RFC 1035 section 5.1) into `out`, terminated and cut at whole
// characters; returns the length. A null `out` or a size of 0 gives 0.
int str2mdnsnamez(const char* in, char* out, std::size_t size);

}  // namespace hark

// Seam: the remote IFB link, by which a talk line takes over a destination of a far routing daemon. The link
// is not built: a port accepts what it is given and nothing is sent, so that a talk line with an `ifb` tag
// waits for a confirmation as it does while the far device is silent.
#pragma once

#include <sys/select.h>

#include "base/clock.h"

namespace hark {

// Points port `port` (the talk line's index) at the far destination `url`, which is to carry `addr`; an empty
// or null one frees the port. 0, or negative when `url` cannot be used.
int qnrifb_set(int port, const char* url, const char* addr);

// Adds the links' sockets to the sets. Returns the highest, -1 when there is none.
[[nodiscard]] int qnrifb_selectevents(fd_set& readable, fd_set& writable);

// Serves the sockets that are ready.
void qnrifb_processevents(const fd_set& readable, const fd_set& writable, TimeUs now);

}  // namespace hark

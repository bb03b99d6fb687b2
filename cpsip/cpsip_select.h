// Seam: the SIP stack's sockets in the main loop's select. The protocol stack is not built; it has no socket.
#pragma once

#include <sys/select.h>

namespace hark {

// Adds the SIP sockets to the sets. Returns the highest descriptor plus 1, 0 when there is none.
[[nodiscard]] int CPSIP_Select_FDs(fd_set& readable, fd_set& writable, fd_set& failed);

}  // namespace hark

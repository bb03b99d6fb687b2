// The commands of the control port: one function for each, found by a table.
#pragma once

#include "base/text.h"

namespace hark {

// Runs one line of connection `i`; -1 is the daemon itself, which has no reply channel.
void server_cmd(const char* line, int i);

// The state of all calls, to one socket.
void server_cmd_CALL_STATUS(int fd);

// The indication of a call's change: `CALL URL:"..."`, then TALK, LISTEN and VOLUME, each if it is known. A
// letter that is not positive (kNoReport, 0) leaves its tag out.
[[nodiscard]] LineBuffer fmt_call_indi(const char* url, char listen, char talk, const long* volume);

}  // namespace hark

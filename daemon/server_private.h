// What the server's sources share among themselves: the commands that the dispatch table names.
#pragma once

#include "daemon/server.h"

namespace hark {

// `rest` is what stands behind the keyword; `i` the connection, -1 for the daemon itself.
void server_cmd_CALL(const char* rest, int i);
void server_cmd_IO(const char* line);
void server_cmd_HARKUI(const char* verb, const char* text, int i);
void server_cmd_SURFACE(const char* text, int i);

// The socket to reply to.
[[nodiscard]] int reply_fd(int i);

// "a.b.c.d" parts for "%d.%d.%d.%d" are never formatted by hand: the address and port of a peer as
// "a.b.c.d:p".
[[nodiscard]] std::string peer_text(const sockaddr_in& addr);

}  // namespace hark

// What the server's sources share among themselves: the commands that the dispatch table names.
#pragma once

#include <sys/socket.h>

#include <cerrno>
#include <cstdio>

#include "daemon/server.h"
#include "daemon/station/station.h"

namespace hark {

// `rest` is what stands behind the keyword; `i` the connection, -1 for the daemon itself.
void server_cmd_CALL(const char* rest, int i);
void server_cmd_IO(const char* line);
void server_cmd_HARKUI(const char* verb, const char* text, int i);
void server_cmd_SURFACE(const char* text, int i);

// The socket to reply to.
[[nodiscard]] int reply_fd(int i);

// The address and port of a peer as "a.b.c.d:p".
[[nodiscard]] std::string peer_text(const sockaddr_in& addr);

// Sets one option of a socket; a failure is printed as that of `name` and is not fatal.
template <typename Value>
void set_socket_option(int fd, int level, int option, const char* name, const Value& value) {
  if (::setsockopt(fd, level, option, &value, sizeof value) == 0) return;
  (void)std::fprintf(stderr, "%s: setsockopt(%s) err=%d\n", station.appName.c_str(), name, errno);
}

}  // namespace hark

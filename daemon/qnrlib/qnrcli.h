// The client side of a line connection to a routing daemon: dialling, sending one command, and a small line
// reader for programs that have no loop of their own. The daemon itself dials and sends through here, and
// reads in its own loop.
#pragma once

#include <netinet/in.h>

#include <cstddef>

namespace hark {

// Where a routing daemon is found when no port is given.
inline constexpr unsigned short kQnrDefaultPort = 93;
inline constexpr std::size_t kQnrClientBuffer = 2000;

// Path of a local socket at a routing daemon. Nothing in the system uses it.
inline constexpr const char qnrd_uds_path[] = "/tmp/qnrpd";

// A line reader's record. `qnrcli_init` fills it, `qnrcli_free` empties it.
struct _tagQNRCLI {
  int fd = -1;           // the socket, owned; -1 closed
  char* buf = nullptr;   // receive buffer, owned
  char* head = nullptr;  // next unread character
  char* tail = nullptr;  // end of what was received
  int size = 0;          // of `buf`
};

// Connects the blocking socket `fd` to `to`, which holds the loop up: for 1.2 s at most, since a host that
// drops what is sent to it would do so for minutes. False when there is no connection by then. Sets no limit
// on later sends.
[[nodiscard]] bool connect_in_time(int fd, const sockaddr_in& to);

// A TCP connection to `ip` (network order, 0: 127.0.0.1) and `port` (host order, 0: 93) with TCP_NODELAY. The
// connect blocks, within limits. Returns the socket, which the caller owns, or -1.
[[nodiscard]] int qnr_open(unsigned long ip, unsigned short port);

// Sends the whole text by one send(2). -1 on failure or when not all of it was taken, else 0.
[[nodiscard]] int qnr_cmd(int fd, const char* text);

// Opens the default connection and makes the buffer. 1 when there is no memory, otherwise 0: a connection
// that failed shows as `fd` -1.
[[nodiscard]] int qnrcli_init(_tagQNRCLI* client);

// Closes and frees.
void qnrcli_free(_tagQNRCLI* client);

// Waits at most `timeout_us` microseconds for data and returns the next line, without its end, or null. The
// line is valid until the next call. When the connection is lost the socket is closed and `fd` is -1.
[[nodiscard]] char* qnrcli_recv(_tagQNRCLI* client, long timeout_us);

}  // namespace hark

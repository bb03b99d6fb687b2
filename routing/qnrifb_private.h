// What the files of the IFB link share, and its tests see: ports, connections, and the reading of a far
// daemon's text.
#pragma once

#include <netinet/in.h>

#include <array>
#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"
#include "routing/qnrifb.h"

namespace hark {

inline constexpr std::size_t kIfbPasswordSize = 9;  // 8 characters and the NUL
inline constexpr std::size_t kIfbAddrSize = 60;     // the address that we write, with its NUL
inline constexpr std::size_t rx_size = 2001;        // a line of 2000 bytes and its end
inline constexpr std::size_t tx_size = 8192;

struct qnrifb_remote_connection;

struct qnrifb_port {
  int dst = 0;                          // destination number at the far daemon
  std::optional<std::string> original;  // the destination's address as we found it; none before we took it
  bool conflict = false;                // the destination no longer shows our address
  std::string addr;                     // the address that we write: `ip <^PTT>`
  qnrifb_remote_connection* conn = nullptr;  // null: the port is free
};

struct qnrifb_remote_connection {
  std::vector<qnrifb_port*> ports;  // that use it, the newest first
  sockaddr_in addr{};               // the far daemon
  std::string password;             // login text, at most 8 characters, may be empty
  UniqueFd fd;
  bool connecting = false;  // until the connect is finished
  TimeUs idle_since = 0;    // when the last port left
  std::array<char, rx_size> rx{};
  std::size_t rx_wr = 0;  // bytes received
  std::array<char, tx_size> tx{};
  std::size_t tx_wr = 0;  // end of what is to be sent
  std::size_t tx_rd = 0;  // sent up to here
};

extern std::array<qnrifb_port, qnrifb_ports_count> qnrifb_ports;
extern std::list<qnrifb_remote_connection> qnrifb_cons;  // newest first

// The value of an `ifb` tag, cut.
struct IfbAddress {
  std::string password;
  sockaddr_in addr{};
  int dst = 0;
};

// Cuts `[password@]a.b.c.d[:port]/dst`; the numbers are read in base 0. 0, or what is wrong: 1 to 4 the part
// of the address, 5 the port, 6 the destination, 10 a password of more than 8 characters.
[[nodiscard]] int parse_daddr(const char* text, IfbAddress& out);

// Whether the raw value of an ADDR tag, its quote included, carries the tag of somebody who talks.
[[nodiscard]] bool qnrifb_check_ptt_tag(const char* value);

// Takes one line of the far daemon, without its end.
void qnrifb_receive_msg(qnrifb_remote_connection& conn, const char* line);

// Appends to what is to be sent. 0, or -1 when it does not fit, and then nothing of it is queued.
int qnrifb_send(qnrifb_remote_connection& conn, std::string_view text);

}  // namespace hark

// The control port: 16 connection slots on one line protocol, in two kinds. Inbound ones are panels and
// clients; an outbound one goes to the mixing console that the routing daemon names, and speaks for the
// console's own keys. Here stand the slots, sending and receiving; the commands are in server_cmd.
#pragma once

#include <netinet/in.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "base/clock.h"
#include "daemon/qnrlib/linereader.h"
#include "daemon/qnrlib/qnrdb.h"
#include "panel/HarkUIProxy.h"

namespace hark {

inline constexpr int kNotConsole = -1;  // reconnect_us of an inbound slot
inline constexpr TimeUs kSendLimitUs =
    1'200'000;                            // how long one peer that does not read may hold the others up
inline constexpr TimeUs kSendRefill = 8;  // of which it gets an eighth of the time that passes back

// A connection slot. Its socket is in `cons`, under the same number.
struct _tagHARKD_CON_DATA {
  sockaddr_in addr{};                       // peer, or a console's target. Kept when the connection ends
  TimeUs last_attempt = 0;                  // of the last dial, or of the disconnection
  std::int32_t reconnect_us = kNotConsole;  // 0: dial now; above: wait so long since last_attempt
  std::unique_ptr<HarkUIProxy> ui;          // the attached panel; null: none
  std::unique_ptr<LineReader> rx_buf;       // made at the first receive, kept over reconnections
  TimeUs send_wait_us = 0;                  // how long sending has waited for this peer of late
  bool shut = false;                        // nothing is sent any more; the next receive ends the connection

  // For a new connection in the slot.
  void init() {
    ui.reset();
    if (rx_buf) rx_buf->clear();
    shut = false;
  }

  // Takes the far end of the slot. What sending has waited belongs to the host, not to one of its
  // connections: one that comes back has used up what it has used up.
  void set_peer(const sockaddr_in& peer) {
    if (addr.sin_addr.s_addr != peer.sin_addr.s_addr) send_wait_us = 0;
    addr = peer;
  }
};
using ConnectionData = _tagHARKD_CON_DATA;

struct Server {
  std::array<int, kMaxConnections> cons;       // sockets, -1 closed; owned
  std::unique_ptr<ConnectionData[]> con_data;  // as many records
  std::unique_ptr<HarkUIProxyShared> model;    // the shared panel model

  Server() { cons.fill(-1); }
  [[nodiscard]] ConnectionData& slot(int i) const { return con_data[static_cast<std::size_t>(i)]; }
  [[nodiscard]] int& socket(int i) { return cons[static_cast<std::size_t>(i)]; }
  [[nodiscard]] bool is_open(int i) const { return cons[static_cast<std::size_t>(i)] >= 0; }
  // The panel of an open connection, or null.
  [[nodiscard]] HarkUIProxy* panel(int i) const {
    return con_data && is_open(i) ? slot(i).ui.get() : nullptr;
  }
};
extern Server server;

// Fixed files that tell other programs of the panels. Writable for deployments and tests.
extern std::string uilist_file;
extern std::string harkui_file;

// Takes one connection from the listening socket. Its socket, or -1 when it was turned away.
int server_accept(int listen_fd);

// Receives on connection `i` and runs each whole line. The socket, or -1 when the connection is gone (its
// socket is closed; server_disconnected clears up).
[[nodiscard]] int server_recv(int i);

// Clears up after connection `i` ended at `now`.
void server_disconnected(int i, TimeUs now);

// Closes everything and frees the records.
void server_cleanup();

// Sends `text`, or a formatted one, to `fd`; nothing for -1. All of it is sent: 0. Otherwise -1, and the next
// receive reports the connection as closed. A peer that does not read is waited for no longer than 1.2 s in
// all, however many texts are meant for it; one that reads slowly cannot take more than an eighth of the
// loop's time.
int server_resp_single(int fd, const char* text);
int server_resp(int fd, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

// Gives every peer back some of its waiting time. At the start of each pass; `passed` is the time since the
// last one.
void server_new_pass(TimeUs passed);

// The console to connect to, "a.b.c.d[:port]"; 0.0.0.0 gives the present one up. The connection is made by
// the loop.
void harkd_consoleconnect(const char* addr);

// Dials the console of slot `i` if its time has come.
void console_redial(int i, TimeUs now);

// One attempt to dial the console of slot `i`. The socket or -1.
[[nodiscard]] int con_reconnect(int i);

// How many attached panels have auto-answer set.
[[nodiscard]] int harkd_has_autoanswer();

// 1 when any attached panel has keys to show, otherwise 0.
[[nodiscard]] int ishwready();

// Rewrites the file that lists the attached panels.
void writeuilist();

// Tells of the panel of slot `i` (-1: all): "remove" for `kind` 'R', "add" for any other; to `fd`, or with -1
// to all that subscribed.
int uilist_indi(char kind, int i, int fd);

// Callbacks of the panels. harkui_send: a panel's text to its connection; 0 when it cannot go out, 1
// otherwise. harkui_receive: what the shared model asks for; 1.
int harkui_send(const char* text, int conn);
int harkui_receive(const char* line, int conn);

}  // namespace hark

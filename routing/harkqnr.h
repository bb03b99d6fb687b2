// The connection to the routing daemon, which carries the audio: creates this station's mixer there, sends
// every command, and reads every line that comes back. The same lines also come in from the settings file and
// from clients. Does not dial: the main loop does, and hands the socket over.
#pragma once

#include <netinet/in.h>

#include <cstddef>

namespace hark {

// The mixer's object name at the routing daemon.
inline constexpr const char qncp_hark[] = "hark#1";

// Subs of the mixer: what is heard (its output carries the preview source), and what is said (its output is
// the station's own source).
inline constexpr int kSubListen = 1;
inline constexpr int kSubTalk = 2;

// What this module needs of the layers above. Set once at start; an empty hook does nothing.
struct HarkqnrHooks {
  // The routing daemon moved the fader of listen line `dst` (zero-based) to `volume`, in tenths of a dB.
  void (*dst_volume_changed)(int dst, long volume) = nullptr;
  // The console to connect to, as "a.b.c.d[:port]".
  void (*consoleconnect)(const char* addr) = nullptr;
  // A line for the daemon's own input, as from a client without a connection.
  int (*ext_input)(const char* line, int client) = nullptr;
};
extern HarkqnrHooks harkqnr_hooks;

// The socket, -1 when closed.
[[nodiscard]] int harkqnr_fd();

// Takes the new connection `fd` and tells the routing daemon who we are and what we send; -1 forgets the
// closed one.
void harkqnr_connected(int fd);

// Reads what has come and handles each whole line. Returns the socket, or -1 when it closed (it is then
// closed here, and forgotten).
[[nodiscard]] int harkqnr_recv();

// Handles one line of the routing daemon, of the settings file or of a client.
void harkqnr_cmd(const char* line);

// The general sender: a format that begins with "." is meant for our mixer and gets "set hark#1" in front.
// Nothing happens while there is no connection.
void harkqnr_ctrl(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Puts `src` (null: none) with `gain` (tenths of a dB) on the input of listen line `dst` (zero-based; -1: no
// mixer command), and when `gpio` and `pin` (one-based) are both set closes the pin of that contact, or opens
// it for a null `src`. An empty `src` that is not null counts as one.
void harkqnr_ctrl(int dst, const char* src, int gain, int gpio, int pin);

// Sets the gain of listen line `dst` (zero-based; -1: nothing), in tenths of a dB.
void harkqnr_dstgain(int dst, int gain);

// Sets the output of sub `n`: `ip` in network order, 0 for none, INADDR_NONE to leave it; and its name when
// `name` is not null.
void harkqnr_vmix2src(int n, in_addr_t ip, const char* name);

// Assigns a routing source. Nothing in the system calls it.
void harkqnr_src(int dst, const char* src, const char* rtpt);

// Tells the routing daemon to end, and forgets all contact events. Nothing in the system calls it.
void harkqnr_shut();

// The station's settings as a HARK line, without its end, into `buf` of `n` bytes. Returns the length.
int harkqnr_HARK(char* buf, std::size_t n);

}  // namespace hark

// The transport: reads datagrams, has them scanned, completes the top Via (RFC 3261 18.2.1, RFC 3581), and
// hands messages to the transactions; on the way out it finds destination and socket, formats, and sends.
// Everything is carried by UDP: other kinds are known by name only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "cpsip/cpsip_dialog.h"

namespace hark {

inline constexpr std::size_t kMaxUdpMessage = 1300;  // bytes; RFC 3261 18.1.1 asks for a stream above it
inline constexpr std::uint16_t kSipPort = 5060;
inline constexpr std::uint16_t kSipsPort = 5061;

enum cpsip_net_error : int {
  kNetOk = 0,
  kNetNoSocket = 31,
  kNetBadAddress = 33,
  kNetNotFormatted = 51,
};

// What an address text is, by its looks; the first character is not looked at.
enum cpsip_ip_type : int { kIpNone = -1, kIp4 = 1, kIp6 = 2, kIpName = 3 };
[[nodiscard]] int cpsip_net_iptype(std::string_view text);

// Opens the block's socket: for UDP it is bound to `local` and ready to read. 0, -1, or an errno.
[[nodiscard]] int cpsip_net_open(SocCB& cb, const cpsip_address& local, const cpsip_address& remote);
// Drops a use of the block, and closes its descriptor when that was the last one.
void cpsip_net_close(SocCB& cb);
// Reads a datagram and processes it.
void cpsip_net_recv(int fd);
void cpsip_net_soc_callback(int fd, bool read, bool write, bool except);

// Sends a message of the dialog: *shares* it. 0; a cpsip_net_error; the error of reading its Via.
int cpsip_net_send(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg);

// Sends what is in the queue and can go.
void cpsip_snd_msg();
// Takes what waits for the dialog out of the queue; all of it with null.
void cpsip_snd_forget(const cpsip_dlog_cb* dialog);
// The transport that a message of this many bytes is queued for (RFC 3261 18.1.1): a stream above
// kMaxUdpMessage, which cpsip_snd_msg moves back.
[[nodiscard]] cpsip_transport_kind cpsip_net_transport_for(std::size_t length);
// How many messages wait.
[[nodiscard]] std::size_t cpsip_snd_waiting();

}  // namespace hark

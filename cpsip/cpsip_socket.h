// The SIP stack's way to the operating system: a fixed table of socket control blocks, each with a callback,
// the select sets that they are in, and one pass of polling. The transport opens and serves them; the main
// loop asks for the sets and drives the pass.
#pragma once

#include <sys/select.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "base/fd.h"
#include "cpsip/cpsip_address.h"
#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_uri.h"

namespace hark {

struct cpsip_serv_cb;

inline constexpr std::size_t kMaxSockets = 18;
inline constexpr int kFdsetSlots = 10;
inline constexpr unsigned kMaxSelectFailures = 20;  // in a row

enum cpsip_soc_state : std::uint32_t {
  kSocNone = 0,   // a free block
  kSocMade = 1,   // a block without a bound socket
  kSocBound = 3,  // bound: datagrams are read and sent
};

// What a ready descriptor is told to: one of the three is true.
using cpsip_soc_callback = void (*)(int fd, bool read, bool write, bool except);

// A socket control block. One without a callback is free.
struct SocCB {
  cpsip_soc_callback callback = nullptr;
  int fdset_slot = -1;  // of the module's sets; -1: none
  UniqueFd fd;
  cpsip_address local;
  cpsip_address remote;            // where to send; after a read the source of the last datagram
  cpsip_serv_cb* owner = nullptr;  // borrowed: the service whose datagrams come here
  cpsip_transport_kind transport = cpsip_transport_kind::none;
  std::uint32_t state = kSocNone;
  int refcount = 0;        // users; each counts itself
  std::uint64_t life = 0;  // another number with every use of the block
  cpsip_msg_ptr scan_msg;  // a received message on its way to the transactions
};

// Forgets all blocks, closing what is open, all sets, the stack's slot, and the count of failures.
void Cpsip_SOC_Init();
// Who tells whether there is a service: without one, which is so until this is set, a failing select(2) is
// nothing to end the process for. Null: nobody. Cpsip_SOC_Init leaves it.
void Cpsip_SOC_SetServiceCheck(bool (*any_service)());

// A free block with these values, in the stack's set slot, without a socket. Null, with a report, when all
// kMaxSockets are in use, or there is no callback. Ends the process when the stack has no slot yet. *Valid
// until* its last user has dropped it.
[[nodiscard]] SocCB* Cpsip_SOC_AddSocCB(cpsip_serv_cb* owner, cpsip_soc_callback callback,
                                        cpsip_transport_kind transport);
// Drops a use. The last one takes the descriptor out of the sets and frees the block; the descriptor stays in
// it, for the caller to close. A block without a slot is reported, and stays.
void Cpsip_SOC_DelSocCB(SocCB& cb);

// All blocks, free ones included.
[[nodiscard]] std::span<SocCB> Cpsip_SOC_Blocks();

// A non-blocking IPv4 socket for the transport kind: UDP, or a stream for the others; -1 with `err` the
// errno. Any other address type than kAddressIp4, and any unknown kind, is -1 with EAFNOSUPPORT or
// EPROTONOSUPPORT.
[[nodiscard]] int Cpsip_SOC_Socket(cpsip_transport_kind kind, std::uint32_t type, int& err);
// Binds to the block's local address, with SO_REUSEADDR. The result of bind(2), `err` the errno. Ends the
// process when the address is not IPv4.
[[nodiscard]] int Cpsip_SOC_Bind(SocCB& cb, int& err);
// Closes the block's descriptor and takes it out of the sets. 0, or -1 with `err` when there is none.
int Cpsip_SOC_Close(SocCB& cb, int& err);
// Connects to the block's remote address. 0, also when it is in progress; else -1 with `err`. Ends the
// process when the address is not IPv4.
[[nodiscard]] int Cpsip_SOC_Connect(SocCB& cb, int& err);
// One datagram into `buf`, its source into `from`. Its length, cut to the buffer; -1 with `err`. Ends the
// process when the source is not IPv4.
[[nodiscard]] int Cpsip_SOC_Recvfrom(int fd, std::span<char> buf, cpsip_address& from, int& err);
// Sends a datagram. What sendto(2) gave; -1 with `err`. A short count is reported.
int Cpsip_SOC_Sendto(int fd, std::span<const char> buf, const cpsip_address& to, int& err);

// A new set slot with copies of the three sets; -1 when all kFdsetSlots are taken.
[[nodiscard]] int Cpsip_SOC_AddFdsetList(const fd_set& read, const fd_set& except, const fd_set& write);
// Puts the block's descriptor into each set of its slot or takes it out, as told; what is taken out is not
// told any more in the pass at hand. 0; -1 for a block without a slot, and for a descriptor, or none, that no
// set can hold but one is to.
int Cpsip_SOC_ChangeSelSta(SocCB& cb, bool read, bool write, bool except);
// Gives the block a slot. 0, or -1 for one outside 0 to 9.
int Cpsip_SOC_SetFdsetForSocCB(SocCB& cb, int slot);
// Which slot the stack uses; -1: none yet.
void Cpsip_SOC_UseFdsetSlot(int slot);

inline constexpr int kSelectFailed = -1;
inline constexpr int kSelectNoSlot = -2;
inline constexpr int kSelectBadSlot = -3;

// One pass: polls the sets without waiting and calls back for what is ready. 0; kSelectFailed when select(2)
// fails while there is a service, which ends the process at the 21st time in a row; kSelectNoSlot;
// kSelectBadSlot. A callback may close its own socket and any other.
int CPSIP_Select();
// Copies the stack's sets to the caller. The highest descriptor plus 1; kSelectNoSlot or kSelectBadSlot with
// the sets left alone.
[[nodiscard]] int CPSIP_Select_FDs(fd_set& read, fd_set& except, fd_set& write);

// Whether standard input has something within 20 ms: 1, else 0, also when it cannot be asked.
[[nodiscard]] int cpsip_kbhit();

// The port that the block's socket is bound to; 65535 when that cannot be told.
[[nodiscard]] std::uint16_t Cpsip_SOC_GetLocalPort(const SocCB& cb);

}  // namespace hark

#include "cpsip/cpsip_transport.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_scan.h"
#include "cpsip/cpsip_transaction.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_transport;

// Blocks that live as long as a transaction have some room to grow, and are no larger than that.
constexpr std::size_t kSmallDatagram = 256;
constexpr std::uint16_t kSlack = 64;

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

SocCB* find_block(int fd) {
  for (SocCB& cb : Cpsip_SOC_Blocks()) {
    if (cb.fd.is_open() && cb.fd.get() == fd) return &cb;
  }
  return nullptr;
}

int open_udp(SocCB& cb, const cpsip_address& local, const cpsip_address& remote) {
  if (Cpsip_SOC_ChangeSelSta(cb, true, false, true) != 0) {  // no set can hold it
    cb.fd.reset();
    return EMFILE;
  }
  cb.local = local;
  cb.remote = remote;
  int err = 0;
  if (Cpsip_SOC_Bind(cb, err) == 0) {
    cb.state = kSocBound;
    if (cb.local.port == 0) cb.local.port = Cpsip_SOC_GetLocalPort(cb);
    return 0;
  }
  (void)Cpsip_SOC_ChangeSelSta(cb, false, false, false);
  cb.fd.reset();
  return err != 0 ? err : -1;
}

int open_stream(SocCB& cb, const cpsip_address& local, const cpsip_address& remote) {
  cb.local = local;
  cb.remote = remote;
  (void)Cpsip_SOC_ChangeSelSta(cb, true, true, true);
  int err = 0;
  return Cpsip_SOC_Connect(cb, err) == 0 ? 0 : err;
}

cpsip_osa_chain block_of(std::string_view datagram) {
  const std::uint16_t size = datagram.size() <= kSmallDatagram
                                 ? std::uint16_t{kSmallDatagram + kSlack}
                                 : static_cast<std::uint16_t>(datagram.size() + std::size_t{kSlack});
  cpsip_osa_chain block(cpsip_osa_buf_alloc(size));
  std::memcpy(block->data(), datagram.data(), datagram.size());
  block->used = static_cast<std::uint16_t>(datagram.size());
  return block;
}

// The message of a datagram; null for one that is dropped. A request that cannot be read has a status for its
// answer. Of a response the description that cannot be read is left out, since nobody is to be told of it.
cpsip_msg_ptr scan_datagram(cpsip_osa_chain block) {
  cpsip_scan scan;
  bool complete = false;
  std::uint32_t left_over = 0;
  const int result = cpsip_msg_scan(scan, std::move(block), complete, left_over);
  if (scan.scan_msg == nullptr || (result == kScanOk && !complete)) {
    cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
    return nullptr;
  }
  if (result == kScanOk) return std::move(scan.scan_msg);
  if (scan.scan_msg->scan_status == 0) {
    cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
    scan.scan_msg->scan_status = 400;
  }
  if (scan.scan_msg->method == cpsip_method::response) scan.scan_msg->sdp.reset();
  return std::move(scan.scan_msg);
}

// What RFC 3581 section 4 asks for. True when there was an rport to fill.
bool fill_rport(cpsip_msg& msg, const SocCB& cb, int& result) {
  unsigned index = 0;
  cpsip_field_text value;
  std::uint32_t length = 0;
  result = CPSIP_MsgGetParmValue(msg, CPSIP_FLD_VIA_PARM, 1, "rport", index, value, length);
  if (result != kAccessOk || index == 0) return false;
  const std::uint16_t fallback = cb.transport == cpsip_transport_kind::tls ? kSipsPort : kSipPort;
  std::array<char, 16> text;
  const int size = format_text(text, "rport=%d", int{cb.remote.port != 0 ? cb.remote.port : fallback});
  result = cpsip_msg_write(msg, CPSIP_FLD_VIA_PARM, 1, index, {text.data(), static_cast<std::size_t>(size)});
  return true;
}

// What the request says itself of where it came from would send our answers wherever its sender likes.
int clear_received(cpsip_msg& msg) {
  while (true) {
    unsigned index = 0;
    cpsip_field_text value;
    std::uint32_t length = 0;
    int result = CPSIP_MsgGetParmValue(msg, CPSIP_FLD_VIA_PARM, 1, "received=", index, value, length);
    if (result != kAccessOk || index == 0) return result;
    result = cpsip_msg_write(msg, CPSIP_FLD_VIA_PARM, 1, index, {});
    if (result != kAccessOk) return result;
  }
}

// Where the request came from: RFC 3261 section 18.2.1.
int add_received(cpsip_msg& msg, const SocCB& cb) {
  cpsip_address_text peer{};
  (void)Cpsip_SOC_AddressToString(cb.remote.addr, peer);
  std::array<char, 9 + kAddressTextSize> text;
  const int size = format_text(text, "received=%s", peer.data());
  const unsigned last = CPSIP_MsgGetParmCnt(msg, CPSIP_FLD_VIA_PARM, 1) + 1;
  return cpsip_msg_write(msg, CPSIP_FLD_VIA_PARM, 1, last, {text.data(), static_cast<std::size_t>(size)});
}

// Completes the top Via of a request, so that its answers find back. 0, or the error of the access.
int complete_via(cpsip_msg& msg, const SocCB& cb) {
  int result = clear_received(msg);
  if (result != kAccessOk) return result;
  const bool rport = fill_rport(msg, cb, result);
  if (result != kAccessOk) return result;
  cpsip_field_text host;
  std::uint32_t addr = 0;
  const bool numeric =
      Cpsip_SOC_StringToAddress(cpsip_msg_read(msg, CPSIP_FLD_VIA_HOST, 1, 0, host), addr) == 0;
  if (numeric && !rport && addr == cb.remote.addr) return kAccessOk;
  return add_received(msg, cb);
}

}  // namespace

int cpsip_net_iptype(std::string_view text) {
  const std::string_view rest = text.substr(std::min<std::size_t>(text.size(), 1));
  if (rest.find(':') != rest.npos) return kIp6;
  if (std::any_of(rest.begin(), rest.end(), is_letter)) return kIpName;
  return rest.find('.') != rest.npos ? kIp4 : kIpNone;
}

int cpsip_net_open(SocCB& cb, const cpsip_address& local, const cpsip_address& remote) {
  int err = 0;
  cb.fd.reset(Cpsip_SOC_Socket(cb.transport, local.type, err));
  if (!cb.fd.is_open()) {
    cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(err));
    return -1;
  }
  return cb.transport == cpsip_transport_kind::udp ? open_udp(cb, local, remote)
                                                   : open_stream(cb, local, remote);
}

void cpsip_net_close(SocCB& cb) {
  Cpsip_SOC_DelSocCB(cb);
  if (cb.state == kSocNone) cb.fd.reset();
}

void cpsip_net_recv(int fd) {
  SocCB* const cb = find_block(fd);
  if (cb == nullptr || cb->state != kSocBound) return;
  std::array<char, kSocketBlockSize> room;
  int err = 0;
  const int length = Cpsip_SOC_Recvfrom(fd, room, cb->remote, err);
  if (length < 0) {
    cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(err));
    return;
  }
  cpsip_msg_ptr msg = scan_datagram(block_of({room.data(), static_cast<std::size_t>(length)}));
  if (msg == nullptr) return;
  if (msg->method != cpsip_method::response) {
    if (const int result = complete_via(*msg, *cb); result != kAccessOk) {
      cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
      return;
    }
  }
  cb->scan_msg = std::move(msg);
  cpsip_tact_receive_msg(*cb);
}

void cpsip_net_soc_callback(int fd, bool read, bool /*write*/, bool /*except*/) {
  if (read) cpsip_net_recv(fd);
}

}  // namespace hark

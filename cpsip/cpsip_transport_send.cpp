// The way out: destination and socket of a message, and the queue.
#include <arpa/inet.h>

#include <algorithm>
#include <list>
#include <string>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_format.h"
#include "cpsip/cpsip_transport.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_transport;

// What waits for a socket that is not open or a destination that is not known. More than this is a flood:
// the oldest goes.
constexpr std::size_t kMaxWaiting = 1024;

struct Entry {
  const cpsip_dlog_cb* dialog;  // borrowed: where it goes; takes the entry back when it ends
  cpsip_transport_kind kind;    // what it was queued for
  cpsip_osa_chain block;        // formatted
};
std::list<Entry> g_queue;

int report(int result) {
  cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
  return result;
}

cpsip_transport_kind kind_of(std::string_view text) {
  struct Row {
    std::string_view text;
    cpsip_transport_kind kind;
  };
  static constexpr std::array<Row, 4> kRows{{{"UDP", cpsip_transport_kind::udp},
                                             {"TCP", cpsip_transport_kind::tcp},
                                             {"SCTP", cpsip_transport_kind::sctp},
                                             {"TLS", cpsip_transport_kind::tls}}};
  for (const Row& row : kRows) {
    if (text.size() == row.text.size() && starts_with_nocase(text, row.text)) return row.kind;
  }
  return cpsip_transport_kind::none;
}

// A parameter of the top Via; empty: none.
std::string_view via_parm(const cpsip_msg& msg, std::string_view name, cpsip_field_text& value) {
  unsigned index = 0;
  std::uint32_t length = 0;
  if (CPSIP_MsgGetParmValue(msg, CPSIP_FLD_VIA_PARM, 1, name, index, value, length) != kAccessOk ||
      index == 0)
    return {};
  return {value.data(), length};
}

int address_of(std::string_view host, std::uint32_t& addr) {
  switch (cpsip_net_iptype(host)) {
    case kIp4:
    case kIp6:
      return Cpsip_SOC_StringToAddress(host, addr) == 0 ? kNetOk : report(kNetBadAddress);
    default:
      return report(kNetBadAddress);  // a name: this stack resolves none
  }
}

std::uint16_t port_of(std::string_view text) { return static_cast<std::uint16_t>(take_digits(text, 0xFFFF)); }

// Where a response goes: RFC 3261 section 18.2.2, RFC 3581 section 4.
int response_destination(const cpsip_msg& msg, cpsip_xport& xport) {
  cpsip_field_text room;
  int result = kAccessOk;
  const std::string_view transport = cpsip_msg_read(msg, CPSIP_FLD_VIA_TRANSPORT, 1, 0, room, &result);
  if (result != kAccessOk) return report(result);
  xport.transport = kind_of(transport);
  if (xport.transport == cpsip_transport_kind::none) return report(kNetBadAddress);

  std::string_view host = via_parm(msg, "maddr=", room);
  bool received = false;
  if (host.empty()) {
    host = via_parm(msg, "received=", room);
    received = !host.empty();
  }
  if (host.empty()) host = cpsip_msg_read(msg, CPSIP_FLD_VIA_HOST, 1, 0, room, &result);
  if (result != kAccessOk) return report(result);
  if (const int error = address_of(host, xport.remote.addr); error != kNetOk) return error;
  xport.remote.type = kAddressIp4;
  xport.flags |= kXportRemoteKnown;

  std::uint16_t port = received ? port_of(via_parm(msg, "rport=", room)) : std::uint16_t{0};
  if (port == 0) port = port_of(cpsip_msg_read(msg, CPSIP_FLD_VIA_PORT, 1, 0, room));
  xport.remote.port = port != 0 ? port : kSipPort;
  return kNetOk;
}

bool is_multicast(std::uint32_t addr) { return ntohl(addr) >> 28U == 0xEU; }

// A request to a group says so in its Via, RFC 3261 section 18.1.1.
int add_maddr(cpsip_msg& msg, const cpsip_xport& xport) {
  cpsip_field_text room;
  if (!is_multicast(xport.remote.addr) || !via_parm(msg, "maddr=", room).empty()) return kNetOk;
  cpsip_address_text address{};
  (void)Cpsip_SOC_AddressToString(xport.remote.addr, address);
  std::array<char, 6 + kAddressTextSize> text;
  const int length = format_text(text, "maddr=%s", address.data());
  return cpsip_msg_write(msg, CPSIP_FLD_VIA_PARM, 1, CPSIP_MsgGetParmCnt(msg, CPSIP_FLD_VIA_PARM, 1) + 1,
                         {text.data(), static_cast<std::size_t>(length)});
}

// An open UDP block that sends from `port` to the address, or null.
SocCB* find_socket(const cpsip_xport& xport, std::uint16_t port) {
  for (SocCB& cb : Cpsip_SOC_Blocks()) {
    if (cb.fd.is_open() && cb.remote.type == kAddressIp4 && cb.remote.addr == xport.remote.addr &&
        cb.local.port == port && cb.transport == cpsip_transport_kind::udp) {
      return &cb;
    }
  }
  return nullptr;
}

// Sees to it that the dialog has a socket on the port that its Via and Contact tell.
int choose_socket(cpsip_dlog_cb& dialog) {
  cpsip_xport& xport = dialog.xport;
  const std::uint16_t port = dialog.local_port != 0 ? dialog.local_port : xport.local.port;
  if (xport.socket && xport.socket->local.port == port) return kNetOk;
  xport.socket = cpsip_soc_ref();
  SocCB* cb = find_socket(xport, port);
  if (cb != nullptr) {
    cb->remote.port = xport.remote.port;
    xport.socket = cpsip_soc_ref(cb);
    return kNetOk;
  }
  cb = Cpsip_SOC_AddSocCB(dialog.service, cpsip_net_soc_callback, cpsip_transport_kind::udp);
  if (cb == nullptr) return report(kNetNoSocket);
  cpsip_soc_ref made(cb);
  cpsip_address local = xport.local;
  local.port = port;
  if (cpsip_net_open(*cb, local, xport.remote) != 0) return report(kNetNoSocket);
  xport.socket = std::move(made);
  return kNetOk;
}

// A transport in the Request-URI concerns who chose it: it does not go out with a datagram.
void strip_transport(cpsip_msg& msg) {
  static constexpr std::string_view kName = ";transport=";
  cpsip_field_text room;
  const std::string_view uri = cpsip_msg_read(msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  for (std::size_t at = uri.find(';'); at != uri.npos; at = uri.find(';', at + 1)) {
    if (!starts_with_nocase(uri.substr(at), kName)) continue;
    const std::size_t end = std::min(uri.find(';', at + 1), uri.size());
    std::string rest(uri.substr(0, at));
    rest += uri.substr(end);
    (void)cpsip_msg_write(msg, CPSIP_FLD_REQUEST_URI, 1, 0, rest);
    return;
  }
}

// The top Via states the transport that is really used.
void state_transport(cpsip_osa_buf& block) {
  static constexpr std::string_view kPrefix = "SIP/2.0/";
  static constexpr std::string_view kUsed = "SIP/2.0/UDP";
  const std::size_t at = block.text().find(kPrefix);
  if (at != std::string_view::npos)
    std::copy_n(kUsed.data(), std::min(kUsed.size(), block.used - at), block.data() + at);
}

bool can_go(const Entry& entry) {
  cpsip_address_text text;
  const cpsip_xport& xport = entry.dialog->xport;
  return Cpsip_SOC_AddressToString(xport.remote.addr, text) == 0 && xport.socket &&
         xport.socket->state == kSocBound && (xport.flags & kXportReady) == kXportReady;
}

}  // namespace

cpsip_transport_kind cpsip_net_transport_for(std::size_t length) {
  return length > kMaxUdpMessage ? cpsip_transport_kind::tcp : cpsip_transport_kind::udp;
}

// Kept: where a response goes is where the dialog's next request without a port of its own goes, since a
// station's Contact names none.
int cpsip_net_send(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  if (dialog.is_gone()) return kNetNoSocket;
  const bool response = msg->method == cpsip_method::response;
  int result = response ? response_destination(*msg, dialog.xport) : add_maddr(*msg, dialog.xport);
  if (result == kNetOk) result = choose_socket(dialog);
  if (result != kNetOk) return result;
  strip_transport(*msg);

  Entry entry{&dialog, cpsip_transport_kind::udp, {}};
  const std::string_view route = dialog.service->ua_parms->pszRoute;
  if (cpsip_msg_format(*msg, route, entry.block) != 0) return report(kNetNotFormatted);
  std::size_t length = 0;
  for (const cpsip_osa_buf* block = entry.block.get(); block != nullptr; block = block->next)
    length += block->used;
  entry.kind = cpsip_net_transport_for(length);
  if (g_queue.size() == kMaxWaiting) g_queue.pop_front();
  g_queue.push_back(std::move(entry));
  cpsip_snd_msg();
  return kNetOk;
}

// Kept: what was meant for a stream because of its size is moved back and leaves as a datagram, of which only
// the first block is sent. Stations have no stream to send it by, and their own messages are far smaller.
void cpsip_snd_msg() {
  for (auto entry = g_queue.begin(); entry != g_queue.end();) {
    if (!can_go(*entry)) {
      ++entry;
      continue;
    }
    entry->kind = cpsip_transport_kind::udp;
    state_transport(*entry->block);
    int err = 0;
    const std::string_view text = entry->block->text();
    const cpsip_xport& xport = entry->dialog->xport;
    (void)Cpsip_SOC_Sendto(xport.socket->fd.get(), text, xport.remote, err);
    entry = g_queue.erase(entry);
  }
}

void cpsip_snd_forget(const cpsip_dlog_cb* dialog) {
  g_queue.remove_if([dialog](const Entry& entry) { return dialog == nullptr || entry.dialog == dialog; });
}

std::size_t cpsip_snd_waiting() { return g_queue.size(); }

}  // namespace hark

// A dialog's route set and its targets: RFC 3261 sections 12.2.1.1, 16.12 and 19.1.5, as far as a stack goes
// that resolves no names.
#include <algorithm>
#include <array>
#include <string>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/cpsip_transport.h"
#include "cpsip/cpsip_ua.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_ua;

// Where in `uri` ";", perhaps blanks, and `name` stand, in any case; npos: nowhere. `begin` becomes the place
// behind them.
std::size_t find_parm(std::string_view uri, std::string_view name, std::size_t& begin) {
  for (std::size_t at = uri.find(';'); at != uri.npos; at = uri.find(';', at + 1)) {
    const std::size_t word = uri.find_first_not_of(" \t", at + 1);
    if (word == uri.npos || !starts_with_nocase(uri.substr(word), name)) continue;
    begin = word + name.size();
    return at;
  }
  return uri.npos;
}

bool is_loose(std::string_view route) {
  std::size_t begin = 0;
  return find_parm(route, "lr", begin) != route.npos;
}

// The value of ";maddr=" in `uri`; empty: none. One that begins in the last 13 characters has no room for an
// address and does not count.
std::string_view maddr_of(std::string_view uri) {
  static constexpr std::size_t kRoom = 13;
  std::size_t begin = 0;
  if (uri.size() <= kRoom) return {};
  const std::size_t at = find_parm(uri, "maddr=", begin);
  if (at == uri.npos || at >= uri.size() - kRoom) return {};
  return uri.substr(begin, uri.find(';', begin) - begin);
}

std::string_view route_uri(const cpsip_msg& msg, unsigned instance, cpsip_field_text& room) {
  return cpsip_msg_read(msg, CPSIP_FLD_ROUTE_URI, instance, 0, room);
}

int copy_routes(const cpsip_msg& src, cpsip_msg& dst) {
  if (&src == &dst) return kAccessOk;
  for (unsigned i = 1; i <= src.route_count; ++i) {
    if (const int result = cpsip_msg_copy_field(src, dst, i, CPSIP_FLD_ROUTE_URI); result != kAccessOk)
      return result;
  }
  return kAccessOk;
}

// The first hop wants to be the Request-URI itself: it gets what it wants, and the target comes last.
int write_strict_routes(const cpsip_msg& state, cpsip_msg& msg) {
  cpsip_field_text room;
  const std::string target(cpsip_msg_read(state, CPSIP_FLD_REQUEST_URI, 1, 0, room));
  const unsigned count = state.route_count;
  std::string first(route_uri(state, 1, room));
  int result = kAccessOk;
  for (unsigned i = 2; i <= count && result == kAccessOk; ++i)
    result = cpsip_msg_write(msg, CPSIP_FLD_ROUTE_URI, i - 1, 0, route_uri(state, i, room));
  if (result == kAccessOk) result = cpsip_msg_write(msg, CPSIP_FLD_ROUTE_URI, count, 0, target);
  if (result == kAccessOk) result = cpsip_msg_write(msg, CPSIP_FLD_REQUEST_URI, 1, 0, first);
  return result;
}

int write_route_set(const cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const cpsip_msg& state = *dialog.state_msg;
  if (!dialog.related_dialog.expired() || state.route_count == 0) return kAccessOk;
  cpsip_field_text room;
  return is_loose(route_uri(state, 1, room)) ? copy_routes(state, msg) : write_strict_routes(state, msg);
}

// The URI, or bare address, that the request goes to first.
std::string next_hop(const cpsip_msg& msg, cpsip_dlog_cb& dialog) {
  cpsip_field_text room;
  std::string_view route = msg.route_count != 0 ? route_uri(msg, 1, room) : std::string_view{};
  dialog.maddr = maddr_of(route);
  if (!dialog.maddr.empty()) return dialog.maddr;
  if (is_loose(route)) return std::string(route);
  const std::string_view uri = cpsip_msg_read(msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  dialog.maddr = maddr_of(uri);
  return dialog.maddr.empty() ? std::string(uri) : dialog.maddr;
}

int bad_next_hop(cpsip_dlog_cb& dialog) {
  dialog.xport.flags &= ~kXportRemoteKnown;
  cpapp_uxp(cpapp_here(kHere));
  return kUaBadNextHop;
}

void clear_routes(cpsip_msg& msg) {
  msg.route_head = msg.route_display_head = msg.route_uri_head = 0;
  msg.route_count = 0;
  msg.record_route_head = msg.record_route_display_head = msg.record_route_uri_head = 0;
  msg.record_route_count = 0;
}

}  // namespace

int cpsip_ua_process_remote_contact(const cpsip_msg& msg, cpsip_dlog_cb& dialog) {
  cpsip_field_text contact_room;
  cpsip_field_text target_room;
  if (msg.contact_count == 0) return kAccessOk;
  int result = kAccessOk;
  const std::string_view contact = cpsip_msg_read(msg, CPSIP_FLD_CONTACT_URI, 1, 0, contact_room, &result);
  if (result != kAccessOk || contact.empty()) return result;
  const std::string_view target = cpsip_msg_read(*dialog.state_msg, CPSIP_FLD_REQUEST_URI, 1, 0, target_room);
  // Kept: compared over the new URI's length, so that one that only lost a tail is taken for the same.
  if (target.substr(0, contact.size()) == contact) return kAccessOk;
  if (dialog.service->ua_parms->pszRoute.empty()) dialog.xport.flags &= ~kXportRemoteKnown;
  return cpsip_msg_write(*dialog.state_msg, CPSIP_FLD_REQUEST_URI, 1, 0, contact);
}

int cpsip_ua_process_local_contact(cpsip_msg& msg, cpsip_dlog_cb& dialog) {
  cpsip_field_text room;
  int result = kAccessOk;
  cpsip_uri uri;
  uri.text = cpsip_msg_read(msg, CPSIP_FLD_CONTACT_URI, 1, 0, room, &result);
  if (result == kAccessOk) result = CPSIP_MsgParseURI(uri);
  if (result != kAccessOk) return result;
  const std::uint16_t service_port = dialog.service->xport.local.port;
  if (msg.method != cpsip_method::response && uri.transport != cpsip_transport_kind::none)
    dialog.xport.transport = uri.transport;
  if (uri.port == 0 || uri.port == service_port) {
    dialog.local_port = service_port;
  } else if (uri.port != dialog.local_port) {
    dialog.local_port = uri.port;
    cpsip_field_text text;
    (void)CPSIP_UriToStr(uri, text);
    return cpsip_msg_write(*dialog.state_msg, CPSIP_FLD_CONTACT_URI, 1, 0, uri.text);
  }
  return kAccessOk;
}

int cpsip_ua_update_route_set(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  cpsip_msg& state = *dialog.state_msg;
  clear_routes(state);
  cpsip_field_text room;
  for (unsigned i = 1; i <= msg.record_route_count; ++i) {
    int result = kAccessOk;
    const std::string_view uri = cpsip_msg_read(msg, CPSIP_FLD_RECORD_ROUTE_URI, i, 0, room, &result);
    if (result == kAccessOk) result = cpsip_msg_write(state, CPSIP_FLD_ROUTE_URI, i, 0, uri);
    if (result == kAccessOk) result = cpsip_msg_write(state, CPSIP_FLD_RECORD_ROUTE_URI, i, 0, uri);
    if (result != kAccessOk) return result;
  }
  return kAccessOk;
}

int cpsip_ua_reverse_route_set(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  const unsigned count = msg.record_route_count;
  if (count == 0) return kAccessOk;
  cpsip_msg& state = *dialog.state_msg;
  clear_routes(state);
  cpsip_field_text room;
  for (unsigned i = 1; i <= count; ++i) {
    int result = kAccessOk;
    const std::string_view uri = cpsip_msg_read(msg, CPSIP_FLD_RECORD_ROUTE_URI, i, 0, room, &result);
    if (result == kAccessOk) result = cpsip_msg_write(state, CPSIP_FLD_RECORD_ROUTE_URI, i, 0, uri);
    if (result == kAccessOk) result = cpsip_msg_write(state, CPSIP_FLD_ROUTE_URI, count + 1 - i, 0, uri);
    if (result != kAccessOk) return result;
  }
  return kAccessOk;
}

// The dialog has ended before the application hears of it: the BYE that a line answers with finds nothing to
// say goodbye to and is told so, instead of failing at the same next hop for ever.
int cpsip_ua_process_request_route_set(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (const int result = write_route_set(dialog, msg); result != kAccessOk) return result;
  if (cpsip_ua_process_request_dest(msg, dialog) == kUaOk) return kUaOk;
  const bool first = dialog.state == DLG_NEW && msg.method == cpsip_method::invite;
  dialog.state = DLG_ENDED;
  cpsip_serv_app_status(dialog, first ? kStatusInviteFailed : kStatusPortConfigErr, msg.method);
  (void)cpsip_serv_delete_dlog_cb(dialog);
  return kUaBadNextHop;
}

int cpsip_ua_process_request_dest(const cpsip_msg& msg, cpsip_dlog_cb& dialog) {
  cpsip_field_text room;
  // A blank or a control byte would end the start line early.
  const std::string_view target = cpsip_msg_read(msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  if (std::any_of(target.begin(), target.end(), [](unsigned char c) { return c <= ' ' || c == 0x7F; }))
    return bad_next_hop(dialog);
  const std::string hop = next_hop(msg, dialog);
  cpsip_uri uri;
  uri.text = hop;
  if (CPSIP_MsgParseURI(uri) != kUriOk) return bad_next_hop(dialog);
  cpsip_xport& xport = dialog.xport;
  if (uri.port != 0) {
    xport.remote.port = uri.port;
  } else if (xport.remote.port == 0) {
    xport.remote.port = uri.transport == cpsip_transport_kind::tls ? kSipsPort : kSipPort;
  }
  if (uri.transport != cpsip_transport_kind::none) xport.transport = uri.transport;
  switch (cpsip_net_iptype(uri.host)) {
    case kIp4:
    case kIp6:
      if (Cpsip_SOC_StringToAddress(uri.host, xport.remote.addr) != 0) return bad_next_hop(dialog);
      break;
    default:
      return bad_next_hop(dialog);  // a name
  }
  xport.remote.type = kAddressIp4;
  xport.flags |= kXportRemoteKnown;
  return kUaOk;
}

}  // namespace hark

#include "cpsip/cpsip_ua.h"

#include <array>
#include <cstdlib>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_msg_copy.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_ua;

struct Reason {
  std::uint16_t status;
  const char* text;
};
// By status, ascending.
constexpr std::array<Reason, 57> kReasons{{
    {100, "Trying"},
    {180, "Ringing"},
    {181, "Call Is Being Forwarded"},
    {182, "Call Queued"},
    {183, "Proceeding"},
    {200, "OK"},
    {202, "Accepted"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Moved Temporarily"},
    {305, "Use Proxy"},
    {380, "Alternative Service"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {413, "Request Entity Too Large"},
    {414, "Request-URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Unsupported URI Scheme"},
    {420, "Bad Extension"},
    {421, "Extension Required"},
    {422, "Session Timer Interval Too Small"},
    {423, "Interval Too Brief"},
    {428, "Use Authentication Token"},
    {429, "Provide Referror Identity"},
    {480, "Temporarily Unavailable"},
    {481, "Call/Transaction Does Not Exist"},
    {482, "Loop Detected"},
    {483, "Too Many Hops"},
    {484, "Address Incomplete"},
    {485, "Ambiguous"},
    {486, "Busy Here"},
    {487, "Request Terminated"},
    {488, "Not Acceptable Here"},
    {489, "Bad Event"},
    {491, "Request Pending"},
    {493, "Undecipherable"},
    {500, "Server Internal Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Server Time-out"},
    {505, "Version Not Supported"},
    {513, "Message Too Large"},
    {600, "Busy Everywhere"},
    {603, "Decline"},
    {604, "Does Not Exist Anywhere"},
    {606, "Not Acceptable"},
}};

struct Party {
  std::uint32_t display;
  std::uint32_t uri;
  std::uint32_t parm;
};
constexpr Party kFrom{CPSIP_FLD_FROM_DISPLAY, CPSIP_FLD_FROM_URI, CPSIP_FLD_FROM_PARM};
constexpr Party kTo{CPSIP_FLD_TO_DISPLAY, CPSIP_FLD_TO_URI, CPSIP_FLD_TO_PARM};

int copy_text_field(const cpsip_msg& src, std::uint32_t from, cpsip_msg& dst, std::uint32_t to) {
  cpsip_field_text room;
  int result = kAccessOk;
  const std::string_view text = cpsip_msg_read(src, from, 1, 0, room, &result);
  if (result != kAccessOk || text.empty()) return result;
  return cpsip_msg_write(dst, to, 1, 0, text);
}

int copy_party(const cpsip_msg& src, const Party& from, cpsip_msg& dst, const Party& to) {
  int result = copy_text_field(src, from.display, dst, to.display);
  if (result == kAccessOk) result = copy_text_field(src, from.uri, dst, to.uri);
  if (result == kAccessOk) cpsip_msg_copy_parms_across(src, from.parm, dst, to.parm);
  return result;
}

std::string_view transport_text(const cpsip_xport& xport) {
  switch (xport.transport) {
    case cpsip_transport_kind::udp:
      return "UDP";
    case cpsip_transport_kind::tcp:
      return "TCP";
    default:
      cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(xport.transport));
      return "UNK";
  }
}

}  // namespace

std::string_view cpsip_ua_reason(std::uint16_t status) {
  for (const Reason& row : kReasons) {
    if (row.status == status) return row.text;
  }
  return {};
}

cpsip_msg_ptr cpsip_ua_response(std::uint16_t status, const cpsip_msg& request, std::string_view reason) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->status_code = status;
  msg->cseq = request.cseq;
  // Of a CSeq that could not be read the request itself tells the method.
  msg->cseq_method = request.cseq_method != cpsip_method::response ? request.cseq_method : request.method;
  if (!reason.empty()) (void)cpsip_msg_write(*msg, CPSIP_FLD_REASON, 1, 0, reason);
  return msg;
}

std::string_view cpsip_ua_tag(const cpsip_msg& msg, std::uint32_t parm_field, cpsip_field_text& out) {
  unsigned index = 0;
  std::uint32_t length = 0;
  if (CPSIP_MsgGetParmValue(msg, parm_field, 1, "tag=", index, out, length) != kAccessOk || index == 0)
    return {};
  return {out.data(), length};
}

// The values print in the reverse order of their drawing.
int cpsip_ua_make_tag(cpsip_msg& msg, std::uint32_t parm_field) {
  cpsip_field_text room;
  if (!cpsip_ua_tag(msg, parm_field, room).empty()) return kAccessOk;
  std::array<unsigned, 4> drawn{};
  for (unsigned& value : drawn)
    value = static_cast<unsigned>(std::rand());
  std::array<char, 48> text;
  const int length = format_text(text, "tag=%x%x%x%x", drawn[3], drawn[2], drawn[1], drawn[0]);
  return cpsip_msg_write(msg, parm_field, 1, CPSIP_MsgGetParmCnt(msg, parm_field, 1) + 1,
                         {text.data(), static_cast<std::size_t>(length)});
}

int cpsip_ua_write_via(cpsip_dlog_cb& dialog, cpsip_msg& dest) {
  const cpsip_xport_parms& parms = *dialog.service->xport_parms;
  const std::string_view host = parms.pszPublicHost.empty() ? parms.pszLocalHost : parms.pszPublicHost;
  std::array<char, 8> port_text{};
  std::string_view port = dialog.service->ua_parms->pszPort;
  if (dialog.local_port != 0) {
    const int length = format_text(port_text, "%u", unsigned{dialog.local_port});
    port = {port_text.data(), static_cast<std::size_t>(length)};
  } else {
    std::string_view digits = port;
    dialog.local_port = static_cast<std::uint16_t>(take_digits(digits, 0xFFFF));
  }
  int result = cpsip_msg_write(dest, CPSIP_FLD_VIA_TRANSPORT, 1, 0, transport_text(dialog.xport));
  if (result == kAccessOk) result = cpsip_msg_write(dest, CPSIP_FLD_VIA_HOST, 1, 0, host);
  if (result == kAccessOk) result = cpsip_msg_write(dest, CPSIP_FLD_VIA_PORT, 1, 0, port);
  return result;
}

int cpsip_ua_copy_via(const cpsip_msg& src, cpsip_msg& dst) {
  dst.via_head = dst.via_transport_head = dst.via_host_head = dst.via_port_head = 0;
  dst.via_count = 0;
  return cpsip_msg_copy_via(src, dst);
}

int cpsip_copy_dialog_state_fields(bool with_uri, bool with_new_via, cpsip_dlog_cb& dialog,
                                   bool same_direction, const cpsip_msg& src, cpsip_msg& dst) {
  int result = kAccessOk;
  if (with_uri) result = cpsip_msg_copy_field(src, dst, 1, CPSIP_FLD_REQUEST_URI);
  if (result == kAccessOk) result = copy_party(src, kFrom, dst, same_direction ? kFrom : kTo);
  if (result == kAccessOk) result = cpsip_msg_copy_field(src, dst, 1, CPSIP_FLD_CALL_ID);
  if (result == kAccessOk) result = copy_party(src, kTo, dst, same_direction ? kTo : kFrom);
  if (result == kAccessOk)
    result = with_new_via ? cpsip_ua_write_via(dialog, dst) : cpsip_ua_copy_via(src, dst);
  if (result != kAccessOk) cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
  return result;
}

}  // namespace hark

#include "cpsip/cpsip_msg_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <string>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_fields.h"
#include "cpsip/cpsip_msg_access.h"

namespace hark {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// The text of the row with this id; empty for the last row's and for one that is none.
std::string_view text_of(std::span<const cpsip_row> table, std::uint32_t id) {
  for (const cpsip_row& row : table.first(table.size() - 1)) {
    if (row.id == id) return row.text;
  }
  return {};
}

// Whether a record is a whole line of a received message, with its own line end.
bool is_received_line(const cpsip_field& field) {
  std::array<char, kLineEnd.size()> end;
  return field.length >= end.size() &&
         cpsip_read_text(field, field.length - std::uint32_t{end.size()}, end) == kLineEnd;
}

// What is written of a message, header by header in the order of the wire.
class Formatter {
 public:
  Formatter(cpsip_msg& msg, std::string_view route, cpsip_osa_buf* block)
      : msg_(msg), route_(route), out_{block} {}

  // 0, or the error of writing a Route.
  int headers();
  // 0, or the error of the SDP encoder.
  int body();

 private:
  void text(std::string_view text) { cpsip_msg_copy_str_to_osa_buf(text, out_); }
  void field(const cpsip_field& field) { cpsip_msg_copy_osa_buf_field_to_osa_buf(field, out_); }
  template <typename Number>
  void number(Number value) {
    std::array<char, 11> digits;
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    text({digits.data(), static_cast<std::size_t>(end - digits.data())});
  }
  [[nodiscard]] bool is_request() const { return msg_.method != cpsip_method::response; }

  void start_line();
  void vias();
  int routes();
  int put_outbound_route();
  void record_routes();
  void from_and_to();
  void contacts();
  void cseq();
  void expires();
  void value_line(std::string_view name, const cpsip_field& value);
  void max_forwards();
  void unknown_headers();
  void allow();
  void list(std::string_view name, std::uint16_t head, unsigned count);
  void replaces();
  void replaces_value(bool escaped);
  void refer_to();
  void referred_by();
  void subscription_state();
  void event();
  int session(std::array<char, kCpsdpMaxEncoded>& buffer, std::uint32_t& length);
  void content_type();

  cpsip_msg& msg_;
  const std::string_view route_;
  cpsip_osa_writer out_;
};

// Kept: a method that the table does not have leaves its place empty. Such a request is never ours to send.
void Formatter::start_line() {
  if (is_request()) {
    text(cpsip_method_text(msg_.method));
    text(" ");
    field(msg_.request_uri);
    text(" SIP/2.0\r\n");
    return;
  }
  text("SIP/2.0 ");
  number(msg_.status_code);
  text(" ");
  field(msg_.reason);
  text(kLineEnd);
}

void Formatter::vias() {
  std::uint16_t via = msg_.via_head;
  std::uint16_t transport = msg_.via_transport_head;
  std::uint16_t host = msg_.via_host_head;
  std::uint16_t port = msg_.via_port_head;
  for (unsigned i = 0; i < msg_.via_count; ++i) {
    text("Via: SIP/2.0/");
    cpsip_msg_copy_field_using_idx_to_osa_buf(msg_, ' ', transport, out_);
    cpsip_msg_copy_field_using_idx_to_osa_buf(msg_, 0, host, out_);
    if (msg_.fields[port].length != 0) text(":");
    cpsip_msg_copy_field_using_idx_to_osa_buf(msg_, 0, port, out_);
    cpsip_msg_copy_parms_to_osa_buf(msg_, msg_.fields[via].next_parm, out_);
    via = msg_.fields[via].next_hdr;
  }
}

int Formatter::put_outbound_route() {
  cpsip_field_text room;
  if (cpsip_msg_read(msg_, CPSIP_FLD_ROUTE_URI, 1, 0, room) == route_) return kAccessOk;  // resent
  const int result = cpsip_msg_write(msg_, CPSIP_FLD_ROUTE_URI, 1, 0, route_);
  if (result != kAccessOk) (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
  return result;
}

// With an outbound route the first Route is the next hop only, and an ACK or CANCEL goes where its INVITE
// went.
int Formatter::routes() {
  const bool follows_invite = msg_.method == cpsip_method::ack || msg_.method == cpsip_method::cancel;
  const bool is_uri = starts_with_nocase(route_, "sip:") || starts_with_nocase(route_, "sips:");
  std::uint16_t display = msg_.route_display_head;
  std::uint16_t uri = msg_.route_uri_head;
  for (unsigned i = 0; i < msg_.route_count; ++i) {
    if (follows_invite && route_.empty()) return kAccessOk;
    if (follows_invite && i == 0) {
      if (const int result = put_outbound_route(); result != kAccessOk) return result;
      uri = msg_.route_uri_head;
    }
    const bool is_next_hop_only = i == 0 && !route_.empty() && is_request() && !is_uri;
    if (!is_next_hop_only) {
      text("Route:");
      cpsip_msg_copy_name_addr_to_osa_buf(msg_.fields[display], msg_.fields[uri], out_);
      text(kLineEnd);
      if (follows_invite) return kAccessOk;
    }
    display = msg_.fields[display].next_hdr;
    uri = msg_.fields[uri].next_hdr;
  }
  return kAccessOk;
}

void Formatter::record_routes() {
  std::uint16_t display = msg_.record_route_display_head;
  std::uint16_t uri = msg_.record_route_uri_head;
  for (unsigned i = 0; i < msg_.record_route_count; ++i) {
    text("Record-Route:");
    cpsip_msg_copy_name_addr_to_osa_buf(msg_.fields[display], msg_.fields[uri], out_);
    text(kLineEnd);
    display = msg_.fields[display].next_hdr;
    uri = msg_.fields[uri].next_hdr;
  }
}

void Formatter::from_and_to() {
  text("From:");
  cpsip_msg_copy_name_addr_to_osa_buf(msg_.from_display, msg_.from_uri, out_);
  cpsip_msg_copy_parms_to_osa_buf(msg_, msg_.from.next_parm, out_);
  text("To:");
  cpsip_msg_copy_name_addr_to_osa_buf(msg_.to_display, msg_.to_uri, out_);
  cpsip_msg_copy_parms_to_osa_buf(msg_, msg_.to.next_parm, out_);
}

void Formatter::contacts() {
  std::uint16_t contact = msg_.contact_head;
  std::uint16_t display = msg_.contact_display_head;
  std::uint16_t uri = msg_.contact_uri_head;
  for (unsigned i = 0; i < msg_.contact_count; ++i) {
    text("Contact:");
    cpsip_msg_copy_name_addr_to_osa_buf(msg_.fields[display], msg_.fields[uri], out_);
    cpsip_msg_copy_parms_to_osa_buf(msg_, msg_.fields[contact].next_parm, out_);
    contact = msg_.fields[contact].next_hdr;
    display = msg_.fields[display].next_hdr;
    uri = msg_.fields[uri].next_hdr;
  }
}

void Formatter::cseq() {
  text("CSeq: ");
  number(msg_.cseq);
  text(" ");
  text(msg_.cseq_method == cpsip_method::unrecognized ? std::string_view(msg_.unknown_method)
                                                      : cpsip_method_text(msg_.cseq_method));
  text(kLineEnd);
}

void Formatter::expires() {
  if (msg_.expires == 0 && msg_.method != cpsip_method::register_) return;
  text("Expires: ");
  number(msg_.expires);
  text(kLineEnd);
}

void Formatter::value_line(std::string_view name, const cpsip_field& value) {
  if (value.length == 0) return;
  text(name);
  field(value);
  text(kLineEnd);
}

void Formatter::max_forwards() {
  if (!is_request() || msg_.max_forwards == 0) return;
  text("Max-Forwards: ");
  number(unsigned{msg_.max_forwards});
  text(kLineEnd);
}

// A header that the application placed has no line end; one that was received has, and is not sent on.
void Formatter::unknown_headers() {
  std::uint16_t index = msg_.unknown_head;
  for (unsigned i = 0; i < msg_.unknown_count; ++i) {
    const cpsip_field& header = msg_.fields[index];
    if (header.length != 0 && !is_received_line(header)) {
      field(header);
      text(kLineEnd);
    }
    index = header.next_hdr;
  }
}

// What this stack speaks, whatever Allow headers the message has.
void Formatter::allow() {
  if (msg_.include_allow) text("Allow: INVITE, ACK, BYE, CANCEL, REFER, OPTIONS, NOTIFY\r\n");
}

void Formatter::list(std::string_view name, std::uint16_t head, unsigned count) {
  for (unsigned i = 0; i < count; ++i) {
    text(name);
    cpsip_msg_copy_comma_parms_to_osa_buf(msg_, msg_.fields[head].next_parm, out_);
    head = msg_.fields[head].next_hdr;
  }
}

// In a REFER it travels inside Refer-To.
void Formatter::replaces() {
  if (msg_.replaces.length == 0 || msg_.method == cpsip_method::refer) return;
  text("Replaces: ");
  replaces_value(false);
  text(kLineEnd);
}

// The record is the value; of a received message it is the whole line.
void Formatter::replaces_value(bool escaped) {
  std::string flat(msg_.replaces.length, ' ');
  std::string_view value(flat.data(), cpsip_msg_copy_osa_buf_field_to_str(msg_.replaces, flat.data()));
  if (value.ends_with(kLineEnd)) {
    value.remove_suffix(kLineEnd.size());
    value.remove_prefix(std::min(value.find(':') + 1, value.size()));
    value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
  }
  if (!escaped) {
    text(value);
    return;
  }
  for (const char c : value) {
    text(c == '=' ? "%3D" : c == '@' ? "%40" : c == ';' ? "%3B" : std::string_view(&c, 1));
  }
}

void Formatter::refer_to() {
  if (msg_.refer_to_uri.length == 0) return;
  text("Refer-To:");
  if (msg_.refer_to_display.length != 0) text(" ");
  field(msg_.refer_to_display);
  text(" <");
  field(msg_.refer_to_uri);
  if (msg_.replaces.length != 0) {
    text("?Replaces=");
    replaces_value(true);
  }
  text(">\r\n");
}

// Kept: two blanks where there is a display name, and two before the "<".
void Formatter::referred_by() {
  if (msg_.referred_by_uri.length == 0) return;
  text("Referred-By: ");
  if (msg_.referred_by_display.length != 0) text(" ");
  field(msg_.referred_by_display);
  text(" <");
  field(msg_.referred_by_uri);
  text(">\r\n");
}

void Formatter::subscription_state() {
  if (msg_.subscription_state.length == 0) return;
  const std::string_view state = text_of(Cpsip_subscr_state_hdr_table, msg_.subscription_state_id);
  if (state.empty()) return;
  text("Subscription-State: ");
  text(state);
  text(kLineEnd);
}

void Formatter::event() {
  if (msg_.event.length == 0) return;
  const std::string_view package = text_of(Cpsip_event_hdr_table, msg_.event_id);
  if (package.empty()) return;
  text("Event: ");
  text(package);
  text(kLineEnd);
}

int Formatter::headers() {
  start_line();
  vias();
  if (const int result = routes(); result != kAccessOk) return result;
  record_routes();
  from_and_to();
  contacts();
  text("Call-ID: ");
  field(msg_.call_id);
  text(kLineEnd);
  cseq();
  expires();
  value_line("Server: ", msg_.server);
  value_line("Subject: ", msg_.subject);
  value_line("User-Agent: ", msg_.user_agent);
  max_forwards();
  unknown_headers();
  allow();
  list("Require: ", msg_.require_head, msg_.require_count);
  list("Proxy-Require: ", msg_.proxy_require_head, msg_.proxy_require_count);
  list("Supported: ", msg_.supported_head, msg_.supported_count);
  list("Unsupported: ", msg_.unsupported_head, msg_.unsupported_count);
  replaces();
  refer_to();
  referred_by();
  list("Allow-Events:", msg_.allow_events_head, msg_.allow_events_count);
  subscription_state();
  event();
  return kAccessOk;
}

int Formatter::session(std::array<char, kCpsdpMaxEncoded>& buffer, std::uint32_t& length) {
  if (msg_.cseq_method == cpsip_method::options) text("Accept: application/sdp\r\n");
  text("Content-Type: application/sdp\r\n");
  const int error = CPSDP_EncodeSession(msg_.sdp.get(), msg_.sdp_text.view(), buffer, length);
  if (error != 0) (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg), static_cast<std::uint32_t>(error));
  return error;
}

void Formatter::content_type() {
  if (msg_.content_kind == cpsip_content_kind::sipfrag && msg_.content_length != 0) {
    text("Content-Type: message/sipfrag;version=2.0\r\n");
  } else if (msg_.content_type.length != 0) {
    text("Content-Type: ");
    field(msg_.content_type);
    cpsip_msg_copy_parms_to_osa_buf(msg_, msg_.content_type_line.next_parm, out_);
  }
}

int Formatter::body() {
  std::array<char, kCpsdpMaxEncoded> encoded;
  std::string_view body;
  if (msg_.content_kind == cpsip_content_kind::sdp && msg_.content_length != 0) {
    std::uint32_t length = 0;
    if (const int error = session(encoded, length); error != 0) return error;
    msg_.content_length = length;
    msg_.body.reset();  // whose length it was
    body = {encoded.data(), length};
  } else {
    content_type();
    if (msg_.body != nullptr) body = {msg_.body.get(), msg_.content_length};
  }
  text("Content-Length: ");
  number(body.size());
  text("\r\n\r\n");
  text(body);
  return 0;
}

}  // namespace

int cpsip_msg_format(cpsip_msg& msg, std::string_view route, cpsip_osa_chain& out) {
  out.reset(cpsip_osa_buf_alloc(kSocketBlockSize));
  Formatter formatter(msg, route, out.get());
  if (const int result = formatter.headers(); result != kAccessOk) return result;
  return formatter.body();
}

}  // namespace hark

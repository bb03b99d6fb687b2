#include "cpsip/corpus_support.h"

#include <array>
#include <cstring>
#include <utility>

#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_scan.h"

namespace hark::test {
namespace {

// A part of a header: its name in the lines and its field id.
struct Part {
  const char* name;
  std::uint32_t id;
};

// A header with parameters: its parts, and the id of its parameters (0: they are not told).
struct Header {
  const char* name;
  std::vector<Part> parts;
  std::uint32_t parameters;
};

std::string text_of(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm = 0) {
  std::array<char, 4096> out;
  return std::string(cpsip_msg_read(msg, id, instance, parm, out));
}

// A text's own line ends are told as "|", the last one not at all.
std::string on_one_line(std::string text) {
  if (text.ends_with("\r\n")) text.resize(text.size() - 2);
  for (std::size_t at = text.find("\r\n"); at != text.npos; at = text.find("\r\n", at))
    text.replace(at, 2, "|");
  return text;
}

void add(Lines& lines, const std::string& name, const std::string& value) {
  if (!value.empty()) lines.push_back(name + "=" + on_one_line(value));
}

void add_number(Lines& lines, const std::string& name, std::uint64_t value) {
  lines.push_back(name + "=" + std::to_string(value));
}

// Until there is none: the count of parameters asks for the whole line of some headers, which a message that
// is being built does not have.
void add_parameters(Lines& lines, cpsip_msg& msg, const std::string& name, std::uint32_t id,
                    unsigned instance) {
  std::array<char, 4096> out;
  int result = kAccessOk;
  for (unsigned at = 1; result == kAccessOk; ++at) {
    const std::string_view text = cpsip_msg_read(msg, id, instance, at, out, &result);
    add(lines, name + ".parm" + std::to_string(at), std::string(text));
  }
}

void add_instances(Lines& lines, cpsip_msg& msg, const Header& header, std::uint32_t count_id) {
  const unsigned count = CPSIP_MsgGetHdrCnt(msg, count_id);
  add_number(lines, header.name + std::string(".count"), count);
  for (unsigned at = 1; at <= count; ++at) {
    const std::string name = header.name + std::string("[") + std::to_string(at) + "]";
    for (const Part& part : header.parts)
      add(lines, name + "." + part.name, text_of(msg, part.id, at));
    if (header.parameters != 0) add_parameters(lines, msg, name, header.parameters, at);
  }
}

void add_displays(Lines& lines, cpsip_msg& msg, const std::string& name, std::uint16_t head) {
  for (unsigned at = 1; head != 0; ++at) {
    const cpsip_field& field = msg.fields[head];
    add(lines, name + "[" + std::to_string(at) + "].display", std::string(cpsip_field_view(field)));
    head = field.next_hdr;
  }
}

void add_routes(Lines& lines, cpsip_msg& msg) {
  // An ACK and a CANCEL carry no Route of their own.
  if (msg.method != cpsip_method::ack && msg.method != cpsip_method::cancel) {
    add_instances(lines, msg, {"Route", {{"uri", CPSIP_FLD_ROUTE_URI}}, 0}, CPSIP_FLD_ROUTE);
    add_displays(lines, msg, "Route", msg.route_display_head);
  }
  add_instances(lines, msg, {"Record-Route", {{"uri", CPSIP_FLD_RECORD_ROUTE_URI}}, 0},
                CPSIP_FLD_RECORD_ROUTE);
  add_displays(lines, msg, "Record-Route", msg.record_route_display_head);
}

void add_start_line(Lines& lines, cpsip_msg& msg) {
  add_number(lines, "method", static_cast<std::uint32_t>(msg.method));
  if (msg.method == cpsip_method::response) {
    add_number(lines, "status", msg.status_code);
    add(lines, "reason", text_of(msg, CPSIP_FLD_REASON, 1));
  } else {
    add(lines, "uri", text_of(msg, CPSIP_FLD_REQUEST_URI, 1));
    add_number(lines, "Max-Forwards", msg.max_forwards);
  }
}

// The value of a Replaces line: what stands behind its colon. One that was written is the value itself.
std::string replaces_value(cpsip_msg& msg) {
  std::string text = text_of(msg, CPSIP_FLD_REPLACES, 1);
  if (!text.ends_with('\n')) return text;
  text.erase(0, text.find_first_not_of(" \t", text.find(':') + 1));
  return text.substr(0, text.find('\r'));
}

void add_single_headers(Lines& lines, cpsip_msg& msg) {
  constexpr std::array<Part, 12> kParts{{
      {"From.display", CPSIP_FLD_FROM_DISPLAY},
      {"From.uri", CPSIP_FLD_FROM_URI},
      {"To.display", CPSIP_FLD_TO_DISPLAY},
      {"To.uri", CPSIP_FLD_TO_URI},
      {"Call-ID", CPSIP_FLD_CALL_ID},
      {"Server", CPSIP_FLD_SERVER},
      {"Subject", CPSIP_FLD_SUBJECT},
      {"User-Agent", CPSIP_FLD_USER_AGENT},
      {"Refer-To.display", CPSIP_FLD_REFER_TO_DISPLAY},
      {"Refer-To.uri", CPSIP_FLD_REFER_TO_URI},
      {"Referred-By.display", CPSIP_FLD_REFERRED_BY_DISPLAY},
      {"Referred-By.uri", CPSIP_FLD_REFERRED_BY_URI},
  }};
  for (const Part& part : kParts)
    add(lines, part.name, text_of(msg, part.id, 1));
  add_parameters(lines, msg, "From", CPSIP_FLD_FROM_PARM, 1);
  add_parameters(lines, msg, "To", CPSIP_FLD_TO_PARM, 1);
  if (msg.method != cpsip_method::refer) add(lines, "Replaces", replaces_value(msg));
}

void add_numbers(Lines& lines, cpsip_msg& msg) {
  add_number(lines, "CSeq", msg.cseq);
  add_number(lines, "CSeq.method", static_cast<std::uint32_t>(msg.cseq_method));
  add_number(lines, "Expires", msg.expires);
  const bool has_state = !text_of(msg, CPSIP_FLD_SUBSCRIPTION_STATE, 1).empty();
  if (has_state && msg.subscription_state_id != kSubscriptionEndId) {
    add_number(lines, "Subscription-State.id", msg.subscription_state_id);
  }
  if (!text_of(msg, CPSIP_FLD_EVENT, 1).empty() && msg.event_id != kEventEndId) {
    add_number(lines, "Event.id", msg.event_id);
  }
}

void add_lists(Lines& lines, cpsip_msg& msg) {
  constexpr std::array<Part, 5> kLists{{
      {"Require", CPSIP_FLD_REQUIRE_ITEM},
      {"Proxy-Require", CPSIP_FLD_PROXY_REQUIRE_ITEM},
      {"Supported", CPSIP_FLD_SUPPORTED_ITEM},
      {"Unsupported", CPSIP_FLD_UNSUPPORTED_ITEM},
      {"Allow-Events", CPSIP_FLD_ALLOW_EVENTS_ITEM},
  }};
  for (const Part& list : kLists)
    add_instances(lines, msg, {list.name, {}, list.id}, list.id);
}

void add_content_type(Lines& lines, cpsip_msg& msg) {
  add_number(lines, "Content-Type.kind", static_cast<std::uint32_t>(msg.content_kind));
  // The types of the other kinds are written in a form of their own.
  if (msg.content_kind != cpsip_content_kind::other) return;
  add(lines, "Content-Type", text_of(msg, CPSIP_FLD_CONTENT_TYPE, 1));
  add_parameters(lines, msg, "Content-Type", CPSIP_FLD_CONTENT_TYPE_PARM, 1);
}

// What a session of a received message is told by; its own tests look closer.
void add_session(Lines& lines, const cpsip_msg& msg) {
  if (!msg.sdp) return;
  add_number(lines, "sdp.media", msg.sdp->m_count);
  add_number(lines, "sdp.length", msg.sdp_text.view().size());
  add(lines, "sdp.address", std::string(msg.sdp->c_address.in(msg.sdp_text.view())));
}

void add_received_numbers(Lines& lines, cpsip_msg& msg) {
  add_number(lines, "scan_status", msg.scan_status);
  add_number(lines, "Content-Length", msg.content_length);
  add_number(lines, "Content-Length.seen", msg.content_length_seen ? 1 : 0);
  add_number(lines, "Event.id_parm", msg.event_id_parm);
  add(lines, "unknown_method", msg.unknown_method.data());
}

}  // namespace

Scanned scan_datagram(std::string_view bytes) {
  cpsip_osa_chain block(cpsip_osa_buf_alloc(static_cast<std::uint16_t>(bytes.size())));
  if (!bytes.empty()) std::memcpy(block->data(), bytes.data(), bytes.size());
  block->used = static_cast<std::uint16_t>(bytes.size());
  cpsip_scan scan;
  Scanned result;
  result.code = cpsip_msg_scan(scan, std::move(block), result.complete, result.left_over);
  result.msg = std::move(scan.scan_msg);
  return result;
}

Lines written_lines(cpsip_msg& msg) {
  Lines lines;
  add_start_line(lines, msg);
  add_instances(
      lines, msg,
      {"Via",
       {{"transport", CPSIP_FLD_VIA_TRANSPORT}, {"host", CPSIP_FLD_VIA_HOST}, {"port", CPSIP_FLD_VIA_PORT}},
       CPSIP_FLD_VIA_PARM},
      CPSIP_FLD_VIA);
  add_instances(lines, msg,
                {"Contact",
                 {{"display", CPSIP_FLD_CONTACT_DISPLAY}, {"uri", CPSIP_FLD_CONTACT_URI}},
                 CPSIP_FLD_CONTACT_PARM},
                CPSIP_FLD_CONTACT);
  add_routes(lines, msg);
  add_single_headers(lines, msg);
  add_numbers(lines, msg);
  add_lists(lines, msg);
  add_content_type(lines, msg);
  return lines;
}

Lines all_lines(cpsip_msg& msg) {
  Lines lines = written_lines(msg);
  add_received_numbers(lines, msg);
  add_instances(lines, msg, {"Allow", {}, CPSIP_FLD_ALLOW_ITEM}, CPSIP_FLD_ALLOW);
  add_instances(lines, msg, {"Accept", {}, CPSIP_FLD_ACCEPT_ITEM}, CPSIP_FLD_ACCEPT);
  add_instances(lines, msg, {"unknown", {{"line", CPSIP_FLD_UNKNOWN}}, 0}, CPSIP_FLD_UNKNOWN);
  add(lines, "Subscription-State", text_of(msg, CPSIP_FLD_SUBSCRIPTION_STATE, 1));
  add(lines, "Event", text_of(msg, CPSIP_FLD_EVENT, 1));
  add_parameters(lines, msg, "Refer-To", CPSIP_FLD_REFER_TO_PARM, 1);
  add_parameters(lines, msg, "Referred-By", CPSIP_FLD_REFERRED_BY_PARM, 1);
  if (msg.body) add(lines, "body", {msg.body.get(), msg.content_length});
  add_session(lines, msg);
  return lines;
}

std::string chain_text(const cpsip_osa_buf* chain) {
  std::string text;
  for (; chain != nullptr; chain = chain->next)
    text += chain->text();
  return text;
}

}  // namespace hark::test

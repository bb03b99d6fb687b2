#include "scenarios/runner/message_of.h"

#include <array>
#include <cctype>
#include <string_view>

#include "cpsip/cpsip_msg_access.h"
#include "scenarios/runner/pattern.h"
#include "scenarios/runner/sip_text.h"
#include "sipua/SipLine.h"
#include "sipua/SipMsg.h"

namespace hark::test {
namespace {

constexpr std::array<std::pair<std::string_view, cpsip_fld>, 8> kFields = {{
    {"to", CPSIP_FLD_TO_URI},
    {"from", CPSIP_FLD_FROM_URI},
    {"contact", CPSIP_FLD_CONTACT_URI},
    {"uri", CPSIP_FLD_REQUEST_URI},
    {"reason", CPSIP_FLD_REASON},
    {"refer-to", CPSIP_FLD_REFER_TO_URI},
    {"user-agent", CPSIP_FLD_USER_AGENT},
    {"header", CPSIP_FLD_UNKNOWN},
}};

// Those that a scenario sends by name.
cpsip_method method_of(const std::string& name, int line) {
  for (std::uint32_t id = 1; id <= 14; ++id)
    if (SipMsg::GetMethodText(static_cast<cpsip_method>(id)) == name) return static_cast<cpsip_method>(id);
  if (name == "UNRECOGNIZED") return cpsip_method::unrecognized;
  throw Failure{line, "no such method: " + name};
}

void write(cpsip_msg& msg, cpsip_fld field, const std::string& text) {
  if (!text.empty()) (void)cpsip_msg_write(msg, field, 1, 0, text);
}

void mark_description(cpsip_msg& msg) {
  msg.content_length = 1;
  msg.content_kind = cpsip_content_kind::sdp;
}

void put_description(cpsip_msg& msg, const std::string& entries, int line) {
  std::string text = DescriptionOf(entries, "192.0.2.9", 6006);
  auto pool = std::make_unique<char[]>(text.size());
  text.copy(pool.get(), text.size());
  msg.sdp = std::make_unique<cpsdp_parms>();
  if (CPSDP_ParseSession({pool.get(), text.size()}, *msg.sdp) != 0)
    throw Failure{line, "bad sdp: " + entries};
  msg.sdp_text.own(std::move(pool), static_cast<std::uint32_t>(text.size()));
  mark_description(msg);
}

// "180 Ringing (INVITE)".
void fill_response(cpsip_msg& msg, std::string text, int line) {
  msg.method = cpsip_method::response;
  if (const std::size_t open = text.find('('); open != std::string::npos) {
    msg.cseq_method = method_of(text.substr(open + 1, text.find(')') - open - 1), line);
    text = Trim(text.substr(0, open));
  }
  msg.status_code = static_cast<std::uint16_t>(std::stoul(TakeWord(text)));
  write(msg, CPSIP_FLD_REASON, text);
}

void apply(cpsip_msg& msg, const Line& detail, const Variables& addresses,
           const std::map<std::string, void*>& handles) {
  const std::string text = Expand(detail.text, addresses, detail.number);
  const std::string key = text.substr(0, text.find(':'));
  const std::string value = key.size() == text.size() ? "" : Trim(text.substr(key.size() + 1));
  for (const auto& [name, field] : kFields)
    if (name == key) return write(msg, field, value);
  if (key == "sdp" && value.empty()) return mark_description(msg);
  if (key == "sdp") return put_description(msg, value, detail.number);
  if (key == "event") return write(msg, CPSIP_FLD_EVENT, "refer");
  if (key == "related" && handles.contains(value)) {
    msg.related_dialog = handles.at(value);
  } else if (key == "subscription") {
    write(msg, CPSIP_FLD_SUBSCRIPTION_STATE, value);
    msg.subscription_state_id = value == "active" ? 2 : 0;
  } else {
    throw Failure{detail.number, "no such detail: " + text};
  }
}

std::string field(const cpsip_msg& msg, cpsip_fld id) {
  std::array<char, kMaxFieldText> text{};
  return std::string(cpsip_msg_read(msg, id, 1, 0, text));
}

std::string codecs(bool remap, const cpsdp_parms* parms, std::string_view pool) {
  if (parms == nullptr) return "none";
  std::array<char, 1024> text{};
  (void)GetCommonCodecList(remap, text, parms, pool);
  return text.data();
}

std::string text_of(const cpsip_msg& msg) {
  const std::string request = SipMsg::GetMethodText(msg.cseq_method);
  if (msg.method == cpsip_method::response) return std::to_string(msg.status_code) + " " + request;
  if (msg.method != cpsip_method::local_status) return SipMsg::GetMethodText(msg.method);
  const bool tells_request = msg.status_code == kStatusTimerF;
  return "status " + std::to_string(msg.status_code) + (tells_request ? " " + request : "");
}

std::string state_name(std::uint32_t state) {
  constexpr std::array<std::string_view, 20> kNames = {"NEW",
                                                       "ENDED",
                                                       "INVITE_RECEIVED",
                                                       "INVITE_SENT",
                                                       "ANSWERED",
                                                       "ANSWER_SENT",
                                                       "CONFIRMED",
                                                       "BYE_RECEIVED",
                                                       "BYE_CROSSED",
                                                       "BYE_SENT",
                                                       "CANCEL_RECEIVED",
                                                       "CANCEL_SENT",
                                                       "CANCEL_ANSWERED",
                                                       "CANCEL_ACCEPTED",
                                                       "INVITE_TERMINATED",
                                                       "15",
                                                       "16",
                                                       "17",
                                                       "OPTIONS",
                                                       "IDLE"};
  return std::string(state < kNames.size() ? kNames[state] : "?");
}

std::string sdp_state_name(std::uint32_t state) {
  constexpr std::array<std::string_view, 4> kNames = {"IDLE", "OFFER_RECEIVED", "OFFER_SENT", "ANSWERED"};
  return std::string(state < kNames.size() ? kNames[state] : "?");
}

}  // namespace

cpsip_msg_ptr MessageOf(const std::string& text, const Step& step, const Variables& addresses,
                        const std::map<std::string, void*>& handles) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->app_dialog_id = 0x8001;
  if (std::isdigit(static_cast<unsigned char>(text.front())) != 0) {
    fill_response(*msg, text, step.line);
  } else {
    std::string uri = text;
    msg->method = method_of(TakeWord(uri), step.line);
    write(*msg, CPSIP_FLD_REQUEST_URI, uri);
  }
  for (const Line& detail : step.details)
    apply(*msg, detail, addresses, handles);
  return msg;
}

Told ToldOf(const cpsip_msg& msg) {
  Told told{text_of(msg), {}};
  told.facts["received"] = codecs(false, msg.sdp.get(), msg.sdp_text.view());
  told.facts["negotiated"] = codecs(true, msg.sdp2.get(), msg.sdp2_text.view());
  told.facts["reason"] = field(msg, CPSIP_FLD_REASON);
  told.facts["from"] = field(msg, CPSIP_FLD_FROM_URI);
  told.facts["to"] = field(msg, CPSIP_FLD_TO_URI);
  told.facts["contact"] = field(msg, CPSIP_FLD_CONTACT_URI);
  told.facts["uri"] = field(msg, CPSIP_FLD_REQUEST_URI);
  return told;
}

Variables FactsOf(const cpsip_dlog_cb& dialog) {
  Variables facts{{"state", state_name(dialog.state)},
                  {"sub", state_name(dialog.sub_state)},
                  {"sdp", sdp_state_name(dialog.sdp_state)},
                  {"cseq", std::to_string(dialog.local_cseq)},
                  {"client", std::to_string(dialog.client_tacts.size())},
                  {"server", std::to_string(dialog.server_tacts.size())}};
  const cpsip_msg* const memory = dialog.state_msg.get();
  facts["target"] = memory != nullptr ? field(*memory, CPSIP_FLD_REQUEST_URI) : "";
  facts["route"] = memory != nullptr ? field(*memory, CPSIP_FLD_ROUTE_URI) : "";
  facts["stored"] = memory != nullptr ? codecs(false, memory->sdp.get(), memory->sdp_text.view()) : "none";
  return facts;
}

}  // namespace hark::test

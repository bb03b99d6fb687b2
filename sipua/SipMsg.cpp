#include "sipua/SipMsg.h"

#include <string_view>

#include "base/text.h"
#include "cpsip/cpsip_msg_access.h"

namespace hark {

SipMsg::SipMsg(cpsip_msg* msg, void* dialog) : m_pMsg(msg), m_hDialog(dialog) {}

SipMsg::~SipMsg() { Destroy(); }

void SipMsg::Destroy() {
  CPSIP_MsgDelete(cpsip_msg_ptr(m_pMsg));
  m_pMsg = nullptr;
}

void SipMsg::Clear() { m_pMsg = nullptr; }

void SipMsg::SetAppDialogId(unsigned long id) {
  if (m_pMsg != nullptr) m_pMsg->app_dialog_id = static_cast<std::uint32_t>(id);
}

void SipMsg::Create(cpsip_method method, void* context) {
  if (m_pMsg == nullptr) m_pMsg = CPSIP_MsgCreate(true).release();
  m_pMsg->method = method;
  m_hDialog = context;
}

void SipMsg::CreateResponse(cpsip_method request, unsigned short code, const char* reason, void* context) {
  Create(cpsip_method::response, context);
  m_pMsg->cseq_method = request;
  m_pMsg->status_code = code;
  (void)SetReason(reason);
}

bool SipMsg::Set(std::uint32_t field, const char* text) {
  if (m_pMsg == nullptr || text == nullptr) return false;
  return cpsip_msg_write(*m_pMsg, field, 1, 0, text) == kAccessOk;
}

bool SipMsg::SetURI(const char* uri) { return Set(CPSIP_FLD_REQUEST_URI, uri); }
bool SipMsg::SetContact(const char* uri) { return Set(CPSIP_FLD_CONTACT_URI, uri); }
bool SipMsg::SetFromDisplayName(const char* name) { return Set(CPSIP_FLD_FROM_DISPLAY, name); }
bool SipMsg::SetFromURI(const char* uri) { return Set(CPSIP_FLD_FROM_URI, uri); }
bool SipMsg::SetReason(const char* reason) { return Set(CPSIP_FLD_REASON, reason); }

unsigned short SipMsg::GetResponseCode() const { return m_pMsg != nullptr ? m_pMsg->status_code : 0; }

const char* SipMsg::Get(std::uint32_t field, Text& out) {
  if (m_pMsg == nullptr) return nullptr;
  const std::string_view text = cpsip_msg_read(*m_pMsg, field, 1, 0, std::span(out).first(out.size() - 1));
  out[text.size()] = '\0';
  return out.data();
}

const char* SipMsg::GetFromURI() { return Get(CPSIP_FLD_FROM_URI, m_szFromUri); }
const char* SipMsg::GetToURI() { return Get(CPSIP_FLD_TO_URI, m_szToUri); }
const char* SipMsg::GetContactURI() { return Get(CPSIP_FLD_CONTACT_URI, m_szContactUri); }

const char* SipMsg::GetFromName() {
  const char* const uri = GetFromURI();
  if (uri == nullptr) return nullptr;
  CopyNameFromURI(m_szFromName.data(), uri, kTextSize);
  return m_szFromName.data();
}

const char* SipMsg::GetToName() {
  const char* const uri = GetToURI();
  if (uri == nullptr) return nullptr;
  CopyNameFromURI(m_szToName.data(), uri, kTextSize);
  return m_szToName.data();
}

int SipMsg::IncludeDefaultSDP() {
  if (m_pMsg == nullptr) return 0;
  m_pMsg->content_length = 1;
  m_pMsg->content_kind = cpsip_content_kind::sdp;
  return 1;
}

// Kept: the order of the three is that of priority and not of position. With an "@" anywhere a ":" before it
// stays in the name.
void SipMsg::CopyNameFromURI(char* dst, const char* uri, unsigned int limit) {
  if (limit == 0) return;
  std::string_view name(uri != nullptr ? uri : "");
  constexpr std::string_view kScheme = "sip:";
  if (name.starts_with(kScheme)) name.remove_prefix(kScheme.size());
  for (const char end : {'@', ':', ';'}) {
    const std::size_t at = name.find(end);
    if (at == std::string_view::npos) continue;
    name = name.substr(0, at);
    break;
  }
  (void)copy_text(std::span(dst, limit), name);
}

const char* SipMsg::GetMethodText(cpsip_method method) {
  switch (method) {
    case cpsip_method::response:
      return "RESPONSE";
    case cpsip_method::invite:
      return "INVITE";
    case cpsip_method::ack:
      return "ACK";
    case cpsip_method::bye:
      return "BYE";
    case cpsip_method::cancel:
      return "CANCEL";
    case cpsip_method::options:
      return "OPTIONS";
    case cpsip_method::register_:
      return "REGISTER";
    case cpsip_method::prack:
      return "PRACK";
    case cpsip_method::info:
      return "INFO";
    case cpsip_method::refer:
      return "REFER";
    case cpsip_method::notify:
      return "NOTIFY";
    case cpsip_method::subscribe:
      return "SUBSCRIBE";
    case cpsip_method::message:
      return "MESSAGE";
    case cpsip_method::publish:
      return "PUBLISH";
    case cpsip_method::update:
      return "UPDATE";
    case cpsip_method::received_rtp:
      return "RECEIVED_RTP";
    case cpsip_method::received_rtcp:
      return "RECEIVED_RTCP";
    case cpsip_method::unregister:
      return "UNREGISTER";
    case cpsip_method::service_failure:
      return "SERVICE_FAILURE";
    case cpsip_method::local_status:
      return "LOCAL_STATUS";
    case cpsip_method::unrecognized:
      return "UNRECOGNIZED";
  }
  return "**unknown**";
}

}  // namespace hark

// A service's life, the delivery of what the stack has for it, and its sending.
#include "sipua/SipServiceUA.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "base/text.h"
#include "sipua/SipStackUA.h"
#include "sipua/trace.h"

namespace hark {
namespace {

constexpr unsigned kMostLines = 0x8000;  // what the dialog word has room for
constexpr std::uint32_t kLineBits = 0x7FFF;
constexpr unsigned kLineIdShift = 16;

const char* GetLocalStatusCodeText(unsigned code) {
  struct Row {
    unsigned code;
    const char* text;
  };
  // local status, its name
  static constexpr std::array<Row, 7> kTexts{{{kStatusTimerB, "TIMER_B"},
                                              {kStatusTimerF, "TIMER_F"},
                                              {kStatusClearStuckDialog, "CLEAR_STUCK_DIALOG"},
                                              {kStatusPortConfigErr, "PORT_CONFIG_ERR"},
                                              {kStatusTimer2xx, "TIMER_2XX"},
                                              {35, "UDP_BLOCKED"},
                                              {kStatusDialogDeleted, "DLG_DELETED"}}};
  const auto* const row = std::find_if(kTexts.begin(), kTexts.end(),
                                       [code](const Row& candidate) { return candidate.code == code; });
  return row != kTexts.end() ? row->text : "?";
}

void ShowMsg(bool outgoing, const cpsip_msg& msg, const void* dialog) {
  const bool local = msg.method == cpsip_method::local_status;
  bogus_print("+----------------\n");
  bogus_print("| %s %s cseq=%u %s\n", outgoing ? "->" : "<-", SipMsg::GetMethodText(msg.method),
              unsigned{msg.cseq}, SipMsg::GetMethodText(msg.cseq_method));
  bogus_print("| status=%u %s\n", unsigned{msg.status_code},
              local ? GetLocalStatusCodeText(msg.status_code) : "");
  bogus_print("| dlg=0x%x app=0x%x line=%u\n", trace_handle(dialog), unsigned{msg.app_dialog_id},
              unsigned{msg.app_dialog_id & kLineBits});
  bogus_print("+----------------\n");
}

// The function that the stack knows. Whatever is delivered may end the service; one that is ending already is
// held by nobody, and gets what is left by its address.
void SipServiceUAGlobalCallback(void* service, cpsip_msg* msg, void* dialog) {
  if (msg == nullptr) {
    bogus_print("----- SipServiceUAGlobalCallback! NULL msg!\n");
    return;
  }
  const bool keeps = msg->method == cpsip_method::local_status;  // the stack does
  SipMsg wrapped(msg, dialog);
  ShowMsg(false, *msg, dialog);
  if (service == nullptr) {
    bogus_print("----- SipServiceUAGlobalCallback! NULL app_serv_id!\n");
  } else {
    auto& target = *static_cast<SipServiceUA*>(service);
    const std::shared_ptr<SipServiceUA> held = target.weak_from_this().lock();
    target.InstanceCallback(wrapped);
  }
  if (keeps) wrapped.Clear();
}

}  // namespace

std::unique_ptr<SipServiceUA> SipServiceUA::Create(SipStackUA& stack, TimerSource& timers,
                                                   unsigned serviceIndex, const SipServiceConfig& config) {
  std::unique_ptr<SipServiceUA> service(new (std::nothrow) SipServiceUA(stack, timers, serviceIndex, config));
  if (service == nullptr) return nullptr;
  service->InitConfigAndTransport();
  if (service->InitPayloads()) {
    service->Start();
  } else {
    service->NotifyServiceError(kServiceErrorFailed, "Unable to parse payload types!");
  }
  return service->IsValid() ? std::move(service) : nullptr;
}

SipServiceUA::SipServiceUA(SipStackUA& stack, TimerSource& timers, unsigned serviceIndex,
                           const SipServiceConfig& config)
    : m_pStack(stack),
      m_pTimerSource(timers),
      m_nServiceIndex(serviceIndex),
      m_Config(config),
      m_pLines(*this, static_cast<unsigned short>(std::min(config.lines, kMostLines)), config.matchNumber,
               config.partialTailMatch) {}

SipServiceUA::~SipServiceUA() { Close(); }

void SipServiceUA::Start() {
  m_bValid = CPSIP_ServiceCreate(this, &m_hService, kServiceUserAgent, &m_Ua, &m_Transport,
                                 SipServiceUAGlobalCallback, &m_DefaultSdp, default_sdp_pool(),
                                 m_Config.rtpPort) == 0;
}

// First of all it is closed: the stack tells of each dialog that goes.
void SipServiceUA::Close() {
  m_bClosed = true;
  m_bValid = false;
  void* const service = std::exchange(m_hService, nullptr);
  if (service != nullptr) (void)CPSIP_ServiceDelete(service);
}

void SipServiceUA::InstanceCallback(SipMsg& msg) {
  const cpsip_msg* const received = msg.GetPtr();
  if (received == nullptr) return;
  if (received->method == cpsip_method::service_failure) {
    NotifyServiceError(kServiceErrorFailed, "Service failed!");
  } else if (received->cseq_method == cpsip_method::register_) {
    OnRegistration(msg);
  } else {
    Deliver(msg);
  }
}

void SipServiceUA::OnRegistration(const SipMsg& msg) const {
  constexpr unsigned kBadCredentials = 10000;  // and the code on top of it
  const unsigned code = msg.GetResponseCode();
  if (code == 401) return;
  if (code == 200) return NotifyServiceError(kServiceErrorRegistered, "OK");
  std::array<char, 64> text;
  if (code == kStatusTimerB || code == kStatusTimerF)
    format_text(text, "Operation timed out (%d)", static_cast<int>(code));
  else if (code >= kBadCredentials)
    format_text(text, "Bad credentials, code %d", static_cast<int>(code - kBadCredentials));
  else
    format_text(text, "Error code %d", static_cast<int>(code));
  NotifyServiceError(kServiceErrorRegistration, text.data());
}

void SipServiceUA::Deliver(SipMsg& msg) {
  const cpsip_msg& received = *msg.GetPtr();
  if (received.app_dialog_id == 0 && received.method != cpsip_method::invite) {
    bogus_print("----- SipServiceUA::InstanceCallback: Ignore non-INVITE with no app dialog id!\n");
    return;
  }
  unsigned short appDialogId = 0;
  SipLine* const line = FindLine(msg, appDialogId);
  if (line != nullptr) {
    (void)line->DispatchMsg(msg, appDialogId);
  } else {
    Reject(msg);
  }
}

SipLine* SipServiceUA::FindLine(SipMsg& msg, unsigned short& appDialogId) {
  const std::uint32_t word = msg.GetPtr()->app_dialog_id;
  if (word == 0) return AllocateLine(msg, appDialogId);
  appDialogId = static_cast<unsigned short>(word >> kLineIdShift);
  return GetLineByIndex(word & kLineBits);
}

// The line's generation stays as it is: only a call of its own begins a new one.
SipLine* SipServiceUA::AllocateLine(SipMsg& msg, unsigned short& appDialogId) {
  SipLine* const line = GetFreeLineByNumber(msg.GetToName());
  if (line == nullptr) {
    msg.SetAppDialogId(0);
    return nullptr;
  }
  appDialogId = line->GetAppDialogId();
  msg.SetAppDialogId(app_dialog_word(line->GetLineIndex(), appDialogId));
  line->SetSipDialogId(msg.GetDialogId());
  return line;
}

// Kept: also for a message whose word names no line, whatever its method.
void SipServiceUA::Reject(const SipMsg& msg) {
  bogus_print("----- SipServiceUA::InstanceCallback: Unable to allocate line! Reject.\n");
  SipMsg response(nullptr, cpsip_new_dialog());
  response.CreateResponse(cpsip_method::invite, 486, "Busy here", msg.GetDialogId());
  (void)SendMsg(response, msg.GetDialogId(), 0, 0);
}

bool SipServiceUA::SendMsg(SipMsg& msg, void* dialog, unsigned short line, unsigned short appDialogId) {
  return Send(msg, &dialog, line, appDialogId);
}

bool SipServiceUA::SendMsgNewDialog(SipMsg& msg, void*& dialog, unsigned short line,
                                    unsigned short appDialogId) {
  if (m_hService == nullptr) return false;
  dialog = cpsip_new_dialog();
  const bool sent = Send(msg, &dialog, line, appDialogId);
  if (dialog == cpsip_new_dialog()) dialog = nullptr;  // none was made
  return sent;
}

bool SipServiceUA::Send(SipMsg& msg, void** dialog, unsigned short line, unsigned short appDialogId) {
  cpsip_msg* const sent = msg.GetPtr();
  if (m_hService == nullptr || sent == nullptr) return false;
  msg.SetAppDialogId(app_dialog_word(line, appDialogId));
  ShowMsg(true, *sent, *dialog);
  msg.Clear();
  return CPSIP_MsgSend(m_hService, sent, dialog) == 0;
}

const ISipStackUAEvents& SipServiceUA::Events() const {
  static constexpr ISipStackUAEvents kNone{};
  return m_bClosed ? kNone : m_pStack.events();
}

void SipServiceUA::NotifyServiceError(unsigned error, const char* text) const {
  Events().NotifyServiceError(m_nServiceIndex, error, text);
}

void SipServiceUA::NotifyLineRing(unsigned line, SipMsg& msg) const {
  if (!m_bClosed) m_pStack.NotifyLineRing(m_nServiceIndex, line, msg);
}

void SipServiceUA::NotifyLineConnected(unsigned line, const char* fromUri, const char* toUri,
                                       const char* mediaAddress, const char* codecs) const {
  Events().NotifyLineConnected(m_nServiceIndex, line, fromUri, toUri, mediaAddress, codecs);
}

void SipServiceUA::NotifyFarEndRinging(unsigned line) const {
  Events().NotifyFarEndRinging(m_nServiceIndex, line);
}

void SipServiceUA::NotifyFarEndDrop(unsigned line) const { Events().NotifyFarEndDrop(m_nServiceIndex, line); }

void SipServiceUA::NotifyLocalDrop(unsigned line) const { Events().NotifyLocalDrop(m_nServiceIndex, line); }

void SipServiceUA::NotifyLineSeized(unsigned line) const { Events().NotifyLineSeized(m_nServiceIndex, line); }

void SipServiceUA::NotifyLineState(unsigned line, ISipStackUAEvents::ESipLineState state) const {
  Events().NotifyLineState(m_nServiceIndex, line, state);
}

void SipServiceUA::NotifyLineError(unsigned line, unsigned error, const char* text) const {
  Events().NotifyLineError(m_nServiceIndex, line, error, text);
}

void SipServiceUA::NotifyCodecs(unsigned line, const char* codecs) const {
  Events().NotifyCodecs(m_nServiceIndex, line, codecs);
}

}  // namespace hark

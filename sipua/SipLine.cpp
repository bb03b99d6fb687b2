// A line's states and the commands from above.
#include "sipua/SipLine.h"

#include <array>

#include "sipua/SipServiceUA.h"
#include "sipua/trace.h"

namespace hark {

using Events = ISipStackUAEvents;

SipLine::SipLine(SipServiceUA& service, unsigned short lineIndex)
    : TimerClient(OnTimerCallback, this, service.GetTimerSource()),
      m_pService(service),
      m_nLineIndex(lineIndex) {}

SipLine::~SipLine() { CancelTimers(); }

const char* SipLine::GetStateText(unsigned state) {
  static constexpr std::array<const char*, 7> kTexts{"IDLE",      "RINGING",   "SEIZED",       "CALLING",
                                                     "CONNECTED", "CANCELING", "DISCONNECTING"};
  return state < kTexts.size() ? kTexts[state] : "<unknown_state>";
}

void SipLine::Turn::Report() const {
  if (IsStill()) m_Line.m_pService.NotifyLineState(m_Line.m_nLineIndex, m_eState);
}

SipLine::Turn SipLine::SetState(State state) {
  bogus_print("SipLine[%u]: %s -> %s\n", unsigned{m_nLineIndex}, GetStateText(m_eState), GetStateText(state));
  m_eState = state;
  ++m_nTurns;
  return Turn(*this);
}

SipLine::Turn SipLine::EnterState(State state) {
  const Turn turn = SetState(state);
  turn.Report();
  return turn;
}

void SipLine::Refuse(const char* text) const {
  m_pService.NotifyLineError(m_nLineIndex, kLineErrorRefused, text);
}

bool SipLine::SendRequest(cpsip_method method, void* dialog) {
  SipMsg msg(nullptr, cpsip_new_dialog());
  msg.Create(method, dialog);
  return m_pService.SendMsg(msg, dialog, m_nLineIndex, m_nAppDialogId);
}

bool SipLine::SendResponse(unsigned short code, const char* reason, void* dialog) {
  SipMsg msg(nullptr, cpsip_new_dialog());
  msg.CreateResponse(cpsip_method::invite, code, reason, dialog);
  return m_pService.SendMsg(msg, dialog, m_nLineIndex, m_nAppDialogId);
}

// Without an offer in the INVITE the 200 carries one, RFC 3261 13.2.1.
bool SipLine::SendAnswer() {
  SipMsg msg(nullptr, cpsip_new_dialog());
  msg.CreateResponse(cpsip_method::invite, 200, "OK", m_hSipDialogId);
  if (!m_bOfferReceived && m_pService.GetSdpPTCnt() > 0) (void)msg.IncludeDefaultSDP();
  return m_pService.SendMsg(msg, m_hSipDialogId, m_nLineIndex, m_nAppDialogId);
}

bool SipLine::SendInvite(const char* uri) {
  SipMsg msg(nullptr, cpsip_new_dialog());
  msg.Create(cpsip_method::invite, cpsip_new_dialog());
  (void)msg.SetURI(uri);
  if (m_pService.GetSdpPTCnt() > 0) (void)msg.IncludeDefaultSDP();
  ++m_nAppDialogId;  // responses to an earlier call of the line are not for this one
  return m_pService.SendMsgNewDialog(msg, m_hSipDialogId, m_nLineIndex, m_nAppDialogId);
}

// The state stays: only the ACK connects the line.
int SipLine::OnAnswer() {
  if (m_eState != Events::STATE_RINGING) {
    Refuse("Line not ringing");
    return 1;
  }
  bogus_print("OnAnswer: hDialogID=0x%x\n", trace_handle(m_hSipDialogId));
  return SendAnswer() ? 1 : 0;
}

// Seizing has an event of its own and is not reported as a state.
int SipLine::OnSeize() {
  if (m_eState != Events::STATE_IDLE) {
    Refuse("Line not idle");
    return 1;
  }
  SetState(Events::STATE_SEIZED);
  m_pService.NotifyLineSeized(m_nLineIndex);
  return 1;
}

// A send that fails does not change the state here: the stack tells of it by a local status.
int SipLine::OnCall(const char* uri) {
  if (m_eState != Events::STATE_IDLE && m_eState != Events::STATE_SEIZED) {
    Refuse("Line not idle or seized");
    return 1;
  }
  if (!EnterState(Events::STATE_CALLING).IsStill()) return 1;
  const bool sent = SendInvite(uri);
  bogus_print("OnCall: hDialogID=0x%x\n", trace_handle(m_hSipDialogId));
  return sent ? 1 : 0;
}

struct SipLine::Drops {
  static void Idle(SipLine& line) { line.Refuse("Line is idle"); }
  static void Ringing(SipLine& line);
  static void Seized(SipLine& line) { line.EnterState(Events::STATE_IDLE); }
  static void Calling(SipLine& line) { HangUp(line, Events::STATE_CANCELING, cpsip_method::cancel); }
  static void Connected(SipLine& line) { HangUp(line, Events::STATE_DISCONNECTING, cpsip_method::bye); }
  // A second drop is harmless.
  static void Ending(SipLine& /*line*/) {}
  static void Unexpected(SipLine& line);

  static void HangUp(SipLine& line, State state, cpsip_method method);
};

void SipLine::Drops::Ringing(SipLine& line) {
  const Turn turn = line.SetState(Events::STATE_IDLE);
  (void)line.SendResponse(487, "Call rejected", line.m_hSipDialogId);
  line.m_pService.NotifyLocalDrop(line.m_nLineIndex);
  turn.Report();
}

// TIMER_PROGRESS goes on.
//
// Kept: if no message follows at all, its expiry finds the line idle, or drops the next call on it. It takes
// a far end that has rung and then is silent for half a minute.
void SipLine::Drops::HangUp(SipLine& line, State state, cpsip_method method) {
  if (!line.EnterState(state).IsStill()) return;
  (void)line.SendRequest(method, line.m_hSipDialogId);
  line.m_pService.NotifyLocalDrop(line.m_nLineIndex);
  // The stack may have ended the call at once, and whoever heard of it may have begun another.
  if (line.IsEnding()) line.SetTimer(TIMER_DISCONNECT, kDisconnectMs, nullptr);
}

void SipLine::Drops::Unexpected(SipLine& line) {
  line.m_pService.NotifyLineState(line.m_nLineIndex, line.m_eState);
  line.Refuse("Unexpected line state");
}

int SipLine::OnDrop() {
  // By state, in the order of their values.
  static constexpr std::array<void (*)(SipLine&), 7> kByState{Drops::Idle,    Drops::Ringing,   Drops::Seized,
                                                              Drops::Calling, Drops::Connected, Drops::Ending,
                                                              Drops::Ending};
  bogus_print("SipLine::OnDrop: m_eState=%s\n", GetStateText(m_eState));
  (m_eState < kByState.size() ? kByState[m_eState] : Drops::Unexpected)(*this);
  return 1;
}

}  // namespace hark

#include "sipua/SipLine.h"

#include "sipua/SipServiceUA.h"

namespace hark {

void SipLine::SetState(ISipStackUAEvents::ESipLineState state) {
  m_eState = state;
  m_pService->NotifyLineState(m_nLineIndex, state);
}

void SipLine::Refuse(const char* text) const {
  m_pService->NotifyLineError(m_nLineIndex, kLineErrorRefused, text);
}

int SipLine::OnAnswer() {
  Refuse("Line not ringing");
  return 1;
}

// Seizing has an event of its own and is not reported as a state.
int SipLine::OnSeize() {
  if (m_eState != ISipStackUAEvents::STATE_IDLE) {
    Refuse("Line not idle");
    return 1;
  }
  m_eState = ISipStackUAEvents::STATE_SEIZED;
  m_pService->NotifyLineSeized(m_nLineIndex);
  return 1;
}

int SipLine::OnCall(const char* /*uri*/) {
  if (m_eState != ISipStackUAEvents::STATE_IDLE && m_eState != ISipStackUAEvents::STATE_SEIZED) {
    Refuse("Line not idle or seized");
    return 1;
  }
  SetState(ISipStackUAEvents::STATE_CALLING);
  m_pService->NotifyLineError(m_nLineIndex, kLineErrorNotSent, "Invite could not be sent");
  SetState(ISipStackUAEvents::STATE_IDLE);
  return 1;
}

int SipLine::OnDrop() {
  if (m_eState == ISipStackUAEvents::STATE_SEIZED) {
    SetState(ISipStackUAEvents::STATE_IDLE);
  } else {
    Refuse("Line is idle");
  }
  return 1;
}

}  // namespace hark

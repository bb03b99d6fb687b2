// One telephone-like line of a service: one call at a time. It is idle, or seized by the control layer for a
// call that needs no signalling; the other states come with the protocol stack, which is not built.
#pragma once

#include <cstdint>

#include "sipua/SipStackUAEvents.h"

namespace hark {

class SipServiceUA;

// Commands return 1; a refusal is reported as a line error and still returns 1. The state is written before
// the event that reports it, so that a receiver may call straight back.
class SipLine {
 public:
  // Borrows `service`, which owns the line.
  SipLine(SipServiceUA& service, std::uint16_t lineIndex) : m_pService(&service), m_nLineIndex(lineIndex) {}

  int OnAnswer();
  int OnSeize();
  // Seam: without a stack the INVITE cannot be sent. The line reports calling, then the failure, then idle.
  int OnCall(const char* uri);
  int OnDrop();

 private:
  void SetState(ISipStackUAEvents::ESipLineState state);
  void Refuse(const char* text) const;

  SipServiceUA* m_pService;
  std::uint16_t m_nLineIndex;
  ISipStackUAEvents::ESipLineState m_eState = ISipStackUAEvents::STATE_IDLE;
};

}  // namespace hark

// Local statuses: what the stack tells a line of that no message says. It is the only way in which the line
// learns of the stack's timeouts.
//
// Kept: none of them stops TIMER_DISCONNECT, nor starts it. A line that is to send BYE, and cannot, stays in
// its state until the far end or the stack ends it.
#include "sipua/SipLine.h"

#include <array>
#include <cstdint>

#include "sipua/SipServiceUA.h"
#include "sipua/trace.h"

namespace hark {

using Events = ISipStackUAEvents;

struct SipLine::Statuses {
  using Handler = void (*)(SipLine&, const SipMsg&);

  static void TimerB(SipLine& line, const SipMsg& msg);
  static void TimerF(SipLine& line, const SipMsg& msg);
  static void ClearStuckDialog(SipLine& line, const SipMsg& msg);
  static void PortConfigErr(SipLine& line, const SipMsg& msg);
  static void Timer2xx(SipLine& line, const SipMsg& msg);
  static void InviteFailed(SipLine& line, const SipMsg& msg);
  static void DialogDeleted(SipLine& line, const SipMsg& msg);
  static void Unknown(SipLine& line, const SipMsg& msg);

  [[nodiscard]] static Handler Find(std::uint16_t code);
  static void SendBye(SipLine& line);
};

SipLine::Statuses::Handler SipLine::Statuses::Find(std::uint16_t code) {
  struct Row {
    std::uint16_t code;
    Handler handler;
  };
  // status, handler
  static constexpr std::array<Row, 7> kHandlers{{{kStatusTimerB, TimerB},
                                                 {kStatusTimerF, TimerF},
                                                 {kStatusClearStuckDialog, ClearStuckDialog},
                                                 {kStatusPortConfigErr, PortConfigErr},
                                                 {kStatusTimer2xx, Timer2xx},
                                                 {kStatusInviteFailed, InviteFailed},
                                                 {kStatusDialogDeleted, DialogDeleted}}};
  for (const Row& row : kHandlers) {
    if (row.code == code) return row.handler;
  }
  return Unknown;
}

int SipLine::OnLocalStatus(SipMsg& msg) {
  Statuses::Find(msg.GetResponseCode())(*this, msg);
  return 1;
}

void SipLine::Statuses::TimerB(SipLine& line, const SipMsg& /*msg*/) {
  bogus_print("LOCAL_STATUS:INVITE TX TIMEOUT-no resp\n");
  line.EnterState(Events::STATE_IDLE);
}

void SipLine::Statuses::TimerF(SipLine& line, const SipMsg& msg) {
  if (msg.GetPtr()->cseq_method != cpsip_method::bye) {
    bogus_print("LOCAL_STATUS:non-INVITE TX TIMEOUT-no resp\n");
    return;
  }
  bogus_print(">>> DISCONNECTED <<<\n\n");
  line.EnterState(Events::STATE_IDLE);
}

void SipLine::Statuses::ClearStuckDialog(SipLine& line, const SipMsg& /*msg*/) {
  bogus_print("LOCAL_STATUS: Clear stuck dialog\n");
  line.EnterState(Events::STATE_IDLE);
}

void SipLine::Statuses::PortConfigErr(SipLine& line, const SipMsg& /*msg*/) {
  bogus_print("LOCAL_STATUS: PORT_CONFIG_ERR-app should send BYE & chk IP addrs\n");
  SendBye(line);
}

void SipLine::Statuses::Timer2xx(SipLine& line, const SipMsg& /*msg*/) {
  bogus_print("LOCAL_STATUS:2XX retrans fail-app should send BYE\n");
  SendBye(line);
}

// Kept: behind its report of idle the line goes on as after a bad port, without a return between, so that it
// passes through idle and ends in disconnecting. The BYE is what makes the stack clear the dialog that has
// failed, by kStatusClearStuckDialog, which frees the line.
void SipLine::Statuses::InviteFailed(SipLine& line, const SipMsg& msg) {
  bogus_print("LOCAL_STATUS: Invite failed\n");
  const Turn turn(line);
  line.m_pService.NotifyLineError(line.m_nLineIndex, kLineErrorNotSent, "Invite could not be sent");
  if (!turn.IsStill() || !line.EnterState(Events::STATE_IDLE).IsStill()) return;
  PortConfigErr(line, msg);
}

// The second branch is a defence: the dispatch lets through what is of the current dialog.
void SipLine::Statuses::DialogDeleted(SipLine& line, const SipMsg& msg) {
  if (msg.GetDialogId() != line.m_hSipDialogId) {
    bogus_print("LOCAL_STATUS: Old dialog deleted!\n");
    return;
  }
  bogus_print("LOCAL_STATUS: Current dialog deleted!\n");
  line.m_hSipDialogId = nullptr;
}

void SipLine::Statuses::Unknown(SipLine& /*line*/, const SipMsg& msg) {
  bogus_print("LOCAL_STATUS:unk status_code=%d\n", int{msg.GetResponseCode()});
}

void SipLine::Statuses::SendBye(SipLine& line) {
  if (!line.EnterState(Events::STATE_DISCONNECTING).IsStill()) return;
  (void)line.SendRequest(cpsip_method::bye, line.m_hSipDialogId);
}

}  // namespace hark

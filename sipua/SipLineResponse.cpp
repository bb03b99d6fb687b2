// Responses to what a line has sent, by the state in which they come.
#include "sipua/SipLine.h"

#include <array>

#include "sipua/SipServiceUA.h"
#include "sipua/trace.h"

namespace hark {

using Events = ISipStackUAEvents;

struct SipLine::Responses {
  static void Idle(SipLine& line, SipMsg& msg);
  static void Ringing(SipLine& line, SipMsg& msg);
  static void Seized(SipLine& line, SipMsg& msg);
  static void Calling(SipLine& line, SipMsg& msg);
  static void Connected(SipLine& line, SipMsg& msg);
  static void Canceling(SipLine& line, SipMsg& msg);
  static void Disconnecting(SipLine& line, SipMsg& msg);

  // Of a call in progress, by the class of the code.
  static bool ReadDescription(SipLine& line, const cpsip_msg& msg);
  static void FarEndRings(SipLine& line, const cpsip_msg& msg);
  static void Success(SipLine& line, SipMsg& msg);
  static void Redirected(SipLine& line, SipMsg& msg);

  static void Fail(SipLine& line, unsigned code, const char* text);
  static void Ended(SipLine& line);
};

namespace {

bool is_refused_invite(const cpsip_msg& msg) {
  return msg.cseq_method == cpsip_method::invite && msg.status_code >= 400 && msg.status_code <= 499;
}

// Kept: nothing here has credentials, so no retry can follow, and the line stays in its call until the
// control layer drops it: a panel shows it as calling, not as failed.
bool asks_for_credentials(unsigned code) { return code == 401 || code == 407; }

}  // namespace

int SipLine::OnResponse(SipMsg& msg) {
  // By state, in the order of their values.
  static constexpr std::array<void (*)(SipLine&, SipMsg&), 7> kByState{
      Responses::Idle,      Responses::Ringing,   Responses::Seized,       Responses::Calling,
      Responses::Connected, Responses::Canceling, Responses::Disconnecting};
  const cpsip_msg& response = *msg.GetPtr();
  bogus_print("SipLine::OnResponse: code=%u, req=%u %s\n", unsigned{response.status_code},
              static_cast<unsigned>(response.cseq_method), SipMsg::GetMethodText(response.cseq_method));
  if (m_eState < kByState.size()) kByState[m_eState](*this, msg);
  return 1;
}

// The normal end of a cancelled call comes here when the answer to the CANCEL came first.
void SipLine::Responses::Idle(SipLine& /*line*/, SipMsg& msg) {
  if (is_refused_invite(*msg.GetPtr()))
    bogus_print("++ Error response to INVITE while IDLE. Ignore.\n");
  else
    bogus_print("??? STATE_IDLE: Unhandled message!\n");
}

void SipLine::Responses::Ringing(SipLine& /*line*/, SipMsg& /*msg*/) {
  bogus_print("??? STATE_RINGING: Unhandled message!\n");
}

void SipLine::Responses::Seized(SipLine& /*line*/, SipMsg& /*msg*/) {
  bogus_print("??? STATE_SEIZED: Unhandled message!\n");
}

// A 200 to the INVITE, which the CANCEL missed, is not among these: the stack ends such a call by itself.
void SipLine::Responses::Canceling(SipLine& line, SipMsg& msg) {
  const cpsip_msg& response = *msg.GetPtr();
  if (is_refused_invite(response)) {
    bogus_print("++ Error response to INVITE after CANCEL. OK.\n");
    Ended(line);
  } else if (response.cseq_method == cpsip_method::cancel) {
    bogus_print("++ Response %u to CANCEL. Go to idle.\n", unsigned{response.status_code});
    Ended(line);
  } else {
    bogus_print("??? STATE_CANCELING: Unhandled message!\n");
  }
}

void SipLine::Responses::Disconnecting(SipLine& line, SipMsg& msg) {
  const cpsip_msg& response = *msg.GetPtr();
  if (response.cseq_method != cpsip_method::bye) {
    bogus_print("??? STATE_DISCONNECTING: Unhandled message!\n");
    return;
  }
  bogus_print("++ Response %u to BYE. Go to idle.\n", unsigned{response.status_code});
  Ended(line);
}

// Kept: the method is not looked at, so that any request inside the call that is refused ends it, 401 and 407
// too. No BYE is sent: the far end has shown that it does not know the call.
void SipLine::Responses::Connected(SipLine& line, SipMsg& msg) {
  if (msg.GetResponseCode() >= 400) Fail(line, msg.GetResponseCode(), "Call failed");
}

void SipLine::Responses::Calling(SipLine& line, SipMsg& msg) {
  const cpsip_msg& response = *msg.GetPtr();
  const unsigned code = response.status_code;
  if (!ReadDescription(line, response)) return;
  if (code == 180) return FarEndRings(line, response);
  if (code == 200) return Success(line, msg);
  if (code >= 300 && code <= 399) return Redirected(line, msg);
  if (code >= 400 && !asks_for_credentials(code)) Fail(line, code, "Call failed");
  // All others mean nothing to the line. Kept: a provisional response other than 180 has stopped the watch
  // over the ringing and does not start it again: an announcement may be long.
}

// Whatever the code. No common codec is looked for: the list may be empty, and is told all the same. False
// when the call is over behind that.
bool SipLine::Responses::ReadDescription(SipLine& line, const cpsip_msg& msg) {
  if (msg.sdp == nullptr) {
    line.ForgetMedia();
    return true;
  }
  const Turn turn(line);
  (void)line.ReadCodecs(false, msg.sdp.get(), msg.sdp_text.view());
  line.ReadMedia(msg);
  line.m_pService.NotifyCodecs(line.m_nLineIndex, line.m_szCodecs.data());
  return turn.IsStill();
}

void SipLine::Responses::FarEndRings(SipLine& line, const cpsip_msg& msg) {
  bogus_print("....... sdp=%u\n", msg.sdp != nullptr ? 1U : 0U);
  const Turn turn(line);
  line.m_pService.NotifyFarEndRinging(line.m_nLineIndex);
  if (turn.IsStill()) line.WatchProgress();
}

void SipLine::Responses::Success(SipLine& line, SipMsg& msg) {
  const cpsip_msg& response = *msg.GetPtr();
  if (response.cseq_method == cpsip_method::prack) return line.WatchProgress();
  if (response.cseq_method != cpsip_method::invite) return;
  bogus_print("....... sdp=%u\n", response.sdp != nullptr ? 1U : 0U);
  line.SetState(Events::STATE_CONNECTED);
  line.m_pService.NotifyLineConnected(line.m_nLineIndex, msg.GetFromURI(), msg.GetToURI(),
                                      line.m_szMediaAddress.data(), line.m_szCodecs.data());
}

// The Contact stands where other errors have their text.
void SipLine::Responses::Redirected(SipLine& line, SipMsg& msg) {
  Fail(line, msg.GetResponseCode(), msg.GetContactURI());
}

void SipLine::Responses::Fail(SipLine& line, unsigned code, const char* text) {
  const Turn turn = line.SetState(Events::STATE_IDLE);
  line.m_pService.NotifyLineError(line.m_nLineIndex, code, text);
  turn.Report();
}

void SipLine::Responses::Ended(SipLine& line) {
  line.CancelTimer(TIMER_DISCONNECT);
  line.EnterState(Events::STATE_IDLE);
}

}  // namespace hark

// What comes to a line from below: each message goes to the handler of its method. Responses and local
// statuses have branches of their own (SipLineResponse.cpp, SipLineStatus.cpp).
#include "sipua/SipLine.h"

#include <array>

#include "sipua/SipServiceUA.h"
#include "sipua/trace.h"

namespace hark {

using Events = ISipStackUAEvents;

struct SipLine::Requests {
  using Handler = int (*)(SipLine&, SipMsg&);

  static int OnInvite(SipLine& line, SipMsg& msg);
  static int OnAck(SipLine& line, SipMsg& msg);
  static int OnBye(SipLine& line, SipMsg& /*msg*/) { return OnFarEndDrop(line); }
  static int OnCancel(SipLine& line, SipMsg& /*msg*/) { return OnFarEndDrop(line); }
  static int OnPrack(SipLine& /*line*/, SipMsg& /*msg*/) { return 1; }
  static int OnResponse(SipLine& line, SipMsg& msg) { return line.OnResponse(msg); }
  static int OnLocalStatus(SipLine& line, SipMsg& msg) { return line.OnLocalStatus(msg); }
  // Nothing to do. Kept: such a message has stopped TIMER_PROGRESS, as any message of the call does. It shows
  // that the far end is there.
  static int OnOptions(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnRegister(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnInfo(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnRefer(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnNotify(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnSubscribe(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnMessage(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnPublish(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnUpdate(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnUnregister(SipLine& /*line*/, SipMsg& /*msg*/) { return 0; }
  static int OnUnknownMsg(SipLine& line, SipMsg& msg);

  [[nodiscard]] static Handler Find(cpsip_method method);

  static bool ReadOffer(SipLine& line, const cpsip_msg& msg);
  static int Ring(SipLine& line, SipMsg& msg);
  static int AckWhileRinging(SipLine& line, SipMsg& msg);
  static bool ReadAnswer(SipLine& line, const cpsip_msg& msg);
  static int FailMedia(SipLine& line, const SipMsg& msg, const char* text);
  static int OnFarEndDrop(SipLine& line);
};

SipLine::Requests::Handler SipLine::Requests::Find(cpsip_method method) {
  struct Row {
    cpsip_method method;
    Handler handler;
  };
  // method, handler
  static constexpr std::array<Row, 17> kHandlers{{{cpsip_method::response, OnResponse},
                                                  {cpsip_method::invite, OnInvite},
                                                  {cpsip_method::ack, OnAck},
                                                  {cpsip_method::bye, OnBye},
                                                  {cpsip_method::cancel, OnCancel},
                                                  {cpsip_method::options, OnOptions},
                                                  {cpsip_method::register_, OnRegister},
                                                  {cpsip_method::prack, OnPrack},
                                                  {cpsip_method::info, OnInfo},
                                                  {cpsip_method::refer, OnRefer},
                                                  {cpsip_method::notify, OnNotify},
                                                  {cpsip_method::subscribe, OnSubscribe},
                                                  {cpsip_method::message, OnMessage},
                                                  {cpsip_method::publish, OnPublish},
                                                  {cpsip_method::update, OnUpdate},
                                                  {cpsip_method::unregister, OnUnregister},
                                                  {cpsip_method::local_status, OnLocalStatus}}};
  for (const Row& row : kHandlers) {
    if (row.method == method) return row.handler;
  }
  return OnUnknownMsg;
}

int SipLine::DispatchMsg(SipMsg& msg, unsigned short appDialogId) {
  if (msg.GetPtr() == nullptr) return 0;
  const cpsip_method method = msg.GetPtr()->method;
  const char* const name = SipMsg::GetMethodText(method);
  if (appDialogId != m_nAppDialogId) {
    bogus_print("SipLine 0x%x: DispatchMsg(%s). App dlg mismatch! Ignored.\n", trace_handle(this), name);
    return 0;
  }
  if (msg.GetDialogId() != m_hSipDialogId) {
    bogus_print("SipLine 0x%x: DispatchMsg(%s). SIP dlg mismatch! Ignored.\n", trace_handle(this), name);
    return 0;
  }
  bogus_print("SipLine[%u]: +%s+ DispatchMsg(%s), dlg=0x%x, m.dlg=0x%x\n", unsigned{m_nLineIndex},
              GetStateText(m_eState), name, trace_handle(m_hSipDialogId), trace_handle(msg.GetDialogId()));
  CancelTimer(TIMER_PROGRESS);
  return Requests::Find(method)(*this, msg);
}

// Kept: the state of the line is not looked at. An INVITE inside a call that is up rings anew: the control
// layer takes it for a new call of that station in place of what was left of the earlier one, and answers it
// or drops it.
int SipLine::Requests::OnInvite(SipLine& line, SipMsg& msg) {
  const Turn turn(line);
  if (!ReadOffer(line, *msg.GetPtr())) {
    bogus_print("  -- No common codecs!\n");
    return line.SendResponse(488, "No common codec", msg.GetDialogId()) ? 1 : 0;
  }
  // The line was taken for something else inside the event.
  if (!turn.IsStill()) return line.SendResponse(486, "Busy here", msg.GetDialogId()) ? 1 : 0;
  if (line.m_bAutoConnect) {
    line.SetState(Events::STATE_CONNECTED);
    return line.SendResponse(200, "OK", line.m_hSipDialogId) ? 1 : 0;
  }
  return Ring(line, msg);
}

// False when there is an offer and nothing in it for us.
bool SipLine::Requests::ReadOffer(SipLine& line, const cpsip_msg& msg) {
  if (msg.sdp2 == nullptr) {
    line.m_bOfferReceived = false;
    line.ForgetMedia();
    return true;
  }
  if (line.ReadCodecs(true, msg.sdp2.get(), msg.sdp2_text.view()) == 0) return false;
  line.m_bOfferReceived = true;
  line.ReadMedia(msg);
  line.m_pService.NotifyCodecs(line.m_nLineIndex, line.m_szCodecs.data());
  return true;
}

int SipLine::Requests::Ring(SipLine& line, SipMsg& msg) {
  const Turn turn = line.SetState(Events::STATE_RINGING);
  line.m_pService.NotifyLineRing(line.m_nLineIndex, msg);
  if (!turn.IsStill()) return 1;
  return line.SendResponse(180, "Ringing", line.m_hSipDialogId) ? 1 : 0;
}

int SipLine::Requests::OnAck(SipLine& line, SipMsg& msg) {
  // The CANCEL came too late, and the far end is connected: RFC 3261 9.1.
  if (line.m_eState == Events::STATE_CANCELING)
    return line.SendRequest(cpsip_method::bye, msg.GetDialogId()) ? 1 : 0;
  if (line.m_eState == Events::STATE_RINGING) return AckWhileRinging(line, msg);
  bogus_print("::::::ACK received while in %s state! Ignored!\n", GetStateText(line.m_eState));
  return 1;
}

int SipLine::Requests::AckWhileRinging(SipLine& line, SipMsg& msg) {
  const cpsip_msg& ack = *msg.GetPtr();
  if (!line.m_bOfferReceived && ack.sdp2 == nullptr && !line.m_pService.AllowMissingMedia())
    return FailMedia(line, msg, "Missing media info");
  if (!line.m_bOfferReceived && ack.sdp2 != nullptr) {
    const Turn turn(line);
    if (!ReadAnswer(line, ack)) return FailMedia(line, msg, "No common codec");
    if (!turn.IsStill()) return 1;
  }
  line.SetState(Events::STATE_CONNECTED);
  line.m_pService.NotifyLineConnected(line.m_nLineIndex, msg.GetFromURI(), msg.GetToURI(),
                                      line.m_szMediaAddress.data(), line.m_szCodecs.data());
  return 1;
}

// Kept: the stack negotiates for an INVITE alone, so that an answer in an ACK comes without what is asked for
// here. The branch is for a stack that negotiates there too.
bool SipLine::Requests::ReadAnswer(SipLine& line, const cpsip_msg& msg) {
  if (line.ReadCodecs(true, msg.sdp2.get(), msg.sdp2_text.view()) == 0) return false;
  line.ReadMedia(msg);
  line.m_pService.NotifyCodecs(line.m_nLineIndex, line.m_szCodecs.data());
  return true;
}

int SipLine::Requests::FailMedia(SipLine& line, const SipMsg& msg, const char* text) {
  const Turn turn(line);
  line.m_pService.NotifyLineError(line.m_nLineIndex, kLineErrorMedia, text);
  if (!turn.IsStill() || !line.EnterState(Events::STATE_DISCONNECTING).IsStill()) return 1;
  return line.SendRequest(cpsip_method::bye, msg.GetDialogId()) ? 1 : 0;
}

// BYE and CANCEL alike, in every state. No response: the stack has answered both, and with a CANCEL the
// INVITE too.
//
// Kept: TIMER_DISCONNECT goes on. It runs when both sides have dropped the call at once, and its expiry then
// ends a call that was begun on the line within 5 s. As an idle line's timer it harms nobody, and no message
// of the far end can stop the last resort.
int SipLine::Requests::OnFarEndDrop(SipLine& line) {
  const Turn turn = line.SetState(Events::STATE_IDLE);
  line.m_pService.NotifyFarEndDrop(line.m_nLineIndex);
  turn.Report();
  return 1;
}

int SipLine::Requests::OnUnknownMsg(SipLine& /*line*/, SipMsg& /*msg*/) {
  bogus_print("SipLine::OnUnknownMsg!!!!\n");
  return 0;
}

}  // namespace hark

// The sending half of the UA core: dispatch. Requests are filled in by cpsip_ua_send_request.cpp, responses
// by cpsip_ua_send_response.cpp.
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_offer_answer.h"
#include "cpsip/cpsip_transaction.h"
#include "cpsip/cpsip_ua_private.h"

namespace hark {
namespace {

// The method that a CSeq tells: a request's own, and for a response that names none the last one that came
// in.
void set_cseq_method(const cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (msg.cseq_method == cpsip_method::unrecognized) return;
  if (msg.method != cpsip_method::response) {
    msg.cseq_method = msg.method;
  } else if (msg.cseq_method == cpsip_method::response && dialog.state_msg != nullptr) {
    msg.cseq_method = dialog.state_msg->cseq_method;
  }
}

// RFC 3261 section 9.1: a cancelled INVITE without a final response is over after 64 T1. Its dialog goes, and
// with it what nobody answers for any more. Started behind timer F of the CANCEL, which is as long and is
// told.
void watch_cancelled(cpsip_dlog_cb& dialog) {
  static constexpr std::uint32_t kCancelledT1 = 64;
  if (dialog.is_gone() || dialog.state != DLG_CANCEL_SENT) return;
  Cpsip_stoptimer(dialog.removal_timer);
  dialog.removal_timer = Cpsip_starttimer(
      &dialog, kTimerRemoval, kCancelledT1 * dialog.service->ua_parms->nT1, cpsip_dlog_removal_timeout);
}

int result_of(int step) { return step == kUaNothingToSend ? kUaOk : step; }

}  // namespace

int cpsip_ua_send(cpsip_dlog_cb& dialog, cpsip_msg_ptr taken) {
  if (dialog.is_gone()) return kServBadDialog;
  const cpsip_dlog_ptr keep = dialog.shared_from_this();
  const cpsip_msg_shared msg = std::move(taken);
  set_cseq_method(dialog, *msg);
  const bool response = msg->method == cpsip_method::response;
  if (dialog.state == DLG_NEW && msg->method == cpsip_method::invite) dialog.state_msg = msg;
  if (response && dialog.state_msg == nullptr) {
    const int result = cpsip_ua_wrong_state(cpapp_here(cpapp_module::cpsip_ua_send), dialog);
    cpsip_serv_delete_if_done(dialog);
    return result;
  }
  const std::uint32_t sdp_state = dialog.sdp_state;
  if (const int result = cpsdp_send_state_processing(dialog, *msg); result != 0) {
    cpsip_serv_delete_if_done(dialog);
    return result;
  }
  const int step = response ? cpsip_ua_send_response(dialog, msg) : cpsip_ua_send_request(dialog, msg);
  // What is not sent is no offer and no answer.
  if (step == kUaWrongState) dialog.sdp_state = sdp_state;
  if (step != kUaOk) return result_of(step);
  if (dialog.is_gone()) return kUaBadNextHop;
  const int result = cpsip_tact_send_msg(dialog, msg);
  if (msg->method == cpsip_method::cancel) watch_cancelled(dialog);
  if (result != 0 && dialog.state == DLG_INVITE_SENT && dialog.client_tacts.empty())
    (void)cpsip_serv_delete_dlog_cb(dialog);
  return result;
}

}  // namespace hark

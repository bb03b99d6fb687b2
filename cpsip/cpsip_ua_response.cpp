// What a received response does to its dialog, one function for each state.
#include <array>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_transaction.h"
#include "cpsip/cpsip_ua_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_ua_receive;

// The body of a NOTIFY that tells of the response, RFC 3515 section 2.4.5.
std::string_view sipfrag(std::uint16_t status, std::span<char> out) {
  struct Row {
    std::uint16_t status;
    const char* text;
  };
  static constexpr std::array<Row, 5> kRows{
      {{100, "Trying"}, {180, "Ringing"}, {183, "Proceeding"}, {200, "OK"}, {202, "Accepted"}}};
  int length = 0;
  for (const Row& row : kRows) {
    if (row.status == status) length = format_text(out, "SIP/2.0 %u %s\r\n\r\n", unsigned{status}, row.text);
  }
  if (length == 0) length = format_text(out, "SIP/2.0 %u\r\n\r\n", unsigned{status});
  return {out.data(), static_cast<std::size_t>(length)};
}

// Tells the dialog that a REFER came in on how the call that it asked for goes.
void notify_referrer(const cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  static constexpr std::uint32_t kRefer = 0;
  static constexpr std::uint32_t kActive = 2;
  static constexpr std::uint32_t kTerminated = 0;
  const cpsip_dlog_ptr referrer = dialog.related_dialog.lock();
  if (referrer == nullptr || referrer->is_gone() || referrer->state != DLG_CONFIRMED) return;
  cpsip_msg_ptr notify = CPSIP_MsgCreate(true);
  notify->method = cpsip_method::notify;
  notify->event_id = kRefer;
  notify->subscription_state_id = msg.status_code < 200 ? kActive : kTerminated;
  // The formatter writes the words of the ids; the values only say that there are such lines.
  (void)cpsip_msg_write(*notify, CPSIP_FLD_EVENT, 1, 0, "refer");
  (void)cpsip_msg_write(*notify, CPSIP_FLD_SUBSCRIPTION_STATE, 1, 0, "-");
  std::array<char, 40> text;
  const std::string_view body = sipfrag(msg.status_code, text);
  notify->content_kind = cpsip_content_kind::sipfrag;
  notify->content_length = static_cast<std::uint32_t>(body.size());
  notify->body = std::make_unique<char[]>(body.size());
  body.copy(notify->body.get(), body.size());
  (void)cpsip_ua_send(*referrer, std::move(notify));
}

// The Contact becomes the remote target. False when it cannot: the application is told.
bool update_target(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  if (cpsip_ua_process_remote_contact(msg, dialog) == kAccessOk) return true;
  cpapp_uxp(cpapp_here(kHere));
  cpsip_serv_app_status(dialog, kStatusPortConfigErr, msg.cseq_method);
  return !dialog.is_gone();
}

void update_state(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  if (dialog.state != DLG_CONFIRMED) {
    if (cpsip_is_of_invite(msg)) dialog.state = DLG_ANSWERED;
  } else if (dialog.sub_state == DLG_INVITE_SENT) {
    dialog.sub_state = DLG_ANSWERED;
  } else if (dialog.sub_state == DLG_CANCEL_SENT) {
    dialog.sub_state = DLG_CANCEL_ANSWERED;
  } else if (msg.status_code == kStatusRequestTerminated) {
    dialog.sub_state = DLG_IDLE;
    dialog.sdp_state = SDP_IDLE;
  }
}

// A response that may move the dialog on.
int progress(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const std::uint16_t status = msg.status_code;
  cpsip_tact_own_state_msg(dialog);
  if (cpsip_is_of_invite(msg)) {
    dialog.cancel_allowed =
        status < 200 && (dialog.state == DLG_INVITE_SENT || dialog.sub_state == DLG_INVITE_SENT);
  }
  const bool terminated = status == kStatusRequestTerminated;
  if ((status > 100 && status < 300) || terminated) {
    if (cpsip_ua_reverse_route_set(dialog, msg) != kAccessOk) cpapp_uxp(cpapp_here(kHere));
    if (cpsip_is_of_invite(msg) && !update_target(dialog, msg)) return kUaNoService;
    if (dialog.state != DLG_CONFIRMED) dialog.state_msg->cseq = 0;
  }
  if (cpsip_is_2xx(msg) || terminated) update_state(dialog, msg);
  if (status >= 300 && cpsip_is_of_invite(msg)) {
    (dialog.state == DLG_CONFIRMED ? dialog.sub_state : dialog.state) =
        dialog.state == DLG_CONFIRMED ? DLG_IDLE : DLG_ENDED;
    dialog.sdp_state = SDP_IDLE;
    if (!update_target(dialog, msg)) return kUaNoService;
  }
  return kUaOk;
}

// The call came about although it was cancelled: it is acknowledged and ended (RFC 3261 sections 9.1 and 15),
// and the application hears that it is over.
int end_late_answer(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  dialog.cancel_wanted = false;
  Cpsip_stoptimer(dialog.removal_timer);
  (void)cpsip_ua_reverse_route_set(dialog, *msg);
  (void)cpsip_ua_process_remote_contact(*msg, dialog);
  (void)cpsip_ua_send_ack(dialog, msg->cseq);
  if (dialog.is_gone()) return kUaBadNextHop;
  const int result = cpsip_ua_send_bye(dialog);
  if (dialog.is_gone()) return result;
  msg->method = cpsip_method::local_status;
  msg->status_code = kStatusClearStuckDialog;
  return kUaOk;
}

int while_inviting(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  if (dialog.cancel_wanted && cpsip_is_of_invite(*msg) && cpsip_is_2xx(*msg)) {
    dialog.state = DLG_CANCEL_SENT;
    return end_late_answer(dialog, msg);
  }
  return progress(dialog, *msg);
}

bool is_plain_request(cpsip_method method) {
  return method == cpsip_method::options || method == cpsip_method::publish ||
         method == cpsip_method::message || method == cpsip_method::subscribe ||
         method == cpsip_method::refer;
}

int while_confirmed(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  const std::uint32_t sub = dialog.sub_state;
  const bool in_invite = sub == DLG_INVITE_SENT || sub == DLG_CANCEL_SENT || sub == DLG_CANCEL_ANSWERED;
  const bool ends_cancel = (sub == DLG_ENDED || sub == DLG_IDLE) && msg->status_code >= 200 &&
                           msg->cseq_method == cpsip_method::cancel;
  if (is_plain_request(msg->cseq_method) || in_invite || ends_cancel) return progress(dialog, *msg);
  return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
}

int after_bye(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  if (msg->cseq_method != cpsip_method::bye) return kUaOk;
  dialog.sdp_state = SDP_IDLE;
  if (dialog.subscription_state != 0) {
    dialog.state = DLG_CONFIRMED;
    dialog.after_bye = kAfterByeNotify;
  } else {
    dialog.state = DLG_ENDED;
  }
  return kUaOk;
}

int after_cancel(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  if (cpsip_is_of_invite(*msg) && cpsip_is_2xx(*msg)) return end_late_answer(dialog, msg);
  if (msg->status_code == kStatusRequestTerminated) {
    dialog.state = DLG_ENDED;
    dialog.sdp_state = SDP_IDLE;
  }
  return kUaOk;
}

// The answer to a CANCEL may come when all is over already: nobody asks for it then.
int otherwise(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  if (msg->cseq_method == cpsip_method::cancel) return kUaWrongState;
  return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
}

using Handler = int (*)(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
struct Row {
  std::uint32_t state;
  Handler handle;
};
constexpr std::array<Row, 6> kStates{{{DLG_INVITE_SENT, while_inviting},
                                      {DLG_OPTIONS, while_inviting},
                                      {DLG_CONFIRMED, while_confirmed},
                                      {DLG_BYE_CROSSED, after_bye},
                                      {DLG_BYE_SENT, after_bye},
                                      {DLG_CANCEL_SENT, after_cancel}}};

}  // namespace

int cpsip_ua_receive_response(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  notify_referrer(dialog, *msg);
  if (dialog.is_gone()) return kUaNoService;
  for (const Row& row : kStates) {
    if (row.state == dialog.state) return row.handle(dialog, msg);
  }
  return otherwise(dialog, msg);
}

}  // namespace hark

// Responses on their way out, one function for each state: what they must carry (RFC 3261 sections 8.2.6 and
// 12.1.1), and what they do to their dialog.
#include <array>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_ua_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_ua_send;

int copy_fields(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  return cpsip_copy_dialog_state_fields(false, false, dialog, !dialog.is_caller, *dialog.state_msg, msg);
}

int copy_record_route(const cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  for (unsigned i = 1; i <= dialog.state_msg->record_route_count; ++i) {
    if (const int result = cpsip_msg_copy_field(*dialog.state_msg, msg, i, CPSIP_FLD_RECORD_ROUTE_URI);
        result != kAccessOk)
      return result;
  }
  return kAccessOk;
}

int copy_all(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const int result = copy_record_route(dialog, msg);
  return result == kAccessOk ? copy_fields(dialog, msg) : result;
}

// Our side of the dialog gets its tag with the first response that makes one.
int make_to_tag(cpsip_dlog_cb& dialog) {
  const int result = cpsip_ua_make_tag(*dialog.state_msg, CPSIP_FLD_TO_PARM);
  cpsip_dlog_reindex(dialog);
  return result;
}

int send_unknown_method(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  dialog.state = DLG_ENDED;
  dialog.sdp_state = SDP_IDLE;
  return copy_fields(dialog, msg);
}

int send_options_answer(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  switch (dialog.state) {
    case DLG_NEW:
      if (const int result = make_to_tag(dialog); result != kAccessOk) return result;
      [[fallthrough]];
    case DLG_CONFIRMED:
    case DLG_BYE_RECEIVED:
    case DLG_BYE_CROSSED:
    case DLG_BYE_SENT:
    case DLG_OPTIONS:
      return copy_fields(dialog, msg);
    default:
      return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  }
}

std::string_view read_contact(const cpsip_msg& msg, std::uint32_t field, cpsip_field_text& room) {
  return msg.contact_count != 0 ? cpsip_msg_read(msg, field, 1, 0, room) : std::string_view{};
}

// One of the three tells it: the response, the dialog, the service. `fresh` when it was not the dialog.
int settle(cpsip_dlog_cb& dialog, cpsip_msg& msg, std::uint32_t field, std::string_view ours, bool& fresh) {
  cpsip_field_text room;
  std::string_view text = read_contact(msg, field, room);
  fresh = true;
  if (!text.empty()) return cpsip_msg_write(*dialog.state_msg, field, 1, 0, text);
  text = read_contact(*dialog.state_msg, field, room);
  if (!text.empty()) {
    fresh = false;
    return cpsip_msg_write(msg, field, 1, 0, text);
  }
  if (ours.empty()) return kAccessOk;
  const int result = cpsip_msg_write(msg, field, 1, 0, ours);
  return result == kAccessOk ? cpsip_msg_write(*dialog.state_msg, field, 1, 0, ours) : result;
}

int write_contact(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const cpsip_ua_parms& parms = *dialog.service->ua_parms;
  bool fresh = false;
  bool unused = false;
  int result = settle(dialog, msg, CPSIP_FLD_CONTACT_URI, parms.pszContactUri, fresh);
  if (result == kAccessOk)
    result = settle(dialog, msg, CPSIP_FLD_CONTACT_DISPLAY, parms.pszContactName, unused);
  if (result == kAccessOk && fresh) result = cpsip_ua_process_local_contact(msg, dialog);
  if (result == kAccessOk) return kUaOk;
  cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
  cpsip_serv_app_status(dialog, kStatusPortConfigErr, msg.cseq_method);
  return dialog.is_gone() ? int{kUaBadNextHop} : result;
}

// A 2xx is the core's to resend, as it went out: the transaction ends with it, RFC 3261 section 13.3.1.4.
int answer_invite(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  (dialog.sub_state == DLG_ENDED ? dialog.state : dialog.sub_state) = DLG_ANSWER_SENT;
  dialog.retrans_2xx = msg;
  Cpsip_stoptimer(dialog.retrans_timer);
  dialog.retrans_timer =
      Cpsip_starttimer(&dialog, kTimer2xx, dialog.service->ua_parms->nT1, cpsip_ua_2xx_timeout);
  return kUaOk;
}

int refuse_invite(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  if (!cpsip_is_of_invite(msg)) return kUaOk;  // what else is refused in a call leaves its offer alone
  dialog.sdp_state = SDP_IDLE;
  if (dialog.state == DLG_INVITE_RECEIVED) dialog.state = DLG_ENDED;
  if (dialog.sub_state != DLG_ENDED) dialog.sub_state = DLG_IDLE;
  return kUaOk;
}

int send_main(cpsip_dlog_cb& dialog, const cpsip_msg_shared& shared) {
  cpsip_msg& msg = *shared;
  if (msg.status_code >= 200) msg.include_allow = true;
  int result = copy_record_route(dialog, msg);
  if (result == kAccessOk) result = make_to_tag(dialog);
  if (result == kAccessOk) result = copy_fields(dialog, msg);
  if (result == kAccessOk) result = write_contact(dialog, msg);
  if (result != kAccessOk || msg.status_code < 200) return result;
  if (msg.status_code >= 300) return refuse_invite(dialog, msg);
  return cpsip_is_2xx(msg) && cpsip_is_of_invite(msg) ? answer_invite(dialog, shared) : int{kUaOk};
}

bool ends_cancelled(const cpsip_msg& msg) {
  return msg.status_code == 200 || msg.status_code == 202 || msg.status_code == kStatusRequestTerminated;
}

// The two answers to a CANCEL. The second is one to the INVITE.
int answer_cancel(cpsip_dlog_cb& dialog, cpsip_msg& msg, std::uint32_t& state, std::uint32_t terminated) {
  const int result = copy_all(dialog, msg);
  dialog.sdp_state = SDP_IDLE;
  if (msg.status_code != kStatusRequestTerminated) {
    state = DLG_CANCEL_ACCEPTED;
    return result;
  }
  msg.cseq_method = cpsip_method::invite;
  state = terminated;
  return result;
}

// The call is dropped before the ACK of its 2xx: RFC 3261 section 15 has the BYE wait for that.
int refuse_answered(cpsip_dlog_cb& dialog, const cpsip_msg_shared& shared) {
  if (cpsip_is_of_invite(*shared) && shared->status_code >= 300) dialog.bye_wanted = true;
  return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
}

int send_new(cpsip_dlog_cb& dialog, const cpsip_msg_shared& shared) { return copy_all(dialog, *shared); }

int send_confirmed(cpsip_dlog_cb& dialog, const cpsip_msg_shared& shared) {
  cpsip_msg& msg = *shared;
  const std::uint32_t sub = dialog.sub_state;
  const bool cancelled = sub == DLG_CANCEL_RECEIVED || sub == DLG_CANCEL_ACCEPTED;
  if (cpsip_is_of_invite(msg) && sub != DLG_INVITE_RECEIVED && !cancelled)
    return sub == DLG_ANSWER_SENT ? refuse_answered(dialog, shared)
                                  : cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  if (!cancelled) return send_main(dialog, shared);
  if (!ends_cancelled(msg)) return kUaNothingToSend;
  return answer_cancel(dialog, msg, dialog.sub_state, DLG_IDLE);
}

int send_after_bye(cpsip_dlog_cb& dialog, const cpsip_msg_shared& shared) {
  cpsip_msg& msg = *shared;
  static constexpr std::uint32_t kTerminated = 0;
  if (!cpsip_is_2xx(msg)) return kUaNothingToSend;
  const int result = copy_all(dialog, msg);
  const bool subscribed = dialog.notify_cb != nullptr && dialog.notify_cb->subscription_state != kTerminated;
  dialog.state = subscribed ? DLG_CONFIRMED : DLG_ENDED;
  if (subscribed) dialog.after_bye = kAfterByeNotify;
  dialog.sub_state = DLG_ENDED;
  dialog.sdp_state = SDP_IDLE;
  return result;
}

int send_cancelled(cpsip_dlog_cb& dialog, const cpsip_msg_shared& shared) {
  cpsip_msg& msg = *shared;
  if (ends_cancelled(msg)) return answer_cancel(dialog, msg, dialog.state, DLG_INVITE_TERMINATED);
  cpapp_uxp1(cpapp_here(kHere), msg.status_code);
  return kUaNothingToSend;
}

int send_otherwise(cpsip_dlog_cb& dialog, const cpsip_msg_shared& /*msg*/) {
  return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
}

using Handler = int (*)(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg);
struct Row {
  std::uint32_t state;
  Handler handle;
};
constexpr std::array<Row, 8> kStates{{{DLG_NEW, send_new},
                                      {DLG_INVITE_RECEIVED, send_main},
                                      {DLG_ANSWER_SENT, refuse_answered},
                                      {DLG_CONFIRMED, send_confirmed},
                                      {DLG_BYE_RECEIVED, send_after_bye},
                                      {DLG_BYE_CROSSED, send_after_bye},
                                      {DLG_CANCEL_RECEIVED, send_cancelled},
                                      {DLG_CANCEL_ACCEPTED, send_cancelled}}};

}  // namespace

int cpsip_ua_send_response(cpsip_dlog_cb& dialog, const cpsip_msg_shared& shared) {
  cpsip_msg& msg = *shared;
  cpsip_field_text room;
  if (cpsip_msg_read(msg, CPSIP_FLD_REASON, 1, 0, room).empty()) {
    const std::string_view reason = cpsip_ua_reason(msg.status_code);
    if (!reason.empty()) (void)cpsip_msg_write(msg, CPSIP_FLD_REASON, 1, 0, reason);
  }
  if (msg.cseq_method == cpsip_method::unrecognized) return send_unknown_method(dialog, msg);
  if (msg.cseq_method == cpsip_method::options) return send_options_answer(dialog, msg);
  for (const Row& row : kStates) {
    if (row.state == dialog.state) return row.handle(dialog, shared);
  }
  return send_otherwise(dialog, shared);
}

}  // namespace hark

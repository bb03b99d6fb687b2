// Received requests: retransmissions are absorbed, what belongs to no dialog is answered here, and the rest
// goes up with a transaction of its own (RFC 3261 section 17.2).
#include <algorithm>
#include <array>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_transaction_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_transaction;
constexpr std::uint32_t kRemovalMs = 10000;
constexpr std::uint16_t kLoopDetected = 482;

// An answer that no transaction keeps. A retransmission of the request gets it again.
void answer_stateless(cpsip_dlog_cb& dialog, const cpsip_msg& request, std::uint16_t status,
                      std::string_view reason) {
  cpsip_msg_shared answer = cpsip_ua_response(status, request, reason);
  answer->unknown_method = request.unknown_method;
  answer->include_allow = status == 501;
  if (cpsip_copy_dialog_state_fields(false, false, dialog, true, request, *answer) != kAccessOk) return;
  (void)cpsip_net_send(dialog, answer);
}

// The record of a dialog that never was stays for a while, so that its message can leave.
void remove_later(cpsip_dlog_cb& dialog) {
  Cpsip_stoptimer(dialog.removal_timer);
  dialog.removal_timer = Cpsip_starttimer(&dialog, kTimerRemoval, kRemovalMs, cpsip_dlog_removal_timeout);
}

void answer_not_implemented(cpsip_tact_arrival& arrival) {
  answer_stateless(arrival.dialog, *arrival.msg, 501, "Not Implemented");
  if (arrival.dialog.state == DLG_NEW) remove_later(arrival.dialog);
}

// Kept: an ACK outside of any dialog draws an answer like the others, which its sender ignores.
void answer_outside(cpsip_tact_arrival& arrival) {
  switch (arrival.msg->method) {
    case cpsip_method::ack:
    case cpsip_method::bye:
    case cpsip_method::cancel:
      answer_stateless(arrival.dialog, *arrival.msg, 481, "Call does not exist");
      remove_later(arrival.dialog);
      return;
    case cpsip_method::notify:
      answer_stateless(arrival.dialog, *arrival.msg, 481, "Subscription does not exist");
      remove_later(arrival.dialog);
      return;
    default:
      answer_not_implemented(arrival);
  }
}

bool begins_dialog(cpsip_method method) {
  return method == cpsip_method::invite || method == cpsip_method::options || method == cpsip_method::refer;
}

// An INVITE that has been here before, by another way or by the same: RFC 3261 sections 8.2.2.2 and 13.3.1.4.
// True when that is what it is, and it has been seen to.
bool is_repeated_invite(cpsip_tact_arrival& arrival) {
  cpsip_dlog_cb& dialog = arrival.dialog;
  const cpsip_msg& msg = *arrival.msg;
  if (arrival.new_dialog || msg.method != cpsip_method::invite || !arrival.untagged) return false;
  if (msg.cseq != dialog.state_msg->cseq) return false;
  cpsip_field_text room;
  const std::string_view branch = cpsip_tact_branch(msg, room);
  if (!branch.empty() && branch == dialog.invite_branch) {
    if (dialog.retrans_2xx != nullptr) (void)cpsip_net_send(dialog, dialog.retrans_2xx);
    return true;
  }
  answer_stateless(dialog, msg, kLoopDetected, "Loop Detected");
  dialog.recorded_status = kLoopDetected;
  dialog.merged_branches[dialog.merged_next++ % dialog.merged_branches.size()] = branch;
  return true;
}

// The ACK of a 2xx has no transaction. That of the 482 to a merged INVITE is no business of the dialog.
void receive_ack_of_2xx(cpsip_tact_arrival& arrival) {
  cpsip_dlog_cb& dialog = arrival.dialog;
  cpsip_field_text room;
  const std::string_view branch = cpsip_tact_branch(*arrival.msg, room);
  const auto& merged = dialog.merged_branches;
  if (!branch.empty() && std::find(merged.begin(), merged.end(), branch) != merged.end()) return;
  dialog.state_msg->method = arrival.msg->method;
  dialog.state_msg->cseq = arrival.msg->cseq;
  dialog.state_msg->cseq_method = arrival.msg->cseq_method;
  (void)cpsip_ua_receive(dialog, std::move(arrival.msg));
}

// Ends the oldest transaction that is not an INVITE's. False when there is none.
bool drop_oldest(const cpsip_tact_list& tacts) {
  const auto at = std::find_if(tacts.rbegin(), tacts.rend(), [](const cpsip_tact_ptr& tact) {
    return tact->method != cpsip_method::invite;
  });
  if (at == tacts.rend()) return false;
  cpsip_tact_delete_tact_cb(**at);
  return true;
}

// What ends a call is never refused for what else was asked for in it.
bool has_room(cpsip_dlog_cb& dialog, cpsip_method method) {
  const bool ends_call = method == cpsip_method::bye || method == cpsip_method::cancel;
  if (dialog.server_tacts.size() >= kMaxDialogTransactions &&
      !(ends_call && drop_oldest(dialog.server_tacts)))
    return false;
  return cpsip_serv_room_for_transaction(*dialog.service) && !dialog.is_gone();
}

cpsip_tact_ptr make_server(cpsip_tact_arrival& arrival) {
  cpsip_dlog_cb& dialog = arrival.dialog;
  const cpsip_msg& msg = *arrival.msg;
  if (!has_room(dialog, msg.method)) {
    cpapp_uxp(cpapp_here(kHere));
    return nullptr;
  }
  cpsip_tact_ptr tact = cpsip_tact_create_tact_cb(dialog, false);
  cpsip_field_text room;
  tact->method = msg.method;
  tact->cseq = msg.cseq;
  tact->request_uri = cpsip_msg_read(msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  const std::string_view branch = cpsip_tact_branch(msg, room);
  if (branch.size() > kBranchCookieSize) tact->branch = branch;
  tact->via_msg = CPSIP_MsgCreate(true);
  (void)cpsip_ua_copy_via(msg, *tact->via_msg);
  return tact;
}

// The dialog's memory of the request. Only a new dialog takes its parties from it.
int remember(cpsip_tact_arrival& arrival) {
  cpsip_dlog_cb& dialog = arrival.dialog;
  const cpsip_msg& msg = *arrival.msg;
  cpsip_msg& state = *dialog.state_msg;
  const int result = arrival.new_dialog
                         ? cpsip_copy_dialog_state_fields(false, false, dialog, true, msg, state)
                         : cpsip_ua_copy_via(msg, state);
  state.method = msg.method;
  state.cseq = msg.cseq;
  state.cseq_method = msg.cseq_method;
  cpsip_dlog_reindex(dialog);
  return result;
}

// Hands the request up; one that the dialog's state has no use for leaves no transaction. An OPTIONS is
// answered at once or, in that state, never.
void hand_up(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  const cpsip_tact_ptr keep = tact.shared_from_this();
  const int result = cpsip_ua_receive(arrival.dialog, std::move(arrival.msg));
  const bool unanswered = tact.method == cpsip_method::options && tact.state == TACT_TRYING;
  if (result == kUaWrongState || unanswered) cpsip_tact_delete_tact_cb(tact);
}

void begin_invite(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  cpsip_dlog_cb& dialog = arrival.dialog;
  cpsip_field_text room;
  if (arrival.new_dialog) dialog.is_caller = false;
  if (dialog.state == DLG_NEW) dialog.invite_branch = cpsip_tact_branch(*arrival.msg, room);
  if (remember(arrival) != kAccessOk || cpsip_ua_process_remote_contact(*arrival.msg, dialog) != kAccessOk) {
    cpapp_uxp(cpapp_here(kHere));
    cpsip_tact_delete_tact_cb(tact);
    cpsip_serv_app_status(dialog, kStatusPortConfigErr, cpsip_method::invite);
    return;
  }
  cpsip_msg_shared trying = cpsip_ua_response(100, *arrival.msg, "Trying - CPSIP");
  if (cpsip_copy_dialog_state_fields(false, false, dialog, true, *arrival.msg, *trying) == kAccessOk) {
    tact.last_msg = trying;
    cpsip_tact_resend(tact, trying);
  }
  tact.state = TACT_PROCEEDING;
  hand_up(tact, arrival);
}

void receive_invite(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  if (tact.state == TACT_NEW) {
    begin_invite(tact, arrival);
  } else if (tact.state == TACT_PROCEEDING || tact.state == TACT_COMPLETED) {
    cpsip_tact_resend(tact, tact.last_msg);
  }
}

// Of a final response other than 2xx.
void receive_ack(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  if (tact.state == TACT_COMPLETED) {
    Cpsip_stoptimer(tact.timers[kTimerG]);
    Cpsip_stoptimer(tact.timers[kTimerH]);
    tact.state = TACT_CONFIRMED;
    cpsip_tact_starttimer(tact, kTimerI);
    return;
  }
  cpapp_uxp1(cpapp_here(kHere), tact.state);
  const std::uint16_t recorded = arrival.dialog.recorded_status;
  if (recorded != 0 && recorded != kLoopDetected) (void)cpsip_serv_delete_dlog_cb(arrival.dialog);
}

void begin_other(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  cpsip_dlog_cb& dialog = arrival.dialog;
  tact.state = TACT_TRYING;
  if (arrival.msg->method != cpsip_method::cancel) {
    if (arrival.msg->method == cpsip_method::options && arrival.new_dialog) dialog.is_caller = false;
    if (remember(arrival) != kAccessOk) {
      cpsip_tact_delete_tact_cb(tact);
      return;
    }
    if (!arrival.new_dialog) cpsip_tact_pack_dialog_state_sip_msg(dialog);
  }
  hand_up(tact, arrival);
}

void receive_other(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  if (tact.state == TACT_NEW) {
    begin_other(tact, arrival);
  } else if (tact.state == TACT_PROCEEDING || tact.state == TACT_COMPLETED) {
    cpsip_tact_resend(tact, tact.last_msg);
  }
}

// A method that we do not know, inside a dialog. Nothing is kept of it.
void receive_unknown(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  answer_not_implemented(arrival);
  cpsip_tact_delete_tact_cb(tact);
}

using Handler = void (*)(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival);

Handler handler_of(cpsip_method method) {
  switch (method) {
    case cpsip_method::invite:
      return receive_invite;
    case cpsip_method::ack:
      return receive_ack;
    case cpsip_method::bye:
    case cpsip_method::cancel:
    case cpsip_method::options:
    case cpsip_method::refer:
    case cpsip_method::notify:
      return receive_other;
    default:
      return receive_unknown;
  }
}

}  // namespace

void cpsip_tact_receive_request(cpsip_tact_arrival& arrival) {
  cpsip_tact_own_state_msg(arrival.dialog);
  cpsip_tact_ptr tact = cpsip_tact_find_server(arrival.dialog, *arrival.msg);
  if (tact == nullptr) {
    if (arrival.dialog.state == DLG_NEW && !begins_dialog(arrival.msg->method))
      return answer_outside(arrival);
    if (is_repeated_invite(arrival)) return;
    if (arrival.msg->method == cpsip_method::ack) return receive_ack_of_2xx(arrival);
    tact = make_server(arrival);
    if (tact == nullptr) return;
  }
  handler_of(arrival.msg->method)(*tact, arrival);
}

}  // namespace hark

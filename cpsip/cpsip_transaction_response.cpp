// Received responses: one function for each state of the client transaction (RFC 3261 section 17.1), and the
// ACK of a final response other than 2xx.
#include <array>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_transaction_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_transaction;
constexpr unsigned kGlobalFailure = 6;  // the last class of status codes

bool is_provisional(const cpsip_msg& msg) { return msg.status_code / 100 == 1; }
bool is_failure(const cpsip_msg& msg) {
  return msg.status_code / 100 >= 3 && msg.status_code / 100 <= kGlobalFailure;
}

// The tag of whoever answers is the dialog's. The latest response wins: this stack keeps one early dialog.
void track_to_tag(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  if (!dialog.is_caller || msg.cseq != dialog.local_cseq || dialog.state == DLG_CONFIRMED ||
      dialog.state == DLG_BYE_CROSSED || dialog.state == DLG_BYE_SENT)
    return;
  cpsip_field_text tag_room;
  cpsip_field_text stored_room;
  const std::string_view tag = cpsip_ua_tag(msg, CPSIP_FLD_TO_PARM, tag_room);
  if (tag.empty() || tag == cpsip_ua_tag(*dialog.state_msg, CPSIP_FLD_TO_PARM, stored_room)) return;
  cpsip_tact_own_state_msg(dialog);
  unsigned index = 0;
  std::uint32_t length = 0;
  (void)CPSIP_MsgGetParmValue(*dialog.state_msg, CPSIP_FLD_TO_PARM, 1, "tag=", index, stored_room, length);
  if (index == 0) index = CPSIP_MsgGetParmCnt(*dialog.state_msg, CPSIP_FLD_TO_PARM, 1) + 1;
  (void)cpsip_msg_write(*dialog.state_msg, CPSIP_FLD_TO_PARM, 1, index, "tag=" + std::string(tag));
  cpsip_tact_pack_dialog_state_sip_msg(dialog);
  cpsip_dlog_reindex(dialog);
}

void drop_reported(cpsip_tact_cb& tact, const cpsip_msg& msg) {
  cpapp_uxp2(cpapp_here(kHere), tact.state, msg.status_code);
}

void up(cpsip_tact_arrival& arrival) { (void)cpsip_ua_receive(arrival.dialog, std::move(arrival.msg)); }

void stop(cpsip_tact_cb& tact, std::initializer_list<std::uint32_t> ids) {
  for (const std::uint32_t id : ids)
    Cpsip_stoptimer(tact.timers[id]);
}

// RFC 3261 section 17.1.1.3: with the branch of the INVITE, and to where the INVITE went.
cpsip_msg_shared build_ack(const cpsip_tact_cb& tact, const cpsip_msg& response) {
  cpsip_dlog_cb& dialog = *tact.dialog;
  cpsip_msg_shared ack = CPSIP_MsgCreate(true);
  ack->method = cpsip_method::ack;
  ack->cseq = response.cseq;
  ack->cseq_method = cpsip_method::ack;
  ack->max_forwards = dialog.service->ua_parms->nMaxForwards;
  int result = cpsip_copy_dialog_state_fields(true, true, dialog, dialog.is_caller, *dialog.state_msg, *ack);
  if (result == kAccessOk) result = cpsip_msg_write(*ack, CPSIP_FLD_VIA_PARM, 1, 1, "branch=" + tact.branch);
  if (result == kAccessOk) result = cpsip_msg_write(*ack, CPSIP_FLD_VIA_PARM, 1, 2, "rport");
  if (result == kAccessOk && !dialog.remote_target.empty())
    result = cpsip_msg_write(*ack, CPSIP_FLD_REQUEST_URI, 1, 0, dialog.remote_target);
  if (result == kAccessOk) result = cpsip_ua_process_request_route_set(dialog, *ack);
  return result == kAccessOk ? ack : nullptr;
}

void acknowledge(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  stop(tact, {kTimerA, kTimerB});
  tact.last_msg.reset();
  cpsip_tact_starttimer(tact, kTimerD);
  tact.ack_msg = build_ack(tact, *arrival.msg);
  if (arrival.dialog.is_gone()) return;
  if (tact.ack_msg != nullptr && cpsip_net_send(arrival.dialog, tact.ack_msg) != kNetOk) {
    cpapp_uxp(cpapp_here(kHere));
    tact.ack_msg.reset();
  }
  tact.state = TACT_COMPLETED;
  up(arrival);
}

// A 2xx ends the transaction of an INVITE: its ACK and its retransmissions are the core's.
void answer_invite(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  cpsip_tact_delete_tact_cb(tact);
  up(arrival);
}

void complete(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  stop(tact, {kTimerE, kTimerF});
  cpsip_tact_starttimer(tact, kTimerK);
  tact.state = TACT_COMPLETED;
  up(arrival);
}

void in_new(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) { drop_reported(tact, *arrival.msg); }

void in_calling(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  if (is_provisional(*arrival.msg)) {
    stop(tact, {kTimerA, kTimerB});
    tact.last_msg.reset();
    tact.state = TACT_PROCEEDING;
    up(arrival);
  } else if (cpsip_is_2xx(*arrival.msg)) {
    answer_invite(tact, arrival);
  } else if (is_failure(*arrival.msg)) {
    acknowledge(tact, arrival);
  } else {
    drop_reported(tact, *arrival.msg);
  }
}

void in_trying(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  if (is_provisional(*arrival.msg)) {
    tact.state = TACT_PROCEEDING;
    up(arrival);
  } else if (cpsip_is_2xx(*arrival.msg) && tact.method == cpsip_method::refer) {
    // Kept: what a REFER began is told by NOTIFYs, and its transaction stays as long as its dialog.
    stop(tact, {kTimerE, kTimerF});
    up(arrival);
  } else if (cpsip_is_2xx(*arrival.msg) || is_failure(*arrival.msg)) {
    complete(tact, arrival);
  } else {
    drop_reported(tact, *arrival.msg);
  }
}

void in_proceeding(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  const bool invite = tact.method == cpsip_method::invite;
  if (is_provisional(*arrival.msg)) {
    up(arrival);
  } else if (cpsip_is_2xx(*arrival.msg)) {
    invite ? answer_invite(tact, arrival) : complete(tact, arrival);
  } else if (is_failure(*arrival.msg)) {
    invite ? acknowledge(tact, arrival) : complete(tact, arrival);
  } else {
    drop_reported(tact, *arrival.msg);
  }
}

void in_completed(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival) {
  if (is_failure(*arrival.msg) && tact.method == cpsip_method::invite) cpsip_tact_resend(tact, tact.ack_msg);
}

void in_confirmed(cpsip_tact_cb& /*tact*/, cpsip_tact_arrival& /*arrival*/) {}

using Handler = void (*)(cpsip_tact_cb& tact, cpsip_tact_arrival& arrival);
// By cpsip_tact_state.
constexpr std::array<Handler, 6> kStates{in_new,        in_calling,   in_trying,
                                         in_proceeding, in_completed, in_confirmed};

// The 2xx of an INVITE whose transaction it has ended already. All else belongs to nothing.
void receive_stray(cpsip_tact_arrival& arrival) {
  const cpsip_msg& msg = *arrival.msg;
  if (cpsip_is_2xx(msg) && msg.cseq_method == cpsip_method::invite && arrival.dialog.state == DLG_CONFIRMED)
    return up(arrival);
  if (arrival.dialog.state == DLG_NEW) (void)cpsip_serv_delete_dlog_cb(arrival.dialog);
}

}  // namespace

void cpsip_tact_receive_response(cpsip_tact_arrival& arrival) {
  const cpsip_tact_ptr tact = cpsip_tact_find_client(arrival.dialog, *arrival.msg);
  if (tact == nullptr) return receive_stray(arrival);
  track_to_tag(arrival.dialog, *arrival.msg);
  kStates[tact->state](*tact, arrival);
}

}  // namespace hark

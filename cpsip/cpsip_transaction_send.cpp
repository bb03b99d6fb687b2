// Messages on their way out through their transactions.
#include <array>
#include <cstdlib>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_transaction_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_transaction;

int refuse(int result) {
  cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
  return result;
}

// The values print in the reverse order of their drawing.
std::string new_branch() {
  std::array<unsigned, 4> drawn{};
  for (unsigned& value : drawn)
    value = static_cast<unsigned>(std::rand());
  std::array<char, 48> text;
  const int length = format_text(text, "z9hG4bK%x%x%x%x", drawn[3], drawn[2], drawn[1], drawn[0]);
  return {text.data(), static_cast<std::size_t>(length)};
}

cpsip_tact_cb* find_invite(const cpsip_dlog_cb& dialog) {
  for (const cpsip_tact_ptr& tact : dialog.client_tacts) {
    if (tact->method == cpsip_method::invite) return tact.get();
  }
  return nullptr;
}

int append_via_parm(cpsip_msg& msg, std::string_view text) {
  return cpsip_msg_write(msg, CPSIP_FLD_VIA_PARM, 1, CPSIP_MsgGetParmCnt(msg, CPSIP_FLD_VIA_PARM, 1) + 1,
                         text);
}

// Only requests that have a transaction, and the ACK of a 2xx, have a branch of their own; a CANCEL has that
// of its INVITE, RFC 3261 section 9.1. Every request asks for rport, RFC 3581.
int write_via_parms(cpsip_msg& msg, std::string_view branch) {
  int result = kAccessOk;
  if (!branch.empty()) result = append_via_parm(msg, "branch=" + std::string(branch));
  return result == kAccessOk ? append_via_parm(msg, "rport") : result;
}

// Null when there are too many.
cpsip_tact_ptr make_client(cpsip_dlog_cb& dialog, const cpsip_msg& msg, std::string branch) {
  if (dialog.client_tacts.size() >= kMaxDialogTransactions ||
      !cpsip_serv_room_for_transaction(*dialog.service) || dialog.is_gone())
    return nullptr;
  cpsip_tact_ptr tact = cpsip_tact_create_tact_cb(dialog, true);
  tact->method = msg.method;
  tact->cseq = msg.cseq;
  tact->branch = std::move(branch);
  return tact;
}

int send_ack(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  const bool of_2xx =
      dialog.state == DLG_CONFIRMED && (dialog.sub_state == DLG_ENDED || dialog.sub_state == DLG_IDLE);
  const int result = write_via_parms(*msg, of_2xx ? new_branch() : std::string());
  return result == kAccessOk ? cpsip_net_send(dialog, msg) : result;
}

void start_client(cpsip_tact_cb& tact) {
  const bool invite = tact.method == cpsip_method::invite;
  const bool udp = tact.dialog->xport.transport == cpsip_transport_kind::udp;
  tact.state = invite ? TACT_CALLING : TACT_TRYING;
  if (udp) cpsip_tact_starttimer(tact, invite ? kTimerA : kTimerE);
  cpsip_tact_starttimer(tact, invite ? kTimerB : kTimerF);
}

int send_through(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg, std::string branch) {
  const cpsip_tact_ptr tact = make_client(dialog, *msg, std::move(branch));
  if (tact == nullptr) return refuse(kTactNoTransaction);
  if (const int result = write_via_parms(*msg, tact->branch); result != kAccessOk) {
    cpsip_tact_delete_tact_cb(*tact);
    return refuse(result);
  }
  start_client(*tact);
  tact->last_msg = msg;
  return cpsip_net_send(dialog, msg);
}

int send_cancel(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  const cpsip_tact_cb* invite = find_invite(dialog);
  return invite != nullptr ? send_through(dialog, msg, invite->branch) : refuse(kTactNoTransaction);
}

int send_request(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  switch (msg->method) {
    case cpsip_method::ack:
      return send_ack(dialog, msg);
    case cpsip_method::cancel:
      return send_cancel(dialog, msg);
    case cpsip_method::invite:
    case cpsip_method::bye:
    case cpsip_method::options:
    case cpsip_method::refer:
    case cpsip_method::notify:
      return send_through(dialog, msg, new_branch());
    default:
      return refuse(kTactUnknownMethod);
  }
}

cpsip_tact_ptr find_answered(const cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  for (const cpsip_tact_ptr& tact : dialog.server_tacts) {
    if (tact->method == msg.cseq_method) return tact;
    if (msg.status_code == kStatusRequestTerminated && tact->method == cpsip_method::invite) return tact;
  }
  return nullptr;
}

// What a response does to its transaction before it goes. False: the transaction is over, and keeps nothing.
bool advance(cpsip_tact_cb& tact, std::uint16_t status) {
  const bool invite = tact.method == cpsip_method::invite;
  if (tact.state == TACT_COMPLETED) return true;
  if (status < 200) {
    tact.state = TACT_PROCEEDING;
    return true;
  }
  if (invite && status < 300) {
    cpsip_tact_delete_tact_cb(tact);
    return false;
  }
  tact.state = TACT_COMPLETED;
  if (!invite) {
    cpsip_tact_starttimer(tact, kTimerJ);
    return true;
  }
  if (tact.dialog->xport.transport == cpsip_transport_kind::udp) cpsip_tact_starttimer(tact, kTimerG);
  cpsip_tact_starttimer(tact, kTimerH);
  return true;
}

int send_response(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  const cpsip_tact_ptr tact = find_answered(dialog, *msg);
  if (tact == nullptr) {
    if (dialog.state == DLG_NEW) (void)cpsip_serv_delete_dlog_cb(dialog);
    return refuse(kTactNoTransaction);
  }
  if (tact->state == TACT_NEW || tact->state == TACT_CONFIRMED) return refuse(kTactNoTransaction);
  msg->cseq = tact->cseq;
  if (const int result = cpsip_ua_copy_via(*tact->via_msg, *msg); result != kAccessOk) return result;
  if (advance(*tact, msg->status_code)) tact->last_msg = msg;
  return cpsip_net_send(dialog, msg);
}

}  // namespace

int cpsip_tact_send_msg(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  return msg->method == cpsip_method::response ? send_response(dialog, msg) : send_request(dialog, msg);
}

}  // namespace hark

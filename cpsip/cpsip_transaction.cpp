#include "cpsip/cpsip_transaction.h"

#include <algorithm>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/cpsip_transaction_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_transaction;

// The stored To tag, so that the message looks as one inside the dialog does.
void add_to_tag(const cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  cpsip_field_text room;
  const std::uint32_t field = dialog.is_caller ? CPSIP_FLD_FROM_PARM : CPSIP_FLD_TO_PARM;
  std::string text("tag=");
  text += cpsip_ua_tag(*dialog.state_msg, field, room);
  (void)cpsip_msg_write(msg, CPSIP_FLD_TO_PARM, 1, CPSIP_MsgGetParmCnt(msg, CPSIP_FLD_TO_PARM, 1) + 1, text);
}

cpsip_dlog_ptr make_dialog(cpsip_serv_cb& service, const SocCB& socket) {
  cpsip_dlog_ptr dialog = cpsip_serv_create_dlog_cb(service);
  if (dialog == nullptr) {
    cpapp_uxp(cpapp_here(kHere));
    return nullptr;
  }
  dialog->state_msg = CPSIP_MsgCreate(true);
  dialog->local_port = socket.local.port;
  cpsip_dlog_reindex(*dialog);
  return dialog;
}

// The dialog's messages leave by the socket that its last one came in by.
void adopt_socket(cpsip_dlog_cb& dialog, SocCB& socket) {
  dialog.xport.transport = socket.transport;
  if (dialog.xport.socket.get() == &socket) return;
  dialog.xport.socket = cpsip_soc_ref(&socket);
}

// Whether so much was written into the message that it is mostly what nobody reads any more: a value is never
// changed in place.
bool has_grown(const cpsip_msg& msg) {
  static constexpr std::uint16_t kManyFields = 1024;
  static constexpr unsigned kManyBlocks = 16;
  unsigned blocks = 0;
  for (const cpsip_osa_buf* block = msg.chain.get(); block != nullptr; block = block->next)
    ++blocks;
  return msg.fields.count() > kManyFields || blocks > kManyBlocks;
}

}  // namespace

cpsip_tact_cb::~cpsip_tact_cb() { cpsip_tact_stop_all_timers(*this); }

cpsip_tact_ptr cpsip_tact_create_tact_cb(cpsip_dlog_cb& dialog, bool client) {
  auto tact = std::make_shared<cpsip_tact_cb>(dialog, client);
  const cpsip_ua_parms& parms = *dialog.service->ua_parms;
  tact->t1_ms = parms.nT1;
  tact->t2_ms = parms.nT2;
  tact->t4_ms = parms.nT4;
  cpsip_tact_list& list = client ? dialog.client_tacts : dialog.server_tacts;
  list.insert(list.begin(), tact);
  cpsip_serv_count_transactions(1);
  return tact;
}

void cpsip_tact_delete_tact_cb(cpsip_tact_cb& tact) {
  if (tact.gone) return;
  tact.gone = true;
  cpsip_tact_stop_all_timers(tact);
  cpsip_serv_count_transactions(-1);
  cpsip_tact_list& list = tact.client ? tact.dialog->client_tacts : tact.dialog->server_tacts;
  const auto at = std::find_if(list.begin(), list.end(),
                               [&tact](const cpsip_tact_ptr& one) { return one.get() == &tact; });
  if (at != list.end()) list.erase(at);  // `tact` may be gone from here on
}

void cpsip_tact_stop_all_timers(cpsip_tact_cb& tact) {
  for (cpsip_timer_handle& timer : tact.timers)
    Cpsip_stoptimer(timer);
}

void cpsip_tact_pack_dialog_state_sip_msg(cpsip_dlog_cb& dialog) {
  if (dialog.state_msg == nullptr) return;
  cpsip_msg_ptr copy = CPSIP_MsgCreate(true);
  if (const int result = cpsip_msg_copy_sip_msg(*dialog.state_msg, *copy); result != 0) {
    cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
    return;
  }
  dialog.state_msg = std::move(copy);
}

void cpsip_tact_own_state_msg(cpsip_dlog_cb& dialog) {
  if (dialog.state_msg.use_count() > 1) cpsip_tact_pack_dialog_state_sip_msg(dialog);
}

// A target that has changed since concerns the next request: this one goes where it went.
void cpsip_tact_resend(cpsip_tact_cb& tact, const cpsip_msg_shared& msg) {
  if (msg == nullptr) return;
  tact.dialog->xport.flags |= kXportRemoteKnown;
  (void)cpsip_net_send(*tact.dialog, msg);
}

void cpsip_tact_receive_msg(SocCB& socket) {
  cpsip_msg_ptr msg = std::move(socket.scan_msg);
  if (msg == nullptr || socket.owner == nullptr) return;
  if (socket.transport != cpsip_transport_kind::udp) cpapp_fatal_err(cpapp_here(kHere));
  const std::shared_ptr<cpsip_serv_cb> service = socket.owner->shared_from_this();
  cpsip_tact_match match = cpsip_tact_find_dialog(*service, *msg);
  if (match.refused) {
    cpapp_uxp(cpapp_here(kHere));
    return;
  }
  const bool made = match.dialog == nullptr;
  const cpsip_dlog_ptr dialog = made ? make_dialog(*service, socket) : std::move(match.dialog);
  if (dialog == nullptr) return;
  cpsip_field_text room;
  const bool untagged = cpsip_ua_tag(*msg, CPSIP_FLD_TO_PARM, room).empty();
  if (match.add_tag) add_to_tag(*dialog, *msg);
  adopt_socket(*dialog, socket);

  cpsip_tact_arrival arrival{*dialog, std::move(msg), made, untagged};
  if (arrival.msg->method == cpsip_method::response) {
    cpsip_tact_receive_response(arrival);
  } else {
    cpsip_tact_receive_request(arrival);
  }
  if (has_grown(*dialog->state_msg)) cpsip_tact_pack_dialog_state_sip_msg(*dialog);
  cpsip_serv_delete_if_done(*dialog);
}

}  // namespace hark

// Requests on their way out, one function for each kind: what each must carry (RFC 3261
// sections 8.1, 9.1, 12.2 and 15), and what it does to its dialog.
#include <array>
#include <cstdlib>
#include <initializer_list>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_transaction.h"
#include "cpsip/cpsip_ua_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_ua_send;

bool is_one_of(std::uint32_t value, std::initializer_list<std::uint32_t> values) {
  for (const std::uint32_t one : values) {
    if (one == value) return true;
  }
  return false;
}

// What every request inside a dialog has of it.
int fill_from_dialog(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  return cpsip_copy_dialog_state_fields(true, true, dialog, dialog.is_caller, *dialog.state_msg, msg);
}

// Last touches of each request but a re-INVITE.
void finish(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (msg.method == cpsip_method::invite || msg.method == cpsip_method::subscribe)
    dialog.state = DLG_INVITE_SENT;
  msg.include_allow = true;
}

int send_ack(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const bool inside =
      dialog.state == DLG_CONFIRMED &&
      is_one_of(dialog.sub_state, {DLG_ENDED, DLG_INVITE_SENT, DLG_ANSWERED, DLG_CANCEL_SENT, DLG_IDLE});
  if (!inside && !is_one_of(dialog.state, {DLG_ANSWERED, DLG_CANCEL_SENT}))
    return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  int result = fill_from_dialog(dialog, msg);
  if (result == kAccessOk) result = cpsip_ua_process_request_route_set(dialog, msg);
  if (result != kAccessOk) return result;
  if (dialog.sub_state != DLG_ENDED) dialog.sub_state = DLG_IDLE;
  if (dialog.state != DLG_CANCEL_SENT) dialog.state = DLG_CONFIRMED;
  dialog.sdp_state = SDP_IDLE;
  return kUaOk;
}

// There is no call to end: the application is told so, and the dialog goes.
int end_without_bye(cpsip_dlog_cb& dialog) {
  cpapp_uxp2(cpapp_here(kHere), dialog.state, dialog.sub_state);
  cpsip_serv_app_status(dialog, kStatusClearStuckDialog, cpsip_method::bye);
  (void)cpsip_serv_delete_dlog_cb(dialog);
  return kUaByeImpossible;
}

int send_bye(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (!is_one_of(dialog.state,
                 {DLG_CONFIRMED, DLG_BYE_RECEIVED, DLG_BYE_CROSSED, DLG_BYE_SENT, DLG_CANCEL_SENT}))
    return end_without_bye(dialog);
  cpsip_tact_own_state_msg(dialog);
  dialog.state_msg->cseq_method = dialog.state_msg->method = cpsip_method::bye;
  msg.cseq = ++dialog.local_cseq;
  int result = fill_from_dialog(dialog, msg);
  if (result == kAccessOk) result = cpsip_ua_process_request_route_set(dialog, msg);
  if (result != kAccessOk) return result;
  cpsip_ua_stop_2xx(dialog);
  if (dialog.state != DLG_BYE_SENT)
    dialog.state = dialog.state == DLG_CONFIRMED ? DLG_BYE_SENT : DLG_BYE_CROSSED;
  dialog.sub_state = DLG_ENDED;
  dialog.sdp_state = SDP_IDLE;
  return kUaOk;
}

// Before a provisional response nothing may go out (RFC 3261 section 9.1), but the wish is kept: the
// INVITE's answer is cancelled or ended when it comes, so that no call stands that nobody wants.
int refuse_cancel(cpsip_dlog_cb& dialog) {
  if (dialog.state == DLG_INVITE_SENT) dialog.cancel_wanted = true;
  return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
}

int send_cancel(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const bool inside = dialog.state == DLG_CONFIRMED && dialog.sub_state == DLG_INVITE_SENT;
  if ((!inside && dialog.state != DLG_INVITE_SENT) || !dialog.cancel_allowed) return refuse_cancel(dialog);
  dialog.cancel_wanted = false;
  int result = fill_from_dialog(dialog, msg);
  if (result == kAccessOk) result = cpsip_msg_write(msg, CPSIP_FLD_REQUEST_URI, 1, 0, dialog.remote_target);
  // The To of the INVITE had no tag.
  for (unsigned left = inside ? 0 : CPSIP_MsgGetParmCnt(msg, CPSIP_FLD_TO_PARM, 1); left != 0; --left)
    (void)cpsip_msg_write(msg, CPSIP_FLD_TO_PARM, 1, 1, {});
  msg.cseq = dialog.invite_cseq;
  if (result == kAccessOk) result = cpsip_ua_process_request_route_set(dialog, msg);
  if (result != kAccessOk) return result;
  (inside ? dialog.sub_state : dialog.state) = DLG_CANCEL_SENT;
  return kUaOk;
}

int copy_contact(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  return cpsip_msg_copy_contact(*dialog.state_msg, msg);
}

void remember_refer(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  static constexpr std::uint32_t kPending = 2;
  cpsip_notify_cb& notify = cpsip_serv_create_notify_cb(dialog);
  notify.state = 3;
  notify.cseq = msg->cseq;
  notify.sub_state = kPending;
  notify.expires = msg->expires;
  dialog.refer_msg = msg;
}

// OPTIONS, REFER and NOTIFY inside a dialog. Kept: the first two go where the dialog's last message went.
int send_inside(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  if (dialog.state_msg == nullptr) return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  if (dialog.state_msg->request_uri.length == 0) {
    cpapp_uxp(cpapp_here(kHere));
    return kUaNoTarget;
  }
  cpsip_tact_own_state_msg(dialog);
  dialog.state_msg->cseq_method = dialog.state_msg->method = msg->method;
  msg->cseq = ++dialog.local_cseq;
  int result = fill_from_dialog(dialog, *msg);
  if (result == kAccessOk) result = copy_contact(dialog, *msg);
  if (result != kAccessOk) return result;
  if (msg->method == cpsip_method::refer) remember_refer(dialog, msg);
  if (msg->method == cpsip_method::notify) return cpsip_ua_process_request_route_set(dialog, *msg);
  dialog.xport.flags |= kXportRemoteKnown;
  return kUaOk;
}

// One of the two URIs is enough: it is the other, too.
int complete_target(cpsip_msg& msg) {
  cpsip_field_text room;
  const std::string_view uri = cpsip_msg_read(msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  cpsip_field_text to_room;
  const std::string_view to = cpsip_msg_read(msg, CPSIP_FLD_TO_URI, 1, 0, to_room);
  if (uri.empty() && to.empty()) {
    cpapp_uxp(cpapp_here(kHere));
    return kUaNoTarget;
  }
  if (uri.empty()) return cpsip_msg_write(msg, CPSIP_FLD_REQUEST_URI, 1, 0, to);
  if (to.empty()) return cpsip_msg_write(msg, CPSIP_FLD_TO_URI, 1, 0, uri);
  return kAccessOk;
}

int write_if_absent(cpsip_msg& msg, std::uint32_t field, std::string_view text) {
  cpsip_field_text room;
  if (text.empty() || !cpsip_msg_read(msg, field, 1, 0, room).empty()) return kAccessOk;
  return cpsip_msg_write(msg, field, 1, 0, text);
}

int write_contact(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  cpsip_field_text room;
  const cpsip_ua_parms& parms = *dialog.service->ua_parms;
  int result = kAccessOk;
  if (msg.contact_count == 0 || cpsip_msg_read(msg, CPSIP_FLD_CONTACT_URI, 1, 0, room).empty()) {
    result = cpsip_msg_write(msg, CPSIP_FLD_CONTACT_DISPLAY, 1, 0, parms.pszContactName);
    if (result == kAccessOk) result = cpsip_msg_write(msg, CPSIP_FLD_CONTACT_URI, 1, 0, parms.pszContactUri);
  }
  if (result == kAccessOk) result = cpsip_ua_process_local_contact(msg, dialog);
  if (result != kAccessOk) {
    cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(result));
    cpsip_serv_app_status(dialog, kStatusPortConfigErr, msg.method);
  }
  return dialog.is_gone() ? int{kUaBadNextHop} : result;
}

// Tags and Call-IDs need only be unique.
int write_identity(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const cpsip_ua_parms& parms = *dialog.service->ua_parms;
  int result = write_if_absent(msg, CPSIP_FLD_FROM_DISPLAY, parms.pszFromName);
  if (result == kAccessOk) result = write_if_absent(msg, CPSIP_FLD_FROM_URI, parms.pszFromUri);
  if (result == kAccessOk) result = write_if_absent(msg, CPSIP_FLD_USER_AGENT, parms.pszUserAgent);
  if (result == kAccessOk) result = cpsip_ua_make_tag(msg, CPSIP_FLD_FROM_PARM);
  std::array<unsigned, 3> drawn{};
  for (unsigned& value : drawn)
    value = static_cast<unsigned>(std::rand());
  std::array<char, 32> text;
  const int length = format_text(text, "%x%x%x", drawn[2], drawn[1], drawn[0]);
  if (result == kAccessOk)
    result = cpsip_msg_write(msg, CPSIP_FLD_CALL_ID, 1, 0, {text.data(), static_cast<std::size_t>(length)});
  return result;
}

// The first request makes the dialog.
int send_first(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  if (msg->method == cpsip_method::options) dialog.state = DLG_OPTIONS;
  if (dialog.state_msg == nullptr) dialog.state_msg = msg;
  const std::string_view route = dialog.service->ua_parms->pszRoute;
  int result = complete_target(*msg);
  if (result == kAccessOk && !route.empty())
    result = cpsip_msg_write(*dialog.state_msg, CPSIP_FLD_ROUTE_URI, 1, 0, route);
  if (result == kAccessOk) result = cpsip_ua_process_request_route_set(dialog, *msg);
  if (result != kAccessOk) return result;
  cpsip_field_text room;
  if (msg->method == cpsip_method::invite)
    dialog.remote_target = cpsip_msg_read(*msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  result = write_contact(dialog, *msg);
  if (result == kAccessOk && msg->via_count == 0) result = cpsip_ua_write_via(dialog, *msg);
  if (result == kAccessOk) result = write_identity(dialog, *msg);
  if (result != kAccessOk) return result;
  msg->cseq = dialog.invite_cseq = ++dialog.local_cseq;
  dialog.is_caller = true;
  cpsip_dlog_reindex(dialog);
  return kUaOk;
}

// A Contact of the message's own replaces the dialog's; else that is taken.
int exchange_contact(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  cpsip_field_text room;
  if (msg.contact_count == 0 || cpsip_msg_read(msg, CPSIP_FLD_CONTACT_URI, 1, 0, room).empty())
    return copy_contact(dialog, msg);
  int result = cpsip_msg_copy_field(msg, *dialog.state_msg, 1, CPSIP_FLD_CONTACT_DISPLAY);
  if (result == kAccessOk) result = cpsip_msg_copy_field(msg, *dialog.state_msg, 1, CPSIP_FLD_CONTACT_URI);
  return result == kAccessOk ? cpsip_ua_process_local_contact(msg, dialog) : result;
}

// A changed offer has a higher version, RFC 3264 section 8.
void raise_versions(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (dialog.state_msg->sdp == nullptr) return;
  const auto version = static_cast<std::uint32_t>(dialog.state_msg->sdp->o_session_version);
  dialog.state_msg->sdp->o_session_version =
      static_cast<std::int32_t>(version + dialog.state_msg->sdp->m_count);
  if (msg.sdp != nullptr) msg.sdp->o_session_version = dialog.state_msg->sdp->o_session_version;
}

int send_reinvite(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  dialog.state_msg->cseq_method = dialog.state_msg->method = cpsip_method::invite;
  msg.cseq = dialog.invite_cseq = ++dialog.local_cseq;
  int result = exchange_contact(dialog, msg);
  if (result == kAccessOk) result = fill_from_dialog(dialog, msg);
  if (result == kAccessOk) result = cpsip_ua_process_request_route_set(dialog, msg);
  if (result != kAccessOk) return result;
  cpsip_field_text room;
  dialog.remote_target = cpsip_msg_read(msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  msg.include_allow = true;
  dialog.sub_state = DLG_INVITE_SENT;
  raise_versions(dialog, msg);
  return kUaOk;
}

bool is_reinvite(const cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  return msg.method == cpsip_method::invite && dialog.state == DLG_CONFIRMED;
}

// INVITE, and whatever begins a dialog.
int send_beginning(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  switch (dialog.state) {
    case DLG_NEW:
      return send_first(dialog, msg);
    case DLG_ENDED:
    case DLG_OPTIONS:
      return kUaNothingToSend;
    case DLG_CONFIRMED:
      if (is_one_of(dialog.sub_state, {DLG_ENDED, DLG_IDLE})) return send_reinvite(dialog, *msg);
      break;
    default:
      break;
  }
  return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
}

int send_by_method(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  switch (msg->method) {
    case cpsip_method::ack:
      return send_ack(dialog, *msg);
    case cpsip_method::bye:
      return send_bye(dialog, *msg);
    case cpsip_method::cancel:
      return send_cancel(dialog, *msg);
    case cpsip_method::invite:
      return send_beginning(dialog, msg);
    case cpsip_method::options:
    case cpsip_method::refer:
    case cpsip_method::notify:
      return dialog.state == DLG_NEW ? send_beginning(dialog, msg) : send_inside(dialog, msg);
    default:
      cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(msg->method));
      return kUaUnknownMethod;
  }
}

}  // namespace

// A dialog that could not even begin is of no use to anybody.
int cpsip_ua_send_request(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg) {
  const bool again = is_reinvite(dialog, *msg);
  const bool first = dialog.state == DLG_NEW;
  const int result = send_by_method(dialog, msg);
  if (result != kUaOk) {
    if (first && !dialog.is_gone()) (void)cpsip_serv_delete_dlog_cb(dialog);
    return result;
  }
  if (!again) finish(dialog, *msg);
  if (msg->max_forwards == 0) msg->max_forwards = dialog.service->ua_parms->nMaxForwards;
  return kUaOk;
}

}  // namespace hark

// What a received request does to its dialog, one function for each method, and what the stack answers by
// itself.
#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_offer_answer.h"
#include "cpsip/cpsip_ua_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_ua_receive;
constexpr std::string_view kSdpType = "application/sdp";

bool is_confirmed_with(const cpsip_dlog_cb& dialog, std::initializer_list<std::uint32_t> sub_states) {
  return dialog.state == DLG_CONFIRMED &&
         std::find(sub_states.begin(), sub_states.end(), dialog.sub_state) != sub_states.end();
}

// Of an INVITE: inside a confirmed dialog only its sub-state moves.
void set_invite_state(cpsip_dlog_cb& dialog, std::uint32_t state) {
  (dialog.state == DLG_CONFIRMED ? dialog.sub_state : dialog.state) = state;
}

// Whether the sender takes descriptions: RFC 3261 section 20.1. Without Accept it does.
bool accepts_sdp(const cpsip_msg& msg) {
  if (msg.accept_count == 0) return true;
  cpsip_field_text room;
  for (unsigned instance = 1; instance <= msg.accept_count; ++instance) {
    const unsigned items = CPSIP_MsgGetParmCnt(msg, CPSIP_FLD_ACCEPT_ITEM, instance);
    for (unsigned item = 1; item <= items; ++item) {
      if (starts_with_nocase(cpsip_msg_read(msg, CPSIP_FLD_ACCEPT_ITEM, instance, item, room), kSdpType))
        return true;
    }
  }
  return false;
}

// Copies the items of one header to the refusal. True when there were any.
bool copy_items(const cpsip_msg& msg, std::uint32_t field, unsigned instance, cpsip_msg& refusal, unsigned to,
                unsigned& copied) {
  cpsip_field_text room;
  const unsigned items = CPSIP_MsgGetParmCnt(msg, field, instance);
  const unsigned before = copied;
  for (unsigned item = 1; item <= items; ++item) {
    const std::string_view text = cpsip_msg_read(msg, field, instance, item, room);
    if (text.empty()) continue;
    (void)cpsip_msg_write(refusal, CPSIP_FLD_UNSUPPORTED_ITEM, to, ++copied, text);
  }
  return copied != before;
}

}  // namespace

void cpsip_ua_stop_2xx(cpsip_dlog_cb& dialog) {
  Cpsip_stoptimer(dialog.retrans_timer);
  dialog.retrans_2xx.reset();
}

bool cpsip_ua_is_free_for_invite(const cpsip_dlog_cb& dialog) {
  return dialog.state == DLG_NEW || is_confirmed_with(dialog, {DLG_ENDED, DLG_IDLE});
}

void cpsip_ua_refuse_invite(cpsip_dlog_cb& dialog, cpsip_msg_ptr answer) {
  if (dialog.state == DLG_CONFIRMED) dialog.sub_state = DLG_INVITE_RECEIVED;
  (void)cpsip_ua_send(dialog, std::move(answer));
  dialog.sdp_state = SDP_IDLE;
}

int cpsip_ua_process_require(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  cpsip_msg_ptr refusal = cpsip_ua_response(420, msg);
  unsigned to = 1;
  unsigned copied = 0;
  bool any = false;
  for (unsigned i = 1; i <= msg.require_count; ++i)
    any |= copy_items(msg, CPSIP_FLD_REQUIRE_ITEM, i, *refusal, to, copied);
  if (any) ++to;
  for (unsigned i = 1; i <= msg.proxy_require_count; ++i) {
    copied = 0;
    if (!copy_items(msg, CPSIP_FLD_PROXY_REQUIRE_ITEM, i, *refusal, to, copied)) continue;
    any = true;
    ++to;
  }
  if (!any) return kUaOk;
  if (msg.method == cpsip_method::invite) {
    cpsip_ua_refuse_invite(dialog, std::move(refusal));
    return kUaRequireRefused;
  }
  (void)cpsip_ua_send(dialog, std::move(refusal));
  return kUaRequireRefused;
}

int cpsip_ua_receive_invite(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  if (!cpsip_ua_is_free_for_invite(dialog)) return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  if (msg->content_kind != cpsip_content_kind::none && msg->content_kind != cpsip_content_kind::sdp) {
    cpsip_ua_refuse_invite(dialog, cpsip_ua_response(415, *msg));
    return kUaRefused;
  }
  if (const int result = cpsip_ua_process_require(dialog, *msg); result != kUaOk) return result;
  if (!accepts_sdp(*msg)) {
    cpsip_ua_refuse_invite(dialog, cpsip_ua_response(406, *msg));
    return kUaNotAcceptable;
  }
  dialog.invite_cseq = msg->cseq;
  if (dialog.state != DLG_CONFIRMED) (void)cpsip_ua_update_route_set(dialog, *msg);
  cpsip_field_text room;
  if (msg->contact_count != 0) {
    const std::string_view contact = cpsip_msg_read(*msg, CPSIP_FLD_CONTACT_URI, 1, 0, room);
    if (!contact.empty()) (void)cpsip_msg_write(*dialog.state_msg, CPSIP_FLD_REQUEST_URI, 1, 0, contact);
  }
  set_invite_state(dialog, DLG_INVITE_RECEIVED);
  return kUaOk;
}

int cpsip_ua_receive_ack(cpsip_dlog_cb& dialog, cpsip_msg_ptr& /*msg*/) {
  if (dialog.state == DLG_ENDED || dialog.state == DLG_INVITE_TERMINATED) {
    cpsip_ua_stop_2xx(dialog);
    dialog.state = DLG_ENDED;
    dialog.sub_state = DLG_ENDED;
  } else if (dialog.state == DLG_ANSWER_SENT) {
    cpsip_ua_stop_2xx(dialog);
    dialog.state = DLG_CONFIRMED;
  } else if (is_confirmed_with(dialog, {DLG_ANSWER_SENT, DLG_INVITE_TERMINATED, DLG_IDLE})) {
    dialog.sub_state = DLG_IDLE;
    cpsip_ua_stop_2xx(dialog);
  } else {
    return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  }
  dialog.sdp_state = SDP_IDLE;
  // The call was dropped between its 2xx and this: RFC 3261 section 15 has the BYE wait for it.
  if (std::exchange(dialog.bye_wanted, false) && dialog.state == DLG_CONFIRMED)
    (void)cpsip_ua_send_bye(dialog);
  return kUaOk;
}

int cpsip_ua_receive_bye(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  if (dialog.state != DLG_CONFIRMED && dialog.state != DLG_BYE_SENT)
    return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  cpsip_ua_stop_2xx(dialog);
  dialog.state = dialog.state == DLG_CONFIRMED ? DLG_BYE_RECEIVED : DLG_BYE_CROSSED;
  dialog.sub_state = DLG_ENDED;
  dialog.sdp_state = SDP_IDLE;
  (void)cpsip_ua_send(dialog, cpsip_ua_response(200, *msg));
  return kUaOk;
}

// Two answers: 200 to the CANCEL, and then 487 to the INVITE, whose transaction the sending half finds.
int cpsip_ua_receive_cancel(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  if (dialog.state != DLG_INVITE_RECEIVED && !is_confirmed_with(dialog, {DLG_INVITE_RECEIVED, DLG_IDLE}))
    return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  set_invite_state(dialog, DLG_CANCEL_RECEIVED);
  cpsip_msg_ptr terminated = cpsip_ua_response(487, *msg);
  (void)cpsip_ua_send(dialog, cpsip_ua_response(200, *msg, "Cancelling"));
  if (!dialog.is_gone()) (void)cpsip_ua_send(dialog, std::move(terminated));
  return kUaOk;
}

int cpsip_ua_receive_options(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  const int result = cpsip_ua_process_require(dialog, *msg);
  if (result == kUaOk && !dialog.is_gone()) {
    cpsip_msg_ptr answer = cpsip_ua_response(200, *msg);
    answer->include_allow = true;
    (void)cpsdp_attach_default(*dialog.service, *answer);
    (void)cpsip_ua_send(dialog, std::move(answer));
  }
  if (dialog.state == DLG_NEW) dialog.state = DLG_OPTIONS;
  return result;
}

// Kept: one without Refer-To is delivered like any other. The application, which takes no transfers, ignores
// both.
int cpsip_ua_receive_refer(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  cpsip_field_text room;
  const bool has_target =
      !cpsip_msg_read(*msg, CPSIP_FLD_REFER_TO_URI, 1, 0, room).empty() || msg->refer_to.length != 0;
  if (has_target && dialog.state == DLG_NEW) dialog.state = DLG_CONFIRMED;
  return kUaOk;
}

int cpsip_ua_receive_notify(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg) {
  static constexpr std::uint32_t kNotified = 4;
  static constexpr std::uint32_t kTerminated = 0;
  if (dialog.notify_cb == nullptr) return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  dialog.state = DLG_CONFIRMED;
  dialog.notify_cb->state = kNotified;
  dialog.notify_cb->subscription_state = dialog.subscription_state = msg->subscription_state_id;
  cpsip_msg_ptr answer = cpsip_ua_response(200, *msg);
  answer->include_allow = true;
  (void)cpsip_ua_send(dialog, std::move(answer));
  if (!dialog.is_gone() && dialog.subscription_state == kTerminated && dialog.after_bye == kAfterByeNotify)
    dialog.state = dialog.sub_state = DLG_ENDED;
  return kUaOk;
}

int cpsip_ua_receive_status(cpsip_dlog_cb& /*dialog*/, cpsip_msg_ptr& /*msg*/) { return kUaOk; }

}  // namespace hark

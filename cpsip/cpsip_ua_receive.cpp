// The receiving half of the UA core: validation, dispatch, delivery. One function for each kind of request is
// in cpsip_ua_request.cpp, one for each state of a response in cpsip_ua_response.cpp.
#include <algorithm>
#include <array>
#include <utility>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_offer_answer.h"
#include "cpsip/cpsip_ua_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_ua_receive;

bool is_absent(const cpsip_msg& msg, std::uint32_t field) {
  cpsip_field_text room;
  return cpsip_msg_read(msg, field, 1, 0, room).empty();
}

// Kept: the scheme as it was found is compared over its own length, so that a beginning of one passes.
bool is_known_scheme(std::string_view scheme) {
  static constexpr std::array<std::string_view, 3> kSchemes{"sip:", "sips:", "tel:"};
  return std::any_of(kSchemes.begin(), kSchemes.end(),
                     [scheme](std::string_view known) { return known.substr(0, scheme.size()) == scheme; });
}

std::uint16_t status_of_uri(const cpsip_msg& msg) {
  cpsip_uri uri;
  uri.text = cpsip_field_view(msg.request_uri);
  const int result = CPSIP_MsgParseURI(uri);
  if (result == kUriTooLong) return 414;
  if (result != kUriOk || uri.scheme.empty() || !is_known_scheme(uri.scheme)) return 416;
  return 0;
}

// What RFC 3261 section 8.2 asks for. One failure does not stop the others: the last one is the answer.
void validate(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  for (const std::uint32_t field : {CPSIP_FLD_FROM_URI, CPSIP_FLD_TO_URI, CPSIP_FLD_CALL_ID}) {
    if (is_absent(msg, field)) msg.scan_status = 400;
  }
  if (msg.method != msg.cseq_method) {
    msg.scan_status = 400;
    msg.cseq_method = dialog.state_msg->cseq_method = msg.method;
  }
  if (const std::uint16_t status = status_of_uri(msg); status != 0) msg.scan_status = status;
}

int refuse(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  // An ACK is never answered, RFC 3261 section 17.1.1.3.
  if (msg.method == cpsip_method::ack) return kUaRefused;
  if (msg.method != cpsip_method::invite) {
    (void)cpsip_ua_send(dialog, cpsip_ua_response(msg.scan_status, msg));
    return kUaRefused;
  }
  // While another INVITE is in progress its answer would be taken for one to that.
  if (!cpsip_ua_is_free_for_invite(dialog)) return cpsip_ua_wrong_state(cpapp_here(kHere), dialog);
  cpsip_ua_refuse_invite(dialog, cpsip_ua_response(msg.scan_status, msg));
  if (!dialog.is_gone() && dialog.state != DLG_CONFIRMED) dialog.state = DLG_ENDED;
  return kUaRefused;
}

bool is_invite_2xx(const cpsip_msg& msg) {
  return msg.method == cpsip_method::response && cpsip_is_of_invite(msg) && cpsip_is_2xx(msg);
}

using Handler = int (*)(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);

struct Row {
  cpsip_method method;
  Handler handle;
};
constexpr std::array<Row, 9> kHandlers{{{cpsip_method::response, cpsip_ua_receive_response},
                                        {cpsip_method::invite, cpsip_ua_receive_invite},
                                        {cpsip_method::ack, cpsip_ua_receive_ack},
                                        {cpsip_method::bye, cpsip_ua_receive_bye},
                                        {cpsip_method::cancel, cpsip_ua_receive_cancel},
                                        {cpsip_method::options, cpsip_ua_receive_options},
                                        {cpsip_method::refer, cpsip_ua_receive_refer},
                                        {cpsip_method::notify, cpsip_ua_receive_notify},
                                        {cpsip_method::local_status, cpsip_ua_receive_status}}};

// An answer to our INVITE wants its ACK before the application hears of it. An INVITE that was cancelled in
// the meantime has its CANCEL on the way.
void acknowledge(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  const bool due =
      dialog.state == DLG_ANSWERED || (dialog.state == DLG_CONFIRMED && dialog.sub_state == DLG_ANSWERED);
  if (due && msg.cseq_method == cpsip_method::invite) (void)cpsip_ua_send_ack(dialog, msg.cseq);
}

int deliver(cpsip_dlog_cb& dialog, cpsip_msg_ptr msg) {
  acknowledge(dialog, *msg);
  if (dialog.is_gone()) {
    cpapp_uxp(cpapp_here(kHere));
    return kUaNoService;
  }
  // A provisional response frees the way for a CANCEL that waited for one, RFC 3261 section 9.1. It goes
  // before the application hears of the response.
  if (dialog.cancel_wanted && dialog.cancel_allowed) (void)cpsip_ua_send_cancel(dialog);
  if (dialog.is_gone()) return kUaNoService;
  cpsip_serv_app_callback(dialog.service, std::move(msg), &dialog);
  return kUaOk;
}

}  // namespace

int cpsip_ua_wrong_state(std::uint32_t location, const cpsip_dlog_cb& dialog) {
  cpapp_uxp2(location, dialog.state, dialog.sub_state);
  return kUaWrongState;
}

int cpsip_ua_send_ack(cpsip_dlog_cb& dialog, std::uint32_t cseq) {
  cpsip_msg_ptr ack = CPSIP_MsgCreate(true);
  ack->method = cpsip_method::ack;
  ack->cseq = cseq;
  return cpsip_ua_send(dialog, std::move(ack));
}

int cpsip_ua_send_cancel(cpsip_dlog_cb& dialog) {
  cpsip_msg_ptr cancel = CPSIP_MsgCreate(true);
  cancel->method = cpsip_method::cancel;
  return cpsip_ua_send(dialog, std::move(cancel));
}

int cpsip_ua_send_bye(cpsip_dlog_cb& dialog) {
  cpsip_msg_ptr bye = CPSIP_MsgCreate(true);
  bye->method = cpsip_method::bye;
  return cpsip_ua_send(dialog, std::move(bye));
}

int cpsip_ua_receive(cpsip_dlog_cb& dialog, cpsip_msg_ptr msg) {
  if (dialog.is_gone()) return kUaNoService;
  const cpsip_dlog_ptr keep = dialog.shared_from_this();
  if (cpsip_is_request(*msg) && msg->scan_status == 0) validate(dialog, *msg);
  if (cpsip_is_request(*msg) && msg->scan_status != 0) return refuse(dialog, *msg);
  const std::uint32_t sdp_state = dialog.sdp_state;
  if (const int result = cpsdp_receive_state_processing(dialog, *msg); result != 0) return result;
  if (is_invite_2xx(*msg) && dialog.state == DLG_CONFIRMED && dialog.sub_state != DLG_INVITE_SENT) {
    (void)cpsip_ua_send_ack(dialog, msg->cseq);  // our ACK was lost
    return kUaOk;
  }
  for (const Row& row : kHandlers) {
    if (row.method != msg->method) continue;
    if (const int result = row.handle(dialog, msg); result != kUaOk) {
      // What came with a message that was not taken is no offer either.
      if (result == kUaWrongState && row.method == cpsip_method::invite) dialog.sdp_state = sdp_state;
      return result;
    }
    if (dialog.is_gone() || msg == nullptr) return kUaOk;
    return deliver(dialog, std::move(msg));
  }
  cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(msg->method));
  return kUaUnknownMethod;
}

// Resent at T1, and then after twice the time, without the T2 that RFC 3261 section 13.3.1.4 has.
void cpsip_ua_2xx_timeout(void* context, std::uint32_t id, std::uint32_t interval) {
  static constexpr std::uint32_t kLongest = 32;  // times T1
  const cpsip_dlog_ptr dialog = static_cast<cpsip_dlog_cb*>(context)->shared_from_this();
  dialog->retrans_timer = {};
  if (dialog->is_gone() || dialog->retrans_2xx == nullptr) return;
  if (interval < kLongest * dialog->service->ua_parms->nT1) {
    dialog->retrans_timer = Cpsip_starttimer(dialog.get(), id, 2 * interval, cpsip_ua_2xx_timeout);
    (void)cpsip_net_send(*dialog, dialog->retrans_2xx);
    return;
  }
  cpapp_uxp(cpapp_here(kHere));
  dialog->state = DLG_CONFIRMED;
  dialog->retrans_2xx.reset();
  if (std::exchange(dialog->bye_wanted, false)) {
    (void)cpsip_ua_send_bye(*dialog);
  } else {
    cpsip_serv_app_status(*dialog, kStatusTimer2xx);
  }
}

}  // namespace hark

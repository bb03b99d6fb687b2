// The UA core: where messages meet the state of their dialog. The receiving half validates, answers what the
// stack answers by itself, and delivers; the sending half fills in what a message must carry. Here are also
// the routines that keep a dialog's route set and its targets.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "cpsip/cpsip_dialog.h"
#include "cpsip/cpsip_msg_access.h"

namespace hark {

enum cpsip_ua_result : int {
  kUaOk = 0,
  kUaBadNextHop = 8,  // the next hop cannot be used, and the dialog is gone
  kUaNoSubscription = 13,
  kUaNoService = 19,
  kUaUnknownMethod = 20,
  kUaNoTarget = 21,  // neither Request-URI nor To
  kUaRequireRefused = 22,
  kUaWrongState = 26,
  kUaByeImpossible = 27,
  kUaRefused = 34,  // with a response
  kUaNotAcceptable = 36,
};

// Takes a message through the dialog's state to the application. *Takes* it. A cpsip_ua_result.
int cpsip_ua_receive(cpsip_dlog_cb& dialog, cpsip_msg_ptr msg);

// Fills in and sends a message. *Takes* it. A cpsip_ua_result, or the error of the message access, of the
// offer and answer, of the transaction. The dialog may be gone behind it.
int cpsip_ua_send(cpsip_dlog_cb& dialog, cpsip_msg_ptr msg);

// Internal to the core, one for each step.

// 0: go on to delivery. Else the result of cpsip_ua_receive; the message is gone then, unless it is still in
// `msg` and the result is kUaOk.
int cpsip_ua_receive_response(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
// 0 when the response may go on to its transaction.
int cpsip_ua_send_response(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg);

// Refuses what a request requires, with 420: no option tag is supported. 0 when it requires nothing.
int cpsip_ua_process_require(cpsip_dlog_cb& dialog, const cpsip_msg& msg);
// The Contact of `msg` becomes the remote target. 0, or the error of the message access.
[[nodiscard]] int cpsip_ua_process_remote_contact(const cpsip_msg& msg, cpsip_dlog_cb& dialog);
// The Contact of our own message gives transport and port. 0, or an error.
[[nodiscard]] int cpsip_ua_process_local_contact(cpsip_msg& msg, cpsip_dlog_cb& dialog);
// Writes the dialog's route set and Request-URI into a request and finds its next hop. 0; an error of the
// message access; kUaBadNextHop, the application having been told and the dialog being gone.
[[nodiscard]] int cpsip_ua_process_request_route_set(cpsip_dlog_cb& dialog, cpsip_msg& msg);
// Finds the address that the request goes to. 0, or kUaBadNextHop.
[[nodiscard]] int cpsip_ua_process_request_dest(const cpsip_msg& msg, cpsip_dlog_cb& dialog);
// The Record-Route of a request becomes the dialog's route set. 0, or the error of the message access.
int cpsip_ua_update_route_set(cpsip_dlog_cb& dialog, const cpsip_msg& msg);
// The Record-Route of a response, in reverse: the route set of who sent the request. 0, or the error.
int cpsip_ua_reverse_route_set(cpsip_dlog_cb& dialog, const cpsip_msg& msg);
// Sends a 2xx again, or gives up.
void cpsip_ua_2xx_timeout(void* context, std::uint32_t id, std::uint32_t interval);

// Copies what makes a dialog from `src` to `dst`: From, To (crossed unless `same_direction`), Call-ID; with
// `with_uri` the Request-URI; a new top Via, or the whole list. 0, or the error of the message access.
int cpsip_copy_dialog_state_fields(bool with_uri, bool with_new_via, cpsip_dlog_cb& dialog,
                                   bool same_direction, const cpsip_msg& src, cpsip_msg& dst);

// The pieces that both halves use.

// Builds the top Via of a request. `dest` has none.
int cpsip_ua_write_via(cpsip_dlog_cb& dialog, cpsip_msg& dest);
// The Via list of `src` in place of that of `dst`.
int cpsip_ua_copy_via(const cpsip_msg& src, cpsip_msg& dst);
// The value of a "tag=" parameter of From or To; empty: none.
[[nodiscard]] std::string_view cpsip_ua_tag(const cpsip_msg& msg, std::uint32_t parm_field,
                                            cpsip_field_text& out);
// Gives `field` a tag of its own unless it has one.
int cpsip_ua_make_tag(cpsip_msg& msg, std::uint32_t parm_field);
// The reason phrase of a status; empty for one without.
[[nodiscard]] std::string_view cpsip_ua_reason(std::uint16_t status);
// A response of the stack's own.
[[nodiscard]] cpsip_msg_ptr cpsip_ua_response(std::uint16_t status, const cpsip_msg& request,
                                              std::string_view reason = {});
inline constexpr std::uint16_t kStatusRequestTerminated = 487;
[[nodiscard]] inline bool cpsip_is_of_invite(const cpsip_msg& msg) {
  return msg.cseq_method == cpsip_method::invite;
}
[[nodiscard]] inline bool cpsip_is_2xx(const cpsip_msg& msg) { return msg.status_code / 100 == 2; }
[[nodiscard]] inline bool cpsip_is_request(const cpsip_msg& msg) {
  return msg.method != cpsip_method::response && msg.method != cpsip_method::local_status;
}

}  // namespace hark

// What the files of the UA core share among themselves.
#pragma once

#include <cstdint>

#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/cpsip_transport.h"
#include "cpsip/cpsip_ua.h"

namespace hark {

// Each meets a received request, or a local status, with the state of its dialog. kUaOk: it is to be
// delivered, if it is still in `msg`; else the result of cpsip_ua_receive.
int cpsip_ua_receive_invite(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
int cpsip_ua_receive_ack(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
int cpsip_ua_receive_bye(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
int cpsip_ua_receive_cancel(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
int cpsip_ua_receive_options(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
int cpsip_ua_receive_refer(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
int cpsip_ua_receive_notify(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);
int cpsip_ua_receive_status(cpsip_dlog_cb& dialog, cpsip_msg_ptr& msg);

// Reports a message that the dialog's state has no use for. kUaWrongState.
int cpsip_ua_wrong_state(std::uint32_t location, const cpsip_dlog_cb& dialog);

// The stack's own requests.
int cpsip_ua_send_ack(cpsip_dlog_cb& dialog, std::uint32_t cseq);
int cpsip_ua_send_cancel(cpsip_dlog_cb& dialog);

// Ends the resending of a 2xx.
void cpsip_ua_stop_2xx(cpsip_dlog_cb& dialog);
// Whether an INVITE may come: in a new dialog, or in a confirmed one without another INVITE in progress.
[[nodiscard]] bool cpsip_ua_is_free_for_invite(const cpsip_dlog_cb& dialog);
// Refuses an INVITE that may come: it is taken first, so that its answer is one to an INVITE, and its offer
// was none.
void cpsip_ua_refuse_invite(cpsip_dlog_cb& dialog, cpsip_msg_ptr answer);
// Ends a call from our side.
int cpsip_ua_send_bye(cpsip_dlog_cb& dialog);

// A step of sending that is not a failure but sends nothing.
inline constexpr int kUaNothingToSend = -1;

// Each fills in a request. kUaOk: it goes on to its transaction.
int cpsip_ua_send_request(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg);

}  // namespace hark

// Offer and answer (RFC 3264) of a dialog: which body is an offer and which an answer, the service's own
// description where one is due, and a copy of the last one in the dialog's memory. Both run on every message,
// and look at INVITE, ACK, and responses 101 to 299 to INVITE only.
#pragma once

#include "cpsip/cpsip_dialog.h"

namespace hark {

// Of a received message. An offer of an INVITE is negotiated: `msg.sdp2` becomes what both can do. 0, or the
// error of copying a description.
[[nodiscard]] int cpsdp_receive_state_processing(cpsip_dlog_cb& dialog, cpsip_msg& msg);
// Of a message about to be sent: attaches the answer that is due, or the offer that was asked for.
[[nodiscard]] int cpsdp_send_state_processing(cpsip_dlog_cb& dialog, cpsip_msg& msg);

// Gives the message a deep copy of the service's own description, and the marks that ask for its body. False
// when the service has none.
bool cpsdp_attach_default(const cpsip_serv_cb& service, cpsip_msg& msg);

}  // namespace hark

// Transactions (RFC 3261 section 17), in a form of their own: a dialog owns its client and server
// transactions, and a received message is matched first to a dialog and only then to a transaction. Also the
// answers that need no dialog (481, 482, 501) and the ACK of a final response other than 2xx.
#pragma once

#include <cstdint>

#include "cpsip/cpsip_dialog.h"

namespace hark {

enum cpsip_tact_error : int {
  kTactNoTransaction = 10,  // nothing to answer, or not in this state
  kTactUnknownMethod = 20,
};

// Takes the message out of `socket.scan_msg` and brings it to its dialog and its transaction.
void cpsip_tact_receive_msg(SocCB& socket);

// Sends a message of the dialog through its transaction: *shares* it. 0, a cpsip_tact_error, or the error of
// the message access or the transport.
int cpsip_tact_send_msg(cpsip_dlog_cb& dialog, const cpsip_msg_shared& msg);

// A new transaction at the head of its list.
cpsip_tact_ptr cpsip_tact_create_tact_cb(cpsip_dlog_cb& dialog, bool client);
// Takes it off its list, with its timers. Deleting it twice is fine.
void cpsip_tact_delete_tact_cb(cpsip_tact_cb& tact);
void cpsip_tact_stop_all_timers(cpsip_tact_cb& tact);

// Starts a timer of the transaction with its first duration; any other id than those of RFC 3261 is reported.
void cpsip_tact_starttimer(cpsip_tact_cb& tact, std::uint32_t id);
// The end of a timer of a transaction (`context`), after `interval` ms.
void cpsip_tact_timeout(void* context, std::uint32_t id, std::uint32_t interval);
// The end of a dialog's removal timer.
void cpsip_dlog_removal_timeout(void* context, std::uint32_t id, std::uint32_t interval);

// To be called before the dialog's state_msg is written to: a message that also is what is resent, or
// acknowledged, stays as it went out, and the dialog gets one of its own.
void cpsip_tact_own_state_msg(cpsip_dlog_cb& dialog);

// Puts a deep copy in place of the dialog's state_msg, so that the block of a received message can go.
void cpsip_tact_pack_dialog_state_sip_msg(cpsip_dlog_cb& dialog);

}  // namespace hark

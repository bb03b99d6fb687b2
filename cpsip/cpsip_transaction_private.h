// What the files of the transaction layer share among themselves.
#pragma once

#include "cpsip/cpsip_transaction.h"
#include "cpsip/cpsip_transport.h"
#include "cpsip/cpsip_ua.h"

namespace hark {

inline constexpr std::size_t kBranchCookieSize = 7;  // of "z9hG4bK"

// A received message on its way.
struct cpsip_tact_arrival {
  cpsip_dlog_cb& dialog;
  cpsip_msg_ptr msg;
  bool new_dialog;  // made for this message
  bool untagged;    // it came without a To tag
};

// The dialog that a message belongs to.
struct cpsip_tact_match {
  cpsip_dlog_ptr dialog;  // null: none
  bool add_tag = false;   // an INVITE without To tag, which gets the dialog's
  bool refused = false;   // too many dialogs of this call stand already
};
[[nodiscard]] cpsip_tact_match cpsip_tact_find_dialog(const cpsip_serv_cb& service, const cpsip_msg& msg);
// The transaction that a request, or a response, belongs to; null: none.
[[nodiscard]] cpsip_tact_ptr cpsip_tact_find_server(const cpsip_dlog_cb& dialog, const cpsip_msg& msg);
[[nodiscard]] cpsip_tact_ptr cpsip_tact_find_client(const cpsip_dlog_cb& dialog, const cpsip_msg& msg);
// The branch of the top Via; empty: none.
[[nodiscard]] std::string_view cpsip_tact_branch(const cpsip_msg& msg, cpsip_field_text& room);

void cpsip_tact_receive_request(cpsip_tact_arrival& arrival);
void cpsip_tact_receive_response(cpsip_tact_arrival& arrival);

// Sends the message of a transaction again, if there is one.
void cpsip_tact_resend(cpsip_tact_cb& tact, const cpsip_msg_shared& msg);

}  // namespace hark

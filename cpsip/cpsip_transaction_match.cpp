// Which dialog, and which transaction, a received message belongs to.
#include <strings.h>

#include "cpsip/cpsip_transaction_private.h"

namespace hark {
namespace {

constexpr std::string_view kNoBranch = "0";  // what very old agents write

bool same_call(const cpsip_dlog_cb& dialog, std::string_view call_id) {
  cpsip_field_text room;
  return dialog.state_msg != nullptr &&
         cpsip_msg_read(*dialog.state_msg, CPSIP_FLD_CALL_ID, 1, 0, room) == call_id;
}

// Until an INVITE has its final answer, the answers of all who were reached by it are its own; and a CANCEL
// and a 487 have the To of the INVITE, which had no tag.
bool looks_at_to_tag(const cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  return dialog.state != DLG_INVITE_SENT && msg.cseq_method != cpsip_method::cancel && msg.status_code != 487;
}

bool matches(const cpsip_dlog_cb& dialog, const cpsip_msg& msg, std::string_view from_tag,
             std::string_view to_tag, bool& add_tag) {
  const bool request = msg.method != cpsip_method::response;
  const bool local_is_from = request ? dialog.is_caller : !dialog.is_caller;
  const std::uint32_t for_to = local_is_from ? CPSIP_FLD_FROM_PARM : CPSIP_FLD_TO_PARM;
  const std::uint32_t for_from = local_is_from ? CPSIP_FLD_TO_PARM : CPSIP_FLD_FROM_PARM;
  cpsip_field_text room;
  add_tag = false;
  if (looks_at_to_tag(dialog, msg)) {
    const std::string_view stored = cpsip_ua_tag(*dialog.state_msg, for_to, room);
    if (!stored.empty() && !to_tag.empty() && stored != to_tag) return false;
    add_tag = !stored.empty() && to_tag.empty() && msg.method == cpsip_method::invite;
  }
  return cpsip_ua_tag(*dialog.state_msg, for_from, room) == from_tag;
}

bool same_host(const cpsip_msg& a, const cpsip_msg& b) {
  cpsip_field_text room_a;
  cpsip_field_text room_b;
  return cpsip_msg_read(a, CPSIP_FLD_VIA_HOST, 1, 0, room_a) ==
         cpsip_msg_read(b, CPSIP_FLD_VIA_HOST, 1, 0, room_b);
}

// Without a branch a transaction is known by its Request-URI and CSeq, RFC 2543. Kept: of the two URIs only
// the first characters are compared. Agents that old change the rest on their way.
bool same_old_request(const cpsip_tact_cb& tact, const cpsip_msg& msg) {
  cpsip_field_text room;
  const std::string_view uri = cpsip_msg_read(msg, CPSIP_FLD_REQUEST_URI, 1, 0, room);
  if (uri.empty() || tact.dialog->state_msg->cseq != msg.cseq) return false;
  return tact.request_uri.empty() || ::strncasecmp(uri.data(), tact.request_uri.data(), 1) == 0;
}

// A branch that is no longer than the cookie of RFC 3261 is none, here and where it is stored.
bool same_request(const cpsip_tact_cb& tact, const cpsip_msg& msg, std::string_view branch) {
  if (branch == kNoBranch) return true;
  if (branch.size() <= kBranchCookieSize) branch = {};
  if (branch.empty() != tact.branch.empty()) return false;
  return branch.empty() ? same_old_request(tact, msg) : branch == tact.branch;
}

bool is_server_of(const cpsip_tact_cb& tact, const cpsip_msg& msg, std::string_view branch) {
  if (msg.cseq_method != tact.method && tact.method != cpsip_method::invite) return false;
  if (msg.method != cpsip_method::ack && msg.method != tact.dialog->state_msg->method) return false;
  return same_request(tact, msg, branch) && tact.via_msg != nullptr && same_host(*tact.via_msg, msg);
}

}  // namespace

cpsip_tact_match cpsip_tact_find_dialog(const cpsip_serv_cb& service, const cpsip_msg& msg) {
  cpsip_field_text call_room;
  cpsip_field_text from_room;
  cpsip_field_text to_room;
  const std::string_view call_id = cpsip_msg_read(msg, CPSIP_FLD_CALL_ID, 1, 0, call_room);
  const std::string_view from_tag = cpsip_ua_tag(msg, CPSIP_FLD_FROM_PARM, from_room);
  const std::string_view to_tag = cpsip_ua_tag(msg, CPSIP_FLD_TO_PARM, to_room);
  cpsip_tact_match match;
  const std::vector<cpsip_dlog_cb*> candidates = cpsip_serv_candidates(service, call_id, from_tag);
  for (cpsip_dlog_cb* dialog : candidates) {
    if (!same_call(*dialog, call_id) || !matches(*dialog, msg, from_tag, to_tag, match.add_tag)) continue;
    match.dialog = dialog->shared_from_this();
    return match;
  }
  match.add_tag = false;
  match.refused = candidates.size() >= kMaxDialogsOfOneCall;
  return match;
}

std::string_view cpsip_tact_branch(const cpsip_msg& msg, cpsip_field_text& room) {
  unsigned index = 0;
  std::uint32_t length = 0;
  if (CPSIP_MsgGetParmValue(msg, CPSIP_FLD_VIA_PARM, 1, "branch=", index, room, length) != kAccessOk ||
      index == 0)
    return {};
  return {room.data(), length};
}

cpsip_tact_ptr cpsip_tact_find_server(const cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  cpsip_field_text room;
  const std::string_view branch = cpsip_tact_branch(msg, room);
  for (const cpsip_tact_ptr& tact : dialog.server_tacts) {
    if (is_server_of(*tact, msg, branch)) return tact;
  }
  return nullptr;
}

cpsip_tact_ptr cpsip_tact_find_client(const cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  cpsip_field_text room;
  const std::string_view branch = cpsip_tact_branch(msg, room);
  if (branch.empty()) return nullptr;
  for (const cpsip_tact_ptr& tact : dialog.client_tacts) {
    if (tact->method != msg.cseq_method) continue;
    if (tact->branch.empty() ? dialog.local_cseq == msg.cseq : tact->branch == branch) return tact;
  }
  return nullptr;
}

}  // namespace hark

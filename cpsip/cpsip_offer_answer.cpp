#include "cpsip/cpsip_offer_answer.h"

#include <algorithm>
#include <array>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/cpsip_msg_scan.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsdp;

// An answer has the offer's texts and ours.
constexpr std::size_t kWorkingPool = kMaxSdpBody + kCpsdpAnswerAdds;

bool is_invite_response(const cpsip_msg& msg) {
  return msg.method == cpsip_method::response && msg.cseq_method == cpsip_method::invite &&
         msg.status_code > 100 && msg.status_code < 300;
}

bool is_concerned(const cpsip_msg& msg) {
  return msg.method == cpsip_method::invite || msg.method == cpsip_method::ack || is_invite_response(msg);
}

// What ends an exchange that has its answer; a provisional response does not.
bool is_final(const cpsip_msg& msg) {
  return msg.method == cpsip_method::ack || (is_invite_response(msg) && msg.status_code >= 200);
}

bool is_marked(const cpsip_msg& msg) {
  return msg.content_length != 0 && msg.content_kind == cpsip_content_kind::sdp;
}

void mark(cpsip_msg& msg) {
  msg.content_kind = cpsip_content_kind::sdp;
  msg.content_length = 1;
}

bool answers_invite(const cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  return is_invite_response(msg) &&
         (dialog.state == DLG_INVITE_RECEIVED || dialog.sub_state == DLG_INVITE_RECEIVED);
}

void own_text(cpsip_sdp_text& to, std::string_view text) {
  auto pool = std::make_unique<char[]>(text.size());
  std::copy(text.begin(), text.end(), pool.get());
  to.own(std::move(pool), static_cast<std::uint32_t>(text.size()));
}

std::int32_t next_version(std::int32_t version) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(version) + 1U);
}

bool fits(const cpsdp_parms& answer, std::string_view pool) {
  std::array<char, kCpsdpMaxEncoded> wire;
  std::uint32_t length = 0;
  return CPSDP_EncodeSession(&answer, pool, wire, length) == 0;
}

// Sees to it that the answer can be written. It has the offer's texts beside ours: those that only say what
// the session is about need no repeating (RFC 3264 section 6), and an answer that is too long without them
// has nothing that we could take.
void shorten(cpsdp_parms& answer, std::string_view pool, std::size_t offered) {
  static constexpr std::size_t kAlwaysFits = kCpsdpMaxEncoded / 2;
  if (offered <= kAlwaysFits || fits(answer, pool)) return;
  answer.i_info = answer.u_uri = {};
  answer.e_count = answer.p_count = 0;
  for (std::size_t i = 0; i < answer.m_count; ++i)
    answer.media[i]->i_info = {};
  if (fits(answer, pool)) return;
  for (std::size_t i = 0; i < answer.m_count; ++i)
    answer.media[i]->fmt_count = 0;
}

// An INVITE's offer: what both can do is kept in the dialog, and shown to the application in `sdp2`.
void negotiate(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  dialog.sdp_state = SDP_OFFER_RECEIVED;
  cpsip_msg& state = *dialog.state_msg;
  cpsip_serv_cb& service = *dialog.service;
  if (dialog.state == DLG_CONFIRMED)
    service.default_sdp->o_session_id = service.default_sdp->o_session_version =
        next_version(service.default_sdp->o_session_version);
  state.sdp = std::make_unique<cpsdp_parms>();
  std::array<char, kWorkingPool> pool;
  std::uint32_t length = 0;
  const int rejected = CPSDP_NegotiateCommonMedia(*service.default_sdp, service.default_sdp_pool, *msg.sdp,
                                                  msg.sdp_text.view(), *state.sdp, pool, length);
  if (rejected != 0) cpapp_uxp1(cpapp_here(kHere), static_cast<std::uint32_t>(rejected));
  shorten(*state.sdp, {pool.data(), length}, msg.sdp_text.view().size());
  own_text(state.sdp_text, {pool.data(), length});
  msg.sdp2 = state.sdp->clone();
  own_text(msg.sdp2_text, {pool.data(), length});
}

// Kept: the version of what is stored is replaced by the id that our offer had.
int take_answer(cpsip_dlog_cb& dialog, const cpsip_msg& msg) {
  dialog.sdp_state = is_final(msg) ? SDP_IDLE : SDP_ANSWERED;
  cpsip_msg& state = *dialog.state_msg;
  const std::int32_t id = state.sdp != nullptr ? state.sdp->o_session_id : 0;
  const int result = cpsip_msg_copy_sdp(msg, state);
  if (result == 0 && state.sdp != nullptr) state.sdp->o_session_id = state.sdp->o_session_version = id;
  return result;
}

int copy_stored(const cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (msg.sdp != nullptr || dialog.state_msg == nullptr || dialog.state_msg.get() == &msg) return 0;
  return cpsip_msg_copy_sdp(*dialog.state_msg, msg);
}

int send_answer(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (const int result = copy_stored(dialog, msg); result != 0) return result;
  mark(msg);
  dialog.sdp_state = is_final(msg) ? SDP_IDLE : SDP_ANSWERED;
  return 0;
}

// The offer that a 2xx or a provisional response has carried goes into the later ones, too.
int repeat_offer(const cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (!answers_invite(dialog, msg)) return 0;
  if (const int result = copy_stored(dialog, msg); result != 0) return result;
  if (msg.sdp != nullptr) mark(msg);
  return 0;
}

// The audio of a dialog keeps its port.
void assign_ports(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  const cpsip_serv_cb& service = *dialog.service;
  const std::size_t count =
      std::min<std::size_t>({msg.sdp->m_count, service.default_sdp->m_count, dialog.media_port.size()});
  for (std::size_t i = 0; i < count; ++i) {
    if (dialog.media_port[i] == 0) {
      service.default_sdp->media[i]->m_port = service.rtp_port;
      dialog.media_port[i] = service.rtp_port;
    }
    msg.sdp->media[i]->m_port = dialog.media_port[i];
  }
}

int send_offer(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (!is_marked(msg)) return 0;
  if (msg.sdp == nullptr && !cpsdp_attach_default(*dialog.service, msg)) {
    msg.content_length = 0;
    msg.content_kind = cpsip_content_kind::none;
    return 0;
  }
  dialog.sdp_state = SDP_OFFER_SENT;
  assign_ports(dialog, msg);
  return dialog.state_msg.get() == &msg ? 0 : cpsip_msg_copy_sdp(msg, *dialog.state_msg);
}

}  // namespace

bool cpsdp_attach_default(const cpsip_serv_cb& service, cpsip_msg& msg) {
  if (service.default_sdp_pool.empty()) return false;
  mark(msg);
  msg.sdp = service.default_sdp->clone();
  own_text(msg.sdp_text, service.default_sdp_pool);
  return true;
}

// Kept: of the answer to an offer of our own only the received form is there, since only an INVITE is
// negotiated. The lines know.
int cpsdp_receive_state_processing(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (!is_concerned(msg) || !is_marked(msg) || msg.sdp == nullptr) return 0;
  if (dialog.sdp_state == SDP_OFFER_SENT) return take_answer(dialog, msg);
  if (dialog.sdp_state == SDP_IDLE && msg.method == cpsip_method::invite) negotiate(dialog, msg);
  return 0;
}

int cpsdp_send_state_processing(cpsip_dlog_cb& dialog, cpsip_msg& msg) {
  if (!is_concerned(msg)) return 0;
  switch (dialog.sdp_state) {
    case SDP_OFFER_RECEIVED:
      return send_answer(dialog, msg);
    case SDP_OFFER_SENT:
      return repeat_offer(dialog, msg);
    case SDP_ANSWERED:
      // The answer again; the last response ends the exchange.
      return answers_invite(dialog, msg) ? send_answer(dialog, msg) : send_offer(dialog, msg);
    default:
      return send_offer(dialog, msg);
  }
}

}  // namespace hark

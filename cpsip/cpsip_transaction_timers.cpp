// The timers of a transaction, RFC 3261 section 17 and its table 4: how long each runs, and what its end
// does.
#include <algorithm>
#include <array>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_transaction_private.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_transaction;
constexpr std::uint32_t kTimerDMs = 33000;
constexpr std::uint32_t kTimeoutT1 = 64;

bool is_udp(const cpsip_tact_cb& tact) { return tact.dialog->xport.transport == cpsip_transport_kind::udp; }

std::uint32_t duration(const cpsip_tact_cb& tact, std::uint32_t id) {
  switch (id) {
    case kTimerA:
    case kTimerE:
    case kTimerG:
      return tact.t1_ms;
    case kTimerB:
    case kTimerF:
    case kTimerH:
      return kTimeoutT1 * tact.t1_ms;
    case kTimerD:
      return is_udp(tact) ? kTimerDMs : 0;
    case kTimerJ:
      return is_udp(tact) ? kTimeoutT1 * tact.t1_ms : 0;
    default:  // I, K
      return is_udp(tact) ? tact.t4_ms : 0;
  }
}

void start(cpsip_tact_cb& tact, std::uint32_t id, std::uint32_t delay) {
  Cpsip_stoptimer(tact.timers[id]);
  tact.timers[id] = Cpsip_starttimer(&tact, id, delay, cpsip_tact_timeout);
}

void wrong_state(const cpsip_tact_cb& tact, std::uint32_t id) {
  cpapp_uxp2(cpapp_here(kHere), id, tact.state);
}

// The transaction has nothing more to do. A dialog that only it kept goes with it.
void end(cpsip_tact_cb& tact, bool with_dialog) {
  if (with_dialog) {
    (void)cpsip_serv_delete_dlog_cb(*tact.dialog);
    return;
  }
  cpsip_tact_delete_tact_cb(tact);
  cpsip_serv_delete_if_done(*tact.dialog);
}

bool is_over(const cpsip_dlog_cb& dialog) { return dialog.state == DLG_ENDED; }
bool is_over_or_terminated(const cpsip_dlog_cb& dialog) {
  return is_over(dialog) || dialog.state == DLG_INVITE_TERMINATED;
}
bool is_options(const cpsip_tact_cb& tact) { return tact.method == cpsip_method::options; }

void on_a(cpsip_tact_cb& tact, std::uint32_t interval) {
  start(tact, kTimerA, 2 * interval);
  cpsip_tact_resend(tact, tact.last_msg);
}

void on_b(cpsip_tact_cb& tact, std::uint32_t /*interval*/) {
  cpsip_dlog_cb& dialog = *tact.dialog;
  cpsip_serv_app_status(dialog, kStatusTimerB, cpsip_method::invite);
  if (dialog.state == DLG_CONFIRMED) dialog.sdp_state = SDP_IDLE;  // the call stands as it was
  const bool first = dialog.state != DLG_CONFIRMED && dialog.sub_state == DLG_ENDED;
  if (!first) dialog.sub_state = DLG_IDLE;
  end(tact, first);
}

void on_d(cpsip_tact_cb& tact, std::uint32_t /*interval*/) {
  const std::uint32_t state = tact.dialog->state;
  end(tact, state != DLG_CONFIRMED && state != DLG_BYE_CROSSED && state != DLG_BYE_SENT);
}

void on_e(cpsip_tact_cb& tact, std::uint32_t interval) {
  if (tact.method == cpsip_method::bye && is_over(*tact.dialog)) return;
  if (tact.state == TACT_COMPLETED) {
    tact.last_msg.reset();
    return;
  }
  start(tact, kTimerE, tact.state == TACT_TRYING ? std::min(2 * interval, tact.t2_ms) : tact.t2_ms);
  cpsip_tact_resend(tact, tact.last_msg);
}

void on_f(cpsip_tact_cb& tact, std::uint32_t /*interval*/) {
  cpsip_dlog_cb& dialog = *tact.dialog;
  cpsip_serv_app_status(dialog, kStatusTimerF, tact.method);
  end(tact, tact.method == cpsip_method::bye || (is_options(tact) && dialog.state == DLG_OPTIONS));
}

void on_g(cpsip_tact_cb& tact, std::uint32_t interval) {
  start(tact, kTimerG, std::min(2 * interval, tact.t2_ms));
  cpsip_tact_resend(tact, tact.last_msg);
}

// An ACK that never comes to a refusal passes in silence.
void on_h(cpsip_tact_cb& tact, std::uint32_t /*interval*/) { end(tact, tact.dialog->sub_state == DLG_ENDED); }

void on_i(cpsip_tact_cb& tact, std::uint32_t /*interval*/) { end(tact, is_over_or_terminated(*tact.dialog)); }

void on_j(cpsip_tact_cb& tact, std::uint32_t /*interval*/) {
  const cpsip_dlog_cb& dialog = *tact.dialog;
  const bool only_options = is_options(tact) && (dialog.state == DLG_NEW || dialog.state == DLG_OPTIONS);
  end(tact, is_over_or_terminated(dialog) || only_options);
}

void on_k(cpsip_tact_cb& tact, std::uint32_t /*interval*/) {
  const cpsip_dlog_cb& dialog = *tact.dialog;
  const bool ends_call = tact.method == cpsip_method::bye && !dialog.remote_target.empty();
  end(tact, ends_call || is_over(dialog) || (is_options(tact) && dialog.state == DLG_OPTIONS));
}

// What a timer needs, as bits of cpsip_tact_state, and what its end does.
struct Row {
  std::uint32_t id;
  std::uint32_t states;
  void (*handle)(cpsip_tact_cb& tact, std::uint32_t interval);
};
constexpr std::uint32_t in(cpsip_tact_state state) { return 1U << state; }
constexpr std::array<Row, 10> kRows{{
    {kTimerA, in(TACT_CALLING), on_a},
    {kTimerB, in(TACT_CALLING), on_b},
    {kTimerD, in(TACT_COMPLETED), on_d},
    {kTimerE, in(TACT_TRYING) | in(TACT_PROCEEDING) | in(TACT_COMPLETED), on_e},
    {kTimerF, in(TACT_TRYING) | in(TACT_PROCEEDING), on_f},
    {kTimerG, in(TACT_COMPLETED), on_g},
    {kTimerH, in(TACT_COMPLETED), on_h},
    {kTimerI, in(TACT_CONFIRMED), on_i},
    {kTimerJ, in(TACT_COMPLETED), on_j},
    {kTimerK, in(TACT_COMPLETED), on_k},
}};

}  // namespace

void cpsip_tact_starttimer(cpsip_tact_cb& tact, std::uint32_t id) {
  for (const Row& row : kRows) {
    if (row.id == id) return start(tact, id, duration(tact, id));
  }
  cpapp_uxp2(cpapp_here(kHere), id, tact.state);
}

void cpsip_tact_timeout(void* context, std::uint32_t id, std::uint32_t interval) {
  const cpsip_tact_ptr tact = static_cast<cpsip_tact_cb*>(context)->shared_from_this();
  const cpsip_dlog_ptr dialog = tact->dialog->shared_from_this();
  if (id < kTactTimers) tact->timers[id] = {};
  for (const Row& row : kRows) {
    if (row.id != id) continue;
    if ((row.states & in(tact->state)) == 0) return wrong_state(*tact, id);
    return row.handle(*tact, interval);
  }
  wrong_state(*tact, id);
}

void cpsip_dlog_removal_timeout(void* context, std::uint32_t /*id*/, std::uint32_t /*interval*/) {
  const cpsip_dlog_ptr dialog = static_cast<cpsip_dlog_cb*>(context)->shared_from_this();
  dialog->removal_timer = {};
  (void)cpsip_serv_delete_dlog_cb(*dialog);
}

}  // namespace hark

// The end of a run: the application gives up all that it has, and what it left to do for others is done.
#include <unistd.h>

#include <cstdio>

#include "cpsip/cpsip_dialog.h"
#include "cpsip/cpsip_timer.h"
#include "support/fuzzing.h"
#include "support/sip_records.h"
#include "support/sip_world.h"

namespace hark::fuzz {
namespace {

constexpr unsigned kRounds = 4;
constexpr unsigned kLingerSeconds = 70;  // longer than all that runs by itself
constexpr unsigned kStepSeconds = 10;

cpsip_msg_ptr request_of(cpsip_method method) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->method = method;
  return msg;
}

cpsip_msg_ptr response_to(cpsip_method method, std::uint16_t status) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->cseq_method = method;
  msg->status_code = status;
  return msg;
}

// Nobody asks for the answer of a REFER that was accepted: its transaction is there as long as its dialog.
bool may_stay(const cpsip_tact_cb& tact) {
  return tact.client && tact.method == cpsip_method::refer && tact.state == TACT_TRYING;
}

}  // namespace

// What an application does that wants to be rid of the dialog, once.
void SipWorld::EndDialog(const cpsip_dlog_ptr& dialog) {
  for (const cpsip_tact_ptr& tact : cpsip_tact_list(dialog->server_tacts)) {
    if (tact->state == TACT_TRYING || tact->state == TACT_PROCEEDING)
      SendOn(response_to(tact->method, 486), dialog.get());
  }
  if (dialog->is_gone()) return;
  switch (dialog->state) {
    case DLG_INVITE_SENT:
      return SendOn(request_of(cpsip_method::cancel), dialog.get());
    case DLG_CONFIRMED:
      return SendOn(request_of(cpsip_method::bye), dialog.get());
    default:
      return;
  }
}

void SipWorld::EndAll() {
  on_delivery_.clear();
  SipKernel::Fail(0);
  check_messages();
  for (unsigned round = 0; round < kRounds; ++round) {
    for (const cpsip_dlog_ptr& dialog : dialogs_of_stack()) {
      if (!dialog->is_gone()) EndDialog(dialog);
    }
    Pump();
    for (unsigned passed = 0; passed < kLingerSeconds && cpsip_timer_count() != 0; passed += kStepSeconds)
      Pass(kStepSeconds * 1000);
  }
  for (const cpsip_dlog_ptr& dialog : dialogs_of_stack()) {
    for (const cpsip_tact_ptr& tact : transactions_of(*dialog)) {
      if (may_stay(*tact)) continue;
      (void)::dprintf(STDERR_FILENO, "\n== left: dialog %u.%u, %s transaction of method %u in %u\n",
                      dialog->state, dialog->sub_state, tact->client ? "client" : "server",
                      unsigned(tact->method), unsigned(tact->state));
      check(false, "no transaction outlives its work");
    }
    (void)::dprintf(STDERR_FILENO, "\n== left: dialog %u.%u\n", dialog->state, dialog->sub_state);
    check(false, "no dialog outlives its work");
  }
  check(cpsip_timer_count() == 0, "no timer outlives its work");
}

void run_world(std::string_view input, std::string_view before) {
  constexpr std::size_t kMostLines = 60;
  const std::size_t end = input.find('\n');
  SipWorld world(input.substr(0, end));
  for (const std::string& step : split(before, "\n"))
    world.Run(step);
  if (end != input.npos) {
    for (const std::string& step : split(input.substr(end + 1), "\n", kMostLines))
      world.Run(step);
  }
  world.EndAll();
}

}  // namespace hark::fuzz

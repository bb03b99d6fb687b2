#include "support/sip_records.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_transport.h"
#include "support/fuzzing.h"
#include "support/sip_kernel.h"
#include "support/sip_message.h"
#include "support/sip_sdp.h"

namespace hark::fuzz {
namespace {

// Which timers may run in which state.
struct Allowed {
  bool client;
  bool invite;
  cpsip_tact_state state;
  std::uint32_t timers;  // a bit for each id
};
constexpr std::uint32_t bit(std::uint32_t id) { return 1U << id; }
constexpr Allowed kAllowed[] = {
    {true, true, TACT_CALLING, bit(kTimerA) | bit(kTimerB)},
    {true, true, TACT_PROCEEDING, 0},
    {true, true, TACT_COMPLETED, bit(kTimerD)},
    {true, false, TACT_TRYING, bit(kTimerE) | bit(kTimerF)},
    {true, false, TACT_PROCEEDING, bit(kTimerE) | bit(kTimerF)},
    {true, false, TACT_COMPLETED, bit(kTimerK)},
    {false, true, TACT_PROCEEDING, 0},
    {false, true, TACT_COMPLETED, bit(kTimerG) | bit(kTimerH)},
    {false, true, TACT_CONFIRMED, bit(kTimerI)},
    {false, false, TACT_TRYING, 0},
    {false, false, TACT_PROCEEDING, 0},
    {false, false, TACT_COMPLETED, bit(kTimerJ)},
};

std::size_t check_timers(const cpsip_tact_cb& tact) {
  std::uint32_t running = 0;
  std::size_t count = 0;
  for (std::uint32_t id = 0; id < tact.timers.size(); ++id) {
    if (!tact.timers[id]) continue;
    running |= bit(id);
    ++count;
  }
  const bool invite = tact.method == cpsip_method::invite;
  const auto* const row = std::find_if(std::begin(kAllowed), std::end(kAllowed), [&](const Allowed& one) {
    return one.client == tact.client && one.invite == invite && one.state == tact.state;
  });
  check(row != std::end(kAllowed), "a transaction is in a state of its kind");
  check((running & ~row->timers) == 0, "a transaction has timers of its state only");
  return count;
}

std::size_t check_transactions(const cpsip_dlog_cb& dialog, const cpsip_tact_list& list, bool client) {
  std::size_t timers = 0;
  check(list.size() <= kMaxDialogTransactions + (client ? kMaxDialogTransactions : 0),
        "a dialog has no more transactions than it may");
  for (const cpsip_tact_ptr& tact : list) {
    check(tact != nullptr && !tact->gone && tact->dialog == &dialog && tact->client == client,
          "a transaction on a list is of its dialog");
    timers += check_timers(*tact);
  }
  return timers;
}

// Returns how many timers run for it.
std::size_t check_dialog(const cpsip_serv_cb& service, const cpsip_dlog_cb& dialog) {
  check(dialog.service == &service, "a dialog is of the service that has it");
  const auto by_handle = service.by_handle.find(&dialog);
  check(by_handle != service.by_handle.end() && by_handle->second == &dialog,
        "a dialog is found by its handle");
  check(dialog.place->get() == &dialog, "a dialog knows its place");
  check(dialog.state <= DLG_OPTIONS && dialog.sub_state <= DLG_IDLE, "a dialog is in a known state");
  check(dialog.sdp_state <= SDP_ANSWERED, "offer and answer are in a known state");
  check(!dialog.retrans_timer || dialog.retrans_2xx != nullptr, "what is resent is there");
  std::size_t timers = (dialog.retrans_timer ? 1 : 0) + (dialog.removal_timer ? 1 : 0);
  timers += check_transactions(dialog, dialog.client_tacts, true);
  return timers + check_transactions(dialog, dialog.server_tacts, false);
}

}  // namespace

std::vector<cpsip_serv_cb*> services_of_stack() {
  std::vector<cpsip_serv_cb*> services;
  for (const SocCB& cb : Cpsip_SOC_Blocks()) {
    if (cb.callback == nullptr || cb.owner == nullptr) continue;
    if (std::find(services.begin(), services.end(), cb.owner) == services.end()) services.push_back(cb.owner);
  }
  return services;
}

std::vector<cpsip_dlog_ptr> dialogs_of_stack() {
  std::vector<cpsip_dlog_ptr> dialogs;
  for (const cpsip_serv_cb* service : services_of_stack())
    dialogs.insert(dialogs.end(), service->dialogs.begin(), service->dialogs.end());
  return dialogs;
}

std::vector<cpsip_tact_ptr> transactions_of(const cpsip_dlog_cb& dialog) {
  std::vector<cpsip_tact_ptr> all = dialog.client_tacts;
  all.insert(all.end(), dialog.server_tacts.begin(), dialog.server_tacts.end());
  return all;
}

void check_records() {
  std::size_t dialogs = 0;
  std::size_t transactions = 0;
  std::size_t timers = 0;
  for (const cpsip_serv_cb* service : services_of_stack()) {
    check(service->by_handle.size() == service->dialogs.size(), "each dialog has one handle");
    for (const cpsip_dlog_ptr& dialog : service->dialogs) {
      ++dialogs;
      transactions += dialog->client_tacts.size() + dialog->server_tacts.size();
      timers += check_dialog(*service, *dialog);
    }
  }
  check(dialogs == cpsip_dialog_count() && dialogs <= kMaxDialogs,
        "the count of dialogs is that of the lists");
  check(transactions == cpsip_transaction_count() && transactions <= kMaxTransactions,
        "the count of transactions is that of the lists");
  check(timers == cpsip_timer_count(), "each timer that runs is known by who started it");
}

void check_messages() {
  const auto check_one = [](const cpsip_msg_shared& msg) {
    if (msg == nullptr) return;
    check_message(*msg);
    if (msg->sdp != nullptr) check_texts_within(*msg->sdp, msg->sdp_text.view().size());
  };
  for (const cpsip_dlog_ptr& dialog : dialogs_of_stack()) {
    check_one(dialog->state_msg);
    check_one(dialog->retrans_2xx);
  }
}

void check_nothing_left() {
  check(services_of_stack().empty(), "no service is left");
  check(cpsip_dialog_count() == 0, "no dialog is left");
  check(cpsip_transaction_count() == 0, "no transaction is left");
  check(cpsip_timer_count() == 0, "no timer is left");
  check(cpsip_snd_waiting() == 0, "nothing is left to be sent");
  check(SipKernel::OpenSockets() == 0, "no socket is left");
}

}  // namespace hark::fuzz

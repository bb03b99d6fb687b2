// What holds for the SIP stack's records between any two steps of a run, whatever has come in: who is on
// which list, which timers run in which state, how many there are of all.
#pragma once

#include <functional>
#include <vector>

#include "cpsip/cpsip_dialog.h"

namespace hark::fuzz {

// The services that have a socket.
[[nodiscard]] std::vector<cpsip_serv_cb*> services_of_stack();
[[nodiscard]] std::vector<cpsip_dlog_ptr> dialogs_of_stack();
[[nodiscard]] std::vector<cpsip_tact_ptr> transactions_of(const cpsip_dlog_cb& dialog);

// *Requires* that each service has a socket.
void check_records();
// What dialogs remember is in good order. Takes its time: once for a run.
void check_messages();

// No service is left, and nothing of what services had.
void check_nothing_left();

}  // namespace hark::fuzz

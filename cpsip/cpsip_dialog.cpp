#include "cpsip/cpsip_dialog.h"

#include <malloc.h>

#include <algorithm>
#include <functional>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_transaction.h"
#include "cpsip/cpsip_transport.h"
#include "cpsip/cpsip_ua.h"

namespace hark {
namespace {

constexpr cpapp_module kHere = cpapp_module::cpsip_service;

struct Counts {
  std::size_t dialogs = 0;
  std::size_t transactions = 0;
  std::size_t most_dialogs = 0;  // since there was none
  std::uint64_t last_number = 0;
};
Counts g_counts;

// What a flood, or a busy hour, has made the heap grow to goes back to the system once it is over: nothing
// else in this process wants that much.
void give_back_memory() {
  static constexpr std::size_t kManyDialogs = 512;
  if (g_counts.dialogs != 0) return;
  if (g_counts.most_dialogs >= kManyDialogs) (void)::malloc_trim(0);
  g_counts.most_dialogs = 0;
}

std::uint64_t key_of(std::string_view call_id, std::string_view tag) {
  const std::hash<std::string_view> hash;
  return hash(call_id) * 0x9E3779B97F4A7C15U ^ hash(tag);
}

void take_off_index(cpsip_dlog_cb& dialog) {
  if (!dialog.indexed) return;
  for (const std::uint64_t key : dialog.keys)
    dialog.service->by_call.erase({key, dialog.number});
  dialog.indexed = false;
}

// A dialog that no line uses: one that nobody has answered for, or that is over.
bool may_go(const cpsip_dlog_cb& dialog) { return dialog.app_dialog_id == 0 || dialog.state == DLG_ENDED; }

// Ends the oldest dialog of the service that may go; false when there is none.
bool evict_one(cpsip_serv_cb& service) {
  for (const cpsip_dlog_ptr& dialog : service.dialogs) {
    if (!may_go(*dialog)) continue;
    (void)cpsip_serv_delete_dlog_cb(*dialog);
    return true;
  }
  return false;
}

}  // namespace

cpsip_soc_ref::~cpsip_soc_ref() {
  if (SocCB* const cb = get(); cb != nullptr) cpsip_net_close(*cb);
}

cpsip_dlog_cb::~cpsip_dlog_cb() {
  Cpsip_stoptimer(retrans_timer);
  Cpsip_stoptimer(removal_timer);
}

cpsip_dlog_ptr cpsip_serv_create_dlog_cb(cpsip_serv_cb& service) {
  if (g_counts.dialogs >= kMaxDialogs && !evict_one(service)) return nullptr;
  if (service.callback == nullptr) return nullptr;  // who was told of the eviction has ended the service
  auto dialog = std::make_shared<cpsip_dlog_cb>();
  dialog->service = &service;
  dialog->xport = service.xport;
  dialog->number = ++g_counts.last_number;
  dialog->place = service.dialogs.insert(service.dialogs.end(), dialog);
  service.by_handle.emplace(dialog.get(), dialog.get());
  g_counts.most_dialogs = std::max(g_counts.most_dialogs, ++g_counts.dialogs);
  return dialog;
}

// The dialog is off every list before the application hears of its end, so that whatever it does then finds a
// dialog that is gone, and cannot end it twice.
int cpsip_serv_delete_dlog_cb(cpsip_dlog_cb& dialog) {
  if (dialog.is_gone()) return kServBadDialog;
  const cpsip_dlog_ptr keep = dialog.shared_from_this();
  cpsip_serv_cb& service = *dialog.service;
  take_off_index(dialog);
  service.by_handle.erase(&dialog);
  service.dialogs.erase(dialog.place);
  --g_counts.dialogs;
  dialog.service = nullptr;
  Cpsip_stoptimer(dialog.retrans_timer);
  Cpsip_stoptimer(dialog.removal_timer);
  while (!dialog.client_tacts.empty())
    cpsip_tact_delete_tact_cb(*dialog.client_tacts.front());
  while (!dialog.server_tacts.empty())
    cpsip_tact_delete_tact_cb(*dialog.server_tacts.front());
  cpsip_serv_close_xport_cb(dialog);

  const cpsip_msg_ptr status = CPSIP_MsgCreate(false);
  status->method = cpsip_method::local_status;
  status->status_code = kStatusDialogDeleted;
  status->app_dialog_id = dialog.app_dialog_id;
  service.callback(service.app_serv_id, status.get(), &dialog);
  give_back_memory();
  return 0;
}

void cpsip_serv_delete_if_done(cpsip_dlog_cb& dialog) {
  if (dialog.is_gone() || (dialog.state != DLG_NEW && dialog.state != DLG_ENDED)) return;
  if (!dialog.client_tacts.empty() || !dialog.server_tacts.empty()) return;
  if (dialog.removal_timer || dialog.retrans_timer) return;
  (void)cpsip_serv_delete_dlog_cb(dialog);
}

// Both tags, since a request shows the far end's and a response ours, and either of them may be in From.
void cpsip_dlog_reindex(cpsip_dlog_cb& dialog) {
  if (dialog.is_gone() || dialog.state_msg == nullptr) return;
  cpsip_field_text call_id;
  cpsip_field_text tag;
  const std::string_view id = cpsip_msg_read(*dialog.state_msg, CPSIP_FLD_CALL_ID, 1, 0, call_id);
  const std::array<std::uint64_t, 2> keys{
      key_of(id, cpsip_ua_tag(*dialog.state_msg, CPSIP_FLD_FROM_PARM, tag)),
      key_of(id, cpsip_ua_tag(*dialog.state_msg, CPSIP_FLD_TO_PARM, tag))};
  if (dialog.indexed && keys == dialog.keys) return;
  take_off_index(dialog);
  dialog.keys = keys;
  for (const std::uint64_t key : keys)
    dialog.service->by_call.emplace(std::pair{key, dialog.number}, &dialog);
  dialog.indexed = true;
}

std::vector<cpsip_dlog_cb*> cpsip_serv_candidates(const cpsip_serv_cb& service, std::string_view call_id,
                                                  std::string_view tag) {
  std::vector<cpsip_dlog_cb*> found;
  const std::uint64_t key = key_of(call_id, tag);
  for (auto at = service.by_call.lower_bound({key, 0}); at != service.by_call.end(); ++at) {
    if (at->first.first != key || found.size() == kMaxDialogsOfOneCall) break;
    found.push_back(at->second);
  }
  return found;
}

bool cpsip_serv_room_for_transaction(cpsip_serv_cb& service) {
  while (g_counts.transactions >= kMaxTransactions) {
    if (!evict_one(service)) return false;
  }
  return true;
}

void cpsip_serv_count_transactions(std::ptrdiff_t change) {
  g_counts.transactions += static_cast<std::size_t>(change);
}

std::size_t cpsip_dialog_count() { return g_counts.dialogs; }
std::size_t cpsip_transaction_count() { return g_counts.transactions; }

void cpsip_serv_app_callback(cpsip_serv_cb* service, cpsip_msg_ptr msg, cpsip_dlog_cb* dialog) {
  if (service == nullptr) return;
  if (dialog != nullptr) msg->app_dialog_id = dialog->app_dialog_id;
  if (msg->method == cpsip_method::local_status) {
    service->callback(service->app_serv_id, msg.get(), dialog);
  } else {
    service->callback(service->app_serv_id, msg.release(), dialog);
  }
}

void cpsip_serv_app_status(cpsip_dlog_cb& dialog, cpsip_local_status status, cpsip_method cseq_method) {
  if (dialog.is_gone()) return;
  const cpsip_dlog_ptr keep = dialog.shared_from_this();
  cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  msg->method = cpsip_method::local_status;
  msg->status_code = status;
  msg->cseq_method = cseq_method;
  cpsip_serv_app_callback(dialog.service, std::move(msg), &dialog);
}

void cpsip_serv_close_xport_cb(cpsip_dlog_cb& dialog) {
  cpsip_snd_forget(&dialog);
  dialog.xport.socket = cpsip_soc_ref();
}

cpsip_notify_cb& cpsip_serv_create_notify_cb(cpsip_dlog_cb& dialog) {
  if (dialog.notify_cb == nullptr) dialog.notify_cb = std::make_unique<cpsip_notify_cb>();
  return *dialog.notify_cb;
}

int cpsip_serv_delete_notify_cb(cpsip_dlog_cb& dialog) {
  if (dialog.notify_cb == nullptr) {
    cpapp_uxp(cpapp_here(kHere));
    return kServBadDialog;
  }
  dialog.notify_cb.reset();
  return 0;
}

}  // namespace hark

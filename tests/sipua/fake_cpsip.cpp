#include "sipua/fake_cpsip.h"

#include <array>
#include <cstdlib>
#include <utility>

#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_socket.h"
#include "cpsip/cpsip_timer.h"
#include "sipua/SipMsg.h"
#include "sipua/messages.h"

namespace hark {
namespace test {
namespace {

FakeStack* the_stack = nullptr;

std::string text_of(const cpsip_msg& msg, std::uint32_t field) {
  std::array<char, kMaxFieldText> room{};
  return std::string(cpsip_msg_read(msg, field, 1, 1, room));
}

SentMsg record_of(const cpsip_msg& msg) {
  SentMsg sent;
  sent.method = msg.method;
  sent.request = msg.cseq_method;
  sent.status = msg.status_code;
  sent.reason = text_of(msg, CPSIP_FLD_REASON);
  sent.uri = text_of(msg, CPSIP_FLD_REQUEST_URI);
  sent.default_sdp = msg.content_length != 0 && msg.content_kind == cpsip_content_kind::sdp && !msg.sdp;
  return sent;
}

std::string line_of(std::uint32_t word) {
  if ((word & 0x8000U) == 0) return "no line";
  return std::to_string(word & 0x7FFFU) + "#" + std::to_string(word >> 16U);
}

}  // namespace

std::string SentMsg::Text() const {
  std::string text = "send ";
  if (method == cpsip_method::response)
    text += std::to_string(status) + " " + reason + " to " + SipMsg::GetMethodText(request);
  else
    text += SipMsg::GetMethodText(method);
  if (!uri.empty()) text += " " + uri;
  if (default_sdp) text += " +sdp";
  text += service != nullptr ? " s" + std::to_string(service->number) : " no service";
  text += " " + line_of(word) + (new_dialog ? " new" : "");
  text += dialog != nullptr ? " d" + std::to_string(dialog->number) : " no dialog";
  return result != 0 ? text + " = " + std::to_string(result) : text;
}

FakeStack::FakeStack() { the_stack = this; }

FakeStack::~FakeStack() { the_stack = nullptr; }

FakeStack& FakeStack::Get() {
  if (the_stack == nullptr) std::abort();  // a test without its stack
  return *the_stack;
}

std::vector<FakeService*> FakeStack::LiveServices() {
  std::vector<FakeService*> live;
  for (FakeService& service : services)
    if (service.live) live.push_back(&service);
  return live;
}

FakeService* FakeStack::ServiceAt(unsigned index) {
  FakeService* found = nullptr;
  for (FakeService* service : LiveServices())
    if (service->xport->nLocalPort == 5060 + index) found = service;
  return found;
}

FakeDialog& FakeStack::NewDialog(FakeService& service) {
  FakeDialog& dialog = dialogs.emplace_back();
  dialog.number = static_cast<int>(dialogs.size());
  dialog.service = &service;
  return dialog;
}

void FakeStack::Deliver(const FakeService& service, cpsip_msg_ptr msg, void* dialog) {
  const cpsip_app_callback callback = service.callback;
  if (msg->method == cpsip_method::local_status)
    callback(service.app, msg.get(), dialog);  // the stack's, before and after
  else
    callback(service.app, msg.release(), dialog);
}

void FakeStack::Deliver(FakeDialog& dialog, cpsip_msg_ptr msg) {
  if (!dialog.service->live) return;
  msg->app_dialog_id = dialog.word;
  if (msg->method == cpsip_method::local_status && msg->status_code == kStatusDialogDeleted)
    dialog.live = false;
  Deliver(*dialog.service, std::move(msg), &dialog);
}

FakeService* FakeStack::Find(void* handle) {
  for (FakeService* service : LiveServices())
    if (service == handle) return service;
  return nullptr;
}

FakeDialog* FakeStack::FindDialog(void* handle, const FakeService* service) {
  for (FakeDialog& dialog : dialogs)
    if (&dialog == handle && dialog.live && dialog.service == service) return &dialog;
  return nullptr;
}

int FakeStack::Init() {
  ++inits;
  log.emplace_back("stack init");
  for (FakeService* service : LiveServices()) {
    service->live = false;
    ++forgotten;
  }
  return init_result;
}

int FakeStack::ServiceCreate(const FakeService& given, void** handle) {
  FakeService& service = services.emplace_back(given);
  service.number = static_cast<int>(services.size());
  log.push_back("stack create s" + std::to_string(service.number));
  service.live = create_result == 0 || create_sets_handle;
  if (service.live) *handle = &service;
  return create_result;
}

int FakeStack::ServiceDelete(void* handle) {
  FakeService* const service = Find(handle);
  if (service == nullptr) {
    log.emplace_back("stack delete of no service");
    return kServBadService;
  }
  log.push_back("stack delete s" + std::to_string(service->number));
  if (const std::function<void()> act = std::exchange(on_delete, nullptr)) act();
  for (FakeDialog& dialog : dialogs)
    if (dialog.live && dialog.service == service) Deliver(dialog, make_status(kStatusDialogDeleted));
  service->live = false;
  return 0;
}

// Fills in what the handles stand for, and makes the dialog of one that asks for it.
int FakeStack::Route(SentMsg& entry, void** dialog) {
  if (entry.service == nullptr) return kServBadService;
  entry.new_dialog = *dialog == cpsip_new_dialog();
  if (entry.new_dialog) *dialog = &NewDialog(*entry.service);
  entry.dialog = FindDialog(*dialog, entry.service);
  if (entry.dialog == nullptr) return kServBadDialog;
  entry.dialog->word = entry.word;
  return send_result;
}

int FakeStack::MsgSend(void* service, cpsip_msg_ptr msg, void** dialog) {
  SentMsg entry;
  if (records) entry = record_of(*msg);
  entry.word = msg->app_dialog_id;
  entry.service = Find(service);
  entry.result = Route(entry, dialog);
  if (records) {
    sent.push_back(entry);
    log.push_back((prefix ? prefix() : "") + entry.Text());
  }
  // `*dialog` may be gone from here on, with its line.
  const std::function<void(FakeDialog&)> act =
      entry.dialog != nullptr ? std::exchange(on_send_, nullptr) : nullptr;
  if (act) act(*entry.dialog);
  return entry.result;
}

}  // namespace test

int CPSIP_Init() { return test::FakeStack::Get().Init(); }

int CPSIP_ServiceCreate(void* app_serv_id, void** service, unsigned kind, const cpsip_ua_parms* ua_parms,
                        const cpsip_xport_parms* xport_parms, cpsip_app_callback callback, cpsdp_parms* sdp,
                        std::string_view sdp_pool, std::uint16_t rtpPort) {
  return test::FakeStack::Get().ServiceCreate({.app = app_serv_id,
                                               .kind = kind,
                                               .ua = ua_parms,
                                               .xport = xport_parms,
                                               .callback = callback,
                                               .sdp = sdp,
                                               .sdp_pool = sdp_pool,
                                               .rtp_port = rtpPort},
                                              service);
}

int CPSIP_ServiceDelete(void* service) { return test::FakeStack::Get().ServiceDelete(service); }

int CPSIP_MsgSend(void* service, cpsip_msg* msg, void** dialog) {
  return test::FakeStack::Get().MsgSend(service, cpsip_msg_ptr(msg), dialog);
}

int CPSIP_Select() {
  test::FakeStack& stack = test::FakeStack::Get();
  if (stack.on_select) stack.on_select();
  return stack.select_result;
}

void CPSIP_TimerTick() {
  if (const std::function<void()>& act = test::FakeStack::Get().on_tick) act();
}

}  // namespace hark

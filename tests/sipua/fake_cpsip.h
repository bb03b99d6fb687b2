// A stack in place of the protocol stack, by linking: it has the functions that the user agent calls. It
// records what it is given, in order and as text, and delivers what a test tells it to. Messages have the
// owners that they have with the real one.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_service.h"

namespace hark::test {

// A service as it was made. The records are borrowed, as by the real stack.
struct FakeService {
  int number = 0;  // from 1, in the order in which they were made
  void* app = nullptr;
  unsigned kind = 0;
  const cpsip_ua_parms* ua = nullptr;
  const cpsip_xport_parms* xport = nullptr;
  cpsip_app_callback callback = nullptr;
  cpsdp_parms* sdp = nullptr;
  std::string_view sdp_pool;
  std::uint16_t rtp_port = 0;
  bool live = true;
};

struct FakeDialog {
  int number = 0;  // from 1, in the order in which they were made
  FakeService* service = nullptr;
  std::uint32_t word = 0;  // of the last message that was sent on it
  bool live = true;
};

// What is left of a message that was sent.
struct SentMsg {
  FakeService* service = nullptr;  // null: a handle that is none
  FakeDialog* dialog = nullptr;    // null: a handle that is none
  bool new_dialog = false;
  cpsip_method method = cpsip_method::response;
  cpsip_method request = cpsip_method::response;  // of a response
  unsigned status = 0;
  std::string reason;
  std::string uri;
  bool default_sdp = false;  // asks for the service's own description
  std::uint32_t word = 0;
  int result = 0;

  // Such as "send INVITE sip:b@10.0.0.2 +sdp s1 0#1 new d1": service, line, generation, dialog.
  [[nodiscard]] std::string Text() const;
};

// One at a time.
class FakeStack {
 public:
  FakeStack();
  ~FakeStack();
  FakeStack(const FakeStack&) = delete;
  FakeStack& operator=(const FakeStack&) = delete;
  static FakeStack& Get();

  [[nodiscard]] std::vector<FakeService*> LiveServices();
  // The newest live service whose port is 5060 + `index`, or null.
  [[nodiscard]] FakeService* ServiceAt(unsigned index);
  // A dialog that a received INVITE made.
  FakeDialog& NewDialog(FakeService& service);
  // Calls back with the message as it is.
  static void Deliver(const FakeService& service, cpsip_msg_ptr msg, void* dialog);
  // The same with the dialog's word. A dialog that was told as deleted is so.
  static void Deliver(FakeDialog& dialog, cpsip_msg_ptr msg);
  // `act` is called from inside the next send, which has made its dialog already.
  void OnNextSend(std::function<void(FakeDialog&)> act) { on_send_ = std::move(act); }

  std::vector<std::string> log;  // of sends, services, and whatever tests add
  std::deque<FakeService> services;
  std::deque<FakeDialog> dialogs;
  std::deque<SentMsg> sent;
  bool records = true;  // what is sent
  int init_result = 0;
  int create_result = 0;
  bool create_sets_handle = true;  // also when it fails
  int send_result = 0;             // of sends that are otherwise right
  int select_result = 0;
  int inits = 0;
  int forgotten = 0;                    // services that lived at a start of the stack
  std::function<std::string()> prefix;  // of what is logged of a send
  std::function<void()> on_select;
  std::function<void()> on_tick;
  std::function<void()> on_delete;  // from inside the next end of a service

  // The stack's own functions.
  int Init();
  int ServiceCreate(const FakeService& service, void** handle);
  int ServiceDelete(void* handle);
  int MsgSend(void* service, cpsip_msg_ptr msg, void** dialog);

 private:
  [[nodiscard]] FakeService* Find(void* service);
  [[nodiscard]] FakeDialog* FindDialog(void* dialog, const FakeService* service);
  int Route(SentMsg& sent, void** dialog);

  std::function<void(FakeDialog&)> on_send_;
};

}  // namespace hark::test

// What the tests of whole calls share: a service on a loopback address of the test process's own, a plain UDP
// socket as the far end, an application that remembers what it was told and may act on it, and a clock that
// moves when a test says so.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "base/fd.h"
#include "cpsip/cpsip_dialog.h"

namespace hark::test {

// 127.x.y.z, of this process alone: tests that run at the same time never meet.
[[nodiscard]] std::string OwnHost();

class FarEnd {
 public:
  explicit FarEnd(const std::string& host = OwnHost());

  [[nodiscard]] std::uint16_t port() const { return port_; }
  // "host:port"
  [[nodiscard]] std::string place() const { return host_ + ":" + std::to_string(port_); }
  void Send(std::string_view text, std::uint16_t port) const;
  // All that has come since the last time.
  [[nodiscard]] std::vector<std::string> Received() const;

 private:
  std::string host_;
  UniqueFd fd_;
  std::uint16_t port_ = 0;
};

// A request of the far end: "METHOD sip:me@host" with the headers that each must have.
struct Asked {
  std::string method{};
  unsigned cseq = 1;
  std::string branch{"z9hG4bKfirst"};
  std::string to_tag{};
  std::string headers{};  // more, whole lines
  bool offer = false;     // with a session description
  std::string call{"call"};
  std::string from_parms{";tag=far"};
};

// "200 INVITE" of a response, "BYE" of a request.
[[nodiscard]] std::string SummaryOf(const std::string& message);
[[nodiscard]] std::vector<std::string> SummaryOf(const std::vector<std::string>& messages);
// The value of the first header of this name; empty: none.
[[nodiscard]] std::string HeaderOf(const std::string& message, const std::string& name);
[[nodiscard]] std::string BodyOf(const std::string& message);
// The message with its first `old_text` replaced. *Requires* that it is there.
[[nodiscard]] std::string Replaced(std::string message, std::string_view old_text, std::string_view new_text);

class CallTest : public ::testing::Test {
 protected:
  CallTest();
  ~CallTest() override;

  // Starts the stack and its one service anew, with the parameters as they are now. What was heard is
  // forgotten.
  void Start();
  // A service with these parameters. The result of its creation.
  [[nodiscard]] int Create();
  [[nodiscard]] cpsip_serv_cb& Service() const { return *static_cast<cpsip_serv_cb*>(service_); }
  [[nodiscard]] std::uint16_t ServicePort() const { return Service().xport.local.port; }

  // The far end.
  [[nodiscard]] std::string Offer() const;
  [[nodiscard]] std::string Contact() const;  // the line
  [[nodiscard]] std::string Text(const Asked& asked) const;
  // A response of the far end to what came out, with a To tag.
  [[nodiscard]] std::string Answer(const std::string& request, const std::string& status,
                                   const std::string& headers = {}, bool offer = false) const;
  // Sends, and lets the stack see to it.
  void Send(const Asked& asked) { SendText(Text(asked)); }
  void SendText(std::string_view text);
  // What has come since the last time: whole, and in short.
  [[nodiscard]] std::vector<std::string> Received() const { return far_.Received(); }
  [[nodiscard]] std::vector<std::string> Came() const { return SummaryOf(Received()); }

  // The application.
  int Respond(std::uint16_t status, const std::string& reason = {});
  int Say(cpsip_method method, const std::string& uri = {}, bool offer = false);
  // A call to the far end: the INVITE as it came out.
  [[nodiscard]] std::string Invite();
  // A call of the far end, up to the ACK. Forgets what came and what was heard.
  void TakeCall();
  // Our tag in the application's dialog.
  [[nodiscard]] std::string OurTag() const;
  // The application's dialog, or null when it is gone.
  [[nodiscard]] cpsip_dlog_cb* Dialog() const;
  [[nodiscard]] static std::string Method(cpsip_method method);

  static void AdvanceSeconds(unsigned seconds);

  FarEnd far_;
  std::string host_ = OwnHost();
  std::string contact_;
  cpsip_xport_parms xport_;
  cpsip_ua_parms ua_;
  cpsdp_parms session_;
  std::string session_pool_;
  std::uint16_t rtp_port_ = 5004;
  void* service_ = nullptr;

  void* dialog_ = nullptr;          // of the last INVITE heard, or sent
  std::vector<std::string> heard_;  // "INVITE", "200 INVITE", "status 34", "status 6 CANCEL"
  int heard_formats_ = -1;          // of the last INVITE: what both can do; -1: it came without an offer
  std::function<void(const cpsip_msg& msg)> on_heard_;

 private:
  static void Hear(void* test, cpsip_msg* msg, void* dialog);
  void Remember(const cpsip_msg& msg, void* dialog);
};

}  // namespace hark::test

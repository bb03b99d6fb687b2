// The far end of a scenario: its sockets and its calls. It sends what the scenario writes, filled up to a
// whole message, and compares what comes out.
#pragma once

#include <deque>
#include <map>
#include <string>

#include "scenarios/runner/far_call.h"
#include "scenarios/runner/scenario.h"
#include "scenarios/runner/wire.h"

namespace hark::test {

class FarEnd {
 public:
  // Borrows what the scenario has captured.
  explicit FarEnd(Variables& captured) : captured_(captured) {}

  [[nodiscard]] const Variables& addresses() const { return wire_.addresses(); }
  // All that a line may use by name: addresses, and what is known of the current call.
  [[nodiscard]] Variables known() const;

  // The call that the next steps are about; "a" at first.
  void UseCall(const std::string& name) { call_ = name; }
  [[nodiscard]] const std::string& call() const { return call_; }

  // Makes the datagram of a step ready to be sent: "< INVITE", "double < INVITE", "again INVITE", "raw",
  // "keep name < ...", "late name". How often it is to be sent.
  [[nodiscard]] unsigned Prepare(const Step& step);
  void SendPrepared();

  // The next datagram that came out is what the step says.
  void Expect(const Step& step);
  void Collect() { wire_.Collect(); }
  [[nodiscard]] std::deque<Datagram>& arrived() { return wire_.arrived(); }

 private:
  struct Ready {
    std::string from = "far";
    std::string bytes;
    int port = Wire::StackPort();  // of the stack
  };

  FarCall& current() { return calls_.try_emplace(call_, call_).first->second; }
  // Of "INVITE ..." or "180 Ringing (INVITE)", with its details.
  [[nodiscard]] SipText Message(const std::string& text, const Step& step);
  void Detail(SipText& message, const Line& detail) const;
  [[nodiscard]] Ready Make(const std::string& verb, const std::string& text, const Step& step);
  [[nodiscard]] std::string Expanded(const Line& line) const;

  Variables& captured_;
  Wire wire_;
  std::map<std::string, FarCall> calls_;
  std::string call_ = "a";
  Ready ready_;
  std::map<std::string, Ready> sent_;  // the last of each call and method, for "again"
  std::map<std::string, Ready> kept_;
};

}  // namespace hark::test

// The facade above a scripted stack, with every event and everything that the stack is given recorded as one
// line of text, in order; and above that one line with the ways to bring it into each of its states.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "sipua/SipStackUA.h"
#include "sipua/Timer64.h"
#include "sipua/fake_cpsip.h"
#include "sipua/messages.h"
#include "support/test_ticks.h"

namespace hark::test {

using State = ISipStackUAEvents::ESipLineState;
using Strings = std::vector<std::string>;

inline constexpr State IDLE = ISipStackUAEvents::STATE_IDLE;
inline constexpr State RINGING = ISipStackUAEvents::STATE_RINGING;
inline constexpr State SEIZED = ISipStackUAEvents::STATE_SEIZED;
inline constexpr State CALLING = ISipStackUAEvents::STATE_CALLING;
inline constexpr State CONNECTED = ISipStackUAEvents::STATE_CONNECTED;
inline constexpr State CANCELING = ISipStackUAEvents::STATE_CANCELING;
inline constexpr State DISCONNECTING = ISipStackUAEvents::STATE_DISCONNECTING;
inline constexpr std::array kStates{IDLE, RINGING, SEIZED, CALLING, CONNECTED, CANCELING, DISCONNECTING};

// A table with every slot filled: each notes its name and its arguments, such as "LineState 1/0 3", and then
// calls the running test's on_event with the name.
[[nodiscard]] ISipStackUAEvents recording_events();

class StackTest : public ::testing::Test {
 public:
  StackTest();
  ~StackTest() override;

  static SipStackUA& Stack() { return *SipStackUA::GetInstance(); }
  // The line of the service that stands, or null.
  static SipLine* FindLine(unsigned service, unsigned line);
  // What is in the log since the last call.
  Strings Log() { return std::exchange(fake_.log, {}); }

  std::function<void(const std::string& slot)> on_event;
  bool log_states = false;  // puts the state of the event's line, or of line 1/0, in front of each entry

 protected:
  // A service at 10.0.0.1, port 5060 + `index`, with L24.
  static SipServiceConfig Config(unsigned index, unsigned lines);
  // Three slots, as the control layer has them: 1 with eight lines, 2 with two, 0 and nothing else empty.
  void StartServices();
  // One pass of the main loop.
  static bool Pump() { return Stack().ProcessMessages(); }
  // Time goes on, and then a few passes run.
  void AdvanceMs(std::uint32_t ms);

  TestTicks ticks_;
  FakeStack fake_;
  ISipStackUAEvents table_ = recording_events();
};

// Line 0 of service 1, which has two lines.
class LineTest : public StackTest {
 protected:
  LineTest() { StartService(Config(1, 2)); }

  // Starts over with one service, 1.
  void StartService(const SipServiceConfig& config);
  static SipLine& Line() { return *FindLine(1, 0); }
  static State LineState() { return Line().GetState(); }
  FakeService& Service() { return *fake_.ServiceAt(1); }

  // By what it takes: an incoming call with an offer, an outgoing one to kFarUri. The log is empty then.
  void Bring(State state);
  void Call();
  void Connect();
  // From the stack, on the dialog of the last call; and the log of it.
  Strings Receive(cpsip_msg_ptr msg);
  // A call comes in, on a dialog of its own.
  Strings Ring(cpsip_msg_ptr invite);
  FakeDialog& Dialog() { return fake_.dialogs.back(); }
  // Puts the line at rest, whatever it does, as if its last call had just ended.
  void ForceIdle();
};

}  // namespace hark::test

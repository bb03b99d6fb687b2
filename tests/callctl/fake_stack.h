// A SIP stack that does what the test says, in place of the real one: commands are noted, and what they cause
// is told by `outcome`. Linked ahead of the library, so that calls to stations can be followed without a
// network.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "sipua/SipStackUA.h"

namespace hark {

struct FakeStack {
  // What a call or a seizure comes to before the command returns.
  enum class Outcome { kAccepted, kNothing, kIdle };

  int initialize_result = 1;
  Outcome call = Outcome::kAccepted;   // accepted: the line reports calling
  Outcome seize = Outcome::kAccepted;  // accepted: the line reports seized
  const ISipStackUAEvents* events = nullptr;
  std::vector<std::string> commands;             // such as "Call 1/0 sip:x@y"
  std::map<unsigned, SipServiceConfig> configs;  // by service, as last created
};
extern FakeStack fake_stack;

// The commands since the last question.
[[nodiscard]] inline std::vector<std::string> StackCommands() {
  return std::exchange(fake_stack.commands, {});
}

}  // namespace hark

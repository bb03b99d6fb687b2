// One agent that makes one call after another with a SIP service and takes the time of its answers. It waits
// for each message, so that nothing but the far end is between the two readings of the clock.
#pragma once

#include <optional>
#include <string>

#include "base/fd.h"
#include "latency.h"
#include "tools/callsoak/messages.h"

namespace hark::bench {

// Where calls go: a station's service, or something that answers in its place.
struct Target {
  std::string address;
  int port = 0;
  std::string user = "hark-talk";
};

struct CallTimes {
  Clock::duration trying{};  // from the INVITE to its 100
  Clock::duration answer{};  // from the INVITE to its 200
};

// A call that is up.
struct HeldCall {
  Target target;
  callsoak::Party party;
  std::string to_tag;
  CallTimes times;
};

class Caller {
 public:
  // Its calls come from so many parties in turn; a station takes a second call of one party, while the first
  // is up, for the first one come again.
  explicit Caller(std::string address, int parties = 10);
  [[nodiscard]] const std::string& address() const { return address_; }
  [[nodiscard]] int port() const { return port_; }

  // A call up to its ACK, and its end; none, or false, when an answer did not come in time or was another
  // one.
  [[nodiscard]] std::optional<HeldCall> open(const Target& target);
  [[nodiscard]] bool close(const HeldCall& call);
  // Both. Requires a target that answers by itself.
  [[nodiscard]] std::optional<CallTimes> call(const Target& target);

  // The next datagram, within five seconds; empty when none came. `port` is where it came from.
  [[nodiscard]] std::string receive(int& port);
  void send(const std::string& text, const Target& target);

 private:
  std::string address_;
  UniqueFd socket_;
  int port_ = 0;
  int parties_;
  int made_ = 0;
};

}  // namespace hark::bench

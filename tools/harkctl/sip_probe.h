// One SIP service that is asked by UDP whether it is there, again and again until something comes back.
#pragma once

#include <chrono>
#include <span>
#include <string>
#include <string_view>

#include "base/fd.h"
#include "tools/control/station_address.h"
#include "tools/harkctl/wait.h"

namespace hark::ctl {

// The pauses between two sends of one request: T1 of RFC 3261 section 17.1.2.2, then twice the one before, up
// to T2.
inline constexpr std::chrono::milliseconds kSipT1{500};
inline constexpr std::chrono::milliseconds kSipT2{4000};
[[nodiscard]] constexpr std::chrono::milliseconds next_pause(std::chrono::milliseconds pause) {
  return pause * 2 < kSipT2 ? pause * 2 : kSipT2;
}

class SipProbe {
 public:
  SipProbe(std::string service, control::HostPort place)
      : service_(std::move(service)), place_(std::move(place)) {}

  // Finds the place and makes the question.
  void start(Deadline deadline);
  // Whether there is nothing more to wait for.
  [[nodiscard]] bool is_settled() const { return status_ != 0 || !why_.empty(); }
  // Sends the question when it is time to; when it will be again.
  Deadline send_when_due(Deadline now);
  [[nodiscard]] int fd() const { return fd_.get(); }
  // Takes what has arrived.
  void receive();
  // No answer came in time.
  void give_up(std::chrono::milliseconds time);

  [[nodiscard]] const std::string& service() const { return service_; }
  [[nodiscard]] std::string place() const { return control::to_text(place_); }
  // Of the answer; 0: none came, and why() says why.
  [[nodiscard]] int status() const { return status_; }
  [[nodiscard]] const std::string& why() const { return why_; }

 private:
  [[nodiscard]] bool take(std::string_view datagram);

  std::string service_;
  control::HostPort place_;
  UniqueFd fd_;
  std::string branch_;
  std::string request_;
  Deadline due_{};
  std::chrono::milliseconds pause_ = kSipT1;
  std::string why_;
  int status_ = 0;
};

// Asks all of them at once. Each is settled when this returns, after `time` at the latest.
void ask_services(std::span<SipProbe> probes, std::chrono::milliseconds time);

}  // namespace hark::ctl

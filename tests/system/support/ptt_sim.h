// The simulated device at the multicast group as a peer of a system test: it is served in every wait, in a
// time that the test moves. PttSim gives the simulator's own interface by "->".
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/fd.h"
#include "system/support/pump.h"
#include "tools/quillsim/ptt_responder.h"

namespace hark::test {

// A few channels that no test process that runs at the same time uses: all share one group.
[[nodiscard]] int own_ptt_channel(int index);
inline constexpr int kOwnPttChannels = 4;

// The address of the source whose channel it is.
[[nodiscard]] std::string ptt_channel_address(int channel);

class PttSim : public Pumped {
 public:
  // Joins the group from the start, on the interface of this address, for the channels of this process only
  // unless `options` name others.
  explicit PttSim(quillsim::PttOptions options = {}, const std::string& interface_address = "127.0.0.1");

  quillsim::PttResponder* operator->() { return &ptt_; }
  const quillsim::PttResponder* operator->() const { return &ptt_; }

  // Moves the time of the device: late answers go out, leases end.
  void advance_ms(int ms);

  // Requests so far, as text; of one channel.
  [[nodiscard]] std::vector<std::string> requests(int channel) const;
  // Waits until at least so many have come for the channel, and until the last one is a release.
  [[nodiscard]] testing::AssertionResult wait_requests(int channel, int count,
                                                       int timeout_ms = kWaitMs) const;
  [[nodiscard]] testing::AssertionResult wait_release(int channel, int timeout_ms = kWaitMs) const;

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  quillsim::PttResponder ptt_;
  quillsim::PttResponder::Time now_{};
};

// What a station receives at the group, and anybody else there: each status text, as it came.
class PttListener : public Pumped {
 public:
  // Joins the group on 127.0.0.1, at the port where status is told.
  PttListener();

  // Sends a request to the group, as a station would.
  bool request(const quillsim::PttRequest& request) { return send_raw(quillsim::ptt_request_text(request)); }
  bool send_raw(const std::string& text);

  // What came that names the channel.
  [[nodiscard]] std::vector<std::string> texts(int channel) const;
  [[nodiscard]] testing::AssertionResult wait_text(const std::string& text, int timeout_ms = kWaitMs) const;

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  UniqueFd fd_;
  std::vector<std::string> texts_;
};

}  // namespace hark::test

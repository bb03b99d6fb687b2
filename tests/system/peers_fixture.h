// A station and, beside it, agents that others have written: sipp plays callers and callees from the
// scenarios of tests/system/peers, sipsak, baresip and tshark do what they do. Each test has addresses of its
// own, so that all of them can use the usual ports. Where a program is not installed its tests are skipped,
// and say so.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/net/program.h"
#include "system/station_fixture.h"

namespace hark::test {

// Ports of the station. Its Contact names none, so an ordinary agent sends ACK and BYE to 5060: the talk
// service is put there.
inline constexpr int kListenService = 5059;
inline constexpr int kTalkService = 5060;
// Where a station looks for the services of another.
inline constexpr int kFarListenService = 5061;
inline constexpr int kFarTalkService = 5062;

// Two addresses of this process that no test beside it uses.
[[nodiscard]] std::string station_address();
[[nodiscard]] std::string peer_address();

// Where the program is on the PATH; empty when it is not installed.
[[nodiscard]] std::string installed(const std::string& program);

// Waits until somebody is bound to that UDP port.
[[nodiscard]] testing::AssertionResult wait_bound(const std::string& address, int port);

// The program ended with this status in time; a failure shows what it said.
[[nodiscard]] testing::AssertionResult ends_with(Program& program, int status, int timeout_ms = 30'000);

// What a sipp of a test is told beyond its scenario.
struct SippOptions {
  // Who calls; a station is one whose user is that of a service.
  std::string caller = "hark-talk";
  // The service that is called, and its port.
  std::string service = "hark-listen";
  int port = kListenService;
  std::string codec = "L24/48000/2";
  std::string number = "96";
  std::vector<std::string> extra = {};
};

class PeersTest : public StationTest {
 protected:
  // `programs`: what the test runs.
  explicit PeersTest(std::vector<std::string> programs);
  // Starts the station, with a client that has subscribed to calls.
  void SetUp() override;
  // All clean, and each peer gone.
  void TearDown() override;

  // sipp with that scenario, calling the station, and being called by it at `port`, where it listens already.
  [[nodiscard]] Program Caller(const std::string& scenario, const SippOptions& options = {});
  [[nodiscard]] Program Callee(const std::string& scenario, int port,
                               const std::vector<std::string>& extra = {});
  // Any other program, with its output in a file of the station's folder.
  [[nodiscard]] Program Run(std::vector<std::string> words);

  // A line for the control port: `what` for the call to `url`; it says nothing to who sent it, reports apart.
  void Call(const std::string& url, const std::string& what);
  // The report comes; others before it are dropped.
  [[nodiscard]] testing::AssertionResult Reported(const std::string& url, const std::string& what);
  // No call is left on any line.
  [[nodiscard]] testing::AssertionResult NoCallIsUp();
  [[nodiscard]] testing::AssertionResult MixerGets(const std::string& source) const;

  const std::string peer = peer_address();
  const std::string far = "hark:" + peer_address();
  Client client;

 private:
  std::vector<std::string> programs_;
  int runs_ = 0;
};

}  // namespace hark::test

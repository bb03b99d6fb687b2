// One station with its routing daemon, as most system tests want it: started on files that the test writes,
// asked from outside, and ended clean. What a test expects in the log beyond the daily lines it has to name;
// any other line fails it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "system/support/client.h"
#include "system/support/routing_sim.h"
#include "system/support/station.h"

namespace hark::test {

inline constexpr char kVersion[] = "VER SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9";
inline constexpr char kBadCommand[] = "ERROR 1000 bad command";
inline constexpr char kBadPort[] = "ERROR 1002 bad port number";
inline constexpr char kServerBusy[] = "ERROR 2000 server busy";
inline constexpr char kTooManyFromHost[] = "ERROR 2001 too many connections from host";
inline constexpr char kCallFailed[] = "ERROR 3001 call failed";

// What a station needs before it can make calls: a name and a source of its own.
inline constexpr char kIdentity[] = "HARK LABL:\"STUDIO A\"\nSRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\"\n";

using Lines = std::vector<std::string>;

// The lines of a text, without their ends.
[[nodiscard]] Lines lines_of(const std::string& text);

// Sends the line and VER behind it: the lines that come before the answer to VER.
[[nodiscard]] Lines answers(Client& client, std::string_view line);

// The same without what a panel on that connection is sent to show.
[[nodiscard]] Lines replies(Client& client, std::string_view line);

// As many whole turns of the station's loop as make sure that whatever came before has been worked off: a
// question and its answer take one, what follows from a command is done by the end of the same.
void let_it_settle(Client& client);

// The descriptors that the station has open between its turns, that of `client` among them: once the start is
// over and while no file is being read.
[[nodiscard]] int settled_descriptors(const Station& station, Client& client);

// The station ended with status 0 and left nothing behind, and each line of its log is a daily one or holds
// one of `expected`.
[[nodiscard]] testing::AssertionResult ended_well(Station& station, const Lines& expected = {});

class StationTest : public testing::Test {
 protected:
  // `options` without a routing port get the port of `sim`.
  explicit StationTest(StationOptions options = {}) : StationTest(std::move(options), {}) {}
  StationTest(StationOptions options, quillsim::SimOptions sim_options);
  void TearDown() override;

  // Starts the station and waits until it has made its mixer, and told it of its sources.
  void Start();
  // The same with a name and a source, so that it can make calls.
  void StartReadyForCalls();
  // A client that is connected, from the address `source`.
  [[nodiscard]] Client Connect(const std::string& source = "127.0.0.1") const;
  // Puts a whole new file in place of the one that is there, as a careful program does: a station that runs
  // never reads half of it.
  void Replace(const std::string& name, const std::string& text) const;
  // A line of the log with this part is expected.
  void ExpectLog(std::string part) { expected_log_.push_back(std::move(part)); }
  // Waits until the log, or a trace on stdout, holds the text.
  [[nodiscard]] testing::AssertionResult Logged(const std::string& text) const;
  [[nodiscard]] testing::AssertionResult Traced(const std::string& text) const;
  // The log shows every level from here on. Before Start().
  void LogEverything();
  // The test ends its stations itself.
  void EndsItself() { ends_itself_ = true; }

  RoutingSim sim;
  Station station;

 private:
  Lines expected_log_;
  bool ends_itself_ = false;
};

}  // namespace hark::test

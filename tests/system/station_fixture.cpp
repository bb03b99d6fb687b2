#include "system/station_fixture.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <utility>

namespace hark::test {
namespace {

// Lines of the log that any test may cause: clients come and go, a machine under load is late, a test may
// leave out the settings file, a call may teach the station a label.
constexpr std::array<std::string_view, 6> kDailyLog = {
    "]: connected ",         "]: disconnected connection id: ",
    "]: SIGTERM received",   "]: configuration file not found",
    "]: GPIO scan latency ", "]: Updated ",
};

bool holds_any(const std::string& line, const auto& parts) {
  return std::any_of(std::begin(parts), std::end(parts),
                     [&](const auto& part) { return line.find(part) != std::string::npos; });
}

}  // namespace

Lines lines_of(const std::string& text) {
  Lines lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

Lines answers(Client& client, std::string_view line) {
  Lines got;
  EXPECT_TRUE(client.send_raw(std::string(line) + "\r\nVER\r\n"));
  for (;;) {
    std::optional<std::string> answer = client.read_line();
    EXPECT_TRUE(answer.has_value()) << "no answer to VER behind: " << line;
    if (!answer || *answer == kVersion) return got;
    got.push_back(std::move(*answer));
  }
}

Lines replies(Client& client, std::string_view line) {
  Lines got = answers(client, line);
  std::erase_if(got, [](const std::string& text) {
    return text.starts_with("set HARKUI#") || text.starts_with("SET Intercom");
  });
  return got;
}

void let_it_settle(Client& client) {
  for (int turn = 0; turn < 3; ++turn)
    (void)answers(client, "#");
}

int settled_descriptors(const Station& station, Client& client) {
  int before = -1;
  int count = -1;
  EXPECT_TRUE(wait_until([&] {
    let_it_settle(client);
    before = std::exchange(count, station.open_fds());
    return count == before;
  }));
  return count;
}

testing::AssertionResult ended_well(Station& station, const Lines& expected) {
  testing::AssertionResult clean = station.ends_clean();
  if (!clean) return clean;
  for (const std::string& line : lines_of(station.stderr_text())) {
    if (line.empty() || holds_any(line, kDailyLog) || holds_any(line, expected)) continue;
    return testing::AssertionFailure() << "not expected in the log: " << line;
  }
  return testing::AssertionSuccess();
}

StationTest::StationTest(StationOptions options, quillsim::SimOptions sim_options)
    : sim(std::move(sim_options)), station([&] {
        if (options.routing_port == 0) options.routing_port = sim.port();
        return std::move(options);
      }()) {}

void StationTest::TearDown() {
  if (!ends_itself_) {
    EXPECT_TRUE(ended_well(station, expected_log_));
  }
  EXPECT_TRUE(sim.refused_nothing());
}

void StationTest::Start() {
  ASSERT_TRUE(station.start());
  ASSERT_TRUE(sim.wait_mixer());
}

void StationTest::StartReadyForCalls() {
  station.write_settings(kIdentity);
  Start();
}

Client StationTest::Connect(const std::string& source) const {
  Client client(station.ctrl_port(), source);
  EXPECT_TRUE(client.connected()) << "from " << source;
  return client;
}

void StationTest::Replace(const std::string& name, const std::string& text) const {
  station.root().write(name + ".new", text);
  EXPECT_EQ(std::rename(station.root().file(name + ".new").c_str(), station.root().file(name).c_str()), 0);
}

testing::AssertionResult StationTest::Logged(const std::string& text) const {
  if (wait_until([&] { return station.stderr_text().find(text) != std::string::npos; })) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "not logged: " << text;
}

testing::AssertionResult StationTest::Traced(const std::string& text) const {
  if (wait_until([&] { return station.stdout_text().find(text) != std::string::npos; })) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "not traced: " << text;
}

void StationTest::LogEverything() {
  // No server: the copy on stderr is enough.
  station.write_log_params("0.0.0.0", 7);
  ExpectLog("]: ");
}

}  // namespace hark::test

// The log as a real server receives it: one datagram a message, from the level that the file asks for, and a
// changed file counts from the next message on. Port 514 is fixed; each test has an address of its own.
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>

#include "system/station_fixture.h"
#include "system/support/udp_sink.h"

namespace hark::test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr int kSyslogPort = 514;
constexpr char kParams[] = "etc/Orfe/EngConf/SyslogServerParams.cfg";

// An address that no test which runs beside this one has.
std::string OwnAddress() {
  const int number = static_cast<int>(::getpid());
  return "127.77." + std::to_string(number / 250 % 250) + "." + std::to_string(number % 250 + 1);
}

class Log : public StationTest {
 protected:
  // A server there; skips the test where port 514 cannot be had.
  void SetUp() override {
    server_address = OwnAddress();
    server.emplace(server_address, kSyslogPort);
    if (!server->is_open()) {
      EndsItself();
      GTEST_SKIP() << "UDP port 514 at " << server_address << " takes a privilege that this run lacks";
    }
  }
  static std::string Host() {
    std::array<char, 256> host{};
    EXPECT_EQ(::gethostname(host.data(), host.size() - 1), 0);
    return host.data();
  }
  // One client comes and goes: two messages of level 5.
  void ComeAndGo() {
    {
      Client client = Connect();
      EXPECT_TRUE(client.ask("VER", kVersion));
    }
    ASSERT_TRUE(wait_until([&] { return Ends() > seen_ends; }));
    seen_ends = Ends();
  }
  [[nodiscard]] std::size_t Ends() const {
    std::size_t count = 0;
    for (const std::string& line : lines_of(station.stdout_text())) {
      if (line.find("connection closed") != std::string::npos) ++count;
    }
    return count;
  }
  // What came, less the warnings of a station on a loaded machine.
  [[nodiscard]] Lines Came() const {
    Lines came = server->datagrams();
    std::erase_if(came,
                  [](const std::string& text) { return text.find("]: GPIO scan ") != std::string::npos; });
    return came;
  }
  // Replaces the file; its time differs by whole seconds, as it does when a person edits it.
  void Reconfigure(const std::string& text) {
    const auto old = std::filesystem::last_write_time(station.root().file(kParams));
    Replace(kParams, text);
    std::filesystem::last_write_time(station.root().file(kParams), old + std::chrono::seconds(5));
  }

  std::string server_address;
  std::optional<UdpSink> server;
  std::size_t seen_ends = 0;
};

TEST_F(Log, DatagramsHavePriorityHostProgramAndMessage) {
  station.write_log_params(server_address, 5);
  Start();
  Client client = Connect();
  ASSERT_TRUE(server->wait_for("]: connected 127.0.0.1:"));
  EXPECT_THAT(server->datagrams(),
              Contains(MatchesRegex("<13> " + Host() + " harkd\\[" + std::to_string(station.pid()) +
                                    "\\]: connected 127\\.0\\.0\\.1:[0-9]+, connection id: [0-9]+")))
      << "no line end";
  EXPECT_TRUE(server->wait_for("<11> ")) << "level 3: no settings file";
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_TRUE(server->wait_for("harkd[" + std::to_string(station.pid()) + "]: SIGTERM received"));
}

TEST_F(Log, LevelFiveIsTheMostWithoutALevel) {
  Start();
  Replace(kParams, "SyslogServer_IPaddr " + server_address + "\nUnknown key\n");
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:127.0.0.1:1"));  // logged at level 6
  ASSERT_TRUE(Traced("harkd reconnect to 127.0.0.1:1\n"));
  ComeAndGo();
  ASSERT_TRUE(server->wait_for("disconnected connection id: "));
  EXPECT_EQ(server->count("connect to console"), 0);
}

TEST_F(Log, HigherLevelsAreSentWhenTheFileAsksForThem) {
  station.write_log_params(server_address, 6);
  ExpectLog("]: ");
  Start();
  EXPECT_TRUE(server->wait_for("<14> "));
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:127.0.0.1:1"));
  EXPECT_TRUE(server->wait_for("<14> " + Host() + " harkd[" + std::to_string(station.pid()) +
                               "]: connect to console 127.0.0.1:1"));
  EXPECT_EQ(server->count("<15> "), 0);
}

TEST_F(Log, ChangedFileCountsFromTheNextMessageOn) {
  station.write_log_params("0.0.0.0", 5);
  Start();
  ComeAndGo();
  EXPECT_THAT(Came(), IsEmpty());
  Reconfigure("SyslogServer_IPaddr " + server_address + "\n");
  ComeAndGo();
  EXPECT_TRUE(server->wait_for("disconnected connection id: "));
  server->forget();
  Reconfigure("SyslogServer_SeverityLevel 7\n");                       // the address is gone
  Reconfigure("SyslogServer_SeverityLevel 7\nSyslogServer_IPaddr\n");  // one word is no pair
  std::filesystem::last_write_time(station.root().file(kParams),
                                   std::filesystem::file_time_type::clock::now() + std::chrono::seconds(60));
  ComeAndGo();
  EXPECT_THAT(Came(), IsEmpty());
  Reconfigure("SyslogServer_SeverityLevel 0x4\nSyslogServer_IPaddr " + server_address + "\n");
  ComeAndGo();
  EXPECT_THAT(Came(), IsEmpty()) << "level 5 does not pass 4";
  ExpectLog("]: ");
}

TEST_F(Log, MissingFileLeavesTheLastValuesInForce) {
  station.write_log_params(server_address, 5);
  Start();
  ASSERT_TRUE(server->wait_for("configuration file not found"));
  station.root().remove(kParams);
  ComeAndGo();
  EXPECT_TRUE(server->wait_for("disconnected connection id: "));
}

TEST(LogInTheBackground, GoesToTheServerOnly) {
  const std::string address = OwnAddress();
  UdpSink server(address, kSyslogPort);
  if (!server.is_open()) GTEST_SKIP() << "UDP port 514 takes a privilege that this run lacks";
  RoutingSim sim;
  StationOptions options;
  options.debug = false;
  options.routing_port = sim.port();
  Station station(options);
  station.write_log_params(address, 5);
  ASSERT_TRUE(station.start());
  Client client(station.ctrl_port());
  EXPECT_TRUE(server.wait_for("harkd[" + std::to_string(station.pid()) + "]: connected 127.0.0.1:"));
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_EQ(station.stderr_text(), "");
  EXPECT_TRUE(ended_well(station));
}

}  // namespace
}  // namespace hark::test

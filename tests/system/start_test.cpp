// The station from its first line to its last: what it tells the routing daemon, how it goes to the
// background, what it leaves, and the reasons for which it does not start.
#include <unistd.h>

#include <filesystem>
#include <regex>

#include "system/station_fixture.h"
#include "system/support/ports.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

class StationStart : public StationTest {
 protected:
  // The station ends by itself before its loop runs.
  int StatusOfFailedStart() {
    EndsItself();
    station.launch();
    return station.wait_exit();
  }
};

TEST_F(StationStart, TellsTheRoutingDaemonOfItsMixerAndAnswersVersion) {
  Start();
  Client client = Connect();
  ASSERT_TRUE(client.send_line("VER"));
  EXPECT_EQ(client.read_line_with_end(), std::string(kVersion) + "\r\n");
  EXPECT_THAT(sim->received(),
              ElementsAre("get supv state",
                          ContainsRegex("^create vmix2 app_id=\"orfe:app:hark#1@([0-9A-F]{12}|unknown)\"$"),
                          "set hark#1.sub#2.sub_out src_id=\"\"", "set hark#1.sub#2.sub_out src_name=\"\"",
                          "set hark#1.sub#1.sub_out src_id=\"\""));
}

TEST_F(StationStart, PrintsTheBuildFirstAndTheExitLastInTheForeground) {
  Start();
  EXPECT_TRUE(Traced("harkd_initialize 0\n"));
  EXPECT_EQ(station.terminate(), 0);
  const Lines lines = lines_of(station.stdout_text());
  ASSERT_GE(lines.size(), 3U);
  EXPECT_THAT(lines.front(), MatchesRegex("harkd [A-Z][a-z]+ .*[0-9]{4}"));
  EXPECT_EQ(lines.back(), "harkd exit 0");
}

TEST_F(StationStart, InterfaceWithoutHardwareAddressIsToldAndTheNameStaysEmpty) {
  Start();
  Client client = Connect();
  EXPECT_TRUE(client.ask("HARK", "HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0"));
  EXPECT_THAT(station.stdout_text(), HasSubstr("SIOCGIFHWADDR(nonic0): No such device\n"));
}

TEST(StartWithAnInterface, NameIsMadeOfItsHardwareAddress) {
  StationOptions options;
  options.nic = "lo";  // whose address is all zeros
  Station station(options);
  ASSERT_TRUE(station.start());
  Client client(station.ctrl_port());
  const std::string rest = " TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0";
  EXPECT_TRUE(client.ask("HARK", "HARK LABL:\"IC 000000\"" + rest));
  EXPECT_THAT(answers(client, "HARK LABL:\"a name that is long\""),
              ElementsAre("HARK LABL:\"a name tha\"" + rest));
  EXPECT_THAT(answers(client, "HARK LABL:\"\""), ElementsAre("HARK LABL:\"IC 000000\"" + rest))
      << "an empty name is the default one";
  EXPECT_TRUE(ended_well(station));
}

TEST_F(StationStart, WithoutASourceNoServiceExistsAndTheSourceReplyBringsThemInTheSamePass) {
  station.write_settings("HARK LABL:\"STUDIO A\"\n");
  Start();
  ExpectLog("line seize failed");
  ExpectLog("]: Service 1 error ");
  const std::string call = "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1";
  Client client = Connect();
  // Both lines are worked off in one pass, and the services are made at its end.
  ASSERT_TRUE(client.send_raw("SRC 1 RTPA:\"239.192.0.1:5004\"\r\n" + call + "\r\n"));
  EXPECT_TRUE(client.expect_line(kCallFailed));
  EXPECT_THAT(answers(client, call), ElementsAre());
  EXPECT_TRUE(sim.wait_received("set hark#1.sub#1.in#1 src_id=\"239.192.0.10\", gain=0"));
}

TEST_F(StationStart, SourceReplyOfTheRoutingDaemonBringsTheServices) {
  station.write_settings("HARK LABL:\"STUDIO A\"\n");
  Start();
  ASSERT_TRUE(sim->send("SRC 2 PSNM:\"Other\" RTPA:\"239.192.0.9:5004\""));
  ASSERT_TRUE(sim->send("SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\""));
  Client client = Connect();
  ASSERT_TRUE(wait_until([&] {
    return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\""};
  })) << "only the station's own source counts";
  EXPECT_THAT(answers(client, "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1"), ElementsAre());
}

TEST_F(StationStart, TakenControlPortEndsWithStatus1) {
  const UniqueFd taken = bound_socket(SOCK_STREAM, "0.0.0.0", station.ctrl_port());
  ASSERT_EQ(::listen(taken.get(), 1), 0);
  EXPECT_EQ(StatusOfFailedStart(), 1);
  EXPECT_THAT(station.stdout_text() + station.stderr_text(),
              HasSubstr("harkd: bind(0.0.0.0:" + std::to_string(station.ctrl_port()) + ") err=98\n"));
  EXPECT_THAT(station.stdout_text(), HasSubstr("harkd_initialize -1\n"));
  EXPECT_FALSE(station.root().exists("var/run/harkd.pid"));
}

class Background : public StationTest {
 protected:
  static StationOptions InBackground() {
    StationOptions options;
    options.debug = false;
    return options;
  }
  Background() : StationTest(InBackground()) {}
};

TEST_F(Background, IsADaemonWithAPidFileThatGoesWithIt) {
  Start();
  EXPECT_EQ(station.root().read("var/run/harkd.pid"), std::to_string(station.pid()) + "\n");
  EXPECT_EQ(::getsid(station.pid()), station.pid()) << "a session of its own";
  std::error_code error;
  EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(station.pid()) + "/cwd", error), "/");
  Client client = Connect();
  EXPECT_TRUE(client.ask("VER", kVersion));
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_FALSE(station.root().exists("var/run/harkd.pid"));
  EXPECT_THAT(station.stdout_text(), MatchesRegex("harkd [^\n]+\nSIOCGIFHWADDR[^\n]+\n"));
  EXPECT_EQ(station.stderr_text(), "") << "the log is copied in the foreground only";
}

TEST_F(Background, ForegroundWritesThePidFileToo) {
  StationOptions options;
  options.routing_port = sim.port();
  Station foreground(options);
  ASSERT_TRUE(foreground.start());
  EXPECT_EQ(foreground.root().read("var/run/harkd.pid"), std::to_string(foreground.pid()) + "\n");
  EXPECT_TRUE(ended_well(foreground));
  EXPECT_FALSE(foreground.root().exists("var/run/harkd.pid"));
  EndsItself();
}

TEST_F(Background, FailedStartIsSeenByWhoStartedIt) {
  EndsItself();
  const UniqueFd taken = bound_socket(SOCK_STREAM, "0.0.0.0", station.ctrl_port());
  ASSERT_EQ(::listen(taken.get(), 1), 0);
  station.launch();
  EXPECT_EQ(station.wait_exit(), 1);
  EXPECT_THAT(station.stdout_text(), HasSubstr("harkd_initialize -1\n"));
}

TEST(TwoStations, RunOnOneMachineByAddressAndPortsAlone) {
  RoutingSim sims[2];
  StationOptions options[2];
  const std::string sip_port = std::to_string(free_sip_base("127.0.5.1"));
  for (int i : {0, 1}) {
    options[i].sip_ip = "127.0.5." + std::to_string(i + 1);
    options[i].routing_port = sims[i].port();
    // One SIP port for both: the addresses differ.
    options[i].extra_args = {"-sip_port", sip_port};
  }
  Station stations[2] = {Station(options[0]), Station(options[1])};
  for (int i : {0, 1}) {
    stations[i].write_settings(kIdentity);
    ASSERT_TRUE(stations[i].start());
    ASSERT_TRUE(sims[i].wait_mixer());
  }
  for (int i : {0, 1}) {
    Client client(stations[i].ctrl_port());
    EXPECT_THAT(answers(client, "CALL URL:\"quillnet:239.192.1." + std::to_string(i + 1) + "\" LISTEN:1"),
                ElementsAre());
  }
  for (int i : {0, 1}) {
    const std::string own = std::to_string(i + 1);
    const std::string other = std::to_string(2 - i);
    EXPECT_TRUE(sims[i].wait_received("set hark#1.sub#1.in#1 src_id=\"239.192.1." + own + "\", gain=0"));
    EXPECT_FALSE(sims[i].has_received("set hark#1.sub#1.in#1 src_id=\"239.192.1." + other + "\", gain=0"));
    EXPECT_TRUE(ended_well(stations[i]));
    EXPECT_TRUE(sims[i].refused_nothing());
  }
}

}  // namespace
}  // namespace hark::test

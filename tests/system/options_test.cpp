// The command line and the option file as the started process takes them: who overrides whom, and the usage
// text byte for byte.
#include "system/station_fixture.h"
#include "system/support/ports.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kCall[] = "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1";

std::string usage(const std::string& program, int sip, int ctrl, int routing, const std::string& io,
                  const std::string& nic) {
  return "harkd - Quillnet Intercom Control Service\n"
         "usage: " +
         program +
         " [-debug] [-sip_ip] [-sip_port] [-ctrl_port] [-qnr_port]\n"
         "  -sip_ip    - local NIC name or IP to use\n"
         "  -sip_port  - UDP port of SIP service (default: " +
         std::to_string(sip) +
         ")\n"
         "  -ctrl_port - UI/remote port (default: " +
         std::to_string(ctrl) +
         ")\n"
         "  -qnr_port  - Quillnet Routing Daemon's addr:port or port (default: 127.0.0.1:" +
         std::to_string(routing) +
         ")\n"
         "  -qnr_io    - Quillnet Routing I/O: DST.min-DST.max,SRC (default: " +
         io +
         ")\n"
         "  -i         - local iface name (default: " +
         nic + ")\n";
}

// The station's standard output with its first line, which names the build, taken off.
std::string behind_version(const Station& station) {
  const std::string text = station.stdout_text();
  EXPECT_THAT(text, StartsWith("harkd "));
  return text.substr(std::min(text.size(), text.find('\n') + 1));
}

class Options : public testing::Test {
 protected:
  // A station for `sim`, with more words on its command line.
  static StationOptions With(Lines words) {
    StationOptions options;
    options.extra_args = std::move(words);
    return options;
  }
  static bool ConnectsTo(const RoutingSim& sim) { return bool{sim.wait_mixer()}; }
};

TEST_F(Options, MissingValueAndUnknownWordPrintTheUsageAndEndWithStatus1) {
  for (const Lines& words : {Lines{"-i"}, Lines{"-qnr_io"}, Lines{"-DEBUG"}, Lines{"word", "-debug"}}) {
    SCOPED_TRACE(words.front());
    StationOptions options = With(words);
    options.routing_port = 4444;
    options.binary = HARKD_BINARY;
    Station station(options);
    station.launch();
    EXPECT_EQ(station.wait_exit(), 1);
    EXPECT_EQ(behind_version(station),
              usage(HARKD_BINARY, station.sip_port(), station.ctrl_port(), 4444, "1-8,1", "nonic0"));
    EXPECT_EQ(station.stderr_text(), "");
    EXPECT_THAT(station.root().files(), ElementsAre("stderr", "stdout"));
  }
}

TEST_F(Options, UsageShowsWhatWasReadSoFar) {
  StationOptions options = With({"-qnr_io", "3-6,2", "-i", "other0", "-sip_port", "7000", "-ctrl_port"});
  options.routing_port = 4444;
  options.binary = HARKD_BINARY;
  Station station(options);
  station.launch();
  EXPECT_EQ(station.wait_exit(), 1);
  EXPECT_EQ(behind_version(station), usage(HARKD_BINARY, 7000, station.ctrl_port(), 4444, "3-6,2", "other0"));
}

TEST_F(Options, FileOverridesTheCommandLine) {
  RoutingSim sim;
  const int other_port = free_tcp_port();
  Station station(With({}));
  station.write_harkd_conf("# the station in studio A\n\nctrl_port \t" + std::to_string(other_port) +
                           "\r\nqnr_port " + std::to_string(sim.port()) + "\n");
  ASSERT_TRUE(station.start());
  EXPECT_TRUE(sim.wait_mixer()) << "the command line named a port where nobody listens";
  Client client;
  EXPECT_FALSE(client.connect(station.ctrl_port()));
  ASSERT_TRUE(client.connect(other_port));
  EXPECT_TRUE(client.ask("VER", kVersion));
  EXPECT_TRUE(ended_well(station));
}

TEST_F(Options, BadFileEndsTheStartLikeABadCommandLine) {
  for (const char* text : {"no_such_option 1\n", "-sip_port 5060\n", "ctrl_port \n", "Ctrl_port 4013\n"}) {
    SCOPED_TRACE(text);
    Station station(With({}));
    station.write_harkd_conf(text);
    station.launch();
    EXPECT_EQ(station.wait_exit(), 1);
    EXPECT_THAT(behind_version(station), HasSubstr("\nusage: harkd [-debug] [-sip_ip]"));
  }
}

TEST_F(Options, RoutingAddressOfTheCommandLineIsOverwrittenButItsPortStays) {
  RoutingSim sim;
  Station station(With({"-qnr_port", "10.0.0.1:" + std::to_string(sim.port())}));
  ASSERT_TRUE(station.start());
  EXPECT_TRUE(ConnectsTo(sim));
  EXPECT_TRUE(ended_well(station));
}

TEST_F(Options, RoutingAddressOfTheFileCounts) {
  RoutingSim sim({}, "127.0.5.3");
  Station station(With({}));
  station.write_harkd_conf("qnr_port 127.0.5.3:" + std::to_string(sim.port()) + "\n");
  ASSERT_TRUE(station.start());
  EXPECT_TRUE(ConnectsTo(sim));
  EXPECT_TRUE(ended_well(station));
}

TEST_F(Options, RoutingAddressAloneLeavesThePortInForce) {
  RoutingSim sim({}, "127.0.5.4");
  StationOptions options = With({});
  options.routing_port = sim.port();
  Station station(options);
  station.write_harkd_conf("qnr_port 127.0.5.4\n");
  ASSERT_TRUE(station.start());
  EXPECT_TRUE(ConnectsTo(sim));
  EXPECT_TRUE(ended_well(station));
}

TEST_F(Options, RoutingDestinationsShiftTheInputsOfTheListenLines) {
  RoutingSim sim;
  StationOptions options = With({"-qnr_io", "11-18,2"});
  options.routing_port = sim.port();
  Station station(options);
  station.write_settings("HARK LABL:\"STUDIO A\"\n");
  ASSERT_TRUE(station.start());
  ASSERT_TRUE(sim.wait_mixer());
  ASSERT_TRUE(sim->send("SRC 1 RTPA:\"239.192.0.9:5004\""));
  ASSERT_TRUE(sim->send("SRC 2 RTPA:\"239.192.0.1:5004\""));
  Client client(station.ctrl_port());
  ASSERT_TRUE(wait_until([&] {
    return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"\" RTPA:\"239.192.0.1:5004\""};
  })) << "source 2 of the routing daemon is this station's own";
  EXPECT_THAT(answers(client, kCall), ElementsAre());
  EXPECT_TRUE(sim.wait_received("set hark#1.sub#1.in#11 src_id=\"239.192.0.10\", gain=0"));
  EXPECT_TRUE(ended_well(station));
}

// Without an address no SIP service is made and no call can be: so calls tell whether one was found.
class Address : public testing::Test {
 protected:
  static Lines AnswerToCall(StationOptions options, const char* conf) {
    options.sip_ip = "127.0.0.1";
    options.extra_args.insert(options.extra_args.begin(), {"-sip_ip", "0.0.0.0"});
    Station station(options);
    station.write_harkd_conf(conf);
    station.write_settings(kIdentity);
    EXPECT_TRUE(station.start());
    Client client(station.ctrl_port());
    let_it_settle(client);
    const Lines lines = answers(client, kCall);
    client.close();
    EXPECT_TRUE(ended_well(station, {"line seize failed", "]: Service 1 error "}));
    return lines;
  }
};

TEST_F(Address, ComesFromTheInterface) {
  StationOptions options;
  options.nic = "lo";
  EXPECT_THAT(AnswerToCall(options, ""), ElementsAre());
}

TEST_F(Address, UnknownInterfaceGivesNone) { EXPECT_THAT(AnswerToCall({}, ""), ElementsAre(kCallFailed)); }

TEST_F(Address, InterfaceNamedForSipCountsInTheFileOnly) {
  StationOptions options;
  options.extra_args = {"-sip_ip", "lo"};
  EXPECT_THAT(AnswerToCall(options, ""), ElementsAre(kCallFailed)) << "overwritten by the default";
  EXPECT_THAT(AnswerToCall({}, "sip_ip lo\n"), ElementsAre());
}

TEST_F(Address, NumberForSipStaysInForceWithoutAnInterface) {
  EXPECT_THAT(AnswerToCall({}, "sip_ip 127.0.5.5\n"), ElementsAre());
}

}  // namespace
}  // namespace hark::test

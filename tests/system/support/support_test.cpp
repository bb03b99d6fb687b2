// The helpers of the system tests, tried on each other and on a stand-in for the station: a helper that
// cannot fail proves nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "base/fd.h"
#include "system/support/client.h"
#include "system/support/fake_console.h"
#include "system/support/ports.h"
#include "system/support/pump.h"
#include "system/support/routing_sim.h"
#include "system/support/sockets.h"
#include "system/support/station.h"
#include "system/support/temp_root.h"
#include "system/support/udp_sink.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kShortMs = 30;

TEST(Waits, EndWithTheConditionOrTheTime) {
  int looks = 0;
  EXPECT_TRUE(wait_until([&] { return ++looks == 3; }));
  EXPECT_FALSE(wait_until([] { return false; }, kShortMs));
  EXPECT_TRUE(stays([] { return true; }, kShortMs));
  looks = 0;
  EXPECT_FALSE(stays([&] { return ++looks < 3; }, kShortMs));
}

TEST(Ports, AreFreeAndDiffer) {
  const int first = free_tcp_port();
  const int second = free_tcp_port();
  EXPECT_GT(first, 0);
  EXPECT_NE(first, second);
  EXPECT_GT(free_sip_base("127.0.0.2"), 0);
  Client client;
  EXPECT_FALSE(client.connect(closed_tcp_port()));
}

TEST(TempRoots, HaveTheFoldersOfAStationAndGo) {
  std::string path;
  {
    const TempRoot root;
    path = root.path();
    root.write("/etc/Orfe/hark/harkid", "HARK\n");
    EXPECT_EQ(root.read("etc/Orfe/hark/harkid"), "HARK\n");
    EXPECT_THAT(root.files(), ElementsAre("etc/Orfe/hark/harkid"));
    EXPECT_EQ(root.read("no such file"), "");
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Clients, TalkWithAConsoleFromSeveralHosts) {
  FakeConsole console("127.0.0.3");
  ASSERT_TRUE(console.listening());
  Client client;
  ASSERT_TRUE(client.connect(console.port(), "127.0.0.9", "127.0.0.3"));
  ASSERT_TRUE(wait_until([&] { return console.connected(); }));
  sockaddr_in own{};
  socklen_t size = sizeof own;
  ASSERT_EQ(::getsockname(client.fd(), reinterpret_cast<sockaddr*>(&own), &size), 0);
  EXPECT_EQ(own.sin_addr.s_addr, ipv4("127.0.0.9", 0).sin_addr.s_addr);

  ASSERT_TRUE(client.send_raw("GET Intercom type\r\nSUB "));
  ASSERT_TRUE(client.send_raw("Intercom\r\n"));
  EXPECT_TRUE(console.wait_line("GET Intercom type"));
  EXPECT_TRUE(console.wait_line("SUB Intercom"));
  EXPECT_FALSE(console.wait_line("SUB", kShortMs));

  ASSERT_TRUE(console.send_line("INDI Intercom type=1"));
  ASSERT_TRUE(console.send_line("a"));
  ASSERT_TRUE(console.send_line("b"));
  EXPECT_EQ(client.read_line_with_end(), "INDI Intercom type=1\r\n");
  EXPECT_FALSE(client.expect_line("b")) << "the next line was a";
  EXPECT_TRUE(client.skip_to("b"));
  EXPECT_FALSE(client.skip_to("c", kShortMs));
  EXPECT_TRUE(client.expect_silence(kShortMs));
  EXPECT_FALSE(client.wait_closed(kShortMs));

  console.close_connection();
  EXPECT_TRUE(client.wait_closed());
  EXPECT_EQ(client.read_line(), std::nullopt);
}

TEST(Clients, SeeLinesThatCameBeforeTheEnd) {
  FakeConsole console;
  Client client(console.port());
  ASSERT_TRUE(wait_until([&] { return console.connected(); }));
  ASSERT_TRUE(console.send_line("last words"));
  console.close_connection();
  EXPECT_TRUE(client.wait_closed());
  EXPECT_TRUE(client.expect_line("last words"));
  EXPECT_FALSE(client.expect_line("more"));
}

TEST(FakeConsoles, RefuseAndAcceptAgain) {
  FakeConsole console;
  console.refuse();
  Client client;
  EXPECT_FALSE(client.connect(console.port()));
  ASSERT_TRUE(console.accept());
  ASSERT_TRUE(client.connect(console.port()));
  EXPECT_TRUE(wait_until([&] { return console.connections() == 1; }));
  client.abort();
  EXPECT_TRUE(wait_until([&] { return !console.connected(); }));
}

TEST(UdpSinks, KeepDatagrams) {
  UdpSink sink;
  ASSERT_TRUE(sink.is_open());
  const UniqueFd sender = bound_socket(SOCK_DGRAM, "127.0.0.1", 0);
  const sockaddr_in to = ipv4("127.0.0.1", sink.port());
  for (const std::string text : {"<13> one", "<11> two"}) {
    ASSERT_EQ(::sendto(sender.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                       sizeof to),
              static_cast<ssize_t>(text.size()));
  }
  EXPECT_TRUE(sink.wait_for("two"));
  EXPECT_FALSE(sink.wait_for("three", kShortMs));
  EXPECT_EQ(sink.count("<1"), 2);
  EXPECT_THAT(sink.datagrams(), ElementsAre("<13> one", "<11> two"));
}

TEST(RoutingSims, TellWhatTheyMiss) {
  RoutingSim sim;
  EXPECT_FALSE(sim.wait_mixer(kShortMs));
  Client station(sim.port());
  ASSERT_TRUE(station.send_line("get supv state"));
  EXPECT_TRUE(sim.wait_received("get supv state"));
  EXPECT_FALSE(sim.wait_received("get supv", kShortMs));
  EXPECT_EQ(sim.count("get supv state"), 1);
  EXPECT_TRUE(sim.refused_nothing());
}

// A program that behaves as far as the harness can tell: pid file, status, words on stdout and stderr.
class StandIn : public testing::Test {
 protected:
  StationOptions Options(const std::string& at_end) {
    const std::string pid_file = "$HARK_ROOT/var/run/harkd.pid";
    folder_.write("harkd", "#!/bin/sh\necho \"$@\"\ntrap '" + at_end + "' TERM\necho $$ > " + pid_file +
                               "\nwhile :; do sleep 0.02; done\n");
    EXPECT_EQ(::chmod(folder_.file("harkd").c_str(), 0700), 0);
    StationOptions options;
    options.binary = folder_.file("harkd");
    options.sip_ip = "127.0.0.4";
    options.extra_args = {"-extra"};
    return options;
  }
  static std::string RemovePidFile() { return "rm -f $HARK_ROOT/var/run/harkd.pid; "; }

  TempRoot folder_;
};

TEST_F(StandIn, IsStartedWithItsOptionsAndEndsClean) {
  Station station(Options(RemovePidFile() + "exit 0"));
  station.write_log_params("127.0.0.1", 7);
  EXPECT_EQ(station.root().read("etc/Orfe/EngConf/SyslogServerParams.cfg"),
            "SyslogServer_IPaddr 127.0.0.1\nSyslogServer_SeverityLevel 7\n");
  ASSERT_TRUE(station.start());
  EXPECT_TRUE(station.alive());
  EXPECT_THAT(station.stdout_text(),
              HasSubstr("-debug -i nonic0 -sip_ip 127.0.0.4 -sip_port " + std::to_string(station.sip_port()) +
                        " -ctrl_port " + std::to_string(station.ctrl_port()) + " -qnr_port "));
  EXPECT_THAT(station.stdout_text(), HasSubstr(" -extra\n"));
  EXPECT_GT(station.resident_kib(), 0);
  EXPECT_GE(station.open_fds(), 3);
  EXPECT_GE(station.cpu_ms(), 0);
  EXPECT_TRUE(station.ends_clean());
  EXPECT_FALSE(station.alive());
  EXPECT_EQ(station.resident_kib(), -1);
  EXPECT_EQ(station.open_fds(), -1);
  ASSERT_TRUE(station.start()) << "again, on the same files";
  EXPECT_EQ(station.terminate(), 0);
}

TEST_F(StandIn, DirtyEndsAreSeen) {
  Station bad_status(Options(RemovePidFile() + "exit 3"));
  ASSERT_TRUE(bad_status.start());
  EXPECT_THAT(bad_status.ends_clean().message(), HasSubstr("status 3"));

  Station report(Options(RemovePidFile() + "echo \"x.cpp:1: runtime error: y\" >&2; exit 0"));
  ASSERT_TRUE(report.start());
  EXPECT_THAT(report.ends_clean().message(), HasSubstr("runtime error"));

  Station pid_file(Options("exit 0"));
  ASSERT_TRUE(pid_file.start());
  EXPECT_THAT(pid_file.ends_clean().message(), HasSubstr("left behind: var/run/harkd.pid"));

  Station half_file(Options(RemovePidFile() + "echo > $HARK_ROOT/tmp/harkid~; exit 0"));
  ASSERT_TRUE(half_file.start());
  EXPECT_THAT(half_file.ends_clean().message(), HasSubstr("left behind: tmp/harkid~"));
}

TEST_F(StandIn, KillsAndFailedStartsAreToldByStatus) {
  Station killed(Options("exit 0"));
  ASSERT_TRUE(killed.start());
  killed.send_signal(SIGKILL);
  EXPECT_EQ(killed.wait_exit(), 128 + SIGKILL);

  Station deaf(Options(":"));
  ASSERT_TRUE(deaf.start());
  EXPECT_EQ(deaf.terminate(kShortMs), -1);
  EXPECT_TRUE(deaf.alive());

  StationOptions missing;
  missing.binary = "/nonexistent";
  Station absent(missing);
  EXPECT_FALSE(absent.start());
  EXPECT_EQ(absent.wait_exit(), 127);
}

TEST_F(StandIn, GoesToTheBackground) {
  StationOptions options = Options(RemovePidFile() + "exit 4");
  const std::string daemon = folder_.file("daemon");
  std::filesystem::rename(options.binary, daemon);
  folder_.write("harkd", "#!/bin/sh\n" + daemon + " \"$@\" &\nexit 0\n");
  ASSERT_EQ(::chmod(options.binary.c_str(), 0700), 0);
  options.debug = false;
  Station station(options);
  ASSERT_TRUE(station.start());
  EXPECT_TRUE(station.alive());
  EXPECT_EQ(station.terminate(), 4);
}

}  // namespace
}  // namespace hark::test

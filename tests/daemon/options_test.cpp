// The command line: each option with each form of its value, and the words that end the scan with the usage
// text and status 1.
#include "daemon/options.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "daemon/station/station.h"

namespace hark {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::ExitedWithCode;
using testing::StartsWith;

std::string text_of(in_addr_t address) { return dotted(address).data(); }

class Options : public testing::Test {
 protected:
  Options() { station_reset(); }
  ~Options() override { station_reset(); }

  static void Scan(const std::vector<std::string>& words) {
    std::vector<const char*> argv = {"/usr/bin/harkd"};
    for (const std::string& word : words)
      argv.push_back(word.c_str());
    process_commands(static_cast<int>(argv.size()), argv.data());
  }
  // What goes to stdout, where a death test can see it.
  static void ScanAloud(const std::vector<std::string>& words) {
    (void)::dup2(STDERR_FILENO, STDOUT_FILENO);
    Scan(words);
  }
};

TEST_F(Options, NoneChangesNothing) {
  const Station before = station;
  Scan({});
  EXPECT_EQ(station.sip_port, before.sip_port);
  EXPECT_EQ(station.ctrl_port, before.ctrl_port);
  EXPECT_FALSE(station.dbg);
}

TEST_F(Options, DefaultsAreThoseThatTheUsageNames) {
  EXPECT_EQ(station.sip_port, 5060);
  EXPECT_EQ(station.ctrl_port, 4013);
  EXPECT_EQ(station.harkd_qnrd_port, 4010);
  EXPECT_EQ(station.harkd_qnrd_io_min, 1);
  EXPECT_EQ(station.harkd_qnrd_io_max, 8);
  EXPECT_EQ(station.harkd_qnrd_io_src, 1);
  EXPECT_EQ(station.harkd_iface_name, "eth0");
  EXPECT_EQ(station.harkd_ifa_name_default, "eth0");
  EXPECT_EQ(station.appName, "harkd");
  EXPECT_EQ(station.ApplicationSettingsFolder, "/etc/Orfe/hark");
  EXPECT_EQ(station.harkconfig_file, "/etc/Orfe/hark/harkd.conf");
  EXPECT_EQ(station.hark_nkeys, 90);
  EXPECT_EQ(station.tcp_backlog, 17);
}

TEST_F(Options, DebugTakesNoValue) {
  Scan({"-debug", "-sip_port", "7"});
  EXPECT_TRUE(station.dbg);
  EXPECT_EQ(station.sip_port, 7);
}

TEST_F(Options, SipIpIsAnAddressWhenItBeginsWithADigitAndElseAnInterface) {
  const std::string nic_at_start = station.ifa_name;
  Scan({"-sip_ip", "10.1.2.3"});
  EXPECT_EQ(text_of(station.sip_ip), "10.1.2.3");
  EXPECT_EQ(station.ifa_name, nic_at_start);
  Scan({"-sip_ip", "bond0.12"});
  EXPECT_EQ(text_of(station.sip_ip), "10.1.2.3");
  EXPECT_EQ(station.ifa_name, "bond0.12");
}

TEST_F(Options, PortsAreReadAsFarAsTheyAreNumbers) {
  struct Row {
    const char* value;
    int port;
  };
  for (const Row& row :
       {Row{"5070", 5070}, Row{"0", 0}, Row{"70x", 70}, Row{" 71", 71}, Row{"x", 0}, Row{"", 0}}) {
    SCOPED_TRACE(row.value);
    Scan({"-sip_port", row.value, "-ctrl_port", row.value, "-qnr_port", row.value});
    EXPECT_EQ(station.sip_port, row.port);
    EXPECT_EQ(station.ctrl_port, row.port);
    EXPECT_EQ(station.harkd_qnrd_port, row.port);
  }
}

TEST_F(Options, RoutingDaemonIsAnAddressAPortOrBoth) {
  struct Row {
    const char* value;
    const char* address;
    int port;
  };
  for (const Row& row : {
           Row{"4011", "127.0.0.1", 4011},
           Row{"10.0.0.1", "10.0.0.1", 4010},
           Row{"10.0.0.1:4011", "10.0.0.1", 4011},
           Row{"127.0.0.9:1", "127.0.0.9", 1},
       }) {
    SCOPED_TRACE(row.value);
    station_reset();
    Scan({"-qnr_port", row.value});
    EXPECT_EQ(text_of(station.harkd_qnrd_ipv4), row.address);
    EXPECT_EQ(station.harkd_qnrd_port, row.port);
  }
}

TEST_F(Options, RoutingIoTakesMinimumMaximumAndSource) {
  struct Row {
    const char* value;
    int min;
    int max;
    int src;
  };
  for (const Row& row : {
           Row{"11-18,3", 11, 18, 3},
           Row{"11-18", 11, 18, 11},
           Row{"6", 1, 6, 1},
           Row{"6,4", 1, 6, 4},
           Row{"5-5", 5, 5, 5},
           Row{"11-18,", 11, 18, 11},  // a comma without a number
           Row{"11-18,x", 11, 18, 11},
           Row{"5--1", 1, 8, 1},  // a negative number is no destination
           Row{"-5", 1, 8, 1},
           Row{"0x10-0x17,0x2", 16, 23, 2},
           Row{"010-020,07", 8, 16, 7},
           // Not taken, but for the source behind the comma.
           Row{"0-6,2", 1, 8, 2},
           Row{"5-2,7", 1, 8, 7},
           Row{"0,2", 1, 8, 2},
           Row{"x", 1, 8, 1},
           Row{",2", 1, 8, 2},
       }) {
    SCOPED_TRACE(row.value);
    station_reset();
    Scan({"-qnr_io", row.value});
    EXPECT_EQ(station.harkd_qnrd_io_min, row.min);
    EXPECT_EQ(station.harkd_qnrd_io_max, row.max);
    EXPECT_EQ(station.harkd_qnrd_io_src, row.src);
  }
}

TEST_F(Options, SingleRoutingIoNumberKeepsTheMinimumGivenBefore) {
  Scan({"-qnr_io", "3-6", "-qnr_io", "5"});
  EXPECT_EQ(station.harkd_qnrd_io_min, 3);
  EXPECT_EQ(station.harkd_qnrd_io_max, 5);
  EXPECT_EQ(station.harkd_qnrd_io_src, 3);
  Scan({"-qnr_io", "2"});
  EXPECT_EQ(station.harkd_qnrd_io_max, 5) << "below the minimum";
}

TEST_F(Options, InterfaceIsForTheNameAndForTheAddress) {
  Scan({"-i", "eth7"});
  EXPECT_EQ(station.harkd_iface_name, "eth7");
  EXPECT_EQ(station.harkd_ifa_name_default, "eth7");
}

TEST_F(Options, NextWordIsTheValueWhateverItLooksLike) {
  Scan({"-i", "-debug", "-sip_ip", "-i"});
  EXPECT_EQ(station.harkd_iface_name, "-debug");
  EXPECT_EQ(station.ifa_name, "-i");
  EXPECT_FALSE(station.dbg);
}

TEST_F(Options, LaterOnesWin) {
  Scan({"-sip_port", "1", "-sip_port", "2"});
  EXPECT_EQ(station.sip_port, 2);
}

constexpr char kUsage[] =
    "\nharkd - Quillnet Intercom Control Service\n"
    "usage: /usr/bin/harkd [-debug] [-sip_ip] [-sip_port] [-ctrl_port] [-qnr_port]\n"
    "  -sip_ip    - local NIC name or IP to use\n"
    "  -sip_port  - UDP port of SIP service (default: 5060)\n"
    "  -ctrl_port - UI/remote port (default: 4013)\n"
    "  -qnr_port  - Quillnet Routing Daemon's addr:port or port (default: 127.0.0.1:4010)\n"
    "  -qnr_io    - Quillnet Routing I/O: DST.min-DST.max,SRC (default: 1-8,1)\n"
    "  -i         - local iface name (default: eth0)\n";

using OptionsDeathTest = Options;

TEST_F(OptionsDeathTest, MissingValuePrintsVersionAndUsageAndEndsWithStatus1) {
  for (const char* option : {"-sip_ip", "-sip_port", "-ctrl_port", "-qnr_port", "-qnr_io", "-i"}) {
    SCOPED_TRACE(option);
    EXPECT_EXIT(ScanAloud({option}), ExitedWithCode(1),
                AllOf(StartsWith(std::string("harkd ") + build_stamp + "\n"), EndsWith(kUsage)));
  }
}

TEST_F(OptionsDeathTest, UnknownWordPrintsVersionAndUsageAndEndsWithStatus1) {
  for (const char* word : {"-Debug", "-DEBUG", "--debug", "debug", "-sip", "-sip_ip=1", "", "-", "-h", "x"}) {
    SCOPED_TRACE(word);
    EXPECT_EXIT(ScanAloud({word}), ExitedWithCode(1), EndsWith(kUsage));
  }
}

TEST_F(OptionsDeathTest, UsageShowsTheValuesInForce) {
  EXPECT_EXIT(ScanAloud({"-sip_port", "7", "-ctrl_port", "8", "-qnr_port", "9", "-qnr_io", "2-4,6", "-i",
                         "lo", "what"}),
              ExitedWithCode(1),
              EndsWith("(default: 7)\n"
                       "  -ctrl_port - UI/remote port (default: 8)\n"
                       "  -qnr_port  - Quillnet Routing Daemon's addr:port or port (default: 127.0.0.1:9)\n"
                       "  -qnr_io    - Quillnet Routing I/O: DST.min-DST.max,SRC (default: 2-4,6)\n"
                       "  -i         - local iface name (default: lo)\n"));
}

}  // namespace
}  // namespace hark

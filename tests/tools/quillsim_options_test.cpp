// The command line of the simulated routing daemon.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/quillsim/options.h"

namespace quillsim {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

Options parsed(const std::vector<std::string>& words) {
  Options options;
  EXPECT_EQ(parse_options(words, options), "");
  return options;
}

TEST(Options, DefaultsAreTheRoutingDaemonsOwnAddressAndNoConsole) {
  const Options options = parsed({});
  EXPECT_EQ(options.address, "127.0.0.1");
  EXPECT_EQ(options.port, 4010);
  EXPECT_EQ(options.sim.supv_line, "SUPV CONSOLE_IP:0.0.0.0");
  EXPECT_TRUE(options.script.empty());
  EXPECT_FALSE(options.strict);
}

TEST(Options, EachOptionIsStored) {
  const Options options = parsed({"--listen", "127.0.0.2:0", "--script", "a file", "--strict", "--wait-limit",
                                  "50", "--greet", "VER NGPI:24", "--greet", "SRC 1 RTPA:\"239.192.0.1\""});
  EXPECT_EQ(options.address, "127.0.0.2");
  EXPECT_EQ(options.port, 0);
  EXPECT_EQ(options.script, "a file");
  EXPECT_TRUE(options.strict);
  EXPECT_EQ(options.wait_limit.count(), 50);
  EXPECT_THAT(options.sim.greeting, ElementsAre("VER NGPI:24", "SRC 1 RTPA:\"239.192.0.1\""));
  EXPECT_TRUE(parsed({"--help", "whatever follows"}).help);
}

TEST(Options, SupervisorLineHoldsWhatIsGiven) {
  EXPECT_EQ(parsed({"--device-type", "RELAYCHASSIS"}).sim.supv_line,
            "INDI SUPV DEVICE_TYPE:\"RELAYCHASSIS\"");
  EXPECT_EQ(parsed({"--console-ip", "10.0.0.1:4020"}).sim.supv_line, "INDI SUPV CONSOLE_IP:10.0.0.1:4020");
  EXPECT_EQ(parsed({"--device-type", "X", "--console-ip", "10.0.0.1"}).sim.supv_line,
            "INDI SUPV CONSOLE_IP:10.0.0.1 DEVICE_TYPE:\"X\"");
}

TEST(Options, ConsoleIsNamedOnceItsPortIsKnown) {
  Options options = parsed({"--console", "3", "--console-port", "4020", "--draw", "--device-type", "X"});
  EXPECT_EQ(options.console_type, 3);
  EXPECT_EQ(options.console_port, 4020);
  EXPECT_TRUE(options.draw);
  announce_console(options, 4021);
  EXPECT_EQ(options.sim.supv_line, "INDI SUPV CONSOLE_IP:127.0.0.1:4021 DEVICE_TYPE:\"X\"");

  Options elsewhere = parsed({"--console", "1", "--listen", "127.0.0.2:0"});
  announce_console(elsewhere, 4021);
  EXPECT_EQ(elsewhere.console_ip, "127.0.0.2:4021");
  Options anywhere = parsed({"--console", "1", "--listen", "0.0.0.0:0"});
  announce_console(anywhere, 4021);
  EXPECT_EQ(anywhere.console_ip, "127.0.0.1:4021");
  EXPECT_EQ(parsed({}).console_type, std::nullopt);
}

TEST(Options, FarDeviceListensWhereItIsToldTo) {
  const Options options = parsed({"--far-device", "127.0.0.3:9301", "--far-password", "secret", "--far-dst",
                                  "3=239.192.0.7", "--far-dst", "40=1.2.3.4 <^PTT>", "--far-dst", "5="});
  EXPECT_EQ(options.far_address, "127.0.0.3");
  EXPECT_EQ(options.far_port, 9301);
  EXPECT_EQ(options.far_device.password, "secret");
  EXPECT_THAT(options.far_device.addresses,
              ElementsAre(Pair(3, "239.192.0.7"), Pair(5, ""), Pair(40, "1.2.3.4 <^PTT>")));
  const Options port_alone = parsed({"--far-device", "0"});
  EXPECT_EQ(port_alone.far_address, "") << "as the routing daemon's";
  EXPECT_EQ(port_alone.far_port, 0);
  EXPECT_EQ(parsed({}).far_port, std::nullopt);
}

TEST(Options, GroupIsJoinedOnTheInterfaceOfAnAddress) {
  EXPECT_EQ(parsed({"--ptt", "10.0.0.7"}).ptt_interface, "10.0.0.7");
  EXPECT_EQ(parsed({}).ptt_interface, "");
}

TEST(Options, BadWordsAreNamed) {
  const std::vector<std::vector<std::string>> rows = {
      {"4010"},
      {"--nonsense"},
      {"--listen"},
      {"--listen", "4010"},
      {"--listen", "localhost:4010"},
      {"--listen", "127.0.0.1:65536"},
      {"--listen", "127.0.0.1:"},
      {"--script", ""},
      {"--device-type", ""},
      {"--console-ip", "desk"},
      {"--greet", "hello"},
      {"--wait-limit", "0"},
      {"--wait-limit", "1s"},
      {"--console"},
      {"--console", "0"},
      {"--console", "4"},
      {"--console", "one"},
      {"--console-port", "65536", "--console", "1"},
      {"--console-port", "4020"},
      {"--draw"},
      {"--console", "1", "--console-ip", "10.0.0.1"},
      {"--far-device"},
      {"--far-device", ""},
      {"--far-device", "65536"},
      {"--far-device", "127.0.0.1"},
      {"--far-device", "device:93"},
      {"--far-device", "127.0.0.1:x"},
      {"--far-password", "", "--far-device", "0"},
      {"--far-password", "secret"},
      {"--far-dst", "3=x"},
      {"--far-dst", "3", "--far-device", "0"},
      {"--far-dst", "0=x", "--far-device", "0"},
      {"--far-dst", "10000=x", "--far-device", "0"},
      {"--far-dst", "=x", "--far-device", "0"},
      {"--ptt"},
      {"--ptt", "eth0"},
      {"--ptt", "127.0.0.1:4011"},
  };
  for (const auto& row : rows) {
    Options options;
    EXPECT_THAT(parse_options(row, options), HasSubstr(row.front())) << testing::PrintToString(row);
  }
}

TEST(Options, UsageNamesEveryOptionAndDirective) {
  const std::string usage = usage_text();
  for (const char* word : {"--listen",
                           "--script",
                           "--device-type",
                           "--console-ip",
                           "--greet",
                           "--wait-limit",
                           "--console",
                           "--console-port",
                           "--draw",
                           "--far-device",
                           "--far-password",
                           "--far-dst",
                           "--ptt",
                           "--strict",
                           "--help",
                           "press N",
                           "far-set N",
                           "ptt-hold N",
                           "wait MS",
                           "wait-for",
                           "show",
                           "close",
                           "quit"}) {
    EXPECT_THAT(usage, HasSubstr(word));
  }
}

}  // namespace
}  // namespace quillsim

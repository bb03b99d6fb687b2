// What the routing daemon is sent, byte for byte: the greeting of a connection, the outputs of the two subs,
// the inputs of the listen lines, and the general sender under them.
#include <arpa/inet.h>

#include <array>
#include <cstdio>

#include "base/text.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/harkqnr_gpio.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class HarkqnrCommand : public RoutingTest {
 protected:
  RecordingMixer mixer;
};

// The name by which the mixer is created: with the hardware address of eth0, whatever the options name.
std::string AppId() {
  std::array<unsigned char, 6> mac{};
  std::array<char, 13> digits{};
  if (!read_hardware_address("eth0", mac)) return "orfe:app:hark#1@unknown";
  format_text(digits, "%02X%02X%02X%02X%02X%02X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return std::string("orfe:app:hark#1@") + digits.data();
}

TEST_F(HarkqnrCommand, ConnectionIsGreetedWithSupervisorMixerAndBothOutputs) {
  station.harkd_iface_name = "lo";
  station.harkd_qnsrcch = inet_addr("239.192.0.5");
  station.harkd_qnprevch = inet_addr("239.192.1.2");
  copy_text(station.harkd_alt, "Main");
  LineSocket fresh;
  harkqnr_connected(fresh.fd());
  EXPECT_EQ(harkqnr_fd(), fresh.fd());
  EXPECT_EQ(fresh.Text(), "get supv state\r\ncreate vmix2 app_id=\"" + AppId() +
                              "\"\r\n"
                              "set hark#1.sub#2.sub_out src_id=\"239.192.0.5:5004\"\r\n"
                              "set hark#1.sub#2.sub_out src_name=\"Main\"\r\n"
                              "set hark#1.sub#1.sub_out src_id=\"239.192.1.2:5004\"\r\n");
  harkqnr_connected(-1);
  EXPECT_EQ(harkqnr_fd(), -1);
}

TEST_F(HarkqnrCommand, GreetingWithoutSourcesClearsBothOutputs) {
  LineSocket fresh;
  harkqnr_connected(fresh.fd());
  const std::vector<std::string> lines = fresh.Lines();
  EXPECT_THAT(lines,
              ElementsAre("get supv state", StartsWith("create vmix2 app_id=\"orfe:app:hark#1@"),
                          "set hark#1.sub#2.sub_out src_id=\"\"", "set hark#1.sub#2.sub_out src_name=\"\"",
                          "set hark#1.sub#1.sub_out src_id=\"\""));
  harkqnr_connected(-1);
}

TEST_F(HarkqnrCommand, OutputTakesAddressAndName) {
  struct Row {
    int sub;
    const char* address;
    const char* name;
    const char* sent;
  };
  constexpr std::array<Row, 6> kRows{{
      {1, "239.192.4.210", nullptr, "set hark#1.sub#1.sub_out src_id=\"239.192.4.210:5004\"\r\n"},
      {2, "1.2.3.4", "A",
       "set hark#1.sub#2.sub_out src_id=\"1.2.3.4:5004\"\r\nset hark#1.sub#2.sub_out src_name=\"A\"\r\n"},
      {2, "0.0.0.0", nullptr, "set hark#1.sub#2.sub_out src_id=\"\"\r\n"},
      {2, "0.0.0.0", "",
       "set hark#1.sub#2.sub_out src_id=\"\"\r\nset hark#1.sub#2.sub_out src_name=\"\"\r\n"},
      {2, "255.255.255.255", nullptr, ""},
      {1, "255.255.255.255", "B", "set hark#1.sub#1.sub_out src_name=\"B\"\r\n"},
  }};
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::to_string(row.sub) + " " + row.address);
    harkqnr_vmix2src(row.sub, inet_addr(row.address), row.name);
    EXPECT_EQ(mixer.Text(), row.sent);
  }
}

TEST_F(HarkqnrCommand, NameIsEscapedIntoTwentyCharacters) {
  harkqnr_vmix2src(kSubTalk, INADDR_NONE, R"(a"b\c)");
  EXPECT_EQ(mixer.Text(), "set hark#1.sub#2.sub_out src_name=\"a\\\"b\\\\c\"\r\n");
  harkqnr_vmix2src(kSubTalk, INADDR_NONE, R"(""""""""""")");  // eleven quotes: ten fit
  EXPECT_EQ(mixer.Text(),
            "set hark#1.sub#2.sub_out src_name=\"" + std::string(R"(\"\"\"\"\"\"\"\"\"\")") + "\"\r\n");
}

TEST_F(HarkqnrCommand, LineInputTakesSourceAndGain) {
  struct Row {
    int dst;
    const char* src;
    int gain;
    const char* sent;
  };
  constexpr std::array<Row, 6> kRows{{
      {0, "239.192.0.7", 0, "set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0\r\n"},
      {7, "10.0.0.1:5004", -240, "set hark#1.sub#1.in#8 src_id=\"10.0.0.1:5004\", gain=-240\r\n"},
      {3, nullptr, 0, "set hark#1.sub#1.in#4 src_id=\"\", gain=0\r\n"},
      {3, "", -1000, "set hark#1.sub#1.in#4 src_id=\"\", gain=-1000\r\n"},
      {1, "%s%d%n", 5, "set hark#1.sub#1.in#2 src_id=\"%s%d%n\", gain=5\r\n"},
      {-1, "239.192.0.7", 0, ""},
  }};
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.sent));
    harkqnr_ctrl(row.dst, row.src, row.gain, 0, 0);
    EXPECT_EQ(mixer.Text(), row.sent);
  }
  EXPECT_THAT(asked.input, IsEmpty());
}

TEST_F(HarkqnrCommand, GainAloneGoesToTheInputByLine) {
  harkqnr_dstgain(0, -240);
  harkqnr_dstgain(7, 30);
  harkqnr_dstgain(-1, 99);
  EXPECT_EQ(mixer.Text(), "set hark#1.sub#1.in#1 gain=-240\r\nset hark#1.sub#1.in#8 gain=30\r\n");
}

// Other ranges of destinations move the source command alone; deployments have been built on it.
TEST_F(HarkqnrCommand, FirstDestinationMovesTheSourceButNotTheGain) {
  station.harkd_qnrd_io_min = 11;
  harkqnr_ctrl(2, "1.2.3.4", 0, 0, 0);
  harkqnr_dstgain(2, -10);
  EXPECT_THAT(mixer.Lines(), ElementsAre("set hark#1.sub#1.in#13 src_id=\"1.2.3.4\", gain=0",
                                         "set hark#1.sub#1.in#3 gain=-10"));
}

TEST_F(HarkqnrCommand, ContactOfALineIsClosedAndOpened) {
  struct Row {
    int base;
    const char* src;
    int gpio;
    int pin;
    const char* input;  // empty: none
  };
  constexpr std::array<Row, 10> kRows{{
      {1, "1.2.3.4", 1, 1, "GPI 2 Lxxxx\r\n"},
      {1, "1.2.3.4", 2, 2, "GPI 3 xLxxx\r\n"},
      {1, "", 1, 3, "GPI 2 xxLxx\r\n"},
      {1, nullptr, 1, 4, "GPI 2 xxxHx\r\n"},
      {16, nullptr, 3, 5, "GPI 19 xxxxH\r\n"},
      {16, "", 3, 5, "GPI 19 xxxxL\r\n"},
      {1, "1.2.3.4", 0, 1, ""},
      {1, "1.2.3.4", 1, 0, ""},
      {1, nullptr, 0, 0, ""},
      {1, nullptr, 0, 3, ""},
  }};
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.input) + " gpio " + std::to_string(row.gpio) + " pin " +
                 std::to_string(row.pin));
    asked.input.clear();
    station.harkd_qnrd_gpio_base = row.base;
    harkqnr_ctrl(-1, row.src, 0, row.gpio, row.pin);
    EXPECT_EQ(asked.input.empty() ? "" : asked.input.front(), row.input);
    EXPECT_EQ(mixer.Text(), "");
  }
}

TEST_F(HarkqnrCommand, PinThatNoPortHasChangesNone) {
  for (const int pin : {6, 7, 100, -1, -100, 2'000'000'000}) {
    SCOPED_TRACE(pin);
    asked.input.clear();
    harkqnr_ctrl(-1, "", 0, 1, pin);
    for (const std::string& line : asked.input)
      EXPECT_EQ(line, "GPI 2 xxxxx\r\n");
  }
}

TEST_F(HarkqnrCommand, SourceAndContactGoTogether) {
  harkqnr_ctrl(0, "239.192.0.7", -5, 1, 2);
  EXPECT_EQ(mixer.Text(), "set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=-5\r\n");
  EXPECT_THAT(asked.input, ElementsAre("GPI 2 xLxxx\r\n"));
}

TEST_F(HarkqnrCommand, ContactIsChangedWithoutAConnectionToo) {
  harkqnr_connected(-1);
  harkqnr_ctrl(0, "239.192.0.7", 0, 1, 1);
  EXPECT_EQ(mixer.Text(), "");
  EXPECT_THAT(asked.input, ElementsAre("GPI 2 Lxxxx\r\n"));
}

TEST_F(HarkqnrCommand, WithoutTheHookAContactIsPassedOver) {
  harkqnr_hooks.ext_input = nullptr;
  harkqnr_ctrl(0, "239.192.0.7", 0, 1, 1);
  EXPECT_THAT(mixer.Lines(), ElementsAre("set hark#1.sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
}

TEST_F(HarkqnrCommand, SourceAssignmentNamesAddressAndType) {
  harkqnr_src(3, "239.192.0.7", "multicast");
  EXPECT_EQ(mixer.Text(), "SRC 3 RTPA:\"239.192.0.7\" RTPT:\"multicast\"\r\n");
}

TEST_F(HarkqnrCommand, ShutIsSentAndForgetsContactsThatAreDebounced) {
  harkqnr_gpio_callback(5, 1, 'L');
  harkqnr_gpio_callback(5, 1, 'H');
  harkqnr_shut();
  EXPECT_EQ(mixer.Text(), "SHUT\n");
  // The release was waiting; with the queue emptied it never comes.
  const SourceFile sources("quillnet:239.192.0.7;gpio=4;gpiol=1\n");
  clock.AdvanceMs(1000);
  harkqnr_gpio_process_events(clock.Now());
  EXPECT_THAT(asked.remote, IsEmpty());
}

TEST_F(HarkqnrCommand, LeadingDotMeansOurMixer) {
  harkqnr_ctrl(".sub#1 gain=%d\r\n", -100);
  EXPECT_EQ(mixer.Text(), "set hark#1.sub#1 gain=-100\r\n");
  harkqnr_ctrl("get %s\r\n", "x.y");
  EXPECT_EQ(mixer.Text(), "get x.y\r\n");
}

TEST_F(HarkqnrCommand, CommandIsHeldToTheLongestLine) {
  const std::string text(3000, 'a');
  harkqnr_ctrl("%s", text.c_str());
  EXPECT_EQ(mixer.Text(), text.substr(0, kMaxLine));
  harkqnr_ctrl(".%s", text.c_str());
  const std::string sent = mixer.Text();
  EXPECT_THAT(sent, StartsWith("set hark#1.aaa"));
  EXPECT_LE(sent.size(), kMaxLine);
}

TEST_F(HarkqnrCommand, NothingIsSentWithoutAConnection) {
  harkqnr_connected(-1);
  harkqnr_ctrl("get x\r\n");
  harkqnr_ctrl(0, "1.2.3.4", 0, 0, 0);
  harkqnr_dstgain(0, 0);
  harkqnr_vmix2src(1, 0, "x");
  harkqnr_src(1, "a", "b");
  harkqnr_shut();
  EXPECT_EQ(mixer.Text(), "");
}

TEST_F(HarkqnrCommand, DeadConnectionDoesNotEndTheProgram) {
  mixer.Close();
  harkqnr_ctrl("get x\r\n");
  harkqnr_dstgain(0, 0);
  EXPECT_EQ(harkqnr_fd(), mixer.fd());
}

TEST_F(HarkqnrCommand, DebugPrintsWhatIsSent) {
  station.dbg = true;
  ::testing::internal::CaptureStdout();
  harkqnr_dstgain(1, -7);
  (void)std::fflush(stdout);
  EXPECT_THAT(::testing::internal::GetCapturedStdout(),
              HasSubstr("harkqnr_ctrl > set hark#1.sub#1.in#2 gain=-7"));
}

}  // namespace
}  // namespace hark

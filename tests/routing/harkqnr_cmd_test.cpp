// What the lines of the routing daemon do: version, outputs, our source, the faders of the listen lines, and
// the supervisor that knows the console.
#include <arpa/inet.h>

#include <cstdio>

#include "base/text.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HarkqnrCmd : public RoutingTest {
 protected:
  static void ExpectFlags(bool expected) {
    EXPECT_EQ(station.sipservices_dirty, expected);
    EXPECT_EQ(station.bonjour_txt_dirty, expected);
    station.sipservices_dirty = station.bonjour_txt_dirty = false;
  }
};

TEST_F(HarkqnrCmd, InputsAboveEightMoveTheContactBase) {
  struct Row {
    const char* line;
    int base;
  };
  for (const Row& row : {Row{"VER NGPI:24", 16},
                         {"VER NGPI:9", 1},
                         {"VER LWRP:1.2 NGPI:12 NGPO:12", 4},
                         {"VER NGPI=0x18", 16},
                         {"VER NGPI:8", 1},
                         {"VER NGPI:7", 1},
                         {"VER NGPI:0", 1},
                         {"VER NGPI:-24", 1},
                         {"VER NGPO:24", 1},
                         {"VER", 1},
                         {"VER ", 1},
                         {"ver NGPI:24", 1},
                         {"VERNGPI:24", 1}}) {
    SCOPED_TRACE(row.line);
    station_reset();
    harkqnr_cmd(row.line);
    EXPECT_EQ(station.harkd_qnrd_gpio_base, row.base);
  }
}

TEST_F(HarkqnrCmd, OutputEventsCarryPinAndLevel) {
  // Every pin of channel 5 is named by a source of its own, so that each event shows.
  const SourceFile sources(
      "quillnet:1.1.1.1;gpio=4;gpiol=1\nquillnet:1.1.1.2;gpio=4;gpiol=2\nquillnet:1.1.1.3;gpio=4;gpiol=3\n"
      "quillnet:1.1.1.4;gpio=4;gpiol=4\nquillnet:1.1.1.5;gpio=4;gpiol=5\n");
  struct Row {
    const char* line;
    std::vector<std::string> events;
  };
  const std::vector<Row> rows{
      {"GPO 5 LxxxH", {"1 quillnet:1.1.1.1 1", "1 quillnet:1.1.1.5 0"}},
      {"GPO 0x5 xLHxx", {"1 quillnet:1.1.1.2 1", "1 quillnet:1.1.1.3 0"}},
      {"GPO 05 XXLXX", {"1 quillnet:1.1.1.3 1"}},
      {"GPO 5 LLLLL",
       {"1 quillnet:1.1.1.1 1", "1 quillnet:1.1.1.2 1", "1 quillnet:1.1.1.3 1", "1 quillnet:1.1.1.4 1",
        "1 quillnet:1.1.1.5 1"}},
      {"GPO 5 lxL?L", {"1 quillnet:1.1.1.3 1"}},
      {"GPO 5 hhhhh", {}},
      {"GPO 5 lllll", {}},
      {"GPO 5 xxxxx", {}},
      {"GPO 5", {}},
      {"GPO 5 ", {}},
      {"GPO 5LLLLL", {}},
      {"GPO 5\tLLLLL", {}},
      {"GPO LLLLL", {}},
      {"gpo 5 LLLLL", {}},
      {"GPI 5 LLLLL", {}},
      {"GPO 6 LLLLL", {}},
      {"INDI GPO 5 LLLLL", {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    asked.remote.clear();
    harkqnr_shut();  // forgets the contacts of the row before
    harkqnr_cmd(row.line);
    EXPECT_EQ(asked.remote, row.events);
  }
}

TEST_F(HarkqnrCmd, LowerCaseFromTheRoutingDaemonIsNoEventOfOurPort) {
  harkqnr_cmd("GPO 1 hhhhh");
  harkqnr_cmd("GPO 1 lllll");
  EXPECT_FALSE(station.harkd_onair);
  EXPECT_THAT(asked.speaker, IsEmpty());
}

TEST_F(HarkqnrCmd, NewSourceAddressIsTakenAndAnnounced) {
  struct Row {
    const char* line;
    const char* address;
    bool changed;
  };
  // In order: each row starts from the address of the row before.
  for (const Row& row : {Row{"SRC 1 RTPA:\"239.192.0.5\"", "239.192.0.5", true},
                         {"SRC 1 RTPA:\"239.192.0.5\"", "239.192.0.5", false},
                         {"SRC 1 RTPA:\"239.192.0.5:5004\"", "239.192.0.5", false},
                         {"SRC 1 RTPA:1234", "239.192.4.210", true},
                         {"SRC 1 RTPA:\"qns://1234\"", "239.192.4.210", false},
                         {"SRC 1 FOO:1", "239.192.4.210", false},
                         {"SRC 2 RTPA:\"239.192.0.9\"", "239.192.4.210", false},
                         {"src 1 RTPA:\"239.192.0.9\"", "239.192.4.210", false},
                         {"SRC 1", "239.192.4.210", false},
                         {"SRC RTPA:1", "239.192.4.210", false},
                         {"SRC 1 RTPA:\"\"", "0.0.0.0", true},
                         {"SRC 1 RTPA:\"\"", "0.0.0.0", false}}) {
    SCOPED_TRACE(row.line);
    harkqnr_cmd(row.line);
    EXPECT_EQ(station.harkd_qnsrcch, inet_addr(row.address));
    ExpectFlags(row.changed);
  }
}

// A "://" in a later tag was once taken for the scheme of the address, and cleared it.
TEST_F(HarkqnrCmd, SourceAddressIsReadWithoutWhatFollowsIt) {
  harkqnr_cmd("SRC 1 RTPA:\"239.192.0.5\" PSNM:\"a://b\"");
  EXPECT_STREQ(dotted(station.harkd_qnsrcch).data(), "239.192.0.5");
}

TEST_F(HarkqnrCmd, NewSourceNameIsTakenAndAnnounced) {
  struct Row {
    const char* line;
    const char* name;
    bool changed;
  };
  for (const Row& row : {Row{"SRC 1 PSNM:\"Main\"", "Main", true},
                         {"SRC 1 PSNM:\"Main\"", "Main", false},
                         {"SRC 1 PSNM:\"0123456789abc\"", "0123456789", true},
                         {"SRC 1 PSNM:\"0123456789xyz\"", "0123456789", false},
                         {"SRC 2 PSNM:\"Aux\"", "0123456789", false},
                         {"SRC 1 PSNM:\"a\\\"b\"", "a\"b", true},
                         {"SRC 1 PSNM:\"\"", "", true}}) {
    SCOPED_TRACE(row.line);
    harkqnr_cmd(row.line);
    EXPECT_STREQ(station.harkd_alt.data(), row.name);
    ExpectFlags(row.changed);
  }
}

TEST_F(HarkqnrCmd, OurSourceMayHaveAnotherNumber) {
  station.harkd_qnrd_io_src = 5;
  harkqnr_cmd("SRC 1 RTPA:\"239.192.0.5\" PSNM:\"No\"");
  ExpectFlags(false);
  harkqnr_cmd("SRC 5 RTPA:\"239.192.0.5\" PSNM:\"Yes\"");
  EXPECT_EQ(station.harkd_qnsrcch, inet_addr("239.192.0.5"));
  EXPECT_STREQ(station.harkd_alt.data(), "Yes");
  ExpectFlags(true);
}

TEST_F(HarkqnrCmd, FaderIsToldByLine) {
  for (const char* line : {"DST 1 AVOL:-120", "DST 8 AVOL:30", "DST 100 AVOL:0"})
    harkqnr_cmd(line);
  EXPECT_THAT(asked.volume, ElementsAre("0 -120", "7 30", "99 0"));
  asked.volume.clear();
  for (const char* line :
       {"DST 0 AVOL:1", "DST -1 AVOL:1", "DST 1", "DST 1 NAME:\"x\"", "dst 1 AVOL:1", "DST"}) {
    harkqnr_cmd(line);
  }
  EXPECT_THAT(asked.volume, IsEmpty());
  station.harkd_qnrd_io_min = 11;
  harkqnr_cmd("DST 13 AVOL:5");
  harkqnr_cmd("DST 10 AVOL:5");
  EXPECT_THAT(asked.volume, ElementsAre("2 5"));
}

TEST_F(HarkqnrCmd, SupervisorNamesTheConsole) {
  struct Row {
    const char* line;
    const char* console;
  };
  for (const Row& row : {Row{"SUPV CONSOLE_IP:10.0.0.9", "10.0.0.9"},
                         {"SUPV STATE:1 CONSOLE_IP=\"10.0.0.9:4020\"", "10.0.0.9:4020"},
                         {"SUPV CONSOLE_IP:0.0.0.0", "0.0.0.0"},
                         {"INDI SUPV CONSOLE_IP:1.2.3.4", "1.2.3.4"},
                         {"EVENT SUPV CONSOLE_IP:1.2.3.4", "1.2.3.4"},
                         {"indi supv CONSOLE_IP:1.2.3.4", "1.2.3.4"},
                         {"Event Supv CONSOLE_IP:1.2.3.4", "1.2.3.4"},
                         {"SUPV DEVICE_TYPE:\"RELAYCHASSIS\"", "127.0.0.1:4020"},
                         {"SUPV DEVICE_TYPE:RelayChassis", "127.0.0.1:4020"},
                         {"SUPV DEVICE_TYPE:\"SURFACE\"", "127.0.0.1"},
                         {"EVENT SUPV DEVICE_TYPE:RELAYCHASSIS2", "127.0.0.1"},
                         {"SUPV DEVICE_TYPE:RELAYCHASSIS CONSOLE_IP:1.2.3.4", "1.2.3.4"}}) {
    SCOPED_TRACE(row.line);
    asked.console.clear();
    harkqnr_cmd(row.line);
    EXPECT_THAT(asked.console, ElementsAre(row.console));
  }
}

TEST_F(HarkqnrCmd, ConsoleAddressIsHeldToThirtyTwoCharacters) {
  harkqnr_cmd("SUPV CONSOLE_IP:0123456789012345678901234567890123456789");
  EXPECT_THAT(asked.console, ElementsAre("01234567890123456789012345678901"));
}

TEST_F(HarkqnrCmd, OtherLinesNameNoConsole) {
  for (const char* line : {"SUPV", "SUPV ", "SUPV STATE:1", "CONSOLE_IP:1.2.3.4", "XSUPV CONSOLE_IP:1.2.3.4",
                           "INDI CONSOLE_IP:1.2.3.4", "SUPVCONSOLE_IP:1.2.3.4", "INDISUPV CONSOLE_IP:1.2.3.4",
                           "INDI ", "EVENT", "", "ERROR 1000 bad command", "BEGIN", "END", "MTR ICH 1"}) {
    SCOPED_TRACE(line);
    harkqnr_cmd(line);
    EXPECT_THAT(asked.console, IsEmpty());
  }
}

TEST_F(HarkqnrCmd, WithoutHooksEveryLineIsPassedOver) {
  harkqnr_hooks = {};
  for (const char* line : {"DST 1 AVOL:3", "SUPV CONSOLE_IP:1.2.3.4", "SUPV DEVICE_TYPE:X", "GPO 5 LLLLL"}) {
    harkqnr_cmd(line);
  }
  EXPECT_THAT(asked.volume, IsEmpty());
  EXPECT_THAT(asked.console, IsEmpty());
}

TEST_F(HarkqnrCmd, DebugPrintsWhatIsReceived) {
  station.dbg = true;
  ::testing::internal::CaptureStdout();
  harkqnr_cmd("DST 1 AVOL:3");
  (void)std::fflush(stdout);
  EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("harkqnr_ctrl < DST 1 AVOL:3\n"));
}

}  // namespace
}  // namespace hark

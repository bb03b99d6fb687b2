// The commands that change contacts and their configurations: what they accept, what they change, and whom
// they answer when they refuse.
#include <array>

#include "routing/qnr_gpio.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QnrGpioCommand : public SubscriberTest {
 protected:
  static std::string Output(int port) { return gpio2asc(static_cast<unsigned>(vgpio_gpo(port - 1))).data(); }
  static std::string InputOf(int port) { return gpio2asc(static_cast<unsigned>(vgpio_gpi(port - 1))).data(); }
};

TEST_F(QnrGpioCommand, OutputTakesItsLevels) {
  struct Row {
    const char* line;
    int port;
    const char* levels;
  };
  for (const Row& row : {Row{"GPO 1 LxxHx", 1, "lhhhh"},
                         {"GPO 1 Hxxxx", 1, "hhhhh"},
                         {"GPO 9 lllll", 9, "lllll"},
                         {"SET GPO 2 xL", 2, "hlhhh"},
                         {"GPO 0x3 xxL", 3, "hhlhh"},
                         {"GPO 010 xxxL", 8, "hhhlh"},
                         {"GPO 4 xxxxL?H", 4, "hhhhl"},
                         {"GPO 5 ?LLLL", 5, "hhhhh"},
                         {"GPO 5 xxxxx", 5, "hhhhh"}}) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Contacts(row.line), 0);
    EXPECT_EQ(Output(row.port), row.levels);
    EXPECT_EQ(InputOf(row.port), "hhhhh");
  }
  EXPECT_EQ(Text(), "");
}

TEST_F(QnrGpioCommand, InputTakesItsLevels) {
  struct Row {
    const char* line;
    int port;
    const char* levels;
  };
  for (const Row& row : {Row{"GPI 1 LxxHx", 1, "lhhhh"},
                         {"GPI 1 Hxxxx", 1, "hhhhh"},
                         {"GPI 9 lllll", 9, "lllll"},
                         {"GPI 0x3 xxL", 3, "hhlhh"},
                         {"GPI 5 xxxxx", 5, "hhhhh"}}) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(Contacts(row.line), 0);
    EXPECT_EQ(InputOf(row.port), row.levels);
    EXPECT_EQ(Output(row.port), "hhhhh");
  }
  EXPECT_EQ(Text(), "");
}

TEST_F(QnrGpioCommand, DurationMakesAPulseOfBothDirections) {
  ASSERT_EQ(Contacts("GPO 1 LxxHx DURATION:100"), 0);
  EXPECT_EQ(Output(1), "lhhhh");
  clock.AdvanceMs(99);
  Pass();
  EXPECT_EQ(Output(1), "lhhhh");
  clock.AdvanceMs(2);
  Pass();
  EXPECT_EQ(Output(1), "hhhlh");
}

TEST_F(QnrGpioCommand, DurationIsReadBehindStatesAndOneBlank) {
  struct Row {
    const char* line;
    bool pulse;
  };
  for (const Row& row : {Row{"GPO 1 L DURATION:100", true},
                         {"GPO 1 Lxxxx DURATION=100", true},
                         {"SET GPO 1 L DURATION:100", true},
                         {"GPO 1 L DURATION:100ms", true},
                         {"GPO 1 L", false},
                         {"GPO 1 L DURATION:0", false},
                         {"GPO 1 L DURATION:-5", false},
                         {"GPO 1 L DURATION:x", false},
                         {"GPO 1 L DURATION", false},
                         {"GPO 1 L DURATION 100", false},
                         {"GPO 1 LDURATION:100", false},
                         {"GPO 1 L XDURATION:100", false}}) {
    SCOPED_TRACE(row.line);
    ASSERT_EQ(Contacts(row.line), 0);
    EXPECT_EQ(Output(1), "lhhhh");
    clock.AdvanceMs(101);
    Pass();
    EXPECT_EQ(Output(1), row.pulse ? "hhhhh" : "lhhhh");
    ASSERT_EQ(Contacts("GPO 1 H"), 0);
  }
}

TEST_F(QnrGpioCommand, InputHasNoPulse) {
  ASSERT_EQ(Contacts("GPI 1 L DURATION:100"), 0);
  clock.AdvanceMs(101);
  Pass();
  EXPECT_EQ(InputOf(1), "lhhhh");
}

TEST_F(QnrGpioCommand, PortOutOfRangeIsAnsweredToItsClientOnly) {
  for (const char* line : {"GPO 10 LLLLL", "GPO 0 LLLLL", "GPO -1 LLLLL", "SET GPO 10 LLLLL", "GPI 10 LLLLL",
                           "GPI 0 LLLLL", "CFG GPO 10 NAME:x", "CFG GPO 0 NAME:x", "GPO 4294967297 LLLLL"}) {
    SCOPED_TRACE(line);
    server_.answered = false;
    EXPECT_EQ(Contacts(line, 1), -1);
    EXPECT_EQ(Text(1), "ERROR 1002 bad port number\r\n");
    EXPECT_EQ(Text(0), "");
    EXPECT_TRUE(server_.answered);  // so that nothing else answers this line
  }
  for (int port = 1; port <= 9; ++port)
    EXPECT_EQ(Output(port) + InputOf(port), "hhhhhhhhhh");
  EXPECT_FALSE(server_.changed);
}

TEST_F(QnrGpioCommand, OurOwnLineWithABadPortHasNobodyToTell) {
  EXPECT_EQ(Contacts("GPI 10 LLLLL", kInternalConnection), -1);
  for (int client = 0; client < 3; ++client)
    EXPECT_EQ(Text(client), "");
}

TEST_F(QnrGpioCommand, OtherLinesAreLeftToOthersWithoutAnAnswer) {
  for (const char* line : {"GPO",
                           "GPO ",
                           "GPO 1",
                           "GPO 1 ",
                           "GPO1 LLLLL",
                           "gpo 1 LLLLL",
                           "GPOX 1 L",
                           "GPI",
                           "GPI ",
                           "GPI 1",
                           "GPI 1 ",
                           "GPI1 LLLLL",
                           "gpi 1 LLLLL",
                           "SET GPO",
                           "SET GPO 1",
                           "SET GPI 1 L",
                           "SET",
                           "CFG",
                           "CFG GPO",
                           "CFG GPO ",
                           "CFG GPO 1",
                           "cfg GPO 1 NAME:x",
                           "CFG gpo 1 NAME:x",
                           "CFG GPI 1 NAME:x",
                           "CFGGPO 1 NAME:x",
                           "",
                           " GPO 1 L",
                           "DST 1 AVOL:1"}) {
    SCOPED_TRACE(line);
    server_.answered = false;
    EXPECT_EQ(Contacts(line), -1);
    EXPECT_EQ(Text(), "");
    EXPECT_FALSE(server_.answered);
    EXPECT_FALSE(server_.changed);
  }
  for (int port = 1; port <= 9; ++port)
    EXPECT_EQ(Output(port) + InputOf(port), "hhhhhhhhhh");
}

TEST_F(QnrGpioCommand, WithoutOutputsNoCommandIsKnown) {
  drv_gpio.ngpo = 0;
  for (const char* line : {"GPO 1 L", "SET GPO 1 L", "GPI 1 L", "CFG GPO 1 NAME:x"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Contacts(line), -1);
    EXPECT_EQ(Text(), "");
  }
}

TEST_F(QnrGpioCommand, CommandTextsArePassedToSubscribersAsTheyStand) {
  Subscribe(0, "GPO");
  Subscribe(1, "GPI");
  EXPECT_EQ(Contacts("GPO 2 CMD:ABC 1"), 0);
  EXPECT_THAT(Lines(0), ElementsAre("GPO 2 CMD:ABC 1"));
  EXPECT_EQ(Contacts("SET GPO 2 CMD:\"a, b\" %s"), 0);
  EXPECT_THAT(Lines(0), ElementsAre("GPO 2 CMD:\"a, b\" %s"));
  EXPECT_EQ(Text(1), "");
  EXPECT_EQ(Contacts("GPI 3 CMD:X"), 0);
  EXPECT_THAT(Lines(1), ElementsAre("GPI 3 CMD:X"));
  EXPECT_EQ(Text(0), "");
  EXPECT_EQ(Text(2), "");
}

TEST_F(QnrGpioCommand, OtherTextsThatAskForNothingAreHandledSilently) {
  Subscribe(0, "GPO GPI");
  for (const char* line : {"GPO 2 cmd:X", "GPO 2 hello", "GPI 2 XCMD:1", "GPO 2 xxxxx DURATION:5"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Contacts(line), 0);
    EXPECT_EQ(Text(0), "");
  }
}

TEST_F(QnrGpioCommand, ConfigurationIsMergedReportedAndToBeSaved) {
  Subscribe(0, "CFG");
  ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, "CFG GPO", -1, 0, true), 1);
  ASSERT_EQ(qnrdb_sub_set(&qnrobjdb, "CFG GPO", 4, 1, true), 1);
  EXPECT_EQ(Contacts("CFG GPO 1 NAME:\"Main\" CMAP:08", 2), 0);
  EXPECT_TRUE(server_.changed);
  EXPECT_EQ(Text(0), "CFG GPO 1 NAME:\"Main\" CMAP:08\r\n");
  EXPECT_EQ(Text(1), "");
  EXPECT_EQ(Text(2), "");
  server_.changed = false;
  EXPECT_EQ(Contacts("CFG GPO 5 FOO:1 FUNC:2", 2), 0);
  EXPECT_TRUE(server_.changed);
  EXPECT_EQ(Text(0), "CFG GPO 5 FUNC:2\r\n");
  EXPECT_EQ(Text(1), "CFG GPO 5 FUNC:2\r\n");
}

TEST_F(QnrGpioCommand, LevelsAreNothingToSave) {
  EXPECT_EQ(Contacts("GPO 1 L"), 0);
  EXPECT_EQ(Contacts("GPI 1 L"), 0);
  EXPECT_FALSE(server_.changed);
}

TEST_F(QnrGpioCommand, RightsOfAClientAreLookedAtWhereThereAreAny) {
  const std::array<unsigned char, 3> rights{0x7D, 0x02, 0x80};
  server_.access = rights.data();
  for (const char* line : {"GPO 1 Lxxxx", "GPI 1 Lxxxx", "CFG GPO 1 NAME:x"}) {
    SCOPED_TRACE(line);
    (void)Contacts(line, 0);
    EXPECT_EQ(Text(0), "ERROR 1000 bad command\r\n");
    EXPECT_EQ(Output(1) + InputOf(1), "hhhhhhhhhh");
    EXPECT_FALSE(server_.changed);
  }
  EXPECT_EQ(Contacts("GPO 1 Lxxxx", 1), 0);
  EXPECT_EQ(Contacts("GPI 1 Lxxxx", 2), 0);
  EXPECT_EQ(Output(1) + InputOf(1), "lhhhhlhhhh");
  EXPECT_EQ(Text(1) + Text(2), "");
}

TEST_F(QnrGpioCommand, OneLineOfSeveralThatIsKnownIsEnough) {
  const std::array<const char*, 3> lines{"NOTHING", "GPO 1 L", "GPI 12 L"};
  EXPECT_EQ(qnr_gpio_input(&qnr_gpio, 0, lines.data(), 3), 0);
  EXPECT_EQ(Output(1), "lhhhh");
  EXPECT_EQ(qnr_gpio_input(&qnr_gpio, 0, lines.data(), 1), -1);
  EXPECT_EQ(qnr_gpio_input(&qnr_gpio, 0, lines.data(), 0), -1);
}

}  // namespace
}  // namespace hark

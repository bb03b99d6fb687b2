// Contacts over the control port: setting them, pulses, reports of what changed, and the errors.
#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;

class Gpio : public StationTest {
 protected:
  void SetUp() override {
    Start();
    client = Connect();
  }
  Lines Answers(const std::string& line) { return answers(client, line); }
  // What the command changes, as a subscriber of all contacts hears it.
  Lines HeardAfter(const std::string& line) {
    Lines heard = Answers(line);
    const Lines later = Answers("#");
    heard.insert(heard.end(), later.begin(), later.end());
    return heard;
  }
  void SubscribeToAll() { ASSERT_EQ(Answers("SUB GPI GPO").size(), 22U); }

  Client client;
};

TEST_F(Gpio, APulseGoesAndComesBack) {
  EXPECT_THAT(Answers("GPO 1"), ElementsAre("GPO 1 hhhhh"));
  ASSERT_TRUE(client.send_line("GPO 1 LxxHx DURATION:100"));
  EXPECT_TRUE(client.expect_line("GPO 1 Lhhhh"));
  // The pins end on their own; they may do so in two passes.
  const std::optional<std::string> end = client.read_line();
  if (end == "GPO 1 Hhhhh") {
    EXPECT_TRUE(client.expect_line("GPO 1 hhhLh"));
  } else if (end == "GPO 1 lhhLh") {
    EXPECT_TRUE(client.expect_line("GPO 1 Hhhlh"));
  } else {
    EXPECT_EQ(end, "GPO 1 HhhLh");
  }
  EXPECT_THAT(Answers("GPO 1"), ElementsAre("GPO 1 hhhlh"));
}

TEST_F(Gpio, AnOrderWithoutDurationEndsThePulse) {
  EXPECT_THAT(Answers("GPO 1"), ElementsAre("GPO 1 hhhhh"));
  ASSERT_TRUE(client.send_raw("GPO 1 Lxxxx DURATION:50\r\nGPO 1 Lxxxx\r\nGPO 1 xLxxx DURATION=50\r\n"));
  EXPECT_TRUE(client.skip_to("GPO 1 "));
  // The end of the second pulse shows that the time is over; the first pin stays.
  EXPECT_TRUE(client.skip_to("GPO 1 lHhhh"));
  EXPECT_THAT(Answers("GPO 1"), ElementsAre("GPO 1 lhhhh"));
}

TEST_F(Gpio, ReportsTellWhatChanged) {
  SubscribeToAll();
  struct Row {
    const char* line;
    Lines heard;
  };
  for (const Row& row : std::vector<Row>{
           {"GPO 1 LxxHx", {"GPO 1 Lhhhh"}},
           {"GPO 1 lxxxx", {}},
           {"GPO 1 HLxxx", {"GPO 1 HLhhh"}},
           {"SET GPO 1 xHxxx", {"GPO 1 hHhhh"}},
           {"GPO 0x2 xxxxL", {"GPO 2 hhhhL"}},
           {"GPI 9 LLxxx", {"GPI 9 LLhhh"}},
           {"GPI 9 HHxxx", {"GPI 9 HHhhh"}},
           {"GPI 3 L", {"GPI 3 Lhhhh"}},
           {"GPI 3 hLLLLLLLL", {"GPI 3 HLLLL"}},
           {"GPI 3 xHHH?L", {"GPI 3 hHHHl"}},
           {"GPI 4 xxxxx", {}},
           {"GPI 4 nonsense", {}},
           {"GPO 4 nonsense DURATION:100", {}},
       }) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(HeardAfter(row.line), row.heard);
  }
}

TEST_F(Gpio, PortsOutOfRangeGetOneErrorLine) {
  for (const char* line :
       {"GPO 10 LLLLL", "GPO 0 LLLLL", "GPO -1 LLLLL", "GPI 10 LLLLL", "GPI 0 LLLLL", "SET GPO 10 LLLLL",
        "CFG GPO 10 NAME:\"x\"", "CFG GPO 0 NAME:\"x\"", "GPO 99999999999999999999 L", "GPI 4294967297 L"}) {
    SCOPED_TRACE(line);
    EXPECT_THAT(Answers(line), ElementsAre(kBadPort));
  }
}

TEST_F(Gpio, OrdersThatLackSomethingAreReadsOrBadCommands) {
  EXPECT_THAT(Answers("GPO"), testing::SizeIs(11));
  EXPECT_THAT(Answers("GPO1 LLLLL"), ElementsAre(kBadCommand));
  EXPECT_THAT(Answers("GPO x LLLLL"), AnyOf(ElementsAre(kBadCommand), ElementsAre(kBadPort)));
  EXPECT_THAT(Answers("gpo 1 Lxxxx"), ElementsAre(kBadCommand)) << "the case of a command counts";
  EXPECT_THAT(Answers("GPO 1"), ElementsAre("GPO 1 hhhhh"));
}

TEST_F(Gpio, CommandTextsArePassedOnAsTheyStand) {
  SubscribeToAll();
  ASSERT_TRUE(client.send_line("GPO 2 CMD:lamp 7 on"));
  EXPECT_TRUE(client.skip_to("GPO 2 CMD:lamp 7 on"));
  ASSERT_TRUE(client.send_line("GPI 2 CMD:lamp 8"));
  EXPECT_TRUE(client.skip_to("GPI 2 CMD:lamp 8"));
  EXPECT_THAT(Answers("GPO 2"), testing::Contains("GPO 2 hhhhh"));
}

TEST_F(Gpio, APortWithAllPinsLowReportsAgainAndAgain) {
  EXPECT_THAT(Answers("GPI 2"), ElementsAre("GPI 2 hhhhh"));
  ASSERT_TRUE(client.send_line("GPI 2 LLLLL"));
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(client.expect_line("GPI 2 LLLLL"));
  ASSERT_TRUE(client.send_line("GPI 2 Hxxxx"));
  // Such a port passes for one that was never reported, and those begin with all pins high.
  EXPECT_TRUE(client.skip_to("GPI 2 hLLLL"));
  let_it_settle(client);
  EXPECT_THAT(Answers("#"), ElementsAre()) << "and then no more";
}

TEST_F(Gpio, LongestCommandTextIsPassedOnAsALine) {
  EXPECT_THAT(Answers("GPO 2"), ElementsAre("GPO 2 hhhhh"));
  const std::string line = "GPO 2 CMD:" + std::string(1987, 'x');
  ASSERT_EQ(line.size(), 1997U);
  for (const std::string more : {"", "y"}) {
    SCOPED_TRACE(more);
    const Lines heard = Answers(line + more);
    ASSERT_EQ(heard.size(), 1U) << "it ends, so that the next line is one of its own";
    EXPECT_EQ(heard[0].substr(0, 1990), line.substr(0, 1990));
  }
}

TEST_F(Gpio, ConfigurationThatNoLineCanHoldIsNotTaken) {
  const std::string name = "NAME:\"" + std::string(1000, 'n') + "\"";
  (void)Answers("CFG GPO 2 " + name);
  EXPECT_THAT(Answers("CFG GPO 2"), ElementsAre("CFG GPO 2 " + name));
  (void)Answers("CFG GPO 2 FUNC:" + std::string(1500, 'f'));
  EXPECT_THAT(Answers("CFG GPO 2"), ElementsAre("CFG GPO 2 " + name));
  // The longest that there can be comes back from the file as it was saved.
  (void)Answers("CFG GPO 3 NAME:" + std::string(1900, 'm'));
  const Lines before = Answers("CFG GPO");
  let_it_settle(client);
  EXPECT_EQ(station.terminate(), 0);
  ASSERT_TRUE(station.start());
  client = Connect();
  EXPECT_EQ(Answers("CFG GPO"), before);
}

TEST_F(Gpio, NumbersThatFitNowhereDoNoHarm) {
  for (const char* number : {"99999999999999999999", "-99999999999999999999", "2147483648", "-2147483649",
                             "4294967297", "0x7fffffffffffffff"}) {
    SCOPED_TRACE(number);
    const std::string n = number;
    EXPECT_THAT(Answers("GPO " + n + " Lxxxx"), ElementsAre(kBadPort));
    EXPECT_THAT(Answers("GPI " + n + " Lxxxx"), ElementsAre(kBadPort));
    EXPECT_THAT(Answers("CFG GPO " + n + " NAME:x"), ElementsAre(kBadPort));
    EXPECT_THAT(Answers("GPI " + n), ElementsAre(kBadCommand));
    (void)Answers("GPO 1 Lxxxx DURATION:" + n);
    (void)Answers("SUB GPI " + n);
    (void)Answers("CALL URL:\"quillnet:239.1.2.3;trgl=" + n + ";gpio=" + n + ";gpiol=" + n +
                  "\" LISTEN:1 TALK:1 VOLUME:" + n);
    (void)Answers("HARK TRGL:" + n + " TRGLA:" + n + " DROPFLASH:" + n + " DIML:" + n + " LATCH:" + n +
                  " EXTC:" + n + " AANS:" + n);
    (void)Answers("SRC 2 RTPA:\"" + n + "\"");
    (void)Answers("INDI Intercom type=" + n);
    (void)Answers("ATTACH HARKUI#p KEYS:\"" + n + "-" + n + "\" AANS:" + n);
  }
  ExpectLog("]: ");
  EXPECT_TRUE(client.send_line("VER"));
  EXPECT_TRUE(client.skip_to(kVersion));
}

TEST_F(Gpio, ConfigurationIsMergedTagByTag) {
  struct Row {
    const char* change;
    const char* text;
  };
  for (const Row& row : {
           Row{"NAME:\"X\" FOO:1", "NAME:\"X\" CMAP:0800000000"},
           Row{"FUNC:3,SRCA:4", "NAME:\"X\" CMAP:0800000000 FUNC:3 SRCA:4"},
           Row{"cmap:1", "NAME:\"X\" cmap:1 FUNC:3 SRCA:4"},
           Row{"NAME:\"a b\\\"c\"", "NAME:\"a b\\\"c\" cmap:1 FUNC:3 SRCA:4"},
       }) {
    SCOPED_TRACE(row.change);
    (void)Answers(std::string("CFG GPO 1 ") + row.change);
    EXPECT_THAT(Answers("CFG GPO 1"), ElementsAre(std::string("CFG GPO 1 ") + row.text));
  }
}

}  // namespace
}  // namespace hark::test

// The control port's objects with the contacts and settings behind them: what a read gives, what a
// subscription brings, and that a change reaches those who asked for it.
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Subscription : public SubscriberTest {
 protected:
  // Changes one pin of every input and output, and a configuration, back and forth.
  std::vector<std::string> HeardOfChanges(int client) {
    for (int port = 1; port <= 9; ++port) {
      const std::string n = std::to_string(port);
      EXPECT_EQ(Contacts("GPI " + n + " Lxxxx", 2), 0);
      EXPECT_EQ(Contacts("GPO " + n + " xxxxL", 2), 0);
    }
    Pass();
    std::vector<std::string> heard = Lines(client);
    for (int port = 1; port <= 9; ++port) {
      const std::string n = std::to_string(port);
      EXPECT_EQ(Contacts("GPI " + n + " Hxxxx", 2), 0);
      EXPECT_EQ(Contacts("GPO " + n + " xxxxH", 2), 0);
    }
    Pass();
    for (int i = 0; i < 3; ++i)
      (void)Text(i);
    return heard;
  }
};

TEST_F(Subscription, NumberZeroIsRefused) {
  EXPECT_EQ(Input(0, "GPI 0"), -1);
  EXPECT_EQ(Input(0, "CFG GPO 0"), -1);
  EXPECT_EQ(Text(0), "");
  EXPECT_THAT(HeardOfChanges(0), IsEmpty());
}

TEST_F(Subscription, OneInputIsReadAndSubscribedAlone) {
  ASSERT_EQ(Contacts("GPI 1 xLxxx", 2), 0);
  Pass();
  EXPECT_EQ(Input(0, "GPI 1"), 0);
  EXPECT_EQ(Text(0), "GPI 1 hlhhh\r\n");
  EXPECT_THAT(HeardOfChanges(0), ElementsAre("GPI 1 Llhhh"));
}

TEST_F(Subscription, WholeFamilyIsABatch) {
  EXPECT_EQ(Input(0, "GPI"), 0);
  EXPECT_EQ(
      Text(0),
      "BEGIN\r\nGPI 1 hhhhh\r\nGPI 2 hhhhh\r\nGPI 3 hhhhh\r\nGPI 4 hhhhh\r\nGPI 5 hhhhh\r\nGPI 6 hhhhh\r\n"
      "GPI 7 hhhhh\r\nGPI 8 hhhhh\r\nGPI 9 hhhhh\r\nEND\r\n");
  EXPECT_EQ(HeardOfChanges(0).size(), 9u);
}

TEST_F(Subscription, ListNamesOneInputAndAllOutputs) {
  EXPECT_EQ(Input(0, "SUB GPI 2 GPO"), 0);
  EXPECT_EQ(
      Text(0),
      "GPI 2 hhhhh\r\nBEGIN\r\nGPO 1 hhhhh\r\nGPO 2 hhhhh\r\nGPO 3 hhhhh\r\nGPO 4 hhhhh\r\nGPO 5 hhhhh\r\n"
      "GPO 6 hhhhh\r\nGPO 7 hhhhh\r\nGPO 8 hhhhh\r\nGPO 9 hhhhh\r\nEND\r\n");
  const std::vector<std::string> heard = HeardOfChanges(0);
  EXPECT_EQ(heard.size(), 10u);
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "GPI 2 Lhhhh"), 1);
  EXPECT_EQ(std::count(heard.begin(), heard.end(), "GPO 9 hhhhL"), 1);
}

TEST_F(Subscription, UnsubscribingStopsTheReports) {
  Subscribe(0, "GPI GPO");
  EXPECT_EQ(Input(0, "UNSUB GPI"), 0);
  EXPECT_EQ(Text(0), "");
  EXPECT_EQ(HeardOfChanges(0).size(), 9u);
  EXPECT_EQ(Input(0, "DEL GPO"), 0);
  EXPECT_THAT(HeardOfChanges(0), IsEmpty());
}

TEST_F(Subscription, ConfigurationOfOnePortIsReadByItsTwoWords) {
  ASSERT_EQ(Contacts("CFG GPO 3 NAME:\"Aux 2\"", 2), 0);
  EXPECT_EQ(Input(0, "CFG GPO 3"), 0);
  EXPECT_EQ(Text(0), "CFG GPO 3 NAME:\"Aux 2\"\r\n");
  ASSERT_EQ(Contacts("CFG GPO 3 NAME:\"New\"", 2), 0);
  ASSERT_EQ(Contacts("CFG GPO 4 NAME:\"Other\"", 2), 0);
  EXPECT_EQ(Text(0), "CFG GPO 3 NAME:\"New\"\r\n");
}

TEST_F(Subscription, AllObjectsAreSentOnceAndSubscribeNothing) {
  ASSERT_EQ(Contacts("CFG GPO 1 NAME:\"Main\"", 2), 0);
  EXPECT_EQ(Input(0, "CFG"), 0);
  const std::vector<std::string> lines = Lines(0);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines.front(), "BEGIN");
  EXPECT_EQ(lines.back(), "END");
  const std::vector<std::string> some{"SET own",
                                      "SRC 1 own0",
                                      "SRC 2 own1",
                                      "GPI 1 hhhhh",
                                      "GPI 9 hhhhh",
                                      "GPO 9 hhhhh",
                                      "CFG GPO 1 NAME:\"Main\""};
  for (const std::string& line : some) {
    EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
  }
  EXPECT_THAT(HeardOfChanges(0), IsEmpty());
}

TEST_F(Subscription, SettingsAreReadAndReported) {
  EXPECT_EQ(Input(0, "HARK"), 0);
  EXPECT_EQ(Text(0), "HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0\r\n");
  harkqnr_cmd("HARK LATCH:300");
  EXPECT_EQ(Text(0), "HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:300 EXTC:0\r\n");
  EXPECT_EQ(Text(1), "");
}

TEST_F(Subscription, PanelModelHearsEveryChangeWithoutSubscribing) {
  ASSERT_EQ(Contacts("GPO 2 L", 0), 0);
  ASSERT_EQ(Contacts("CFG GPO 2 NAME:x", 0), 0);
  harkqnr_cmd("HARK LATCH:300");
  EXPECT_THAT(asked.model,
              ElementsAre("GPO 2 Lhhhh\r\n", "CFG GPO 2 NAME:x\r\n",
                          "HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:300 EXTC:0\r\n"));
}

}  // namespace
}  // namespace hark

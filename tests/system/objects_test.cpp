// The objects over the wire: reading them, subscribing to one, to a family, to all, and who hears a push.
#include <algorithm>

#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

Lines family(const std::string& name, int count, const std::string& text) {
  Lines lines = {"BEGIN"};
  for (int i = 1; i <= count; ++i)
    lines.push_back(name + " " + std::to_string(i) + " " + text);
  lines.emplace_back("END");
  return lines;
}

Lines joined(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

class Objects : public StationTest {
 protected:
  void SetUp() override {
    Start();
    client = Connect();
    actor = Connect("127.0.0.2");
  }
  // Does it from another connection: what this client hears of it.
  Lines HeardAfter(const std::string& command) {
    let_it_settle(actor);
    EXPECT_THAT(answers(actor, command), testing::_);
    let_it_settle(actor);
    return answers(client, "#");
  }

  Client client;
  Client actor;
};

TEST_F(Objects, OneIsALineAndAFamilyABatch) {
  EXPECT_THAT(answers(client, "GPI 1"), ElementsAre("GPI 1 hhhhh"));
  EXPECT_EQ(answers(client, "GPI"), family("GPI", 9, "hhhhh"));
  EXPECT_EQ(answers(client, "GPO"), family("GPO", 9, "hhhhh"));
  EXPECT_THAT(answers(client, "CFG GPO"),
              ElementsAre("BEGIN", "CFG GPO 1 NAME:\"Main\" CMAP:0800000000", "CFG GPO 2 NAME:\"Aux 1\"",
                          "CFG GPO 3 NAME:\"Aux 2\"", "CFG GPO 4 NAME:\"Aux 3\"", "CFG GPO 5 NAME:\"Aux 4\"",
                          "CFG GPO 6 NAME:\"Aux 5\"", "CFG GPO 7 NAME:\"Aux 6\"", "CFG GPO 8 NAME:\"Aux 7\"",
                          "CFG GPO 9 NAME:\"Aux 8\"", "END"));
}

TEST_F(Objects, PortZeroIsRefused) {
  EXPECT_THAT(answers(client, "GPI 0"), ElementsAre(StartsWith("ERROR ")));
  EXPECT_THAT(answers(client, "GPO 0"), ElementsAre(StartsWith("ERROR ")));
  EXPECT_THAT(HeardAfter("GPI 1 Lxxxx"), ElementsAre());
}

TEST_F(Objects, ReadingOneSubscribesToThatOneOnly) {
  EXPECT_THAT(answers(client, "GPI 5"), ElementsAre("GPI 5 hhhhh"));
  EXPECT_THAT(HeardAfter("GPI 4 Lxxxx"), ElementsAre());
  EXPECT_THAT(HeardAfter("GPI 5 Lxxxx"), ElementsAre("GPI 5 Lhhhh"));
  EXPECT_THAT(HeardAfter("GPI 6 Lxxxx"), ElementsAre());
  EXPECT_THAT(HeardAfter("GPO 5 Lxxxx"), ElementsAre());
}

TEST_F(Objects, ReadingAFamilySubscribesToEachOfIt) {
  EXPECT_EQ(answers(client, "GPI"), family("GPI", 9, "hhhhh"));
  EXPECT_THAT(HeardAfter("GPI 1 Lxxxx"), ElementsAre("GPI 1 Lhhhh"));
  EXPECT_THAT(HeardAfter("GPI 9 xxxxL"), ElementsAre("GPI 9 hhhhL"));
}

TEST_F(Objects, SubscribingToOneAndAFamilyReportsBoth) {
  EXPECT_EQ(answers(client, "SUB GPI 2 GPO"), joined({"GPI 2 hhhhh"}, family("GPO", 9, "hhhhh")));
  EXPECT_THAT(HeardAfter("GPI 1 Lxxxx"), ElementsAre());
  EXPECT_THAT(HeardAfter("GPI 2 Lxxxx"), ElementsAre("GPI 2 Lhhhh"));
  EXPECT_THAT(HeardAfter("GPO 7 Lxxxx"), ElementsAre("GPO 7 Lhhhh"));
}

TEST_F(Objects, SubscribingPassesOverUnknownNames) {
  EXPECT_THAT(answers(client, "ADD nothing GPI 3 averyveryverylongname IP"),
              ElementsAre("GPI 3 hhhhh", StartsWith("IP hostname ")));
  EXPECT_THAT(answers(client, "sub gpi"), ElementsAre()) << "the case of a name counts";
  EXPECT_THAT(answers(client, "SUB "), ElementsAre());
  EXPECT_THAT(answers(client, "SUB"), ElementsAre(kBadCommand));
}

TEST_F(Objects, UnsubscribingEndsThePushes) {
  for (const std::string verb : {"UNSUB", "DEL", "unsub", "del"}) {
    SCOPED_TRACE(verb);
    EXPECT_THAT(answers(client, "SUB GPI 1 GPI 2"), ElementsAre("GPI 1 hhhhh", "GPI 2 hhhhh"));
    EXPECT_THAT(answers(client, verb + " GPI 1"), ElementsAre());
    EXPECT_THAT(HeardAfter("GPI 1 Lxxxx"), ElementsAre());
    EXPECT_THAT(HeardAfter("GPI 2 Lxxxx"), ElementsAre("GPI 2 Lhhhh"));
    EXPECT_THAT(answers(client, verb + " GPI"), ElementsAre());
    EXPECT_THAT(HeardAfter("GPI 2 Hxxxx"), ElementsAre());
    EXPECT_THAT(HeardAfter("GPI 1 Hxxxx"), ElementsAre());
  }
}

TEST_F(Objects, CfgSendsEverythingOnceAndSubscribesToNothing) {
  const Lines all = answers(client, "CFG");
  ASSERT_EQ(all.size(), 34U);
  EXPECT_EQ(all.front(), "BEGIN");
  EXPECT_EQ(all.back(), "END");
  EXPECT_THAT(Lines(all.begin() + 1, all.begin() + 6),
              ElementsAre("SET  ", StartsWith("IP hostname "), "SRC 1 PSNM:\"\" RTPA:\"\"", "SRC 2 RTPA:\"\"",
                          "GPI 1 hhhhh"));
  EXPECT_EQ(all[14], "GPO 1 hhhhh");
  EXPECT_EQ(all[23], "CFG GPO 1 NAME:\"Main\" CMAP:0800000000");
  EXPECT_THAT(all[32], StartsWith("HARK LABL:"));
  EXPECT_EQ(answers(client, "cfg"), all);
  for (const char* change : {"GPI 1 Lxxxx", "GPO 1 Lxxxx", "CFG GPO 2 NAME:\"X\"", "HARK LATCH:300"}) {
    EXPECT_THAT(HeardAfter(change), ElementsAre()) << change;
  }
}

TEST_F(Objects, ChangesOfSettingsReachTheirSubscribers) {
  EXPECT_THAT(answers(client, "SUB HARK CFG"), ElementsAre(StartsWith("HARK ")));
  EXPECT_THAT(answers(client, "CFG GPO 3"), ElementsAre("CFG GPO 3 NAME:\"Aux 2\""));
  EXPECT_THAT(HeardAfter("HARK LATCH:300"),
              ElementsAre("HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:300 EXTC:0"));
  EXPECT_THAT(HeardAfter("CFG GPO 3 NAME:\"Lamp\" FOO:1 FUNC:2"),
              ElementsAre("CFG GPO 3 NAME:\"Lamp\" FUNC:2"));
  EXPECT_THAT(HeardAfter("CFG GPO 4 NAME:\"Door\""), ElementsAre());
}

TEST_F(Objects, ASubscriptionEndsWithItsConnection) {
  EXPECT_THAT(answers(client, "GPI 1"), ElementsAre("GPI 1 hhhhh"));
  client.close();
  ASSERT_TRUE(Logged("]: disconnected connection id: "));
  client = Connect();  // the same slot
  EXPECT_THAT(HeardAfter("GPI 1 Lxxxx"), ElementsAre());
}

TEST_F(Objects, SixteenSubscribersHearAPushOnceEach) {
  std::vector<Client> crowd;
  for (int i = 0; i < 14; ++i) {
    crowd.push_back(Connect("127.0.1." + std::to_string(i + 1)));
    EXPECT_THAT(answers(crowd.back(), "GPI 3"), ElementsAre("GPI 3 hhhhh"));
  }
  EXPECT_THAT(HeardAfter("GPI 3 xLxxx"), ElementsAre());
  for (Client& other : crowd)
    EXPECT_THAT(answers(other, "#"), ElementsAre("GPI 3 hLhhh"));
}

}  // namespace
}  // namespace hark::test

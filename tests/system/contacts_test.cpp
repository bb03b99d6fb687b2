// Contacts of far stations, as the routing daemon reports them: they ring, are answered by CALL, flash when
// the far side lets go, and end. And the station's own port, which tells whether it is on air.
#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

// Channel 2 above the base of 1: GPO 3. Pin 1 asks to be heard, pin 2 to be talked to.
constexpr char kFar[] = "quillnet:239.192.0.20;gpio=2;gpiol=1;gpiot=2";

class Contacts : public StationTest {
 protected:
  void SetUp() override {
    station.write_settings(std::string(kIdentity) + "HARK DROPFLASH:300\n");
    station.write_sources(std::string("# far stations\n\nhark:10.0.0.9;gpio=2;gpiol=1\n") + kFar +
                          "\r\nquillnet:239.192.0.21;gpio=3;gpiol=1\nnonsense;gpio=2;gpiol=1\n");
    Start();
    client = Connect();
    ASSERT_TRUE(wait_until([&] { return answers(client, "CALL") == Lines{"BEGIN", "END"}; }));
    sim->forget_records();
  }
  // The station ends while a call flashes: its SIP line is idle already, and says so when it is dropped.
  void EndsWhileFlashing() { ExpectLog("]: Line 1/0 error 50 Line is idle"); }
  void Far(const std::string& line) { ASSERT_TRUE(sim->send(line)); }
  [[nodiscard]] testing::AssertionResult Reported(const std::string& what) {
    return client.expect_line(std::string("CALL URL:\"") + kFar + "\" " + what);
  }
  [[nodiscard]] bool Answer(const std::string& what) {
    return client.send_line(std::string("CALL URL:\"") + kFar + "\" " + what);
  }

  Client client;
};

TEST_F(Contacts, RingAreAnsweredFlashAndGo) {
  Far("GPO 3 Lhhhh");
  EXPECT_TRUE(Reported("LISTEN:R"));
  EXPECT_THAT(sim->received(), ElementsAre()) << "nothing is heard before the answer";
  ASSERT_TRUE(Answer("LISTEN:1"));
  EXPECT_TRUE(Reported("LISTEN:1"));
  EXPECT_TRUE(sim.wait_received("set hark#1.sub#1.in#1 src_id=\"239.192.0.20\", gain=0"));
  Far("GPO 3 Hhhhh");
  EXPECT_TRUE(Reported("LISTEN:d"));
  EXPECT_TRUE(sim.wait_received("set hark#1.sub#1.in#1 src_id=\"\", gain=0")) << "silent while it flashes";
  EXPECT_TRUE(Reported("LISTEN:0"));
  EXPECT_THAT(answers(client, "CALL"), ElementsAre("BEGIN", "END"));
}

TEST_F(Contacts, RingThatNobodyAnswersEndsWithTheContact) {
  Far("GPO 3 Lhhhh");
  EXPECT_TRUE(Reported("LISTEN:R"));
  Far("GPO 3 Hhhhh");
  EXPECT_TRUE(Reported("LISTEN:d"));
  EXPECT_TRUE(Reported("LISTEN:0"));
}

TEST_F(Contacts, TalkRingsIsAnsweredAndEndsWithoutFlash) {
  Far("GPO 3 hLhhh");
  EXPECT_TRUE(Reported("TALK:R"));
  ASSERT_TRUE(Answer("TALK:1"));
  EXPECT_TRUE(Reported("TALK:1"));
  Far("GPO 3 hHhhh");
  EXPECT_TRUE(Reported("TALK:0"));
}

TEST_F(Contacts, FlashingCallThatIsWantedAgainStartsAfresh) {
  ASSERT_TRUE(client.send_line("HARK DROPFLASH:60000"));
  Far("GPO 3 Lhhhh");
  EXPECT_TRUE(Reported("LISTEN:R"));
  Far("GPO 3 Hhhhh");
  EXPECT_TRUE(Reported("LISTEN:d"));
  ASSERT_TRUE(Answer("LISTEN:1"));
  EXPECT_TRUE(Reported("LISTEN:0"));
  EXPECT_TRUE(Reported("LISTEN:1"));
}

TEST_F(Contacts, BouncesRingOnce) {
  Far("GPO 3 Lhhhh");
  Far("GPO 3 Hhhhh");
  Far("GPO 3 Lhhhh");
  Far("GPO 3 Hhhhh");
  Far("GPO 3 Lhhhh");
  EXPECT_TRUE(Reported("LISTEN:R"));
  Far("GPO 3 Hhhhh");
  EXPECT_TRUE(Reported("LISTEN:d")) << "no second ring in between";
  EndsWhileFlashing();
}

TEST_F(Contacts, OfNobodyAndUnchangedOnesDoNothing) {
  for (const char* line : {"GPO 3 lhhhh", "GPO 3 hhhhL", "GPO 4 hLhhh", "GPO 9 Lhhhh", "GPO 2 Lhhhh", "GPO 3",
                           "GPO 3Lhhhh", "GPO 3 xxxxx", "GPO -1 L", "gpo 3 Lhhhh"}) {
    Far(line);
  }
  // Behind them one that acts.
  Far("GPO 3 Lhhhh");
  EXPECT_TRUE(Reported("LISTEN:R"));
}

TEST_F(Contacts, AllSourcesOfAPinRing) {
  Replace("etc/Orfe/hark/hark_sources", std::string(kFar) + "\nquillnet:239.192.0.22;gpio=2;gpiol=1\n");
  Far("GPO 3 Lhhhh");
  EXPECT_TRUE(Reported("LISTEN:R"));
  EXPECT_TRUE(client.expect_line("CALL URL:\"quillnet:239.192.0.22;gpio=2;gpiol=1\" LISTEN:R"))
      << "the file is read anew each time";
}

TEST_F(Contacts, BaseFollowsTheNumberOfTheRoutingDaemonsContacts) {
  Far("VER NGPI:24");
  Far("GPO 3 Lhhhh");
  Far("GPO 18 Lhhhh");  // 24 - 8 = 16
  EXPECT_TRUE(Reported("LISTEN:R"));
  Far("GPO 18 Hhhhh");
  EXPECT_TRUE(Reported("LISTEN:d"));
  EndsWhileFlashing();
}

TEST_F(Contacts, OnAirTakesAnotherLevelWhichRestartsTheServices) {
  EXPECT_THAT(answers(client, "HARK TRGLA:6"), ElementsAre());
  let_it_settle(client);
  ASSERT_TRUE(Answer("LISTEN:1"));
  EXPECT_TRUE(Reported("LISTEN:1"));
  Far("GPO 1 Lhhhh");  // the other pin of the own port
  Far("GPO 1 hLhhh");
  EXPECT_TRUE(Reported("LISTEN:0"));
}

TEST_F(Contacts, OnAirWithTheSameLevelKeepsTheCalls) {
  ASSERT_TRUE(Answer("LISTEN:1"));
  EXPECT_TRUE(Reported("LISTEN:1"));
  Far("GPO 1 hLhhh");
  Far("GPO 4 Lhhhh");
  EXPECT_TRUE(client.expect_line("CALL URL:\"quillnet:239.192.0.21;gpio=3;gpiol=1\" LISTEN:R"));
  let_it_settle(client);
  EXPECT_EQ(answers(client, "CALL").size(), 4U);
}

}  // namespace
}  // namespace hark::test

// Parties that ask for a call by their contacts: whose key answers at once, whose lamp flashes until a key
// answers, and where a party without a key shows up.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class PanelRings : public PanelTest {
 protected:
  void SetUp() override { StartWithPanel(); }
  void Far(const std::string& line) { ASSERT_TRUE(sim->send(line)); }
};

TEST_F(PanelRings, PartyOnAKeyIsAnsweredAtOnce) {
  Far("GPO 4 Lhhhh");
  EXPECT_TRUE(panel.wait_indicator("KT01", "On"));
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:1")));
  Far("GPO 4 Hhhhh");
  EXPECT_TRUE(panel.wait_indicator("KT01", "Off"));
}

TEST_F(PanelRings, WhoSubscribedHearsOfTheRingFirstAndOfTheAnswerLast) {
  Client watcher = Connect("127.0.0.9");
  ASSERT_TRUE(watcher.ask("SUB CALL", "BEGIN"));
  ASSERT_TRUE(watcher.expect_line("END"));
  Far("GPO 4 Lhhhh");
  const std::optional<std::string> first = watcher.read_line();
  const std::optional<std::string> second = watcher.read_line();
  ASSERT_TRUE(first && second);
  EXPECT_THAT(*first, HasSubstr("TALK:R"));
  EXPECT_THAT(*second, HasSubstr("TALK:1"));
}

TEST_F(PanelRings, PartyThatLetsGoOfAListenFlashesAndGoes) {
  EXPECT_THAT(answers(client, "HARK DROPFLASH:300"), ElementsAre());
  Far("GPO 4 hLhhh");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
  Far("GPO 4 hHhhh");
  EXPECT_TRUE(panel.wait_indicator("KL01", "Flash"));
  EXPECT_TRUE(panel.wait_indicator("KL01", "Off"));
}

TEST_F(PanelRings, PartyBelowTheStationsLevelFlashesUntilItsKeyAnswers) {
  Far("GPO 7 Lhhhh");
  EXPECT_TRUE(panel.wait_indicator("KT03", "Flash"));
  panel.settle();
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:R")));
  ASSERT_TRUE(panel.press("KT03", 1000));
  EXPECT_TRUE(panel.wait_indicator("KT03", "On"));
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:1")));
}

TEST_F(PanelRings, StationOfALowerLevelAnswersTheSamePartyAtOnce) {
  EXPECT_THAT(answers(client, "HARK TRGL:2 TRGLA:2"), ElementsAre());
  let_it_settle(client);
  Far("GPO 7 Lhhhh");
  EXPECT_TRUE(panel.wait_indicator("KT03", "On"));
}

TEST_F(PanelRings, PartyWithoutAKeyRingsAtTheAutoAnswerKeyAndIsAnsweredThere) {
  Far("GPO 6 Lhhhh");
  EXPECT_TRUE(panel.wait_indicator("KTAA", "Flash"));
  EXPECT_TRUE(panel.wait_display("KLAA", "TEXT=\"Cal\", ALT=\"\""));
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:R")));
  EXPECT_EQ(panel.indicator("KLAA"), "Off");
  ASSERT_TRUE(panel.press("KTAA", 1000));
  EXPECT_TRUE(panel.wait_indicator("KTAA", "On"));
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:1")));
  Far("GPO 6 Hhhhh");
  EXPECT_TRUE(panel.wait_indicator("KTAA", "Off"));
}

TEST_F(PanelRings, PartyThatWasUpIsAnsweredWhenItRingsAgain) {
  Far("GPO 6 Lhhhh");
  ASSERT_TRUE(panel.wait_indicator("KTAA", "Flash"));
  ASSERT_TRUE(panel.press("KTAA", 1000));
  ASSERT_TRUE(panel.wait_indicator("KTAA", "On"));
  Far("GPO 6 Hhhhh");
  ASSERT_TRUE(panel.wait_indicator("KTAA", "Off"));
  Far("GPO 6 Lhhhh");
  EXPECT_TRUE(panel.wait_indicator("KTAA", "On"));
}

TEST_F(PanelRings, APanelThatOffersAutoAnswerAnswersEverybody) {
  ASSERT_TRUE(other.attach(station.ctrl_port(), "1-2", "127.0.0.2", " AANS:1"));
  Far("GPO 6 Lhhhh");
  EXPECT_TRUE(panel.wait_indicator("KTAA", "On"));
  EXPECT_TRUE(other.wait_indicator("KTAA", "On"));
}

TEST_F(PanelRings, StationsOwnSettingGoesBeforeWhatPanelsOffer) {
  struct Row {
    const char* setting;
    const char* offer;
    const char* shown;
  };
  int far = 0;
  for (const Row& row : {Row{"HARK AANS:0", " AANS:1", "Flash"}, Row{"HARK AANS:1", " AANS:0", "On"}}) {
    SCOPED_TRACE(row.setting);
    EXPECT_THAT(answers(client, row.setting), ElementsAre());
    ASSERT_TRUE(other.attach(station.ctrl_port(), "1-2", "127.0.0.2", row.offer));
    // Another party each time: who was up already is answered anyhow.
    Replace(kSourceFile, "Far" + std::to_string(far) + " <quillnet:239.192.1." + std::to_string(far) +
                             ">;gpio=" + std::to_string(far + 10) + ";gpiot=1\n");
    Far("GPO " + std::to_string(far + 11) + " Lhhhh");
    EXPECT_TRUE(other.wait_indicator("KTAA", row.shown));
    Far("GPO " + std::to_string(far + 11) + " Hhhhh");
    EXPECT_TRUE(other.wait_indicator("KTAA", "Off"));
    other.leave();
    ++far;
  }
}

}  // namespace
}  // namespace hark::test

// The outputs that tell other equipment what the panels do: the pins of the station's own contact port, and
// the two lines that panels get, unless a setting keeps them back.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

constexpr char kTalkOn[] = "SET Intercom talk=ON";
constexpr char kTalkOff[] = "SET Intercom talk=OFF";
constexpr char kListenOn[] = "SET Intercom listen=ON";
constexpr char kListenOff[] = "SET Intercom listen=OFF";

class PanelOutputs : public PanelTest {
 protected:
  void SetUp() override {
    StartWithPanel();
    EXPECT_THAT(answers(client, "SUB GPI 1"), ElementsAre("GPI 1 hhhhh"));
  }
  [[nodiscard]] testing::AssertionResult Told(const NetworkPanel& to, const std::string& line) {
    if (wait_until([&] { return count_of(to.lines(), line) == 1; })) return testing::AssertionSuccess();
    return testing::AssertionFailure() << count_of(to.lines(), line) << " times: " << line;
  }
};

TEST_F(PanelOutputs, FirstPinTellsListen) {
  panel.tap("KL01");
  EXPECT_TRUE(client.expect_line("GPI 1 Lhhhh"));
  panel.tap("KL02");  // a second one changes nothing
  ASSERT_TRUE(panel.wait_indicator("KL02", "On"));
  panel.hold("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "Off"));
  panel.hold("KL02");
  EXPECT_TRUE(client.expect_line("GPI 1 Hhhhh"));
  EXPECT_TRUE(Told(panel, kListenOn));
  EXPECT_TRUE(Told(panel, kListenOff));
  EXPECT_THAT(panel.lines(), Not(Contains(StartsWith("SET Intercom talk"))));
}

TEST_F(PanelOutputs, FifthPinTellsTalk) {
  panel.tap("KT01");
  EXPECT_TRUE(client.expect_line("GPI 1 hhhhL"));
  panel.hold("KT01");
  EXPECT_TRUE(client.expect_line("GPI 1 hhhhH"));
  EXPECT_TRUE(Told(panel, kTalkOn));
  EXPECT_TRUE(Told(panel, kTalkOff));
  EXPECT_THAT(panel.lines(), Not(Contains(StartsWith("SET Intercom listen"))));
}

TEST_F(PanelOutputs, FourthPinTellsTheMicrophonesMute) {
  panel.tap("MICM");
  EXPECT_TRUE(client.expect_line("GPI 1 hhhLh"));
  panel.tap("MICM");
  EXPECT_TRUE(client.expect_line("GPI 1 hhhHh"));
  panel.tap("SPKM");
  EXPECT_THAT(answers(client, "#"), ElementsAre()) << "the speaker's has none";
  EXPECT_THAT(panel.lines(), Not(Contains(StartsWith("SET "))));
}

TEST_F(PanelOutputs, ThirdPinTellsThatSomebodyRings) {
  ASSERT_TRUE(sim->send("GPO 7 Lhhhh"));
  EXPECT_TRUE(client.expect_line("GPI 1 hhLhh"));
  ASSERT_TRUE(panel.press("KT03", 1000));
  EXPECT_TRUE(client.expect_line("GPI 1 hhHhL"));
}

TEST_F(PanelOutputs, TalkAtTheAutoAnswerKeyCounts) {
  ASSERT_TRUE(panel.tell("DISP#KLAA TEXT=\"Cal\""));
  panel.tap("KTAA");
  EXPECT_TRUE(client.expect_line("GPI 1 hhhhL"));
  EXPECT_TRUE(panel.wait_indicator("KTAA", "On"));
}

TEST_F(PanelOutputs, SeveralPinsChangeInOneLine) {
  panel.tap("KX01");
  EXPECT_TRUE(client.expect_line("GPI 1 LhhhL"));
}

TEST_F(PanelOutputs, EveryPanelIsToldWhateverItsKeys) {
  ASSERT_TRUE(other.attach(station.ctrl_port(), "50-60", "127.0.0.2"));
  other.forget();
  panel.tap("KX01");
  EXPECT_TRUE(Told(other, kTalkOn));
  EXPECT_TRUE(Told(other, kListenOn));
  other.settle();
  EXPECT_THAT(other.lines(), ElementsAre(kTalkOn, kListenOn)) << "and nothing of keys that are not its own";
}

TEST_F(PanelOutputs, SettingKeepsThemBack) {
  struct Row {
    const char* setting;
    bool talk;
    bool listen;
  };
  for (const Row& row :
       {Row{"HARK EXTC:1", false, true}, Row{"HARK EXTC:2", true, false}, Row{"HARK EXTC:3", false, false},
        Row{"HARK EXTC:4", true, true}, Row{"HARK EXTC:0", true, true}}) {
    SCOPED_TRACE(row.setting);
    EXPECT_THAT(answers(client, row.setting), ElementsAre());
    panel.forget();
    panel.tap("KX01");
    EXPECT_TRUE(client.expect_line("GPI 1 LhhhL")) << "the pins tell in any case";
    ASSERT_TRUE(panel.wait_indicator("KT01", "On"));
    panel.hold("KX01");
    ASSERT_TRUE(panel.wait_indicator("KT01", "Off"));
    ASSERT_TRUE(panel.wait_indicator("KL01", "Off"));
    panel.settle();
    EXPECT_EQ(count_of(panel.lines(), kTalkOn), row.talk ? 1 : 0);
    EXPECT_EQ(count_of(panel.lines(), kTalkOff), row.talk ? 1 : 0);
    EXPECT_EQ(count_of(panel.lines(), kListenOn), row.listen ? 1 : 0);
    EXPECT_EQ(count_of(panel.lines(), kListenOff), row.listen ? 1 : 0);
    EXPECT_THAT(answers(client, "#"), Each(StartsWith("GPI 1 "))) << "both pins, in one turn or in two";
  }
}

}  // namespace
}  // namespace hark::test

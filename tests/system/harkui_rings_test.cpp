// Who calls a panel client: lamps that flash until a key answers, the auto-answer channel, and a party that
// the panel has chosen for it by itself.
#include "system/harkui_panel.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class HarkUIPanelRings : public HarkUIPanelTest {
 protected:
  void Far(const std::string& line) { ASSERT_TRUE(sim->send(line)); }
  static constexpr int kAa = HarkUIPanel::kAutoAnswer;
};

TEST_F(HarkUIPanelRings, PartyFlashesUntilItsKeyAnswers) {
  Far("GPO 7 Lhhhh");
  EXPECT_TRUE(mine.wait_flashing(kLampTalk, 2));
  EXPECT_FALSE(mine.flashes(kLampListen, 2));
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:R")));
  mine.press("KT03", 1000);
  EXPECT_TRUE(wait_until([&] { return mine.ui().getindi(sig("KT03")) == '1'; }));
  EXPECT_FALSE(mine.flashes(kLampTalk, 2));
  EXPECT_EQ(mine.lamp(kLampTalk, 2), kLampOn);
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:1")));
}

TEST_F(HarkUIPanelRings, PartyOnAKeyIsAnsweredAtOnce) {
  Far("GPO 4 hLhhh");
  EXPECT_TRUE(wait_until([&] { return mine.ui().getindi(sig("KL01")) == '1'; }));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOn);
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.7\", gain=0"));
}

TEST_F(HarkUIPanelRings, PartyThatLetsGoFlashesAndGoes) {
  EXPECT_THAT(answers(client, "HARK DROPFLASH:1000"), ElementsAre());
  Far("GPO 4 hLhhh");
  ASSERT_TRUE(wait_until([&] { return mine.ui().getindi(sig("KL01")) == '1'; }));
  Far("GPO 4 hHhhh");
  EXPECT_TRUE(wait_until([&] { return mine.ui().getindi(sig("KL01")) == 'F'; }));
  EXPECT_TRUE(wait_until([&] { return mine.ui().getindi(sig("KL01")) == '0'; }));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOff);
}

TEST_F(HarkUIPanelRings, PartyWithoutAKeyRingsAtTheAutoAnswerChannelAndIsAnsweredThere) {
  Far("GPO 6 Lhhhh");
  EXPECT_TRUE(mine.wait_flashing(kLampTalk, kAutoAnswerLamp));
  EXPECT_TRUE(mine.wait_display(kAa, "Cal/"));
  EXPECT_EQ(mine.lamp(kLampListen, kAutoAnswerLamp), kLampOff);
  mine.press("KTAA", 1000);
  EXPECT_TRUE(wait_until([&] { return mine.ui().getindi(sig("KTAA")) == '1'; }));
  EXPECT_EQ(mine.lamp(kLampTalk, kAutoAnswerLamp), kLampOn);
  EXPECT_THAT(CallList(), ElementsAre(HasSubstr("TALK:1")));
  EXPECT_EQ(mine.display(kAa), "Cal/");
}

TEST_F(HarkUIPanelRings, PanelThatOffersAutoAnswerAnswersEverybody) {
  HarkUIPanel generous("generous", 1, 2, 1);
  ASSERT_TRUE(generous.attach(station.ctrl_port(), "127.0.0.4"));
  Far("GPO 6 Lhhhh");
  EXPECT_TRUE(wait_until([&] { return generous.ui().getindi(sig("KTAA")) == '1'; }));
  EXPECT_TRUE(wait_until([&] { return mine.ui().getindi(sig("KTAA")) == '1'; }));
  EXPECT_EQ(generous.lamp(kLampTalk, kAutoAnswerLamp), kLampOn);
  EXPECT_EQ(mine.lamp(kLampTalk, kAutoAnswerLamp), kLampOn);
}

TEST_F(HarkUIPanelRings, PartyThatWasChosenHereIsCalledByTheVeryNextKey) {
  mine.chosen = "Cal";
  mine.settle();
  EXPECT_EQ(panel.display("KLAA"), "TEXT=\"\", ALT=\"\"") << "it waits for a key";
  mine.press("KLAA", 1000);
  EXPECT_TRUE(MixerGets("sub#1.in#1 src_id=\"239.192.0.9\", gain=0"));
  EXPECT_TRUE(mine.wait_lamp(kLampListen, kAutoAnswerLamp, kLampOn));
  EXPECT_TRUE(mine.wait_display(kAa, "Cal/"));
  EXPECT_TRUE(panel.wait_display("KLAA", "TEXT=\"Cal\", ALT=\"\""));
  mine.release("KLAA", 2000);
  EXPECT_TRUE(mine.wait_lamp(kLampListen, kAutoAnswerLamp, kLampOff));
}

TEST_F(HarkUIPanelRings, ChosenPartyIsToldWithoutAnyKeyToo) {
  mine.chosen = "Ann";
  mine.ui().IntercomKeyEvent(0, true, std::nullopt, nullptr);
  EXPECT_TRUE(mine.wait_display(kAa, "Ann/Anna B."));
  EXPECT_TRUE(panel.wait_display("KLAA", "TEXT=\"Ann\", ALT=\"Anna B.\""));
  EXPECT_THAT(CallList(), ElementsAre());
}

}  // namespace
}  // namespace hark::test

// What panels change for all: the group and who belongs to it, labels put on keys, the selected shift. Each
// reaches the file of channels, whole, and every panel.
#include "system/panel_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class PanelModes : public PanelTest {
 protected:
  void SetUp() override { StartWithPanel(); }
  // Makes Bob and Ann the group.
  void ProgramGroup() {
    panel.tap("ASGN");
    ASSERT_TRUE(panel.wait_indicator("ASGN", "Flash"));
    panel.tap("TGRP");
    ASSERT_TRUE(panel.wait_indicator("TGRP", "Flash"));
    EXPECT_EQ(panel.indicator("ASGN"), "Off");
    panel.tap("KT01");
    panel.tap("KL02");
    ASSERT_TRUE(panel.wait_indicator("KT02", "On"));
    EXPECT_EQ(panel.indicator("KL01"), "On") << "both halves show a member";
    panel.tap("TGRP");
    ASSERT_TRUE(panel.wait_indicator("TGRP", "Off"));
    ASSERT_TRUE(panel.wait_indicator("KT01", "Off"));
  }
};

TEST_F(PanelModes, GroupIsProgrammedSavedAndTalkedTo) {
  ProgramGroup();
  EXPECT_THAT(CallList(), ElementsAre()) << "keys that edit the group call nobody";
  EXPECT_THAT(Channels(), HasSubstr("HARKGR 1 LABL:\"Bob\"\n"));
  EXPECT_THAT(Channels(), HasSubstr("HARKGR 1 LABL:\"Ann\"\n"));
  ASSERT_TRUE(panel.press("TGRP", 1000));
  EXPECT_TRUE(panel.wait_indicator("TGRP", "On"));
  EXPECT_TRUE(panel.wait_indicator("KT01", "On"));
  EXPECT_TRUE(panel.wait_indicator("KT02", "On"));
  ASSERT_TRUE(panel.release("TGRP", 2000));
  EXPECT_TRUE(panel.wait_indicator("TGRP", "Off"));
  EXPECT_TRUE(panel.wait_indicator("KT01", "Off"));
  EXPECT_TRUE(panel.wait_indicator("KT02", "Off"));
}

TEST_F(PanelModes, GroupTalkLatchesWithATapAndEndsWithTheNext) {
  ProgramGroup();
  panel.tap("TGRP");
  ASSERT_TRUE(panel.wait_indicator("KT01", "On"));
  panel.hold("KL04");
  ASSERT_TRUE(panel.wait_indicator("KL04", "On"));
  ASSERT_TRUE(panel.wait_indicator("KL04", "Off"));
  EXPECT_EQ(panel.indicator("TGRP"), "On");
  EXPECT_EQ(panel.indicator("KT02"), "On");
  panel.tap("TGRP");
  EXPECT_TRUE(panel.wait_indicator("TGRP", "Off"));
  EXPECT_TRUE(panel.wait_indicator("KT01", "Off"));
  EXPECT_TRUE(panel.wait_indicator("KT02", "Off"));
}

TEST_F(PanelModes, GroupSurvivesTheReloadOfItsOwnSave) {
  ProgramGroup();
  Housekeeping();
  panel.tap("TGRP");
  EXPECT_TRUE(panel.wait_indicator("KT01", "On"));
  EXPECT_TRUE(panel.wait_indicator("KT02", "On"));
}

TEST_F(PanelModes, SecondTapTakesAMemberOutAgain) {
  ProgramGroup();
  panel.tap("ASGN");
  panel.tap("TGRP");
  ASSERT_TRUE(panel.wait_indicator("KT01", "On"));
  panel.tap("KT01");
  EXPECT_TRUE(panel.wait_indicator("KT01", "Off"));
  panel.settle();
  EXPECT_THAT(Channels(), Not(HasSubstr("HARKGR 1 LABL:\"Bob\"")));
  EXPECT_THAT(Channels(), HasSubstr("HARKGR 1 LABL:\"Ann\"\n"));
}

TEST_F(PanelModes, EmptyGroupIsNotTalkedTo) {
  panel.tap("TGRP");
  panel.settle();
  EXPECT_EQ(panel.indicator("TGRP"), "Off");
  EXPECT_EQ(count_of(panel.lines(), "set HARKUI#desk.BUT#"), 0);
}

TEST_F(PanelModes, AssignKeyPutsTheAutoAnswerLabelOnTheNextKey) {
  ASSERT_TRUE(panel.tell("DISP#KLAA TEXT=\"Cal\""));
  EXPECT_TRUE(panel.wait_display("KLAA", "TEXT=\"Cal\", ALT=\"\""));
  panel.tap("ASGN");
  ASSERT_TRUE(panel.wait_indicator("ASGN", "Flash"));
  panel.tap("KL07");
  EXPECT_TRUE(panel.wait_display("KL07", "TEXT=\"Cal\", ALT=\"\", DFL=0"));
  EXPECT_TRUE(panel.wait_indicator("ASGN", "Off"));
  EXPECT_THAT(CallList(), ElementsAre()) << "the key that is assigned calls nobody";
  EXPECT_THAT(Channels(), HasSubstr("SHIFT LABL:\"Default\"\n"));
  EXPECT_THAT(Channels(), HasSubstr("HARKCH 7 LABL:\"Cal\"\n"));
  panel.tap("KL07");
  EXPECT_TRUE(panel.wait_indicator("KL07", "On"));
}

TEST_F(PanelModes, AssignKeyTwiceDisarms) {
  panel.tap("ASGN");
  ASSERT_TRUE(panel.wait_indicator("ASGN", "Flash"));
  panel.tap("ASGN");
  EXPECT_TRUE(panel.wait_indicator("ASGN", "Off"));
  panel.tap("KL01");
  EXPECT_TRUE(panel.wait_indicator("KL01", "On"));
}

TEST_F(PanelModes, LabelsThatPanelsWriteAreCutAndSaved) {
  ASSERT_TRUE(panel.tell("DISP#KL08 TEXT=\"Overnight desk\""));
  EXPECT_TRUE(panel.wait_display("KL08", "TEXT=\"Overnight \", ALT=\"\", DFL=0"));
  EXPECT_THAT(Channels(), HasSubstr("HARKCH 8 LABL:\"Overnight \"\n"));
  ASSERT_TRUE(panel.tell("DISP#KL02 TEXT=\"\""));
  EXPECT_TRUE(panel.wait_display("KL02", "TEXT=\"\", ALT=\"\", DFL=0"));
  EXPECT_THAT(Channels(), HasSubstr("HARKCH 1 LABL:\"Bob\"\n")) << "the others stay";
}

TEST_F(PanelModes, AlternateTextComesFromTheSources) {
  ASSERT_TRUE(panel.tell("DISP#KLAA TEXT=\"Ann\""));
  EXPECT_TRUE(panel.wait_display("KLAA", "TEXT=\"Ann\", ALT=\"Anna B.\""));
  EXPECT_EQ(last_behind(panel.lines(), "set HARKUI#desk.DISP#KL"), "AA TEXT=\"Ann\", ALT=\"Anna B.\"")
      << "and no key's label is told again";
}

TEST_F(PanelModes, SelectedShiftChangesTheKeysOfAllPanels) {
  Replace(kChannelFile,
          "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\n\nSHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Cal\"\n"
          "HARKCH 2 LABL:\"Ann\"\n\n");
  ASSERT_TRUE(panel.wait_display("KL02", "TEXT=\"\", ALT=\"\", DFL=0")) << "the first shift is the default";
  ASSERT_TRUE(other.attach(station.ctrl_port(), "1-2", "127.0.0.2"));
  EXPECT_EQ(other.display("KL01"), "TEXT=\"Bob\", ALT=\"\", DFL=0");
  ASSERT_TRUE(panel.tell("SEL#SHIFT TEXT=\"Night\""));
  EXPECT_TRUE(panel.wait_display("KL01", "TEXT=\"Cal\", ALT=\"\", DFL=0"));
  EXPECT_TRUE(other.wait_display("KL01", "TEXT=\"Cal\", ALT=\"\", DFL=0"));
  EXPECT_TRUE(other.wait_display("KL02", "TEXT=\"Ann\", ALT=\"Anna B.\", DFL=0"));
  // What is assigned now goes to that shift alone.
  ASSERT_TRUE(other.tell("DISP#KL02 TEXT=\"Mic\""));
  ASSERT_TRUE(panel.wait_display("KL02", "TEXT=\"Mic\", ALT=\"\", DFL=1"));
  EXPECT_EQ(Channels(),
            "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\n\nSHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Cal\"\n"
            "HARKCH 2 LABL:\"Mic\"\n\n");
}

TEST_F(PanelModes, PartyThatLosesItsKeyGoesToTheAutoAnswerKeys) {
  panel.tap("KL01");
  ASSERT_TRUE(panel.wait_indicator("KL01", "On"));
  EXPECT_EQ(panel.indicator("KLAA"), "Off");
  ASSERT_TRUE(panel.tell("SEL#SHIFT TEXT=\"Empty\""));
  EXPECT_TRUE(panel.wait_indicator("KLAA", "On"));
  EXPECT_EQ(CallList().size(), 1U);
}

}  // namespace
}  // namespace hark::test

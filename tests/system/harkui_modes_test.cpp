// What a panel client changes for all panels of its station: shifts, the group, and labels put on keys.
#include "system/harkui_panel.h"

namespace hark::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using HarkUIPanelModes = HarkUIPanelTest;

TEST_F(HarkUIPanelModes, SelectedShiftChangesTheKeysOfAllPanels) {
  Replace(kChannelFile,
          "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\n\nSHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Cal\"\n"
          "HARKCH 2 LABL:\"Ann\"\n\n");
  ASSERT_TRUE(mine.wait_display(1, "/")) << "the first shift is the default";
  EXPECT_EQ(mine.display(0), "Bob/");
  mine.ui().IntercomKeyEvent(kShiftKey, true, std::nullopt, "Night");
  EXPECT_TRUE(mine.wait_display(0, "Cal/"));
  EXPECT_TRUE(mine.wait_display(1, "Ann/Anna B."));
  EXPECT_TRUE(panel.wait_display("KL01", "TEXT=\"Cal\", ALT=\"\", DFL=0"));
  mine.ui().IntercomKeyEvent(kShiftKey, true, std::nullopt, "Day");
  EXPECT_TRUE(mine.wait_display(0, "Bob/"));
}

TEST_F(HarkUIPanelModes, GroupIsMadeShownAndTalkedTo) {
  mine.tap("ASGN");
  ASSERT_TRUE(mine.wait_flashing(kLampAssign));
  EXPECT_FALSE(mine.flashes(kLampGroup));
  mine.tap("TGRP");
  ASSERT_TRUE(mine.wait_flashing(kLampGroup));
  EXPECT_FALSE(mine.flashes(kLampAssign));
  mine.tap("KT01");
  mine.tap("KL02");
  ASSERT_TRUE(mine.wait_lamp(kLampTalk, 1, kLampOn));
  EXPECT_EQ(mine.lamp(kLampListen, 0), kLampOn) << "both halves show a member";
  EXPECT_EQ(mine.lamp(kLampTalk, 2), kLampOff);
  mine.tap("TGRP");
  ASSERT_TRUE(mine.wait_lamp(kLampTalk, 1, kLampOff));
  EXPECT_FALSE(mine.flashes(kLampGroup));
  EXPECT_THAT(CallList(), ElementsAre()) << "keys that edit the group call nobody";

  mine.press("TGRP", 1000);
  EXPECT_TRUE(mine.wait_lamp(kLampGroup, 0, kLampOn));
  EXPECT_TRUE(mine.wait_lamp(kLampTalk, 0, kLampOn));
  EXPECT_TRUE(mine.wait_lamp(kLampTalk, 1, kLampOn));
  EXPECT_EQ(mine.lamp(kLampTalk, 2), kLampOff);
  mine.release("TGRP", 2000);
  EXPECT_TRUE(mine.wait_lamp(kLampGroup, 0, kLampOff));
  EXPECT_TRUE(mine.wait_lamp(kLampTalk, 0, kLampOff));
  EXPECT_TRUE(mine.wait_lamp(kLampTalk, 1, kLampOff));
}

TEST_F(HarkUIPanelModes, ChosenLabelIsPutOnAKey) {
  mine.chosen = "Cal";
  mine.tap("ASGN");
  ASSERT_TRUE(mine.wait_flashing(kLampAssign));
  mine.tap("KL07");
  EXPECT_TRUE(mine.wait_display(6, "Cal/"));
  EXPECT_FALSE(mine.flashes(kLampAssign));
  EXPECT_EQ(mine.lamp(kLampAssign), kLampOff);
  EXPECT_THAT(Channels(), HasSubstr("HARKCH 7 LABL:\"Cal\"\n"));
  EXPECT_THAT(CallList(), ElementsAre()) << "the key that is assigned calls nobody";
  mine.tap("KL07");
  EXPECT_TRUE(mine.wait_lamp(kLampListen, 6, kLampOn));
}

TEST_F(HarkUIPanelModes, AssignTwiceGivesUp) {
  mine.tap("ASGN");
  ASSERT_TRUE(mine.wait_flashing(kLampAssign));
  mine.tap("ASGN");
  ASSERT_TRUE(wait_until([&] { return mine.ui().getindi(kAssign) == '0'; }));
  EXPECT_EQ(mine.lamp(kLampAssign), kLampOff);
  EXPECT_THAT(Channels(), Not(HasSubstr("SHIFT")));
}

TEST_F(HarkUIPanelModes, CallWhoseKeyLeftGoesToTheAutoAnswerChannel) {
  mine.tap("KL01");
  ASSERT_TRUE(mine.wait_lamp(kLampListen, 0, kLampOn));
  EXPECT_EQ(mine.lamp(kLampListen, kAutoAnswerLamp), kLampOff);
  mine.ui().IntercomKeyEvent(kShiftKey, true, std::nullopt, "Empty");
  EXPECT_TRUE(mine.wait_lamp(kLampListen, kAutoAnswerLamp, kLampOn));
}

}  // namespace
}  // namespace hark::test

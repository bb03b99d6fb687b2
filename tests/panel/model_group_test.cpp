// The group key: talking to all members together, and who is a member.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ModelGroup : public ModelTest {
 protected:
  // The members in the order of the file; the last one is called first.
  void StartWithGroup(const std::vector<std::string>& members) {
    std::string file =
        "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 3 LABL:\"Cat\"\n";
    for (const std::string& member : members)
      file += "HARKGR 1 LABL:\"" + member + "\"\n";
    Channels(file + "\n");
    Start();
  }
  void StartProgramming() {
    KeyDown("ASGN");
    KeyDown("TGRP");
    ASSERT_EQ(model->group_state, GroupState::kProgramming);
    Dirty();
  }
};

TEST_F(ModelGroup, CallTalksToEveryMember) {
  StartWithGroup({"Ann", "Bob"});
  EXPECT_TRUE(model->GroupCall(true));
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:1"), Call(kAnn, "TALK:1")));
  EXPECT_TRUE(model->GroupCall(false));
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0"), Call(kAnn, "TALK:0")));
}

TEST_F(ModelGroup, CallSkipsWhoIsNotKnown) {
  StartWithGroup({"Ann", "Nobody", "*Eve"});
  Sources("Ann <hark:10.0.0.2>\n*Eve <hark:10.0.0.9>\n");
  EXPECT_TRUE(model->GroupCall(true));
  EXPECT_THAT(Sent(), ElementsAre(Call("Eve <hark:10.0.0.9>", "TALK:1"), Call(kAnn, "TALK:1")));
  StartWithGroup({"Nobody"});
  EXPECT_TRUE(model->GroupCall(true));
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelGroup, WithoutMembersThereIsNoCall) {
  EXPECT_FALSE(model->GroupCall(true));
  EXPECT_THAT(Sent(), IsEmpty());
  Hold("TGRP", 500);
  EXPECT_EQ(model->group_state, GroupState::kIdle);
  EXPECT_EQ(Dirty(), 0U);
}

TEST_F(ModelGroup, HeldKeyTalksWhileItIsDown) {
  StartWithGroup({"Bob"});
  KeyDown("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kTalking);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:1")));
  AdvanceMs(200);
  KeyUp("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kIdle);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0")));
}

TEST_F(ModelGroup, TapLatchesUntilTheNextPress) {
  StartWithGroup({"Bob"});
  Hold("TGRP", 199);
  EXPECT_EQ(model->group_state, GroupState::kTalking);
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:1")));
  AdvanceMs(5000);
  Dirty();
  KeyDown("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kIdle);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0")));
  AdvanceMs(50);
  KeyUp("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kIdle);
  EXPECT_EQ(Dirty(), 0U);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelGroup, TapTimeOf0TurnsLatchingOff) {
  StartWithGroup({"Bob"});
  station.harkui_tap_time_ms = 0;
  Hold("TGRP", 0);
  EXPECT_EQ(model->group_state, GroupState::kIdle);
}

// A release is measured from the last press of any key.
TEST_F(ModelGroup, LongHoldIsATapAfterAnotherKeysPress) {
  StartWithGroup({"Bob"});
  KeyDown("TGRP");
  AdvanceMs(5000);
  KeyDown("KL01");
  AdvanceMs(100);
  KeyUp("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kTalking);
}

TEST_F(ModelGroup, AssignThenGroupKeyStartsProgramming) {
  StartWithGroup({"Bob"});
  KeyDown("ASGN");
  EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
  Dirty();
  KeyDown("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kProgramming);
  EXPECT_EQ(model->assign_mode, AssignMode::kIdle);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), IsEmpty());
  KeyUp("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kProgramming);
  EXPECT_EQ(Dirty(), 0U);
}

TEST_F(ModelGroup, GroupKeyEndsProgramming) {
  StartProgramming();
  KeyDown("TGRP");
  EXPECT_EQ(model->group_state, GroupState::kIdle);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  KeyUp("TGRP");
  EXPECT_EQ(Dirty(), 0U);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelGroup, ReleaseOfAChannelKeyFlipsItsMembership) {
  StartProgramming();
  for (const char* key : {"KL01", "KT02", "KX03"}) {
    SCOPED_TRACE(key);
    const std::vector<std::string> before = Group();
    KeyDown(key);
    EXPECT_EQ(Group(), before);
    EXPECT_EQ(Dirty(), 0U);
    KeyUp(key);
    EXPECT_EQ(Group().size(), before.size() + 1);
    EXPECT_EQ(Dirty(), kDirtyIndicators);
  }
  EXPECT_THAT(Group(), ElementsAre("Cat", "Ann", "Bob"));
  EXPECT_TRUE(model->in_group("Ann"));
  Tap("KT02");
  EXPECT_THAT(Group(), ElementsAre("Cat", "Bob"));
  EXPECT_FALSE(model->in_group("Ann"));
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_EQ(model->group_state, GroupState::kProgramming);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelGroup, KeysWithoutALabelAndTheAutoAnswerKeyChangeNothing) {
  model->SetAALabel("Zed");
  StartProgramming();
  const std::string file = ChannelFile();
  for (const char* key : {"KL04", "KL91", "KL95", "KTAA", "KLAA", "KXAA"}) {
    SCOPED_TRACE(key);
    Tap(key);
    EXPECT_THAT(Group(), IsEmpty());
    EXPECT_EQ(Dirty(), 0U);
  }
  EXPECT_EQ(ChannelFile(), file);
  EXPECT_THAT(Sent(), IsEmpty());
}

// The label is the one that the panel shows, on whichever key.
TEST_F(ModelGroup, MemberIsWhomThePanelShows) {
  Report(kBobAddress, "TALK:1");
  model->SelectShift("Night");
  ShowChanges();
  StartProgramming();
  Tap("KL01");
  EXPECT_THAT(Group(), ElementsAre("Bob"));
}

TEST_F(ModelGroup, EachChangeIsSaved) {
  StartProgramming();
  Tap("KL01");
  EXPECT_THAT(ChannelFile(),
              HasSubstr("HARKCH 3 LABL:\"Cat\"\nHARKGR 1 LABL:\"Bob\"\n\nSHIFT LABL:\"Night\"\n"));
  Tap("KL02");
  EXPECT_THAT(ChannelFile(), HasSubstr("HARKGR 1 LABL:\"Ann\"\nHARKGR 1 LABL:\"Bob\"\n\nSHIFT"));
  Tap("KL01");
  Tap("KL02");
  EXPECT_THAT(ChannelFile(), testing::Not(HasSubstr("HARKGR")));
}

TEST_F(ModelGroup, ShiftWithoutANameBecomesDefault) {
  Channels("HARKCH 1 LABL:\"Bob\"\n");
  Start();
  ASSERT_STREQ(model->shift.data(), "");
  StartProgramming();
  Tap("KL01");
  EXPECT_STREQ(model->shift.data(), "Default");
  EXPECT_THAT(ChannelFile(),
              HasSubstr("SHIFT LABL:\"Default\"\nHARKCH 1 LABL:\"Bob\"\nHARKGR 1 LABL:\"Bob\"\n\n"));
}

// The model takes its own save for that of another program, and each reading turns the group's order around.
TEST_F(ModelGroup, SaveIsFollowedByAReloadThatReversesTheGroup) {
  StartProgramming();
  Tap("KL01");
  Tap("KL02");
  Tap("KL03");
  EXPECT_THAT(Group(), ElementsAre("Cat", "Ann", "Bob"));
  Dirty();
  model->TimerAction();
  EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators | kDirtyShiftList);
  EXPECT_THAT(Group(), ElementsAre("Bob", "Ann", "Cat"));
  model->TimerAction();
  EXPECT_EQ(Dirty(), kDirtyIndicators);
}

TEST_F(ModelGroup, MembershipComesBeforeAnAssignment) {
  model->SetAALabel("Zed");
  StartProgramming();
  KeyDown("ASGN");
  ASSERT_EQ(model->assign_mode, AssignMode::kArmed);
  Tap("KL01");
  EXPECT_THAT(Group(), ElementsAre("Bob"));
  EXPECT_EQ(model->table().label(0), "Bob");
  EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
}

TEST_F(ModelGroup, ChannelKeysCallWhileTheGroupTalks) {
  StartWithGroup({"Bob"});
  KeyDown("TGRP");
  Sent();
  KeyDown("KT02");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kAnn, "TALK:1")));
  EXPECT_EQ(model->group_state, GroupState::kTalking);
}

}  // namespace
}  // namespace hark

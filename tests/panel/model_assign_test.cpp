// Putting a label on a key: the assign key and what it arms, and what becomes of the table and its file.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ModelAssign : public ModelTest {
 protected:
  void Arm() {
    model->SetAALabel("Zed");
    KeyDown("ASGN");
    KeyUp("ASGN");
    ASSERT_EQ(model->assign_mode, AssignMode::kArmed);
    Dirty();
  }
};

TEST_F(ModelAssign, AssignKeyArmsAndDisarmsOnItsPress) {
  KeyDown("ASGN");
  EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  KeyUp("ASGN");
  EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
  EXPECT_EQ(Dirty(), 0U);
  KeyDown("ASGN");
  EXPECT_EQ(model->assign_mode, AssignMode::kIdle);
  EXPECT_EQ(Dirty(), kDirtyIndicators);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelAssign, ReleasedChannelKeyReceivesTheAutoAnswerLabel) {
  for (const char* key : {"KL01", "KT05", "KX90"}) {
    SCOPED_TRACE(key);
    Arm();
    const int index = sigidx(read_sig(key)) - 1;
    const std::string before(model->table().label(index));
    KeyDown(key);
    EXPECT_EQ(model->table().label(index), before);
    EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
    EXPECT_EQ(Dirty(), 0U);
    KeyUp(key);
    EXPECT_EQ(model->table().label(index), "Zed");
    EXPECT_EQ(model->assign_mode, AssignMode::kIdle);
    EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators);
  }
  EXPECT_THAT(Sent(), IsEmpty());
}

// The table in memory once was written over what another program had changed since the last look at the file.
TEST_F(ModelAssign, ChangeOfAnotherProgramIsTakenBeforeTheFileIsWritten) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 5 LABL:\"Yan\"\nHARKGR 1 LABL:\"Zed\"\n\n");
  model->AssignChannel(0, "Cat");
  EXPECT_EQ(ChannelFile(),
            "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Cat\"\nHARKCH 5 LABL:\"Yan\"\nHARKGR 1 LABL:\"Zed\"\n\n");
  EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators | kDirtyShiftList);
  model->TimerAction();
  EXPECT_EQ(Dirty(), kDirtyIndicators) << "its own save is none of others";
}

TEST_F(ModelAssign, EmptyLabelClearsTheKey) {
  Arm();
  model->SetAALabel("");
  Tap("KL01");
  EXPECT_THAT(Labels(), ElementsAre("2 Ann", "3 Cat"));
  EXPECT_EQ(model->assign_mode, AssignMode::kIdle);
}

TEST_F(ModelAssign, AutoAnswerKeyAndUnknownChannelsLeaveTheModeOn) {
  Arm();
  for (const char* key : {"KLAA", "KTAA", "KXAA", "KL91", "KL95", "KT98"}) {
    SCOPED_TRACE(key);
    Tap(key);
    EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
    EXPECT_EQ(Dirty(), 0U);
  }
  EXPECT_THAT(Labels(), ElementsAre("1 Bob", "2 Ann", "3 Cat"));
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelAssign, KeyThatThePanelDoesNotShowReceivesItToo) {
  ShowKeys(1, 2);
  Arm();
  Tap("KL07");
  EXPECT_EQ(model->table().label(6), "Zed");
}

TEST_F(ModelAssign, MutesWorkWhileTheModeIsOn) {
  Arm();
  Tap("SPKM");
  EXPECT_TRUE(model->spk_mute);
  EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
}

TEST_F(ModelAssign, PutsTheLabelOnTheKeyAndSaves) {
  model->AssignChannel(4, "Yan");
  EXPECT_EQ(Dirty(), kDirtyLabels);
  EXPECT_THAT(Labels(), ElementsAre("1 Bob", "2 Ann", "3 Cat", "5 Yan"));
  EXPECT_EQ(ChannelFile(),
            "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 3 LABL:\"Cat\"\n"
            "HARKCH 5 LABL:\"Yan\"\n\n"
            "SHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Ann\"\nHARKCH 4 LABL:\"Zed\"\n\n");
}

TEST_F(ModelAssign, DropsTheUrlAndKeepsTheFlags) {
  StartWithKey("LABL:\"Bob\" URL:\"hark:10.0.0.1\" FLAGS:5", kBob);
  model->AssignChannel(0, "Yan");
  EXPECT_EQ(model->table().entries[0].url, std::nullopt);
  EXPECT_EQ(model->table().entries[0].flags, 5U);
  EXPECT_THAT(ChannelFile(), HasSubstr("HARKCH 1 LABL:\"Yan\" FLAGS:5\n"));
}

TEST_F(ModelAssign, ChannelsOutsideTheTableAreIgnored) {
  const std::string file = ChannelFile();
  for (const int index : {-1, 90, 91, 1000, -1000}) {
    SCOPED_TRACE(index);
    model->AssignChannel(index, "Zed");
    EXPECT_EQ(Dirty(), 0U);
  }
  EXPECT_THAT(Labels(), ElementsAre("1 Bob", "2 Ann", "3 Cat"));
  EXPECT_EQ(ChannelFile(), file);
  model->AssignChannel(89, "Zed");
  EXPECT_EQ(model->table().label(89), "Zed");
}

TEST_F(ModelAssign, ShiftWithoutANameBecomesDefault) {
  folder.Remove("harkch.conf");
  Start();
  model->AssignChannel(0, "Bob");
  EXPECT_STREQ(model->shift.data(), "Default");
  EXPECT_EQ(ChannelFile(), "SHIFT LABL:\"Default\"\nHARKCH 1 LABL:\"Bob\"\n\n");
}

TEST_F(ModelAssign, IgnoredAssignmentNamesNoShift) {
  folder.Remove("harkch.conf");
  Start();
  model->AssignChannel(90, "Bob");
  EXPECT_STREQ(model->shift.data(), "");
  EXPECT_FALSE(folder.Has("harkch.conf"));
}

TEST_F(ModelAssign, OwnSaveIsNotReadAgain) {
  model->AssignChannel(0, "Zed");
  Dirty();
  model->TimerAction();
  EXPECT_EQ(Dirty(), kDirtyIndicators);
}

}  // namespace
}  // namespace hark

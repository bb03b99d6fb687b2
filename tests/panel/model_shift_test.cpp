// Changing the shift, and the auto-answer label.
#include <gmock/gmock.h>

#include <array>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelShift : public ModelTest {};

TEST_F(ModelShift, LoadsTheTableOfTheShift) {
  model->SelectShift("Night");
  EXPECT_STREQ(model->shift.data(), "Night");
  EXPECT_THAT(Labels(), ElementsAre("1 Ann", "4 Zed"));
  EXPECT_EQ(Dirty(), kDirtyLabels);
  model->SelectShift("Day");
  EXPECT_THAT(Labels(), ElementsAre("1 Bob", "2 Ann", "3 Cat"));
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelShift, RefreshesIndicatorsWhenAPartyIsActive) {
  Report(kBobAddress, "TALK:d");
  Dirty();
  model->SelectShift("Day");
  EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators);
  Report(kBobAddress, "TALK:0");
  Dirty();
  model->SelectShift("Day");
  EXPECT_EQ(Dirty(), kDirtyLabels);
}

TEST_F(ModelShift, UnknownShiftHasNoLabels) {
  model->SelectShift("Never");
  EXPECT_STREQ(model->shift.data(), "Never");
  EXPECT_THAT(Labels(), IsEmpty());
}

TEST_F(ModelShift, NameIsCutTo10Characters) {
  Channels("SHIFT LABL:\"Overnights\"\nHARKCH 1 LABL:\"Bob\"\n");
  Start();
  model->SelectShift("Overnights and weekends");
  EXPECT_STREQ(model->shift.data(), "Overnights");
  EXPECT_THAT(Labels(), ElementsAre("1 Bob"));
}

TEST_F(ModelShift, WithoutAFileKeepsTheTable) {
  folder.Remove("harkch.conf");
  model->SelectShift("Night");
  EXPECT_STREQ(model->shift.data(), "Night");
  EXPECT_THAT(Labels(), ElementsAre("1 Bob", "2 Ann", "3 Cat"));
}

TEST_F(ModelShift, AssignmentGoesToTheSelectedShift) {
  model->SelectShift("Night");
  model->AssignChannel(0, "Cat");
  EXPECT_EQ(ChannelFile(),
            "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 3 LABL:\"Cat\"\n\n"
            "SHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Cat\"\nHARKCH 4 LABL:\"Zed\"\n\n");
}

// A call whose key is gone in the new shift stays within reach on the call stack.
TEST_F(ModelShift, PartiesThatLoseTheirKeyGoToTheCallStack) {
  Report(kBobAddress, "TALK:1");
  Report(kAnnAddress, "LISTEN:1");
  ASSERT_THAT(Stack(), IsEmpty());
  Dirty();
  model->SelectShift("Night");
  EXPECT_THAT(Stack(), ElementsAre("Bob 16"));
  EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators | kDirtyCallstack);
}

TEST_F(ModelShift, PartiesAreStackedInTheOrderOfTheirList) {
  Report(kBobAddress, "TALK:1");
  Report(kAnnAddress, "TALK:1");
  Report(kAnnAddress, "TALK:0");
  Report(kCatAddress, "LISTEN:d");
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"bob\"\nHARKCH 2 LABL:\"Annie\"\n");
  model->SelectShift("Day");
  EXPECT_THAT(Stack(), ElementsAre("Bob 16", "Ann 0", "Cat 8"));
}

TEST_F(ModelShift, AutoAnswerLabelIsCutTo10Characters) {
  model->SetAALabel("Bob");
  EXPECT_EQ(AALabel(), "Bob");
  EXPECT_EQ(Dirty(), kDirtyLabels);
  model->SetAALabel("0123456789ABC");
  EXPECT_EQ(AALabel(), "0123456789");
  model->SetAALabel("");
  EXPECT_EQ(AALabel(), "");
  EXPECT_EQ(Dirty(), kDirtyLabels);
}

TEST_F(ModelShift, AutoAnswerLabelIsCopiedOut) {
  std::array<char, 11> buf{};
  model->SetAALabel("0123456789");
  EXPECT_EQ(model->GetAALabel(buf.data(), buf.size()), 0);
  EXPECT_STREQ(buf.data(), "0123456789");
  EXPECT_EQ(model->GetAALabel(buf.data(), 4), 0);
  EXPECT_STREQ(buf.data(), "012");
  EXPECT_EQ(model->GetAALabel(buf.data(), 1), 0);
  EXPECT_STREQ(buf.data(), "");
}

TEST_F(ModelShift, AutoAnswerLabelNeedsABuffer) {
  std::array<char, 4> buf{'x', 'x', 'x', '\0'};
  EXPECT_EQ(model->GetAALabel(nullptr, 11), -1);
  EXPECT_EQ(model->GetAALabel(buf.data(), 0), -1);
  EXPECT_STREQ(buf.data(), "xxx");
}

// A key may show the auto-answer label already: setting it from itself keeps it.
TEST_F(ModelShift, OwnTextsMayBeSetAgain) {
  model->SetAALabel("0123456789");
  model->SetAALabel(model->aa_label.data());
  EXPECT_EQ(AALabel(), "0123456789");
  model->SelectShift(model->shift.data());
  EXPECT_STREQ(model->shift.data(), "Day");
}

}  // namespace
}  // namespace hark

// Housekeeping: files that other programs have changed are noticed by their modification time.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelTimer : public ModelTest {
 protected:
  // What the housekeeping makes dirty.
  std::uint32_t Turn() {
    Dirty();
    model->TimerAction();
    return Dirty();
  }
};

constexpr std::uint32_t kChannelsChanged = kDirtyLabels | kDirtyIndicators | kDirtyShiftList;
constexpr std::uint32_t kSourcesChanged = kDirtyLabels | kDirtyIndicators | kDirtyChannelList;

TEST_F(ModelTimer, RefreshesIndicatorsAlways) {
  EXPECT_EQ(Turn(), kDirtyIndicators);
  EXPECT_EQ(Turn(), kDirtyIndicators);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelTimer, ChangedChannelFileIsReadOnce) {
  Channels("SHIFT LABL:\"Other\"\nHARKCH 1 LABL:\"Yan\"\nSHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Cat\"\n");
  EXPECT_EQ(Turn(), kChannelsChanged);
  EXPECT_STREQ(model->shift.data(), "Day");
  EXPECT_THAT(Labels(), ElementsAre("1 Cat"));
  EXPECT_EQ(Turn(), kDirtyIndicators);
}

TEST_F(ModelTimer, OlderChannelFileIsAChangeToo) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Cat\"\n");
  folder.SetTime("harkch.conf", 1'000'000'000);
  EXPECT_EQ(Turn(), kChannelsChanged);
  EXPECT_THAT(Labels(), ElementsAre("1 Cat"));
}

TEST_F(ModelTimer, UntouchedChannelFileIsNotReadAgain) {
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Cat\"\n");
  Turn();
  model->SelectShift("Never");
  EXPECT_EQ(Turn(), kDirtyIndicators);
  EXPECT_THAT(Labels(), IsEmpty());
}

TEST_F(ModelTimer, RemovedFilesAreNotMissed) {
  folder.Remove("harkch.conf");
  folder.Remove("hark_sources");
  EXPECT_EQ(Turn(), kDirtyIndicators);
  EXPECT_THAT(Labels(), ElementsAre("1 Bob", "2 Ann", "3 Cat"));
}

TEST_F(ModelTimer, WithoutAShiftTheDefaultOneIsSelected) {
  folder.Remove("harkch.conf");
  Start();
  EXPECT_EQ(Turn(), kDirtyIndicators);
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Cat\"\nSHIFT LABL:\"Night\"\n");
  EXPECT_EQ(Turn(), kChannelsChanged);
  EXPECT_STREQ(model->shift.data(), "Day");
  EXPECT_THAT(Labels(), ElementsAre("1 Cat"));
}

TEST_F(ModelTimer, SelectedShiftStaysThoughItIsGone) {
  Channels("SHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Cat\"\n");
  Turn();
  EXPECT_STREQ(model->shift.data(), "Day");
  EXPECT_THAT(Labels(), IsEmpty());
}

TEST_F(ModelTimer, PartiesThatLoseTheirKeyGoToTheCallStack) {
  Report(kBobAddress, "TALK:1");
  Channels("SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Cat\"\n");
  EXPECT_EQ(Turn(), kChannelsChanged | kDirtyCallstack);
  EXPECT_THAT(Stack(), ElementsAre("Bob 16"));
}

TEST_F(ModelTimer, ChangedSourceFileRefreshesStationsOnce) {
  Sources("Bob <hark:10.9.9.9>\n");
  EXPECT_EQ(Turn(), kSourcesChanged);
  EXPECT_EQ(Turn(), kDirtyIndicators);
}

TEST_F(ModelTimer, NewSourceFileRefreshesStations) {
  folder.Remove("hark_sources");
  Start();
  EXPECT_EQ(Turn(), kDirtyIndicators);
  Sources("Bob <hark:10.9.9.9>\n");
  EXPECT_EQ(Turn(), kSourcesChanged);
}

TEST_F(ModelTimer, BothFilesMayHaveChanged) {
  Channels("SHIFT LABL:\"Day\"\n");
  Sources("Bob <hark:10.9.9.9>\n");
  EXPECT_EQ(Turn(), kChannelsChanged | kSourcesChanged);
}

TEST_F(ModelTimer, ModesOutliveAReload) {
  KeyDown("ASGN");
  Channels("SHIFT LABL:\"Day\"\n");
  Turn();
  EXPECT_EQ(model->assign_mode, AssignMode::kArmed);
}

}  // namespace
}  // namespace hark

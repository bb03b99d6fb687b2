// A new model: which file it takes, which shift it selects, what it holds before anything happens.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

int Ignore(const char* /*text*/, int /*context*/) { return 1; }

class ModelCreate : public ModelTest {};

TEST_F(ModelCreate, TakesTheChannelFileOfItsFolder) {
  EXPECT_EQ(model->conf_path, folder.File("harkch.conf"));
  EXPECT_EQ(HarkUIProxyShared::Create(1, "/no/such", Ignore, 0)->conf_path, "/no/such/harkch.conf");
}

TEST_F(ModelCreate, NeedsAKey) {
  EXPECT_EQ(HarkUIProxyShared::Create(0, "/no/such", Ignore, 0), nullptr);
  EXPECT_EQ(HarkUIProxyShared::Create(-1, "/no/such", Ignore, 0), nullptr);
  EXPECT_NE(HarkUIProxyShared::Create(1, "/no/such", Ignore, 0), nullptr);
}

TEST_F(ModelCreate, SelectsTheFirstShift) {
  EXPECT_STREQ(model->shift.data(), "Day");
  EXPECT_THAT(Labels(), ElementsAre("1 Bob", "2 Ann", "3 Cat"));
}

TEST_F(ModelCreate, SelectsTheFirstShiftThatHasALabel) {
  Channels("SHIFT\nHARKCH 1 LABL:\"Top\"\nSHIFT LABL:\"Night\"\nHARKCH 1 LABL:\"Bob\"\nSHIFT LABL:\"Day\"\n");
  Start();
  EXPECT_STREQ(model->shift.data(), "Night");
  EXPECT_THAT(Labels(), ElementsAre("1 Bob"));
}

TEST_F(ModelCreate, SelectsTheEmptyShiftIfItIsTheFirst) {
  Channels("SHIFT LABL:\"\"\nHARKCH 1 LABL:\"Top\"\nSHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\n");
  Start();
  EXPECT_STREQ(model->shift.data(), "");
  EXPECT_THAT(Labels(), ElementsAre("1 Top"));
}

TEST_F(ModelCreate, WithoutAFileHasNoShiftAndNoLabels) {
  folder.Remove("harkch.conf");
  Start();
  EXPECT_STREQ(model->shift.data(), "");
  EXPECT_THAT(Labels(), IsEmpty());
  EXPECT_FALSE(folder.Has("harkch.conf"));
}

TEST_F(ModelCreate, IsAtRest) {
  const auto fresh = HarkUIProxyShared::Create(12, "/no/such", Ignore, 0);
  EXPECT_EQ(fresh->nkeys(), 12);
  EXPECT_EQ(fresh->table().size(), 12);
  EXPECT_EQ(fresh->volumes.size(), 12U);
  EXPECT_THAT(fresh->volumes, Each(0));
  EXPECT_STREQ(fresh->aa_label.data(), "");
  EXPECT_FALSE(fresh->spk_mute);
  EXPECT_FALSE(fresh->mic_mute);
  EXPECT_EQ(fresh->spk_volume, 0);
  EXPECT_EQ(fresh->held_key, 0U);
  EXPECT_FALSE(fresh->held_volume_changed);
  EXPECT_EQ(fresh->assign_mode, AssignMode::kIdle);
  EXPECT_EQ(fresh->group_state, GroupState::kIdle);
  EXPECT_THAT(fresh->connections, IsEmpty());
  EXPECT_EQ(fresh->callstack_combinedstatus(), 0);
  EXPECT_EQ(fresh->ComputeGPO(), 0xFF);
}

TEST_F(ModelCreate, KnowsTheTimesOfItsFiles) {
  model->TimerAction();
  EXPECT_EQ(Dirty(), kDirtyIndicators);
}

TEST_F(ModelCreate, ForgetsTheListenVolumesAtItsEnd) {
  listenvol_set("Bob", -120);
  panel.reset();
  model.reset();
  EXPECT_EQ(listenvol_get("Bob"), 0);
}

}  // namespace
}  // namespace hark

// When a released key stays on: a release soon after a press that turned something on latches it.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelLatch : public ModelTest {
 protected:
  // What a release `held_ms` after a press asks for.
  std::vector<std::string> Released(const std::string& key, long held_ms) {
    KeyDown(key);
    Sent();
    AdvanceMs(held_ms);
    KeyUp(key);
    return Sent();
  }
};

TEST_F(ModelLatch, ReleaseWithin200msLatchesTalk) {
  for (const long held : {0L, 1L, 199L}) {
    SCOPED_TRACE(held);
    EXPECT_THAT(Released("KT01", held), IsEmpty());
  }
}

TEST_F(ModelLatch, ReleaseWithin200msLatchesListenAndBoth) {
  EXPECT_THAT(Released("KL01", 199), IsEmpty());
  EXPECT_EQ(model->held_key, 0U);
  EXPECT_THAT(Released("KX01", 199), IsEmpty());
}

TEST_F(ModelLatch, ReleaseAfter200msCloses) {
  for (const long held : {200L, 201L, 60'000L}) {
    SCOPED_TRACE(held);
    EXPECT_THAT(Released("KT01", held), ElementsAre(Call(kBob, "TALK:0")));
    EXPECT_THAT(Released("KL01", held), ElementsAre(Call(kBob, "LISTEN:0 VOLUME:0")));
  }
}

TEST_F(ModelLatch, SecondPressOfALatchedKeyEndsAtItsReleaseHoweverShort) {
  for (const long held : {50L, 500L}) {
    SCOPED_TRACE(held);
    Tap("KT01");
    EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kBob, "TALK:1")));
    Report(kBobAddress, "TALK:1");
    AdvanceMs(1000);
    KeyDown("KT01");
    EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:1")));
    AdvanceMs(held);
    KeyUp("KT01");
    EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0")));
    Report(kBobAddress, "TALK:0");
  }
}

TEST_F(ModelLatch, TimeOfATapIsASetting) {
  station.harkui_tap_time_ms = 1000;
  EXPECT_THAT(Released("KT01", 999), IsEmpty());
  EXPECT_THAT(Released("KT01", 1000), ElementsAre(Call(kBob, "TALK:0")));
}

TEST_F(ModelLatch, TapTimeOf0TurnsLatchingOff) {
  station.harkui_tap_time_ms = 0;
  EXPECT_THAT(Released("KT01", 0), ElementsAre(Call(kBob, "TALK:0")));
  EXPECT_THAT(Released("KL01", 10), ElementsAre(Call(kBob, "LISTEN:0 VOLUME:0")));
}

TEST_F(ModelLatch, TimeOfTheEventDecidesNotTheClock) {
  KeyDown("KT01");
  clock.AdvanceMs(10'000);
  Sent();
  KeyUp("KT01");
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelLatch, TimesOfEventsMayWrap) {
  ms = 0xFFFFFFF0U;
  EXPECT_THAT(Released("KT01", 100), IsEmpty());
  ms = 0xFFFFFFF0U;
  EXPECT_THAT(Released("KT01", 300), ElementsAre(Call(kBob, "TALK:0")));
}

TEST_F(ModelLatch, ReleaseBeforeItsPressIsNoTap) {
  KeyDown("KT01");
  Sent();
  --ms;
  KeyUp("KT01");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0")));
}

TEST_F(ModelLatch, StrayReleaseIsMeasuredFromTheLastPress) {
  Tap("KT01");
  Sent();
  AdvanceMs(50);
  KeyUp("KT01");
  EXPECT_THAT(Sent(), IsEmpty());
  AdvanceMs(100);
  KeyUp("KT01");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0")));
}

TEST_F(ModelLatch, ReleaseWithoutAnyPressCloses) {
  ms = 100;
  KeyUp("KT01");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0")));
}

// The time of the last press is one for all keys and panels: another key's press makes a long hold a tap.
TEST_F(ModelLatch, PressOfAnotherKeyDisturbsTheMeasure) {
  KeyDown("KT01");
  AdvanceMs(1000);
  KeyDown("KT02");
  Sent();
  AdvanceMs(100);
  KeyUp("KT01");
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelLatch, PressOfAFunctionKeyCountsToo) {
  KeyDown("KT01");
  AdvanceMs(1000);
  KeyDown("MICM");
  Sent();
  AdvanceMs(100);
  KeyUp("KT01");
  EXPECT_THAT(Sent(), IsEmpty());
}

// A fader that was moved under a held listen key was what the key was held for.
TEST_F(ModelLatch, ListenStaysOnWhenItsVolumeWasSetMeanwhile) {
  KeyDown("KL01");
  panel->harkui_receive("HARKUI#p.FAD#KVOL gain=-120");
  EXPECT_TRUE(model->held_volume_changed);
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "LISTEN:1 VOLUME:0"), Call(kBob, "VOLUME:-120")));
  AdvanceMs(5000);
  KeyUp("KL01");
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_EQ(model->held_key, 0U);
}

TEST_F(ModelLatch, NextPressForgetsThatAVolumeWasSet) {
  KeyDown("KL01");
  model->held_volume_changed = true;
  AdvanceMs(500);
  KeyUp("KL01");
  Sent();
  EXPECT_THAT(Released("KL01", 500), ElementsAre(Call(kBob, "LISTEN:0 VOLUME:0")));
}

TEST_F(ModelLatch, TalkEndsEvenIfAVolumeWasSet) {
  KeyDown("KL02");
  model->held_volume_changed = true;
  EXPECT_THAT(Released("KT01", 500), ElementsAre(Call(kBob, "TALK:0")));
}

}  // namespace
}  // namespace hark

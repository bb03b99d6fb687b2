// Dimming: which listen lines are plain, dimmed or muted under a line of a higher level, and who sends the
// gain.
#include <array>

#include "callctl/call_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Gains : public CallTest {
 protected:
  static HarkLine& Station(int i, int trgl) {
    HarkLine& line = Put(kListenKind, i, "hark:10.0.1." + std::to_string(i), kLineConnected);
    line.trgl = line.trgl_compare = trgl;
    return line;
  }
};

// A row for each top level, a column for each level of another line: m muted, d dimmed, p plain.
constexpr std::array<const char*, 10> kDimming{{
    "pppppppppp",  // 0
    "mppppppppp",  // 1
    "mdpppppppp",  // 2
    "mddppppppp",  // 3
    "mmmdpppppp",  // 4
    "mmmddppppp",  // 5
    "mmmmmmpppp",  // 6
    "mmmmmmmppp",  // 7
    "mmmmmmmmpp",  // 8
    "mmmmmmmmmp",  // 9
}};

int GainOf(char letter, int dimmed) { return letter == 'm' ? -1000 : letter == 'd' ? dimmed : 0; }

TEST_F(Gains, EveryPairOfLevelsIsPlainDimmedOrMuted) {
  for (const int dimmed : {-240, -60}) {
    station.harkd_ifbgain = dimmed;
    for (int level = 0; level < 10; ++level) {
      for (int t = 0; t < 10; ++t) {
        SCOPED_TRACE("top level " + std::to_string(level) + ", level " + std::to_string(t));
        InitializeLineTable(listen_lines);
        Station(0, level).trgl_compare = 9;
        // What ranks the other line and what is compared are two numbers, so that it may exceed the top
        // level.
        HarkLine& other = Station(1, 0);
        other.trgl_compare = t;
        other.ifb_gain = 77;
        (void)mixer.Text();
        EXPECT_EQ(sipctrl_adjustifbgains(-1), 0);
        const int gain = GainOf(kDimming[static_cast<std::size_t>(level)][t], dimmed);
        EXPECT_EQ(other.ifb_gain, gain);
        EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#2 gain=" + std::to_string(gain)));
      }
    }
  }
}

TEST_F(Gains, HigherLineMutesTheLowest) {
  Station(0, 3);
  HarkLine& low = Station(1, 0);
  (void)sipctrl_adjustifbgains(-1);
  EXPECT_EQ(low.ifb_gain, -1000);
  EXPECT_EQ(listen_lines[0].ifb_gain, 0);
}

TEST_F(Gains, TriggerLevelIsTheHighestOfTheConnectedListenLines) {
  EXPECT_EQ(sipctrl_computetriggerlevel(), -1);
  Station(0, 2);
  Station(5, 7);
  Station(7, 4);
  Put(kTalkKind, 0, kStation, kLineConnected).trgl = 9;
  EXPECT_EQ(sipctrl_computetriggerlevel(), 7);
  for (const char state :
       {kLineFree, kLineRequest, kLineSeized, kLineCalling, kLineFarRinging, kLineFarDropped}) {
    listen_lines[5].state = state;
    EXPECT_EQ(sipctrl_computetriggerlevel(), 4) << state;
  }
  listen_lines[0].state = listen_lines[7].state = kLineCalling;
  EXPECT_EQ(sipctrl_computetriggerlevel(), -1);
}

TEST_F(Gains, WithoutConnectedLinesNothingIsSent) {
  Station(0, 3).state = kLineCalling;
  listen_lines[0].ifb_gain = -240;
  EXPECT_EQ(sipctrl_adjustifbgains(-1), 0);
  EXPECT_EQ(sipctrl_adjustifbgains(0), 0);
  EXPECT_EQ(listen_lines[0].ifb_gain, -240);
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(Gains, OwnLineGetsItsGainAsTheResultOnly) {
  Station(0, 3);
  HarkLine& own = Station(1, 2);
  own.volume = -15;
  HarkLine& other = Station(2, 0);
  other.volume = 25;
  EXPECT_EQ(sipctrl_adjustifbgains(1), -255);
  EXPECT_EQ(own.ifb_gain, -240);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#3 gain=-975"));
}

TEST_F(Gains, UnchangedGainIsNotSentAgain) {
  Station(0, 3);
  Station(1, 0);
  (void)sipctrl_adjustifbgains(-1);
  (void)mixer.Text();
  (void)sipctrl_adjustifbgains(-1);
  (void)sipctrl_adjustifbgains(1);
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(Gains, NoLineHasNoResult) {
  Station(0, 3).volume = 5;
  for (const int line : {-1, 1, 7, 8, 100, -100})
    EXPECT_EQ(sipctrl_adjustifbgains(line), 0) << line;
  EXPECT_EQ(sipctrl_adjustifbgains(0), 5);
}

TEST_F(Gains, LevelsBeyondTheTableAreHandledAsHighOnes) {
  Station(0, 1'000'000);
  HarkLine& below = Station(1, 999'999);
  (void)sipctrl_adjustifbgains(-1);
  EXPECT_EQ(below.ifb_gain, -1000);
}

TEST_F(Gains, DimmedGainFollowsTheSettingAtTheNextChange) {
  Station(0, 3);
  HarkLine& low = Station(1, 1);
  (void)sipctrl_adjustifbgains(-1);
  EXPECT_EQ(low.ifb_gain, -240);
  station.harkd_ifbgain = -1000;
  (void)mixer.Text();
  (void)sipctrl_adjustifbgains(-1);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#2 gain=-1000"));
}

class Volume : public CallTest {};

TEST_F(Volume, IsStoredAndSentOnTopOfTheDimming) {
  HarkLine& line = Put(kListenKind, 2, kStation, kLineConnected);
  line.ifb_gain = -240;
  sipctrl_setcallvolume("*hark:10.0.0.5", 35);
  EXPECT_EQ(line.volume, 35);
  EXPECT_THAT(MixerLines(), ElementsAre("set hark#1.sub#1.in#3 gain=-205"));
}

TEST_F(Volume, OfACallThatThereIsNotDoesNothing) {
  Put(kTalkKind, 0, kStation, kLineConnected);
  sipctrl_setcallvolume(kStation, 35);
  EXPECT_EQ(talk_lines[0].volume, 0);
  EXPECT_THAT(MixerLines(), IsEmpty());
}

TEST_F(Volume, BeyondAllRangesStaysUsable) {
  HarkLine& line = Put(kListenKind, 0, kStation, kLineConnected);
  line.ifb_gain = -1000;
  for (const long volume : {9223372036854775807L, -9223372036854775807L - 1, 2147483647L, -2147483648L}) {
    sipctrl_setcallvolume(kStation, volume);
    EXPECT_EQ(line.volume > 0, volume > 0);
    (void)sipctrl_adjustifbgains(-1);
    (void)sipctrl_adjustifbgains(0);
  }
}

TEST_F(Volume, FaderOfALineIsToldOnAndNotStored) {
  HarkLine& line = Put(kListenKind, 7, kStation, kLineConnected);
  sipctrl_qndstvolumechanged(7, -120);
  EXPECT_THAT(Volumes(), ElementsAre("hark:10.0.0.5 -120"));
  EXPECT_EQ(line.volume, 0);
  EXPECT_THAT(MixerLines(), IsEmpty());
  for (const int dst : {-1, 8, 0, 99, -100})
    sipctrl_qndstvolumechanged(dst, 1);
  EXPECT_THAT(Volumes(), IsEmpty());
}

}  // namespace
}  // namespace hark

// A fader of the console that is given its source by the panel's keys, as long as its off button is down, and
// loses it when no key is touched for 3 seconds.
#include <utility>

#include "panel/proxy_fixture.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ProxySource : public ProxyTest {
 protected:
  ProxySource() {
    Stations(std::string(kStations) +
             "Wide <hark:10.0.1.1>\n\trtpa 239.255.255.255\n"
             "Zero <quillnet:239.192.0.0>\n"
             "Both <quillnet:239.192.0.9>\n\trtpa 239.192.0.8\n");
    Labels({"Bob", "Air", "Ann", "", "Nobody", "Wide", "Zero", "Both"});
  }
  void Console(int type) { AttachUpToDate(type, 1, 10); }
  // A line of the console; no key may come of it while the off button is down.
  void Line(const std::string& line) { panels[0]->harkui_receive_surface(line.c_str()); }
  void Key(int number, char state) { Line(".btn#" + std::to_string(number) + " KEY=" + state); }
  // Both halves of a channel, pressed together and released.
  void PressBoth(int channel) {
    Key(2 * channel - 1, 'D');
    Key(2 * channel, 'D');
    Key(2 * channel - 1, 'U');
    Key(2 * channel, 'U');
  }
  std::string PassAfterUs(TimeUs us) {
    clock.AdvanceUs(us);
    panels[0]->Notify(0, clock.Now());
    return Sent();
  }
};

TEST_F(ProxySource, EveryKindOfStationHasItsChannel) {
  struct Row {
    int channel;
    const char* source;
  };
  constexpr Row kRows[] = {
      {1, "1234"},   // of its audio address
      {2, "7"},      // of the network source itself
      {3, "-1"},     // a station whose audio is not known
      {4, "-1"},     // no label
      {5, "-1"},     // nobody knows it
      {6, "32767"},  // 15 bits
      {7, "-1"},     // channel 0 is no channel
      {8, "9"},      // the network source goes before what the file says
  };
  for (const int type : {HarkUIProxy::kModule20, HarkUIProxy::kModule10, HarkUIProxy::kModuleColour}) {
    panels.clear();
    Console(type);
    Line("FaCH#5 OFF_But=D");
    for (const Row& row : kRows) {
      SCOPED_TRACE(std::to_string(row.channel) + " type " + std::to_string(type));
      if (type == HarkUIProxy::kModuleColour) {
        Key(row.channel, 'D');
        Key(row.channel, 'U');
      } else {
        PressBoth(row.channel);
      }
      EXPECT_EQ(Sent(), std::string("SET FaCH#5 hark_src=") + row.source + "\n");
    }
    EXPECT_THAT(Commands(), IsEmpty());
  }
}

TEST_F(ProxySource, KeyPicksTheStationThatItShows) {
  // The key has another label by now, but shows the old one as long as its call is up.
  Console(HarkUIProxy::kModule20);
  Party("Bob", 16);
  Model().AssignChannel(0, "Air");
  Refresh();
  Forget();
  Line("FaCH#5 OFF_But=D");
  PressBoth(1);
  EXPECT_EQ(Sent(), "SET FaCH#5 hark_src=1234\n");
}

TEST_F(ProxySource, FaderNumbersAreReadInEveryBase) {
  Console(HarkUIProxy::kModuleColour);
  for (const auto& [line, fader] : {std::pair{"FaCH#12 OFF_But=D", "12"},
                                    {"FaCH#0x10 OFF_But=DOWN", "16"},
                                    {"FaCH#010 OFF_But=D", "8"}}) {
    Line(line);
    Key(1, 'D');
    EXPECT_EQ(Sent(), std::string("SET FaCH#") + fader + " hark_src=1234\n");
  }
}

TEST_F(ProxySource, BothHalvesOfOneChannelPickInEitherOrder) {
  Console(HarkUIProxy::kModule10);
  Line("FaCH#5 OFF_But=D");
  Key(2, 'D');
  EXPECT_EQ(Sent(), "");
  Key(1, 'D');
  EXPECT_EQ(Sent(), "SET FaCH#5 hark_src=1234\n");
  // Both are forgotten, so that one alone picks nothing.
  Key(1, 'D');
  EXPECT_EQ(Sent(), "");
  Key(2, 'D');
  EXPECT_EQ(Sent(), "SET FaCH#5 hark_src=1234\n");
}

TEST_F(ProxySource, HalvesThatAreNotDownTogetherPickNothing) {
  Console(HarkUIProxy::kModule10);
  Line("FaCH#5 OFF_But=D");
  Key(1, 'D');
  Key(1, 'U');
  Key(2, 'D');
  EXPECT_EQ(Sent(), "");
  Key(3, 'D');  // talk of channel 2 with listen of channel 1
  EXPECT_EQ(Sent(), "");
  Key(4, 'D');
  EXPECT_EQ(Sent(), "SET FaCH#5 hark_src=7\n");
}

TEST_F(ProxySource, ChannelKeysAreNoKeysWhileTheOffButtonIsDown) {
  Console(HarkUIProxy::kModule10);
  Line("FaCH#5 OFF_But=D");
  for (const int number : {1, 2, 3, 40, 41, 42}) {
    Key(number, 'D');
    Key(number, 'U');
    EXPECT_THAT(Commands(), IsEmpty()) << number;
  }
  EXPECT_EQ(Model().held_key, 0U);
  Key(49, 'D');
  EXPECT_THAT(Commands(), ElementsAre("IO MICV:-1000\n", "event HARKUI#p0.BUT#MICM KEY=DOWN\r\n"));
  Line("FaCH#5 OFF_But=U");
  Key(1, 'D');
  EXPECT_THAT(Commands(), ElementsAre("IO MICV:0\n", "CALL URL:\"Bob <hark:10.0.0.7>\" TALK:1\n",
                                      "event HARKUI#p0.BUT#KT01 KEY=DOWN\r\n"));
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxySource, CombinedKeyIsNoKeyWhileTheOffButtonIsDown) {
  Console(HarkUIProxy::kModuleColour);
  Line("FaCH#5 OFF_But=D");
  Key(1, 'D');
  Key(1, 'U');
  EXPECT_THAT(Commands(), IsEmpty());
  EXPECT_EQ(Model().held_key, 0U);
}

TEST_F(ProxySource, AutoAnswerKeysPickNoStation) {
  Console(HarkUIProxy::kModule10);
  Model().SetAALabel("Bob");
  Line("FaCH#5 OFF_But=D");
  Key(41, 'D');
  Key(42, 'D');
  EXPECT_THAT(Commands(), IsEmpty());
  EXPECT_THAT(Sent(), testing::Not(testing::HasSubstr("1234")));
}

TEST_F(ProxySource, KeysHeldBeforeTheOffButtonDoNotCount) {
  Console(HarkUIProxy::kModule10);
  Key(1, 'D');
  Line("FaCH#5 OFF_But=D");
  Key(2, 'D');
  EXPECT_EQ(Sent(), "");
}

TEST_F(ProxySource, OffButtonForThreeSecondsClearsTheSourceOnce) {
  Console(HarkUIProxy::kModule10);
  Line("FaCH#5 OFF_But=D");
  EXPECT_EQ(PassAfterUs(2'999'999), "");
  EXPECT_EQ(PassAfterUs(1), "SET FaCH#5 hark_src=-1\n");
  EXPECT_EQ(PassAfterUs(10'000'000), "");
  // The button is still down: a key picks, and is no key.
  PressBoth(1);
  EXPECT_EQ(Sent(), "SET FaCH#5 hark_src=1234\n");
  EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(ProxySource, PassWithoutATimeClearsNothing) {
  Console(HarkUIProxy::kModule10);
  Line("FaCH#5 OFF_But=D");
  clock.AdvanceMs(60'000);
  panels[0]->Notify(0, 0);
  EXPECT_EQ(Sent(), "");
  EXPECT_EQ(PassAfterUs(0), "SET FaCH#5 hark_src=-1\n");
}

TEST_F(ProxySource, OffButtonThatGoesUpInTimeKeepsTheSource) {
  Console(HarkUIProxy::kModule10);
  for (const char* up : {"FaCH#5 OFF_But=U", "FaCH#5 OFF_But=X", "FaCH#6 OFF_But=U"}) {
    Line("FaCH#5 OFF_But=D");
    EXPECT_EQ(PassAfterUs(2'900'000), "");
    Line(up);
    EXPECT_EQ(PassAfterUs(5'000'000), "") << up;
  }
}

TEST_F(ProxySource, AnyChannelKeyKeepsTheSource) {
  for (const int number : {1, 2, 3, 41, 42}) {
    panels.clear();
    Console(HarkUIProxy::kModule10);
    Line("FaCH#5 OFF_But=D");
    Key(number, 'D');
    Key(number, 'U');
    EXPECT_EQ(PassAfterUs(5'000'000), "") << number;
  }
}

TEST_F(ProxySource, PickKeepsTheSource) {
  Console(HarkUIProxy::kModuleColour);
  Line("FaCH#5 OFF_But=D");
  Key(1, 'D');
  Key(1, 'U');
  EXPECT_EQ(Sent(), "SET FaCH#5 hark_src=1234\n");
  EXPECT_EQ(PassAfterUs(5'000'000), "");
}

TEST_F(ProxySource, ReleaseOrAnotherKeyDoesNotKeepTheSource) {
  for (const char* line : {".btn#1 KEY=U", ".btn#49 KEY=D", ".btn#129 rot=1", ".btn#130 rot=1"}) {
    panels.clear();
    Console(HarkUIProxy::kModule10);
    Line("FaCH#5 OFF_But=D");
    Line(line);
    clock.AdvanceMs(3000);
    panels[0]->Notify(0, clock.Now());
    EXPECT_THAT(Lines(), testing::Contains("SET FaCH#5 hark_src=-1\n")) << line;
  }
}

TEST_F(ProxySource, OffButtonAgainStartsTheTimeAgain) {
  Console(HarkUIProxy::kModule10);
  Line("FaCH#5 OFF_But=D");
  EXPECT_EQ(PassAfterUs(2'000'000), "");
  Line("FaCH#6 OFF_But=D");
  EXPECT_EQ(PassAfterUs(2'999'999), "");
  EXPECT_EQ(PassAfterUs(1), "SET FaCH#6 hark_src=-1\n");
  Line("FaCH#6 OFF_But=D");
  EXPECT_EQ(PassAfterUs(3'000'000), "SET FaCH#6 hark_src=-1\n");
}

TEST_F(ProxySource, LineWithoutAButtonChangesNothing) {
  Console(HarkUIProxy::kModule10);
  Line("FaCH#5 OFF_But=D");
  Line("FaCH#5 gain=-100");
  Line("FaCH#6");
  EXPECT_EQ(PassAfterUs(3'000'000), "SET FaCH#5 hark_src=-1\n");
}

TEST_F(ProxySource, ChannelOfALabelIsThatOfItsAudio) {
  EXPECT_EQ(Resolv2QnChannel("Bob"), 1234);
  EXPECT_EQ(Resolv2QnChannel("Air"), 7);
  EXPECT_EQ(Resolv2QnChannel("Wide"), 32767);
  EXPECT_EQ(Resolv2QnChannel("Both"), 9);
  EXPECT_EQ(Resolv2QnChannel("Ann"), 0);
  EXPECT_EQ(Resolv2QnChannel("Nobody"), -1);
  EXPECT_EQ(Resolv2QnChannel(""), -1);
  EXPECT_EQ(Resolv2QnChannel(nullptr), -1);
}

}  // namespace
}  // namespace hark

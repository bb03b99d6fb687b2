// The volume rotary of a console, alone and with a listen key held.
#include "panel/proxy_console.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ProxyRotary : public ConsoleTest {
 protected:
  ProxyRotary() { Labels({"Bob", "Ann", "", "Air"}); }
};

TEST_F(ProxyRotary, RotaryOfTheSpeakerStepsItsLevel) {
  Console();
  EXPECT_THAT(After(".btn#129 rot=1"), ElementsAre("IO SPKV:10\n"));
  EXPECT_THAT(After(".btn#129 rot=2"), ElementsAre("IO SPKV:30\n"));
  EXPECT_THAT(After(".key#129 rot=-4"), ElementsAre("IO SPKV:-10\n"));
  EXPECT_THAT(After(".btn#129 rot=0"), IsEmpty());
  EXPECT_EQ(Model().spk_volume, -10);
  EXPECT_THAT(After(".btn#129 rot=2147483647"), ElementsAre("IO SPKV:120\n"));
  EXPECT_THAT(After(".btn#129 rot=-2147483648"), ElementsAre("IO SPKV:-840\n"));
  EXPECT_THAT(After(".btn#129 rot=300000000"), ElementsAre("IO SPKV:120\n"));
}

TEST_F(ProxyRotary, RotaryWithAHeldListenKeySetsItsVolumeAndKeepsTheListen) {
  Console();
  EXPECT_THAT(After(".btn#2 KEY=D"),
              ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" LISTEN:1 VOLUME:0\n", event("KL01", "DOWN")));
  EXPECT_EQ(Model().held_key, sig("KL01"));
  EXPECT_THAT(After(".btn#129 rot=-1"), ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" VOLUME:-10\n"));
  EXPECT_THAT(After(".btn#129 rot=-1"), ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" VOLUME:-20\n"));
  clock.AdvanceMs(5000);
  EXPECT_THAT(After(".btn#2 KEY=U"), IsEmpty());
  EXPECT_EQ(Model().held_key, 0U);
  EXPECT_THAT(After(".btn#129 rot=1"), ElementsAre("IO SPKV:10\n"));
}

TEST_F(ProxyRotary, HeldListenKeyWithoutATurnDropsOnRelease) {
  Console();
  After(".btn#2 KEY=D");
  clock.AdvanceMs(5000);
  EXPECT_THAT(After(".btn#2 KEY=U"),
              ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" LISTEN:0 VOLUME:0\n", event("KL01", "UP")));
  EXPECT_EQ(Model().held_key, 0U);
}

TEST_F(ProxyRotary, RotaryWithAHeldCombinedKeySetsItsVolumeAndKeepsTheListen) {
  Console(HarkUIProxy::kModuleColour);
  After(".key#1 KEY=D");
  EXPECT_THAT(After(".btn#129 rot=1"), ElementsAre("CALL URL:\"Bob <hark:10.0.0.7>\" VOLUME:10\n"));
  clock.AdvanceMs(5000);
  EXPECT_THAT(After(".key#1 KEY=U"), testing::Not(testing::Contains(testing::HasSubstr("CALL"))));
  EXPECT_EQ(Model().held_key, 0U);
}

TEST_F(ProxyRotary, HeldCombinedKeyWithoutAPartyTakesTheRotaryAllTheSame) {
  Console(HarkUIProxy::kModuleColour);
  EXPECT_THAT(After(".key#3 KEY=D"), ElementsAre(event("KX03", "DOWN")));
  EXPECT_EQ(Model().held_key, sig("KX03"));
  EXPECT_THAT(After(".btn#129 rot=1"), IsEmpty());
  EXPECT_EQ(Model().volumes[2], 10);
  EXPECT_THAT(After(".key#3 KEY=U"), IsEmpty());
  EXPECT_EQ(Model().held_key, 0U);
}

TEST_F(ProxyRotary, NextPressOfAKeyForgetsThatItsVolumeWasSet) {
  Console();
  After(".btn#6 KEY=D");
  After(".btn#129 rot=1");
  EXPECT_THAT(After(".btn#6 KEY=U"), IsEmpty());
  After(".btn#6 KEY=D");
  EXPECT_THAT(After(".btn#6 KEY=U"), ElementsAre(event("KL03", "UP")));
}

TEST_F(ProxyRotary, ReleaseOfAnotherListenKeyIsPassedOn) {
  Console();
  After(".btn#2 KEY=D");
  After(".btn#129 rot=1");
  EXPECT_THAT(After(".btn#6 KEY=U"), ElementsAre(event("KL03", "UP")));
  EXPECT_EQ(Model().held_key, sig("KL01"));
}

}  // namespace
}  // namespace hark

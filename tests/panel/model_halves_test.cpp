// How the state of a party changes what its key does: which half is taken along, and whether a tap latches.
#include <gmock/gmock.h>

#include <array>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelHalves : public ModelTest {
 protected:
  // The party of key 1 in a state, and nobody else.
  void Be(const std::string& talk, const std::string& listen) {
    model->connections.clear();
    Report(kBobAddress, "TALK:" + talk + " LISTEN:" + listen);
    Sent();
  }
  std::vector<std::string> Pressed(const std::string& key) {
    KeyDown(key);
    return Sent();
  }
  bool TapLatches(const std::string& key) {
    KeyDown(key);
    Sent();
    AdvanceMs(50);
    KeyUp(key);
    return Sent().empty();
  }
};

constexpr const char kTalk[] = "TALK:1";
constexpr const char kListen[] = "LISTEN:1 VOLUME:0";
constexpr const char kBoth[] = "TALK:1 LISTEN:1 VOLUME:0";

// A half that is on or rings in either direction is active; one that has just dropped is not. A press on one
// half takes the other along if that is active, and latches if it turns something on that wasn't.
TEST_F(ModelHalves, ActiveHalfIsTakenAlongAndIsNotLatchedAnew) {
  struct Half {
    const char* letter;
    bool active;
  };
  constexpr std::array<Half, 5> kHalves{{{"0", false}, {"1", true}, {"R", true}, {"r", true}, {"d", false}}};
  // Nothing is answered before the key is pressed: the far end's level is below this station's.
  const std::string barred = std::string(kBobAddress) + ";trgl=1";
  for (const Half& talk : kHalves) {
    for (const Half& listen : kHalves) {
      SCOPED_TRACE(std::string("talk ") + talk.letter + " listen " + listen.letter);
      const auto be = [&] {
        model->connections.clear();
        Report(barred, std::string("TALK:") + talk.letter + " LISTEN:" + listen.letter);
        EXPECT_THAT(Sent(), IsEmpty());
      };
      const auto pressed = [&](const char* key, const char* fields) {
        be();
        std::vector<std::string> expected{Call(kBob, fields)};
        if (std::string(fields).find("TALK") == 0 && !talk.active) expected.insert(expected.begin(), kUnmute);
        EXPECT_EQ(Pressed(key), expected) << key;
      };
      const auto latches = [&](const char* key, bool expected) {
        be();
        EXPECT_EQ(TapLatches(key), expected) << key;
      };
      pressed("KT01", listen.active ? kBoth : kTalk);
      pressed("KL01", talk.active ? kBoth : kListen);
      pressed("KX01", kBoth);
      latches("KT01", !talk.active);
      latches("KL01", !listen.active);
      latches("KX01", !(talk.active && listen.active));
    }
  }
}

TEST_F(ModelHalves, ReleaseClosesTheHalfOfItsKeyOnly) {
  Be("1", "1");
  KeyDown("KT01");
  Sent();
  AdvanceMs(500);
  KeyUp("KT01");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "TALK:0")));
  KeyDown("KL01");
  Sent();
  AdvanceMs(500);
  KeyUp("KL01");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBob, "LISTEN:0 VOLUME:0")));
}

TEST_F(ModelHalves, ListenThatATalkKeyTakesAlongIsNotHeld) {
  Be("0", "1");
  EXPECT_THAT(Pressed("KT01"), ElementsAre(kUnmute, Call(kBob, kBoth)));
  EXPECT_EQ(model->held_key, 0U);
}

TEST_F(ModelHalves, ListenThatIsTakenAlongHasItsVolume) {
  listenvol_set("Bob", -60);
  Be("0", "1");
  EXPECT_THAT(Pressed("KT01"), ElementsAre(kUnmute, Call(kBob, "TALK:1 LISTEN:1 VOLUME:-60")));
}

TEST_F(ModelHalves, StateOfAnotherPartyDoesNotCount) {
  Report(kAnnAddress, "TALK:1 LISTEN:1");
  EXPECT_THAT(Pressed("KT01"), ElementsAre(kUnmute, Call(kBob, kTalk)));
  EXPECT_THAT(Pressed("KL01"), ElementsAre(Call(kBob, kListen)));
}

TEST_F(ModelHalves, MicrophoneStaysMutedWhenTalkWasActive) {
  Be("1", "0");
  model->mic_mute = true;
  EXPECT_THAT(Pressed("KT01"), ElementsAre(Call(kBob, kTalk)));
  EXPECT_TRUE(model->mic_mute);
}

}  // namespace
}  // namespace hark

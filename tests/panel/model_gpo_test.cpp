// The state of the panel outputs, which are active low.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

class ModelGpo : public ModelTest {
 protected:
  // Makes a party with a state.
  void Party(const std::string& label, unsigned status) {
    model->connections.push_front({label, static_cast<std::uint8_t>(status), 0, false, false});
  }
  // The outputs that are active.
  unsigned Active() { return model->ComputeGPO() ^ 0xFFU; }
};

TEST_F(ModelGpo, AtRestAllOutputsAreHigh) { EXPECT_EQ(model->ComputeGPO(), 0xFF); }

TEST_F(ModelGpo, OutputsAreBitsOfTheirOwn) {
  EXPECT_EQ(kOutListen, 1);
  EXPECT_EQ(kOutRinging, 4);
  EXPECT_EQ(kOutMicMute, 8);
  EXPECT_EQ(kOutTalk, 16);
}

TEST_F(ModelGpo, FollowAPartysState) {
  struct Row {
    unsigned status, outputs;
  };
  for (const Row& row : {Row{0, 0},
                         {1, 1},
                         {16, 16},
                         {2, 4},
                         {32, 4},
                         {4, 0},
                         {64, 0},
                         {8, 0},
                         {128, 0},
                         {17, 17},
                         {33, 5},
                         {18, 20},
                         {34, 4},
                         {0xFF, 21}}) {
    SCOPED_TRACE(row.status);
    model->connections.clear();
    Party("Bob", row.status);
    EXPECT_EQ(Active(), row.outputs);
  }
}

TEST_F(ModelGpo, AnyPartyCounts) {
  Party("Bob", kListenOn);
  Party("Ann", 0);
  Party("Cat", kTalkRingsIn);
  EXPECT_EQ(Active(), 5U);
  Party("Zed", kTalkOn);
  EXPECT_EQ(Active(), 21U);
}

TEST_F(ModelGpo, MutedMicrophoneIsShownAndMutedSpeakerIsNot) {
  Tap("MICM");
  EXPECT_EQ(Active(), 8U);
  Tap("SPKM");
  EXPECT_EQ(Active(), 8U);
  Tap("MICM");
  EXPECT_EQ(Active(), 0U);
}

TEST_F(ModelGpo, OnlyTalkCountsOnTheCallStack) {
  for (unsigned bit = 1; bit < 256; bit <<= 1) {
    SCOPED_TRACE(bit);
    model->callstack = {};
    model->callstack_add("Zed", bit);
    EXPECT_EQ(Active(), bit == 16 ? 16U : 0U);
  }
}

TEST_F(ModelGpo, TalkIsThatOfPartiesOrOfTheCallStack) {
  Party("Bob", kListenOn);
  model->callstack_add("Zed", kTalkOn);
  Tap("MICM");
  EXPECT_EQ(Active(), 25U);
}

}  // namespace
}  // namespace hark

// The keys of the auto-answer channel: whom they call, and when they start no new call.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelAutoAnswerKey : public ModelTest {
 protected:
  ModelAutoAnswerKey() { model->SetAALabel("Zed"); }
  std::vector<std::string> Pressed(const std::string& key) {
    KeyDown(key);
    return Sent();
  }
};

TEST_F(ModelAutoAnswerKey, CallsTheAutoAnswerLabel) {
  struct Row {
    const char* key;
    std::vector<std::string> pressed, released;
  };
  for (const Row& row : {Row{"KTAA", {kUnmute, Call(kZed, "TALK:1")}, {Call(kZed, "TALK:0")}},
                         {"KLAA", {Call(kZed, "LISTEN:1 VOLUME:0")}, {Call(kZed, "LISTEN:0 VOLUME:0")}},
                         {"KXAA",
                          {kUnmute, Call(kZed, "TALK:1 LISTEN:1 VOLUME:0")},
                          {Call(kZed, "TALK:0 LISTEN:0 VOLUME:0")}}}) {
    SCOPED_TRACE(row.key);
    EXPECT_EQ(Pressed(row.key), row.pressed);
    AdvanceMs(500);
    KeyUp(row.key);
    EXPECT_EQ(Sent(), row.released);
    KeyDown(row.key);
    Sent();
    AdvanceMs(50);
    KeyUp(row.key);
    EXPECT_THAT(Sent(), IsEmpty());
  }
}

// The number behind the last channel is the auto-answer channel, by whichever name it comes.
TEST_F(ModelAutoAnswerKey, IsTheKeyBehindTheLastChannel) {
  EXPECT_THAT(Pressed("KL91"), ElementsAre(Call(kZed, "LISTEN:1 VOLUME:0")));
  EXPECT_EQ(model->held_key, sig("KL91"));
  EXPECT_THAT(Pressed("KL92"), IsEmpty());
  Start(10);
  model->SetAALabel("Yan");
  EXPECT_THAT(Pressed("KLAA"), ElementsAre(Call(kYan, "LISTEN:1 VOLUME:0")));
  EXPECT_EQ(model->held_key, sig("KL11"));
  EXPECT_THAT(Pressed("KT11"), ElementsAre(kUnmute, Call(kYan, "TALK:1")));
}

TEST_F(ModelAutoAnswerKey, WithoutALabelDoesNothing) {
  model->SetAALabel("");
  Hold("KXAA", 500);
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelAutoAnswerKey, IsAvailableOnAPanelOfAnyKeys) {
  ShowKeys(2, 3);
  EXPECT_THAT(Pressed("KTAA"), ElementsAre(kUnmute, Call(kZed, "TALK:1")));
}

// While a stacked party is on, the key starts no call to another one.
TEST_F(ModelAutoAnswerKey, StartsNoCallWhileAStackedPartyIsOn) {
  for (const unsigned status : {1U, 16U, 17U, 16U | 128U}) {
    SCOPED_TRACE(status);
    model->callstack = {};
    model->callstack_add("Yan", status);
    for (const char* key : {"KTAA", "KLAA", "KXAA"})
      EXPECT_THAT(Pressed(key), IsEmpty()) << key;
  }
}

TEST_F(ModelAutoAnswerKey, StackedPartiesThatOnlyRingOrHaveDroppedDoNotMatter) {
  for (const unsigned status : {0U, 2U, 4U, 8U, 32U, 64U, 128U, 0x1100U}) {
    SCOPED_TRACE(status);
    model->callstack = {};
    model->callstack_add("Yan", status);
    EXPECT_THAT(Pressed("KTAA"), ElementsAre(kUnmute, Call(kZed, "TALK:1")));
  }
}

// Its own party is no new call: active in any half, the party can be answered, joined or ended.
TEST_F(ModelAutoAnswerKey, ActsOnItsActivePartyWhileAnotherIsOn) {
  struct Row {
    const char* fields;
    bool called;
  };
  for (const Row& row : {Row{"TALK:1", true},
                         {"LISTEN:1", true},
                         {"TALK:R", true},
                         {"LISTEN:R", true},
                         {"TALK:r", true},
                         {"LISTEN:r", true},
                         {"TALK:d", false},
                         {"LISTEN:d", false},
                         {"TALK:0", false}}) {
    SCOPED_TRACE(row.fields);
    model->connections.clear();
    model->callstack = {};
    Report(kZedAddress, row.fields);
    model->callstack_add("Yan", kTalkOn);
    Sent();
    EXPECT_EQ(!Pressed("KLAA").empty(), row.called);
  }
}

TEST_F(ModelAutoAnswerKey, ReleaseEndsTheCallEvenIfAnotherIsOn) {
  model->callstack_add("Yan", kTalkOn);
  KeyDown("KTAA");
  AdvanceMs(500);
  Sent();
  KeyUp("KTAA");
  EXPECT_THAT(Sent(), ElementsAre(Call(kZed, "TALK:0")));
}

TEST_F(ModelAutoAnswerKey, OtherKeysCallWhileAStackedPartyIsOn) {
  model->callstack_add("Yan", kTalkOn);
  EXPECT_THAT(Pressed("KT01"), ElementsAre(kUnmute, Call(kBob, "TALK:1")));
}

}  // namespace
}  // namespace hark

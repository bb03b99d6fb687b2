// Parties without a key: the auto-answer label and the call stack, as reports of calls set them.
#include <gmock/gmock.h>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelStack : public ModelTest {};

TEST_F(ModelStack, CallFromAPartyWithoutAKeyIsOfferedAndNotAnswered) {
  Report(kZedAddress, "TALK:R");
  EXPECT_EQ(AALabel(), "Zed");
  EXPECT_THAT(Stack(), ElementsAre("Zed 32"));
  EXPECT_THAT(Sent(), IsEmpty());
  EXPECT_EQ(model->status_of("Zed"), 32);
  EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators | kDirtyCallstack);
}

TEST_F(ModelStack, PartyWithAKeyIsLeftOut) {
  model->SetAALabel("Zed");
  Report(kBobAddress, "TALK:1");
  EXPECT_EQ(AALabel(), "Zed");
  EXPECT_THAT(Stack(), IsEmpty());
}

TEST_F(ModelStack, NewestCallerIsOnTop) {
  Report(kZedAddress, "TALK:R");
  Report(kYanAddress, "LISTEN:1");
  EXPECT_THAT(Stack(), ElementsAre("Yan 1", "Zed 32"));
  EXPECT_EQ(AALabel(), "Yan");
  Report(kZedAddress, "TALK:1");
  EXPECT_THAT(Stack(), ElementsAre("Zed 16", "Yan 1"));
  EXPECT_EQ(AALabel(), "Zed");
}

TEST_F(ModelStack, EndOfACallMovesItsEntryUpToo) {
  Report(kZedAddress, "TALK:1 LISTEN:1");
  Report(kYanAddress, "TALK:1");
  Report(kZedAddress, "TALK:0");
  EXPECT_THAT(Stack(), ElementsAre("Zed 1", "Yan 16"));
  Report(kYanAddress, "TALK:0");
  EXPECT_THAT(Stack(), ElementsAre("Yan 0", "Zed 1"));
  EXPECT_EQ(model->callstack_combinedstatus(), 1);
}

TEST_F(ModelStack, EndThatNobodyKnewOfIsNotStacked) {
  Report(kZedAddress, "TALK:0");
  EXPECT_THAT(Stack(), IsEmpty());
  EXPECT_EQ(AALabel(), "Zed");
  EXPECT_EQ(Dirty(), kDirtyLabels | kDirtyIndicators);
}

TEST_F(ModelStack, StackedPartyIsFollowedThoughItHasAKeyNow) {
  Report(kZedAddress, "TALK:1");
  model->SelectShift("Night");
  model->SetAALabel("");
  Report(kYanAddress, "TALK:r");
  Report(kZedAddress, "TALK:d");
  EXPECT_THAT(Stack(), ElementsAre("Zed 128", "Yan 64"));
  EXPECT_EQ(AALabel(), "Yan");
}

TEST_F(ModelStack, StackedPartyThatIsForgottenIsIdle) {
  Report(kZedAddress, "TALK:1");
  Report(kZedAddress, "TALK:d");
  AdvanceMs(60'001);
  Report(kZedAddress, "TALK:0");
  EXPECT_THAT(model->connections, IsEmpty());
  EXPECT_THAT(Stack(), ElementsAre("Zed 0"));
}

TEST_F(ModelStack, StatusStaysAsItWasWhenThePartyWasAdded) {
  Report(kZedAddress, "TALK:1");
  model->connections.clear();
  EXPECT_THAT(Stack(), ElementsAre("Zed 16"));
  EXPECT_EQ(model->callstack_combinedstatus(), 16);
}

TEST_F(ModelStack, VolumeReportDoesNotStack) {
  Report(kZedAddress, "TALK:1");
  Report(kYanAddress, "TALK:1");
  Dirty();
  Report(kZedAddress, "VOLUME:5");
  EXPECT_THAT(Stack(), ElementsAre("Yan 16", "Zed 16"));
  EXPECT_EQ(AALabel(), "Yan");
  EXPECT_EQ(Dirty(), 0U);
}

TEST_F(ModelStack, AddingRefreshesTheCallStack) {
  EXPECT_EQ(model->callstack_add("Zed", 2), 0);
  EXPECT_EQ(Dirty(), kDirtyCallstack);
  EXPECT_EQ(model->callstack_add("Zed", 2), 0);
  EXPECT_EQ(Dirty(), kDirtyCallstack);
}

TEST_F(ModelStack, OnlyPartiesWithExactlyTheLabelOfAKeyHaveOne) {
  model->connections.push_front({"Bob", kTalkOn, 0, false, true});
  model->connections.push_front({"bob", kTalkOn, 0, false, true});
  model->connections.push_front({"Bo", kListenOn, 0, false, true});
  model->callstack_stackunassignedcalls();
  EXPECT_THAT(Stack(), ElementsAre("bob 16", "Bo 1"));
  EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ModelStack, FullStackTakesOneMore) {
  for (int i = 0; i < 200; ++i)
    EXPECT_EQ(model->callstack_add("N" + std::to_string(i), 0), 0);
  EXPECT_EQ(Stack().size(), Callstack::kSize);
  Report(kZedAddress, "TALK:R");
  EXPECT_EQ(Stack().size(), Callstack::kSize);
  EXPECT_EQ(Stack().front(), "Zed 32");
}

TEST_F(ModelStack, PanelsMenuShowsALetterForEachState) {
  panel->type = HarkUIProxy::kModule20;
  struct Row {
    unsigned status;
    char letter;
  };
  for (const Row& row : {Row{0, '0'},
                         {1, '1'},
                         {16, '1'},
                         {8, '1'},
                         {128, '1'},
                         {2, 'F'},
                         {4, 'F'},
                         {32, 'F'},
                         {64, 'F'},
                         {16 | 2, 'F'}}) {
    SCOPED_TRACE(row.status);
    model->callstack = {};
    model->callstack_add("Yan", 0);
    model->callstack_add("Zed", row.status);
    ShowChanges();
    const std::vector<HarkUI_ScrollItem>& calls = panel->menu().calls.items;
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].text, "Zed");
    EXPECT_EQ(calls[0].status, row.letter);
    EXPECT_EQ(calls[1].text, "Yan");
    EXPECT_EQ(calls[1].status, '0');
  }
}

}  // namespace
}  // namespace hark

// The daemon answers a command by a report of the call before the command returns: what the model does around
// its commands must hold when it is called back from each of them.
#include <gmock/gmock.h>

#include <functional>

#include "panel/model_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelReentry : public ModelTest {
 protected:
  // A daemon that carries every command out at once: what is asked for is what it reports.
  void Obey() {
    heard = [this](const std::string& command) {
      if (command.starts_with("CALL ")) model->harkd_receive(command.c_str());
    };
  }
  // Runs `action` once, when the first command comes that holds `text`.
  void Once(const std::string& text, std::function<void()> action) {
    heard = [this, text, action](const std::string& command) {
      if (done || command.find(text) == std::string::npos) return;
      done = true;
      action();
    };
  }
  bool done = false;
};

// A talk line that goes on waiting for its link once made the model answer for ever, until the stack was
// full.
TEST_F(ModelReentry, RingThatIsReportedByItsOwnAnswerIsAnsweredOnce) {
  heard = [this](const std::string&) { Report(kBobAddress, "TALK:R"); };
  Report(kBobAddress, "TALK:R");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBobAddress, "TALK:1")));
  EXPECT_EQ(model->status_of("Bob"), 32);
  heard = nullptr;
  Report(kBobAddress, "TALK:R");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBobAddress, "TALK:1"))) << "the next ring is answered anew";
}

TEST_F(ModelReentry, OtherHalfThatRingsDuringAnAnswerIsAnsweredToo) {
  Once("TALK:1", [this] { Report(kBobAddress, "LISTEN:R"); });
  Report(kBobAddress, "TALK:R");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBobAddress, "TALK:1"), Call(kBobAddress, "LISTEN:1 VOLUME:0")));
}

TEST_F(ModelReentry, KeyIsOnWhenItsPressReturns) {
  Obey();
  KeyDown("KX01");
  EXPECT_EQ(model->status_of("Bob"), 17);
  AdvanceMs(500);
  KeyUp("KX01");
  EXPECT_EQ(model->status_of("Bob"), 0);
}

TEST_F(ModelReentry, TapLatchesAndTheNextTapEndsTheCall) {
  Obey();
  Tap("KT01");
  EXPECT_EQ(model->status_of("Bob"), 16);
  AdvanceMs(1000);
  Tap("KT01");
  EXPECT_EQ(model->status_of("Bob"), 0);
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kBob, "TALK:1"), Call(kBob, "TALK:1"), Call(kBob, "TALK:0")));
}

TEST_F(ModelReentry, TalkTakesTheListenAlong) {
  Obey();
  Tap("KL01");
  AdvanceMs(1000);
  Sent();
  Tap("KT01");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kBob, "TALK:1 LISTEN:1 VOLUME:0")));
  EXPECT_EQ(model->status_of("Bob"), 17);
}

TEST_F(ModelReentry, FaderIsMovedByTheReport) {
  Obey();
  Fader("KL01", -60);
  EXPECT_EQ(model->volumes[0], -60);
  EXPECT_EQ(Dirty(), kDirtyFaders);
  EXPECT_EQ(listenvol_get("Bob"), -60);
}

TEST_F(ModelReentry, GroupTalksToAllItsMembers) {
  Channels(
      "SHIFT LABL:\"Day\"\nHARKCH 1 LABL:\"Bob\"\nHARKGR 1 LABL:\"Bob\"\nHARKGR 1 LABL:\"Zed\"\n"
      "HARKGR 1 LABL:\"Ann\"\n");
  Start();
  Obey();
  KeyDown("TGRP");
  for (const char* label : {"Bob", "Zed", "Ann"})
    EXPECT_EQ(model->status_of(label), 16) << label;
  EXPECT_EQ(model->group_state, GroupState::kTalking);
  AdvanceMs(500);
  KeyUp("TGRP");
  EXPECT_FALSE(icconnections_anyactive(model->connections));
}

TEST_F(ModelReentry, AnsweredCallIsUpWhenItsRingIsDealtWith) {
  Obey();
  Report(kBobAddress, "TALK:R LISTEN:R");
  EXPECT_THAT(Sent(), ElementsAre(Call(kBobAddress, "TALK:1 LISTEN:1 VOLUME:0")));
  EXPECT_EQ(model->status_of("Bob"), 17);
  EXPECT_EQ(model->connections.size(), 1U);
  EXPECT_THAT(Stack(), IsEmpty());
}

// The stack shows what the call has become, not what it was when it rang.
TEST_F(ModelReentry, AnsweredCallWithoutAKeyIsStackedOnceAndAsOn) {
  station.harkui_aans = 1;
  Obey();
  Report(kZedAddress, "TALK:R");
  EXPECT_THAT(Sent(), ElementsAre(Call(kZedAddress, "TALK:1")));
  EXPECT_THAT(Stack(), ElementsAre("Zed 16"));
  EXPECT_EQ(AALabel(), "Zed");
  EXPECT_EQ(model->callstack_combinedstatus(), 16);
}

TEST_F(ModelReentry, CallThatFailsWhileItIsAnsweredIsNotStacked) {
  station.harkui_aans = 1;
  Once("CALL", [this] { Report(kZedAddress, "TALK:0"); });
  Report(kZedAddress, "TALK:R");
  EXPECT_EQ(model->status_of("Zed"), 0);
  EXPECT_THAT(Stack(), IsEmpty());
}

// The clock may be set forward, so that the party which is being answered is forgotten by the next report.
TEST_F(ModelReentry, PartyThatIsForgottenWhileItIsAnsweredIsNotTouchedAgain) {
  station.harkui_aans = 1;
  Once("CALL", [this] {
    Report(kZedAddress, "TALK:0");
    AdvanceMs(61'000);
    Report(kBobAddress, "TALK:1");
  });
  Report(kZedAddress, "TALK:R");
  EXPECT_EQ(model->status_of("Zed"), 0);
  EXPECT_EQ(model->connections.size(), 1U);
  EXPECT_EQ(model->callstack_combinedstatus(), 0);
}

TEST_F(ModelReentry, CallOfAnotherPartyDuringAnAnswerIsTakenAsWell) {
  station.harkui_aans = 1;
  Once("CALL", [this] { Report(kYanAddress, "LISTEN:R"); });
  Report(kZedAddress, "TALK:R");
  EXPECT_THAT(Sent(), ElementsAre(Call(kZedAddress, "TALK:1"), Call(kYanAddress, "LISTEN:1 VOLUME:0")));
  EXPECT_THAT(Stack(), ElementsAre("Zed 32", "Yan 2"));
  EXPECT_EQ(AALabel(), "Zed");
}

// The auto-answer label may change under its own key: the key calls whom it was pressed for.
TEST_F(ModelReentry, AutoAnswerKeyCallsWhomItWasPressedFor) {
  model->SetAALabel("Zed");
  listenvol_set("Zed", -30);
  listenvol_set("Yan", -90);
  Once("IO MICV", [this] { Report(kYanAddress, "TALK:R"); });
  KeyDown("KXAA");
  EXPECT_EQ(AALabel(), "Yan");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kZed, "TALK:1 LISTEN:1 VOLUME:-30")));
}

TEST_F(ModelReentry, ShiftMayChangeWhileAKeyIsDealtWith) {
  listenvol_set("Bob", -30);
  Once("IO MICV", [this] {
    model->SelectShift("Night");
    ShowChanges();
  });
  KeyDown("KX01");
  EXPECT_THAT(Sent(), ElementsAre(kUnmute, Call(kBob, "TALK:1 LISTEN:1 VOLUME:-30")));
}

TEST_F(ModelReentry, GroupMayBeLoadedAnewWhileItIsCalled) {
  Channels("SHIFT LABL:\"Day\"\nHARKGR 1 LABL:\"Bob\"\nHARKGR 1 LABL:\"Ann\"\nSHIFT LABL:\"Night\"\n");
  Start();
  Once("CALL", [this] { model->SelectShift("Night"); });
  (void)model->GroupCall(true);
  ASSERT_FALSE(sent.empty());
  EXPECT_EQ(sent[0], Call(kAnn, "TALK:1"));
  EXPECT_THAT(Group(), IsEmpty());
}

}  // namespace
}  // namespace hark

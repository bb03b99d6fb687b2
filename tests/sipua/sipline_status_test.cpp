// What the stack's local statuses do to a line, and lines that the stack leads to their end.
#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SipLineStatus : public LineTest {
 protected:
  // Hands a status to the line itself: the result.
  int Dispatch(unsigned code, cpsip_method request = cpsip_method::invite) {
    SipMsg msg(make_status(code, request).release(), &Dialog());
    return Line().DispatchMsg(msg, Line().GetAppDialogId());
  }
  // With a dialog for each state, as the stack has no status without one.
  void BringWithDialog(State state) {
    if (fake_.dialogs.empty()) Call();
    ForceIdle();
    Bring(state);
  }
  std::string Bye() {
    return "send BYE s1 0#" + std::to_string(Line().GetAppDialogId()) + " d" +
           std::to_string(Dialog().number);
  }
};

TEST_F(SipLineStatus, TimeoutOfAnInviteMakesTheLineIdle) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    BringWithDialog(state);
    EXPECT_EQ(Dispatch(kStatusTimerB), 1);
    EXPECT_THAT(Log(), ElementsAre("LineState 1/0 0"));
    EXPECT_EQ(LineState(), IDLE);
  }
}

TEST_F(SipLineStatus, StuckDialogMakesTheLineIdle) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    BringWithDialog(state);
    EXPECT_EQ(Dispatch(kStatusClearStuckDialog), 1);
    EXPECT_THAT(Log(), ElementsAre("LineState 1/0 0"));
    EXPECT_EQ(LineState(), IDLE);
  }
}

TEST_F(SipLineStatus, TimeoutOfAByeMakesTheLineIdleAndThatOfAnotherRequestDoesNot) {
  for (const State state : kStates) {
    for (const cpsip_method method : {cpsip_method::bye, cpsip_method::cancel, cpsip_method::invite,
                                      cpsip_method::options, cpsip_method::response}) {
      SCOPED_TRACE(std::string(SipLine::GetStateText(state)) + " " + SipMsg::GetMethodText(method));
      BringWithDialog(state);
      EXPECT_EQ(Dispatch(kStatusTimerF, method), 1);
      if (method == cpsip_method::bye) {
        EXPECT_THAT(Log(), ElementsAre("LineState 1/0 0"));
        EXPECT_EQ(LineState(), IDLE);
      } else {
        EXPECT_THAT(Log(), IsEmpty());
        EXPECT_EQ(LineState(), state);
      }
    }
  }
}

TEST_F(SipLineStatus, UnusableHopAndLostAckAreAnsweredWithABye) {
  for (const unsigned code : {kStatusPortConfigErr, kStatusTimer2xx}) {
    for (const State state : kStates) {
      SCOPED_TRACE(std::to_string(code) + " " + SipLine::GetStateText(state));
      BringWithDialog(state);
      EXPECT_EQ(Dispatch(code), 1);
      EXPECT_THAT(Log(), ElementsAre("LineState 1/0 6", Bye()));
      EXPECT_EQ(LineState(), DISCONNECTING);
    }
  }
}

TEST_F(SipLineStatus, InviteThatCannotBeSentPassesThroughIdleAndEndsDisconnecting) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    BringWithDialog(state);
    EXPECT_EQ(Dispatch(kStatusInviteFailed), 1);
    EXPECT_THAT(Log(), ElementsAre("LineError 1/0 54 Invite could not be sent", "LineState 1/0 0",
                                   "LineState 1/0 6", Bye()));
    EXPECT_EQ(LineState(), DISCONNECTING);
  }
}

TEST_F(SipLineStatus, FailedInviteIsReportedWhileTheLineStillCalls) {
  log_states = true;
  Bring(CALLING);
  EXPECT_THAT(Receive(make_status(kStatusInviteFailed)),
              ElementsAre("CALLING: LineError 1/0 54 Invite could not be sent", "IDLE: LineState 1/0 0",
                          "DISCONNECTING: LineState 1/0 6", "DISCONNECTING: send BYE s1 0#1 d1"));
}

TEST_F(SipLineStatus, StateIsWrittenBeforeItIsReported) {
  log_states = true;
  struct Row {
    unsigned code;
    cpsip_method request;
    Strings events;
  };
  const Row rows[] = {
      {kStatusTimerB, cpsip_method::invite, {"IDLE: LineState 1/0 0"}},
      {kStatusTimerF, cpsip_method::bye, {"IDLE: LineState 1/0 0"}},
      {kStatusClearStuckDialog, cpsip_method::invite, {"IDLE: LineState 1/0 0"}},
      {kStatusTimer2xx, cpsip_method::invite, {"DISCONNECTING: LineState 1/0 6", "DISCONNECTING: "}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.code);
    BringWithDialog(CONNECTED);
    Strings expected = row.events;
    if (expected.size() == 2) expected.back() += Bye();
    EXPECT_EQ(Receive(make_status(row.code, row.request)), expected);
  }
}

TEST_F(SipLineStatus, OtherStatusesDoNothing) {
  for (const unsigned code : {0U, 1U, 3U, 5U, 7U, 31U, 35U, 41U, 43U, 200U, 486U, 998U, 1000U, 65535U}) {
    for (const State state : kStates) {
      SCOPED_TRACE(std::to_string(code) + " " + SipLine::GetStateText(state));
      BringWithDialog(state);
      EXPECT_EQ(Dispatch(code), 1);
      EXPECT_THAT(Log(), IsEmpty());
      EXPECT_EQ(LineState(), state);
    }
  }
}

TEST_F(SipLineStatus, DeletedDialogChangesNoState) {
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    BringWithDialog(state);
    EXPECT_EQ(Dispatch(kStatusDialogDeleted), 1);
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(LineState(), state);
  }
}

TEST_F(SipLineStatus, DeletedDialogIsForgotten) {
  Bring(CONNECTED);
  (void)Receive(make_status(kStatusDialogDeleted));
  EXPECT_THAT(Receive(make_response(486)), IsEmpty());  // would end the line
  EXPECT_EQ(LineState(), CONNECTED);
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 6", "send BYE s1 0#1 no dialog = 18", "LocalDrop 1/0"));
}

TEST_F(SipLineStatus, DeletionOfAnOlderDialogLeavesTheCurrentOne) {
  Bring(CONNECTED);
  FakeDialog& old = Dialog();
  ForceIdle();
  Bring(CONNECTED);
  old.word = Dialog().word;  // even in the name of this call
  FakeStack::Deliver(old, make_status(kStatusDialogDeleted));
  Stack().Drop(1, 0);
  EXPECT_EQ(fake_.sent.back().dialog, &Dialog());
}

TEST_F(SipLineStatus, LineThatTheStackDisconnectedHasNoTimer) {
  for (const unsigned code : {kStatusPortConfigErr, kStatusTimer2xx, kStatusInviteFailed}) {
    SCOPED_TRACE(code);
    BringWithDialog(CONNECTED);
    (void)Receive(make_status(code));
    AdvanceMs(60'000);
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(LineState(), DISCONNECTING);
  }
}

TEST_F(SipLineStatus, LineThatTheStackDisconnectedEndsByTheFarEndOrTheStack) {
  struct Row {
    const char* name;
    cpsip_msg_ptr (*make)();
    Strings events;
  };
  const Row rows[] = {
      {"response", [] { return make_response(200, cpsip_method::bye); }, {"LineState 1/0 0"}},
      {"BYE", [] { return make_request(cpsip_method::bye); }, {"FarEndDrop 1/0", "LineState 1/0 0"}},
      {"timeout", [] { return make_status(kStatusTimerF, cpsip_method::bye); }, {"LineState 1/0 0"}},
      {"stuck", [] { return make_status(kStatusClearStuckDialog); }, {"LineState 1/0 0"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    BringWithDialog(CONNECTED);
    (void)Receive(make_status(kStatusTimer2xx));
    ASSERT_EQ(LineState(), DISCONNECTING);
    EXPECT_EQ(Receive(row.make()), row.events);
    EXPECT_EQ(LineState(), IDLE);
  }
}

TEST_F(SipLineStatus, LineWhoseByeCannotBeSentStaysDisconnectingAndDropsDoNothing) {
  Bring(CONNECTED);
  fake_.send_result = kServBadDialog;
  EXPECT_THAT(Receive(make_status(kStatusPortConfigErr)),
              ElementsAre("LineState 1/0 6", "send BYE s1 0#1 d1 = 18"));
  Stack().Drop(1, 0);
  AdvanceMs(60'000);
  EXPECT_THAT(Log(), IsEmpty());
  EXPECT_EQ(LineState(), DISCONNECTING);
}

// The stack answers the BYE to a hop that it cannot reach with a status, from inside the call.
TEST_F(SipLineStatus, CallToAnUnusableHopEndsIdleAfterOneRound) {
  fake_.OnNextSend([this](FakeDialog& dialog) {
    fake_.OnNextSend(
        [](FakeDialog& again) { FakeStack::Deliver(again, make_status(kStatusClearStuckDialog)); });
    FakeStack::Deliver(dialog, make_status(kStatusInviteFailed));
    FakeStack::Deliver(dialog, make_status(kStatusDialogDeleted));
  });
  Call();
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 3", "send INVITE sip:far@10.0.0.2 +sdp s1 0#1 new d1",
                                 "LineError 1/0 54 Invite could not be sent", "LineState 1/0 0",
                                 "LineState 1/0 6", "send BYE s1 0#1 d1", "LineState 1/0 0"));
  EXPECT_EQ(LineState(), IDLE);
}

TEST_F(SipLineStatus, DialogThatIsDeletedInsideTheSendOfItsInviteIsNotTakenUpAgain) {
  fake_.OnNextSend([](FakeDialog& dialog) { FakeStack::Deliver(dialog, make_status(kStatusDialogDeleted)); });
  Call();
  EXPECT_EQ(LineState(), CALLING);
  (void)Log();
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 5", "send CANCEL s1 0#1 no dialog = 18", "LocalDrop 1/0"));
}

TEST_F(SipLineStatus, StatusStaysTheStacks) {
  Bring(CONNECTED);
  cpsip_msg_ptr status = make_status(kStatusTimerB);
  status->app_dialog_id = Dialog().word;
  Service().callback(Service().app, status.get(), &Dialog());
  EXPECT_EQ(LineState(), IDLE);
  EXPECT_EQ(status->status_code, kStatusTimerB);  // not freed
}

}  // namespace
}  // namespace hark::test

// What comes from the stack in the middle of a send: local statuses and messages of the dialog that is sent
// on, and receivers that end the service by then.
#include "sipua/reentry_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

struct SendRow {
  const char* name;
  void (*prepare)(ReentryTest&);
  void (*trigger)(ReentryTest&);
};

template <State state>
void bring(ReentryTest& test) {
  test.Bring(state);
}
template <cpsip_method method>
void request(ReentryTest& test) {
  test.Put(make_request(method));
}
template <unsigned code>
void status(ReentryTest& test) {
  test.PutStatus(code);
}
template <SipLineTimer id>
void retry(ReentryTest& test) {
  test.Retry(id, false);
}
void drop(ReentryTest&) { StackTest::Stack().Drop(1, 0); }
void call(ReentryTest&) { StackTest::Stack().Call(1, 0, kFarUri); }
void answer(ReentryTest&) { StackTest::Stack().Answer(1, 0); }
void invite(ReentryTest& test) {
  FakeDialog& dialog = test.fake_.NewDialog(test.Service());
  FakeStack::Deliver(dialog, make_offer());
}
void useless_invite(ReentryTest& test) {
  FakeDialog& dialog = test.fake_.NewDialog(test.Service());
  cpsip_msg_ptr msg = make_offer();
  msg->sdp2->media[0]->fmt_count = 0;
  FakeStack::Deliver(dialog, std::move(msg));
}
void seize_all(ReentryTest&) {
  StackTest::Stack().Seize(1, 0);
  StackTest::Stack().Seize(1, 1);
}
void ring_bare(ReentryTest& test) { (void)test.Ring(make_request(cpsip_method::invite)); }

constexpr auto kAck = cpsip_method::ack;

const SendRow kRows[] = {
    {"Invite", bring<IDLE>, call},
    {"InviteOfSeized", bring<SEIZED>, call},
    {"Ringing", bring<IDLE>, invite},
    {"Refusal", bring<IDLE>, useless_invite},
    {"BusyHere", seize_all, invite},
    {"Answer", bring<RINGING>, answer},
    {"Rejection", bring<RINGING>, drop},
    {"Cancel", bring<CALLING>, drop},
    {"Bye", bring<CONNECTED>, drop},
    {"ByeOfAck", bring<CANCELING>, request<kAck>},
    {"ByeWithoutMedia", ring_bare, request<kAck>},
    {"ByeOfPortConfig", bring<CONNECTED>, status<kStatusPortConfigErr>},
    {"ByeOfLostAck", bring<RINGING>, status<kStatusTimer2xx>},
    {"ByeOfFailedInvite", bring<CALLING>, status<kStatusInviteFailed>},
    {"CancelRetry", bring<CANCELING>, retry<TIMER_CANCEL_RETRY>},
    {"ByeRetry", bring<DISCONNECTING>, retry<TIMER_BYE_RETRY>},
};

struct Inner {
  const char* name;
  cpsip_msg_ptr (*make)();
};

const Inner kInners[] = {
    {"TimerB", [] { return make_status(kStatusTimerB); }},
    {"TimerFOfBye", [] { return make_status(kStatusTimerF, cpsip_method::bye); }},
    {"StuckDialog", [] { return make_status(kStatusClearStuckDialog); }},
    {"PortConfig", [] { return make_status(kStatusPortConfigErr); }},
    {"LostAck", [] { return make_status(kStatusTimer2xx); }},
    {"InviteFailed", [] { return make_status(kStatusInviteFailed); }},
    {"DialogDeleted", [] { return make_status(kStatusDialogDeleted); }},
    {"Ringing", [] { return with_sdp(make_response(180)); }},
    {"Answer", [] { return with_sdp(make_response(200)); }},
    {"Refusal", [] { return make_response(486); }},
    {"AnswerToCancel", [] { return make_response(200, cpsip_method::cancel); }},
    {"AnswerToBye", [] { return make_response(200, cpsip_method::bye); }},
    {"Bye", [] { return make_request(cpsip_method::bye); }},
    {"Cancel", [] { return make_request(cpsip_method::cancel); }},
    {"Ack", [] { return make_request(kAck); }},
    {"Invite", [] { return make_offer(); }},
};

class ReentryFromSend : public ReentryTest {
 protected:
  void RunRow(const SendRow& row, const Action& action) {
    StartOver();
    row.prepare(*this);
    fake_.log.clear();
    fake_.OnNextSend([&](FakeDialog&) { Run(action); });
    row.trigger(*this);
    Check(action, true);
  }
  void RunAll(const Action& action) {
    for (const SendRow& row : kRows) {
      SCOPED_TRACE(std::string(row.name) + ", " + action.name);
      RunRow(row, action);
    }
  }
  // The inner message inside the send, and the action inside the first event of it.
  void RunInner(const SendRow& row, const Inner& inner, const Action* action) {
    StartOver();
    row.prepare(*this);
    fake_.log.clear();
    bool acted = false;
    fake_.OnNextSend([&](FakeDialog& dialog) {
      if (action != nullptr)
        on_event = [&](const std::string&) {
          on_event = nullptr;
          acted = true;
          Run(*action);
        };
      FakeStack::Deliver(dialog, inner.make());
      on_event = nullptr;
      if (action == nullptr) Run({"none", [](ReentryTest&) {}, false, false});
    });
    row.trigger(*this);
    if (action == nullptr)
      Check({"none", nullptr, false, false}, false);
    else if (acted)
      Check(*action, true);
  }
  void RunAllInner(const Action* action) {
    for (const SendRow& row : kRows) {
      for (const Inner& inner : kInners) {
        SCOPED_TRACE(std::string(row.name) + ", " + inner.name +
                     (action != nullptr ? std::string(", ") + action->name : ""));
        RunInner(row, inner, action);
      }
    }
  }
};

TEST_F(ReentryFromSend, CommandsLeaveTheLineInOrder) {
  for (const Action* action : {&kDrop, &kAnswer, &kCall, &kSeize})
    RunAll(*action);
}

TEST_F(ReentryFromSend, DestroyedServiceIsHeardOfNoMore) { RunAll(kDestroy); }
TEST_F(ReentryFromSend, ReplacedServiceIsHeardOfNoMoreAndTheNewOneIsNew) { RunAll(kRecreate); }
TEST_F(ReentryFromSend, EndedStackIsHeardOfNoMore) { RunAll(kEnd); }
TEST_F(ReentryFromSend, RestartedStackIsNew) { RunAll(kRestart); }

TEST_F(ReentryFromSend, MessagesInTheMiddleLeaveTheLineInOrder) { RunAllInner(nullptr); }
TEST_F(ReentryFromSend, DestroyedServiceInTheMiddleIsHeardOfNoMore) { RunAllInner(&kDestroy); }
TEST_F(ReentryFromSend, ReplacedServiceInTheMiddleIsHeardOfNoMore) { RunAllInner(&kRecreate); }
TEST_F(ReentryFromSend, EndedStackInTheMiddleIsHeardOfNoMore) { RunAllInner(&kEnd); }
TEST_F(ReentryFromSend, RestartedStackInTheMiddleIsNew) { RunAllInner(&kRestart); }
TEST_F(ReentryFromSend, CallInTheMiddleLeavesTheLineInOrder) { RunAllInner(&kCall); }
TEST_F(ReentryFromSend, DropInTheMiddleLeavesTheLineInOrder) { RunAllInner(&kDrop); }

TEST_F(ReentryFromSend, FailedInviteInsideItsSendEndsInADisconnect) {
  fake_.OnNextSend([this](FakeDialog&) { PutStatus(kStatusInviteFailed); });
  Stack().Call(1, 0, kFarUri);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 3", "send INVITE sip:far@10.0.0.2 +sdp s1 0#1 new d1",
                                 "LineError 1/0 54 Invite could not be sent", "LineState 1/0 0",
                                 "LineState 1/0 6", "send BYE s1 0#1 d1"));
  EXPECT_EQ(Line().GetState(), DISCONNECTING);
}

TEST_F(ReentryFromSend, StatusInsideACancelIsReportedBeforeTheDrop) {
  Bring(CALLING);
  fake_.OnNextSend([this](FakeDialog&) { PutStatus(kStatusClearStuckDialog); });
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(),
              ElementsAre("LineState 1/0 5", "send CANCEL s1 0#1 d1", "LineState 1/0 0", "LocalDrop 1/0"));
  EXPECT_EQ(Line().GetState(), IDLE);
}

TEST_F(ReentryFromSend, DialogThatIsDeletedInsideAByeIsForgotten) {
  Bring(CONNECTED);
  fake_.OnNextSend([this](FakeDialog&) { PutStatus(kStatusDialogDeleted); });
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 6", "send BYE s1 0#1 d1", "LocalDrop 1/0"));
  AdvanceMs(kDisconnectMs);
  EXPECT_THAT(Log(), ElementsAre("LineError 1/0 51 No response on disconnect", "LineState 1/0 0"));
}

}  // namespace
}  // namespace hark::test

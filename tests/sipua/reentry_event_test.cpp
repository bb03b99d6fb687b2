// Receivers that call back from inside an event: into the same line, or to end the service or the stack below
// it. One row for each way to each event.
#include "sipua/reentry_fixture.h"

namespace hark::test {
namespace {

struct EventRow {
  const char* name;
  const char* slot;
  void (*prepare)(ReentryTest&);
  void (*trigger)(ReentryTest&);
  int occurrence = 1;        // of the slot's event
  bool outlives_it = false;  // what it interrupts goes on when the service has been ended
};

template <State state>
void bring(ReentryTest& test) {
  test.Bring(state);
}

void drop(ReentryTest&) { StackTest::Stack().Drop(1, 0); }
void call(ReentryTest&) { StackTest::Stack().Call(1, 0, kFarUri); }

// No common codec by the time of the ACK.
void bad_ack(ReentryTest& test) {
  cpsip_msg_ptr ack = with_negotiated(make_request(cpsip_method::ack));
  ack->sdp2->media[0]->fmt_count = 0;
  test.Put(std::move(ack));
}

void bad_config(ReentryTest&) {
  SipServiceConfig config;
  config.payloadTypes = "none";
  StackTest::Stack().ServiceCreate(0, config);
}

void ring_bare(ReentryTest& test) { (void)test.Ring(make_request(cpsip_method::invite)); }

template <unsigned code, cpsip_method request = cpsip_method::invite>
void response(ReentryTest& test) {
  test.Put(make_response(code, request));
}
template <unsigned code>
void response_with_sdp(ReentryTest& test) {
  test.Put(with_sdp(make_response(code)));
}
template <cpsip_method method>
void request(ReentryTest& test) {
  test.Put(make_request(method));
}
template <unsigned code, cpsip_method method = cpsip_method::invite>
void status(ReentryTest& test) {
  test.PutStatus(code, method);
}
template <SipLineTimer id>
void finish_retry(ReentryTest& test) {
  test.Retry(id, true);
}
void invite(ReentryTest& test) {
  FakeDialog& dialog = test.fake_.NewDialog(test.Service());
  FakeStack::Deliver(dialog, make_offer());
}
void let_disconnect_expire(ReentryTest& test) { test.AdvanceMs(kDisconnectMs); }

constexpr auto kBye = cpsip_method::bye;
constexpr auto kCancel = cpsip_method::cancel;
constexpr auto kAck = cpsip_method::ack;
constexpr auto kInvite = cpsip_method::invite;

const EventRow kRows[] = {
    {"RingUris", "LineRing", bring<IDLE>, invite},
    {"RingMessage", "LineRing2", bring<IDLE>, invite},
    {"CodecsOfInvite", "Codecs", bring<IDLE>, invite},
    {"CodecsOfProgress", "Codecs", bring<CALLING>, response_with_sdp<183>},
    {"CodecsOfRinging", "Codecs", bring<CALLING>, response_with_sdp<180>},
    {"CodecsOfAnswer", "Codecs", bring<CALLING>, response_with_sdp<200>},
    {"CodecsOfRefusal", "Codecs", bring<CALLING>, response_with_sdp<486>},
    {"CodecsOfRedirection", "Codecs", bring<CALLING>, response_with_sdp<302>},
    {"CodecsOfAck", "Codecs", ring_bare,
     [](ReentryTest& test) { test.Put(with_negotiated(with_sdp(make_request(kAck)))); }},
    {"ConnectedByAnswer", "LineConnected", bring<CALLING>, response<200>},
    {"ConnectedByAck", "LineConnected", bring<RINGING>, request<kAck>},
    {"FarEndRinging", "FarEndRinging", bring<CALLING>, response<180>},
    {"FarEndsBye", "FarEndDrop", bring<CONNECTED>, request<kBye>},
    {"FarEndsCancel", "FarEndDrop", bring<RINGING>, request<kCancel>},
    {"LocalDropRinging", "LocalDrop", bring<RINGING>, drop},
    {"LocalDropCalling", "LocalDrop", bring<CALLING>, drop},
    {"LocalDropConnected", "LocalDrop", bring<CONNECTED>, drop},
    {"LocalDropOfWatch", "LocalDrop",
     [](ReentryTest& test) {
       test.Bring(CALLING);
       test.Put(make_response(180));
     },
     [](ReentryTest& test) { test.AdvanceMs(kProgressMs); }},
    {"Seized", "LineSeized", bring<IDLE>, [](ReentryTest&) { StackTest::Stack().Seize(1, 0); }},
    {"StateDropRinging", "LineState", bring<RINGING>, drop},
    {"StateDropSeized", "LineState", bring<SEIZED>, drop},
    {"StateDropCalling", "LineState", bring<CALLING>, drop},
    {"StateDropConnected", "LineState", bring<CONNECTED>, drop},
    {"StateCallIdle", "LineState", bring<IDLE>, call},
    {"StateCallSeized", "LineState", bring<SEIZED>, call},
    {"StateFarEndsBye", "LineState", bring<CONNECTED>, request<kBye>},
    {"StateFarEndsCancel", "LineState", bring<RINGING>, request<kCancel>},
    {"StateRefused", "LineState", bring<CALLING>, response<486>},
    {"StateRedirected", "LineState", bring<CALLING>, response<302>},
    {"StateFailedInCall", "LineState", bring<CONNECTED>, response<500, kInvite>},
    {"StateCancelled", "LineState", bring<CANCELING>, response<487>},
    {"StateCancelAnswered", "LineState", bring<CANCELING>, response<200, kCancel>},
    {"StateByeAnswered", "LineState", bring<DISCONNECTING>, response<200, kBye>},
    {"StateTimerB", "LineState", bring<CALLING>, status<kStatusTimerB>},
    {"StateTimerFOfBye", "LineState", bring<DISCONNECTING>, status<kStatusTimerF, kBye>},
    {"StateStuckDialog", "LineState", bring<CANCELING>, status<kStatusClearStuckDialog>},
    {"StatePortConfig", "LineState", bring<CONNECTED>, status<kStatusPortConfigErr>},
    {"StateLostAck", "LineState", bring<RINGING>, status<kStatusTimer2xx>},
    {"StateInviteFailedIdle", "LineState", bring<CALLING>, status<kStatusInviteFailed>},
    {"StateInviteFailedBye", "LineState", bring<CALLING>, status<kStatusInviteFailed>, 2},
    {"StateAckWithoutMedia", "LineState", ring_bare, request<kAck>},
    {"StateAckWithoutCodec", "LineState", ring_bare, bad_ack},
    {"StateDisconnectTimer", "LineState", bring<DISCONNECTING>, let_disconnect_expire},
    {"StateCallRetry", "LineState", bring<CALLING>, finish_retry<TIMER_CALL_RETRY>},
    {"StateCancelRetry", "LineState", bring<CANCELING>, finish_retry<TIMER_CANCEL_RETRY>},
    {"StateByeRetry", "LineState", bring<DISCONNECTING>, finish_retry<TIMER_BYE_RETRY>},
    {"ErrorDropIdle", "LineError", bring<IDLE>, drop},
    {"ErrorAnswerIdle", "LineError", bring<IDLE>, [](ReentryTest&) { StackTest::Stack().Answer(1, 0); }},
    {"ErrorSeizeConnected", "LineError", bring<CONNECTED>,
     [](ReentryTest&) { StackTest::Stack().Seize(1, 0); }},
    {"ErrorCallConnected", "LineError", bring<CONNECTED>, call},
    {"ErrorRefused", "LineError", bring<CALLING>, response<486>},
    {"ErrorRedirected", "LineError", bring<CALLING>, response<302>},
    {"ErrorFailedInCall", "LineError", bring<CONNECTED>, response<481, kBye>},
    {"ErrorInviteFailed", "LineError", bring<CALLING>, status<kStatusInviteFailed>},
    {"ErrorAckWithoutMedia", "LineError", ring_bare, request<kAck>},
    {"ErrorAckWithoutCodec", "LineError", ring_bare, bad_ack},
    {"ErrorDisconnectTimer", "LineError", bring<DISCONNECTING>, let_disconnect_expire},
    {"ErrorCallRetry", "LineError", bring<CALLING>, finish_retry<TIMER_CALL_RETRY>},
    {"ErrorLineIndex", "LineError", bring<IDLE>, [](ReentryTest&) { StackTest::Stack().Seize(1, 99); }},
    {"ErrorMapNumber", "LineError", bring<IDLE>,
     [](ReentryTest&) { StackTest::Stack().MapNumberToLine(1, 0, "100"); }},
    {"ServiceFailure", "ServiceError", bring<CALLING>, request<cpsip_method::service_failure>},
    {"Registration", "ServiceError", bring<CALLING>, response<200, cpsip_method::register_>},
    {"ServiceIndex", "ServiceError", bring<IDLE>, [](ReentryTest&) { StackTest::Stack().Drop(99, 0); }},
    {"NoService", "ServiceError", bring<IDLE>, [](ReentryTest&) { StackTest::Stack().Drop(0, 0); }},
    {"BadPayloads", "ServiceError", bring<IDLE>, bad_config, 1, true},
    {"FailedCreation", "ServiceError", bring<IDLE>, bad_config, 2},
    {"Created", "ServiceCreate", bring<CALLING>,
     [](ReentryTest&) { StackTest::Stack().ServiceCreate(1, ReentryTest::Config(1, 2)); }},
    {"Destroyed", "ServiceDestroy", bring<CALLING>,
     [](ReentryTest&) { StackTest::Stack().ServiceDestroy(1); }},
    {"Replaced", "ServiceDestroy", bring<CALLING>,
     [](ReentryTest&) { StackTest::Stack().ServiceCreate(1, ReentryTest::Config(1, 2)); }, 1, true},
};

class ReentryFromEvent : public ReentryTest {
 protected:
  void RunRow(const EventRow& row, const Action& action) {
    StartOver();
    row.prepare(*this);
    fake_.log.clear();
    int left = row.occurrence;
    on_event = [&](const std::string& slot) {
      if (slot != row.slot || --left > 0) return;
      on_event = nullptr;
      Run(action);
    };
    row.trigger(*this);
    on_event = nullptr;
    if (!action.ends_service && fake_.ServiceAt(1) == nullptr) Stack().ServiceCreate(1, Config(1, 2));
    Check(action, !row.outlives_it);
  }
  void RunAll(const Action& action) {
    for (const EventRow& row : kRows) {
      SCOPED_TRACE(std::string(row.name) + ", " + action.name);
      RunRow(row, action);
    }
  }
};

TEST_F(ReentryFromEvent, DropLeavesTheLineInOrder) { RunAll(kDrop); }
TEST_F(ReentryFromEvent, AnswerLeavesTheLineInOrder) { RunAll(kAnswer); }
TEST_F(ReentryFromEvent, CallLeavesTheLineInOrder) { RunAll(kCall); }
TEST_F(ReentryFromEvent, SeizureLeavesTheLineInOrder) { RunAll(kSeize); }
TEST_F(ReentryFromEvent, DestroyedServiceIsHeardOfNoMore) { RunAll(kDestroy); }
TEST_F(ReentryFromEvent, ReplacedServiceIsHeardOfNoMoreAndTheNewOneIsNew) { RunAll(kRecreate); }
TEST_F(ReentryFromEvent, EndedStackIsHeardOfNoMore) { RunAll(kEnd); }
TEST_F(ReentryFromEvent, RestartedStackIsNew) { RunAll(kRestart); }

}  // namespace
}  // namespace hark::test

// What a response does to a line: by its state, by the class of the code and by the method that it answers.
#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr unsigned kCodes[] = {0,   99,  100, 101, 179, 180, 181, 183, 199, 200, 201, 299, 300, 399,
                               400, 401, 402, 406, 407, 408, 487, 499, 500, 599, 600, 699, 700, 65535};
constexpr cpsip_method kMethods[] = {cpsip_method::invite, cpsip_method::bye, cpsip_method::cancel,
                                     cpsip_method::prack, cpsip_method::options};

class SipLineResponse : public LineTest {
 protected:
  // Hands a response to the line itself: the result.
  int Dispatch(cpsip_msg_ptr response) {
    SipMsg msg(response.release(), &Dialog());
    return Line().DispatchMsg(msg, Line().GetAppDialogId());
  }
  static std::string Row(State state, unsigned code, cpsip_method method) {
    return std::string(SipLine::GetStateText(state)) + ": " + std::to_string(code) + " to " +
           SipMsg::GetMethodText(method);
  }
  // Brings the line to `state` for each code and method, and compares what follows.
  template <typename Expected>
  void CheckAll(State state, Expected expected) {
    for (const unsigned code : kCodes) {
      for (const cpsip_method method : kMethods) {
        SCOPED_TRACE(Row(state, code, method));
        Bring(state);
        const auto [events, after] = expected(code, method);
        EXPECT_EQ(Dispatch(make_response(code, method)), 1);
        EXPECT_EQ(Log(), events);
        EXPECT_EQ(LineState(), after);
        ForceIdle();
      }
    }
  }
};

struct Outcome {
  Strings events;
  State after;
};

std::string failed(unsigned code) { return "LineError 1/0 " + std::to_string(code) + " Call failed"; }

TEST_F(SipLineResponse, IdleRingingAndSeizedLinesIgnoreAll) {
  Call();  // so that there is a dialog
  ForceIdle();
  for (const State state : {IDLE, SEIZED, RINGING})
    CheckAll(state, [&](unsigned, cpsip_method) { return Outcome{{}, state}; });
}

TEST_F(SipLineResponse, CallingLineFollowsTheClassOfTheCode) {
  CheckAll(CALLING, [](unsigned code, cpsip_method method) -> Outcome {
    if (code == 180) return {{"FarEndRinging 1/0"}, CALLING};
    if (code == 200 && method == cpsip_method::invite)
      return {{std::string("LineConnected 1/0 ") + kFarUri + " " + kNearUri + "  "}, CONNECTED};
    if (code < 300 || code == 401 || code == 407) return {{}, CALLING};
    if (code < 400) return {{"LineError 1/0 " + std::to_string(code) + " ", "LineState 1/0 0"}, IDLE};
    return {{failed(code), "LineState 1/0 0"}, IDLE};
  });
}

TEST_F(SipLineResponse, ConnectedLineEndsAtFourHundredAndAboveWithoutABye) {
  CheckAll(CONNECTED, [](unsigned code, cpsip_method) -> Outcome {
    if (code < 400) return {{}, CONNECTED};
    return {{failed(code), "LineState 1/0 0"}, IDLE};
  });
}

TEST_F(SipLineResponse, CancelingLineEndsByAFourHundredToTheInviteOrAnyCodeToTheCancel) {
  CheckAll(CANCELING, [](unsigned code, cpsip_method method) -> Outcome {
    const bool refused = method == cpsip_method::invite && code >= 400 && code <= 499;
    if (refused || method == cpsip_method::cancel) return {{"LineState 1/0 0"}, IDLE};
    return {{}, CANCELING};
  });
}

TEST_F(SipLineResponse, DisconnectingLineEndsByAnyCodeToTheBye) {
  CheckAll(DISCONNECTING, [](unsigned, cpsip_method method) -> Outcome {
    if (method == cpsip_method::bye) return {{"LineState 1/0 0"}, IDLE};
    return {{}, DISCONNECTING};
  });
}

TEST_F(SipLineResponse, EndIsInTheStateBeforeItIsReported) {
  log_states = true;
  struct Row {
    State state;
    unsigned code;
    cpsip_method method;
    Strings events;
  };
  const Row rows[] = {
      {CALLING, 302, cpsip_method::invite, {"IDLE: LineError 1/0 302 ", "IDLE: LineState 1/0 0"}},
      {CALLING, 486, cpsip_method::invite, {"IDLE: LineError 1/0 486 Call failed", "IDLE: LineState 1/0 0"}},
      {CONNECTED,
       481,
       cpsip_method::options,
       {"IDLE: LineError 1/0 481 Call failed", "IDLE: LineState 1/0 0"}},
      {CANCELING, 487, cpsip_method::invite, {"IDLE: LineState 1/0 0"}},
      {DISCONNECTING, 200, cpsip_method::bye, {"IDLE: LineState 1/0 0"}},
      {CALLING,
       200,
       cpsip_method::invite,
       {std::string("CONNECTED: LineConnected 1/0 ") + kFarUri + " " + kNearUri + "  "}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(SipLine::GetStateText(row.state));
    Bring(row.state);
    EXPECT_EQ(Receive(make_response(row.code, row.method)), row.events);
    ForceIdle();
  }
}

TEST_F(SipLineResponse, RedirectionIsReportedWithItsContact) {
  for (const unsigned code : {300U, 302U, 399U}) {
    Bring(CALLING);
    EXPECT_THAT(
        Receive(with_contact(make_response(code), "sip:other@10.0.0.3:5070")),
        ElementsAre("LineError 1/0 " + std::to_string(code) + " sip:other@10.0.0.3:5070", "LineState 1/0 0"));
    EXPECT_EQ(LineState(), IDLE);
  }
}

TEST_F(SipLineResponse, DescriptionInAnyResponseToACallIsReportedFirst) {
  for (const unsigned code : {99U, 100U, 180U, 183U, 200U, 202U, 302U, 401U, 407U, 486U, 603U, 700U}) {
    SCOPED_TRACE(code);
    Bring(CALLING);
    const Strings events = Receive(with_sdp(make_response(code)));
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front(), std::string("Codecs 1/0 ") + kL24Codecs);
    ForceIdle();
  }
}

TEST_F(SipLineResponse, CodecsAreReportedWhileTheLineStillCalls) {
  log_states = true;
  Bring(CALLING);
  EXPECT_THAT(Receive(with_sdp(make_response(200))),
              ElementsAre("CALLING: Codecs 1/0 96=L24/48000/2",
                          "CONNECTED: LineConnected 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1 "
                          "239.192.0.2:5004 96=L24/48000/2"));
}

TEST_F(SipLineResponse, ConnectionHasTheUrisOfItsResponse) {
  Bring(CALLING);
  EXPECT_THAT(Receive(with_uris(make_response(200), "sip:a@1.1.1.1;x=y", "sip:b@2.2.2.2")),
              ElementsAre("LineConnected 1/0 sip:a@1.1.1.1;x=y sip:b@2.2.2.2  "));
}

TEST_F(SipLineResponse, ListWithoutCodecsIsReportedAllTheSame) {
  Bring(CALLING);
  EXPECT_THAT(Receive(with_sdp(make_response(200), "v=0\r\no=- 1 1 IN IP4 10.0.0.2\r\ns=-\r\nt=0 0\r\n")),
              ::testing::Contains("Codecs 1/0 "));
  EXPECT_EQ(LineState(), CONNECTED);
}

TEST_F(SipLineResponse, ReceivedListIsNotRemapped) {
  Bring(CALLING);
  cpsip_msg_ptr msg = with_sdp(make_response(200));
  msg->sdp->media[0]->fmt_local[0] = 97;
  EXPECT_EQ(Receive(std::move(msg)).front(), "Codecs 1/0 96=L24/48000/2");
}

TEST_F(SipLineResponse, AnswerWithoutADescriptionAfterAProgressWithOneConnectsWithEmptyTexts) {
  Bring(CALLING);
  EXPECT_THAT(Receive(with_sdp(make_response(183))), ElementsAre("Codecs 1/0 96=L24/48000/2"));
  EXPECT_THAT(Receive(make_response(200)),
              ElementsAre("LineConnected 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1  "));
}

TEST_F(SipLineResponse, ProvisionalWithoutADescriptionAfterOneWithItEmptiesTheTexts) {
  Bring(CALLING);
  (void)Receive(with_sdp(make_response(183)));
  (void)Receive(make_response(180));
  EXPECT_THAT(Receive(make_response(200)),
              ElementsAre("LineConnected 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1  "));
}

TEST_F(SipLineResponse, DescriptionInAConnectedCallIsIgnored) {
  Bring(CONNECTED);
  EXPECT_THAT(Receive(with_sdp(make_response(200))), IsEmpty());
  EXPECT_THAT(Receive(with_sdp(make_response(183))), IsEmpty());
}

TEST_F(SipLineResponse, CancelAnsweredFirstMakesTheLineIdleAndTheLateRefusalIsIgnored) {
  Bring(CALLING);
  Stack().Drop(1, 0);
  EXPECT_THAT(Receive(make_response(200, cpsip_method::cancel)), ElementsAre("LineState 1/0 0"));
  EXPECT_THAT(Receive(make_response(487)), IsEmpty());
  EXPECT_EQ(LineState(), IDLE);
}

TEST_F(SipLineResponse, AnswerThatCrossesTheCancelIsIgnored) {
  Bring(CANCELING);
  EXPECT_THAT(Receive(with_sdp(make_response(200))), IsEmpty());
  EXPECT_EQ(LineState(), CANCELING);
}

TEST_F(SipLineResponse, ChallengeEndsAConnectedCallButNotACallThatWaits) {
  for (const unsigned code : {401U, 407U}) {
    SCOPED_TRACE(code);
    Bring(CALLING);
    EXPECT_THAT(Receive(make_response(code)), IsEmpty());
    EXPECT_EQ(LineState(), CALLING);
    (void)Receive(make_response(200));
    EXPECT_THAT(Receive(make_response(code, cpsip_method::options)),
                ElementsAre("LineError 1/0 " + std::to_string(code) + " Call failed", "LineState 1/0 0"));
    EXPECT_EQ(LineState(), IDLE);
  }
}

TEST_F(SipLineResponse, ChallengedCallIsEndedByADrop) {
  Bring(CALLING);
  (void)Receive(make_response(401));
  Stack().Drop(1, 0);
  EXPECT_EQ(LineState(), CANCELING);
}

}  // namespace
}  // namespace hark::test

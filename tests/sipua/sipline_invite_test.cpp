// An incoming call: the ring and its offer, the answer, the ACK that connects, and the far end's end of it.
#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kConnected =
    "LineConnected 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1 239.192.0.2:5004 96=L24/48000/2";
constexpr const char* kConnectedEmpty = "LineConnected 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1  ";

// An offer of which nothing is common.
cpsip_msg_ptr make_useless_offer() {
  cpsip_msg_ptr msg = make_offer();
  msg->sdp2->media[0]->fmt_count = 0;
  return msg;
}

class SipLineInvite : public LineTest {
 protected:
  // A second INVITE in the line's dialog; and the log of it.
  Strings InviteAgain(cpsip_msg_ptr invite) {
    Line().SetSipDialogId(&Dialog());
    Dialog().word = app_dialog_word(0, Line().GetAppDialogId());
    return Receive(std::move(invite));
  }
  int Dispatch(cpsip_msg_ptr message) {
    SipMsg msg(message.release(), &Dialog());
    return Line().DispatchMsg(msg, Line().GetAppDialogId());
  }
  void AllowMissingMedia() {
    SipServiceConfig config = Config(1, 2);
    config.allowMissingMedia = true;
    StartService(config);
  }
};

TEST_F(SipLineInvite, OfferRingsAfterItsCodecsAndBeforeItsProvisional) {
  log_states = true;
  EXPECT_THAT(Ring(make_offer()),
              ElementsAre("IDLE: Codecs 1/0 96=L24/48000/2",
                          "RINGING: LineRing 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1",
                          "RINGING: LineRing2 1/0 32768", "RINGING: send 180 Ringing to INVITE s1 0#0 d1"));
}

TEST_F(SipLineInvite, CallWithoutADescriptionRingsWithoutCodecs) {
  EXPECT_THAT(Ring(make_request(cpsip_method::invite)),
              ElementsAre("LineRing 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1", "LineRing2 1/0 32768",
                          "send 180 Ringing to INVITE s1 0#0 d1"));
  EXPECT_EQ(LineState(), RINGING);
}

TEST_F(SipLineInvite, DescriptionThatWasNotNegotiatedIsNoOffer) {
  EXPECT_THAT(Ring(with_sdp(make_request(cpsip_method::invite))),
              ElementsAre("LineRing 1/0 sip:far@10.0.0.2 sip:near@10.0.0.1", "LineRing2 1/0 32768",
                          "send 180 Ringing to INVITE s1 0#0 d1"));
  Stack().Answer(1, 0);
  EXPECT_TRUE(fake_.sent.back().default_sdp);
}

TEST_F(SipLineInvite, ReportedCodecsAreThoseOfTheNegotiationRemapped) {
  cpsip_msg_ptr msg = make_offer();
  msg->sdp2->media[0]->fmt_local[0] = 97;
  EXPECT_EQ(Ring(std::move(msg)).front(), "Codecs 1/0 +97 96=L24/48000/2");
}

TEST_F(SipLineInvite, NoCommonCodecIsRefusedAndTheNextCallIsTakenAtOnce) {
  EXPECT_THAT(Ring(make_useless_offer()), ElementsAre("send 488 No common codec to INVITE s1 0#0 d1"));
  EXPECT_EQ(LineState(), IDLE);
  EXPECT_EQ(Ring(make_offer()).back(), "send 180 Ringing to INVITE s1 0#0 d2");
  EXPECT_EQ(LineState(), RINGING);
}

TEST_F(SipLineInvite, NegotiationWithoutAMediumIsNoCommonCodec) {
  cpsip_msg_ptr msg = make_offer();
  msg->sdp2->media[0].reset();
  EXPECT_THAT(Ring(std::move(msg)), ElementsAre("send 488 No common codec to INVITE s1 0#0 d1"));
}

TEST_F(SipLineInvite, InviteOfTheLinesDialogRingsInEveryState) {
  Call();
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    ForceIdle();
    Bring(state);
    const Strings events = InviteAgain(make_offer());
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events.front(), "Codecs 1/0 96=L24/48000/2");
    EXPECT_EQ(fake_.sent.back().status, 180U);
    EXPECT_EQ(LineState(), RINGING);
  }
}

TEST_F(SipLineInvite, UselessInviteOfTheLinesDialogLeavesEveryStateAsItWas) {
  Call();
  for (const State state : kStates) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    ForceIdle();
    Bring(state);
    const Strings events = InviteAgain(make_useless_offer());
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(fake_.sent.back().status, 488U);
    EXPECT_EQ(LineState(), state);
  }
}

TEST_F(SipLineInvite, ResultIsThatOfTheSend) {
  (void)Ring(make_offer());
  EXPECT_EQ(Dispatch(make_offer()), 1);
  EXPECT_EQ(Dispatch(make_useless_offer()), 1);
  fake_.send_result = 33;
  EXPECT_EQ(Dispatch(make_offer()), 0);
  EXPECT_EQ(Dispatch(make_useless_offer()), 0);
}

TEST_F(SipLineInvite, RingIsReportedWithTheUrisOfTheInvite) {
  const Strings events = Ring(with_uris(make_offer(), "sip:a@1.1.1.1;label=A", "sip:b@2.2.2.2;label=B"));
  EXPECT_THAT(events, ::testing::Contains("LineRing 1/0 sip:a@1.1.1.1;label=A sip:b@2.2.2.2;label=B"));
}

TEST_F(SipLineInvite, IncomingCallsLeaveTheGenerationAsItIs) {
  Call();
  ForceIdle();
  (void)Ring(make_offer());
  EXPECT_EQ(Line().GetAppDialogId(), 1);
  EXPECT_EQ(fake_.sent.back().word, app_dialog_word(0, 1));
}

TEST_F(SipLineInvite, AnswerToAnOfferLeavesTheDescriptionToTheNegotiation) {
  Bring(RINGING);
  Stack().Answer(1, 0);
  EXPECT_THAT(Log(), ElementsAre("send 200 OK to INVITE s1 0#0 d1"));
}

TEST_F(SipLineInvite, AnswerWithoutAnOfferOffersTheDefaultDescription) {
  (void)Ring(make_request(cpsip_method::invite));
  Stack().Answer(1, 0);
  EXPECT_THAT(Log(), ElementsAre("send 200 OK to INVITE +sdp s1 0#0 d1"));
  EXPECT_EQ(LineState(), RINGING);
}

TEST_F(SipLineInvite, AnswerOfAServiceWithoutPayloadTypesOffersNothing) {
  SipServiceConfig config = Config(1, 1);
  config.payloadTypes.clear();
  StartService(config);
  (void)Ring(make_request(cpsip_method::invite));
  Stack().Answer(1, 0);
  EXPECT_FALSE(fake_.sent.back().default_sdp);
}

TEST_F(SipLineInvite, OfferOfAnEarlierCallDoesNotCountForTheNext) {
  Bring(RINGING);
  Stack().Drop(1, 0);
  (void)Ring(make_request(cpsip_method::invite));
  Stack().Answer(1, 0);
  EXPECT_TRUE(fake_.sent.back().default_sdp);
}

TEST_F(SipLineInvite, AckConnectsACallThatHadAnOffer) {
  log_states = true;
  Bring(RINGING);
  Stack().Answer(1, 0);
  EXPECT_THAT(Receive(make_request(cpsip_method::ack)), ElementsAre(std::string("CONNECTED: ") + kConnected));
}

TEST_F(SipLineInvite, ConnectionHasTheUrisOfTheAckAsTheyStand) {
  Bring(RINGING);
  EXPECT_THAT(Receive(with_uris(make_request(cpsip_method::ack), "sip:x@3.3.3.3", "sip:y@4.4.4.4")),
              ElementsAre("LineConnected 1/0 sip:x@3.3.3.3 sip:y@4.4.4.4 239.192.0.2:5004 96=L24/48000/2"));
}

TEST_F(SipLineInvite, AckWithoutAnyMediaIsAFailureEvenWithADescriptionThatWasNotNegotiated) {
  log_states = true;
  for (const bool with_answer : {false, true}) {
    SCOPED_TRACE(with_answer);
    (void)Ring(make_request(cpsip_method::invite));
    Stack().Answer(1, 0);
    cpsip_msg_ptr ack = make_request(cpsip_method::ack);
    if (with_answer) ack = with_sdp(std::move(ack));
    EXPECT_THAT(Receive(std::move(ack)),
                ElementsAre("RINGING: LineError 1/0 52 Missing media info", "DISCONNECTING: LineState 1/0 6",
                            "DISCONNECTING: send BYE s1 0#0 d" + std::to_string(Dialog().number)));
    ForceIdle();
  }
}

TEST_F(SipLineInvite, AckWithoutAnyMediaConnectsWhereThatIsAllowed) {
  AllowMissingMedia();
  for (const bool with_answer : {false, true}) {
    SCOPED_TRACE(with_answer);
    (void)Ring(make_request(cpsip_method::invite));
    Stack().Answer(1, 0);
    cpsip_msg_ptr ack = make_request(cpsip_method::ack);
    if (with_answer) ack = with_sdp(std::move(ack));
    EXPECT_THAT(Receive(std::move(ack)), ElementsAre(kConnectedEmpty));
    EXPECT_EQ(LineState(), CONNECTED);
    ForceIdle();
  }
}

TEST_F(SipLineInvite, AllowedMissingMediaDoesNotEmptyAnOffersTexts) {
  AllowMissingMedia();
  Bring(RINGING);
  EXPECT_THAT(Receive(make_request(cpsip_method::ack)), ElementsAre(kConnected));
}

TEST_F(SipLineInvite, TextsOfAnEarlierCallAreGoneInACallWithoutADescription) {
  AllowMissingMedia();
  Bring(RINGING);
  Stack().Drop(1, 0);
  (void)Ring(make_request(cpsip_method::invite));
  EXPECT_THAT(Receive(make_request(cpsip_method::ack)), ElementsAre(kConnectedEmpty));
}

TEST_F(SipLineInvite, AckWithANegotiatedAnswerConnectsWithIt) {
  log_states = true;
  (void)Ring(make_request(cpsip_method::invite));
  cpsip_msg_ptr ack = with_negotiated(with_sdp(make_request(cpsip_method::ack)));
  EXPECT_THAT(Receive(std::move(ack)),
              ElementsAre("RINGING: Codecs 1/0 96=L24/48000/2", std::string("CONNECTED: ") + kConnected));
}

TEST_F(SipLineInvite, AckWithAnAnswerOfNoCodecIsAFailureAlsoWhereMissingMediaIsAllowed) {
  for (const bool allowed : {false, true}) {
    SCOPED_TRACE(allowed);
    if (allowed) AllowMissingMedia();
    (void)Ring(make_request(cpsip_method::invite));
    cpsip_msg_ptr ack = with_negotiated(with_sdp(make_request(cpsip_method::ack)));
    ack->sdp2->media[0]->fmt_count = 0;
    const Strings events = Receive(std::move(ack));
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0], "LineError 1/0 52 No common codec");
    EXPECT_EQ(events[1], "LineState 1/0 6");
    EXPECT_EQ(fake_.sent.back().method, cpsip_method::bye);
    EXPECT_EQ(LineState(), DISCONNECTING);
  }
}

TEST_F(SipLineInvite, AnswerInTheAckOfAnOfferIsNotLookedAt) {
  Bring(RINGING);
  cpsip_msg_ptr ack = with_negotiated(with_sdp(make_request(cpsip_method::ack)));
  ack->sdp2->media[0]->fmt_count = 0;
  EXPECT_THAT(Receive(std::move(ack)), ElementsAre(kConnected));
}

TEST_F(SipLineInvite, AckOfACancelledCallIsAnsweredWithABye) {
  Bring(CANCELING);
  EXPECT_THAT(Receive(make_request(cpsip_method::ack)), ElementsAre("send BYE s1 0#1 d1"));
  EXPECT_EQ(LineState(), CANCELING);
  fake_.send_result = 33;
  EXPECT_EQ(Dispatch(make_request(cpsip_method::ack)), 0);
}

TEST_F(SipLineInvite, AckInAnyOtherStateIsIgnored) {
  Call();
  for (const State state : {IDLE, SEIZED, CALLING, CONNECTED, DISCONNECTING}) {
    SCOPED_TRACE(SipLine::GetStateText(state));
    ForceIdle();
    Bring(state);
    EXPECT_EQ(Dispatch(make_request(cpsip_method::ack)), 1);
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(LineState(), state);
  }
}

TEST_F(SipLineInvite, FarEndsByeOrCancelEndsTheLineInEveryStateWithoutAResponse) {
  log_states = true;
  Call();
  for (const cpsip_method method : {cpsip_method::bye, cpsip_method::cancel}) {
    for (const State state : kStates) {
      SCOPED_TRACE(std::string(SipMsg::GetMethodText(method)) + " " + SipLine::GetStateText(state));
      ForceIdle();
      Bring(state);
      EXPECT_EQ(Dispatch(make_request(method)), 1);
      EXPECT_THAT(Log(), ElementsAre("IDLE: FarEndDrop 1/0", "IDLE: LineState 1/0 0"));
    }
  }
}

}  // namespace
}  // namespace hark::test

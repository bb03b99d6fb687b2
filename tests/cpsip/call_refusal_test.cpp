// Requests that are refused: the refusal reaches its sender, and what stood before it stands behind it.
#include <string>

#include "cpsip/call_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

class CallRefusalTest : public CallTest {
 protected:
  // A good INVITE inside the call is negotiated, and the call can be ended.
  void ExpectWorkingCall() {
    heard_formats_ = -1;
    Send({.method = "INVITE",
          .cseq = 100,
          .branch = "z9hG4bKgood",
          .to_tag = OurTag(),
          .headers = Contact(),
          .offer = true});
    EXPECT_EQ(heard_formats_, 1) << "the offer is not negotiated";
    EXPECT_EQ(Respond(200), 0);
    Send({.method = "ACK", .cseq = 100, .branch = "z9hG4bKgoodack", .to_tag = OurTag()});
    Send({.method = "BYE", .cseq = 101, .branch = "z9hG4bKbye", .to_tag = OurTag()});
    EXPECT_THAT(Came(), ElementsAre("100 INVITE", "200 INVITE", "200 BYE"));
    AdvanceSeconds(40);
    EXPECT_EQ(cpsip_dialog_count(), 0U);
  }
};

struct BadRow {
  const char* name;
  std::string old_text;
  std::string new_text;
  unsigned status;
};

// Each is made of a good one, "INVITE sip:me@" and `host` at its begin.
std::vector<BadRow> BadInvites(const std::string& host) {
  return {{"an extension is required", "Content-Type:", "Require: timer\r\nContent-Type:", 420},
          {"a description is not accepted", "Content-Type:", "Accept: text/plain\r\nContent-Type:", 406},
          {"another body", "application/sdp", "text/plain", 415},
          {"a scheme that nobody knows", "INVITE sip:", "INVITE mailto:", 416},
          {"a Request-URI of 300 characters", host + " SIP", std::string(300 - 7, 'x') + " SIP", 414},
          {"a CSeq without a method", "2 INVITE", "2", 400}};
}

// A refused INVITE inside a call drew no final answer, and the one behind it was not negotiated any more.
TEST_F(CallRefusalTest, RefusedInviteInsideACallIsAnsweredAndTheCallStands) {
  for (const BadRow& row : BadInvites(host_)) {
    SCOPED_TRACE(row.name);
    Start();
    TakeCall();
    const std::string good = Text({.method = "INVITE",
                                   .cseq = 2,
                                   .branch = "z9hG4bKbad",
                                   .to_tag = OurTag(),
                                   .headers = Contact(),
                                   .offer = true});
    SendText(Replaced(good, row.old_text, row.new_text));
    EXPECT_THAT(Came(), ElementsAre("100 INVITE", std::to_string(row.status) + " INVITE"));
    Send({.method = "ACK", .cseq = 2, .branch = "z9hG4bKbad", .to_tag = OurTag()});
    EXPECT_THAT(heard_, ElementsAre());
    AdvanceSeconds(10);
    EXPECT_EQ(cpsip_transaction_count(), 0U);
    (void)Received();
    ExpectWorkingCall();
  }
}

// The transactions of refused INVITEs stayed for ever: after 32 of them BYE was dropped, and the call stood.
TEST_F(CallRefusalTest, CallIsEndedByByeAfterManyRefusedInvites) {
  TakeCall();
  for (unsigned i = 0; i < 34; ++i) {
    SCOPED_TRACE(i);
    const Asked invite{.method = "INVITE",
                       .cseq = 2 + i,
                       .branch = "z9hG4bKagain" + std::to_string(i),
                       .to_tag = OurTag(),
                       .headers = Contact() + "Require: timer\r\n",
                       .offer = true};
    Send(invite);
    Send({.method = "ACK", .cseq = invite.cseq, .branch = invite.branch, .to_tag = OurTag()});
    EXPECT_THAT(Came(), ElementsAre("100 INVITE", "420 INVITE"));
    AdvanceSeconds(6);
  }
  ExpectWorkingCall();
}

// The offer of an INVITE that was refused with 420 stood: the next one's was not negotiated.
TEST_F(CallRefusalTest, CallerThatTriesAgainAfter420IsHeardWithItsOffer) {
  Send({.method = "INVITE", .headers = Contact() + "Require: 100rel\r\n", .offer = true});
  Send({.method = "ACK"});
  EXPECT_THAT(Came(), ElementsAre("100 INVITE", "420 INVITE"));
  const Asked second{
      .method = "INVITE", .cseq = 2, .branch = "z9hG4bKsecond", .headers = Contact(), .offer = true};
  Send(second);
  EXPECT_EQ(heard_formats_, 1);
  EXPECT_THAT(heard_, ElementsAre("INVITE"));
}

// A late copy of the INVITE that made a call only at its second try drew 482 instead of its 200.
TEST_F(CallRefusalTest, LateCopyOfTheSecondTryDrawsIts200Again) {
  Send({.method = "INVITE", .headers = Contact() + "Require: 100rel\r\n", .offer = true});
  Send({.method = "ACK"});
  const Asked second{
      .method = "INVITE", .cseq = 2, .branch = "z9hG4bKsecond", .headers = Contact(), .offer = true};
  Send(second);
  EXPECT_EQ(Respond(200), 0);
  (void)Received();
  Send(second);
  EXPECT_THAT(Came(), ElementsAre("200 INVITE"));
}

// An INVITE that came where none can be taken left its offer behind as one that waits for an answer.
TEST_F(CallRefusalTest, OfferOfAnInviteThatIsNotTakenIsNone) {
  Send({.method = "INVITE", .headers = Contact(), .offer = true});
  EXPECT_EQ(Respond(486), 0);
  ASSERT_NE(Dialog(), nullptr);
  Send({.method = "ACK", .to_tag = OurTag()});
  ASSERT_NE(Dialog(), nullptr);
  Send({.method = "INVITE", .cseq = 2, .branch = "z9hG4bKmore", .headers = Contact(), .offer = true});
  ASSERT_NE(Dialog(), nullptr);
  EXPECT_EQ(Dialog()->sdp_state, SDP_IDLE);
  EXPECT_EQ(Dialog()->state, DLG_ENDED);
}

// A malformed INVITE that came while another one rang ended that one: it never had a final answer.
TEST_F(CallRefusalTest, MalformedInviteWhileAnotherRingsLeavesThatToBeAnswered) {
  struct Row {
    const char* old_text;
    const char* new_text;
  };
  for (const Row& row : {Row{"2 INVITE", "2 XYZ"}, Row{"INVITE sip:", "INVITE mailto:"}}) {
    SCOPED_TRACE(row.new_text);
    Start();
    Send({.method = "INVITE", .headers = Contact(), .offer = true});
    EXPECT_EQ(Respond(180), 0);
    SendText(Replaced(Text({.method = "INVITE",
                            .cseq = 2,
                            .branch = "z9hG4bKbad",
                            .to_tag = OurTag(),
                            .headers = Contact()}),
                      row.old_text, row.new_text));
    (void)Received();
    ASSERT_NE(Dialog(), nullptr);
    EXPECT_EQ(Dialog()->state, DLG_INVITE_RECEIVED);
    EXPECT_EQ(Dialog()->server_tacts.size(), 1U);
    EXPECT_EQ(Respond(200), 0);
    const std::vector<std::string> received = Received();
    ASSERT_THAT(SummaryOf(received), ElementsAre("200 INVITE"));
    EXPECT_EQ(HeaderOf(received[0], "CSeq"), "1 INVITE");
    Send({.method = "ACK", .branch = "z9hG4bKack", .to_tag = OurTag()});
    EXPECT_THAT(heard_, ElementsAre("INVITE", "ACK"));
  }
}

// An INVITE whose CSeq could not be read drew a 100 with half a CSeq, and no final answer.
TEST_F(CallRefusalTest, InviteWithABadCSeqIsRefusedWithItsMethod) {
  for (const char* cseq : {"CSeq: 1\r\n", "CSeq: 99999999999 INVITE\r\n", "X: y\r\n"}) {
    SCOPED_TRACE(cseq);
    Start();
    SendText(Replaced(Text({.method = "INVITE", .headers = Contact(), .offer = true}), "CSeq: 1 INVITE\r\n",
                      cseq));
    const std::vector<std::string> received = Received();
    ASSERT_FALSE(received.empty());
    for (const std::string& answer : received)
      EXPECT_TRUE(HeaderOf(answer, "CSeq").ends_with(" INVITE")) << answer;
    EXPECT_EQ(SummaryOf(received.back()), "400 INVITE");
    EXPECT_THAT(heard_, ElementsAre());
    AdvanceSeconds(40);
    EXPECT_EQ(cpsip_dialog_count(), 0U);
  }
}

// The transaction of an OPTIONS that came while a call rang stayed as long as the call.
TEST_F(CallRefusalTest, OptionsWhileACallRingsLeaveNoTransaction) {
  for (const char* headers : {"", "Require: timer\r\n"}) {
    SCOPED_TRACE(headers);
    Start();
    Send({.method = "INVITE", .headers = Contact(), .offer = true});
    EXPECT_EQ(Respond(180), 0);
    for (unsigned i = 0; i < 3; ++i)
      Send({.method = "OPTIONS",
            .cseq = 2 + i,
            .branch = "z9hG4bKping" + std::to_string(i),
            .to_tag = OurTag(),
            .headers = headers});
    ASSERT_NE(Dialog(), nullptr);
    ASSERT_EQ(Dialog()->server_tacts.size(), 1U);
    EXPECT_EQ(Dialog()->server_tacts.front()->method, cpsip_method::invite);
    (void)Received();
  }
}

}  // namespace
}  // namespace hark::test

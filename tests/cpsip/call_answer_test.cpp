// Calls of the far end that are answered: the 2xx, its resending, its ACK, and what ends the call around
// them.
#include <limits>
#include <string>

#include "cpsip/call_fixture.h"
#include "cpsip/cpsip_ua.h"

namespace hark::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class CallAnswerTest : public CallTest {
 protected:
  void Ring() {
    Send({.method = "INVITE", .headers = Contact(), .offer = true});
    EXPECT_THAT(Came(), ElementsAre("100 INVITE"));
  }
};

// A call that was answered and dropped before its ACK stood for ever, with nobody on our side.
TEST_F(CallAnswerTest, CallDroppedBeforeItsAckIsEndedByTheAck) {
  Ring();
  EXPECT_EQ(Respond(200), 0);
  EXPECT_EQ(Respond(487, "Call rejected"), int{kUaWrongState});
  EXPECT_THAT(Came(), ElementsAre("200 INVITE"));
  Send({.method = "ACK", .branch = "z9hG4bKack", .to_tag = OurTag()});
  const std::vector<std::string> received = Received();
  ASSERT_THAT(SummaryOf(received), ElementsAre("BYE"));
  SendText(Replaced(Answer(received[0], "200 OK"), ";tag=theirs", ""));
  AdvanceSeconds(10);
  EXPECT_EQ(cpsip_dialog_count(), 0U);
  EXPECT_THAT(Came(), IsEmpty());
}

// The same when the ACK never comes: the call was told to be confirmed, and stood.
TEST_F(CallAnswerTest, CallDroppedBeforeAnAckThatNeverComesIsEndedAtLast) {
  Ring();
  EXPECT_EQ(Respond(200), 0);
  EXPECT_EQ(Respond(487, "Call rejected"), int{kUaWrongState});
  AdvanceSeconds(70);
  EXPECT_THAT(Came(), AllOf(Contains("200 INVITE"), Contains("BYE")));
  EXPECT_THAT(heard_, Not(Contains("status 34")));
  EXPECT_EQ(cpsip_dialog_count(), 0U);
}

// The same of an INVITE inside the call.
TEST_F(CallAnswerTest, CallDroppedBeforeTheAckOfItsChangeIsEndedByTheAck) {
  TakeCall();
  Send({.method = "INVITE",
        .cseq = 2,
        .branch = "z9hG4bKchange",
        .to_tag = OurTag(),
        .headers = Contact(),
        .offer = true});
  EXPECT_EQ(Respond(200), 0);
  EXPECT_EQ(Respond(487, "Call rejected"), int{kUaWrongState});
  (void)Received();
  Send({.method = "ACK", .cseq = 2, .branch = "z9hG4bKack2", .to_tag = OurTag()});
  EXPECT_THAT(Came(), ElementsAre("BYE"));
}

// The 200 of an INVITE inside a call went on being resent behind the BYE, and at the end the dead call was
// confirmed once more.
TEST_F(CallAnswerTest, ByeEndsTheResendingOfA2xx) {
  TakeCall();
  Send({.method = "INVITE",
        .cseq = 2,
        .branch = "z9hG4bKchange",
        .to_tag = OurTag(),
        .headers = Contact(),
        .offer = true});
  EXPECT_EQ(Respond(200), 0);
  Send({.method = "BYE", .cseq = 3, .branch = "z9hG4bKbye", .to_tag = OurTag()});
  EXPECT_THAT(Came(), ElementsAre("100 INVITE", "200 INVITE", "200 BYE"));
  heard_.clear();
  AdvanceSeconds(70);
  EXPECT_THAT(Came(), IsEmpty());
  EXPECT_THAT(heard_, ElementsAre("status 999"));
  EXPECT_EQ(cpsip_dialog_count(), 0U);
}

// So did it behind a BYE of ours.
TEST_F(CallAnswerTest, OurByeEndsTheResendingOfA2xx) {
  TakeCall();
  Send({.method = "INVITE",
        .cseq = 2,
        .branch = "z9hG4bKchange",
        .to_tag = OurTag(),
        .headers = Contact(),
        .offer = true});
  EXPECT_EQ(Respond(200), 0);
  (void)Received();
  EXPECT_EQ(Say(cpsip_method::bye), 0);
  const std::vector<std::string> received = Received();
  ASSERT_THAT(SummaryOf(received), ElementsAre("BYE"));
  SendText(Replaced(Answer(received[0], "200 OK"), ";tag=theirs", ""));
  AdvanceSeconds(70);
  EXPECT_THAT(Came(), IsEmpty());
  EXPECT_THAT(heard_, Not(Contains("status 34")));
  EXPECT_EQ(cpsip_dialog_count(), 0U);
}

// A 200 that was sent again had the Via of the last request that had come in, so that the caller dropped it.
TEST_F(CallAnswerTest, ResentOkHasTheViaOfItsInvite) {
  Ring();
  EXPECT_EQ(Respond(180), 0);
  Send({.method = "OPTIONS", .cseq = 2, .branch = "z9hG4bKping", .to_tag = OurTag()});
  (void)Received();
  EXPECT_EQ(Respond(200), 0);
  AdvanceSeconds(3);
  const std::vector<std::string> received = Received();
  EXPECT_GE(received.size(), 2U);
  EXPECT_THAT(SummaryOf(received), Each(std::string("200 INVITE")));
  EXPECT_THAT(received, Each(received.front()));
  EXPECT_THAT(received, Each(HasSubstr("branch=z9hG4bKfirst")));
}

// The answer to an offer of nearly 1024 bytes, which repeated all of its texts, could not be written: the
// caller never heard anything.
TEST_F(CallAnswerTest, OfferCloseToTheLongestIsAnswered) {
  std::string info;
  while (info.size() < 230)
    info += "xxxxxxxxx ";
  const std::string offer =
      "v=0\r\no=- 1 1 IN IP4 " + host_ + "\r\ns=" + info + "\r\ni=" + info + "\r\nc=IN IP4 " + host_ +
      "\r\nt=0 0\r\nm=audio 4000 RTP/AVP 96\r\ni=" + info +
      "\r\na=rtpmap:96 L24/48000/2\r\nm=video 1 RTP/AVP 31\r\ni=" + info.substr(0, 130) + "\r\n";
  ASSERT_GT(offer.size(), 950U);
  ASSERT_LE(offer.size(), 1024U);
  const std::string text = Text({.method = "INVITE", .headers = Contact(), .offer = true});
  SendText(Replaced(Replaced(text, "Content-Length: " + std::to_string(Offer().size()),
                             "Content-Length: " + std::to_string(offer.size())),
                    Offer(), offer));
  EXPECT_EQ(heard_formats_, 1);
  EXPECT_EQ(Respond(180), 0);
  EXPECT_EQ(Respond(200), 0);
  const std::vector<std::string> received = Received();
  ASSERT_THAT(SummaryOf(received), ElementsAre("100 INVITE", "180 INVITE", "200 INVITE"));
  EXPECT_THAT(BodyOf(received[2]), AllOf(HasSubstr("m=audio 5004 RTP/AVP 96"), HasSubstr("m=video 0 ")));
}

// A session that began at the highest version overflowed at the first change.
TEST_F(CallAnswerTest, VersionBehindTheHighestIsTheLowest) {
  TakeCall();
  constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
  session_.o_session_id = session_.o_session_version = kHighest;
  Send({.method = "INVITE",
        .cseq = 2,
        .branch = "z9hG4bKchange",
        .to_tag = OurTag(),
        .headers = Contact(),
        .offer = true});
  EXPECT_EQ(Respond(200), 0);
  EXPECT_THAT(Came(), ElementsAre("100 INVITE", "200 INVITE"));
  EXPECT_EQ(session_.o_session_version, std::numeric_limits<std::int32_t>::min());
}

// The same of our own offer inside a call.
TEST_F(CallAnswerTest, VersionOfOurChangedOfferBehindTheHighestIsTheLowest) {
  TakeCall();
  ASSERT_NE(Dialog(), nullptr);
  ASSERT_NE(Dialog()->state_msg->sdp, nullptr);
  session_.o_session_version = Dialog()->state_msg->sdp->o_session_version =
      std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(Say(cpsip_method::invite, {}, true), 0);
  EXPECT_THAT(Came(), ElementsAre("INVITE"));
  EXPECT_EQ(Dialog()->state_msg->sdp->o_session_version, std::numeric_limits<std::int32_t>::min());
}

// Only the last of the INVITEs that had come by other ways was known: the ACK of an earlier one's 482 was
// taken for that of the 200, whose resending it ended.
TEST_F(CallAnswerTest, AckOfAnyMergedInviteIsNotTheAckOfTheOk) {
  Ring();
  EXPECT_EQ(Respond(200), 0);
  for (unsigned way = 1; way <= 8; ++way)
    Send({.method = "INVITE", .branch = "z9hG4bKway" + std::to_string(way), .headers = Contact()});
  std::vector<std::string> expected(8, "482 INVITE");
  expected.insert(expected.begin(), "200 INVITE");
  EXPECT_EQ(Came(), expected);
  for (unsigned way = 1; way <= 8; ++way) {
    SCOPED_TRACE(way);
    Send({.method = "ACK", .branch = "z9hG4bKway" + std::to_string(way)});
    ASSERT_NE(Dialog(), nullptr);
    EXPECT_EQ(Dialog()->state, DLG_ANSWER_SENT);
  }
  AdvanceSeconds(1);
  EXPECT_THAT(Came(), ElementsAre("200 INVITE"));
  Send({.method = "ACK", .branch = "z9hG4bKack", .to_tag = OurTag()});
  EXPECT_EQ(Dialog()->state, DLG_CONFIRMED);
  EXPECT_THAT(heard_, ElementsAre("INVITE", "ACK"));
}

}  // namespace
}  // namespace hark::test

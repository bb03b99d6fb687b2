// Calls of ours: what is resent, what ends them, and what the far end's answers may change.
#include <string>

#include "cpsip/call_fixture.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_transport.h"
#include "cpsip/cpsip_ua.h"

namespace hark::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CallRequestTest : public CallTest {
 protected:
  // A confirmed call of ours.
  void Call() {
    const std::string invite = Invite();
    SendText(Answer(invite, "200 OK", Contact(), true));
    EXPECT_THAT(Came(), ElementsAre("ACK"));
    EXPECT_THAT(heard_, ElementsAre("200 INVITE"));
    heard_.clear();
  }
};

// What a stranger sent in the call's name was written over the INVITE that waited to be sent again.
TEST_F(CallRequestTest, InviteIsResentAsItWasWhateverCameInBetween) {
  const std::string invite = Invite();
  Send({.method = "OPTIONS",
        .cseq = 7,
        .branch = "z9hG4bKstranger",
        .call = HeaderOf(invite, "Call-ID"),
        .from_parms = ""});
  (void)Received();
  AdvanceSeconds(3);
  const std::vector<std::string> received = Received();
  EXPECT_GE(received.size(), 1U);
  EXPECT_THAT(received, Each(invite));
}

// A provisional response to the OPTIONS that began a dialog made the resent ones CSeq 0.
TEST_F(CallRequestTest, OptionsAreResentAsTheyWereBehindAProvisionalResponse) {
  dialog_ = cpsip_new_dialog();
  EXPECT_EQ(Say(cpsip_method::options, "sip:far@" + far_.place()), 0);
  const std::vector<std::string> first = Received();
  ASSERT_THAT(SummaryOf(first), ElementsAre("OPTIONS"));
  SendText(Answer(first[0], "183 Progress"));
  AdvanceSeconds(10);
  const std::vector<std::string> received = Received();
  EXPECT_GE(received.size(), 1U);
  EXPECT_THAT(received, Each(first[0]));
}

// The Contact of a 302 took the way from the ACK: when the 302 came again, the ACK waited for ever.
TEST_F(CallRequestTest, RedirectionThatComesAgainDrawsItsAckAgain) {
  const std::string invite = Invite();
  const std::string moved =
      Answer(invite, "302 Moved Temporarily", "Contact: <sip:other@" + host_ + ":5099>\r\n");
  SendText(moved);
  EXPECT_THAT(Came(), ElementsAre("ACK"));
  SendText(moved);
  EXPECT_THAT(Came(), ElementsAre("ACK"));
  EXPECT_EQ(cpsip_snd_waiting(), 0U);
}

// A change of ours that nobody answered left the call without any further change, in either direction.
TEST_F(CallRequestTest, CallCanBeChangedAfterAChangeThatNobodyAnswered) {
  Call();
  EXPECT_EQ(Say(cpsip_method::invite, {}, true), 0);
  AdvanceSeconds(33);
  EXPECT_THAT(heard_, ElementsAre("status 2 INVITE"));
  (void)Received();
  ASSERT_NE(Dialog(), nullptr);
  EXPECT_EQ(Dialog()->state, DLG_CONFIRMED);
  EXPECT_EQ(Dialog()->sub_state, DLG_IDLE);
  heard_.clear();
  EXPECT_EQ(Say(cpsip_method::invite, {}, true), 0);
  const std::vector<std::string> received = Received();
  ASSERT_THAT(SummaryOf(received), ElementsAre("INVITE"));
  SendText(Replaced(Answer(received[0], "200 OK", Contact(), true), ";tag=theirs;tag=theirs", ";tag=theirs"));
  EXPECT_THAT(Came(), ElementsAre("ACK"));
  EXPECT_THAT(heard_, ElementsAre("200 INVITE"));
}

// The far end's change found the call busy with ours, too, and its offer was not negotiated.
TEST_F(CallRequestTest, FarEndChangesTheCallAfterAChangeThatNobodyAnswered) {
  const std::string invite = Invite();
  SendText(Answer(invite, "200 OK", Contact(), true));
  EXPECT_EQ(Say(cpsip_method::invite, {}, true), 0);
  AdvanceSeconds(33);
  (void)Received();
  Send({.method = "INVITE",
        .branch = "z9hG4bKchange",
        .to_tag = OurTag(),
        .headers = Contact(),
        .offer = true,
        .call = HeaderOf(invite, "Call-ID"),
        .from_parms = ";tag=theirs"});
  EXPECT_EQ(heard_formats_, 1);
  EXPECT_EQ(Respond(200), 0);
  EXPECT_THAT(Came(), ElementsAre("100 INVITE", "200 INVITE"));
}

// A record that received OPTIONS made has no target: what was sent in it left without a Request-URI.
TEST_F(CallRequestTest, RequestInADialogWithoutATargetIsRefused) {
  for (const cpsip_method method : {cpsip_method::refer, cpsip_method::options, cpsip_method::notify}) {
    SCOPED_TRACE(Method(method));
    Start();
    Send({.method = "OPTIONS"});
    EXPECT_THAT(Came(), ElementsAre("200 OPTIONS"));
    ASSERT_EQ(Service().dialogs.size(), 1U);
    dialog_ = Service().dialogs.front().get();
    EXPECT_EQ(Say(method), int{kUaNoTarget});
    EXPECT_THAT(Came(), IsEmpty());
  }
}

// The dialog of a cancelled call went in the same second as timer F of the CANCEL, which nobody heard of.
TEST_F(CallRequestTest, CancelThatNobodyAnswersIsToldBeforeItsDialogGoes) {
  const std::string invite = Invite();
  SendText(Answer(invite, "180 Ringing"));
  EXPECT_EQ(Say(cpsip_method::cancel), 0);
  heard_.clear();
  AdvanceSeconds(33);
  EXPECT_THAT(heard_, ElementsAre("status 6 CANCEL", "status 999"));
  EXPECT_EQ(cpsip_dialog_count(), 0U);
}

// The answer to a request that we had sent in a call of the far end put its To tag in the place of ours.
TEST_F(CallRequestTest, AnswerToTheCalleesRequestLeavesItsOwnTagAlone) {
  Send({.method = "INVITE", .headers = Contact(), .offer = true});
  EXPECT_EQ(Respond(180), 0);
  const std::string ours = OurTag();
  (void)Received();
  EXPECT_EQ(Say(cpsip_method::options), 0);
  const std::vector<std::string> received = Received();
  ASSERT_THAT(SummaryOf(received), ElementsAre("OPTIONS"));
  SendText(Replaced(Answer(received[0], "180 Ringing"), ";tag=far;tag=theirs", ";tag=far"));
  EXPECT_EQ(OurTag(), ours);
  EXPECT_EQ(Respond(200), 0);
  Send({.method = "ACK", .branch = "z9hG4bKack", .to_tag = ours});
  EXPECT_EQ(Dialog()->state, DLG_CONFIRMED);
}

}  // namespace
}  // namespace hark::test

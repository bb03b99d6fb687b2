// Where messages go, and from which port: the top Via of what comes in, and our own Contact.
#include <string>

#include "cpsip/call_fixture.h"
#include "cpsip/cpsip_transport.h"

namespace hark::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class CallRouteTest : public CallTest {
 protected:
  static unsigned OpenSockets() {
    unsigned open = 0;
    for (const SocCB& cb : Cpsip_SOC_Blocks())
      open += cb.fd.is_open() ? 1U : 0U;
    return open;
  }
};

// A "received" that the sender wrote itself sent our answers to whom he liked, when his address was the one
// in the Via, or when he wrote it twice.
TEST_F(CallRouteTest, AnswersGoToTheSenderWhateverHisViaSaysOfIt) {
  const FarEnd third("127.0.0.5");
  const std::string port = std::to_string(third.port());
  const std::string ours = std::to_string(far_.port());
  struct Row {
    const char* name;
    std::string via;
  };
  const Row rows[] = {
      {"the sender's own address", host_ + ":" + ours + ";received=127.0.0.5"},
      {"in other letters", host_ + ":" + ours + ";Received=127.0.0.5"},
      {"blanks around the sign", host_ + ":" + ours + ";received = 127.0.0.5"},
      {"a name", "far.example:" + ours + ";received=127.0.0.5"},
      {"twice", "far.example:" + ours + ";received=9.9.9.9;received=127.0.0.5"},
      {"three times", host_ + ":" + ours + ";received=127.0.0.5;received=127.0.0.5;received=127.0.0.5"},
      {"with rport", "far.example:" + port + ";received=127.0.0.5;rport"},
      {"with a forged rport", "far.example:" + port + ";rport=" + port + ";received=127.0.0.5"},
      {"with the third one's port", host_ + ":" + port + ";rport;received=127.0.0.5"},
  };
  for (const Row& row : rows) {
    for (const char* method : {"OPTIONS", "BYE", "MESSAGE", "INVITE"}) {
      SCOPED_TRACE(std::string(row.name) + " " + method);
      Start();
      SendText(Replaced(Text({.method = method}), far_.place(), row.via));
      EXPECT_THAT(Received(), ElementsAre(Not(HasSubstr("127.0.0.5"))));
      EXPECT_THAT(third.Received(), IsEmpty());
    }
  }
}

// An "rport" with a blank value was not filled: the answer went to the port of the Via.
TEST_F(CallRouteTest, BlankRportIsFilled) {
  for (const char* rport : {"rport", "rport=", "rport=;a=b"}) {
    SCOPED_TRACE(rport);
    Start();
    SendText(Replaced(Text({.method = "OPTIONS"}), far_.place(), "far.example:1;" + std::string(rport)));
    EXPECT_THAT(Received(), ElementsAre(HasSubstr(";rport=" + std::to_string(far_.port()))));
  }
}

// The real port of a service that was given none was not its own: each dialog opened a socket.
TEST_F(CallRouteTest, ServiceWithoutAPortKeepsToTheOneItGot) {
  xport_.nLocalPort = 0;
  ua_.pszPort = "";
  Start();
  ASSERT_NE(ServicePort(), 0);
  const std::string via = "SIP/2.0/UDP " + host_ + ":" + std::to_string(ServicePort()) + ";";
  for (unsigned i = 0; i < 3; ++i) {
    dialog_ = cpsip_new_dialog();
    EXPECT_EQ(Say(cpsip_method::options, "sip:far@" + far_.place()), 0);
    const std::vector<std::string> received = Received();
    ASSERT_THAT(SummaryOf(received), ElementsAre("OPTIONS"));
    EXPECT_TRUE(HeaderOf(received[0], "Via").starts_with(via)) << received[0];
  }
  EXPECT_EQ(OpenSockets(), 1U);
}

// A Contact of ours with the service's own port made the Via say 5060, and opened a socket there.
TEST_F(CallRouteTest, ContactWithTheServicesPortLeavesOneSocketAndItsVia) {
  contact_ = "sip:me@" + host_ + ":" + std::to_string(xport_.nLocalPort);
  ua_.pszContactUri = ua_.pszFromUri = contact_;
  Start();
  const std::string invite = Invite();
  EXPECT_THAT(invite,
              AllOf(HasSubstr("Via: SIP/2.0/UDP " + host_ + ":" + std::to_string(ServicePort()) + ";"),
                    HasSubstr("<" + contact_ + ">")));
  EXPECT_EQ(OpenSockets(), 1U);
}

// Such a Contact on the callee's side.
TEST_F(CallRouteTest, ContactWithTheServicesPortAnswersFromIt) {
  contact_ = "sip:me@" + host_ + ":" + std::to_string(xport_.nLocalPort);
  ua_.pszContactUri = ua_.pszFromUri = contact_;
  Start();
  TakeCall();
  EXPECT_EQ(Say(cpsip_method::bye), 0);
  const std::vector<std::string> received = Received();
  ASSERT_THAT(SummaryOf(received), ElementsAre("BYE"));
  EXPECT_TRUE(HeaderOf(received[0], "Via")
                  .starts_with("SIP/2.0/UDP " + host_ + ":" + std::to_string(ServicePort()) + ";"))
      << received[0];
  EXPECT_EQ(OpenSockets(), 1U);
}

// What was sent, or sent again, behind a provisional response with another Contact waited for ever.
TEST_F(CallRouteTest, RequestBehindAChangedContactLeavesAtOnceAndAgain) {
  const std::string invite = Invite();
  SendText(Answer(invite, "180 Ringing", "Contact: <sip:other@" + far_.place() + ">\r\n"));
  EXPECT_EQ(Say(cpsip_method::options), 0);
  EXPECT_THAT(Came(), ElementsAre("OPTIONS"));
  SendText(Answer(invite, "180 Ringing", "Contact: <sip:third@" + far_.place() + ">\r\n"));
  AdvanceSeconds(1);
  EXPECT_THAT(Came(), ElementsAre("OPTIONS"));
  EXPECT_EQ(cpsip_snd_waiting(), 0U);
}

// What waits for a destination took a copy of the way that was not known, and could never leave, even when
// the dialog knew it again.
TEST_F(CallRouteTest, MessageThatWaitsLeavesWhenItsDialogKnowsTheWay) {
  (void)Invite();
  ASSERT_NE(Dialog(), nullptr);
  Dialog()->xport.flags &= ~kXportRemoteKnown;
  EXPECT_EQ(cpsip_net_send(*Dialog(), Dialog()->state_msg), 0);
  EXPECT_THAT(Came(), IsEmpty());
  EXPECT_EQ(cpsip_snd_waiting(), 1U);
  Dialog()->xport.flags |= kXportRemoteKnown;
  cpsip_snd_msg();
  EXPECT_THAT(Came(), ElementsAre("INVITE"));
  EXPECT_EQ(cpsip_snd_waiting(), 0U);
}

TEST_F(CallRouteTest, MessageThatWaitsGoesWithItsDialog) {
  (void)Invite();
  ASSERT_NE(Dialog(), nullptr);
  Dialog()->xport.flags &= ~kXportRemoteKnown;
  EXPECT_EQ(cpsip_net_send(*Dialog(), Dialog()->state_msg), 0);
  EXPECT_EQ(cpsip_snd_waiting(), 1U);
  EXPECT_EQ(cpsip_serv_delete_dlog_cb(*Dialog()), 0);
  EXPECT_EQ(cpsip_snd_waiting(), 0U);
}

// RFC 3261 18.1.1 wants a stream above 1300 bytes. The message is queued for one, and leaves by UDP.
TEST_F(CallRouteTest, MessageAbove1300BytesIsMeantForAStream) {
  EXPECT_EQ(cpsip_net_transport_for(0), cpsip_transport_kind::udp);
  EXPECT_EQ(cpsip_net_transport_for(1300), cpsip_transport_kind::udp);
  EXPECT_EQ(cpsip_net_transport_for(1301), cpsip_transport_kind::tcp);
}

TEST_F(CallRouteTest, SubscriptionOfADialogIsMadeOnceAndDeletedOnce) {
  (void)Invite();
  ASSERT_NE(Dialog(), nullptr);
  EXPECT_EQ(cpsip_serv_delete_notify_cb(*Dialog()), kServBadDialog);
  cpsip_notify_cb& made = cpsip_serv_create_notify_cb(*Dialog());
  EXPECT_EQ(&cpsip_serv_create_notify_cb(*Dialog()), &made);
  EXPECT_EQ(made.state, 3U);
  EXPECT_EQ(cpsip_serv_delete_notify_cb(*Dialog()), 0);
  EXPECT_EQ(Dialog()->notify_cb, nullptr);
}

}  // namespace
}  // namespace hark::test

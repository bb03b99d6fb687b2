// The single entry for what the stack delivers: which line gets it, what is refused, and what a service
// reports by itself. And the way of a line's messages to the stack.
#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SipServiceDispatch : public LineTest {
 protected:
  // Delivers a message with this word on the last dialog; and the log of it.
  Strings DeliverWord(std::uint32_t word, cpsip_msg_ptr msg) {
    (void)Log();
    msg->app_dialog_id = word;
    FakeStack::Deliver(Service(), std::move(msg), &Dialog());
    return Log();
  }
  SipServiceUA& ServiceUa() { return *static_cast<SipServiceUA*>(Service().app); }
};

TEST_F(SipServiceDispatch, NewCallGoesToTheLowestIdleLine) {
  EXPECT_EQ(Ring(make_offer()).back(), "send 180 Ringing to INVITE s1 0#0 d1");
  EXPECT_EQ(Ring(make_offer()).back(), "send 180 Ringing to INVITE s1 1#0 d2");
  Stack().Drop(1, 0);
  EXPECT_EQ(Ring(make_offer()).back(), "send 180 Ringing to INVITE s1 0#0 d3");
}

TEST_F(SipServiceDispatch, NewCallCarriesTheWordOfItsLine) {
  Stack().Seize(1, 0);
  Stack().Call(1, 1, kFarUri);
  FakeStack::Deliver(Dialog(), make_response(486));
  EXPECT_THAT(Ring(make_offer()),
              ::testing::Contains("LineRing2 1/1 " + std::to_string(app_dialog_word(1, 1))));
}

TEST_F(SipServiceDispatch, CallWithoutAFreeLineIsBusyHereAndNothingIsReported) {
  Stack().Seize(1, 0);
  Stack().Seize(1, 1);
  EXPECT_THAT(Ring(make_offer()), ElementsAre("send 486 Busy here to INVITE s1 0#0 d1"));
  EXPECT_EQ(fake_.sent.back().word, 0x8000U);
}

TEST_F(SipServiceDispatch, CallForAServiceWithoutLinesIsBusyHere) {
  StartService(Config(1, 0));
  const Strings events = Ring(make_offer());
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(fake_.sent.back().status, 486U);
}

TEST_F(SipServiceDispatch, OtherMessagesWithoutAWordAreIgnored) {
  fake_.NewDialog(Service());
  for (const cpsip_method method : {cpsip_method::ack, cpsip_method::bye, cpsip_method::cancel,
                                    cpsip_method::options, cpsip_method::unrecognized}) {
    SCOPED_TRACE(SipMsg::GetMethodText(method));
    EXPECT_THAT(DeliverWord(0, make_request(method)), IsEmpty());
  }
  EXPECT_THAT(DeliverWord(0, make_response(200)), IsEmpty());
  EXPECT_THAT(DeliverWord(0, make_status(kStatusInviteFailed)), IsEmpty());
  EXPECT_TRUE(Line().IsIdle());
}

TEST_F(SipServiceDispatch, WordSaysTheLineAndTheGeneration) {
  Stack().Call(1, 1, kFarUri);
  EXPECT_THAT(DeliverWord(0x18001, make_response(180)), ElementsAre("FarEndRinging 1/1"));
  EXPECT_THAT(DeliverWord(0x10001, make_response(180)), ElementsAre("FarEndRinging 1/1"));
  EXPECT_THAT(DeliverWord(0x08001, make_response(180)), IsEmpty());  // another generation
  EXPECT_THAT(DeliverWord(0x18000, make_response(180)), IsEmpty());  // another line
}

TEST_F(SipServiceDispatch, WordOfNoLineIsBusyHereWhateverTheMethod) {
  fake_.NewDialog(Service());
  for (const std::uint32_t word : {0x8002U, 0x18002U, 0xFFFFU, 0x7FFFU, 0xFFFFFFFFU}) {
    SCOPED_TRACE(word);
    const char* const busy = "send 486 Busy here to INVITE s1 0#0 d1";
    EXPECT_THAT(DeliverWord(word, make_offer()), ElementsAre(busy));
    EXPECT_THAT(DeliverWord(word, make_request(cpsip_method::bye)), ElementsAre(busy));
    EXPECT_THAT(DeliverWord(word, make_response(200)), ElementsAre(busy));
    EXPECT_THAT(DeliverWord(word, make_status(kStatusTimerB)), ElementsAre(busy));
  }
}

TEST_F(SipServiceDispatch, InviteWithAWordStaysWithItsLine) {
  Bring(CONNECTED);
  EXPECT_EQ(Receive(make_offer()).back(), "send 180 Ringing to INVITE s1 0#1 d1");
  EXPECT_TRUE(FindLine(1, 1)->IsIdle());
}

TEST_F(SipServiceDispatch, FailureOfTheServiceIsReported) {
  fake_.NewDialog(Service());
  for (const std::uint32_t word : {0U, 0x8000U}) {
    cpsip_msg_ptr msg = make_request(cpsip_method::service_failure);
    EXPECT_THAT(DeliverWord(word, std::move(msg)), ElementsAre("ServiceError 1 10 Service failed!"));
  }
}

TEST_F(SipServiceDispatch, RegistrationsAreReported) {
  struct Row {
    unsigned code;
    const char* report;  // null: none
  };
  const Row rows[] = {
      {2, "ServiceError 1 13 Operation timed out (2)"},
      {6, "ServiceError 1 13 Operation timed out (6)"},
      {200, "ServiceError 1 14 OK"},
      {401, nullptr},
      {10000, "ServiceError 1 13 Bad credentials, code 0"},
      {10401, "ServiceError 1 13 Bad credentials, code 401"},
      {65535, "ServiceError 1 13 Bad credentials, code 55535"},
      {9999, "ServiceError 1 13 Error code 9999"},
      {0, "ServiceError 1 13 Error code 0"},
      {1, "ServiceError 1 13 Error code 1"},
      {3, "ServiceError 1 13 Error code 3"},
      {199, "ServiceError 1 13 Error code 199"},
      {201, "ServiceError 1 13 Error code 201"},
      {400, "ServiceError 1 13 Error code 400"},
      {402, "ServiceError 1 13 Error code 402"},
      {407, "ServiceError 1 13 Error code 407"},
      {999, "ServiceError 1 13 Error code 999"},
  };
  fake_.NewDialog(Service());
  for (const Row& row : rows) {
    SCOPED_TRACE(row.code);
    const Strings report = row.report != nullptr ? Strings{row.report} : Strings{};
    EXPECT_EQ(DeliverWord(0, make_response(row.code, cpsip_method::register_)), report);
    EXPECT_EQ(DeliverWord(0, make_status(row.code, cpsip_method::register_)), report);
  }
}

TEST_F(SipServiceDispatch, RegistrationIsNoLinesMatter) {
  Bring(CONNECTED);
  EXPECT_THAT(DeliverWord(Dialog().word, make_response(403, cpsip_method::register_)),
              ElementsAre("ServiceError 1 13 Error code 403"));
  EXPECT_EQ(LineState(), CONNECTED);
}

TEST_F(SipServiceDispatch, NoMessageAndNoServiceAreIgnored) {
  fake_.NewDialog(Service());
  const cpsip_app_callback callback = Service().callback;
  callback(Service().app, nullptr, &Dialog());
  callback(nullptr, nullptr, &Dialog());
  callback(nullptr, make_offer().release(), &Dialog());  // taken all the same: nothing leaks
  const cpsip_msg_ptr status = make_status(kStatusTimerB);
  callback(nullptr, status.get(), &Dialog());  // and this stays the stack's
  EXPECT_EQ(status->status_code, kStatusTimerB);
  EXPECT_THAT(Log(), IsEmpty());
  EXPECT_TRUE(Line().IsIdle());
}

TEST_F(SipServiceDispatch, SendHandsTheMessageToTheStackWithItsWord) {
  FakeDialog& dialog = fake_.NewDialog(Service());
  for (const int result : {0, 33}) {
    fake_.send_result = result;
    SipMsg msg(nullptr, cpsip_new_dialog());
    msg.Create(cpsip_method::options, nullptr);
    EXPECT_EQ(ServiceUa().SendMsg(msg, &dialog, 5, 0xABCD), result == 0);
    EXPECT_EQ(msg.GetPtr(), nullptr);
    EXPECT_EQ(fake_.sent.back().word, app_dialog_word(5, 0xABCD));
    EXPECT_EQ(fake_.sent.back().dialog, &dialog);
  }
}

TEST_F(SipServiceDispatch, SendOnANewDialogGivesItsHandle) {
  void* dialog = this;  // not looked at
  SipMsg msg(nullptr, cpsip_new_dialog());
  msg.Create(cpsip_method::options, nullptr);
  EXPECT_TRUE(ServiceUa().SendMsgNewDialog(msg, dialog, 0, 0));
  EXPECT_EQ(msg.GetPtr(), nullptr);
  EXPECT_TRUE(fake_.sent.back().new_dialog);
  EXPECT_EQ(dialog, &Dialog());
}

TEST_F(SipServiceDispatch, HandleOfANewDialogIsThereBeforeAnythingCallsBack) {
  void* dialog = nullptr;
  void* seen = nullptr;
  fake_.OnNextSend([&](FakeDialog&) { seen = dialog; });
  SipMsg msg(nullptr, cpsip_new_dialog());
  msg.Create(cpsip_method::options, nullptr);
  EXPECT_TRUE(ServiceUa().SendMsgNewDialog(msg, dialog, 0, 0));
  EXPECT_EQ(seen, &Dialog());
}

TEST_F(SipServiceDispatch, ServiceKnowsItsStackAndItsTimers) {
  EXPECT_TRUE(ServiceUa().IsValid());
  EXPECT_EQ(ServiceUa().GetTimerSource(), static_cast<TimerSource*>(&Stack()));
  EXPECT_EQ(ServiceUa().GetSdpPTCnt(), 1U);
  EXPECT_FALSE(ServiceUa().AllowMissingMedia());
}

}  // namespace
}  // namespace hark::test

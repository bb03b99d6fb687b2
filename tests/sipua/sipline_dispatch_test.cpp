// Which messages of the stack reach a line, and the methods that a line does nothing about.
#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SipLineDispatch : public LineTest {
 protected:
  int Dispatch(cpsip_msg_ptr message, void* dialog, unsigned short generation) {
    SipMsg msg(message.release(), dialog);
    return Line().DispatchMsg(msg, generation);
  }
  int Dispatch(cpsip_msg_ptr message) {
    return Dispatch(std::move(message), &Dialog(), Line().GetAppDialogId());
  }
  // A call that has been rung for, and is dropped if nothing more comes.
  void Progress() {
    ForceIdle();
    Bring(CALLING);
    (void)Receive(make_response(180));
  }
  bool IsWatched() {
    AdvanceMs(kProgressMs);
    return LineState() != CALLING;
  }
};

TEST_F(SipLineDispatch, MessageOfAnotherGenerationIsIgnored) {
  Bring(CONNECTED);
  for (const unsigned short generation : {0, 2, 257, 32769, 65535}) {
    SCOPED_TRACE(generation);
    EXPECT_EQ(Dispatch(make_request(cpsip_method::bye), &Dialog(), generation), 0);
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(LineState(), CONNECTED);
  }
  EXPECT_EQ(Dispatch(make_request(cpsip_method::bye), &Dialog(), 1), 1);
  EXPECT_EQ(LineState(), IDLE);
}

TEST_F(SipLineDispatch, MessageOfAnotherDialogIsIgnored) {
  Bring(CONNECTED);
  int other = 0;
  for (void* dialog : {static_cast<void*>(&other), static_cast<void*>(nullptr), cpsip_new_dialog()}) {
    EXPECT_EQ(Dispatch(make_request(cpsip_method::bye), dialog, 1), 0);
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(LineState(), CONNECTED);
  }
  EXPECT_EQ(Dispatch(make_request(cpsip_method::bye)), 1);
  EXPECT_EQ(LineState(), IDLE);
}

TEST_F(SipLineDispatch, ResponseOfAnEarlierCallIsIgnored) {
  Bring(CALLING);
  FakeDialog& old = Dialog();
  ForceIdle();
  Bring(CALLING);
  FakeStack::Deliver(old, make_response(486));
  EXPECT_THAT(Log(), IsEmpty());
  EXPECT_EQ(LineState(), CALLING);
}

TEST_F(SipLineDispatch, IgnoredMessageDoesNotStopTheWatchOfTheCall) {
  for (const bool generation_differs : {true, false}) {
    SCOPED_TRACE(generation_differs);
    Progress();
    int other = 0;
    const auto generation =
        static_cast<unsigned short>(Line().GetAppDialogId() - (generation_differs ? 1 : 0));
    void* const dialog = generation_differs ? static_cast<void*>(&Dialog()) : &other;
    EXPECT_EQ(Dispatch(make_response(183), dialog, generation), 0);
    EXPECT_TRUE(IsWatched());
  }
}

TEST_F(SipLineDispatch, MethodsThatALineDoesNothingAbout) {
  struct Row {
    cpsip_method method;
    int result;
  };
  const Row rows[] = {
      {cpsip_method::options, 0},
      {cpsip_method::register_, 0},
      {cpsip_method::prack, 1},
      {cpsip_method::info, 0},
      {cpsip_method::refer, 0},
      {cpsip_method::notify, 0},
      {cpsip_method::subscribe, 0},
      {cpsip_method::message, 0},
      {cpsip_method::publish, 0},
      {cpsip_method::update, 0},
      {cpsip_method::received_rtp, 0},
      {cpsip_method::received_rtcp, 0},
      {cpsip_method::unregister, 0},
      {cpsip_method::service_failure, 0},
      {cpsip_method::unrecognized, 0},
      {static_cast<cpsip_method>(15), 0},
      {static_cast<cpsip_method>(87), 0},
      {static_cast<cpsip_method>(95), 0},
      {static_cast<cpsip_method>(100), 0},
      {static_cast<cpsip_method>(4294967295U), 0},
  };
  Call();
  for (const Row& row : rows) {
    for (const State state : kStates) {
      SCOPED_TRACE(std::to_string(static_cast<unsigned>(row.method)) + " " + SipLine::GetStateText(state));
      ForceIdle();
      Bring(state);
      EXPECT_EQ(Dispatch(make_request(row.method)), row.result);
      EXPECT_THAT(Log(), IsEmpty());
      EXPECT_EQ(LineState(), state);
    }
    SCOPED_TRACE(static_cast<unsigned>(row.method));
    Progress();
    (void)Dispatch(make_request(row.method));
    EXPECT_FALSE(IsWatched());
  }
}

TEST_F(SipLineDispatch, MessagesThatKeepALineCallingStopItsWatch) {
  for (const unsigned code : {99U, 100U, 183U, 199U, 202U, 401U, 407U}) {
    SCOPED_TRACE(code);
    Progress();
    (void)Dispatch(make_response(code));
    EXPECT_FALSE(IsWatched());
  }
  Progress();
  (void)Dispatch(make_status(35));
  EXPECT_FALSE(IsWatched());
  Progress();
  (void)Dispatch(make_request(cpsip_method::ack));
  EXPECT_FALSE(IsWatched());
}

}  // namespace
}  // namespace hark::test

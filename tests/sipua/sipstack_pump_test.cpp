// The pump: the stack's sockets, the stack's timers and the lines' timers, in this order, once a pass.
#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SipStackPump : public LineTest {};

TEST_F(SipStackPump, PassesGoInOrder) {
  Bring(DISCONNECTING);
  fake_.on_select = [this] { fake_.log.emplace_back("select"); };
  fake_.on_tick = [this] { fake_.log.emplace_back("tick"); };
  ticks_.AdvanceMs(kDisconnectMs);
  (void)Pump();
  EXPECT_THAT(Log(),
              ElementsAre("select", "tick", "LineError 1/0 51 No response on disconnect", "LineState 1/0 0"));
  (void)Pump();
  EXPECT_THAT(Log(), ElementsAre("select", "tick"));
}

TEST_F(SipStackPump, SucceedsWhenTheSelectDoes) {
  EXPECT_TRUE(Pump());
  for (const int failure : {-1, -2, 1}) {
    fake_.select_result = failure;
    EXPECT_FALSE(Pump());
  }
  EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(SipStackPump, FailureOfTheSelectStopsNoTimer) {
  Bring(DISCONNECTING);
  fake_.select_result = -1;
  int ticks = 0;
  fake_.on_tick = [&] { ++ticks; };
  ticks_.AdvanceMs(kDisconnectMs);
  EXPECT_FALSE(Pump());
  EXPECT_EQ(ticks, 1);
  EXPECT_EQ(LineState(), IDLE);
}

TEST_F(SipStackPump, EachPassTellsOfOneTimer) {
  Bring(DISCONNECTING);
  Stack().Call(1, 1, kFarUri);
  Stack().Drop(1, 1);
  (void)Log();
  ticks_.AdvanceMs(kDisconnectMs);
  (void)Pump();
  EXPECT_EQ(Log().front(), "LineError 1/0 51 No response on disconnect");
  EXPECT_EQ(FindLine(1, 1)->GetState(), CANCELING);
  (void)Pump();
  EXPECT_EQ(Log().front(), "LineError 1/1 51 No response on disconnect");
}

TEST_F(SipStackPump, MessageOfAPassIsHandledBeforeItsTimers) {
  Bring(DISCONNECTING);
  fake_.on_select = [this] {
    fake_.on_select = nullptr;
    FakeStack::Deliver(Dialog(), make_response(200, cpsip_method::bye));
  };
  ticks_.AdvanceMs(kDisconnectMs);
  (void)Pump();
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 0"));
}

TEST_F(SipStackPump, RunsWithoutAnyService) {
  Stack().Finalize();
  EXPECT_TRUE(Pump());
}

}  // namespace
}  // namespace hark::test

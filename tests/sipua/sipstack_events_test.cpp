// The table of callbacks: each operation calls its own slot with all it was given, and an empty slot is
// passed over.
#include "sipua/SipStackUAEvents.h"

#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Events = ISipStackUAEvents;

// Every operation once, in the order of the slots.
void notify_all(const Events& events) {
  events.NotifyServiceError(1, 10, "text");
  events.NotifyServiceCreate(2);
  events.NotifyServiceDestroy(3);
  events.NotifyLineRing(1, 4, "from", "to");
  events.NotifyLineConnected(1, 5, "from", "to", "media", "codecs");
  events.NotifyLineRing2(1, 6, nullptr);
  events.NotifyFarEndRinging(1, 7);
  events.NotifyFarEndDrop(1, 8);
  events.NotifyLocalDrop(1, 9);
  events.NotifyLineSeized(1, 10);
  events.NotifyLineState(1, 11, Events::STATE_CANCELING);
  events.NotifyLineError(1, 12, 50, "text");
  events.NotifyCodecs(1, 13, "codecs");
}

class SipStackEvents : public StackTest {};

TEST_F(SipStackEvents, EachOperationCallsItsSlot) {
  notify_all(recording_events());
  EXPECT_THAT(Log(), ElementsAre("ServiceError 1 10 text", "ServiceCreate 2", "ServiceDestroy 3",
                                 "LineRing 1/4 from to", "LineConnected 1/5 from to media codecs",
                                 "LineRing2 1/6 none", "FarEndRinging 1/7", "FarEndDrop 1/8", "LocalDrop 1/9",
                                 "LineSeized 1/10", "LineState 1/11 5", "LineError 1/12 50 text",
                                 "Codecs 1/13 codecs"));
}

TEST_F(SipStackEvents, EmptySlotsArePassedOver) {
  notify_all(Events{});
  EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(SipStackEvents, OneSlotIsEnough) {
  Events events;
  events.slots.FarEndDrop = recording_events().slots.FarEndDrop;
  notify_all(events);
  EXPECT_THAT(Log(), ElementsAre("FarEndDrop 1/8"));
}

// The values cross the border to the control layer.
TEST_F(SipStackEvents, StatesHaveTheirNumbers) {
  EXPECT_EQ(Events::STATE_IDLE, 0u);
  EXPECT_EQ(Events::STATE_RINGING, 1u);
  EXPECT_EQ(Events::STATE_SEIZED, 2u);
  EXPECT_EQ(Events::STATE_CALLING, 3u);
  EXPECT_EQ(Events::STATE_CONNECTED, 4u);
  EXPECT_EQ(Events::STATE_CANCELING, 5u);
  EXPECT_EQ(Events::STATE_DISCONNECTING, 6u);
}

}  // namespace
}  // namespace hark::test

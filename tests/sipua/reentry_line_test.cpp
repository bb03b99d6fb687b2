// Receivers that use a line from inside its own events, as the control layer does: what comes of it, in
// order.
#include "sipua/reentry_fixture.h"

namespace hark::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

class LineCallback : public ReentryTest {
 protected:
  // Once, at the first event of the slot.
  void On(const std::string& slot, std::function<void()> act) {
    on_event = [this, slot, act](const std::string& seen) {
      if (seen != slot) return;
      const std::function<void()> now = act;
      on_event = nullptr;
      now();
    };
  }
  static void Redial() { Stack().Call(1, 0, "sip:other@10.0.0.3"); }
};

TEST_F(LineCallback, SeizedLineMayBeDroppedFromInsideItsReport) {
  On("LineSeized", [] { Stack().Drop(1, 0); });
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0", "LineState 1/0 0"));
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineError 1/0 50 Line is idle"));
}

TEST_F(LineCallback, SeizedLineMayCallFromInsideItsReport) {
  On("LineSeized", Redial);
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0", "LineState 1/0 3",
                                 "send INVITE sip:other@10.0.0.3 +sdp s1 0#1 new d1"));
}

TEST_F(LineCallback, IdleLineMayBeTakenAgainFromInsideItsReport) {
  Bring(SEIZED);
  On("LineState", [] { Stack().Seize(1, 0); });
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 0", "LineSeized 1/0"));
  EXPECT_EQ(Line().GetState(), SEIZED);
}

TEST_F(LineCallback, LineMayCallAgainFromInsideTheReportOfAFailure) {
  Bring(CALLING);
  On("LineState", Redial);
  Put(make_response(486));
  EXPECT_THAT(Log(), ElementsAre("LineError 1/0 486 Call failed", "LineState 1/0 0", "LineState 1/0 3",
                                 "send INVITE sip:other@10.0.0.3 +sdp s1 0#2 new d2"));
  EXPECT_EQ(Line().GetState(), CALLING);
  EXPECT_THAT(Receive(make_response(180)), ElementsAre("FarEndRinging 1/0"));
}

TEST_F(LineCallback, LineMayCallAgainFromInsideTheFarEndsDrop) {
  Bring(CONNECTED);
  On("FarEndDrop", Redial);
  Put(make_request(cpsip_method::bye));
  const Strings log = Log();
  ASSERT_GE(log.size(), 3U);
  EXPECT_EQ(log[0], "FarEndDrop 1/0");
  EXPECT_EQ(log[1], "LineState 1/0 3");
  EXPECT_THAT(log, Not(Contains("LineState 1/0 0")));  // which it is not any more
  EXPECT_EQ(Line().GetState(), CALLING);
}

TEST_F(LineCallback, RingingLineMayBeAnsweredFromInsideItsRing) {
  On("LineRing2", [] { Stack().Answer(1, 0); });
  const Strings log = Ring(make_offer());
  EXPECT_THAT(log, Contains("send 200 OK to INVITE s1 0#0 d1"));
  EXPECT_EQ(Line().GetState(), RINGING);
  EXPECT_THAT(Receive(make_request(cpsip_method::ack)), Contains(StartsWith("LineConnected 1/0 ")));
}

TEST_F(LineCallback, RingingLineMayBeDroppedFromInsideItsRing) {
  On("LineRing2", [] { Stack().Drop(1, 0); });
  const Strings log = Ring(make_offer());
  EXPECT_THAT(log, Contains("send 487 Call rejected to INVITE s1 0#0 d1"));
  EXPECT_THAT(log, Contains("LineState 1/0 0"));
  EXPECT_EQ(Line().GetState(), IDLE);
  EXPECT_THAT(Ring(make_offer()), Contains("send 180 Ringing to INVITE s1 0#0 d2"));
}

TEST_F(LineCallback, ConnectedLineMayBeDroppedFromInsideItsReport) {
  Bring(CALLING);
  On("LineConnected", [] { Stack().Drop(1, 0); });
  EXPECT_THAT(Receive(make_response(200)), ElementsAre(StartsWith("LineConnected 1/0 "), "LineState 1/0 6",
                                                       "send BYE s1 0#1 d1", "LocalDrop 1/0"));
}

TEST_F(LineCallback, CallMayBeDroppedFromInsideTheFarEndsRinging) {
  Bring(CALLING);
  On("FarEndRinging", [] { Stack().Drop(1, 0); });
  EXPECT_THAT(Receive(make_response(180)),
              ElementsAre("FarEndRinging 1/0", "LineState 1/0 5", "send CANCEL s1 0#1 d1", "LocalDrop 1/0"));
  EXPECT_THAT(Receive(make_response(487)), ElementsAre("LineState 1/0 0"));
}

TEST_F(LineCallback, CallMayBeDroppedFromInsideTheCodecsOfItsAnswer) {
  Bring(CALLING);
  On("Codecs", [] { Stack().Drop(1, 0); });
  const Strings log = Receive(with_sdp(make_response(183)));
  EXPECT_THAT(log, ElementsAre("Codecs 1/0 96=L24/48000/2", "LineState 1/0 5", "send CANCEL s1 0#1 d1",
                               "LocalDrop 1/0"));
  EXPECT_EQ(Line().GetState(), CANCELING);
}

TEST_F(LineCallback, DropInsideTheReportOfADropDoesNothing) {
  Bring(CONNECTED);
  On("LineState", [] { Stack().Drop(1, 0); });
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 6", "send BYE s1 0#1 d1", "LocalDrop 1/0"));
}

TEST_F(LineCallback, LineMayCallAgainFromInsideTheEndOfADropByTime) {
  Bring(DISCONNECTING);
  On("LineState", Redial);
  AdvanceMs(kDisconnectMs);
  EXPECT_THAT(Log(), ElementsAre("LineError 1/0 51 No response on disconnect", "LineState 1/0 0",
                                 "LineState 1/0 3", "send INVITE sip:other@10.0.0.3 +sdp s1 0#2 new d2"));
  AdvanceMs(600'000);
  EXPECT_EQ(Line().GetState(), CALLING);
}

TEST_F(LineCallback, OtherServiceMayBeDestroyedFromInsideAnEvent) {
  Stack().ServiceCreate(2, Config(2, 1));
  (void)Log();
  On("LineSeized", [] { Stack().ServiceDestroy(2); });
  Stack().Seize(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineSeized 1/0", "stack delete s2", "ServiceDestroy 2"));
}

TEST_F(LineCallback, ServiceThatIsDestroyedInsideAnEventHasLeftTheStackByItsReport) {
  Bring(CONNECTED);
  On("LineState", [] { Stack().ServiceDestroy(1); });
  Stack().Drop(1, 0);
  EXPECT_THAT(Log(), ElementsAre("LineState 1/0 6", "stack delete s1", "ServiceDestroy 1"));
}

TEST_F(LineCallback, ServiceThatIsReplacedInsideAnEventHasLeftTheStackBeforeTheNewOne) {
  Bring(CONNECTED);
  On("FarEndDrop", [] { Stack().ServiceCreate(1, Config(1, 2)); });
  Put(make_request(cpsip_method::bye));
  EXPECT_THAT(Log(), ElementsAre("FarEndDrop 1/0", "stack delete s1", "ServiceDestroy 1", "stack create s2",
                                 "ServiceCreate 1"));
}

TEST_F(LineCallback, DestructionFromInsideADestructionIsNoSecondOne) {
  Bring(CALLING);
  fake_.on_delete = [] { Stack().ServiceDestroy(1); };
  Stack().ServiceDestroy(1);
  const Strings log = Log();
  EXPECT_EQ(std::count(log.begin(), log.end(), "stack delete s1"), 1);
  EXPECT_THAT(log, Not(Contains("stack delete of no service")));
}

}  // namespace
}  // namespace hark::test

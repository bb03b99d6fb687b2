// The call code sets and clears ports while it is told of one: the port that is looked at may change, and so
// may those behind it.
#include "routing/ptt_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;

// Port 3 asks for channel 5 to take our channel 7.
class PttHook : public PttOpen {
 protected:
  PttHook() {
    EXPECT_EQ(qncpptt_set(3, 5, 7), 0);
    EXPECT_THAT(Sent(), ::testing::SizeIs(1));
  }
};

TEST_F(PttHook, ClearsItsPortOnAConfirmation) {
  on_report = [](int port, bool) { EXPECT_EQ(qncpptt_clr(port), 0); };
  Confirm(5, 7);
  Confirm(5, 7);
  PassAfterMs(2'000);
  EXPECT_THAT(reports, ElementsAre("3 1"));
  EXPECT_THAT(Sent(), ElementsAre(Up(5, 7)));
}

TEST_F(PttHook, ClearsItsPortOnALapse) {
  Confirm(5, 7);
  PassAfterMs(50);
  (void)Sent();
  on_report = [](int port, bool active) {
    EXPECT_FALSE(active);
    EXPECT_EQ(qncpptt_clr(port), 0);
  };
  clock.AdvanceMs(4'950);
  Pass();
  PassAfterMs(10'000);
  EXPECT_THAT(reports, ElementsAre("3 1", "3 0"));
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7), Up(5, 7)));
}

TEST_F(PttHook, ClearsThePortThatWouldComeNext) {
  EXPECT_EQ(qncpptt_set(4, 5, 7), 0);
  on_report = [](int, bool) { EXPECT_EQ(qncpptt_clr(4), 0); };
  Confirm(5, 7);
  EXPECT_THAT(reports, ElementsAre("3 1"));
  EXPECT_FALSE(Port(4).active);
}

TEST_F(PttHook, SetsItsPortAgain) {
  on_report = [](int port, bool) { EXPECT_EQ(qncpptt_set(port, 5, 7), 0); };
  Confirm(5, 7);
  EXPECT_THAT(reports, ElementsAre("3 1"));
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7)));
  EXPECT_TRUE(Port(3).active);
}

TEST_F(PttHook, SetsAnotherPort) {
  on_report = [](int, bool) { EXPECT_EQ(qncpptt_set(90, 6, 8), 0); };
  Confirm(5, 7);
  EXPECT_THAT(reports, ElementsAre("3 1"));
  on_report = nullptr;
  Confirm(6, 8);
  EXPECT_THAT(reports, ElementsAre("3 1", "90 1"));
}

}  // namespace
}  // namespace hark

// The call code sets and clears ports while it is told of one: nothing that is being walked may be lost.
#include <array>

#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Ports 5 and 4 have taken destination 7; port 4 is told first.
class QnrifbHook : public RemoteIfb {
 protected:
  QnrifbHook() {
    Set(5, far, 7);
    Set(4, far, 7);
    EXPECT_EQ(Written(far), "DST\nDST\n");
    Hear(far, DstLine(7, "1.1.1.1"));
    EXPECT_EQ(Written(far), SetRequest(7, kOurAddr) + SetRequest(7, kOurAddr));
  }

  // Does `action` at the first report only.
  void Once(const std::function<void()>& action) {
    on_report = [this, action](int, bool) {
      on_report = nullptr;
      action();
    };
  }

  FarDaemon far;
  FarDaemon other;
};

TEST_F(QnrifbHook, ClearsItsOwnPort) {
  Once([&] { Clear(4); });
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1"));
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1"));
  EXPECT_THAT(Link(far)->ports, ElementsAre(&Port(5)));
}

TEST_F(QnrifbHook, ClearsThePortThatWouldComeNext) {
  Once([&] { Clear(5); });
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1"));
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1"));
}

TEST_F(QnrifbHook, ClearsAllPorts) {
  on_report = [&](int, bool) {
    Clear(4);
    Clear(5);
  };
  Hear(far, DstLine(7, kOurAddr) + DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1"));
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1") + SetRequest(7, "1.1.1.1"));
  clock.AdvanceMs(30'000);
  Pass();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
}

TEST_F(QnrifbHook, ClearsItsPortOnAConflict) {
  on_report = [&](int port, bool active) {
    EXPECT_FALSE(active);
    Clear(port);
  };
  Hear(far, DstLine(7, "2.2.2.2"));
  EXPECT_THAT(reports, ElementsAre("4 0", "5 0"));
  EXPECT_EQ(Written(far), "");
}

TEST_F(QnrifbHook, SetsAnotherPortOnTheSameDevice) {
  Once([&] { Set(9, far, 8); });
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1"));
  EXPECT_EQ(Written(far), "DST\n");
  Hear(far, DstLine(8, "1.1.1.8") + DstLine(8, kOurAddr));
  EXPECT_EQ(reports.back(), "9 1");
}

TEST_F(QnrifbHook, SetsManyPortsOnTheSameDevice) {
  Once([&] {
    for (int port = 10; port < qnrifb_ports_count; ++port)
      Set(port, far, port);
  });
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1"));
  EXPECT_EQ(Link(far)->ports.size(), 120U);
}

TEST_F(QnrifbHook, SetsAPortOnAnotherDevice) {
  Once([&] { Set(9, other, 8); });
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1"));
  EXPECT_EQ(Written(other), "DST\n");
  Hear(other, DstLine(8, "1.1.1.8") + DstLine(8, kOurAddr));
  EXPECT_EQ(reports.back(), "9 1");
}

TEST_F(QnrifbHook, MovesItsPortToAnotherDevice) {
  on_report = [&](int port, bool) { Set(port, other, port); };
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1"));
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1") + SetRequest(7, "1.1.1.1"));
  EXPECT_EQ(Written(other), "DST\nDST\n");
  EXPECT_THAT(Link(far)->ports, IsEmpty());
}

TEST_F(QnrifbHook, MovesThePortThatWouldComeNextToAnotherDevice) {
  Once([&] { Set(5, other, 7); });
  Hear(far, DstLine(7, "2.2.2.2"));
  EXPECT_THAT(reports, ElementsAre("4 0"));
  EXPECT_FALSE(Port(5).original.has_value()) << "the line was of the device that it has left";
  EXPECT_EQ(Written(other), "DST\n");
}

TEST_F(QnrifbHook, SetsItsOwnPortAgain) {
  on_report = [&](int port, bool) { Set(port, far, 7); };
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1"));
  const std::string again = SetRequest(7, "1.1.1.1") + "DST\n";
  EXPECT_EQ(Written(far), again + again);
  EXPECT_FALSE(Port(4).original.has_value());
  EXPECT_FALSE(Port(5).original.has_value());
  on_report = nullptr;
  Hear(far, DstLine(7, "1.1.1.1") + DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1", "5 1", "4 1"));
}

TEST_F(QnrifbHook, SetsAgainAPortWhoseConnectionIsBeingServed) {
  // Many devices at once, each hook taking the port to the next of them.
  std::array<FarDaemon, 4> ring;
  for (int i = 0; i < 4; ++i)
    TakeOver(20 + i, ring[static_cast<std::size_t>(i)], 7, "1.1.1.1");
  on_report = [&](int port, bool) { Set(port, ring[static_cast<std::size_t>((port - 20 + 1) % 4)], 9); };
  for (FarDaemon& daemon : ring)
    daemon.Send(DstLine(7, kOurAddr));
  EXPECT_TRUE(Await([&] { return reports.size() == 4; }));
  for (FarDaemon& daemon : ring)
    EXPECT_EQ(Written(daemon).size(), (SetRequest(7, "1.1.1.1") + "DST\n").size());
  EXPECT_THAT(reports, ::testing::UnorderedElementsAre("20 1", "21 1", "22 1", "23 1"));
}

}  // namespace
}  // namespace hark

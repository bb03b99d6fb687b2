// The connections that end otherwise than by idling: refused, never answered, cut by the far daemon, and
// closed with the program.
#include <sys/socket.h>

#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using QnrifbEnd = RemoteIfb;

TEST_F(QnrifbEnd, RefusedOneShowsConnectedAndThenDropped) {
  FarDaemon far("127.0.0.1", FarDaemon::kRefuses);
  Set(5, far, 7);
  Set(6, far, 8);
  const std::vector<std::string> life = {LogOf(5, far.At(), "connect pending"),
                                         LogOf(5, far.At(), "connected"), LogOf(3, far.At(), "dropped"),
                                         LogOf(5, far.At(), "closed")};
  AwaitNoConnection();
  EXPECT_EQ(logged, life);
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_EQ(Port(5).conn, nullptr);
  EXPECT_EQ(Port(6).conn, nullptr);
  Clear(5);
  Set(5, far, 7);
  EXPECT_NE(Port(5).conn, nullptr);
}

TEST_F(QnrifbEnd, ConnectThatFailsAtOnceFreesThePortInTheNextPass) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(qnrifb_set(5, "255.255.255.255/7", kOurSource), 0);
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("qnrifb_connect: "));
  ASSERT_EQ(qnrifb_cons.size(), 1U);
  EXPECT_FALSE(qnrifb_cons.front().fd.is_open());
  EXPECT_FALSE(qnrifb_cons.front().connecting);
  ASSERT_EQ(logged.size(), 1U);
  EXPECT_THAT(logged[0], ::testing::StartsWith(LogOf(3, "255.255.255.255:93", "connect error ")));
  Pass();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
  EXPECT_EQ(Port(5).conn, nullptr);
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(QnrifbEnd, NextPortOfADeviceThatFailedTriesItAgain) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(qnrifb_set(5, "255.255.255.255/7", kOurSource), 0);
  EXPECT_EQ(qnrifb_set(6, "255.255.255.255/8", kOurSource), 0);
  (void)::testing::internal::GetCapturedStderr();
  EXPECT_EQ(qnrifb_cons.size(), 1U);
  EXPECT_EQ(logged.size(), 2U);
  Pass();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
  EXPECT_EQ(Port(5).conn, nullptr);
  EXPECT_EQ(Port(6).conn, nullptr);
}

TEST_F(QnrifbEnd, AbsentDeviceHoldsNothingUp) {
  const FarDaemon far("127.0.0.1", FarDaemon::kNoQueue);
  const UniqueFd first(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = far.address();
  at.sin_port = far.port();
  ASSERT_EQ(::connect(first.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at), 0);
  Set(5, far, 7);
  Set(6, far, 8);
  const std::string pending = LogOf(5, far.At(), "connect pending");
  const std::string closed = LogOf(5, far.At(), "closed");
  for (int i = 0; i < 3; ++i)
    Pass();
  EXPECT_TRUE(Link(far)->connecting);
  EXPECT_EQ(Port(5).conn, Link(far));
  Clear(5);
  Clear(6);
  clock.AdvanceMs(30'000);
  Pass();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
  EXPECT_THAT(logged, ElementsAre(pending, closed));
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(QnrifbEnd, CutOneFreesItsPortsWithoutAReport) {
  FarDaemon far;
  FarDaemon other;
  TakeOver(5, far, 7, "1.1.1.1");
  TakeOver(6, far, 8, "1.1.1.2");
  TakeOver(9, other, 7, "1.1.1.3");
  logged.clear();
  far.HangUp();
  EXPECT_TRUE(Await([&] { return Link(far) == nullptr; }));
  EXPECT_EQ(logged.size(), 2U);
  EXPECT_THAT(logged[0], HasSubstr(" qnrifb " + far.At() + " dropped"));
  EXPECT_THAT(logged[1], HasSubstr(" qnrifb " + far.At() + " closed"));
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_EQ(Port(5).conn, nullptr);
  EXPECT_EQ(Port(6).conn, nullptr);
  EXPECT_EQ(Port(9).conn, Link(other));
  Clear(5);
  Clear(9);
  EXPECT_EQ(Written(other), SetRequest(7, "1.1.1.3"));
}

TEST_F(QnrifbEnd, PortOfACutOneStartsAfresh) {
  FarDaemon far;
  TakeOver(5, far, 7, "1.1.1.1");
  Hear(far, DstLine(7, "2.2.2.2"));
  EXPECT_TRUE(Port(5).conflict);
  far.HangUp();
  AwaitNoConnection();
  reports.clear();
  TakeOver(5, far, 7, "3.3.3.3");
  EXPECT_EQ(Port(5).original, "3.3.3.3");
  EXPECT_FALSE(Port(5).conflict);
  Clear(5);
  EXPECT_EQ(Written(far), SetRequest(7, "3.3.3.3"));
}

TEST_F(QnrifbEnd, CutIdleOneIsGoneAtOnce) {
  FarDaemon far;
  Set(5, far, 7);
  EXPECT_EQ(Written(far), "DST\n");
  Clear(5);
  far.HangUp();
  AwaitNoConnection();
  EXPECT_THAT(logged, Contains(HasSubstr("dropped")));
}

TEST_F(QnrifbEnd, LastWordsOfACutOneAreHeard) {
  FarDaemon far;
  TakeOver(5, far, 7, "1.1.1.1");
  far.Send(DstLine(7, kOurAddr) + "DST 7 ADDR:\"unended");
  far.HangUp();
  AwaitNoConnection();
  EXPECT_THAT(reports, ElementsAre("5 1"));
}

TEST_F(QnrifbEnd, CleanupGivesBackAndCloses) {
  FarDaemon far;
  FarDaemon other;
  TakeOver(5, far, 7, "1.1.1.1");
  TakeOver(6, far, 8, "1.1.1.2");
  Hear(far, DstLine(8, "2.2.2.2"));
  TakeOver(7, other, 7, "1.1.1.3");
  Set(8, other, 9);
  EXPECT_EQ(Written(other), "DST\n");
  reports.clear();
  qnrifb_cleanup();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
  for (const qnrifb_port& port : qnrifb_ports) {
    EXPECT_EQ(port.conn, nullptr);
    EXPECT_FALSE(port.original.has_value());
  }
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1"));
  EXPECT_EQ(Written(other), SetRequest(7, "1.1.1.3"));
  EXPECT_EQ(far.ended() + other.ended(), 2);
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_THAT(logged, Contains(HasSubstr(far.At() + "/7 1.1.1.1")));
  qnrifb_cleanup();
  TakeOver(5, far, 7, "1.1.1.1");
}

TEST_F(QnrifbEnd, CleanupDuringAConnectEndsIt) {
  FarDaemon far;
  Set(5, far, 7);
  qnrifb_cleanup();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
  EXPECT_THAT(Written(far), Not(HasSubstr("LOGIN")));
}

}  // namespace
}  // namespace hark

// The life of a connection: made, shared, idle, used again, and closed.
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TimeUs kIdleUs = 30 * kUsPerSecond;

using QnrifbConnection = RemoteIfb;

TEST_F(QnrifbConnection, WithoutAPortThereIsNone) {
  fd_set readable;
  fd_set writable;
  FD_ZERO(&readable);
  FD_ZERO(&writable);
  EXPECT_EQ(qnrifb_selectevents(readable, writable), -1);
  qnrifb_processevents(readable, writable, clock.Now());
  EXPECT_THAT(qnrifb_cons, IsEmpty());
}

TEST_F(QnrifbConnection, IsWatchedForWritingWhileThereIsSomethingToWrite) {
  FarDaemon far;
  Set(5, far, 7);
  const int fd = Link(far)->fd.get();
  const auto watched = [&](bool for_writing) {
    fd_set readable;
    fd_set writable;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    EXPECT_EQ(qnrifb_selectevents(readable, writable), fd);
    return FD_ISSET(fd, for_writing ? &writable : &readable) != 0;
  };
  EXPECT_TRUE(watched(false));
  EXPECT_TRUE(watched(true)) << "the connect is not through";
  EXPECT_EQ(Written(far), "DST\n");
  EXPECT_TRUE(watched(false));
  EXPECT_FALSE(watched(true));
  Set(6, far, 8);
  EXPECT_TRUE(watched(true)) << "a query waits";
  EXPECT_EQ(Written(far), "DST\n");
  EXPECT_FALSE(watched(true));
}

TEST_F(QnrifbConnection, HighestOfAllSocketsIsTold) {
  std::array<FarDaemon, 3> far;
  int highest = -1;
  for (int i = 0; i < 3; ++i) {
    const auto& daemon = far[static_cast<std::size_t>(i)];
    Set(i, daemon, 7);
    highest = std::max(highest, Link(daemon)->fd.get());
  }
  fd_set readable;
  fd_set writable;
  FD_ZERO(&readable);
  FD_ZERO(&writable);
  EXPECT_EQ(qnrifb_selectevents(readable, writable), highest);
}

TEST_F(QnrifbConnection, IsLoggedFromBeginningToEnd) {
  FarDaemon far;
  Set(5, far, 7);
  EXPECT_THAT(logged, ElementsAre(LogOf(5, far.At(), "connect pending")));
  EXPECT_EQ(Written(far), "DST\n");
  EXPECT_THAT(logged, ElementsAre(LogOf(5, far.At(), "connect pending"), LogOf(5, far.At(), "connected")));
  Clear(5);
  const std::string closed = LogOf(5, far.At(), "closed");
  logged.clear();
  clock.AdvanceUs(kIdleUs);
  Pass();
  EXPECT_THAT(logged, ElementsAre(closed));
}

TEST_F(QnrifbConnection, SocketDelaysNothingAndBlocksNothing) {
  FarDaemon far;
  Set(5, far, 7);
  const int fd = Link(far)->fd.get();
  int on = 0;
  socklen_t length = sizeof on;
  EXPECT_EQ(::getsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, &length), 0);
  EXPECT_NE(on, 0);
  EXPECT_EQ(Written(far), "DST\n");
  char byte = 0;
  EXPECT_EQ(::recv(fd, &byte, 1, 0), -1);
  EXPECT_EQ(errno, EAGAIN);
}

TEST_F(QnrifbConnection, IsSharedByAllPortsThatGoToTheDevice) {
  FarDaemon far;
  Set(5, far, 7);
  Set(6, far, 8);
  EXPECT_EQ(Written(far), "DST\nDST\n");
  Set(9, far, 9);
  EXPECT_EQ(Written(far), "DST\n");
  EXPECT_EQ(far.connections(), 1);
  EXPECT_EQ(qnrifb_cons.size(), 1U);
  EXPECT_THAT(qnrifb_cons.front().ports, ElementsAre(&Port(9), &Port(6), &Port(5)));
  Clear(6);
  EXPECT_THAT(qnrifb_cons.front().ports, ElementsAre(&Port(9), &Port(5)));
}

TEST_F(QnrifbConnection, KeepsThePasswordOfThePortThatMadeIt) {
  FarDaemon far;
  Set(5, far, 7, "first");
  Set(6, far, 8, "second");
  EXPECT_EQ(Written(far), "DST\nDST\n");
  Hear(far, DstLine(8, "1.1.1.1"));
  EXPECT_EQ(Written(far), SetRequest(8, kOurAddr, "first"));
}

TEST_F(QnrifbConnection, EachAddressAndEachPortIsADeviceOfItsOwn) {
  FarDaemon far("127.0.0.1");
  FarDaemon other_port("127.0.0.1");
  FarDaemon other_address("127.93.0.2", 8, far.port());
  Set(0, far, 7);
  Set(1, other_port, 7);
  Set(2, other_address, 7);
  ASSERT_EQ(qnrifb_cons.size(), 3U);
  EXPECT_EQ(&qnrifb_cons.front(), Link(other_address)) << "the newest stands first";
  EXPECT_EQ(&qnrifb_cons.back(), Link(far));
  for (FarDaemon* daemon : {&far, &other_port, &other_address})
    EXPECT_EQ(Written(*daemon), "DST\n");
  Hear(other_port, DstLine(7, "1.1.1.1"));
  EXPECT_EQ(Written(other_port), SetRequest(7, kOurAddr));
  EXPECT_EQ(Written(far), "");
  EXPECT_EQ(Written(other_address), "");
}

TEST_F(QnrifbConnection, TwoPortsOfOneDestinationAreToldNewestFirst) {
  FarDaemon far;
  Set(5, far, 7);
  Set(4, far, 7);
  EXPECT_EQ(Written(far), "DST\nDST\n");
  Hear(far, DstLine(7, "1.1.1.1"));
  EXPECT_EQ(Written(far), SetRequest(7, kOurAddr) + SetRequest(7, kOurAddr));
  Hear(far, DstLine(7, kOurAddr));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1"));
  Hear(far, DstLine(7, "2.2.2.2"));
  EXPECT_THAT(reports, ElementsAre("4 1", "5 1", "4 0", "5 0"));
}

TEST_F(QnrifbConnection, AllPortsWorkOnEightDevices) {
  std::array<FarDaemon, 8> far;
  for (int port = 0; port < qnrifb_ports_count; ++port)
    Set(port, far[static_cast<std::size_t>(port % 8)], port + 1);
  EXPECT_EQ(qnrifb_cons.size(), far.size());
  for (std::size_t device = 0; device < far.size(); ++device) {
    SCOPED_TRACE(device);
    std::string queries;
    std::string originals;
    std::string requests;
    std::string confirmations;
    std::string given_back;
    std::vector<std::string> confirmed;
    for (int port = static_cast<int>(device); port < qnrifb_ports_count; port += 8) {
      const std::string original = "239.192.1." + std::to_string(port);
      queries += "DST\n";
      originals += DstLine(port + 1, original);
      requests += SetRequest(port + 1, kOurAddr);
      confirmations += DstLine(port + 1, kOurAddr);
      given_back += SetRequest(port + 1, original);
      confirmed.push_back(std::to_string(port) + " 1");
    }
    reports.clear();
    EXPECT_EQ(Written(far[device]), queries);
    Hear(far[device], originals);
    EXPECT_EQ(Written(far[device]), requests);
    Hear(far[device], confirmations);
    EXPECT_EQ(reports, confirmed);
    for (int port = static_cast<int>(device); port < qnrifb_ports_count; port += 8)
      Clear(port);
    EXPECT_EQ(Written(far[device]), given_back);
    EXPECT_EQ(far[device].connections(), 1);
  }
}

TEST_F(QnrifbConnection, IdleOneIsUsedAgainWithin30SecondsAndOnlyAsked) {
  FarDaemon far;
  TakeOver(5, far, 7, "1.1.1.1");
  Clear(5);
  EXPECT_EQ(Written(far), SetRequest(7, "1.1.1.1"));
  clock.AdvanceUs(kIdleUs - 1);
  Pass();
  Set(6, far, 8);
  EXPECT_EQ(Written(far), "DST\n");
  EXPECT_EQ(far.connections(), 1);
}

TEST_F(QnrifbConnection, IdleOneClosesAfter30Seconds) {
  FarDaemon far;
  Set(5, far, 7);
  EXPECT_EQ(Written(far), "DST\n");
  clock.AdvanceUs(100 * kIdleUs);
  Pass();
  EXPECT_EQ(qnrifb_cons.size(), 1U) << "a port keeps it";
  Clear(5);
  clock.AdvanceUs(kIdleUs - 1);
  Pass();
  EXPECT_EQ(qnrifb_cons.size(), 1U);
  clock.AdvanceUs(1);
  Pass();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
  EXPECT_EQ(Written(far), "");
  EXPECT_EQ(far.ended(), 1);
  Set(5, far, 7);
  EXPECT_EQ(Written(far), "DST\n");
  EXPECT_EQ(far.connections(), 2);
}

TEST_F(QnrifbConnection, IdleTimeCountsFromTheLastPort) {
  FarDaemon far;
  Set(5, far, 7);
  Set(6, far, 8);
  EXPECT_EQ(Written(far), "DST\nDST\n");
  Clear(5);
  clock.AdvanceUs(kIdleUs);
  Pass();
  Clear(6);
  clock.AdvanceUs(kIdleUs - 1);
  Pass();
  EXPECT_EQ(qnrifb_cons.size(), 1U);
  clock.AdvanceUs(1);
  Pass();
  EXPECT_THAT(qnrifb_cons, IsEmpty());
}

TEST_F(QnrifbConnection, ClosingOneLeavesTheOthers) {
  std::array<FarDaemon, 3> far;
  for (int i = 0; i < 3; ++i)
    Set(i, far[static_cast<std::size_t>(i)], 7);
  Clear(1);
  clock.AdvanceUs(kIdleUs);
  Pass();
  EXPECT_EQ(qnrifb_cons.size(), 2U);
  EXPECT_EQ(Link(far[1]), nullptr);
  EXPECT_EQ(Written(far[0]), "DST\n");
  EXPECT_EQ(Written(far[2]), "DST\n");
}

}  // namespace
}  // namespace hark

// The socket of the PTT requests: its opening, and the group that follows the SIP address.
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

#include "daemon/station/station.h"
#include "routing/ptt_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* kGroup = "239.192.255.4";
constexpr const char* kLoopback = "127.0.0.1";
constexpr const char* kForeign = "203.0.113.77";  // RFC 5737: no interface has it

using PttSocket = Ptt;

TEST_F(PttSocket, TalksToTheGroupOfTheNetwork) {
  const QncpPtt fresh;
  EXPECT_EQ(fresh.req_addr.sin_family, AF_INET);
  EXPECT_EQ(fresh.req_addr.sin_addr.s_addr, inet_addr(kGroup));
  EXPECT_EQ(ntohs(fresh.req_addr.sin_port), 4011);
  EXPECT_EQ(fresh.local_port, 4012);
  EXPECT_EQ(fresh.mcast_iface_addr, 0U);
  EXPECT_FALSE(fresh.fd.is_open());
}

TEST_F(PttSocket, OpensOnceAtEveryAddress) {
  EXPECT_EQ(qncpptt_initialize(), 0);
  const int fd = qncpptt.fd.get();
  EXPECT_EQ(Own().sin_addr.s_addr, htonl(INADDR_ANY));
  int shared = 0;
  socklen_t length = sizeof shared;
  EXPECT_EQ(::getsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &shared, &length), 0);
  EXPECT_NE(shared, 0);
  EXPECT_EQ(qncpptt_initialize(), 1);
  EXPECT_EQ(qncpptt.fd.get(), fd);
  EXPECT_THAT(logged, IsEmpty());
}

TEST_F(PttSocket, PortIsSharedWithOthersThatShareIt) {
  Start();
  const UniqueFd other(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const int on = 1;
  ASSERT_EQ(::setsockopt(other.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), 0);
  const sockaddr_in at = Own();
  EXPECT_EQ(::bind(other.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at), 0);
}

TEST_F(PttSocket, TakenPortIsAFailureThatIsLogged) {
  const UniqueFd other(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in at{};
  at.sin_family = AF_INET;
  socklen_t length = sizeof at;
  ASSERT_EQ(::bind(other.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at), 0);
  ASSERT_EQ(::getsockname(other.get(), reinterpret_cast<sockaddr*>(&at), &length), 0);
  qncpptt.local_port = ntohs(at.sin_port);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(qncpptt_initialize(), -1);
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), StartsWith("qncpptt_initialize: "));
  EXPECT_THAT(logged, ElementsAre("3 qncpptt bind(0.0.0.0:" + std::to_string(qncpptt.local_port) +
                                  ") error " + std::to_string(EADDRINUSE) + "\n"));
  EXPECT_FALSE(qncpptt.fd.is_open());
  EXPECT_EQ(qncpptt_set(0, 5, 7), -2);
}

TEST_F(PttSocket, WithoutItNothingIsTaken) {
  fd_set set;
  FD_ZERO(&set);
  EXPECT_EQ(qncpptt_selectevents(set), -1);
  EXPECT_EQ(qncpptt_set(0, 5, 7), -2);
  EXPECT_EQ(qncpptt_set(0, 0, 0), -2);
  EXPECT_EQ(qncpptt_clr(0), -2);
  EXPECT_EQ(qncpptt_set(-1, 5, 7), -1) << "the port is looked at first";
  EXPECT_EQ(qncpptt_clr(128), -1);
  EXPECT_EQ(Port(0).dst, 0U);
  PassAfterMs(10'000);
  qncpptt_cleanup();
  EXPECT_THAT(reports, IsEmpty());
}

TEST_F(PttSocket, IsWatchedForReading) {
  Start();
  fd_set set;
  FD_ZERO(&set);
  EXPECT_EQ(qncpptt_selectevents(set), qncpptt.fd.get());
  EXPECT_TRUE(FD_ISSET(qncpptt.fd.get(), &set));
}

// The group is that of the network, with ports of the test's own.
class PttGroup : public Ptt {
 protected:
  PttGroup() {
    qncpptt.req_addr.sin_addr.s_addr = inet_addr(kGroup);
    Start();
  }

  void Move(const char* address) {
    station.sip_ip = inet_addr(address);
    Pass();
  }
  // A second membership is refused, which tells of the first.
  static bool IsMember(const char* interface) {
    ip_mreq request{};
    request.imr_multiaddr.s_addr = inet_addr(kGroup);
    request.imr_interface.s_addr = inet_addr(interface);
    if (::setsockopt(qncpptt.fd.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) != 0)
      return errno == EADDRINUSE;
    EXPECT_EQ(::setsockopt(qncpptt.fd.get(), IPPROTO_IP, IP_DROP_MEMBERSHIP, &request, sizeof request), 0);
    return false;
  }
  static in_addr_t SendsOn() {
    in_addr interface {};
    socklen_t length = sizeof interface;
    EXPECT_EQ(::getsockopt(qncpptt.fd.get(), IPPROTO_IP, IP_MULTICAST_IF, &interface, &length), 0);
    return interface.s_addr;
  }
};

TEST_F(PttGroup, WithoutASipAddressNoneIsJoined) {
  Pass();
  EXPECT_THAT(logged, IsEmpty());
  EXPECT_FALSE(IsMember(kLoopback));
  EXPECT_EQ(SendsOn(), 0U);
}

TEST_F(PttGroup, WithoutASipAddressRequestsStillGoOut) {
  qncpptt.req_addr = Peer();
  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  PassAfterMs(50);
  EXPECT_THAT(Sent(), ElementsAre(Down(5, 7), Down(5, 7)));
  EXPECT_EQ(LoggedCount("7 "), 0);
}

TEST_F(PttGroup, IsJoinedOnTheSipAddressOnce) {
  Move(kLoopback);
  Pass();
  EXPECT_THAT(logged, ElementsAre("7 qncpptt joined 239.192.255.4 on 127.0.0.1\n"));
  EXPECT_EQ(qncpptt.mcast_iface_addr, inet_addr(kLoopback));
  EXPECT_TRUE(IsMember(kLoopback));
  EXPECT_EQ(SendsOn(), inet_addr(kLoopback));
}

TEST_F(PttGroup, IsLeftWhenTheSipAddressGoes) {
  Move(kLoopback);
  logged.clear();
  Move("0.0.0.0");
  EXPECT_THAT(logged, IsEmpty());
  EXPECT_EQ(qncpptt.mcast_iface_addr, 0U);
  EXPECT_FALSE(IsMember(kLoopback));
}

TEST_F(PttGroup, FollowsTheSipAddress) {
  Move(kLoopback);
  logged.clear();
  Move("127.0.0.9");
  EXPECT_THAT(logged, ElementsAre("7 qncpptt joined 239.192.255.4 on 127.0.0.9\n"));
  // Both are addresses of one interface, where a second membership would have been refused.
  EXPECT_TRUE(IsMember("127.0.0.9"));
  EXPECT_EQ(SendsOn(), inet_addr("127.0.0.9"));
}

TEST_F(PttGroup, FailureOnAForeignAddressIsLoggedOnce) {
  Move(kForeign);
  Pass();
  ASSERT_EQ(logged.size(), 2U);
  EXPECT_EQ(logged[0], "3 qncpptt join 239.192.255.4 error " + std::to_string(ENODEV) + "\n");
  EXPECT_EQ(logged[1], "3 qncpptt MULTICAST_IF 203.0.113.77 error " + std::to_string(EADDRNOTAVAIL) + "\n");
  EXPECT_EQ(qncpptt.mcast_iface_addr, inet_addr(kForeign));
  logged.clear();
  Move(kLoopback);
  EXPECT_THAT(logged, ElementsAre("7 qncpptt joined 239.192.255.4 on 127.0.0.1\n"));
  EXPECT_TRUE(IsMember(kLoopback));
}

TEST_F(PttGroup, IsJoinedAnewAfterACleanup) {
  Move(kLoopback);
  qncpptt_cleanup();
  logged.clear();
  Start();
  Pass();
  EXPECT_THAT(logged, ElementsAre("7 qncpptt joined 239.192.255.4 on 127.0.0.1\n"));
  EXPECT_TRUE(IsMember(kLoopback));
}

TEST_F(PttGroup, CarriesRequestsAndConfirmations) {
  // A device of the group on the loopback interface.
  const UniqueFd device(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in at{};
  at.sin_family = AF_INET;
  socklen_t length = sizeof at;
  ASSERT_EQ(::bind(device.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at), 0);
  ASSERT_EQ(::getsockname(device.get(), reinterpret_cast<sockaddr*>(&at), &length), 0);
  ip_mreq request{};
  request.imr_multiaddr.s_addr = inet_addr(kGroup);
  request.imr_interface.s_addr = inet_addr(kLoopback);
  ASSERT_EQ(::setsockopt(device.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request), 0);
  ASSERT_EQ(::setsockopt(device.get(), IPPROTO_IP, IP_MULTICAST_IF, &request.imr_interface,
                         sizeof request.imr_interface),
            0);
  qncpptt.req_addr.sin_port = at.sin_port;
  Move(kLoopback);

  EXPECT_EQ(qncpptt_set(0, 5, 7), 0);
  pollfd heard{device.get(), POLLIN, 0};
  ASSERT_EQ(::poll(&heard, 1, 10'000), 1);
  std::string text(200, '\0');
  text.resize(static_cast<std::size_t>(::recv(device.get(), text.data(), text.size(), 0)));
  EXPECT_EQ(text, Down(5, 7));

  sockaddr_in group = qncpptt.req_addr;
  group.sin_port = Own().sin_port;
  const std::string status = "event QnCH#5 ifb_qnch=7";
  ASSERT_GT(::sendto(device.get(), status.data(), status.size(), 0, reinterpret_cast<const sockaddr*>(&group),
                     sizeof group),
            0);
  pollfd answered{qncpptt.fd.get(), POLLIN, 0};
  ASSERT_EQ(::poll(&answered, 1, 10'000), 1);
  fd_set readable;
  FD_ZERO(&readable);
  EXPECT_EQ(qncpptt_selectevents(readable), qncpptt.fd.get());
  qncpptt_processevents(readable, clock.Now());
  EXPECT_THAT(reports, ElementsAre("0 1"));
}

}  // namespace
}  // namespace hark

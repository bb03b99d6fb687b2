// The simulated network, tried by itself: its hosts hear each other, its programs end, and nothing of it is
// left on the machine.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <csignal>
#include <string>

#include "system/net/host.h"
#include "system/net/test_net.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr int kPort = 4000;

class SimulatedNetwork : public testing::Test {
 protected:
  void SetUp() override {
    if (!net.why_not().empty()) GTEST_SKIP() << net.why_not();
  }

  TestNet net;
};

UniqueFd udp_socket(const Host& host, const std::string& address) {
  const NetworkScope inside = host.scope();
  return bound_socket(SOCK_DGRAM, address, kPort);
}

bool send_to(const UniqueFd& from, const std::string& address, const std::string& text) {
  const sockaddr_in to = ipv4(address, kPort);
  return ::sendto(from.get(), text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == static_cast<ssize_t>(text.size());
}

// What comes in time, with its sender in front.
std::string received(const UniqueFd& fd) {
  std::array<char, 100> text{};
  sockaddr_in from{};
  socklen_t size = sizeof from;
  ssize_t length = -1;
  (void)wait_until([&] {
    length = ::recvfrom(fd.get(), text.data(), text.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    return length >= 0;
  });
  if (length < 0) return "nothing";
  std::array<char, INET_ADDRSTRLEN> address{};
  (void)::inet_ntop(AF_INET, &from.sin_addr, address.data(), address.size());
  return address.data() + (": " + std::string(text.data(), static_cast<std::size_t>(length)));
}

bool join(const UniqueFd& fd, const std::string& group, const std::string& own) {
  const ip_mreq request{ipv4(group, 0).sin_addr, ipv4(own, 0).sin_addr};
  return ::setsockopt(fd.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) == 0;
}

TEST_F(SimulatedNetwork, CarriesDatagramsBothWays) {
  const Host a(net, 2);
  const Host b(net, 3);
  ASSERT_TRUE(a.made());
  ASSERT_TRUE(b.made());
  const UniqueFd at_a = udp_socket(a, a.address());
  const UniqueFd at_b = udp_socket(b, b.address());
  const UniqueFd here = bound_socket(SOCK_DGRAM, net.address(), kPort);
  ASSERT_TRUE(send_to(at_a, b.address(), "ping"));
  EXPECT_EQ(received(at_b), "10.77.0.2: ping");
  ASSERT_TRUE(send_to(at_b, a.address(), "pong"));
  EXPECT_EQ(received(at_a), "10.77.0.3: pong");
  ASSERT_TRUE(send_to(at_b, net.address(), "hello"));
  EXPECT_EQ(received(here), "10.77.0.3: hello");
}

TEST_F(SimulatedNetwork, CarriesMulticastToAllWhoJoined) {
  const Host a(net, 2);
  const Host b(net, 3);
  const UniqueFd at_a = udp_socket(a, a.address());
  const UniqueFd at_b = udp_socket(b, "0.0.0.0");
  const UniqueFd here = bound_socket(SOCK_DGRAM, "0.0.0.0", kPort);
  ASSERT_TRUE(join(at_b, "239.192.255.1", b.address()));
  ASSERT_TRUE(join(here, "239.192.255.1", net.address()));
  ASSERT_TRUE(send_to(at_a, "239.192.255.1", "to all"));
  EXPECT_EQ(received(at_b), "10.77.0.2: to all");
  EXPECT_EQ(received(here), "10.77.0.2: to all");
}

TEST_F(SimulatedNetwork, IsCutByALinkThatIsDown) {
  Host a(net, 2);
  const Host b(net, 3);
  const UniqueFd at_a = udp_socket(a, "0.0.0.0");
  const UniqueFd at_b = udp_socket(b, b.address());
  ASSERT_TRUE(a.link_down());
  EXPECT_FALSE(send_to(at_a, b.address(), "lost"));
  ASSERT_TRUE(a.link_up());
  ASSERT_TRUE(send_to(at_a, b.address(), "there"));
  EXPECT_EQ(received(at_b), "10.77.0.2: there");
  ASSERT_TRUE(a.move_to(9));
  ASSERT_TRUE(send_to(at_a, b.address(), "moved"));
  EXPECT_EQ(received(at_b), "10.77.0.9: moved");
}

TEST_F(SimulatedNetwork, HasASecondSegmentApart) {
  Host a(net, 2);
  Host b(net, 3);
  ASSERT_TRUE(a.add_second_interface());
  ASSERT_TRUE(b.add_second_interface());
  const UniqueFd at_a = udp_socket(a, "10.77.1.2");
  const UniqueFd at_b = udp_socket(b, "10.77.1.3");
  ASSERT_TRUE(send_to(at_a, "10.77.1.3", "second"));
  EXPECT_EQ(received(at_b), "10.77.1.2: second");
  EXPECT_THAT(a.output_of({"ip", "-brief", "link"}),
              testing::AllOf(HasSubstr("02:77:00:00:00:02"), HasSubstr("02:77:00:00:01:02")));
}

TEST_F(SimulatedNetwork, EndsProgramsWithTheHost) {
  pid_t pid = -1;
  {
    Host a(net, 2);
    Program sleeper = a.run({"sleep", "1000"});
    pid = sleeper.pid();
    ASSERT_TRUE(sleeper.alive());
    EXPECT_EQ(::kill(pid, 0), 0);
    EXPECT_EQ(sleeper.wait_exit(20), -1);
  }
  EXPECT_EQ(::kill(pid, 0), -1) << "it still runs";
}

TEST_F(SimulatedNetwork, TellsHowAProgramEnded) {
  Host a(net, 2);
  Program sleeper = a.run({"sleep", "1000"});
  sleeper.send_signal(SIGTERM);
  EXPECT_EQ(sleeper.wait_exit(), 128 + SIGTERM);
  Program shell = a.run({"sh", "-c", "echo here; exit 3"});
  EXPECT_EQ(shell.wait_exit(), 3);
  EXPECT_EQ(shell.output(), "here\n");
  EXPECT_EQ(a.run({"no such program"}).wait_exit(), 127);
}

TEST(SimulatedNetworks, LeaveNoInterfaceBehind) {
  const std::vector<std::string> before = interface_names();
  {
    const TestNet net;
    if (!net.why_not().empty()) GTEST_SKIP() << net.why_not();
    EXPECT_THAT(interface_names(), ElementsAre("br0", "br1", "lo"));
    {
      const Host a(net, 2);
      EXPECT_THAT(interface_names(), ElementsAre("br0", "br1", "lo", "p2s0"));
    }
    EXPECT_THAT(interface_names(), ElementsAre("br0", "br1", "lo"));
  }
  EXPECT_EQ(interface_names(), before);
}

TEST_F(SimulatedNetwork, KeepsTheFoldersOfHostsApart) {
  Host a(net, 2);
  Host b(net, 3);
  EXPECT_EQ(a.output_of({"sh", "-c", "echo a > /run/mark; ls /run/mark"}), "/run/mark\n");
  EXPECT_THAT(b.output_of({"ls", "/run"}), Not(HasSubstr("mark")));
}

}  // namespace
}  // namespace hark::test

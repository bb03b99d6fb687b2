// The console's slot: how its address is read, which slot it takes, and when it is dialled.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "daemon/daemon_fixture.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

using testing::ElementsAre;

class Console : public DaemonTest {
 protected:
  // The console's address as it stands in the slot, empty when the slot is no console's.
  static std::string Target(int i) {
    const ConnectionData& slot = server.slot(i);
    if (slot.reconnect_us < 0) return "";
    return std::string(dotted(slot.addr.sin_addr.s_addr).data()) + ":" +
           std::to_string(ntohs(slot.addr.sin_port));
  }
  static std::vector<int> ConsoleSlots() {
    std::vector<int> slots;
    for (int i = 0; i < kMaxConnections; ++i) {
      if (!Target(i).empty()) slots.push_back(i);
    }
    return slots;
  }
  // A listening socket on a free port of 127.0.0.1, and its address.
  static std::pair<UniqueFd, std::string> Listener() {
    UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof at;
    EXPECT_EQ(::bind(fd.get(), reinterpret_cast<sockaddr*>(&at), sizeof at), 0);
    EXPECT_EQ(::listen(fd.get(), 1), 0);
    EXPECT_EQ(::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&at), &size), 0);
    return {std::move(fd), "127.0.0.1:" + std::to_string(ntohs(at.sin_port))};
  }
};

TEST_F(Console, AddressesAreRead) {
  struct Row {
    const char* text;
    const char* target;
  };
  for (const Row& row : {
           Row{"10.1.2.3", "10.1.2.3:4010"},
           Row{"10.1.2.3:4020", "10.1.2.3:4020"},
           Row{"10.1.2.3:0", "10.1.2.3:4010"},
           Row{"0x0a.010.0.255:0xFFFF", "10.8.0.255:65535"},
           Row{"127.0.0.1:1", "127.0.0.1:1"},
       }) {
    SCOPED_TRACE(row.text);
    harkd_consoleconnect(row.text);
    EXPECT_EQ(Target(0), row.target);
    EXPECT_EQ(server.slot(0).reconnect_us, 0) << "to be dialled now";
    EXPECT_THAT(ConsoleSlots(), ElementsAre(0));
  }
}

TEST_F(Console, WhatIsNoAddressChangesNothing) {
  harkd_consoleconnect("10.1.2.3");
  for (const char* text : {"", "x", "10", "10.1.2", "10.1.2.", "10.1.2.256", "256.1.2.3", "10.1.2.3:65536",
                           "10,1,2,3", "console", "10.1.2.4294967299", "-1.1.2.3"}) {
    SCOPED_TRACE(text);
    harkd_consoleconnect(text);
    EXPECT_EQ(Target(0), "10.1.2.3:4010");
    EXPECT_THAT(ConsoleSlots(), ElementsAre(0));
  }
}

TEST_F(Console, TheFirstFreeSlotIsTaken) {
  Open(0);
  Open(1);
  Open(3);
  harkd_consoleconnect("10.1.2.3");
  EXPECT_THAT(ConsoleSlots(), ElementsAre(2));
}

TEST_F(Console, TheSameAddressAgainChangesNothing) {
  Open(0);
  harkd_consoleconnect("10.1.2.3");
  server.slot(1).reconnect_us = 4'000'000;
  server.slot(1).last_attempt = 77;
  harkd_consoleconnect("10.1.2.3:4010");
  EXPECT_THAT(ConsoleSlots(), ElementsAre(1));
  EXPECT_EQ(server.slot(1).reconnect_us, 4'000'000);
  EXPECT_EQ(server.slot(1).last_attempt, 77);
}

TEST_F(Console, AnotherAddressOrPortReplacesIt) {
  harkd_consoleconnect("10.1.2.3");
  harkd_consoleconnect("10.1.2.4");
  EXPECT_THAT(ConsoleSlots(), ElementsAre(0));
  EXPECT_EQ(Target(0), "10.1.2.4:4010");
  harkd_consoleconnect("10.1.2.4:4020");
  EXPECT_THAT(ConsoleSlots(), ElementsAre(0));
  EXPECT_EQ(Target(0), "10.1.2.4:4020");
}

TEST_F(Console, ReplacingClosesTheConnectionAndKeepsThePanel) {
  harkd_consoleconnect("10.1.2.3");
  const int descriptor = [&] {
    Open(0);
    return server.socket(0);
  }();
  harkd_consoleconnect("10.1.2.3");  // now another one: Open gave the slot an address of its own
  EXPECT_FALSE(server.is_open(0));
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST_F(Console, ZeroGivesItUpAndTakesNoSlot) {
  harkd_consoleconnect("0.0.0.0");
  EXPECT_THAT(ConsoleSlots(), ElementsAre());
  harkd_consoleconnect("10.1.2.3");
  harkd_consoleconnect("0.0.0.0");
  EXPECT_THAT(ConsoleSlots(), ElementsAre());
  EXPECT_EQ(server.slot(0).reconnect_us, kNotConsole);
  console_redial(0, clock.Now());
  EXPECT_FALSE(server.is_open(0));
}

TEST_F(Console, WithoutAFreeSlotThereIsNone) {
  for (int i = 0; i < kMaxConnections; ++i)
    Open(i);
  harkd_consoleconnect("10.1.2.3");
  EXPECT_THAT(ConsoleSlots(), ElementsAre());
}

TEST_F(Console, RefusalsDoubleThePauseFrom1SecondTo16) {
  auto [listener, address] = Listener();
  listener.reset();  // nobody is there
  harkd_consoleconnect(address.c_str());
  const ConnectionData& slot = server.slot(0);
  for (const int pause_s : {1, 2, 4, 8, 16, 16, 16}) {
    SCOPED_TRACE(pause_s);
    console_redial(0, clock.Now());
    EXPECT_EQ(slot.reconnect_us, pause_s * 1'000'000);
    EXPECT_EQ(slot.last_attempt, clock.Now());
    const TimeUs dialled = slot.last_attempt;
    clock.AdvanceUs(pause_s * kUsPerSecond - 1);
    console_redial(0, clock.Now());
    EXPECT_EQ(slot.last_attempt, dialled) << "too early";
    clock.AdvanceUs(1);
  }
}

TEST_F(Console, IsGreetedAndTheNextPauseIsOneSecond) {
  auto [listener, address] = Listener();
  harkd_consoleconnect(address.c_str());
  server.slot(0).reconnect_us = 8'000'000;
  clock.AdvanceMs(8000);
  console_redial(0, clock.Now());
  ASSERT_TRUE(server.is_open(0));
  EXPECT_EQ(server.slot(0).reconnect_us, 1'000'000);
  const UniqueFd far(::accept(listener.get(), nullptr, nullptr));
  std::array<char, 100> text{};
  EXPECT_EQ(::recv(far.get(), text.data(), text.size(), 0), 33);
  EXPECT_STREQ(text.data(), "GET Intercom type\r\nSUB Intercom\r\n");
  int on = 0;
  socklen_t size = sizeof on;
  EXPECT_EQ(::getsockopt(server.socket(0), IPPROTO_TCP, TCP_NODELAY, &on, &size), 0);
  EXPECT_NE(on, 0);
  size = sizeof on;
  EXPECT_EQ(::getsockopt(server.socket(0), SOL_SOCKET, SO_KEEPALIVE, &on, &size), 0);
  EXPECT_NE(on, 0);
}

TEST_F(Console, ThatIsConnectedIsNotDialled) {
  auto [listener, address] = Listener();
  harkd_consoleconnect(address.c_str());
  console_redial(0, clock.Now());
  const int descriptor = server.socket(0);
  clock.AdvanceMs(60'000);
  console_redial(0, clock.Now());
  EXPECT_EQ(server.socket(0), descriptor);
}

TEST_F(Console, ThatIsLostIsDialledASecondLater) {
  auto [listener, address] = Listener();
  harkd_consoleconnect(address.c_str());
  console_redial(0, clock.Now());
  ASSERT_TRUE(server.is_open(0));
  clock.AdvanceMs(60'000);
  ::close(server.socket(0));
  server_disconnected(0, clock.Now());
  EXPECT_FALSE(server.is_open(0));
  EXPECT_EQ(server.slot(0).last_attempt, clock.Now());
  clock.AdvanceUs(kUsPerSecond - 1);
  console_redial(0, clock.Now());
  EXPECT_FALSE(server.is_open(0));
  clock.AdvanceUs(1);
  console_redial(0, clock.Now());
  EXPECT_TRUE(server.is_open(0));
}

TEST_F(Console, SlotsOfClientsAreNotDialled) {
  for (int i = 0; i < kMaxConnections; ++i)
    console_redial(i, clock.Now());
  for (int i = 0; i < kMaxConnections; ++i)
    EXPECT_FALSE(server.is_open(i));
}

}  // namespace
}  // namespace hark

// How long a host that does not read may hold the others up, over its connections one after the other.
#include <arpa/inet.h>

#include "daemon_fixture.h"

namespace hark {
namespace {

sockaddr_in Host(const char* address, in_port_t port) {
  sockaddr_in host{};
  host.sin_family = AF_INET;
  host.sin_addr.s_addr = inet_addr(address);
  host.sin_port = htons(port);
  return host;
}

class SendLimit : public DaemonTest {
 protected:
  ConnectionData& slot = server.slot(3);
};

// A client that was dropped for not reading once got a fresh limit with each new connection, and so held the
// others up for ever.
TEST_F(SendLimit, HostThatComesBackHasUsedUpWhatItHasUsedUp) {
  slot.set_peer(Host("10.0.0.1", 1000));
  slot.send_wait_us = kSendLimitUs;
  slot.init();
  slot.set_peer(Host("10.0.0.1", 1001));
  EXPECT_EQ(slot.send_wait_us, kSendLimitUs);
}

TEST_F(SendLimit, AnotherHostInTheSlotHasItsOwn) {
  slot.set_peer(Host("10.0.0.1", 1000));
  slot.send_wait_us = kSendLimitUs;
  slot.init();
  slot.set_peer(Host("10.0.0.2", 1000));
  EXPECT_EQ(slot.send_wait_us, 0);
}

TEST_F(SendLimit, AnEighthOfTheTimeThatPassesIsGivenBack) {
  slot.send_wait_us = kSendLimitUs;
  server_new_pass(800);
  EXPECT_EQ(slot.send_wait_us, kSendLimitUs - 100);
  server_new_pass(kSendLimitUs * kSendRefill);
  EXPECT_EQ(slot.send_wait_us, 0);
}

}  // namespace
}  // namespace hark

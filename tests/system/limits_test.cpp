// How many may be connected: 16 in all, 7 from one host; who is turned away is told why, and nobody else
// suffers.
#include <array>

#include "system/station_fixture.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using testing::HasSubstr;

constexpr int kAll = 16;
constexpr int kPerHost = 7;

class Limits : public StationTest {
 protected:
  void SetUp() override {
    Start();
    ExpectLog("]: rejecting ");
  }
  // `count` more clients from that host, all taken in.
  void ConnectMany(const std::string& host, int count) {
    for (int i = 0; i < count; ++i) {
      clients.push_back(Connect(host));
      ASSERT_TRUE(clients.back().ask("VER", kVersion)) << host << " number " << i + 1;
    }
  }
  // Takes every slot.
  void FillUp() {
    ConnectMany("127.0.0.11", kPerHost);
    ConnectMany("127.0.0.12", kPerHost);
    ConnectMany("127.0.0.13", kAll - 2 * kPerHost);
  }
  void CloseAll() {
    const int before = Count("]: disconnected connection id: ");
    const int open = static_cast<int>(clients.size());
    clients.clear();
    ASSERT_TRUE(wait_until([&] { return Count("]: disconnected connection id: ") == before + open; }));
  }
  [[nodiscard]] int Count(const std::string& text) const {
    int count = 0;
    const std::string log = station.stderr_text();
    for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
      ++count;
    return count;
  }
  static void ExpectTurnedAway(Client client, const std::string& why) {
    EXPECT_EQ(client.read_line_with_end(), why + "\r\n");
    EXPECT_TRUE(client.wait_closed());
    EXPECT_FALSE(client.has_line());
  }
  static void ExpectTakenIn(Client client) { EXPECT_TRUE(client.ask("VER", kVersion)); }

  std::vector<Client> clients;
};

TEST_F(Limits, SixteenAreTakenInAndTheNextIsToldThatTheServerIsBusy) {
  FillUp();
  ExpectTurnedAway(Connect("127.0.0.14"), kServerBusy);
  EXPECT_TRUE(Logged("]: rejecting 127.0.0.14: global connection limit (16) reached\n"));
  for (Client& client : clients)
    EXPECT_TRUE(client.ask("VER", kVersion));
}

TEST_F(Limits, FullHouseIsSaidBeforeTheHostsOwnLimit) {
  FillUp();
  ExpectTurnedAway(Connect("127.0.0.11"), kServerBusy);
}

TEST_F(Limits, APlaceThatWasGivenUpIsFreeAgain) {
  FillUp();
  clients.pop_back();
  ASSERT_TRUE(Logged("]: disconnected connection id: "));
  ExpectTakenIn(Connect("127.0.0.14"));
}

TEST_F(Limits, SevenFromOneHostAreTakenInAndTheEighthIsNot) {
  ConnectMany("127.0.0.11", kPerHost);
  ExpectTurnedAway(Connect("127.0.0.11"), kTooManyFromHost);
  // The number in the text is 6, though it takes 7 to be turned away.
  EXPECT_TRUE(Logged("]: rejecting 127.0.0.11: host connection limit (6) reached\n"));
  for (Client& client : clients)
    EXPECT_TRUE(client.ask("VER", kVersion));
  ExpectTakenIn(Connect("127.0.0.12"));
}

TEST_F(Limits, SevenFormerConnectionsKeepTheirHostOutUntilAnotherHostTakesAPlaceOver) {
  ConnectMany("127.0.0.11", kPerHost);
  CloseAll();
  ExpectTurnedAway(Connect("127.0.0.11"), kTooManyFromHost);
  ExpectTurnedAway(Connect("127.0.0.11"), kTooManyFromHost);
  ConnectMany("127.0.0.12", 1);
  ConnectMany("127.0.0.11", 1);
}

TEST_F(Limits, SixFormerConnectionsDoNot) {
  ConnectMany("127.0.0.11", kPerHost - 1);
  CloseAll();
  ConnectMany("127.0.0.11", 1);
}

TEST_F(Limits, TurningAwayCostsNothing) {
  ConnectMany("127.0.0.11", kPerHost);
  const int descriptors = settled_descriptors(station, clients.back());
  for (int i = 0; i < 20; ++i)
    ExpectTurnedAway(Connect("127.0.0.11"), kTooManyFromHost);
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors; }));
}

TEST_F(Limits, ManyAtOnceAreEachTakenInOrTurnedAway) {
  std::vector<Client> crowd;
  for (int i = 0; i < 40; ++i)
    crowd.push_back(Connect("127.0.1." + std::to_string(i % 8 + 1)));
  int taken = 0;
  int turned_away = 0;
  for (Client& client : crowd) {
    (void)client.send_line("VER");
    const std::optional<std::string> line = client.read_line();
    if (line == kVersion) ++taken;
    if (line == kServerBusy) ++turned_away;
  }
  EXPECT_EQ(taken, kAll);
  EXPECT_EQ(turned_away, 40 - kAll);
}

TEST_F(Limits, ComingAndGoingIsLoggedWithPortAndSocket) {
  clients.push_back(Connect("127.0.0.11"));
  sockaddr_in own{};
  socklen_t size = sizeof own;
  ASSERT_EQ(::getsockname(clients[0].fd(), reinterpret_cast<sockaddr*>(&own), &size), 0);
  // The port as it stands in the record, in network order; users' log readers count on it.
  EXPECT_TRUE(Logged("]: connected 127.0.0.11:" + std::to_string(own.sin_port) + ", connection id: "));
  const std::string log = station.stderr_text();
  const std::string behind = log.substr(log.find("connection id: ") + 15);
  const std::string id = behind.substr(0, behind.find('\n') + 1);
  CloseAll();
  EXPECT_TRUE(Logged("]: disconnected connection id: " + id));
  EXPECT_TRUE(Traced("harkd: connection closed ("));
  EXPECT_THAT(station.stdout_text(), HasSubstr("harkd: 127.0.0.11:"));
}

}  // namespace
}  // namespace hark::test

// Thousands of random bytes, and commands with something wrong in them, on several connections at once and
// from the routing daemon: the station answers afterwards, holds no more descriptors than before, and ends
// clean. The seed is fixed, so that what is found once is found again.
#include <algorithm>
#include <array>
#include <random>

#include "system/station_fixture.h"

namespace hark::test {
namespace {

constexpr unsigned kSeed = 20'240'607;
constexpr int kClients = 6;
constexpr int kRounds = 60;

constexpr std::array<std::string_view, 34> kPieces = {
    "CALL ",
    "URL:",
    "\"quillnet:239.192.0.7\"",
    "\"hark:10.0.0.1\"",
    " LISTEN:",
    " TALK:",
    " VOLUME:",
    "ATTACH ",
    "HARKUI#",
    "KEYS:\"",
    "EVENT ",
    "INDI ",
    "Intercom",
    " type=",
    "SRC 1 ",
    "SRC 2 ",
    "RTPA:",
    "PSNM:",
    "HARK ",
    "LABL:",
    "CFG GPO ",
    "GPO 2 ",
    "GPI 3 ",
    "LHlhx",
    " DURATION:",
    "SUB ",
    "UNSUB ",
    "CFG",
    "DST 1 ",
    "AVOL:",
    "VER ",
    "NGPI:",
    "SUPV ",
    "\\",
};

class Noise {
 public:
  explicit Noise(unsigned seed) : random_(seed) {}

  int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

  // A line of pieces, numbers and bytes of any value.
  std::string Line() {
    std::string line;
    for (int i = Below(8); i >= 0; --i) {
      switch (Below(4)) {
        case 0:
          line += Number();
          break;
        case 1:
          line += Bytes(Below(12));
          break;
        default:
          line += kPieces[static_cast<std::size_t>(Below(static_cast<int>(kPieces.size())))];
      }
    }
    return line + (Below(10) == 0 ? "" : Below(2) == 0 ? "\r\n" : "\n");
  }

  std::string Number() {
    constexpr std::array<const char*, 8> kExtremes = {
        "99999999999999999999", "-99999999999999999999", "2147483647",           "-2147483648",
        "4294967296",           "0x7fffffffffffffff",    "-9223372036854775808", "1000000000"};
    if (Below(3) == 0) return kExtremes[static_cast<std::size_t>(Below(static_cast<int>(kExtremes.size())))];
    return std::to_string(Below(12));
  }

  std::string Bytes(int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
      bytes += static_cast<char>(Below(256));
    return bytes;
  }

 private:
  std::mt19937 random_;
};

class Soak : public StationTest {
 protected:
  void SetUp() override {
    ExpectLog("");  // whatever it says to all this
    StartReadyForCalls();
    Client client = Connect();
    descriptors = settled_descriptors(station, client) - 1;
  }
  void TearDown() override {
    Client client = Connect("127.0.7.99");
    EXPECT_TRUE(client.ask("VER", kVersion));
    client.close();
    EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors; }))
        << descriptors << " at the start, now " << station.open_fds();
    // The mixer may have been told nonsense that somebody asked for.
    sim->forget_records();
    StationTest::TearDown();
  }

  int descriptors = -1;
};

TEST_F(Soak, ClientsThatTalkNonsense) {
  Noise noise(kSeed);
  std::vector<Client> clients(kClients);
  for (int round = 0; round < kRounds; ++round) {
    for (int i = 0; i < kClients; ++i) {
      Client& client = clients[static_cast<std::size_t>(i)];
      // Seven addresses each, so that no host is turned away for long.
      if (!client.connected() || noise.Below(10) == 0) {
        if (noise.Below(2) == 0) client.abort();
        (void)client.connect(station.ctrl_port(), "127.0.7." + std::to_string(i * 8 + noise.Below(7) + 1));
      }
      std::string text;
      for (int lines = noise.Below(6); lines >= 0; --lines)
        text += noise.Line();
      if (noise.Below(8) == 0) text += noise.Bytes(noise.Below(3000));
      (void)client.send_raw(text, 100);
      while (client.connected() && client.has_line())
        (void)client.read_line();
    }
  }
  for (Client& client : clients)
    client.close();
}

TEST_F(Soak, RoutingDaemonThatTalksNonsense) {
  Noise noise(kSeed + 1);
  for (int round = 0; round < 10 * kRounds; ++round) {
    std::string line = noise.Line();
    if (line.find("SUPV") == std::string::npos) (void)sim->send_raw(line);
    if (round % 50 == 0) {
      Client client = Connect("127.0.7." + std::to_string(round / 50 + 1));
      EXPECT_TRUE(client.ask("VER", kVersion)) << round;
    }
  }
  ASSERT_TRUE(sim->send("\r\nSRC 1 PSNM:\"The end\""));
  Client client = Connect("127.0.7.90");
  EXPECT_TRUE(wait_until([&] {
    const Lines lines = answers(client, "SRC 1");
    return !lines.empty() && lines.back().find("The end") != std::string::npos;
  }));
}

}  // namespace
}  // namespace hark::test

// The connection that the station makes to the mixing console which the routing daemon names: dialling,
// backing off, hanging up, and the key module at its far end.
#include <algorithm>
#include <array>
#include <chrono>

#include "system/station_fixture.h"
#include "system/support/fake_console.h"
#include "system/support/sockets.h"

namespace hark::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::StartsWith;

class Consoles : public StationTest {
 protected:
  static std::string Supervisor(const FakeConsole& at) {
    return "SUPV CONSOLE_IP:" + at.address() + ":" + std::to_string(at.port());
  }
  void Connected(const FakeConsole& to, int connections = 1) {
    ASSERT_TRUE(wait_until([&] { return to.connected() && to.connections() == connections; }));
  }
  // Lets the routing daemon name the console.
  void Name() {
    named = steady_clock::now();
    ASSERT_TRUE(sim->send(Supervisor(console)));
  }
  // Time since then.
  [[nodiscard]] steady_clock::duration SinceNamed() const { return steady_clock::now() - named; }
  // Starts the station and lets the routing daemon name the console.
  void StartWithConsole() {
    Start();
    Name();
    Connected(console);
    ASSERT_TRUE(console.wait_line("SUB Intercom"));
  }
  [[nodiscard]] int Dials(const FakeConsole& to) const {
    const std::string text = "harkd reconnect to " + to.address() + ":" + std::to_string(to.port()) + "\n";
    int count = 0;
    const std::string traces = station.stdout_text();
    for (std::size_t at = traces.find(text); at != std::string::npos; at = traces.find(text, at + 1))
      ++count;
    return count;
  }
  [[nodiscard]] bool FileBecomes(const std::string& name, const std::string& text) const {
    return wait_until([&] { return station.root().read(name) == text; });
  }
  [[nodiscard]] std::string Listed(const std::string& keys) const {
    return "HARKUI KEYS:\"" + keys + "\" RADDR:\"" + console.address() + ":" +
           std::to_string(console.port()) + "\"\n";
  }

  FakeConsole console;
  steady_clock::time_point named;
};

TEST_F(Consoles, AreAskedForTheirModuleAsSoonAsTheyAreNamed) {
  StartWithConsole();
  EXPECT_THAT(console.lines(), ElementsAre("GET Intercom type", "SUB Intercom"));
}

TEST(ConsoleAtStart, IsDialledFromTheFirstAnswerOfTheRoutingDaemon) {
  FakeConsole console("127.0.5.6");
  RoutingSim sim({.supv_line = "INDI SUPV CONSOLE_IP:\"127.0.5.6:" + std::to_string(console.port()) + "\""});
  StationOptions options;
  options.routing_port = sim.port();
  Station station(options);
  ASSERT_TRUE(station.start());
  EXPECT_TRUE(console.wait_line("SUB Intercom"));
  EXPECT_TRUE(ended_well(station));
  EXPECT_TRUE(wait_until([&] { return !console.connected(); }));
}

TEST_F(Consoles, ReportsOfTheModuleMakeAndEndItsPanel) {
  StartWithConsole();
  ExpectLog("unsupported Intercom type=9");
  ASSERT_TRUE(console.send_line("INDI Intercom type=1"));
  EXPECT_TRUE(FileBecomes("var/run/harkui", "MODULETYPE=1\nNKEYS=20\nNKEYSPERROW=2\nSHIFT=1\n"));
  EXPECT_TRUE(FileBecomes("var/run/uilist", Listed("1-20")));
  ASSERT_TRUE(console.send_line("EVENT Intercom type=2"));
  EXPECT_TRUE(FileBecomes("var/run/harkui", "MODULETYPE=2\nNKEYS=10\nNKEYSPERROW=1\n"));
  EXPECT_TRUE(FileBecomes("var/run/uilist", Listed("1-10")));
  ASSERT_TRUE(console.send_line("INDI Intercom type=3"));
  EXPECT_TRUE(FileBecomes("var/run/harkui", "MODULETYPE=3\nNKEYS=10\nNKEYSPERROW=1\nFILMCAP=1\n"));
  ASSERT_TRUE(console.send_line("INDI Intercom type=-1"));
  EXPECT_TRUE(FileBecomes("var/run/harkui", ""));
  EXPECT_TRUE(FileBecomes("var/run/uilist", ""));
  ASSERT_TRUE(console.send_line("INDI Intercom type=9"));
  EXPECT_TRUE(FileBecomes("var/run/harkui", "MODULETYPE=9\n"));
  EXPECT_TRUE(Logged("unsupported Intercom type=9"));
  EXPECT_EQ(console.connections(), 1);
}

TEST_F(Consoles, PanelIsToldToSubscribersUnderTheConsolesAddress) {
  StartWithConsole();
  Client client = Connect();
  EXPECT_THAT(answers(client, "SUB HARKUI"), ElementsAre());
  const std::string keys_at =
      " HARKUI#1.FP KEYS:\"1-20\" RADDR:\"127.0.0.1:" + std::to_string(console.port()) + "\"";
  ASSERT_TRUE(console.send_line("INDI Intercom type=1"));
  EXPECT_TRUE(client.expect_line("add" + keys_at));
  console.close_connection();
  EXPECT_TRUE(client.expect_line("remove" + keys_at));
}

TEST_F(Consoles, ThatDieAreDialledAgain) {
  StartWithConsole();
  Client client = Connect();
  const int descriptors = settled_descriptors(station, client);
  ASSERT_TRUE(console.send_line("INDI Intercom type=2"));
  EXPECT_TRUE(FileBecomes("var/run/uilist", Listed("1-10")));
  console.close_connection();
  EXPECT_TRUE(FileBecomes("var/run/uilist", ""));
  Connected(console, 2);
  EXPECT_GE(SinceNamed(), 1s) << "not before a second is over";
  const auto asked = [&] {
    return std::count(console.lines().begin(), console.lines().end(), "GET Intercom type");
  };
  EXPECT_TRUE(wait_until([&] { return asked() == 2; }));
  EXPECT_TRUE(wait_until([&] { return console.lines().back() == "SUB Intercom"; }));
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors; }));
}

TEST_F(Consoles, ThatRefuseAreDialledMoreAndMoreSeldom) {
  console.refuse();
  Start();
  Name();
  ASSERT_TRUE(wait_until([&] { return Dials(console) >= 2; })) << "at once, and after 1 s";
  EXPECT_GE(SinceNamed(), 1s);
  ASSERT_TRUE(wait_until([&] { return Dials(console) >= 3; })) << "2 s to the third";
  EXPECT_GE(SinceNamed(), 3s);
  ASSERT_TRUE(console.accept());
  Connected(console);
  EXPECT_GE(SinceNamed(), 7s) << "4 s to the fourth";
  EXPECT_TRUE(console.wait_line("SUB Intercom"));
}

TEST_F(Consoles, AddressOfZeroGivesUp) {
  LogEverything();
  StartWithConsole();
  const std::string at = "127.0.0.1:" + std::to_string(console.port());
  EXPECT_TRUE(Logged("]: connect to console " + at));
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:0.0.0.0"));
  ASSERT_TRUE(wait_until([&] { return !console.connected(); }));
  EXPECT_TRUE(Logged("]: disconnect from console " + at));
  EXPECT_TRUE(stays([&] { return console.connections() == 1; }, 1200)) << "and it is not dialled again";
}

TEST_F(Consoles, ThatIsRefusingIsGivenUpAsWell) {
  console.refuse();
  Start();
  Name();
  ASSERT_TRUE(wait_until([&] { return Dials(console) > 0; }));
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:0.0.0.0\r\nSRC 1 PSNM:\"Behind\""));
  Client client = Connect();
  ASSERT_TRUE(
      wait_until([&] { return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"Behind\" RTPA:\"\""}; }));
  const int dials = Dials(console);  // one, unless this machine took more than a second for all that
  EXPECT_TRUE(stays([&] { return Dials(console) == dials; }, 1200));
}

TEST_F(Consoles, ANewAddressReplacesTheOldOneAndTheSameChangesNothing) {
  FakeConsole other("127.0.0.1");
  StartWithConsole();
  ASSERT_TRUE(sim->send(Supervisor(console)));
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:nonsense"));
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:1.2.3.256"));
  ASSERT_TRUE(sim->send("event supv CONSOLE_IP:" + other.address() + ":" + std::to_string(other.port())));
  Connected(other);
  EXPECT_TRUE(wait_until([&] { return !console.connected(); }));
  EXPECT_EQ(console.connections(), 1);
  EXPECT_EQ(other.connections(), 1);
}

TEST_F(Consoles, RelayChassisIsAtItsOwnPort) {
  FakeConsole chassis("127.0.0.1", 4020);
  if (!chassis.listening()) GTEST_SKIP() << "port 4020 is taken on this machine";
  Start();
  ASSERT_TRUE(sim->send("SUPV DEVICE_TYPE:relaychassis"));
  Connected(chassis);
  EXPECT_TRUE(chassis.wait_line("SUB Intercom"));
}

TEST_F(Consoles, TakeOneOfTheSixteenPlaces) {
  StartWithConsole();
  ExpectLog("global connection limit (16) reached");
  std::vector<Client> crowd;
  for (int i = 0; i < 15; ++i) {
    crowd.push_back(Connect("127.0.3." + std::to_string(i + 1)));
    EXPECT_TRUE(crowd.back().ask("VER", kVersion));
  }
  Client one_more = Connect("127.0.3.99");
  EXPECT_TRUE(one_more.expect_line(kServerBusy));
}

TEST_F(Consoles, WithoutAPlaceAreNotDialled) {
  Start();
  ExpectLog("harkd_consoleconnect out of resource");
  std::vector<Client> crowd;
  for (int i = 0; i < 16; ++i) {
    crowd.push_back(Connect("127.0.3." + std::to_string(i + 1)));
    EXPECT_TRUE(crowd.back().ask("VER", kVersion));
  }
  ASSERT_TRUE(sim->send(Supervisor(console)));
  EXPECT_TRUE(Logged("]: harkd_consoleconnect out of resource"));
  EXPECT_EQ(Dials(console), 0);
}

TEST_F(Consoles, MayUseTheControlPortsCommands) {
  StartWithConsole();
  ASSERT_TRUE(console.send_line("VER"));
  EXPECT_TRUE(console.wait_line(kVersion));
  ASSERT_TRUE(console.send_line("GPI 1"));
  EXPECT_TRUE(console.wait_line("GPI 1 hhhhh"));
}

// A half line of a console that was given up once stood in front of the next client's first line.
TEST_F(Consoles, WhatAConsoleThatWasGivenUpLeftBehindIsGoneWithIt) {
  Start();
  const UniqueFd listener = bound_socket(SOCK_STREAM, "127.0.0.1", 0);
  ASSERT_EQ(::listen(listener.get(), 1), 0);
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:127.0.0.1:" + std::to_string(port_of(listener.get()))));
  UniqueFd far;
  ASSERT_TRUE(wait_until([&] {
    far.reset(::accept4(listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    return far.is_open();
  }));
  ASSERT_EQ(::send(far.get(), "VER\r\nhalf a line", 16, 0), 16);
  std::string said;
  const auto reads = [&](const char* text) {
    std::array<char, 200> part{};
    const ssize_t got = ::recv(far.get(), part.data(), part.size(), 0);
    if (got > 0) said.append(part.data(), static_cast<std::size_t>(got));
    return text == nullptr ? got == 0 : said.find(text) != std::string::npos;
  };
  ASSERT_TRUE(wait_until([&] { return reads("VER SVER"); }));
  ASSERT_TRUE(sim->send("SUPV CONSOLE_IP:0.0.0.0"));
  ASSERT_TRUE(wait_until([&] { return reads(nullptr); })) << "closed";
  Client client = Connect();  // in the place that the console had
  EXPECT_TRUE(client.ask("VER", kVersion));
}

TEST_F(Consoles, LineThatIsTooLongEndsTheConnection) {
  StartWithConsole();
  ASSERT_TRUE(console.send_line(std::string(1998, 'x')));
  EXPECT_TRUE(console.wait_line(kBadCommand));
  (void)console.send_line(std::string(2000, 'x'));
  Connected(console, 2);
}

}  // namespace
}  // namespace hark::test

// SIGTERM ends the station in order and with status 0, whatever it is doing: reading its files, dialling
// somebody who does not answer, idling, carrying calls, or drowning in input.
#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>

#include "system/deaf_port.h"
#include "system/station_fixture.h"

namespace hark::test {
namespace {

class Sigterm : public StationTest {
 protected:
  // Starts a station that stops where it reads the file `name`, and calls `then` while it does. The file has
  // `text` after that.
  void WhileReading(const std::string& name, const std::string& text, const std::function<void()>& then) {
    const std::string path = station.root().file(name);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    station.launch();
    UniqueFd writer;
    // Opening for writing succeeds once there is a reader.
    ASSERT_TRUE(wait_until([&] {
      writer.reset(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
      return writer.is_open();
    }));
    then();
    // The signal may have ended the reading already.
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)!::write(writer.get(), text.data(), text.size());
  }
};

TEST_F(Sigterm, WhileItReadsTheOptionFile) {
  WhileReading("etc/Orfe/hark/harkd.conf", "# nothing\n", [&] { station.send_signal(SIGTERM); });
  EXPECT_EQ(station.wait_exit(), 0);
}

TEST_F(Sigterm, WhileItReplaysTheSettings) {
  WhileReading("etc/Orfe/hark/harkid", "GPO 1 Lhhhh\n", [&] { station.send_signal(SIGTERM); });
  EXPECT_EQ(station.wait_exit(), 0);
}

TEST_F(Sigterm, AsSoonAsThePortListens) {
  station.launch();
  Client client;
  ASSERT_TRUE(wait_until([&] { return client.connect(station.ctrl_port()); }));
  station.send_signal(SIGTERM);
  EXPECT_EQ(station.wait_exit(), 0);
  EXPECT_TRUE(client.wait_closed());
}

TEST_F(Sigterm, WhileIdle) {
  Start();
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_TRUE(Logged("SIGTERM received"));
  EXPECT_TRUE(wait_until([&] { return !sim->connected(); }));
}

TEST_F(Sigterm, TwiceIsAsGoodAsOnce) {
  Start();
  station.send_signal(SIGTERM);
  station.send_signal(SIGTERM);
  EXPECT_EQ(station.wait_exit(), 0);
}

TEST_F(Sigterm, WithCallsAndPanels) {
  StartReadyForCalls();
  Client client = Connect();
  EXPECT_THAT(answers(client, "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1 TALK:1"), testing::ElementsAre());
  EXPECT_THAT(replies(client, "ATTACH HARKUI#p KEYS:\"1-20\""), testing::ElementsAre());
  EXPECT_THAT(replies(client, "GPO 1 LLLLL DURATION:60000"), testing::ElementsAre());
  ASSERT_TRUE(sim.wait_received("set hark#1.sub#1.in#1 src_id=\"239.192.0.10\", gain=0"));
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_TRUE(client.wait_closed());
  EXPECT_EQ(station.root().read("var/run/uilist"), "") << "nobody is attached to a station that is gone";
}

TEST_F(Sigterm, WithADropThatIsStillToCome) {
  StartReadyForCalls();
  Client client = Connect();
  EXPECT_THAT(answers(client, "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1"), testing::ElementsAre());
  ASSERT_TRUE(client.send_line("CALL URL:\"quillnet:239.192.0.10\" LISTEN:0"));
  EXPECT_EQ(station.terminate(), 0);
}

TEST_F(Sigterm, InAFloodFromClientsAndRoutingDaemon) {
  StartReadyForCalls();
  std::string flood;
  while (flood.size() < 500'000)
    flood += "GPI 1 Lxxxx\r\nGPI 1 Hxxxx\r\nwhatever this is\r\n";
  Client reader = Connect();
  ASSERT_TRUE(reader.send_line("SUB GPI"));
  Client client = Connect("127.0.0.2");
  ASSERT_TRUE(sim->send_raw(flood));
  (void)client.send_raw(flood, 50);
  EXPECT_EQ(station.terminate(), 0);
}

// Nobody answers the station's SYN: it waits in connect for longer than any test.
class SigtermWhileDialling : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(nobody.is_deaf()); }
  DeafPort nobody;
};

TEST_F(SigtermWhileDialling, TheRoutingDaemonAtStart) {
  StationOptions options;
  options.routing_port = nobody.port();
  Station station(options);
  station.launch();
  // The control port listens before the routing daemon is dialled.
  Client client;
  ASSERT_TRUE(wait_until([&] { return client.connect(station.ctrl_port()); }));
  station.send_signal(SIGTERM);
  EXPECT_EQ(station.wait_exit(), 0);
  EXPECT_TRUE(ended_well(station));
}

TEST_F(SigtermWhileDialling, AConsole) {
  RoutingSim sim({.supv_line = "SUPV CONSOLE_IP:127.0.0.1:" + std::to_string(nobody.port())});
  StationOptions options;
  options.routing_port = sim.port();
  Station station(options);
  ASSERT_TRUE(station.start());
  ASSERT_TRUE(wait_until([&] {
    return station.stdout_text().find("harkd reconnect to 127.0.0.1:" + std::to_string(nobody.port())) !=
           std::string::npos;
  }));
  station.send_signal(SIGTERM);
  EXPECT_EQ(station.wait_exit(), 0);
  EXPECT_TRUE(ended_well(station));
}

TEST(SigtermInTheBackground, EndsTheDaemonAndRemovesItsPidFile) {
  RoutingSim sim;
  StationOptions options;
  options.debug = false;
  options.routing_port = sim.port();
  Station station(options);
  station.write_settings(kIdentity);
  ASSERT_TRUE(station.start());
  Client client(station.ctrl_port());
  EXPECT_THAT(answers(client, "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1"), testing::ElementsAre());
  EXPECT_EQ(station.terminate(), 0);
  EXPECT_FALSE(station.root().exists("var/run/harkd.pid"));
  EXPECT_TRUE(ended_well(station));
}

}  // namespace
}  // namespace hark::test

// The simulated routing daemon as a server, in this process, with a socket that plays the station.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/support/client.h"
#include "system/support/pump.h"
#include "system/support/routing_sim.h"
#include "tools/quillsim/sim.h"

namespace quillsim {
namespace {

using hark::test::Client;
using hark::test::RoutingSim;
using hark::test::wait_until;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kCreate[] = "create vmix2 app_id=\"orfe:app:hark#1@00A0B1C2D3EF\"";
constexpr char kErrorLine[] = "ERROR 1000 bad command";

class SimTest : public testing::Test {
 protected:
  void Connect() {
    ASSERT_TRUE(station_.connect(sim_.port()));
    ASSERT_TRUE(wait_until([this] { return sim_->connected(); }));
  }
  // The station sends the line, and the simulator has read it.
  void Say(const std::string& line) {
    const std::size_t before = sim_->received().size();
    ASSERT_TRUE(station_.send_line(line));
    ASSERT_TRUE(wait_until([&] { return sim_->received().size() > before; })) << line;
  }

  RoutingSim sim_;
  Client station_;
};

TEST_F(SimTest, AnswersTheSupervisorQuestion) {
  Connect();
  EXPECT_TRUE(station_.ask("get supv state", "SUPV CONSOLE_IP:0.0.0.0"));
  EXPECT_THAT(sim_->refused(), IsEmpty());
}

TEST_F(SimTest, KeepsWhatTheStationSets) {
  Connect();
  Say(kCreate);
  Say("set hark#1.sub#2.sub_out src_id=\"239.192.1.7:5004\"");
  Say("set hark#1.sub#2.sub_out src_name=\"Desk\"");
  Say("set hark#1.sub#1.sub_out src_id=\"\"");
  Say("set hark#1.sub#1.in#1 src_id=\"239.192.4.210\", gain=0");
  Say("set hark#1.sub#1.in#1 gain=-240");
  Say("set hark#1.sub#1 gain=OFF");
  EXPECT_TRUE(sim_.refused_nothing());

  const Mixer& mixer = sim_->mixer();
  EXPECT_EQ(mixer.app_id(), "orfe:app:hark#1@00A0B1C2D3EF");
  EXPECT_EQ(mixer.sub(2).src_id, "239.192.1.7:5004");
  EXPECT_EQ(mixer.sub(2).src_name, "Desk");
  EXPECT_EQ(mixer.sub(1).gain, std::nullopt);
  ASSERT_NE(mixer.input(1), nullptr);
  EXPECT_EQ(mixer.input(1)->src_id, "239.192.4.210");
  EXPECT_EQ(mixer.input(1)->gain, -240);
  EXPECT_THAT(sim_->changes(), SizeIs(6)) << "the empty source of sub#1 was no change";
  EXPECT_THAT(sim_->received(), SizeIs(7));
}

TEST_F(SimTest, MistakesAreAnsweredAndKept) {
  Connect();
  EXPECT_TRUE(station_.ask("set hark#1.sub#1 gain=-10", kErrorLine)) << "not created yet";
  Say(kCreate);
  EXPECT_TRUE(station_.ask(kCreate, kErrorLine)) << "created already";
  EXPECT_TRUE(station_.ask("nonsense", kErrorLine));
  ASSERT_THAT(sim_->refused(), SizeIs(3));
  EXPECT_EQ(sim_->refused()[0].reason, "hark#1 is not created yet");
  EXPECT_EQ(sim_->refused()[1].reason, "hark#1 is created already");
  EXPECT_EQ(sim_->refused()[2].line, "nonsense\r\n");
  EXPECT_FALSE(sim_.refused_nothing());

  sim_->forget_records();
  EXPECT_THAT(sim_->refused(), IsEmpty());
  EXPECT_TRUE(sim_->ever_refused());
}

TEST_F(SimTest, LinesMayComeInPieces) {
  Connect();
  for (const char c : std::string("get supv state\r\n"))
    ASSERT_TRUE(station_.send_raw({&c, 1}));
  EXPECT_TRUE(station_.expect_line("SUPV CONSOLE_IP:0.0.0.0"));
  ASSERT_TRUE(station_.send_raw("get supv state\r\nget supv state\r\nSHUT\n"));
  EXPECT_TRUE(station_.expect_line("SUPV CONSOLE_IP:0.0.0.0"));
  EXPECT_TRUE(station_.expect_line("SUPV CONSOLE_IP:0.0.0.0"));
  EXPECT_TRUE(wait_until([this] { return sim_.has_received("SHUT"); }));
  EXPECT_TRUE(sim_.refused_nothing());
}

TEST_F(SimTest, OverlongAndBinaryLinesAreRefusedAndTheNextOneIsTaken) {
  Connect();
  ASSERT_TRUE(station_.send_raw(std::string(100'000, 'x')));
  ASSERT_TRUE(station_.send_raw("\r\n"));
  EXPECT_TRUE(station_.expect_line(kErrorLine));
  ASSERT_TRUE(station_.send_raw(std::string(2001, '\0') + "\n" + std::string("\0\xff\n", 3)));
  EXPECT_TRUE(station_.expect_line(kErrorLine));
  EXPECT_TRUE(station_.expect_line(kErrorLine));
  EXPECT_THAT(sim_->refused(), SizeIs(3));
  EXPECT_TRUE(station_.ask("get supv state", "SUPV CONSOLE_IP:0.0.0.0"));
}

TEST_F(SimTest, MixerGoesWithItsConnection) {
  Connect();
  Say(kCreate);
  station_.close();
  ASSERT_TRUE(wait_until([this] { return !sim_->connected(); }));
  EXPECT_FALSE(sim_->mixer().created());
  EXPECT_EQ(sim_->changes().back(), "hark#1 removed with its connection");
  Connect();
  Say(kCreate);
  EXPECT_TRUE(sim_.refused_nothing());
  EXPECT_EQ(sim_->connections(), 2);
}

TEST_F(SimTest, ALineCutByTheEndIsAMistake) {
  Connect();
  ASSERT_TRUE(station_.send_raw("get supv"));
  station_.finish_sending();
  EXPECT_TRUE(station_.wait_closed());
  ASSERT_THAT(sim_->refused(), SizeIs(1));
  EXPECT_THAT(sim_->refused()[0].reason, HasSubstr("inside a line"));
}

TEST_F(SimTest, ASecondStationIsTurnedAway) {
  Connect();
  Client second(sim_.port());
  EXPECT_TRUE(second.wait_closed());
  EXPECT_TRUE(station_.ask("get supv state", "SUPV CONSOLE_IP:0.0.0.0"));
}

TEST_F(SimTest, ClosesDiesAndComesBack) {
  Connect();
  sim_->close_station();
  EXPECT_TRUE(station_.wait_closed());
  EXPECT_FALSE(sim_->send("VER NGPI:8"));
  sim_.die();
  EXPECT_FALSE(station_.connect(sim_.port()));
  ASSERT_TRUE(sim_.come_back());
  Connect();
}

TEST_F(SimTest, FloodWaitsForASlowStationAndArrivesWhole) {
  station_.set_receive_buffer(4096);
  Connect();
  const auto line = [](int i) { return "DST " + std::to_string(i) + " " + std::string(1000, 'x'); };
  int sent = 0;
  while (sim_->unsent() < 100'000)
    ASSERT_TRUE(sim_->send(line(sent++)));
  for (int i = 0; i < sent; ++i)
    ASSERT_TRUE(station_.expect_line(line(i)));
  EXPECT_EQ(sim_->unsent(), 0U);
}

TEST_F(SimTest, AHungDaemonReadsNothingUntilItIsBack) {
  Connect();
  sim_->set_reading(false);
  ASSERT_TRUE(station_.send_line("get supv state"));
  EXPECT_TRUE(station_.expect_silence(50));
  sim_->set_reading(true);
  EXPECT_TRUE(station_.expect_line("SUPV CONSOLE_IP:0.0.0.0"));
}

TEST(Sim, TellsItsPrinterAndGreets) {
  SimOptions options;
  options.supv_line = "INDI SUPV DEVICE_TYPE:\"RELAYCHASSIS\"";
  options.greeting = {"VER NGPI:24", "SRC 1 PSNM:\"A\""};
  std::vector<std::string> printed;
  Sim sim(options, [&](const std::string& line) { printed.push_back(line); });
  const int port = sim.listen("127.0.0.1", 0);
  ASSERT_GT(port, 0);

  Client station(port);
  ASSERT_TRUE(station.send_line("get supv state"));
  ASSERT_TRUE(station.send_line("SRC 2 RTPA:\"239.192.0.2\" RTPT:\"x\""));
  ASSERT_TRUE(station.send_line("create vmix2 app_id=\"oops\""));
  ASSERT_TRUE(wait_until([&] {
    sim.pump(1);
    return sim.received().size() == 3;
  }));
  EXPECT_TRUE(station.expect_line("VER NGPI:24"));
  EXPECT_TRUE(station.expect_line("SRC 1 PSNM:\"A\""));
  EXPECT_TRUE(station.expect_line("INDI SUPV DEVICE_TYPE:\"RELAYCHASSIS\""));
  EXPECT_THAT(
      printed,
      ElementsAre(HasSubstr("station connected from 127.0.0.1:"), "source 2 RTPA:\"239.192.0.2\" RTPT:\"x\"",
                  HasSubstr("REFUSED: app_id is not orfe:app:hark#1@ and a hardware address: "
                            "create vmix2 app_id=\"oops\"\\x0D\\x0A")));
}

TEST(Sim, AddressesThatCannotBeHadAreRefused) {
  Sim sim;
  EXPECT_EQ(sim.listen("localhost", 0), -1);
  EXPECT_EQ(sim.listen("127.0.0.1", 65536), -1);
  EXPECT_EQ(sim.listen("192.0.2.1", 0), -1) << "no address of this host";
  Sim other;
  const int port = other.listen("127.0.0.1", 0);
  ASSERT_GT(port, 0);
  EXPECT_EQ(sim.listen("127.0.0.1", port), -1);
  EXPECT_FALSE(sim.listening());
  EXPECT_FALSE(sim.pump(0));
}

}  // namespace
}  // namespace quillsim

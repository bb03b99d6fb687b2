// A routing daemon that is not what one hopes for: absent, dying, coming back, talking too much, in pieces or
// nonsense, or hanging without reading a word. The station goes on serving its clients and finds back to it.
#include <chrono>
#include <csignal>

#include "system/station_fixture.h"

namespace hark::test {
namespace {

using std::chrono::steady_clock;
using testing::ElementsAre;

class Routing : public StationTest {
 protected:
  void AnswersClients(const char* when) {
    Client client = Connect();
    EXPECT_TRUE(client.ask("VER", kVersion)) << when;
  }
  // Connected for the given time, with a mixer made.
  void ConnectedAgain(int connections) {
    ASSERT_TRUE(wait_until([&] { return sim->connections() == connections && sim->mixer().created(); }));
  }
};

TEST_F(Routing, AbsentAtStartIsTriedAgainWithoutAWord) {
  station.write_settings(kIdentity);
  sim.die();
  ASSERT_TRUE(station.start());
  AnswersClients("without a routing daemon");
  ASSERT_TRUE(sim.come_back());
  ASSERT_TRUE(sim.wait_mixer());
  EXPECT_TRUE(wait_until([&] { return sim->received().size() == 5; }));
  EXPECT_EQ(sim->mixer().sub(2).src_id, "239.192.0.1:5004");
}

TEST_F(Routing, CallsWorkWithoutOneAndTheirInputsAreNotRestored) {
  station.write_settings(kIdentity);
  sim.die();
  ASSERT_TRUE(station.start());
  Client client = Connect();
  let_it_settle(client);
  EXPECT_THAT(answers(client, "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1"), ElementsAre());
  EXPECT_THAT(answers(client, "CALL"),
              ElementsAre("BEGIN", "CALL URL:\"quillnet:239.192.0.10\" LISTEN:1 VOLUME:0", "END"));
  ASSERT_TRUE(sim.come_back());
  ASSERT_TRUE(sim.wait_mixer());
  EXPECT_THAT(answers(client, "CALL URL:\"quillnet:239.192.0.10\" VOLUME:-10"), ElementsAre());
  EXPECT_TRUE(sim.wait_received("set hark#1.sub#1.in#1 gain=-10"));
  EXPECT_FALSE(sim.has_received("set hark#1.sub#1.in#1 src_id=\"239.192.0.10\", gain=0"));
}

TEST_F(Routing, ThatDiesAndComesBackIsToldEverythingAgain) {
  StartReadyForCalls();
  Client visitor = Connect();
  const int descriptors = settled_descriptors(station, visitor) - 1;
  visitor.close();
  const Lines first = sim->received();
  sim.die();
  sim->forget_records();
  AnswersClients("while it is gone");
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors - 1; }));
  ASSERT_TRUE(sim.come_back());
  ConnectedAgain(2);
  EXPECT_TRUE(wait_until([&] { return sim->received().size() == first.size(); }));
  EXPECT_EQ(sim->received(), first);
  EXPECT_TRUE(wait_until([&] { return station.open_fds() == descriptors; }));
}

TEST_F(Routing, LineOf1999BytesIsFineAndOneOf2000EndsTheConnection) {
  Start();
  ASSERT_TRUE(sim->send_raw("HARK LABL:\"LONG\"" + std::string(1983, ' ') + "\n"));
  Client client = Connect();
  ASSERT_TRUE(wait_until([&] { return answers(client, "HARK").front().starts_with("HARK LABL:\"LONG\" "); }));
  EXPECT_EQ(sim->connections(), 1);
  (void)sim->send_raw("HARK LABL:\"TOO LONG\"" + std::string(1980, ' ') + "\n");
  ASSERT_TRUE(wait_until([&] { return !sim->connected(); }));
  ConnectedAgain(2);
  EXPECT_TRUE(answers(client, "HARK").front().starts_with("HARK LABL:\"LONG\" "));
}

TEST_F(Routing, LinesInPiecesAndRunsOfEndsAreRead) {
  Start();
  Client client = Connect();
  for (const char* piece : {"\r\n\n\rSRC 1 PS", "NM:\"Pie", "ces\"", "\r", "\n\n"}) {
    ASSERT_TRUE(sim->send_raw(piece));
    EXPECT_TRUE(client.ask("VER", kVersion));
  }
  EXPECT_TRUE(
      wait_until([&] { return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"Pieces\" RTPA:\"\""}; }));
}

TEST_F(Routing, HalfALineOfAFormerConnectionIsForgotten) {
  Start();
  Client client = Connect();
  ASSERT_TRUE(sim->send_raw("SRC 1 PSNM:\"Done\"\r\nSRC 1 PSNM:\"Half"));
  ASSERT_TRUE(wait_until([&] { return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"Done\" RTPA:\"\""}; }));
  sim->close_station();
  ConnectedAgain(2);
  ASSERT_TRUE(sim->send("\"\r\nSRC 1 RTPA:\"1\""));
  EXPECT_TRUE(wait_until(
      [&] { return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"Done\" RTPA:\"239.192.0.1:5004\""}; }));
}

TEST_F(Routing, AMegabyteOfLinesIsWorkedOffWhileClientsAreServed) {
  Start();
  std::string flood;
  while (flood.size() < 1'000'000)
    flood += "DST 3 AVOL:-12\r\nVER NGPI:8\r\nGPO 1 hhhhh\r\nno word of it\r\n\r\nSRC 7 RTPA:\"1\"\n";
  Client client = Connect();
  EXPECT_TRUE(client.ask("VER", kVersion));
  // The station finds the flood and the question at the same time.
  station.send_signal(SIGSTOP);
  ASSERT_TRUE(sim->send_raw(flood + "SRC 1 PSNM:\"The end\"\r\n"));
  ASSERT_TRUE(client.send_line("SRC 1"));
  station.send_signal(SIGCONT);
  EXPECT_TRUE(client.expect_line("SRC 1 PSNM:\"\" RTPA:\"\"", 3 * kWaitMs))
      << "clients have their turn in between";
  ASSERT_TRUE(wait_until(
      [&] { return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"The end\" RTPA:\"\""}; }, 3 * kWaitMs));
  EXPECT_EQ(sim->connections(), 1);
}

TEST_F(Routing, NonsenseIsIgnored) {
  Start();
  Client client = Connect();
  for (const std::string line : {"SRC",
                                 "SRC ",
                                 "SRC x",
                                 "SRC 1",
                                 "SRC 1 RTPA",
                                 "DST",
                                 "DST 0 AVOL:1",
                                 "DST 999999999999 AVOL:1",
                                 "DST 1 AVOL:99999999999999999999",
                                 "GPO",
                                 "GPO 1",
                                 "GPO 999999999 LLLLL",
                                 "GPO 5 LLLLLLLLLLLLLLLLLLLLLLLL",
                                 "HARK",
                                 "HARKX",
                                 "VER",
                                 "VER ",
                                 "VER NGPI:",
                                 "SUPV",
                                 "SUPV x",
                                 "INDI ",
                                 "EVENT ",
                                 "INDI EVENT SUPV x",
                                 "\x80\xff",
                                 "\"",
                                 "\\",
                                 "ERROR 1000 bad command"}) {
    ASSERT_TRUE(sim->send(line));
  }
  ASSERT_TRUE(sim->send_raw(std::string("nul\0in it\r\n", 11)));
  ASSERT_TRUE(sim->send("SRC 1 PSNM:\"Behind\""));
  EXPECT_TRUE(
      wait_until([&] { return answers(client, "SRC 1") == Lines{"SRC 1 PSNM:\"Behind\" RTPA:\"\""}; }));
  EXPECT_EQ(sim->connections(), 1);
}

TEST_F(Routing, ThatHangsWithoutReadingDoesNotHoldTheClientsUp) {
  Start();
  sim->set_reading(false);
  std::string commands;
  for (int i = 0; i < 2000; ++i)
    commands += "IO MICV:-" + std::to_string(i % 700) + " SPKV:-" + std::to_string(i % 600) + "\r\n";
  Client client = Connect();
  // Far more than the buffers between the two can take.
  for (int round = 0; round < 60; ++round)
    ASSERT_THAT(answers(client, commands), ElementsAre()) << round;
  AnswersClients("while the routing daemon hangs");
  sim->set_reading(true);
  // What could not be sent is lost; a new connection, if one is made, is told the present state.
  ASSERT_TRUE(wait_until([&] {
    (void)answers(client, "IO MICV:-777");
    return sim->mixer().created() && sim.has_received("set hark#1.sub#2 gain=-777");
  }));
  // The connection was given up in the middle of a command.
  for (const quillsim::Refusal& refusal : sim->refused())
    EXPECT_EQ(refusal.reason, "connection closed inside a line");
  sim->forget_records();
}

TEST_F(Routing, ThatClosesAtOnceIsNotDialledWithoutAPause) {
  Start();
  const auto closed = steady_clock::now();
  sim->close_station();
  ConnectedAgain(2);
  EXPECT_GE(steady_clock::now() - closed, std::chrono::milliseconds(300));
  AnswersClients("after all that");
}

}  // namespace
}  // namespace hark::test

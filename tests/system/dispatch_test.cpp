// Every row of the control port's table of commands: which lines each takes, in which order they are tried,
// and what is said to a line that nobody takes.
#include <unistd.h>

#include <array>

#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::ElementsAre;

struct Row {
  const char* line;
  Lines answer;
};

class Dispatch : public StationTest {
 protected:
  void Walk(const std::vector<Row>& rows) {
    Client client = Connect();
    for (const Row& row : rows) {
      SCOPED_TRACE(row.line);
      EXPECT_EQ(answers(client, row.line), row.answer);
    }
  }
};

TEST_F(Dispatch, VersionIsAWholeLineInAnyCase) {
  Start();
  Client client = Connect();
  for (const char* line : {"VER", "ver", "Ver"}) {
    EXPECT_TRUE(client.ask(line, kVersion)) << line;
  }
  for (const char* line : {"VER ", "VER 1", "VERS", "VE", "\"VER\""}) {
    EXPECT_TRUE(client.ask(line, kBadCommand)) << line;
  }
}

TEST_F(Dispatch, QuitEndsTheConnection) {
  Start();
  for (const char* line : {"QUIT", "quit"}) {
    Client client = Connect();
    ASSERT_TRUE(client.send_line(line));
    EXPECT_TRUE(client.wait_closed()) << line;
  }
  Walk({{"QUIT now", {kBadCommand}}, {"QUITS", {kBadCommand}}});
}

TEST_F(Dispatch, QuitLetsAnswersBeforeItOut) {
  Start();
  Client client = Connect();
  ASSERT_TRUE(client.send_raw("VER\r\nQUIT\r\n"));
  EXPECT_TRUE(client.expect_line(kVersion));
  EXPECT_TRUE(client.wait_closed());
}

TEST_F(Dispatch, CallAloneGivesTheListAndSoDoesALineThatBeginsSo) {
  Start();
  Walk({{"CALL", {"BEGIN", "END"}},
        {"CALL", {"BEGIN", "END"}},
        {"call", {"BEGIN", "END"}},
        {"CALLS", {"BEGIN", "END"}}});
}

TEST_F(Dispatch, CallWantsAUrlAndAWish) {
  Start();
  Walk({{"CALL LISTEN:1", {kBadCommand}},
        {"CALL X:URL:1", {kBadCommand}},
        {"CALL URL:x", {}},
        {"CALL URL:\"quillnet:239.192.0.10\"", {}},
        {"CALL URL:\"quillnet:239.192.0.10\" LISTEN:0 TALK:0", {}},
        {"CALL URL:\"quillnet:239.192.0.10\" VOLUME:-10", {}}});
}

TEST_F(Dispatch, PanelLinesWantAPanel) {
  Start();
  for (const std::string line :
       {"HARKUI#p.BUT#KL01 KEY=DOWN", "SET HARKUI#p.BUT#KL01 KEY=DOWN", "EVENT HARKUI#p.BUT#KL01 KEY=DOWN",
        "harkui#p x", "set harkui#p x", "event harkui#p x"}) {
    SCOPED_TRACE(line);
    Client client = Connect();
    EXPECT_THAT(answers(client, line), ElementsAre(kBadCommand));
    EXPECT_THAT(replies(client, "ATTACH HARKUI#p KEYS:\"1-4\""), ElementsAre());
    EXPECT_THAT(replies(client, line), ElementsAre());
    let_it_settle(client);  // it does not send to who is gone
    client.close();
    ASSERT_TRUE(wait_until([&] { return station.root().read("var/run/uilist").empty(); }));
  }
}

TEST_F(Dispatch, PanelLinesWantAnIdThatEnds) {
  Start();
  Walk({{"HARKUI#", {kBadCommand}},
        {"ATTACH HARKUI#", {kBadCommand}},
        {"HARKUI#p", {kBadCommand}},
        {"ATTACH HARKUI#p", {kBadCommand}},
        {"SET HARKUI#p", {kBadCommand}},
        {"EVENT HARKUI#p", {kBadCommand}}});
}

TEST_F(Dispatch, ConsoleLinesSayNothingBack) {
  Start();
  Walk({{"EVENT Intercom", {}},
        {"EVENT Intercom talk=ON", {}},
        {"event intercom type=-1", {}},
        {"INDI Intercom", {}},
        {"indi intercom talk=ON", {}},
        {"INDI Intercom type=-1", {}},
        {"EVENT FaCH#1 ON", {}},
        {"event fach", {}}});
  EXPECT_FALSE(station.root().exists("var/run/harkui"));
}

TEST_F(Dispatch, AcknowledgementsBatchMarksAndCommentsAreIgnored) {
  Start();
  Walk({{"ACK ", {}},
        {"ack 12", {}},
        {"$begin", {}},
        {"%begin", {}},
        {"begin", {}},
        {"$end", {}},
        {"%end", {}},
        {"end", {}},
        {"BEGIN", {}},
        {"End of it", {}},
        {"EVENT", {}},
        {"EVENT Monitor x", {}},
        {"events", {}},
        {"#", {}},
        {"# VER", {}},
        {"#QUIT", {}}});
}

TEST_F(Dispatch, NearMissesAreBadCommands) {
  Start();
  Walk({{"ACK", {kBadCommand}},
        {"INDI", {kBadCommand}},
        {"INDI Monitor x", {kBadCommand}},
        {"SET", {"SET  "}},
        {"SETHARKUI#p x", {kBadCommand}},
        {"ATTACH", {kBadCommand}},
        {"ATTACH Monitor#p KEYS:1", {kBadCommand}},
        {"$", {kBadCommand}},
        {"beg", {kBadCommand}},
        {"EXE", {kBadCommand}},
        {"no such thing", {kBadCommand}},
        {" VER", {kBadCommand}},
        {"src", {kBadCommand}},
        {"hark", {kBadCommand}},
        {"GPI 0", {kBadCommand}},
        {"GPI x", {kBadCommand}},
        {"SRC 3", {kBadCommand}}});
}

TEST_F(Dispatch, LevelsOfSpeakerAndMicrophoneGoToTheMixer) {
  Start();
  sim->forget_records();
  Walk({{"IO", {}},
        {"IOWA", {}},
        {"IO LEVEL:3", {}},
        {"IO MICV:-100", {}},
        {"io micv:0", {}},
        {"IO MICV:-799", {}},
        {"IO MICV:-800", {}},
        {"IO SPKV=-50", {}},
        {"IO SPKV:-799", {}},
        {"IO SPKV:-800", {}},
        {"IO SPKV:-1 MICV:-2", {}}});
  ASSERT_TRUE(sim.wait_received("set hark#1.sub#1 gain=-1"));
  EXPECT_THAT(
      sim->received(),
      ElementsAre("set hark#1.sub#2 gain=-100", "set hark#1.sub#2 gain=0", "set hark#1.sub#2 gain=-799",
                  "set hark#1.sub#2 gain=OFF", "set hark#1.sub#1 gain=-50", "set hark#1.sub#1 gain=-799",
                  "set hark#1.sub#1 gain=OFF", "set hark#1.sub#2 gain=-2", "set hark#1.sub#1 gain=-1"));
}

TEST_F(Dispatch, ObjectsAnswerForThemselves) {
  Start();
  std::array<char, 256> host{};
  ASSERT_EQ(::gethostname(host.data(), host.size() - 1), 0);
  Walk({{"SET", {"SET  "}},
        {"IP", {"IP hostname " + std::string(host.data())}},
        {"SRC", {"BEGIN", "SRC 1 PSNM:\"\" RTPA:\"\"", "SRC 2 RTPA:\"\"", "END"}},
        {"SRC 1", {"SRC 1 PSNM:\"\" RTPA:\"\""}},
        {"SRC 2", {"SRC 2 RTPA:\"\""}},
        {"HARK", {"HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0"}},
        {"HARKUI", {}},
        {"GPI 9", {"GPI 9 hhhhh"}},
        {"GPO 1", {"GPO 1 hhhhh"}},
        {"CFG GPO 1", {"CFG GPO 1 NAME:\"Main\" CMAP:0800000000"}},
        {"CFG GPO 9", {"CFG GPO 9 NAME:\"Aux 8\""}}});
}

TEST_F(Dispatch, LinesAreTracedInTheForeground) {
  Start();
  Walk({{"one line", {kBadCommand}}});
  EXPECT_TRUE(Traced("harkd < one line\n"));
}

}  // namespace
}  // namespace hark::test

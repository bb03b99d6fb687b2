// The settings file: replayed at start, rewritten after a change and only then, missing, broken, lost while
// the station runs, and not to be written at all.
#include <filesystem>

#include "system/station_fixture.h"

namespace hark::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kFile[] = "etc/Orfe/hark/harkid";

// What a station with these first three lines writes.
std::string file(const std::string& hark, const std::string& src1, const std::string& src2,
                 const std::string& port2 = "NAME:\"Aux 1\"") {
  std::string text = hark + "\n" + src1 + "\n" + src2 +
                     "\nCFG GPO 1 NAME:\"Main\" CMAP:0800000000\nCFG GPO 2 " + port2 + "\n";
  for (int i = 3; i <= 9; ++i)
    text += "CFG GPO " + std::to_string(i) + " NAME:\"Aux " + std::to_string(i - 1) + "\"\n";
  return text;
}

constexpr char kHark[] = "HARK LABL:\"STUDIO A\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0";
constexpr char kSrc1[] = "SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\"";

class Settings : public StationTest {
 protected:
  void StartWith(const std::string& settings) {
    station.write_settings(settings);
    Start();
    client = Connect();
  }
  Lines Answers(const std::string& line) { return answers(client, line); }
  // After the command, and the passes that it takes to be saved.
  std::string FileAfter(const std::string& line) {
    (void)Answers(line);
    let_it_settle(client);
    return station.settings();
  }

  Client client;
};

TEST_F(Settings, AreReplayedAtStart) {
  StartWith(
      "HARK LABL:\"TX \\\"1\\\"\" TRGL:2 TRGLA:6 DROPFLASH:1500 DIML:300 LATCH:250 AANS:1 EXTC:3\n"
      "SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\"\r\n"
      "\n"
      "SRC 2 RTPA:\"7\"\n"
      "CFG GPO 2 NAME:\"Lamp\" FUNC:4\n"
      "GPO 5 Lxxxx\n");
  EXPECT_THAT(Answers("HARK"),
              ElementsAre("HARK LABL:\"TX \\\"1\\\"\" TRGL:2 TRGLA:6 DROPFLASH:1500 DIML:-300 "
                          "LATCH:250 EXTC:3 AANS:1"));
  EXPECT_THAT(Answers("SRC"), ElementsAre("BEGIN", kSrc1, "SRC 2 RTPA:\"239.192.0.7:5004\"", "END"));
  EXPECT_THAT(Answers("CFG GPO 2"), ElementsAre("CFG GPO 2 NAME:\"Lamp\" FUNC:4"));
  EXPECT_THAT(Answers("GPO 5"), ElementsAre("GPO 5 lhhhh"));
  // The mixer was told of both sources when the connection was made.
  EXPECT_EQ(sim->mixer().sub(2).src_id, "239.192.0.1:5004");
  EXPECT_EQ(sim->mixer().sub(2).src_name, "Main");
  EXPECT_EQ(sim->mixer().sub(1).src_id, "239.192.0.7:5004");
  EXPECT_TRUE(sim.has_received("set hark#1.sub#2.sub_out src_id=\"239.192.0.1:5004\""));
}

TEST_F(Settings, ReplayDoesNotRewriteTheFile) {
  const std::string text = "HARK LABL:\"A\"   LATCH:300\n\n# my own words\n";
  StartWith(text);
  let_it_settle(client);
  EXPECT_EQ(station.settings(), text);
}

TEST_F(Settings, AreRewrittenAfterEachKindOfChange) {
  StartWith(std::string(kHark) + "\n");
  EXPECT_EQ(FileAfter("HARK EXTC:0"), file(kHark, "SRC 1 PSNM:\"\" RTPA:\"\"", "SRC 2 RTPA:\"\""));
  EXPECT_EQ(FileAfter("SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1\""), file(kHark, kSrc1, "SRC 2 RTPA:\"\""));
  EXPECT_EQ(FileAfter("SRC 2 RTPA:\"qns://1234\""), file(kHark, kSrc1, "SRC 2 RTPA:\"239.192.4.210:5004\""));
  EXPECT_EQ(FileAfter("CFG GPO 2 NAME:\"Lamp\" FUNC:4 FOO:1"),
            file(kHark, kSrc1, "SRC 2 RTPA:\"239.192.4.210:5004\"", "NAME:\"Lamp\" FUNC:4"));
  EXPECT_EQ(FileAfter("SRC 1 RTPA:\"\" PSNM:\"a\\\\b\""),
            file(kHark, "SRC 1 PSNM:\"a\\\\b\" RTPA:\"\"", "SRC 2 RTPA:\"239.192.4.210:5004\"",
                 "NAME:\"Lamp\" FUNC:4"));
}

TEST_F(Settings, WhatChangesNothingIsNotSaved) {
  StartWith(kIdentity);
  for (const char* line : {"SRC 1 RTPA:\"239.192.0.1:5004\"", "SRC 1 PSNM:\"Main\"",
                           "SRC 1 RTPA:\"239.192.0.1\"", "SRC 2 X:1", "SRC 1", "HARK", "CFG GPO 2",
                           "CFG GPO 10 NAME:\"x\"", "GPO 1 Lxxxx", "GPI 1 Lxxxx", "HARKUI", "CALL"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(FileAfter(line), kIdentity);
  }
}

TEST_F(Settings, EmptyPreviewSourceClearsTheOutput) {
  StartWith("SRC 2 RTPA:\"239.192.0.7:5004\"\n");
  ASSERT_EQ(sim->mixer().sub(1).src_id, "239.192.0.7:5004");
  sim->forget_records();
  EXPECT_THAT(Answers("SRC 2 RTPA:\"\""), ElementsAre());
  EXPECT_TRUE(sim.wait_received("set hark#1.sub#1.sub_out src_id=\"\""));
}

TEST_F(Settings, AStationFindsWhatItsPredecessorSaved) {
  StartWith("");
  const std::string first =
      FileAfter("HARK LABL:\"STUDIO B\" TRGL:1 TRGLA:8 DROPFLASH:0 DIML:\"*\" LATCH:0 EXTC:1 AANS:0");
  EXPECT_THAT(first, StartsWith("HARK LABL:\"STUDIO B\" TRGL:1 TRGLA:8 DROPFLASH:0 DIML:-1000 LATCH:0 EXTC:1 "
                                "AANS:0\n"));
  const std::string second = FileAfter("SRC 1 PSNM:\"A \\\"B\\\"\" RTPA:\"239.192.3.4:5004\"");
  const std::string third = FileAfter("CFG GPO 9 NAME:\"the \\\"last\\\" one\"");
  EXPECT_EQ(station.terminate(), 0);
  ASSERT_TRUE(station.start());
  client = Connect();
  EXPECT_EQ(station.settings(), third);
  EXPECT_EQ(FileAfter("HARK EXTC:1"), third);
  EXPECT_NE(first, second);
  EXPECT_NE(second, third);
}

TEST_F(Settings, MissingFileLeavesTheDefaultsAndIsWrittenLater) {
  Start();
  EXPECT_TRUE(Logged("]: configuration file not found"));
  client = Connect();
  let_it_settle(client);
  EXPECT_FALSE(station.root().exists(kFile));
  EXPECT_EQ(FileAfter("HARK LABL:\"STUDIO A\""), file(kHark, "SRC 1 PSNM:\"\" RTPA:\"\"", "SRC 2 RTPA:\"\""));
}

TEST_F(Settings, LostFileIsWrittenAtTheNextChange) {
  StartWith(kIdentity);
  station.root().remove(kFile);
  std::filesystem::remove(station.root().file(kFile));
  EXPECT_EQ(FileAfter("SRC 1 PSNM:\"Main\""), "") << "no change";
  EXPECT_EQ(FileAfter("SRC 1 PSNM:\"Other\""),
            file(kHark, "SRC 1 PSNM:\"Other\" RTPA:\"239.192.0.1:5004\"", "SRC 2 RTPA:\"\""));
}

TEST_F(Settings, GarbageIsDroppedAndWhatIsGoodCounts) {
  std::string text;
  for (int i = 0; i < 5000; ++i)
    text += static_cast<char>((i * 7919) % 251);
  text += "\n" + std::string(4500, 'x') +
          "\nQUIT\nVER\nCALL\nEXE\nGPO 10 LLLLL\nCFG GPO 0 X:1\nSRC 9 RTPA:\"1\"\n";
  text +=
      "HARK LABL:\"STUDIO A\"\nATTACH HARKUI#p KEYS:\"1-2\"\nCALL URL:\"x\" LISTEN:1\nSRC 1 PSNM:\"no end of "
      "line\"";
  ExpectLog("protocol unknown");
  ExpectLog("]: ");
  StartWith(text);
  EXPECT_THAT(Answers("HARK"), ElementsAre(StartsWith("HARK LABL:\"STUDIO A\" ")));
  EXPECT_THAT(Answers("SRC 1"), ElementsAre(StartsWith("SRC 1 PSNM:\"no end of \" ")));
}

TEST_F(Settings, FileThatIsAFolderIsNeitherReadNorWritten) {
  std::filesystem::create_directory(station.root().file(kFile));
  ExpectLog("configuration save failed");
  Start();
  client = Connect();
  EXPECT_THAT(Answers("HARK LABL:\"STUDIO A\""), ElementsAre());
  EXPECT_TRUE(Logged("]: configuration save failed"));
  EXPECT_THAT(Answers("HARK"), ElementsAre(StartsWith("HARK LABL:\"STUDIO A\" "))) << "in force all the same";
  std::filesystem::remove(station.root().file(kFile));
  EXPECT_THAT(FileAfter("HARK EXTC:0"), StartsWith(kHark)) << "and saved as soon as it can be";
}

TEST_F(Settings, SettingsOfTheRoutingDaemonAreInForceAtOnce) {
  StartWith(kIdentity);
  ASSERT_TRUE(sim->send("HARK LABL:\"OTHER\" TRGL:0 DIML:6 DROPFLASH:-1"));
  ASSERT_TRUE(sim->send("SRC 1 PSNM:\"a long name of a source\" RTPA:\"9\""));
  EXPECT_TRUE(wait_until(
      [&] { return Answers("SRC 1") == Lines{"SRC 1 PSNM:\"a long nam\" RTPA:\"239.192.0.9:5004\""}; }));
  EXPECT_THAT(Answers("HARK"),
              ElementsAre("HARK LABL:\"OTHER\" TRGL:4 TRGLA:4 DROPFLASH:0 DIML:-6 LATCH:200 EXTC:0"));
}

}  // namespace
}  // namespace hark::test

// The settings: which lines they take, what counts as a change, the text of each line of the file, and what
// the objects give of it.
#include "daemon/settings.h"

#include <filesystem>

#include "daemon/daemon_fixture.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class Settings : public DaemonTest {
 protected:
  Settings() {
    harkd_ext_init(server.cons.data(), kMaxConnections);
    EXPECT_TRUE(register_objects());
    conf_qnr = harkid_file;
  }
  // Whether the line is taken and counts as a change.
  static bool Changes(const char* line) {
    station.sipservices_dirty = station.bonjour_txt_dirty = false;
    EXPECT_EQ(harkd_ext_input(line, kInternalConnection), 0) << line;
    return harkd_ext_config_changed();
  }
  static std::string SavedLine(int index) {
    LineBuffer buf{};
    const int length = harkd_ext_save_config_callback(index, buf.data(), kMaxLine);
    return length < 1 ? "" : std::string(buf.data(), static_cast<std::size_t>(length));
  }
  static std::string Got(QnrObjectGetter get, int index) {
    LineBuffer buf{};
    const int length = get(buf.data(), buf.size(), index);
    return std::string(buf.data(), static_cast<std::size_t>(length));
  }
};

TEST_F(Settings, VersionTellsExtensionsAndCounts) {
  EXPECT_STREQ(harkd_ext_ver(), " SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9");
  EXPECT_STREQ(harkd_ext_ver(), " SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9") << "and again";
}

TEST_F(Settings, FileHasTwelveLinesInOrder) {
  EXPECT_EQ(SavedLine(0), "HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0");
  EXPECT_EQ(SavedLine(1), "SRC 1 PSNM:\"\" RTPA:\"\"");
  EXPECT_EQ(SavedLine(2), "SRC 2 RTPA:\"\"");
  EXPECT_EQ(SavedLine(3), "CFG GPO 1 NAME:\"Main\" CMAP:0800000000");
  for (int port = 2; port <= 9; ++port) {
    const std::string number = std::to_string(port);
    EXPECT_EQ(SavedLine(port + 2), "CFG GPO " + number + " NAME:\"Aux " + std::to_string(port - 1) + "\"");
  }
  EXPECT_EQ(SavedLine(12), "");
  EXPECT_EQ(SavedLine(1000), "");
  EXPECT_EQ(SavedLine(-1), "");
}

TEST_F(Settings, SourcesAreSavedByTheirBytesWithThePortOfTheNetwork) {
  EXPECT_TRUE(Changes("SRC 1 PSNM:\"a \\\"b\\\" and more\" RTPA:\"239.192.1.2:6000\""));
  EXPECT_TRUE(Changes("SRC 2 RTPA:\"qns://513\""));
  EXPECT_EQ(SavedLine(1), "SRC 1 PSNM:\"a \\\"b\\\" and \" RTPA:\"239.192.1.2:5004\"");
  EXPECT_EQ(SavedLine(2), "SRC 2 RTPA:\"239.192.2.1:5004\"");
}

TEST_F(Settings, NameOfTenQuotesIsSavedWhole) {
  EXPECT_TRUE(Changes(R"(SRC 1 PSNM:"\"\"\"\"\"\"\"\"\"\"")"));
  EXPECT_EQ(SavedLine(1), R"(SRC 1 PSNM:"\"\"\"\"\"\"\"\"\"\"" RTPA:"")");
}

TEST_F(Settings, EveryHarkLineIsAChange) {
  EXPECT_TRUE(Changes("HARK LATCH:300"));
  EXPECT_TRUE(Changes("HARK LATCH:300"));
  EXPECT_TRUE(Changes("HARK X:1"));
  EXPECT_FALSE(harkd_ext_config_changed()) << "asked twice, told once";
}

TEST_F(Settings, SourceThatStaysIsNoChange) {
  EXPECT_TRUE(Changes("SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\""));
  EXPECT_FALSE(Changes("SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\""));
  EXPECT_FALSE(Changes("SRC 1 RTPA:\"239.192.0.1\""));
  EXPECT_FALSE(Changes("SRC 1 "));
  EXPECT_TRUE(Changes("SRC 1 PSNM:\"Other\""));
  EXPECT_TRUE(Changes("SRC 1 RTPA:\"\""));
}

TEST_F(Settings, ChangedSourceAsksForServicesAndAnnouncement) {
  EXPECT_EQ(harkd_ext_input("SRC 1 RTPA:\"239.192.0.1\"", kInternalConnection), 0);
  EXPECT_TRUE(station.sipservices_dirty);
  EXPECT_TRUE(station.bonjour_txt_dirty);
}

TEST_F(Settings, PreviewSourceIsAChangeWheneverItIsGiven) {
  EXPECT_TRUE(Changes("SRC 2 RTPA:\"239.192.0.7:5004\""));
  EXPECT_TRUE(Changes("SRC 2 RTPA:\"239.192.0.7:5004\""));
  EXPECT_FALSE(Changes("SRC 2 PSNM:\"x\""));
  EXPECT_STREQ(dotted(station.harkd_qnprevch).data(), "239.192.0.7");
  EXPECT_TRUE(Changes("SRC 2 RTPA:\"\""));
  EXPECT_EQ(station.harkd_qnprevch, 0U);
}

TEST_F(Settings, ContactConfigurationIsAChangeAndContactsAreNot) {
  EXPECT_TRUE(Changes("CFG GPO 2 NAME:\"Lamp\""));
  EXPECT_EQ(SavedLine(4), "CFG GPO 2 NAME:\"Lamp\"");
  EXPECT_FALSE(Changes("GPO 2 Lxxxx"));
  EXPECT_FALSE(Changes("GPI 2 Lxxxx"));
  EXPECT_FALSE(Changes("CFG GPO 2"));
}

TEST_F(Settings, MixerIsToldOfItsSources) {
  RecordingMixer mixer;
  EXPECT_TRUE(Changes("SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1:5004\""));
  EXPECT_THAT(mixer.Lines(), ElementsAre("set hark#1.sub#2.sub_out src_id=\"239.192.0.1:5004\"",
                                         "set hark#1.sub#2.sub_out src_name=\"Main\""));
  EXPECT_TRUE(Changes("SRC 2 RTPA:\"239.192.0.7:5004\""));
  EXPECT_THAT(mixer.Lines(), ElementsAre("set hark#1.sub#1.sub_out src_id=\"239.192.0.7:5004\""));
  EXPECT_TRUE(Changes("SRC 2 RTPA:\"\""));
  EXPECT_THAT(mixer.Lines(), ElementsAre("set hark#1.sub#1.sub_out src_id=\"\""));
}

TEST_F(Settings, LinesOfNobodyAreRefused) {
  for (const char* line :
       {"SRC 3 RTPA:\"1\"", "SRC1 RTPA:\"1\"", "src 1 RTPA:\"1\"", "hark LATCH:1", "EXE", "x"}) {
    SCOPED_TRACE(line);
    EXPECT_LT(harkd_ext_input(line, kInternalConnection), 0);
  }
  EXPECT_FALSE(harkd_ext_config_changed());
}

TEST_F(Settings, ObjectsGiveTheLinesWithoutTheirHeads) {
  EXPECT_TRUE(Changes("SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1\""));
  EXPECT_EQ(Got(harkd_ext_HARK_get, -1),
            "LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0");
  EXPECT_EQ(Got(harkd_ext_SRC_get, 0), "PSNM:\"Main\" RTPA:\"239.192.0.1:5004\"");
  EXPECT_EQ(Got(harkd_ext_SRC_get, 1), "RTPA:\"\"");
  EXPECT_EQ(Got(harkd_ext_SET_get, -1), " ");
  EXPECT_THAT(Got(harkd_ext_IP_get, -1), StartsWith("hostname "));
}

TEST_F(Settings, ObjectsStayInsideTheirBuffer) {
  for (QnrObjectGetter get : {harkd_ext_HARK_get, harkd_ext_SRC_get, harkd_ext_SET_get, harkd_ext_IP_get}) {
    for (const std::size_t room : {1U, 2U, 8U}) {
      std::array<char, 16> buf{};
      buf.fill('#');
      const int length = get(buf.data(), room, 0);
      EXPECT_LT(length, static_cast<int>(room));
      EXPECT_EQ(std::string(buf.data() + room, buf.size() - room), std::string(buf.size() - room, '#'));
    }
  }
}

TEST_F(Settings, NineObjectsAreRegisteredInTheirOrder) {
  std::vector<std::string> heads;
  for (const QnrObject& object : qnrobjdb.objs) {
    if (object.index == -1) heads.emplace_back(object.name.data());
  }
  EXPECT_THAT(heads, ElementsAre("SET", "IP", "SRC", "GPI", "GPO", "CFG GPO", "CALL", "HARK", "HARKUI"));
  EXPECT_EQ(qnrobjdb.objs.size(), 9U + 2 + 3 * 9) << "a row for each, and for each of a family";
}

TEST_F(Settings, LoadedFileCausesNoSave) {
  folder.Write("harkid", "HARK LABL:\"STUDIO A\" LATCH:300\r\nSRC 2 RTPA:\"7\"\nCFG GPO 9 NAME:\"x\"\n");
  EXPECT_EQ(harkd_ext_config_load(), 0);
  EXPECT_FALSE(harkd_ext_config_changed());
  EXPECT_EQ(SavedLine(0), "HARK LABL:\"STUDIO A\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:300 EXTC:0");
  EXPECT_EQ(SavedLine(2), "SRC 2 RTPA:\"239.192.0.7:5004\"");
  EXPECT_EQ(SavedLine(11), "CFG GPO 9 NAME:\"x\"");
}

TEST_F(Settings, MissingFileLeavesAllAsItIs) {
  EXPECT_TRUE(Changes("HARK LATCH:300"));
  EXPECT_EQ(harkd_ext_config_load(), 0);
  EXPECT_EQ(station.harkui_tap_time_ms, 300);
}

TEST_F(Settings, WhatIsSavedIsWhatIsLoaded) {
  EXPECT_TRUE(
      Changes("HARK LABL:\"\\\"T\\\\X\\\"\" TRGL:1 TRGLA:9 DROPFLASH:0 DIML:* LATCH:1 EXTC:3 AANS:1"));
  EXPECT_TRUE(Changes("SRC 1 PSNM:\"Main\" RTPA:\"239.192.0.1\""));
  EXPECT_TRUE(Changes("CFG GPO 1 NAME:\"a b\" FUNC:1"));
  harkd_ext_config_save();
  const std::string saved = folder.Read("harkid");
  EXPECT_THAT(saved,
              StartsWith("HARK LABL:\"\\\"T\\\\X\\\"\" TRGL:1 TRGLA:9 DROPFLASH:0 DIML:-1000 LATCH:1 EXTC:3 "
                         "AANS:1\nSRC 1 "));
  station_reset();
  harkd_ext_init(server.cons.data(), kMaxConnections);
  EXPECT_EQ(harkd_ext_config_load(), 0);
  harkd_ext_config_save();
  EXPECT_EQ(folder.Read("harkid"), saved);
}

TEST_F(Settings, FileThatCannotBeWrittenIsLeftAlone) {
  std::filesystem::create_directory(harkid_file);
  harkd_ext_config_save();
  EXPECT_TRUE(std::filesystem::is_directory(harkid_file));
  EXPECT_TRUE(std::filesystem::is_empty(harkid_file));
}

}  // namespace
}  // namespace hark

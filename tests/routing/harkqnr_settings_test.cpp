// The station's settings as one HARK line: what each tag stores, how they are written, and that what is
// written reads back as it was.
#include <array>
#include <climits>
#include <cstring>

#include "base/text.h"
#include "daemon/qnrlib/qnrdb.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/routing_fixture.h"

namespace hark {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HarkqnrSettings : public SubscriberTest {
 protected:
  static std::string Written() {
    LineBuffer line{};
    const int length = harkqnr_HARK(line.data(), line.size());
    EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(line.data()));
    return line.data();
  }
  static void Set(const std::string& tags) { harkqnr_cmd(("HARK " + tags).c_str()); }
};

TEST_F(HarkqnrSettings, DefaultsAreWritten) {
  EXPECT_EQ(Written(), "HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0");
  copy_text(station.harkd_svcname, "IC 0A0B0C");
  EXPECT_EQ(Written(), "HARK LABL:\"IC 0A0B0C\" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0");
}

TEST_F(HarkqnrSettings, AutoAnswerIsWrittenOnlyWhenItWasSet) {
  station.harkui_aans = 0;
  EXPECT_THAT(Written(), HasSubstr(" EXTC:0 AANS:0"));
  station.harkui_aans = 2;
  EXPECT_THAT(Written(), HasSubstr(" EXTC:0 AANS:2"));
}

TEST_F(HarkqnrSettings, NameIsWrittenEscaped) {
  copy_text(station.harkd_svcname, R"(a"\b)");
  EXPECT_THAT(Written(), HasSubstr(R"(LABL:"a\"\\b" TRGL)"));
}

TEST_F(HarkqnrSettings, WritingIsHeldToTheBuffer) {
  std::array<char, 20> small{};
  const int length = harkqnr_HARK(small.data(), small.size());
  EXPECT_LT(std::strlen(small.data()), small.size());
  EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(small.data()));
}

template <typename T>
struct NumberRow {
  const char* text;
  T stored;
};

TEST_F(HarkqnrSettings, DropFlashIsMillisecondsOnTheWire) {
  for (const NumberRow<TimeUs>& row : {NumberRow<TimeUs>{"DROPFLASH:2500", 2'500'000},
                                       {"DROPFLASH:0", 0},
                                       {"DROPFLASH:1", 1000},
                                       {"DROPFLASH:-1", 0},
                                       {"DROPFLASH:-5000", 0},
                                       {"DROPFLASH=700", 700'000},
                                       {"DROPFLASH:\"60\"", 60'000},
                                       {"DROPFLASH:x", 0}}) {
    SCOPED_TRACE(row.text);
    station.hark_fardrop_timeout = 77;
    Set(row.text);
    EXPECT_EQ(station.hark_fardrop_timeout, row.stored);
  }
}

TEST_F(HarkqnrSettings, TriggerLevelIsOneMoreOnTheWire) {
  for (const NumberRow<int>& row :
       {NumberRow<int>{"1", 0}, {"4", 3}, {"10", 9}, {"0", 3}, {"-1", 3}, {"-7", 3}}) {
    SCOPED_TRACE(row.text);
    station.harkd_trgl_normal = station.harkd_trgl_onair = 8;
    Set(std::string("TRGL:") + row.text);
    EXPECT_EQ(station.harkd_trgl_normal, row.stored);
    EXPECT_EQ(station.harkd_trgl_onair, 8);
    station.harkd_trgl_normal = 7;
    Set(std::string("TRGLA:") + row.text);
    EXPECT_EQ(station.harkd_trgl_onair, row.stored);
    EXPECT_EQ(station.harkd_trgl_normal, 7);
  }
}

TEST_F(HarkqnrSettings, TriggerLevelZeroReadsBackAsFour) {
  Set("TRGL:0");
  EXPECT_THAT(Written(), HasSubstr(" TRGL:4 "));
}

TEST_F(HarkqnrSettings, ChangedTriggerLevelAsksForNewServicesAndAnnouncement) {
  for (const char* tag : {"TRGL", "TRGLA"}) {
    SCOPED_TRACE(tag);
    station_reset();
    Set(std::string(tag) + ":4");  // what it is already
    EXPECT_FALSE(station.bonjour_txt_dirty);
    EXPECT_FALSE(station.sipservices_dirty);
    Set(std::string(tag) + ":5");
    EXPECT_TRUE(station.bonjour_txt_dirty);
    EXPECT_TRUE(station.sipservices_dirty);
  }
}

TEST_F(HarkqnrSettings, OtherSettingsAskForNothing) {
  Set("DROPFLASH:1 DIML:-60 LATCH:3 AANS:1 EXTC:3");
  EXPECT_FALSE(station.bonjour_txt_dirty);
  EXPECT_FALSE(station.sipservices_dirty);
}

TEST_F(HarkqnrSettings, DimGainIsNeverAbovePlain) {
  for (const NumberRow<int>& row : {NumberRow<int>{"-240", -240},
                                    {"0", 0},
                                    {"6", -6},
                                    {"300", -300},
                                    {"-1000", -1000},
                                    {"*", -1000},
                                    {"\"*\"", -1000},
                                    {"\"-60\"", -60}}) {
    SCOPED_TRACE(row.text);
    station.harkd_ifbgain = -77;
    Set(std::string("DIML:") + row.text);
    EXPECT_EQ(station.harkd_ifbgain, row.stored);
  }
}

TEST_F(HarkqnrSettings, LatchTimeIsNeverNegative) {
  for (const NumberRow<long>& row : {NumberRow<long>{"350", 350}, {"0", 0}, {"-1", 0}, {"-350", 0}}) {
    SCOPED_TRACE(row.text);
    station.harkui_tap_time_ms = 77;
    Set(std::string("LATCH:") + row.text);
    EXPECT_EQ(station.harkui_tap_time_ms, row.stored);
  }
}

TEST_F(HarkqnrSettings, AutoAnswerAndExtensionsAreTakenAsTheyStand) {
  for (const int value : {0, 1, 2, -1, -5, 127}) {
    SCOPED_TRACE(value);
    Set("AANS:" + std::to_string(value) + " EXTC:" + std::to_string(value + 1));
    EXPECT_EQ(station.harkui_aans, value);
    EXPECT_EQ(station.harkd_extc, value + 1);
  }
}

TEST_F(HarkqnrSettings, LabelIsHeldToTenCharacters) {
  struct Row {
    const char* text;
    const char* name;
  };
  for (const Row& row : {Row{R"(LABL:"Studio 1")", "Studio 1"}, Row{"LABL:Desk", "Desk"},
                         Row{R"(LABL:"0123456789abc")", "0123456789"}, Row{R"(LABL:"a\"b")", "a\"b"},
                         Row{R"(TRGL:5 LABL:"Last")", "Last"}}) {
    SCOPED_TRACE(row.text);
    Set(row.text);
    EXPECT_STREQ(station.harkd_svcname.data(), row.name);
  }
}

TEST_F(HarkqnrSettings, EmptyLabelGivesTheNameOfTheHardware) {
  station.harkd_iface_name = "lo";
  Set(R"(LABL:"Studio 1")");
  Set(R"(LABL:"")");
  EXPECT_STREQ(station.harkd_svcname.data(), "IC 000000");
}

TEST_F(HarkqnrSettings, AbsentTagsLeaveTheirSettings) {
  const std::string before = Written();
  Set("");
  Set("FOO:1 XTRGL:9 TRGLB:9");
  EXPECT_EQ(Written(), before);
}

TEST_F(HarkqnrSettings, WhatIsWrittenReadsBackTheSame) {
  for (
      const char* line :
      {R"(HARK LABL:"IC 0A0B0C" TRGL:4 TRGLA:4 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0)",
       R"(HARK LABL:"a\"b\\c, d" TRGL:1 TRGLA:10 DROPFLASH:0 DIML:0 LATCH:0 EXTC:3 AANS:1)",
       R"(HARK LABL:"\"\"\"\"\"\"\"\"\"\"" TRGL:9 TRGLA:2 DROPFLASH:60000 DIML:-1000 LATCH:999 EXTC:-1 AANS:0)"}) {
    SCOPED_TRACE(line);
    harkqnr_cmd(line);
    EXPECT_EQ(Written(), line);
    station_reset();
    harkqnr_cmd(line);
    EXPECT_EQ(Written(), line);
  }
}

// Numbers at the ends of every range must leave settings that can be worked with, not undefined arithmetic.
TEST_F(HarkqnrSettings, NumbersBeyondAllRangesStayUsable) {
  for (const char* number : {"9223372036854775807", "-9223372036854775808", "99999999999999999999",
                             "2147483647", "-2147483648", "2147483648", "-2147483649", "4294967296"}) {
    SCOPED_TRACE(number);
    for (const char* tag : {"TRGL:", "TRGLA:", "DROPFLASH:", "DIML:", "LATCH:", "AANS:", "EXTC:"}) {
      Set(std::string(tag) + number);
    }
    EXPECT_GE(station.harkd_trgl_normal, 0);
    EXPECT_GE(station.harkd_trgl_onair, 0);
    EXPECT_GE(station.hark_fardrop_timeout, 0);
    EXPECT_LE(station.harkd_ifbgain, 0);
    EXPECT_GE(station.harkui_tap_time_ms, 0);
    (void)Written();
  }
}

TEST_F(HarkqnrSettings, EveryLineOfSettingsIsReportedToSubscribers) {
  Subscribe(0, "HARK");
  Set("DROPFLASH:1000");
  EXPECT_THAT(Lines(0),
              ElementsAre("HARK LABL:\"\" TRGL:4 TRGLA:4 DROPFLASH:1000 DIML:-240 LATCH:200 EXTC:0"));
  EXPECT_THAT(Lines(1), IsEmpty());
  Set("NOTHING:1");  // changes nothing and is reported all the same
  EXPECT_EQ(Lines(0).size(), 1u);
}

TEST_F(HarkqnrSettings, WordAloneAndOtherWordsAreNoSettings) {
  Subscribe(0, "HARK");
  for (const char* line : {"HARK", "HARKTRGL:9", "hark TRGL:9", "HARKUI TRGL:9", " HARK TRGL:9"}) {
    SCOPED_TRACE(line);
    harkqnr_cmd(line);
    EXPECT_EQ(station.harkd_trgl_normal, 3);
    EXPECT_THAT(Lines(0), IsEmpty());
  }
}

}  // namespace
}  // namespace hark

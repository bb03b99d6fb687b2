// The settings of a station as harkctl writes and reads them.
#include "tools/harkctl/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace hark::ctl {
namespace {

constexpr char kLine[] =
    R"(HARK LABL:"the \"A\" \\" TRGL:4 TRGLA:6 DROPFLASH:5000 DIML:-240 LATCH:200 EXTC:0)";

TEST(Settings, NamesAreFoundInAnyCaseAndAsAWhole) {
  EXPECT_STREQ(find_setting("labl")->name, "LABL");
  EXPECT_STREQ(find_setting("TRGLA")->name, "TRGLA");
  for (const char* name : {"", "TRG", "TRGLAX", "LABL "})
    EXPECT_EQ(find_setting(name), nullptr) << name;
}

// The comparison ended at the first NUL of both, and then looked behind the end of the shorter one.
TEST(Settings, ANameWithNulsIsNone) {
  for (const std::size_t nuls : {1, 2, 40}) {
    SCOPED_TRACE(nuls);
    EXPECT_EQ(find_setting("TRGL" + std::string(nuls, '\0')), nullptr);
  }
}

TEST(Settings, ValuesAreWhatTheStationTakes) {
  const struct {
    const char* name;
    const char* value;
    bool good;
  } kRows[] = {{"LABL", "", true},      {"LABL", "Studio A", true},    {"LABL", "a\"b\\c", true},
               {"LATCH", "0", true},    {"LATCH", "-5", true},         {"DIML", "*", true},
               {"DIML", "-240", true},  {"AANS", "-1", true},          {"LABL", "12345678901", false},
               {"LABL", "a\nb", false}, {"LABL", "\x7f", false},       {"LATCH", "", false},
               {"LATCH", "*", false},   {"LATCH", "1 EXTC:1", false},  {"LATCH", "0x10", false},
               {"LATCH", "+1", false},  {"TRGL", "99999999999", false}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.name) + "=" + row.value);
    const std::string fault = fault_of(*find_setting(row.name), row.value);
    EXPECT_EQ(fault.empty(), row.good) << fault;
    if (!row.good) {
      EXPECT_THAT(fault, testing::StartsWith(row.name));
    }
  }
}

// LATCH=0200 became 128 at the station, which takes a zero in front for octal; and zeros without end, a line
// that it drops.
TEST(Settings, NumbersGoOutWithoutZerosInFront) {
  const struct {
    const char* name;
    const char* value;
    const char* plain;
  } kRows[] = {{"LATCH", "0200", "200"}, {"AANS", "-01", "-1"}, {"TRGL", "08", "8"},   {"TRGL", "-0", "0"},
               {"DIML", "*", "*"},       {"LATCH", "0", "0"},   {"LABL", "007", "007"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(std::string(row.name) + "=" + row.value);
    EXPECT_EQ(plain_value(*find_setting(row.name), row.value), row.plain);
  }
  EXPECT_EQ(plain_value(*find_setting("TRGL"), std::string(3000, '0') + "7"), "7");
}

TEST(Settings, ALineIsQuotedAndReadBack) {
  const Settings settings = {{"LABL", "a \"b\" \\, c"}, {"DIML", "*"}, {"AANS", "0"}};
  const std::string line = settings_line(settings);
  EXPECT_EQ(line, R"(HARK LABL:"a \"b\" \\, c" DIML:"*" AANS:"0")");
  EXPECT_EQ(read_settings(line), settings);
}

TEST(Settings, ALineOfTheStationIsReadInItsOrder) {
  const Settings settings = read_settings(kLine);
  ASSERT_EQ(settings.size(), 8U);
  EXPECT_EQ(settings[0].second, "the \"A\" \\");
  EXPECT_EQ(settings[2], (std::pair<std::string, std::string>("TRGLA", "6")));
  // which is not told when it is -1
  EXPECT_EQ(settings.back(), (std::pair<std::string, std::string>("AANS", "-1")));
  EXPECT_EQ(read_settings("HARK LATCH:1 AANS:0").back().second, "0");
  for (const char* line : {"", "HARK", "HARKUI", "CALL URL:\"HARK LABL:x\"", "hark LABL:x"})
    EXPECT_TRUE(read_settings(line).empty()) << line;
}

TEST(Settings, JsonHasNumbersAndALabelIsAlwaysText) {
  EXPECT_EQ(settings_json(read_settings("HARK LABL:\"7\" DIML:-240 LATCH:0")).dump(),
            R"({"LABL":"7","DIML":-240,"LATCH":0,"AANS":-1})");
}

TEST(Settings, TextIsAsOnTheCommandLine) {
  EXPECT_EQ(setting_text("LABL", "a \"b\""), R"(LABL="a \"b\"")");
  EXPECT_EQ(setting_text("LATCH", "200"), "LATCH=200");
}

}  // namespace
}  // namespace hark::ctl

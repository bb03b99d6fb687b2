// Who is asked first: discovery or the table that it left behind, then the operator's file; what the
// convenience makes of it; and that files in any state are answered with "not found" at worst.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "addressing/HarkResolv.h"
#include "base/text.h"
#include "resolver_files.h"

namespace hark {
namespace {

std::vector<std::string> asked;
int discovery_result = -1;

int Discovery(int kind, const char* key, HarkResolvInfo& info) {
  asked.push_back(std::to_string(kind) + " " + key);
  if (discovery_result == 0 || std::string_view(key) == "Half") {
    (void)copy_text(info.url, "Bob <hark:10.9.9.9>");
    (void)copy_text(info.alt, "Found");
  }
  return discovery_result;
}

class HarkResolvOrder : public ResolverFiles {
 protected:
  HarkResolvOrder() {
    asked.clear();
    discovery_result = -1;
  }
};

TEST_F(HarkResolvOrder, TableOfTheLastRunGoesBeforeTheOperatorsFile) {
  Table("Bob <hark:10.0.0.1>\n");
  Sources("Bob <hark:10.0.0.2>\nAnn <hark:10.0.0.3>\n");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.1>");
  EXPECT_EQ(UrlOf("Ann"), "Ann <hark:10.0.0.3>");
  EXPECT_EQ(LabelOf("hark:10.0.0.2"), "Bob");
}

TEST_F(HarkResolvOrder, LineOfTheTableThatDoesNotFitLeavesTheOperatorsFile) {
  Table("Bob <hark:10.0.0.1>;x=" + std::string(78, 'x') + "\n");
  Sources("Bob <hark:10.0.0.2>\n");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.2>");
}

TEST_F(HarkResolvOrder, MissingSourceFileLeavesTheDiscoveredStations) {
  Table("Bob <hark:10.0.0.1>\n");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.1>");
  EXPECT_EQ(UrlOf("Ann"), "-");
}

TEST_F(HarkResolvOrder, WithoutAnyFileNothingIsFound) {
  EXPECT_EQ(UrlOf("Bob"), "-");
  EXPECT_EQ(LabelOf("hark:10.0.0.1"), "-");
}

TEST_F(HarkResolvOrder, EmptyPathsAreNoFiles) {
  table_file.clear();
  harksources_file.clear();
  EXPECT_EQ(UrlOf("Bob"), "-");
}

TEST_F(HarkResolvOrder, RunningDiscoveryIsAskedInPlaceOfTheTable) {
  Table("Bob <hark:10.0.0.1>\nEve <hark:10.0.0.4>\n");
  Sources("Bob <hark:10.0.0.2>\nAnn <hark:10.0.0.3>\n");
  HarkResolv_dynamic = &Discovery;
  discovery_result = 0;
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.9.9.9>");
  discovery_result = -1;
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.2>");
  EXPECT_EQ(UrlOf("Eve"), "-") << "the table is what discovery knows already";
  EXPECT_EQ(LabelOf("hark:10.0.0.3"), "Ann");
  EXPECT_EQ(asked, (std::vector<std::string>{"1 Bob", "1 Bob", "1 Eve", "2 hark:10.0.0.3"}));
}

TEST_F(HarkResolvOrder, EveryFailureOfDiscoveryLeavesTheOperatorsFile) {
  Sources("Bob <hark:10.0.0.2>\n");
  HarkResolv_dynamic = &Discovery;
  for (const int result : {-1, -2, 1}) {
    SCOPED_TRACE(result);
    discovery_result = result;
    EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.2>");
    EXPECT_EQ(UrlOf("Eve"), "-");
  }
}

TEST_F(HarkResolvOrder, ConvenienceGivesUrlAndAlternateText) {
  Sources("Bob <hark:10.0.0.1>;trgl=2\n\talt Main\nAnn <hark:10.0.0.2>\n");
  std::array<char, kResolvedUrlSize> url{};
  std::array<char, kAltSize> alt{};
  EXPECT_EQ(HarkResolv("Bob", url, alt), 0);
  EXPECT_STREQ(url.data(), "Bob <hark:10.0.0.1>;trgl=2");
  EXPECT_STREQ(alt.data(), "Main");
  EXPECT_EQ(HarkResolv("Bob", {}, {}), 0);
  EXPECT_EQ(HarkResolv("Ann", url, {}), 0);
  EXPECT_STREQ(url.data(), "Ann <hark:10.0.0.2>");
}

TEST_F(HarkResolvOrder, ConvenienceEmptiesBothBuffersWhenNothingIsFound) {
  Sources("Bob <hark:10.0.0.1>;x=" + std::string(78, 'x') + "\n");
  for (const char* label : {"Eve", "Bob", "", static_cast<const char*>(nullptr)}) {
    SCOPED_TRACE(label ? label : "null");
    std::array<char, kResolvedUrlSize> url{"old"};
    std::array<char, kAltSize> alt{"old"};
    EXPECT_EQ(HarkResolv(label, url, alt), -1);
    EXPECT_STREQ(url.data(), "");
    EXPECT_STREQ(alt.data(), "");
  }
}

TEST_F(HarkResolvOrder, ConvenienceEmptiesWhatAFailedSearchHasFilled) {
  HarkResolv_dynamic = &Discovery;
  std::array<char, kResolvedUrlSize> url{};
  std::array<char, kAltSize> alt{};
  EXPECT_EQ(HarkResolv("Half", url, alt), -1);
  EXPECT_STREQ(url.data(), "");
  EXPECT_STREQ(alt.data(), "");
}

TEST_F(HarkResolvOrder, ConvenienceAsksInTheSameOrder) {
  Table("Bob <hark:10.0.0.1>\n");
  Sources("Bob <hark:10.0.0.2>\n");
  std::array<char, kResolvedUrlSize> url{};
  EXPECT_EQ(HarkResolv("Bob", url, {}), 0);
  EXPECT_STREQ(url.data(), "Bob <hark:10.0.0.1>");
  HarkResolv_dynamic = &Discovery;
  discovery_result = 0;
  EXPECT_EQ(HarkResolv("Bob", url, {}), 0);
  EXPECT_STREQ(url.data(), "Bob <hark:10.9.9.9>");
}

TEST_F(HarkResolvOrder, ChangeTakesEffectAtOnce) {
  Sources("Bob <hark:10.0.0.1>\n");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.1>");
  Sources("Bob <hark:10.0.0.2>\n");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.2>");
  folder_.Remove("sources");
  EXPECT_EQ(UrlOf("Bob"), "-");
  Table("Bob <hark:10.0.0.3>\n");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.3>");
}

TEST_F(HarkResolvOrder, FolderInPlaceOfAFileIsNoFile) {
  std::filesystem::create_directory(table_file);
  Sources("Bob <hark:10.0.0.1>\n");
  EXPECT_EQ(UrlOf("Bob"), "Bob <hark:10.0.0.1>");
  folder_.Remove("sources");
  std::filesystem::create_directory(harksources_file);
  EXPECT_EQ(UrlOf("Bob"), "-");
}

TEST_F(HarkResolvOrder, PipeInPlaceOfAFileStopsNobody) {
  ASSERT_EQ(::mkfifo(table_file.c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo(harksources_file.c_str(), 0600), 0);
  const auto query = [] {
    ::alarm(5);  // a reader that waits for a writer is ended
    LabelResolver resolver;
    ResolvedLabel found;
    ::_exit(UrlOf("Bob") == "-" && resolver.find("Bob", found.info) == -1 ? 0 : 1);
  };
  EXPECT_EXIT(query(), ::testing::ExitedWithCode(0), "");
}

TEST_F(HarkResolvOrder, RubbishInAFileHidesNoStation) {
  using namespace std::string_literals;
  for (const std::string& rubbish : {"\0\n"s,
                                     "\0Bob <hark:9>\n"s,
                                     "\x01\x02\xff\x80\n"s,
                                     "\r\r\n"s,
                                     "\r\n\r\n"s,
                                     "\"\n"s,
                                     "\"Bob\n"s,
                                     "<\n"s,
                                     ">\n"s,
                                     "<>\n"s,
                                     ";\n"s,
                                     "\"\"\n"s,
                                     "\t\n"s,
                                     "\t\0alt x\n"s,
                                     " \n"s,
                                     "\"Bob\"\n"s,
                                     "Bob\n"s,
                                     std::string(126, '"') + "\n",
                                     std::string(127 * 300, 'x') + "\n",
                                     std::string(127 * 300, '<') + "\n",
                                     std::string(127 * 300, '\t') + "\n",
                                     std::string(127 * 300, '\0') + "\n"}) {
    SCOPED_TRACE(::testing::PrintToString(rubbish.substr(0, 40)));
    Sources(rubbish + "Eve <hark:10.0.0.5>\n\talt Main\n");
    Query query;
    EXPECT_EQ(query.Run(kResolveLabel, "Eve"), 0);
    EXPECT_STREQ(query.url.data(), "Eve <hark:10.0.0.5>");
    EXPECT_STREQ(query.alt.data(), "Main");
    EXPECT_EQ(LabelOf("hark:10.0.0.5"), "Eve");
  }
}

TEST_F(HarkResolvOrder, EndlessLineIsNoStation) {
  Sources(std::string(1'000'000, 'x'));
  EXPECT_EQ(UrlOf("Bob"), "-");
}

}  // namespace
}  // namespace hark

// What the document of discovery says, against the program: the bytes of the announcement, the table file,
// log lines, error codes, times, paths and build options. discovery_net_doc_test.cpp does the same with real
// stations on a network.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "addressing/dnssd/dnssd.h"
#include "addressing/harkbonjour_private.h"
#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "docs/document.h"
#include "docs/log_table.h"
#include "docs/source_text.h"
#include "system/support/temp_root.h"

namespace hark::test {
namespace {

// "08 41" and words behind it, a line each, as bytes.
std::string bytes_of(const std::string& lines) {
  std::string bytes;
  std::istringstream in(lines);
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line.substr(0, line.find("   ")));
    for (unsigned byte = 0; words >> std::hex >> byte;)
      bytes.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  }
  return bytes;
}

class DiscoveryReference : public testing::Test {
 protected:
  [[nodiscard]] bool Says(const std::string& text) const {
    return document_.text.find(text) != std::string::npos;
  }
  // The source has this code, and the document these words for it.
  void ExpectFact(const std::string& source, std::string_view code, const std::string& words) const {
    EXPECT_NE(read_source(source).find(code), std::string::npos) << code;
    EXPECT_TRUE(Says(words)) << words;
  }

  const Document document_ = read_document("docs/discovery.md");
  const std::string source_ = read_source("addressing/harkbonjour.cpp");
};

TEST_F(DiscoveryReference, ShowsTheBytesThatAreAnnounced) {
  std::array<unsigned char, kTxtSize> txt{};
  const std::size_t length = make_txt("Main", 3, ::inet_addr("239.192.0.77"), txt);
  const std::string announced(txt.begin(), txt.begin() + static_cast<std::ptrdiff_t>(length));
  EXPECT_EQ(bytes_of(block_text(document_.text, "hex")), announced);
  EXPECT_TRUE(Says("\n" + std::to_string(length) + " bytes; the first byte of each item is its length"));
  harkresolvtable_entry entry;
  take_txt({txt.data(), length}, entry);
  EXPECT_EQ(entry.alt, "Main");
  EXPECT_EQ(entry.trgl, 4U);
  EXPECT_EQ(make_txt("", 0, 0, txt), 0U) << "all items can be left out";
}

TEST_F(DiscoveryReference, ShowsTheTableFileThatIsWritten) {
  const TempRoot root;
  const std::string before = std::exchange(table_file, root.file("table"));
  harkresolvtable table;
  harkresolvtable_entry& entry = table.emplace_front();
  entry.name = "Studio A";
  entry.domain = kLocalDomain;
  entry.url = "hark:10.0.0.2";
  entry.trgl = 4;
  entry.alt = "Main";
  entry.port = 4013;
  entry.rtpa = ::inet_addr("239.192.0.77");
  harkresolvtable_write(table);
  EXPECT_EQ(root.read("table"), block_text(document_.text, "table"));
  table_file = before;
  EXPECT_TRUE(Says("`" + before + "`"));
  const std::vector<Row> rows = table_rows(document_.text, "| line | present |");
  const std::vector<std::string> details =
      all_between(read_source("addressing/harkresolvtable.cpp"), "append_detail(text, \"", "\"");
  EXPECT_EQ(details.size(), 4U);
  for (const std::string& detail : details)
    EXPECT_TRUE(Says("| TAB `" + detail + " ")) << detail;
  EXPECT_EQ(rows.size(), details.size() + 2);
}

TEST_F(DiscoveryReference, HasEveryLogLineWithItsLevel) {
  std::vector<LogText> messages = log_texts(source_, "syslog");
  EXPECT_NE(source_.find(R"(syslog(kLogNotice, "%s %s.%s%s", added ? "add" : "rmv", name, type, domain))"),
            std::string::npos);
  std::erase_if(messages, [](const LogText& text) { return text.format == "%s %s.%s%s"; });
  messages.push_back({5, "add %s.%s%s"});
  messages.push_back({5, "rmv %s.%s%s"});
  for (LogText& text : log_texts(read_source("daemon/harkd_main.cpp"), "syslog")) {
    if (text.format.starts_with("mdns")) messages.push_back(std::move(text));
  }
  for (LogText& text : log_texts(read_source("addressing/learn.cpp"), "syslog"))
    messages.push_back(std::move(text));
  EXPECT_EQ(messages.size(), 9U) << "one was not recognised, or is new";
  expect_log_table(document_, messages);
  // What a station logs in the example are lines of the table.
  std::istringstream lines(block_text(document_.text, "log"));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_TRUE(Says("| `" + line + "` |")) << line;
  EXPECT_EQ(count, 7);
}

TEST_F(DiscoveryReference, HasEveryTextOfTheTerminal) {
  std::vector<std::string> formats = all_between(source_, "(stderr, \"", "\\n\"");
  const std::vector<std::string> printed = all_between(source_, "std::printf(\"", "\\n\"");
  formats.insert(formats.end(), printed.begin(), printed.end());
  const std::vector<std::string> file_errors =
      all_between(read_source("addressing/harkresolvtable.cpp"), "(stderr, \"", "\\n\"");
  formats.insert(formats.end(), file_errors.begin(), file_errors.end());
  // Only programs that ask for it are told of a success.
  std::erase(formats, "Registered %s.%s%s");
  EXPECT_EQ(formats.size(), 5U) << testing::PrintToString(formats);
  const std::vector<Row> rows = table_rows(document_.text, "| line | meaning |");
  EXPECT_EQ(rows.size(), 4U);
  for (const std::string& format : formats) {
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](const Row& row) {
      return fits_format(format, row[0]);
    })) << format;
  }
  for (const std::string& what : all_between(source_, "set, \"", "\")"))
    EXPECT_TRUE(Says("`" + what + "` ") || Says("(" + what + ")")) << what;
  const std::vector<std::string> last_words = all_between(source_, "puts(\"", "\")");
  ASSERT_EQ(last_words.size(), 1U);
  std::string words = document_.text;
  std::replace(words.begin(), words.end(), '\n', ' ');
  EXPECT_NE(words.find("`" + last_words[0] + "`"), std::string::npos);
}

TEST_F(DiscoveryReference, HasTheCodesOfTheLibrary) {
  const std::vector<Row> rows = table_rows(document_.text, "| code | |");
  std::vector<std::string> codes;
  for (const Row& row : rows)
    codes.push_back(row[0]);
  EXPECT_THAT(codes, testing::ElementsAre(std::to_string(kDnssdServiceNotRunning),
                                          std::to_string(kDNSServiceErr_Refused),
                                          std::to_string(kDNSServiceErr_NameConflict)));
}

TEST_F(DiscoveryReference, HasTimesLimitsAndNamesOfTheProgram) {
  ExpectFact("addressing/harkbonjour.cpp", "hark_svctype = \"_hark._tcp\";", "An instance of `_hark._tcp`");
  ExpectFact("addressing/dnssd/bounded_wait.cpp", "kLongestWaitMs = 1000;", "waits 1 s for an answer");
  ExpectFact("daemon/harkd_main.cpp", "kMdnsFirstRetryUs = 1'000'000;", "tries again after 1, 2, 4, 8");
  ExpectFact("daemon/harkd_main.cpp", "kMdnsLongestRetryUs = 16'000'000;", "every 16 s");
  ExpectFact("daemon/harkd_main.cpp", "mdns_retry_us * 2,", "and then after 2, 4, 8, and every 16 s");
  ExpectFact("addressing/harkresolvtable.cpp", "kMostStations = 1000;", "Once there are 1000 in all");
  ExpectFact("addressing/harkbonjour.cpp", "std::exit(-1);", "ends with status 255");
  ExpectFact("addressing/dnssd/bounded_wait.cpp", "kPauseUs = 5'000'000;", "leaves it alone for 5 s");
  EXPECT_TRUE(Says("lines have " + std::to_string(kSourceLineSize - 1) + " characters at most"));
}

TEST_F(DiscoveryReference, HasTheBuildOptionWithItsValues) {
  const std::string cmake = read_source("addressing/dnssd/CMakeLists.txt");
  const std::vector<Row> rows = table_rows(document_.text, "| `HARK_DNSSD` | library | default |");
  std::vector<std::string> values;
  for (const Row& row : rows) {
    values.push_back(row[0]);
    EXPECT_NE(cmake.find("HARK_DNSSD STREQUAL \"" + row[0] + "\""), std::string::npos) << row[0];
  }
  EXPECT_THAT(values, testing::ElementsAre("avahi", "system"));
  EXPECT_NE(cmake.find("check_library_exists(dns_sd DNSServiceGetProperty"), std::string::npos);
  const std::string readme = read_source("README.md");
  for (const std::string package : {"libavahi-client-dev", "libavahi-compat-libdnssd-dev", "libdbus-1-dev",
                                    "pkg-config", "avahi-daemon", "dbus"}) {
    EXPECT_TRUE(Says("`" + package + "`")) << package;
    EXPECT_NE(readme.find("`" + package + "`"), std::string::npos) << package;
  }
}

}  // namespace
}  // namespace hark::test

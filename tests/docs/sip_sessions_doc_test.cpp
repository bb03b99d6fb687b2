// What the document of the SIP stack says of session descriptions: the order and the rules of their lines,
// each reason to refuse one, what is written, and the answer to an offer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cpsdp/sdp_fixture.h"
#include "docs/document.h"
#include "docs/sip_document.h"
#include "docs/source_text.h"

namespace hark::test {
namespace {

// The lines that a table of lines shows.
std::vector<std::string> lines_of(const std::vector<Row>& rows) {
  std::vector<std::string> lines;
  for (const Row& row : rows)
    lines.push_back(row[0]);
  return lines;
}

class SipSessions : public testing::Test {
 protected:
  // What stands ahead of the lines of a table.
  struct Table {
    std::vector<Row> rows;
    std::string ahead;
  };
  [[nodiscard]] Table OfSession() const {
    return {table_rows(document_.text, "| line | words | repeats | |"), ""};
  }
  [[nodiscard]] Table OfMedium() const {
    const std::size_t at = document_.text.find("Behind each `m=`:");
    return {table_rows(document_.text.substr(at), "| line | words | repeats | |"),
            "v=0\r\nm=audio 5004 RTP/AVP 96 0\r\n"};
  }
  static int ReasonOf(const Table& table, const std::vector<std::string>& lines) {
    return Parse(table.ahead + as_lines(lines)).reason;
  }
  void ExpectOrder(const Table& table) const;
  void ExpectRepeats(const Table& table) const;
  void ExpectWords(const Table& table) const;

  const Document document_ = read_document(kSipDocument);
};

void SipSessions::ExpectOrder(const Table& table) const {
  const std::vector<std::string> lines = lines_of(table.rows);
  ASSERT_EQ(ReasonOf(table, lines), 0);
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
    std::vector<std::string> swapped = lines;
    std::swap(swapped[i], swapped[i + 1]);
    // Behind a medium an attribute is the medium's.
    if (lines[i][0] == lines[i + 1][0] || lines[i + 1][0] == 'm') {
      EXPECT_EQ(ReasonOf(table, swapped), 0) << swapped[i];
    } else {
      EXPECT_NE(ReasonOf(table, swapped), 0) << swapped[i] << " ahead of " << swapped[i + 1];
    }
    std::vector<std::string> without = lines;
    without.erase(without.begin() + static_cast<std::ptrdiff_t>(i));
    EXPECT_EQ(ReasonOf(table, without) == 0, lines[i][0] != 'v') << "without " << lines[i];
  }
}

void SipSessions::ExpectRepeats(const Table& table) const {
  for (std::size_t i = 0; i < table.rows.size(); ++i) {
    const std::string& repeats = table.rows[i][2];
    SCOPED_TRACE(table.rows[i][0]);
    const auto with = [&](std::size_t count) {
      std::vector<std::string> lines = lines_of(table.rows);
      const std::string line = lines[i];
      lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i), count - 1, line);
      return ReasonOf(table, lines);
    };
    const std::size_t most = repeats == "no" ? 1 : repeats == "yes" ? 20 : std::stoul(repeats);
    EXPECT_EQ(with(most), 0);
    if (repeats == "yes") continue;
    EXPECT_NE(with(most + 1), 0);
  }
}

void SipSessions::ExpectWords(const Table& table) const {
  for (std::size_t i = 0; i < table.rows.size(); ++i) {
    const std::string& line = table.rows[i][0];
    const std::string& words = table.rows[i][1];
    SCOPED_TRACE(line);
    const auto with = [&](const std::string& text) {
      std::vector<std::string> lines = lines_of(table.rows);
      lines[i] = text;
      return ReasonOf(table, lines);
    };
    const bool more_is_fine = words == "any" || words.ends_with(" and more");
    EXPECT_EQ(with(line + " 9") == 0, more_is_fine);
    EXPECT_EQ(with(line.substr(0, 2)) == 0, words == "any") << "without a word";
    if (words == "any") continue;
    const auto shown = static_cast<unsigned long>(std::count(line.begin(), line.end(), ' ') + 1);
    EXPECT_TRUE(more_is_fine ? shown >= std::stoul(words) : shown == std::stoul(words));
    // As many words as it must have, and one less.
    std::size_t end = 0;
    for (unsigned long n = std::stoul(words); n != 0; --n)
      end = std::min(line.find(' ', end + 1), line.size());
    EXPECT_EQ(with(line.substr(0, end)), 0);
    EXPECT_NE(with(line.substr(0, std::max<std::size_t>(2, line.rfind(' ', end - 1) + 1))), 0);
  }
}

TEST_F(SipSessions, HaveTheirLinesInTheOrderOfTheTables) {
  ExpectOrder(OfSession());
  EXPECT_EQ(OfSession().rows.size(), 15U);
  ExpectOrder(OfMedium());
  EXPECT_EQ(OfMedium().rows.size(), 9U);
}

TEST_F(SipSessions, RepeatTheLinesThatMayRepeat) {
  ExpectRepeats(OfSession());
  ExpectRepeats(OfMedium());
}

TEST_F(SipSessions, HaveTheWordsOfTheTables) {
  ExpectWords(OfSession());
  ExpectWords(OfMedium());
}

TEST_F(SipSessions, AreForgivenWhatTheTableForgives) {
  const std::size_t at = document_.text.find("The lines replace those of the same letter");
  const std::vector<Row> rows = table_rows(document_.text.substr(at), "| received | is taken as |");
  EXPECT_GE(rows.size(), 12U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    std::string body;
    for (const std::string usual : {"v=0", "o=- 1 1 IN IP4 10.0.0.7", "s=-", "c=IN IP4 10.0.0.7", "t=0 0",
                                    "m=audio 5004 RTP/AVP 0", "a=x"})
      body += (usual[0] == row[0][0] ? row[0] : usual) + "\r\n";
    if (body.find(row[0]) == std::string::npos) body += row[0] + "\r\n";
    testing::internal::CaptureStdout();
    const Description description = Parse(body);
    const std::string reports = testing::internal::GetCapturedStdout();
    EXPECT_EQ(description.reason, 0);
    const std::string written = "\r\n" + Encode(description).text;
    if (row[1] == "none") {
      EXPECT_EQ(written.find("\r\n" + row[0].substr(0, 2)), std::string::npos);
      EXPECT_NE(reports, "");
    } else {
      EXPECT_NE(written.find("\r\n" + row[1] + "\r\n"), std::string::npos) << written;
    }
  }
}

TEST_F(SipSessions, AreRefusedForEachReasonOfTheTable) {
  const std::vector<Row> rows = table_rows(document_.text, "| reason | what it means | example |");
  ASSERT_EQ(rows.size(), 55U);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Row& row = rows[i];
    SCOPED_TRACE(row[0] + ": " + row[2]);
    ASSERT_EQ(row[0], std::to_string(i + 1));
    if (row[1] == "cannot occur") {
      EXPECT_EQ(row[2], "");
      continue;
    }
    std::vector<std::string> pieces = pieces_of(row[2]);
    const bool says_without = row[2].starts_with("without `v=0`");
    ASSERT_GE(pieces.size(), says_without ? 2U : 1U);
    // The line that it speaks of is the last one.
    const std::vector<std::string> begin = all_between(row[1], "`", "`");
    EXPECT_TRUE(begin.empty() || pieces.back().starts_with(begin[0]));
    if (says_without) pieces.erase(pieces.begin());
    std::string body = as_lines(pieces);
    if (!says_without && !body.starts_with("v=")) body.insert(0, "v=0\r\n");
    if (row[2].ends_with("without its line end")) body.resize(body.size() - 2);
    const Description refused = Parse(body);
    EXPECT_EQ(std::to_string(refused.reason), row[0]);
    // Without its last line it is a good one, so that this is what was wrong.
    if (pieces.size() > 1) {
      const std::size_t last = body.rfind("\r\n", body.size() - 3);
      EXPECT_EQ(Parse(body.substr(0, last + 2)).reason, 0);
    }
  }
}

TEST_F(SipSessions, HaveTheNamesOfTheTableForStaticPayloadNumbers) {
  std::set<std::string> told;
  for (const Row& row : table_rows(document_.text, "| number | text | number | text |")) {
    ASSERT_EQ(row.size(), 4U);
    for (const std::size_t at : {0U, 2U})
      told.insert(row[at] + " " + row[at + 1]);
  }
  std::set<std::string> known;
  for (unsigned number = 0; number < 128; ++number) {
    const std::string name(cpsdp_static_payload(static_cast<std::uint16_t>(number)));
    if (!name.empty()) known.insert(std::to_string(number) + name);
  }
  EXPECT_EQ(told, known);
}

// The four-digit numbers of a text.
std::set<int> errors_in(const std::string& text) {
  std::set<int> errors;
  for (std::size_t at = text.find_first_of("0123456789"); at != std::string::npos;
       at = text.find_first_of("0123456789", at)) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789", at), text.size());
    if (end - at == 4) errors.insert(std::stoi(text.substr(at, 4)));
    at = end;
  }
  return errors;
}

// Each is met when the room becomes too small, and no other.
TEST_F(SipSessions, HaveTheErrorsOfTheTableWhenTheyDoNotFit) {
  // The beginning of the line of each.
  std::map<int, std::string> told;
  for (const Row& row : table_rows(document_.text, "| line | errors |")) {
    const std::vector<std::string> begin =
        pieces_of(row[0].find('=') == std::string::npos ? "a=send" : row[0]);
    for (const int error : errors_in(row[1]))
      told[error] = begin[0];
  }
  const Description whole = Parse(as_lines(lines_of(OfSession().rows)) + as_lines(lines_of(OfMedium().rows)));
  ASSERT_EQ(whole.reason, 0);
  const std::string text = Encode(whole).text;
  std::set<int> met;
  for (std::size_t room = 0; room < text.size(); ++room) {
    const int error = Encode(whole, room).error;
    met.insert(error);
    ASSERT_TRUE(told.contains(error)) << error;
    // The first byte that has no room is in the piece.
    const std::size_t line = room == 0 ? 0 : text.rfind('\n', room - 1) + 1;
    EXPECT_TRUE(text.substr(line).starts_with(told[error])) << error << ": " << text.substr(line, 20);
  }
  EXPECT_EQ(met.size(), told.size());
}

TEST_F(SipSessions, HaveTheOtherErrorsOfTheTable) {
  const std::vector<Row> rows = table_rows(document_.text, "| error | |");
  std::set<int> others;
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    others.insert(std::stoi(row[0]));
    const std::vector<std::string> shown =
        row[1].find("m=") != std::string::npos ? all_between(row[1], "`", "`") : std::vector<std::string>{};
    for (const std::string& line : shown)
      EXPECT_EQ(std::to_string(Encode(Parse(Session({line}))).error), row[0]);
  }
  std::uint32_t length = 0;
  EXPECT_TRUE(others.contains(CPSDP_EncodeSession(nullptr, "", {}, length)));
  Description odd = Parse(InMedia({"c=IN IP4 192.0.2.2"}));
  odd.parms.c_addr_type = cpsdp_addr_type::neither;
  EXPECT_TRUE(others.contains(Encode(odd).error));
  odd.parms.c_addr_type = cpsdp_addr_type::ip4;
  odd.parms.media[0]->c_addr_type = cpsdp_addr_type::neither;
  EXPECT_TRUE(others.contains(Encode(odd).error));
  // All errors that there are.
  std::set<int> told = others;
  for (const Row& row : table_rows(document_.text, "| line | errors |"))
    told.merge(errors_in(row[1]));
  const std::string header = read_source("cpsdp/cpsdp.h");
  const std::size_t begin = header.find("enum cpsdp_encode_error");
  EXPECT_EQ(told, errors_in(header.substr(begin, header.find("};", begin) - begin)));
}

}  // namespace
}  // namespace hark::test

// What the document of the SIP stack says of messages: each row is scanned, or written, and ends as it tells.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "cpsip/cpapp.h"
#include "cpsip/msg_fixture.h"
#include "docs/document.h"
#include "docs/sip_document.h"
#include "docs/source_text.h"

namespace hark::test {
namespace {

// The REFER that the document builds. Its lines are those of the document.
cpsip_msg_ptr build_refer() {
  cpsip_msg_ptr refer = CPSIP_MsgCreate(true);
  refer->method = refer->cseq_method = cpsip_method::refer;
  refer->cseq = 2;
  refer->max_forwards = 70;
  refer->include_allow = true;
  struct Field {
    cpsip_fld id;
    std::string_view text;
  };
  constexpr std::array<Field, 13> kWritten{{{CPSIP_FLD_REQUEST_URI, "sip:desk7@10.0.0.7:5060"},
                                            {CPSIP_FLD_VIA_TRANSPORT, "UDP"},
                                            {CPSIP_FLD_VIA_HOST, "10.0.0.2"},
                                            {CPSIP_FLD_VIA_PORT, "5061"},
                                            {CPSIP_FLD_VIA_PARM, "branch=z9hG4bK1"},
                                            {CPSIP_FLD_FROM_URI, "sip:studio@10.0.0.2"},
                                            {CPSIP_FLD_FROM_PARM, "tag=88"},
                                            {CPSIP_FLD_TO_URI, "sip:desk7@10.0.0.7"},
                                            {CPSIP_FLD_TO_PARM, "tag=1928"},
                                            {CPSIP_FLD_CALL_ID, "a84b4c76@10.0.0.7"},
                                            {CPSIP_FLD_REFER_TO_URI, "sip:gate@10.0.0.9"},
                                            {CPSIP_FLD_REPLACES, "425@10.0.0.9;to-tag=77;from-tag=64"},
                                            {CPSIP_FLD_REFERRED_BY_URI, "sip:studio@10.0.0.2"}}};
  for (const Field& field : kWritten) {
    if (cpsip_msg_write(*refer, field.id, 1, 1, field.text) != kAccessOk) return nullptr;
  }
  return refer;
}

class SipMessages : public testing::Test {
 protected:
  // The rows of the table that stands behind these words.
  [[nodiscard]] std::vector<Row> RowsBehind(std::string_view words, std::string_view titles) const {
    const std::size_t at = document_.text.find(words);
    EXPECT_NE(at, std::string::npos) << words;
    const std::vector<Row> rows =
        table_rows(document_.text.substr(std::min(at, document_.text.size())), titles);
    EXPECT_FALSE(rows.empty()) << words;
    return rows;
  }
  // Each row of received headers is written as it says.
  void ExpectTakenAs(const std::vector<Row>& rows) const {
    for (const Row& row : rows) {
      SCOPED_TRACE(row[0]);
      ASSERT_EQ(row.size(), 2U);
      const std::string written = written_of(datagram_of("", row[0]));
      const std::string name = row[0].substr(0, row[0].find(':') + 1);
      if (row[1] == "none") {
        EXPECT_TRUE(LinesWith(written, name).empty()) << written;
      } else {
        EXPECT_THAT(written, testing::HasSubstr("\r\n" + row[1] + "\r\n"));
      }
    }
  }

  const Document document_ = read_document(kSipDocument);
};

TEST_F(SipMessages, AreWrittenAsTheExampleShows) {
  const std::string received = wire_block(document_.text, "received");
  EXPECT_THAT(received, testing::StartsWith("\r\n")) << "blank lines ahead of it";
  DocumentScan scanned;
  scan_datagram(received, scanned);
  EXPECT_EQ(scanned.Status(), "none") << scanned.result;
  EXPECT_EQ(scanned.reports, "");
  EXPECT_EQ(written_of(received), wire_block(document_.text, "written"));
}

TEST_F(SipMessages, ThatAreBuiltAreWrittenAsTheExampleShows) {
  std::string code = block_text(document_.text, "cpp");
  for (std::size_t at = 0; at < code.size(); at = code.find('\n', at) + 1)
    code.insert(at, "  ");
  EXPECT_NE(read_source("tests/docs/sip_messages_doc_test.cpp").find(code), std::string::npos) << code;
  cpsip_msg_ptr refer = build_refer();
  ASSERT_NE(refer, nullptr);
  EXPECT_EQ(Wire(refer), wire_block(document_.text, "refer"));
}

TEST_F(SipMessages, AreForgivenWhatTheTableForgives) {
  const std::vector<Row> rows = RowsBehind("## What is forgiven", "| received | is taken as |");
  EXPECT_GE(rows.size(), 12U);
  ExpectTakenAs(rows);
}

TEST_F(SipMessages, TripOneUpAsTheTableTells) {
  const std::vector<Row> rows = RowsBehind("## What one trips over", "| received | is taken as |");
  EXPECT_GE(rows.size(), 6U);
  ExpectTakenAs(rows);
}

TEST_F(SipMessages, WithTheseFirstLinesEndAsTheTableTells) {
  const std::vector<Row> rows = table_rows(document_.text, "| first line | result | status |");
  EXPECT_GE(rows.size(), 11U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    DocumentScan scanned;
    scan_datagram(datagram_of(row[0], ""), scanned);
    EXPECT_EQ(std::to_string(scanned.result), row[1]);
    EXPECT_EQ(scanned.Status(), row[2]);
  }
}

TEST_F(SipMessages, WithTheseHeadersEndAsTheTableTells) {
  const std::vector<Row> rows = table_rows(document_.text, "| headers | result | status |");
  EXPECT_GE(rows.size(), 28U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    DocumentScan scanned;
    scan_datagram(datagram_of("", row[0]), scanned);
    EXPECT_EQ(std::to_string(scanned.result), row[1]);
    EXPECT_EQ(scanned.Status(), row[2]);
    // Without its last header there is nothing wrong with it.
    std::vector<std::string> headers = pieces_of(row[0]);
    headers.pop_back();
    if (headers.size() == 1 && row[0].find("soon") == std::string::npos) {
      DocumentScan first;
      scan_datagram(datagram_of("", headers[0]), first);
      EXPECT_EQ(first.Status(), "none");
    }
  }
}

TEST_F(SipMessages, WithTheseBodiesEndAsTheTableTells) {
  const std::vector<Row> rows =
      table_rows(document_.text, "| first line | header | body | result | status |");
  EXPECT_GE(rows.size(), 8U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0] + " / " + row[1] + " / " + row[2]);
    const std::string header = row[1].empty() ? "" : "`" + row[1] + "`";
    DocumentScan scanned;
    scan_datagram(datagram_of(row[0], "`Content-Type: application/sdp`" + header, row[2]), scanned);
    EXPECT_EQ(std::to_string(scanned.result), row[3]);
    EXPECT_EQ(scanned.Status(), row[4]);
  }
}

// Every result that a row has is explained, and the other way round.
TEST_F(SipMessages, HaveNoResultButThoseThatAreTold) {
  std::vector<std::string> told;
  for (const Row& row : table_rows(document_.text, "| result | | what happens |")) {
    told.push_back(row[0]);
    const bool stays = row[0] == "34" || row[0] == "37" || row[1] == "whole message";
    EXPECT_EQ(row[2] != "dropped", stays) << row[0];
  }
  std::vector<std::string> shown;
  for (const Row& row : table_rows(document_.text, "| first line | result | status |"))
    shown.push_back(row[1]);
  for (const Row& row : table_rows(document_.text, "| headers | result | status |"))
    shown.push_back(row[1]);
  for (const Row& row : table_rows(document_.text, "| first line | header | body | result | status |"))
    shown.push_back(row[3]);
  for (const std::string& result : told)
    EXPECT_THAT(shown, testing::Contains(result));
  for (const std::string& result : shown)
    EXPECT_THAT(told, testing::Contains(result));
  const std::string header = read_source("cpsip/cpsip_msg_scan.h");
  const std::size_t begin = header.find("enum cpsip_scan_result");
  const std::vector<std::string> results =
      all_between(header.substr(begin, header.find("};", begin) - begin), " = ", ",");
  EXPECT_GE(results.size(), 7U);
  for (const std::string& result : results)
    EXPECT_THAT(told, testing::Contains(result));
}

TEST_F(SipMessages, HaveTheRouteLinesOfTheTable) {
  const std::vector<Row> rows = table_rows(document_.text, "| outbound route | message | Route lines |");
  EXPECT_GE(rows.size(), 9U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0] + " " + row[1]);
    cpsip_msg_ptr msg = NewRequest();
    if (row[1] != "response") msg->method = cpsip_method{cpsip_find_method(row[1]).id};
    if (row[1] == "response") msg->method = cpsip_method::response;
    Put(*msg, CPSIP_FLD_ROUTE_URI, "sip:p1", 1);
    Put(*msg, CPSIP_FLD_ROUTE_URI, "sip:p2", 2);
    const std::vector<std::string> lines = LinesWith(Wire(msg, row[0]), "Route:");
    EXPECT_EQ(lines, row[2] == "none" ? std::vector<std::string>{} : pieces_of(row[2]));
  }
}

// The line numbers of the reports are those of the source, and not told.
TEST_F(SipMessages, MakeTheReportsOfTheExamples) {
  const auto without_lines = [](std::string reports) {
    for (std::size_t at = reports.find("line: "); at != std::string::npos;
         at = reports.find("line: ", at + 1))
      reports.erase(at + 6, reports.find('\r', at) - at - 6);
    return reports;
  };
  struct Case {
    const char* block;
    const char* headers;
    const char* body;
  };
  for (const Case& shown : {Case{"uxp", "`Content-Type: application/sdp`", "`v=0` `b=AS:64` `b=TIAS:64000`"},
                            Case{"uxp2", "`Expires: soon` `Event: dialog`", ""}}) {
    SCOPED_TRACE(shown.block);
    DocumentScan scanned;
    scan_datagram(datagram_of("", shown.headers, shown.body), scanned);
    EXPECT_EQ(without_lines(scanned.reports), without_lines(wire_block(document_.text, shown.block)));
  }
}

TEST_F(SipMessages, MakeReportsOfTheKindsOfTheTable) {
  const std::uint32_t place = cpapp_here(cpapp_module::cpsip_msg, 123);
  const std::string reports = ReportsOf([&] {
    cpapp_uxp(place);
    cpapp_uxp1(place, 400);
    cpapp_uxp2(place, 400, kHdrExpires);
    (void)std::printf("!!!FATAL ERR: ");  // ends the process
    cpsip_log_uxp_location(place);
  });
  EXPECT_NE(read_source("cpsip/cpapp.cpp").find("printf(\"!!!FATAL ERR: \")"), std::string::npos);
  std::string told;
  for (const Row& row : RowsBehind("## Diagnostics", "| line | |"))
    told += row[0] + "\r\n";
  EXPECT_EQ(told, reports);
}

TEST_F(SipMessages, ThatDoNotEndAreGone) {
  const std::string whole = datagram_of("", "`To: <sip:bob@10.0.0.2>`");
  for (std::size_t size = 1; size < whole.size(); ++size) {
    DocumentScan scanned;
    scan_datagram(whole.substr(0, size), scanned);
    EXPECT_EQ(scanned.Status(), "gone") << size;
  }
}

}  // namespace
}  // namespace hark::test

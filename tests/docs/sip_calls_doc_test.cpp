// What the document of SIP says of calls: the messages of the one that it shows, the responses that the stack
// makes by itself, times and limits, the errors of a line, and the lines of the log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cpsip/cpsip_dialog.h"
#include "cpsip/cpsip_service.h"
#include "cpsip/cpsip_socket.h"
#include "cpsip/cpsip_ua.h"
#include "cpsip/msg_fixture.h"
#include "docs/document.h"
#include "docs/log_table.h"
#include "docs/sip_document.h"
#include "docs/source_text.h"
#include "sipua/SipLine.h"

namespace hark::test {
namespace {

// The sources of a folder, one after the other.
std::string sources_of(const char* folder) {
  std::string text;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(HARK_SOURCE_DIR) / folder)) {
    if (entry.path().extension() == ".cpp") text += read_source(entry.path().string());
  }
  return text;
}

class SipCallsReference : public testing::Test {
 protected:
  [[nodiscard]] bool Says(const std::string& text) const {
    return document_.text.find(text) != std::string::npos;
  }

  const Document document_ = read_document(kSipDocument);
};

// Read and written anew, each is what it was.
TEST_F(SipCallsReference, ShowsTheMessagesOfACallAsTheStackWritesThem) {
  for (const std::string_view name : {"invite", "answered", "acknowledged", "hung-up"}) {
    SCOPED_TRACE(name);
    const std::string block = wire_block(document_.text, name);
    DocumentScan scanned;
    scan_datagram(block, scanned);
    ASSERT_EQ(scanned.Status(), "none") << scanned.reports;
    EXPECT_EQ(scanned.reports, "");
    scanned.scan.scan_msg->include_allow = true;
    EXPECT_EQ(Wire(scanned.scan.scan_msg), block);
  }
}

TEST_F(SipCallsReference, HasEveryResponseThatTheStackMakesWithItsReason) {
  const std::string sources = sources_of("cpsip");
  std::set<std::string> told;
  for (const Row& row : table_rows(document_.text, "| response | to |")) {
    SCOPED_TRACE(row[0]);
    const std::string code = row[0].substr(0, 3);
    const std::string reason = row[0].substr(4);
    told.insert(code);
    const bool usual = cpsip_ua_reason(static_cast<std::uint16_t>(std::stoi(code))) == reason;
    EXPECT_TRUE(usual || sources.find("\"" + reason + "\"") != std::string::npos);
  }
  const std::set<std::string> made{"100", "200", "400", "406", "413", "414", "415", "416",
                                   "420", "481", "482", "487", "489", "501", "505"};
  EXPECT_EQ(told, made);
  for (const char* call : {"cpsip_ua_response(", "scan_status = ", "*arrival.msg, "}) {
    for (const std::string& word : all_between(sources, call, ",")) {
      if (word.find_first_not_of("0123456789") == std::string::npos && word.size() == 3) {
        EXPECT_THAT(made, testing::Contains(word)) << call;
      }
    }
  }
  const std::string lines = sources_of("sipua");
  for (const std::string& word :
       all_between(document_.text, "These come from the lines: ", "No answer gets")) {
    const std::vector<std::string> responses = all_between(word, "`", "`");
    EXPECT_EQ(responses.size(), 5U);
    for (const std::string& response : responses)
      EXPECT_NE(lines.find(response.substr(0, 3) + ", \"" + response.substr(4) + "\""), std::string::npos)
          << response;
  }
}

TEST_F(SipCallsReference, HasTheLimitsOfTheStack) {
  const std::vector<Row> rows = table_rows(document_.text, "| what is kept | at most | beyond it |");
  const std::vector<std::size_t> limits{kMaxDialogs,          kMaxTransactions, kMaxDialogTransactions,
                                        kMaxDialogsOfOneCall, kMaxSockets,      1024};
  ASSERT_EQ(rows.size(), limits.size());
  for (std::size_t i = 0; i < rows.size(); ++i)
    EXPECT_EQ(rows[i][1], std::to_string(limits[i])) << rows[i][0];
  EXPECT_NE(read_source("cpsip/cpsip_transport_send.cpp").find("kMaxWaiting = 1024;"), std::string::npos);
}

TEST_F(SipCallsReference, HasTheTimesOfStackAndLines) {
  const cpsip_ua_parms parms;
  EXPECT_TRUE(Says("T1 is " + std::to_string(parms.nT1) + " ms, T2 " + std::to_string(parms.nT2 / 1000) +
                   " s, T4 " + std::to_string(parms.nT4 / 1000) + " s"));
  EXPECT_TRUE(
      Says("| it is given up | after " + std::to_string(64 * parms.nT1 / 1000) + " s; the call is off |"));
  EXPECT_TRUE(Says("| after " + std::to_string(kProgressMs / 1000) + " s the call is dropped |"));
  EXPECT_TRUE(Says("| after " + std::to_string(kDisconnectMs / 1000) + " s the line is free, "));
}

TEST_F(SipCallsReference, HasEveryLocalStatusWithItsName) {
  const std::string names = read_source("sipua/SipServiceUA.cpp");
  const std::map<std::string, std::string> codes{
      {"2", "kStatusTimerB"},         {"6", "kStatusTimerF"},    {"32", "kStatusClearStuckDialog"},
      {"33", "kStatusPortConfigErr"}, {"34", "kStatusTimer2xx"}, {"42", "kStatusInviteFailed"},
      {"999", "kStatusDialogDeleted"}};
  const std::string header = read_source("cpsip/cpsip_service.h");
  const std::vector<Row> rows =
      table_rows(document_.text, "| status | name | what has happened | the line |");
  ASSERT_EQ(rows.size(), codes.size());
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    ASSERT_TRUE(codes.contains(row[0]));
    const std::string& constant = codes.at(row[0]);
    EXPECT_NE(header.find(constant + " = " + row[0] + ","), std::string::npos);
    if (row[1].empty()) continue;
    EXPECT_NE(names.find("{" + constant + ", \"" + row[1] + "\"}"), std::string::npos);
  }
}

TEST_F(SipCallsReference, HasEveryErrorOfALineWithItsTexts) {
  const std::string sources = sources_of("sipua");
  const std::vector<Row> rows = table_rows(document_.text, "| error | text | what it is |");
  const std::vector<unsigned> numbers{kLineErrorRefused, kLineErrorTimeout, kLineErrorMedia,
                                      kLineErrorIndex,   kLineErrorNotSent, kLineErrorMap};
  ASSERT_EQ(rows.size(), numbers.size() + 1);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i][0]);
    if (i < numbers.size()) {
      EXPECT_EQ(rows[i][0], std::to_string(numbers[i]));
    }
    for (const std::string& text :
         pieces_of(rows[i][1].find('`') != std::string::npos ? rows[i][1] : "`" + rows[i][1] + "`"))
      EXPECT_NE(sources.find("\"" + text + "\""), std::string::npos) << text;
  }
}

TEST_F(SipCallsReference, HasEveryLogLineWithItsLevel) {
  std::vector<LogText> messages = log_texts(read_source("callctl/line_events.cpp"), "syslog");
  for (const LogText& more : log_texts(read_source("callctl/modifycall.cpp"), "syslog"))
    messages.push_back(more);
  EXPECT_GE(messages.size(), 13U);
  expect_log_table(document_, messages);
}

}  // namespace
}  // namespace hark::test

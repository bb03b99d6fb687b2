// What the document of the links says beside its examples: the forms of a tag, the mark of a talker, log
// lines, ports and times, against the program.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/qnrlib/qnrcli.h"
#include "daemon/station/station.h"
#include "docs/document.h"
#include "docs/log_table.h"
#include "docs/source_text.h"
#include "routing/qncpptt_private.h"
#include "routing/qnrifb_private.h"

namespace hark::test {
namespace {

class LinksReference : public testing::Test {
 protected:
  [[nodiscard]] bool Says(const std::string& text) const {
    return document_.text.find(text) != std::string::npos;
  }

  const Document document_ = read_document("docs/links.md");
  const std::string ifb_ = read_source("routing/qnrifb.cpp");
  const std::string connections_ = read_source("routing/qnrifb_con.cpp");
  const std::string ptt_ = read_source("routing/qncpptt.cpp");
};

TEST_F(LinksReference, ReadsEveryFormOfTheTagAsTheProgramDoes) {
  const std::vector<Row> rows = table_rows(document_.text, "| `ifb=` | address |");
  EXPECT_GE(rows.size(), 10U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    IfbAddress read;
    const int error = parse_daddr(row[0].c_str(), read);
    ASSERT_EQ(row.size(), 5U);
    EXPECT_EQ(error != 0, row[1] == "error");
    if (error != 0) continue;
    EXPECT_STREQ(dotted(read.addr.sin_addr.s_addr).data(), row[1].c_str());
    EXPECT_EQ(std::to_string(ntohs(read.addr.sin_port)), row[2]);
    EXPECT_EQ(read.password, row[3]);
    EXPECT_EQ(std::to_string(read.dst), row[4]);
  }
}

TEST_F(LinksReference, KnowsATalkerByItsMarkAsTheProgramDoes) {
  const std::vector<Row> rows = table_rows(document_.text, "| `ADDR:` | taken |");
  EXPECT_GE(rows.size(), 7U);
  for (const Row& row : rows)
    EXPECT_EQ(qnrifb_check_ptt_tag(row[0].c_str()) ? "yes" : "no", row[1]) << row[0];
  EXPECT_TRUE(Says("`" + std::string(qnrp_ptt_tag) + "`"));
}

TEST_F(LinksReference, HasEveryLogLineWithItsLevel) {
  std::vector<LogText> messages = log_texts(ptt_, "syslog");
  const auto add = [&](const std::vector<LogText>& more) {
    messages.insert(messages.end(), more.begin(), more.end());
  };
  add(log_texts(ifb_, "syslog"));
  add(log_texts(ifb_, "log_port", "qnrifb ", " %s:%d/%d %s"));
  const std::string record = "0x%lX qnrifb %s:%d ";
  add(log_texts(connections_, "log_con", record));
  for (const std::string& why : all_between(connections_, "drop(conn, \"", "\")"))
    messages.push_back({3, record + why});
  EXPECT_EQ(messages.size(), 16U) << "one was not recognised, or is new";
  // Where level or text are chosen, or made, at the call.
  EXPECT_NE(connections_.find("log_con(kLogError, conn, what.data())"), std::string::npos);
  EXPECT_NE(connections_.find("format_text(what, \"connect error %d\", error)"), std::string::npos);
  messages.push_back({3, record + "connect error %d"});
  EXPECT_NE(ifb_.find("log_port(port.conflict ? kLogWarning : kLogInfo, port.conflict ? \"conflict\" : "
                      "\"active\", port, value)"),
            std::string::npos);
  messages.push_back({4, "qnrifb conflict %s:%d/%d %s"});
  messages.push_back({6, "qnrifb active %s:%d/%d %s"});
  EXPECT_NE(ptt_.find("syslog(kLogError, \"qncpptt %s error %d\", what, errno)"), std::string::npos);
  expect_log_table(document_, messages);
  for (const std::string& what : all_between(ptt_, "fail(\"", "\")"))
    EXPECT_TRUE(Says("`qncpptt " + what + " error ")) << what;
}

TEST_F(LinksReference, HasEveryTextOfStandardError) {
  std::vector<std::string> texts = all_between(connections_, "fail(conn, \"", "\")");
  const std::vector<std::string> reasons = all_between(ptt_, "perror(\"", "\")");
  texts.insert(texts.end(), reasons.begin(), reasons.end());
  for (const std::string& said : all_between(connections_, "fputs(\"", "\\n\""))
    texts.push_back(said);
  EXPECT_THAT(texts, testing::IsSupersetOf({"qnrifb_connect", "qnrifb_connect socket", "qncpptt_initialize",
                                            "qnrifb tx buffer overrun"}));
  for (const std::string& text : texts)
    EXPECT_TRUE(Says("`" + text + "`") || Says("`" + text + ": ")) << text;
}

TEST_F(LinksReference, HasPortsGroupAndSizesOfTheProgram) {
  EXPECT_TRUE(Says("| IFB link | TCP " + std::to_string(kQnrDefaultPort) + " of the device"));
  const std::string group = dotted(qncpptt.req_addr.sin_addr.s_addr).data();
  EXPECT_TRUE(Says("multicast " + group + " port " + std::to_string(ntohs(qncpptt.req_addr.sin_port))));
  EXPECT_TRUE(Says("UDP port " + std::to_string(qncpptt.local_port) + " of the station"));
  EXPECT_TRUE(Says("tcpdump -A -n host " + group));
  EXPECT_TRUE(Says("password has " + std::to_string(kIfbPasswordSize - 1) + " characters at most"));
  EXPECT_TRUE(Says("line of more than " + std::to_string(rx_size - 1) + " bytes"));
  EXPECT_TRUE(Says("nothing of " + std::to_string(tx_size) + " bytes"));
}

TEST_F(LinksReference, HasTheTimesOfTheProgram) {
  struct Fact {
    const std::string& source;
    std::string_view code;
    std::string_view words;
  };
  const std::array<Fact, 6> facts{{
      {connections_, "kIdleUs = 30'000'000;", "It stays for 30 s when its last talk has ended"},
      {ptt_, "kLeaseMs = 5000;", "after\n5000 ms"},
      {ptt_, "kConfirmedUs = 5'000'000;", "holds a confirmation for 5 s"},
      {ptt_, "kFirstRenewalUs = 50'000;", "again after 50 ms"},
      {ptt_, "kRenewalUs = 2'000'000;", "then every 2 s"},
      {ptt_, "kMostReceived = 64;", "first 64 bytes of a datagram"},
  }};
  for (const Fact& fact : facts) {
    EXPECT_NE(fact.source.find(fact.code), std::string::npos) << fact.code;
    EXPECT_TRUE(Says(std::string(fact.words))) << fact.words;
  }
}

}  // namespace
}  // namespace hark::test

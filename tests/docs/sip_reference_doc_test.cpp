// The tables of the SIP stack's document that list what the program has: methods, headers, events, states and
// limits; and that the words about them are so.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cpsip/cpsip_uri.h"
#include "cpsip/msg_fixture.h"
#include "docs/document.h"
#include "docs/sip_document.h"
#include "docs/source_text.h"

namespace hark::test {
namespace {

// Rows of a table of the program as "text number", without its last.
template <typename Table>
std::set<std::string> entries(const Table& table) {
  std::set<std::string> found;
  for (std::size_t i = 0; i + 1 < table.size(); ++i)
    found.insert(std::string(table[i].text) + " " + std::to_string(table[i].id));
  return found;
}

class SipReference : public testing::Test {
 protected:
  [[nodiscard]] bool Says(const std::string& text) const {
    std::istringstream in(document_.text);
    std::string words;
    for (std::string word; in >> word;)
      words += word + " ";
    return words.find(text) != std::string::npos;
  }
  // The first two cells of each row, as "text number".
  [[nodiscard]] std::set<std::string> Told(std::string_view titles) const {
    std::set<std::string> told;
    for (const Row& row : table_rows(document_.text, titles))
      told.insert(row[0] + " " + row[1]);
    return told;
  }

  const Document document_ = read_document(kSipDocument);
};

TEST_F(SipReference, HasEveryMethod) {
  std::set<std::string> methods = entries(Cpsip_method_table);
  EXPECT_EQ(methods.erase("SIP/ 0"), 1U) << "the row of responses";
  methods.insert("any other " + std::to_string(Cpsip_method_table.back().id));
  EXPECT_EQ(Told("| method | number |"), methods);
  EXPECT_TRUE(Says("A response is method 0."));
  EXPECT_EQ(cpsip_find_method("INVITEX").id, 1);
  EXPECT_EQ(cpsip_find_method("invite").id, kMethodEndId);
}

TEST_F(SipReference, HasEveryHeaderWithItsCompactForm) {
  std::map<unsigned, std::set<std::string>> names;
  for (std::size_t i = 0; i + 1 < Cpsip_hdr_table.size(); ++i)
    names[Cpsip_hdr_table[i].id].insert(Cpsip_hdr_table[i].text);
  std::set<unsigned> told;
  for (const Row& row : table_rows(document_.text, "| header | compact | what is read | written |")) {
    SCOPED_TRACE(row[0]);
    ASSERT_EQ(row.size(), 4U);
    const cpsip_row& header = cpsip_find_hdr(row[0]);
    EXPECT_TRUE(told.insert(header.id).second) << "twice";
    if (row[0] == "any other") continue;
    std::set<std::string> both{row[0]};
    if (!row[1].empty()) both.insert(row[1]);
    EXPECT_EQ(names[header.id], both);
  }
  EXPECT_EQ(told.size(), names.size() + 1);
}

// A message that has them all is written with the lines of the table, in its order.
TEST_F(SipReference, TellsWhichHeadersAreWrittenAndInWhichOrder) {
  std::string headers;
  std::vector<std::string> told;
  for (const Row& row : table_rows(document_.text, "| header | compact | what is read | written |")) {
    if (row[3] != "no") told.push_back(row[0]);
    if (row[0] == "any other") {
      headers.insert(0, "X-Room: 12\r\n");
      continue;
    }
    const std::string value = row[0] == "Event"                ? "refer"
                              : row[0] == "Subscription-State" ? "active"
                              : row[0] == "Via"                ? "SIP/2.0/UDP 10.0.0.7"
                              : row[0] == "Content-Type"       ? "application/sdp"
                              : row[0] == "Content-Length"     ? "5"
                                                               : "7";
    headers.insert(0, row[0] + ": " + value + "\r\n");
  }
  DocumentScan scanned;
  scan_datagram("OPTIONS sip:studio@10.0.0.2 SIP/2.0\r\n" + headers + "\r\nv=0\r\n", scanned);
  ASSERT_EQ(scanned.Status(), "none");
  scanned.scan.scan_msg->include_allow = true;
  scanned.scan.scan_msg->cseq_method = cpsip_method::options;
  const std::string wire = Wire(scanned.scan.scan_msg);
  const std::string lines = wire.substr(0, wire.find("\r\n\r\n") + 2);
  std::vector<std::string> written;
  for (std::size_t at = lines.find("\r\n") + 2; at < lines.size(); at = lines.find("\r\n", at) + 2)
    written.push_back(lines.substr(at, lines.find(':', at) - at));
  EXPECT_EQ(written, told);
}

TEST_F(SipReference, HasEveryEventAndSubscriptionState) {
  EXPECT_EQ(Told("| event | number |"), entries(Cpsip_event_hdr_table));
  EXPECT_EQ(Told("| subscription state | number | read by |"), entries(Cpsip_subscr_state_hdr_table));
  for (const Row& row : table_rows(document_.text, "| subscription state | number | read by |")) {
    const auto state = std::find_if(Cpsip_subscr_state_hdr_table.begin(), Cpsip_subscr_state_hdr_table.end(),
                                    [&](const cpsip_row& one) { return row[0] == one.text; });
    EXPECT_EQ(state->key(), row[2]);
  }
}

TEST_F(SipReference, HasTheLimitsOfTheProgram) {
  struct Limit {
    std::string_view begin;  // of the row
    std::size_t most;
  };
  const std::vector<Limit> limits{{
      {"bytes of a datagram", kSocketBlockSize},
      {"bytes of one value", kMaxToken},
      {"bytes of a value where messages are copied", kMaxFieldText},
      {"characters of a method", kMaxUnknownMethod},
      {"characters of a URI", kMaxUri},
      {"digits of a CSeq", 10},
      {"digits of Expires", 9},
      {"headers of a kind", 255},
      {"bytes of a session description", kMaxSdpBody},
      {"characters of a word", kCpsdpMaxToken},
      {"words of a line", 32},
      {"characters of a text", kCpsdpMaxText},
      {"media", kCpsdpMaxMedia},
      {"payload numbers", kCpsdpMaxFormats},
      {"attributes of a session", kCpsdpMaxAttributes},
      {"`e=` lines", kCpsdpMaxContacts},
      {"characters of an attribute", 128},
  }};
  const std::vector<Row> rows = table_rows(document_.text, "| what | at most | beyond |");
  ASSERT_EQ(rows.size(), limits.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_TRUE(rows[i][0].starts_with(limits[i].begin)) << rows[i][0];
    EXPECT_EQ(rows[i][1], std::to_string(limits[i].most)) << rows[i][0];
  }
  EXPECT_EQ(kCpsdpMaxEncoded, kMaxSdpBody);
  // Where a limit is known in its source alone.
  const std::string scanner = read_source("cpsip/cpsip_msg_scan.cpp");
  EXPECT_NE(scanner.find("kMostDigits = 10;"), std::string::npos);
  EXPECT_NE(scanner.find("kMostDigits = 9;"), std::string::npos);
  EXPECT_THAT(read_source("cpsdp/cpsdp_parse.cpp"), testing::ContainsRegex("kMaxTokens =[[:space:]]+32;"));
  EXPECT_NE(read_source("cpsdp/cpsdp_negotiate.cpp").find("kMaxComparedAttribute = 128;"), std::string::npos);
}

// What just fits passes, and what is one more does not.
TEST_F(SipReference, HasLimitsThatAreExact) {
  const auto ends = [](const std::string& headers, const std::string& body = {}) {
    DocumentScan scanned;
    scan_datagram(datagram_of("", headers) + body, scanned);
    return std::to_string(scanned.result) + " " + scanned.Status();
  };
  EXPECT_EQ(ends("Subject: {300}"), "0 none");
  EXPECT_EQ(ends("Subject: {301}"), "6 ");
  EXPECT_EQ(ends("CSeq: 1234567890 INVITE"), "0 none");
  EXPECT_EQ(ends("Expires: 123456789"), "0 none");
  EXPECT_EQ(ends("Content-Type: application/sdp", std::string(1024, 'a')), "0 none");
  EXPECT_EQ(ends("Content-Type: application/sdp", std::string(1025, 'a')), "0 413");
  std::string contacts = "m: <a>";
  for (int i = 1; i < 260; ++i)
    contacts += ",<a>";
  DocumentScan many;
  scan_datagram(datagram_of("", "`" + contacts + "`"), many);
  ASSERT_EQ(many.Status(), "none");
  EXPECT_EQ(many.scan.scan_msg->contact_count, 260 - 256);
}

TEST_F(SipReference, TellsWhatBecomesOfAnIpv6HostInAVia) {
  DocumentScan scanned;
  scan_datagram(datagram_of("", "Via: SIP/2.0/UDP [2001:db8::7]:5060;rport"), scanned);
  ASSERT_EQ(scanned.Status(), "none");
  cpsip_msg& msg = *scanned.scan.scan_msg;
  EXPECT_TRUE(Says("becomes the host `" + Text(msg, CPSIP_FLD_VIA_HOST) + "` and the port `" +
                   Text(msg, CPSIP_FLD_VIA_PORT) + "`"));
}

TEST_F(SipReference, IsLedTo) {
  for (const char* name : {"README.md", "docs/architecture.md", "docs/control-port.md"})
    EXPECT_NE(read_source(name).find("sip.md"), std::string::npos) << name;
  EXPECT_NE(read_source("bench/README.md").find("(sip/README.md)"), std::string::npos);
}

}  // namespace
}  // namespace hark::test

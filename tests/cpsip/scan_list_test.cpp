// Headers that are lists of words, and those that the table does not have.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

struct ListHeader {
  const char* name;
  std::uint8_t cpsip_msg::*count;
  std::uint16_t cpsip_msg::*head;
};

constexpr ListHeader kLists[] = {
    {"Allow", &cpsip_msg::allow_count, &cpsip_msg::allow_head},
    {"Require", &cpsip_msg::require_count, &cpsip_msg::require_head},
    {"Proxy-Require", &cpsip_msg::proxy_require_count, &cpsip_msg::proxy_require_head},
    {"Supported", &cpsip_msg::supported_count, &cpsip_msg::supported_head},
    {"Unsupported", &cpsip_msg::unsupported_count, &cpsip_msg::unsupported_head},
    {"Accept", &cpsip_msg::accept_count, &cpsip_msg::accept_head},
    {"Allow-Events", &cpsip_msg::allow_events_count, &cpsip_msg::allow_events_head},
    {"u", &cpsip_msg::allow_events_count, &cpsip_msg::allow_events_head},
};

struct ItemsRow {
  std::string value;
  Texts items;
  int scan_status;
};

TEST(ScanList, ItemsOfALineAreOnOneInstance) {
  const ItemsRow rows[] = {
      {"INVITE", {"INVITE"}, 0},
      {"INVITE,ACK,BYE", {"INVITE", "ACK", "BYE"}, 0},
      {"INVITE, ACK,\r\n BYE", {"INVITE", "ACK", "BYE"}, 0},
      {"a , b", {"a ", "b"}, 0},
      {"application/sdp;level=1, text/html", {"application/sdp;level=1", "text/html"}, 0},
      {"\"a,b\",c", {"\"a,b\"", "c"}, 0},
      {"\"a\\\",b\",c", {"\"a\\\",b\"", "c"}, 0},
      {"(a,b)", {"(a", "b)"}, 0},
      {"a;;b", {"a;;b"}, 0},
      {"a,", {"a"}, 0},
      {",a", {"a"}, 0},
      {"a, ,b", {"a", "b"}, 0},
      {"", {}, 0},
      {"  ", {}, 0},
      {",", {}, 0},
      {"a,,b", {"a", "b"}, 400},
      {"a,,,b", {"a", "b"}, 400},
  };
  for (const ListHeader& header : kLists) {
    for (const ItemsRow& row : rows) {
      SCOPED_TRACE(::testing::PrintToString(header.name + (": " + row.value)));
      const Scanned scanned =
          Scan(Request(std::string{header.name} + ": " + row.value + "\r\nCall-ID: next\r\n"));
      ASSERT_TRUE(scanned.IsWhole());
      const cpsip_msg& msg = scanned.msg();
      EXPECT_EQ(msg.*header.count, 1);
      EXPECT_EQ(Chain(msg, msg.*header.head).size(), 1U);
      EXPECT_EQ(ParmsOf(msg, msg.*header.head), row.items);
      EXPECT_EQ(msg.scan_status, row.scan_status);
      EXPECT_EQ(TextOf(msg.call_id), "next");
    }
  }
}

TEST(ScanList, EachLineIsAnInstance) {
  for (const ListHeader& header : kLists) {
    SCOPED_TRACE(header.name);
    const std::string name = header.name;
    const Scanned scanned =
        Scan(Request(name + ": a,b\r\nTo: sip:t\r\n" + name + ":\r\n" + name + ": c\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    const cpsip_msg& msg = scanned.msg();
    EXPECT_EQ(msg.*header.count, 3);
    EXPECT_EQ(Chain(msg, msg.*header.head), (Texts{name + ": a,b\r\n", name + ":\r\n", name + ": c\r\n"}));
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 1), (Texts{"a", "b"}));
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 2), Texts{});
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 3), Texts{"c"});
  }
}

TEST(ScanUnknown, IsKeptAsItsWholeLine) {
  for (const std::string line :
       {"k: replaces", "e: gzip", "a: b", "Content-Encoding: gzip", "Authorization: Digest a=\"b\", c=d",
        "WWW-Authenticate: Digest realm=\"x\"", "Date: Thu, 01 Dec 1994 16:00:00 GMT", "X-Thing:", "~: x",
        ": no name", "To\xC3\xA4: x", "Tox: sip:a", "x : a,,b;;c<d", "To[: x"}) {
    SCOPED_TRACE(line);
    const Scanned scanned = Scan(Request("To: sip:t\r\n" + line + "\r\nCall-ID: next\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    const cpsip_msg& msg = scanned.msg();
    EXPECT_EQ(msg.unknown_count, 1);
    EXPECT_EQ(Chain(msg, msg.unknown_head), Texts{line + "\r\n"});
    EXPECT_EQ(msg.scan_status, 0);
    EXPECT_EQ(TextOf(msg.to_uri), "sip:t");
    EXPECT_EQ(TextOf(msg.call_id), "next");
  }
}

TEST(ScanUnknown, SeveralAreKeptInTheirOrder) {
  const Scanned scanned = Scan(Request("x: 1\r\nTo: sip:t\r\ny: 2\r\nx: 3\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().unknown_count, 3);
  EXPECT_EQ(Chain(scanned.msg(), scanned.msg().unknown_head), (Texts{"x: 1\r\n", "y: 2\r\n", "x: 3\r\n"}));
}

TEST(ScanUnknown, IsUnfoldedAndOtherwiseLeftAsItLies) {
  const Scanned scanned = Scan(Request("X-Thing: a\r\n b\tc\x01\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(Chain(scanned.msg(), scanned.msg().unknown_head), Texts{"X-Thing: a   b\tc\x01\r\n"});
}

}  // namespace
}  // namespace hark::test

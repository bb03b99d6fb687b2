// Headers that hold a name and an address: To, From, Contact, Route, Record-Route, Refer-To, Referred-By.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

struct NameAddrRow {
  std::string value;
  std::string display;
  std::string uri;
  Texts parms;
};

const NameAddrRow kGood[] = {
    {"sip:b@h", "", "sip:b@h", {}},
    {"sip:b@h;tag=1", "", "sip:b@h", {"tag=1"}},
    {"sip:b@h;tag=1;x", "", "sip:b@h", {"tag=1", "x"}},
    {"sip:b@h ; tag=1", "", "sip:b@h ", {"tag=1"}},
    {"<sip:b@h>", "", "sip:b@h", {}},
    {"<sip:b@h>;tag=1", "", "sip:b@h", {"tag=1"}},
    {"<sip:b@h> ; tag=1 ; x", "", "sip:b@h", {"tag=1 ", "x"}},
    {"<sip:b@h;lr>;tag=1", "", "sip:b@h;lr", {"tag=1"}},
    {"<sip:b?x=1,2>;tag=1", "", "sip:b?x=1,2", {"tag=1"}},
    {"<sip:b>?x=1;tag=2", "", "sip:b", {"x=1", "tag=2"}},
    {"Bob <sip:b@h>", "Bob", "sip:b@h", {}},
    {"Bob<sip:b@h>", "Bob", "sip:b@h", {}},
    {"Bob  <sip:b@h>", "Bob ", "sip:b@h", {}},  // one blank is cut
    {"Bob B. <sip:b@h>", "Bob B.", "sip:b@h", {}},
    {"\"Bob\" <sip:b@h>", "\"Bob\"", "sip:b@h", {}},
    {"\"B, b\" <sip:b@h>", "\"B, b\"", "sip:b@h", {}},
    {"\"B\" <sip:b@h>;x=\"1,2\";y", "\"B\"", "sip:b@h", {"x=\"1,2\"", "y"}},
    {"\"a<b\" <sip:b>", "\"a", "b\" <sip:b", {}},  // quotes do not protect a "<"
    {"<>", "", "", {}},
    {"", "", "", {}},
    {"*", "", "*", {}},
    {"sip:a?x=1", "", "sip:a?x=1", {}},
    {"sip:a, sip:b", "", "sip:a, sip:b", {}},  // nothing but brackets makes a list
    {"<sip:[::1]:5060>", "", "sip:[::1]:5060", {}},
    {"<sip:a>;", "", "sip:a", {}},
    {"<sip:a>; ;x", "", "sip:a", {"x"}},
    {"<sip:a\tb>", "", "sip:ab", {}},
};

struct HeaderRow {
  const char* name;
  cpsip_field cpsip_msg::*line;
  cpsip_field cpsip_msg::*display;
  cpsip_field cpsip_msg::*uri;
};

// Headers that stand once: name, whole line, display name, URI.
constexpr HeaderRow kSingle[] = {
    {"To", &cpsip_msg::to, &cpsip_msg::to_display, &cpsip_msg::to_uri},
    {"From", &cpsip_msg::from, &cpsip_msg::from_display, &cpsip_msg::from_uri},
    {"Refer-To", &cpsip_msg::refer_to, &cpsip_msg::refer_to_display, &cpsip_msg::refer_to_uri},
    {"Referred-By", &cpsip_msg::referred_by, &cpsip_msg::referred_by_display, &cpsip_msg::referred_by_uri},
};

struct ChainRow {
  const char* name;
  std::uint8_t cpsip_msg::*count;
  std::uint16_t cpsip_msg::*head;
  std::uint16_t cpsip_msg::*display;
  std::uint16_t cpsip_msg::*uri;
};

// Headers that repeat: name, count, and their three chains.
constexpr ChainRow kRepeating[] = {
    {"Contact", &cpsip_msg::contact_count, &cpsip_msg::contact_head, &cpsip_msg::contact_display_head,
     &cpsip_msg::contact_uri_head},
    {"Route", &cpsip_msg::route_count, &cpsip_msg::route_head, &cpsip_msg::route_display_head,
     &cpsip_msg::route_uri_head},
    {"Record-Route", &cpsip_msg::record_route_count, &cpsip_msg::record_route_head,
     &cpsip_msg::record_route_display_head, &cpsip_msg::record_route_uri_head},
};

TEST(ScanNameAddr, SingleHeadersTakeDisplayNameUriAndParameters) {
  for (const HeaderRow& header : kSingle) {
    for (const NameAddrRow& row : kGood) {
      const std::string line = std::string{header.name} + ": " + row.value + "\r\n";
      SCOPED_TRACE(::testing::PrintToString(line));
      const Scanned scanned = Scan(Request(line + "Call-ID: next\r\n"));
      ASSERT_TRUE(scanned.IsWhole());
      const cpsip_msg& msg = scanned.msg();
      EXPECT_EQ(TextOf(msg.*header.display), row.display);
      EXPECT_EQ(TextOf(msg.*header.uri), row.uri);
      EXPECT_EQ(Parms(msg, msg.*header.line), row.parms);
      EXPECT_EQ((msg.*header.line).length, line.size()) << "the record is the whole line";
      EXPECT_EQ(msg.scan_status, 0);
      EXPECT_EQ(TextOf(msg.call_id), "next");
    }
  }
}

TEST(ScanNameAddr, RepeatingHeadersTakeDisplayNameUriAndParameters) {
  for (const ChainRow& header : kRepeating) {
    for (const NameAddrRow& row : kGood) {
      const std::string line = std::string{header.name} + ": " + row.value + "\r\n";
      SCOPED_TRACE(::testing::PrintToString(line));
      const Scanned scanned = Scan(Request(line + "Call-ID: next\r\n"));
      ASSERT_TRUE(scanned.IsWhole());
      const cpsip_msg& msg = scanned.msg();
      EXPECT_EQ(msg.*header.count, 1);
      EXPECT_EQ(Chain(msg, msg.*header.head).size(), 1U);
      EXPECT_EQ(Chain(msg, msg.*header.display), Texts{row.display});
      EXPECT_EQ(Chain(msg, msg.*header.uri), Texts{row.uri});
      EXPECT_EQ(ParmsOf(msg, msg.*header.head), row.parms);
      EXPECT_EQ(msg.fields[msg.*header.head].length, line.size());
      EXPECT_EQ(msg.scan_status, 0);
      EXPECT_EQ(TextOf(msg.call_id), "next");
    }
  }
}

TEST(ScanNameAddr, CommaListIsOneInstanceForEachValue) {
  for (const ChainRow& header : kRepeating) {
    SCOPED_TRACE(header.name);
    const Scanned scanned =
        Scan(Request(std::string{header.name} +
                     ": <sip:a>,B <sip:b>;x , <sip:c>;y=\"1,2\";z,\"D\" <sip:d>\r\nTo: sip:t\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    const cpsip_msg& msg = scanned.msg();
    EXPECT_EQ(msg.*header.count, 4);
    EXPECT_EQ(Chain(msg, msg.*header.display), (Texts{"", "B", "", "\"D\""}));
    EXPECT_EQ(Chain(msg, msg.*header.uri), (Texts{"sip:a", "sip:b", "sip:c", "sip:d"}));
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 1), Texts{});
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 2), Texts{"x "});
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 3), (Texts{"y=\"1,2\"", "z"}));
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 4), Texts{});
    EXPECT_EQ(TextOf(msg.to_uri), "sip:t") << "the list ends with its line";
  }
}

TEST(ScanNameAddr, ListsAndLinesAddUpInTheirOrder) {
  for (const ChainRow& header : kRepeating) {
    SCOPED_TRACE(header.name);
    const std::string name = header.name;
    const Scanned scanned =
        Scan(Request(name + ": A <sip:a>,<sip:b>\r\nTo: sip:t\r\n" + name + ": sip:c;x\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    const cpsip_msg& msg = scanned.msg();
    EXPECT_EQ(msg.*header.count, 3);
    EXPECT_EQ(Chain(msg, msg.*header.display), (Texts{"A", "", ""}));
    EXPECT_EQ(Chain(msg, msg.*header.uri), (Texts{"sip:a", "sip:b", "sip:c"}));
    EXPECT_EQ(ParmsOf(msg, msg.*header.head, 3), Texts{"x"});
  }
}

TEST(ScanNameAddr, DoubledCommaSetsStatus400) {
  const Scanned scanned = Scan(Request("m: <sip:a>,,<sip:b>\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().scan_status, 400);
  const Texts uris = Chain(scanned.msg(), scanned.msg().contact_uri_head);
  ASSERT_GE(uris.size(), 2U);
  EXPECT_EQ(uris.front(), "sip:a");
  EXPECT_EQ(uris.back(), "sip:b");
}

TEST(ScanNameAddr, SecondSingleHeaderSetsStatus400AndTheFirstStays) {
  for (const HeaderRow& header : kSingle) {
    const std::string name = header.name;
    for (const std::string& second : {std::string{": B <sip:b>;y"}, std::string{": sip:b"},
                                      std::string{": <sip:b"}, ": " + std::string(400, 'x')}) {
      SCOPED_TRACE(name + second);
      const Scanned scanned =
          Scan(Request(name + ": A <sip:a>;x\r\n" + name + second + "\r\nCall-ID: next\r\n"));
      ASSERT_TRUE(scanned.IsWhole());
      const cpsip_msg& msg = scanned.msg();
      EXPECT_EQ(msg.scan_status, 400);
      EXPECT_EQ(TextOf(msg.*header.line), name + ": A <sip:a>;x\r\n");
      EXPECT_EQ(TextOf(msg.*header.display), "A");
      EXPECT_EQ(TextOf(msg.*header.uri), "sip:a");
      EXPECT_EQ(Parms(msg, msg.*header.line), Texts{"x"});
      EXPECT_EQ(TextOf(msg.call_id), "next");
    }
  }
}

TEST(ScanNameAddr, SecondValueInAListOfASingleHeaderIsASecondHeader) {
  for (const HeaderRow& header : kSingle) {
    SCOPED_TRACE(header.name);
    const Scanned scanned =
        Scan(Request(std::string{header.name} + ": A <sip:a>;x, B <sip:b>;y\r\nCall-ID: next\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    const cpsip_msg& msg = scanned.msg();
    EXPECT_EQ(msg.scan_status, 400);
    EXPECT_EQ(TextOf(msg.*header.display), "A");
    EXPECT_EQ(TextOf(msg.*header.uri), "sip:a");
    EXPECT_EQ(Parms(msg, msg.*header.line), Texts{"x"});
    EXPECT_EQ(TextOf(msg.call_id), "next");
  }
}

TEST(ScanNameAddr, SecondSingleHeaderIsReported) {
  Scanned scanned;
  const std::string reports = Reports([&] {
    scanned.result = cpsip_msg_scan(scanned.scan, BlockOf(Request("To: sip:a\r\nTo: sip:b\r\n")),
                                    scanned.complete, scanned.left_over);
  });
  EXPECT_EQ(reports.rfind("UXP", 0), 0U) << reports;
}

TEST(ScanNameAddr, MissingClosingBracketDropsTheDatagram) {
  static constexpr const char* kNames[] = {"To",    "From",         "Refer-To", "Referred-By", "Contact",
                                           "Route", "Record-Route", "m",        "t",           "b"};
  for (const char* name : kNames) {
    for (const char* value : {"<sip:a", "<", "A <sip:a;x=1", "\"A <sip:a\" x"}) {
      SCOPED_TRACE(std::string{name} + ": " + value);
      const Scanned scanned = Scan(Request(std::string{name} + ": " + value + "\r\n"));
      EXPECT_EQ(scanned.result, kScanNoClosingBracket);
      EXPECT_FALSE(scanned.complete);
      EXPECT_FALSE(scanned.HasMessage());
    }
  }
  const Scanned second = Scan(Request("m: <sip:a>, <sip:b\r\n"));
  EXPECT_EQ(second.result, kScanNoClosingBracket);
  EXPECT_FALSE(second.HasMessage());
}

TEST(ScanNameAddr, SemicolonCutsAQuotedDisplayName) {
  const Scanned scanned = Scan(Request("To: \"a;b\" <sip:x>\r\nCall-ID: next\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(TextOf(scanned.msg().to_uri), "\"a");
  EXPECT_EQ(TextOf(scanned.msg().to_display), "");
  EXPECT_EQ(TextOf(scanned.msg().call_id), "next");
}

}  // namespace
}  // namespace hark::test

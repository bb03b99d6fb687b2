// Names of headers, and those whose value is a number or a text.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

TEST(ScanHeaderName, TakesBlanksAndAnyCase) {
  for (const char* name :
       {"Call-ID:", "Call-ID :", "Call-ID\t:", "Call-ID \t :", "CALL-ID:", "call-id:", "cAlL-iD:",
        "Call - ID:", "C all-ID:", "i:", "I:", "i :", "C\nall-ID:", "Call-ID:\t", "Call-ID:   "}) {
    SCOPED_TRACE(::testing::PrintToString(name));
    const Scanned scanned = Scan(Request(std::string{name} + "abc\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(TextOf(scanned.msg().call_id), "abc");
    EXPECT_EQ(scanned.msg().unknown_count, 0);
  }
}

TEST(ScanHeaderName, BlankBeforeTheColonIsAccepted) {
  const Scanned scanned = Scan(Request("To : sip:a@b\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(TextOf(scanned.msg().to_uri), "sip:a@b");
}

TEST(ScanHeaderName, LineWithoutAColonDropsTheDatagram) {
  for (const char* line : {"x", "To sip", "To", "nonsense here", "=;,<>\"", "To\x01"}) {
    SCOPED_TRACE(::testing::PrintToString(line));
    const Scanned scanned = Scan(Request("To: sip:a\r\n" + std::string{line} + "\r\nCall-ID: next\r\n"));
    EXPECT_EQ(scanned.result, kScanBadHeader);
    EXPECT_FALSE(scanned.complete);
    EXPECT_FALSE(scanned.HasMessage());
  }
}

struct NumberRow {
  std::string_view headers;
  std::uint32_t value;
  int scan_status;
};

TEST(ScanHeader, MaxForwardsIsANumberOf8Bits) {
  static constexpr NumberRow kRows[] = {
      {"Max-Forwards: 70\r\n", 70, 0},     {"Max-Forwards: 0\r\n", 0, 0},
      {"Max-Forwards:70\r\n", 70, 0},      {"Max-Forwards: 70 x\r\n", 70, 0},
      {"Max-Forwards: 70x\r\n", 70, 0},    {"Max-Forwards: 255\r\n", 255, 0},
      {"Max-Forwards: 256\r\n", 0, 0},     {"Max-Forwards: 300\r\n", 44, 0},
      {"Max-Forwards: -1\r\n", 255, 0},    {"Max-Forwards: 99999999999\r\n", 255, 0},
      {"Max-Forwards: many\r\n", 0, 0},    {"Max-Forwards:\r\n", 0, 0},
      {"Max-Forwards:\r\n 12\r\n", 12, 0}, {"MAX-FORWARDS: 7\r\n", 7, 0},
  };
  for (const NumberRow& row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row.headers));
    const Scanned scanned = Scan(Request(row.headers));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(scanned.msg().max_forwards, row.value);
    EXPECT_EQ(scanned.msg().scan_status, row.scan_status);
  }
}

TEST(ScanHeader, ExpiresTakesUpToNineDigits) {
  static constexpr NumberRow kRows[] = {
      {"Expires: 3600\r\n", 3600, 0},
      {"Expires: 0\r\n", 0, 0},
      {"Expires: 999999999\r\n", 999999999, 0},
      {"Expires: 000000001\r\n", 1, 0},
      {"Expires: 60 x\r\n", 60, 0},
      {"Expires: 1234567890\r\n", 0, 400},
      {"Expires: 0000000001\r\n", 0, 400},
      {"Expires: 12a\r\n", 0, 400},
      {"Expires: -1\r\n", 0, 400},
      {"Expires: +1\r\n", 0, 400},
      {"Expires: 1;x\r\n", 0, 400},
      {"Expires: Thu, 01 Dec 1994\r\n", 0, 400},
      {"Expires: 5\r\nExpires: 1234567890\r\n", 5, 400},
      {"Expires: 5\r\nExpires: x\r\n", 5, 400},
  };
  for (const NumberRow& row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row.headers));
    const Scanned scanned = Scan(Request(row.headers));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(scanned.msg().expires, row.value);
    EXPECT_EQ(scanned.msg().scan_status, row.scan_status);
  }
}

struct CSeqRow {
  std::string_view headers;
  std::uint32_t number;
  cpsip_method method;
};

TEST(ScanHeader, CSeqIsANumberAndAMethod) {
  static constexpr CSeqRow kRows[] = {
      {"CSeq: 1 INVITE\r\n", 1, cpsip_method::invite},
      {"CSeq: 2 BYE\r\n", 2, cpsip_method::bye},
      {"CSeq: 3 ACK\r\n", 3, cpsip_method::ack},
      {"CSeq: 4 CANCEL\r\n", 4, cpsip_method::cancel},
      {"CSeq: 5 REFER\r\n", 5, cpsip_method::refer},
      {"CSeq: 6 NOTIFY\r\n", 6, cpsip_method::notify},
      {"CSeq: 7 OPTIONS\r\n", 7, cpsip_method::options},
      {"CSeq: 8   INVITE\r\n", 8, cpsip_method::invite},
      {"cseq:\t9 \t INVITE\r\n", 9, cpsip_method::invite},
      {"CSeq: 10 BYEBYE\r\n", 10, cpsip_method::bye},  // a prefix is enough
      {"CSeq: 1234567890 INVITE\r\n", 1234567890, cpsip_method::invite},
      {"CSeq: 4294967295 INVITE\r\n", 4294967295, cpsip_method::invite},
      {"CSeq: 4294967296 INVITE\r\n", 4294967295, cpsip_method::invite},
      {"CSeq: x INVITE\r\n", 0, cpsip_method::invite},
      // A method that is not known leaves what stands.
      {"CSeq: 1 BYE\r\nCSeq: 2 FOO\r\n", 2, cpsip_method::bye},
      {"CSeq: 1 BYE\r\nCSeq: 2 REGISTER\r\n", 2, cpsip_method::bye},
      {"CSeq: 1 BYE\r\nCSeq: 2 invite\r\n", 2, cpsip_method::bye},
      {"CSeq: 1 BYE\r\nCSeq: 2\r\n", 2, cpsip_method::bye},
      {"CSeq: 1 BYE\r\nCSeq: 2 INVITE\r\n", 2, cpsip_method::invite},
  };
  for (const CSeqRow& row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row.headers));
    const Scanned scanned = Scan(Request(row.headers));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(scanned.msg().cseq, row.number);
    EXPECT_EQ(scanned.msg().cseq_method, row.method);
    EXPECT_EQ(scanned.msg().scan_status, 0);
  }
}

TEST(ScanHeader, CSeqNumberOf11CharactersSetsStatus400) {
  for (const char* number : {"12345678901", "00000000001", "abcdefghijk"}) {
    const Scanned scanned = Scan(Request("CSeq: " + std::string{number} + " INVITE\r\nCall-ID: next\r\n"));
    ASSERT_TRUE(scanned.IsWhole()) << number;
    EXPECT_EQ(scanned.msg().scan_status, 400) << number;
    EXPECT_EQ(TextOf(scanned.msg().call_id), "next") << number;
  }
}

TEST(ScanHeader, CSeqOfAnUnknownMethodKeepsTheStartLines) {
  const Scanned scanned = Scan("REGISTER sip:b SIP/2.0\r\nCSeq: 7 REGISTER\r\n\r\n");
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().cseq, 7U);
  EXPECT_EQ(scanned.msg().cseq_method, cpsip_method::unrecognized);
}

struct TextRow {
  const char* name;
  cpsip_field cpsip_msg::*value;
};

constexpr TextRow kTexts[] = {
    {"User-Agent", &cpsip_msg::user_agent}, {"Subject", &cpsip_msg::subject}, {"s", &cpsip_msg::subject},
    {"Server", &cpsip_msg::server},         {"Call-ID", &cpsip_msg::call_id}, {"i", &cpsip_msg::call_id},
};

TEST(ScanHeader, TextsAreTakenWhole) {
  for (const TextRow& row : kTexts) {
    for (const std::string value :
         {"a", "a b", "a,,b;;c:d=e/f?<g>", "\"a", "(a) [b]", "a ", "%41", "\xC3\xA4"}) {
      SCOPED_TRACE(std::string{row.name} + ": " + value);
      const Scanned scanned = Scan(Request(std::string{row.name} + ":   " + value + "\r\nTo: sip:next\r\n"));
      ASSERT_TRUE(scanned.IsWhole());
      EXPECT_EQ(TextOf(scanned.msg().*row.value), value);
      EXPECT_EQ(scanned.msg().scan_status, 0);
      EXPECT_EQ(TextOf(scanned.msg().to_uri), "sip:next");
    }
  }
}

TEST(ScanHeader, EmptyTextIsAbsent) {
  for (const TextRow& row : kTexts) {
    const Scanned scanned = Scan(Request(std::string{row.name} + ":\r\n"));
    ASSERT_TRUE(scanned.IsWhole()) << row.name;
    EXPECT_EQ((scanned.msg().*row.value).length, 0) << row.name;
  }
}

TEST(ScanHeader, SecondCallIdSetsStatus400AndStands) {
  const Scanned scanned = Scan(Request("Call-ID: a\r\ni: b\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().scan_status, 400);
  EXPECT_EQ(TextOf(scanned.msg().call_id), "b");
}

TEST(ScanHeader, ReplacesIsItsWholeLineWithParameters) {
  const std::string line = "Replaces: abc@h;to-tag=1;from-tag=2\r\n";
  Scanned scanned;
  const std::string reports = Reports([&] {
    scanned.result = cpsip_msg_scan(scanned.scan, BlockOf(Request(line + "Call-ID: next\r\n")),
                                    scanned.complete, scanned.left_over);
  });
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(reports.rfind("UXP1: ", 0), 0U) << reports;
  EXPECT_EQ(TextOf(scanned.msg().replaces), line);
  EXPECT_EQ(Parms(scanned.msg(), scanned.msg().replaces), (Texts{"abc@h", "to-tag=1", "from-tag=2"}));
  EXPECT_EQ(scanned.msg().scan_status, 0);
  EXPECT_EQ(TextOf(scanned.msg().call_id), "next");
}

TEST(ScanHeader, SecondReplacesSetsStatus481AndTheFirstStays) {
  for (const char* second : {"Replaces: b;y\r\n", "Replaces:\r\n"}) {
    const Scanned scanned = Scan(Request("Replaces: a;x\r\n" + std::string{second} + "Call-ID: next\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(scanned.msg().scan_status, 481);
    EXPECT_EQ(TextOf(scanned.msg().replaces), "Replaces: a;x\r\n");
    EXPECT_EQ(Parms(scanned.msg(), scanned.msg().replaces), (Texts{"a", "x"}));
    EXPECT_EQ(TextOf(scanned.msg().call_id), "next");
  }
}

}  // namespace
}  // namespace hark::test

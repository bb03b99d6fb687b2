// What lies behind the blank line: how long the body is, what is left over, and where it goes by its type.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kSdpType = "Content-Type: application/sdp\r\n";

std::string BodyOf(const cpsip_msg& msg) {
  return msg.body == nullptr ? "(none)" : std::string{msg.body.get(), msg.content_length};
}

// The two kinds of message, whose bodies follow the same rules but for one.
using Maker = std::string (*)(std::string_view headers, std::string_view body);
constexpr Maker kBoth[] = {Request, Response};

struct LengthRow {
  std::string_view headers;
  std::string_view body;
  std::string_view taken;  // "(none)": no body
  std::uint32_t length;
  std::uint32_t left_over;
};

TEST(ScanBody, IsAsLongAsContentLengthSaysOrTheRest) {
  static constexpr LengthRow kRows[] = {
      {"", "", "(none)", 0, 0},
      {"", "abc", "abc", 3, 0},
      {"", "\r\n", "\r\n", 2, 0},
      {"l: 0\r\n", "", "(none)", 0, 0},
      {"l: 0\r\n", "abc", "(none)", 0, 3},
      {"l: 3\r\n", "abc", "abc", 3, 0},
      {"l: 2\r\n", "abc", "ab", 2, 1},
      {"Content-Length: 3\r\n", "abc\r\n\r\n", "abc", 3, 4},
      {"l:3 x\r\n", "abcd", "abc", 3, 1},
      {"l: 3;x\r\n", "abcd", "abc", 3, 1},
      {"l: 003\r\n", "abcd", "abc", 3, 1},
      {"l: +3\r\n", "abcd", "abc", 3, 1},
      {"l:\r\n", "abcd", "(none)", 0, 4},
      {"l: x\r\n", "abcd", "(none)", 0, 4},
      {"c: text/plain\r\nl: 3\r\n", "abc", "abc", 3, 0},
      {"c: message/sipfrag\r\nl: 3\r\n", "abc", "abc", 3, 0},
      {"l: 3\r\nc: message/sipfrag\r\n", "abc", "abc", 3, 0},
      {"l: 6\r\n", "a\0\r\n\tb"sv, "a\0\r\n\tb"sv, 6, 0},
  };
  for (const Maker make : kBoth) {
    for (const LengthRow& row : kRows) {
      SCOPED_TRACE(::testing::PrintToString(make(row.headers, row.body)));
      const Scanned scanned = Scan(make(row.headers, row.body));
      ASSERT_TRUE(scanned.IsWhole());
      EXPECT_EQ(BodyOf(scanned.msg()), row.taken);
      EXPECT_EQ(scanned.msg().content_length, row.length);
      EXPECT_EQ(scanned.left_over, row.left_over);
      EXPECT_EQ(scanned.msg().content_length_seen, row.headers.find("l:") != std::string_view::npos ||
                                                       row.headers.find("Length:") != std::string_view::npos);
      EXPECT_EQ(scanned.msg().sdp, nullptr);
      EXPECT_EQ(scanned.msg().scan_status, 0);
    }
  }
}

TEST(ScanBody, TooShortForARequestIsLeftToBeAnswered) {
  for (const char* length : {"4", "5", "1500", "4294967295", "99999999999", "-5", "-1"}) {
    SCOPED_TRACE(length);
    const Scanned scanned = Scan(Request("Call-ID: x\r\nl: " + std::string{length} + "\r\n", "abc"));
    EXPECT_EQ(scanned.result, kScanBodyTooShort);
    EXPECT_FALSE(scanned.complete);
    ASSERT_TRUE(scanned.HasMessage());
    EXPECT_EQ(TextOf(scanned.msg().call_id), "x");
    EXPECT_EQ(scanned.msg().body, nullptr);
    EXPECT_EQ(scanned.msg().sdp, nullptr);
  }
}

TEST(ScanBody, TooShortForAResponseLeavesNothing) {
  for (const char* length : {"4", "1500", "4294967295", "-5"}) {
    SCOPED_TRACE(length);
    const Scanned scanned = Scan(Response("Call-ID: x\r\nl: " + std::string{length} + "\r\n", "abc"));
    EXPECT_EQ(scanned.result, kScanOk);
    EXPECT_FALSE(scanned.complete);
    EXPECT_FALSE(scanned.HasMessage());
  }
}

TEST(ScanBody, SecondContentLengthSetsStatus400AndTheFirstStays) {
  for (const char* second : {"l: 2\r\n", "Content-Length: 9\r\n", "l: 3\r\n"}) {
    const Scanned scanned = Scan(Request("l: 3\r\n" + std::string{second}, "abcde"));
    ASSERT_TRUE(scanned.IsWhole()) << second;
    EXPECT_EQ(scanned.msg().scan_status, 400) << second;
    EXPECT_EQ(BodyOf(scanned.msg()), "abc") << second;
    EXPECT_EQ(scanned.left_over, 2U) << second;
  }
}

TEST(ScanBody, OtherThanSdpIsACopy) {
  for (const char* type : {"", "c: text/plain\r\n", "c: message/sipfrag\r\n"}) {
    const Scanned scanned = Scan(Request(type, "abc"));
    ASSERT_TRUE(scanned.IsWhole()) << type;
    const std::string_view block = scanned.msg().chain->text();
    const char* const body = scanned.msg().body.get();
    ASSERT_NE(body, nullptr) << type;
    EXPECT_FALSE(body >= block.data() && body < block.data() + block.size()) << type;
    EXPECT_TRUE(scanned.msg().sdp_text.view().empty()) << type;
  }
}

TEST(ScanBody, SdpIsParsedWhereItLies) {
  for (const Maker make : kBoth) {
    const Scanned scanned = Scan(make(kSdpType, UsualSdp()));
    ASSERT_TRUE(scanned.IsWhole());
    const cpsip_msg& msg = scanned.msg();
    EXPECT_EQ(msg.content_length, UsualSdp().size());
    EXPECT_FALSE(msg.sdp_text.owned());
    const std::string_view block = msg.chain->text();
    const std::string_view text = msg.sdp_text.view();
    EXPECT_EQ(text, UsualSdp());
    EXPECT_EQ(text.data(), block.data() + block.size() - UsualSdp().size());
    EXPECT_EQ(msg.body, nullptr);
    EXPECT_EQ(msg.sdp2, nullptr);
    ASSERT_NE(msg.sdp, nullptr);
    EXPECT_EQ(msg.sdp->o_address.in(text), "192.0.2.1");
    ASSERT_EQ(msg.sdp->m_count, 1);
    EXPECT_EQ(msg.sdp->media[0]->m_port, 49170);
    EXPECT_EQ(msg.sdp->media[0]->fmt_count, 4);
    EXPECT_EQ(msg.sdp->media[0]->fmtp[3].in(text), "0-15");
  }
}

TEST(ScanBody, SdpEndsWithContentLength) {
  const std::string length = "l: " + std::to_string(UsualSdp().size()) + "\r\n";
  const Scanned scanned =
      Scan(Request(std::string{kSdpType} + length, std::string{UsualSdp()} + "a=more\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.left_over, 8U);
  EXPECT_EQ(scanned.msg().sdp_text.view(), UsualSdp());
  EXPECT_EQ(scanned.msg().sdp->media[0]->a_count, 0);
}

TEST(ScanBody, SdpTypeWithoutABodyHasNoSession) {
  for (const char* length : {"", "l: 0\r\n"}) {
    const Scanned scanned = Scan(Request(std::string{kSdpType} + length));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(scanned.msg().content_kind, cpsip_content_kind::sdp);
    EXPECT_EQ(scanned.msg().sdp, nullptr);
    EXPECT_EQ(scanned.msg().body, nullptr);
  }
}

TEST(ScanBody, SdpOf1024BytesIsParsedAndOf1025SetsStatus413) {
  for (const Maker make : kBoth) {
    const Scanned fits = Scan(make(kSdpType, SdpOfSize(1024)));
    ASSERT_TRUE(fits.IsWhole());
    EXPECT_EQ(fits.msg().scan_status, 0);
    EXPECT_NE(fits.msg().sdp, nullptr);
    EXPECT_EQ(fits.msg().sdp_text.view().size(), 1024U);

    const Scanned larger = Scan(make(kSdpType, SdpOfSize(1025)));
    ASSERT_TRUE(larger.IsWhole());
    EXPECT_EQ(larger.msg().scan_status, 413);
    EXPECT_EQ(larger.msg().sdp, nullptr);
    EXPECT_EQ(larger.msg().body, nullptr);
    EXPECT_TRUE(larger.msg().sdp_text.view().empty());
    EXPECT_EQ(larger.left_over, 0U);
  }
}

TEST(ScanBody, OtherBodiesHaveNoSuchLimit) {
  const std::string body(1300, 'b');
  const Scanned scanned = Scan(Request("c: text/plain\r\n", body));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().scan_status, 0);
  EXPECT_EQ(BodyOf(scanned.msg()), body);
}

struct BadSdpRow {
  std::string_view body;
  int media;  // counted, the one that was begun included
};

TEST(ScanBody, SdpThatDoesNotParseIsLeftToBeAnswered) {
  static constexpr BadSdpRow kRows[] = {
      {"v=1\r\n", 0},
      {"v=0", 0},
      {"s=-\r\n", 0},
      {"v=0\r\no=- 1 1 IN XP4 h\r\n", 0},
      {"v=0\r\ns=-\r\nm=audio\r\n", 1},
      {"v=0\r\ns=-\r\nm=audio 1 RTP/AVP 0\r\na=rtpmap:9 x/1\r\n", 1},
      {"v=0\r\ns=-\r\nm=audio 1 RTP/AVP 0\r\nm=audio 1\r\n", 2},
      {"v=0\r\ns=-\r\nm=audio 1 RTP/AVP 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\r\n", 1},
      {"v=0\r\ns=-\r\nm=a 1 b\r\nm=a 1 b\r\nm=a 1 b\r\nm=a 1 b\r\nm=a 1 b\r\n", 4},
  };
  for (const Maker make : kBoth) {
    for (const BadSdpRow& row : kRows) {
      SCOPED_TRACE(::testing::PrintToString(row.body));
      const Scanned scanned = Scan(make("Call-ID: x\r\n" + std::string{kSdpType}, row.body));
      EXPECT_EQ(scanned.result, kScanBadSdp);
      EXPECT_FALSE(scanned.complete);
      ASSERT_TRUE(scanned.HasMessage());
      EXPECT_EQ(TextOf(scanned.msg().call_id), "x");
      ASSERT_NE(scanned.msg().sdp, nullptr);
      EXPECT_EQ(scanned.msg().sdp->m_count, row.media);
      for (int i = 0; i < row.media; ++i)
        EXPECT_NE(scanned.msg().sdp->media[static_cast<std::size_t>(i)], nullptr) << i;
    }
  }
}

TEST(ScanBody, NextDatagramIsScannedAfterABadBody) {
  for (const std::string& bad :
       {Request(kSdpType, "v=1\r\n"), Request("l: 9\r\n", "abc"), Response("l: 9\r\n", "abc")}) {
    Scanned scanned = Scan(bad);
    scanned.scan.scan_msg.reset();
    (void)Reports([&] {
      scanned.result = cpsip_msg_scan(scanned.scan, BlockOf(Request(kSdpType, UsualSdp())), scanned.complete,
                                      scanned.left_over);
    });
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_NE(scanned.msg().sdp, nullptr);
  }
}

TEST(ScanBody, SdpThatIsCutByContentLengthDoesNotParse) {
  const std::string length = "l: " + std::to_string(UsualSdp().size() - 3) + "\r\n";
  const Scanned scanned = Scan(Request(std::string{kSdpType} + length, UsualSdp()));
  EXPECT_EQ(scanned.result, kScanBadSdp);
  EXPECT_TRUE(scanned.HasMessage());
}

TEST(ScanBody, StatusOfTheHeadersLeavesTheBodyAlone) {
  const Scanned scanned = Scan(Request("To: sip:a\r\nTo: sip:b\r\n" + std::string{kSdpType}, UsualSdp()));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().scan_status, 400);
  EXPECT_NE(scanned.msg().sdp, nullptr);
}

}  // namespace
}  // namespace hark::test

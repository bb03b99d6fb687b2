// The limits of the scanner: 300 bytes of a token wherever it stands, and counts that wrap while their chains
// do not.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

// Where a token may stand in the headers: what is in front of it, and what is behind it.
struct TokenPlace {
  const char* before;
  const char* after;
};

constexpr TokenPlace kPlaces[] = {
    {"", ": x\r\n"},  // a header's name
    {"x: ", "\r\n"},
    {"Call-ID: ", "\r\n"},
    {"Subject: ", "\r\n"},
    {"User-Agent: ", "\r\n"},
    {"Server: ", "\r\n"},
    {"Max-Forwards: ", "\r\n"},
    {"CSeq: 1 ", "\r\n"},
    {"CSeq: ", " INVITE\r\n"},
    {"Expires: ", "\r\n"},
    {"To: ", "\r\n"},
    {"To: <", ">\r\n"},
    {"To: ", "<sip:a>\r\n"},
    {"To: <sip:a>", ";x\r\n"},
    {"To: <sip:a>;", "\r\n"},
    {"To: <sip:a>;", ";x\r\n"},
    {"From: ", ";tag=1\r\n"},
    {"Refer-To: <", ">\r\n"},
    {"Referred-By: <", ">\r\n"},
    {"m: <sip:a>, <", ">\r\n"},
    {"Route: <", ";lr>\r\n"},
    {"Record-Route: <sip:a>;", "\r\n"},
    {"Via: ", "/2.0/UDP h\r\n"},
    {"Via: SIP/", "/UDP h\r\n"},
    {"Via: SIP/2.0/", " h\r\n"},
    {"Via: SIP/2.0/UDP ", "\r\n"},
    {"Via: SIP/2.0/UDP h:", "\r\n"},
    {"Via: SIP/2.0/UDP h;", "\r\n"},
    {"Allow: ", "\r\n"},
    {"Supported: a, ", ", b\r\n"},
    {"Accept: ", ", b\r\n"},
    {"Replaces: ", "\r\n"},
    {"Replaces: a;", "\r\n"},
    {"Content-Type: ", "\r\n"},
    {"Content-Type: a/b;", "\r\n"},
    {"Content-Length: 000", "\r\n"},
    {"Subscription-State: ", "\r\n"},
    {"Event: ", "\r\n"},
    {"Event: refer;", "=1\r\n"},
    {"Event: refer;id=", "\r\n"},
};

// What of a token stands in front of it already.
std::size_t StoredBefore(const TokenPlace& place) {
  const std::string before = place.before;
  const std::size_t digits = before.size() - (before.find_last_not_of('0') + 1);
  return before.rfind("Content-Length", 0) == 0 ? digits : 0;
}

// And behind it, up to the stop.
std::size_t StoredBehind(const TokenPlace& place) {
  return std::string{place.before} == "Route: <" ? std::string_view{";lr"}.size() : 0;
}

TEST(ScanLimits, TokenOf300BytesPassesAndOf301DropsTheDatagram) {
  for (const TokenPlace& place : kPlaces) {
    SCOPED_TRACE(std::string{place.before} + "..." + place.after);
    const std::size_t longest = kMaxToken - StoredBefore(place) - StoredBehind(place);
    const auto scan_with = [&](std::size_t size) {
      return Scan(Request(place.before + std::string(size, 'a') + place.after));
    };
    const Scanned fits = scan_with(longest);
    EXPECT_TRUE(fits.IsWhole());
    const Scanned longer = scan_with(longest + 1);
    EXPECT_EQ(longer.result, kScanTokenTooLong);
    EXPECT_FALSE(longer.complete);
    EXPECT_FALSE(longer.HasMessage());
  }
}

TEST(ScanLimits, LinesMayBeLongerThanATokenMayBe) {
  const std::string parm = std::string(200, 'p');
  const Scanned scanned =
      Scan(Request("To: <sip:a>" + Times(5, ";" + parm) + "\r\nAllow: " + Times(5, parm + ",") + "\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(Parms(scanned.msg(), scanned.msg().to), Texts(5, parm));
  EXPECT_EQ(ParmsOf(scanned.msg(), scanned.msg().allow_head), Texts(5, parm));
}

struct RepeatRow {
  const char* line;
  std::uint8_t cpsip_msg::*count;
  std::uint16_t cpsip_msg::*head;
};

constexpr RepeatRow kRepeating[] = {
    {"Via: a/b/c h\r\n", &cpsip_msg::via_count, &cpsip_msg::via_head},
    {"m: <sip:a>\r\n", &cpsip_msg::contact_count, &cpsip_msg::contact_head},
    {"Route: <sip:a>\r\n", &cpsip_msg::route_count, &cpsip_msg::route_head},
    {"Record-Route: <sip:a>\r\n", &cpsip_msg::record_route_count, &cpsip_msg::record_route_head},
    {"Allow: a\r\n", &cpsip_msg::allow_count, &cpsip_msg::allow_head},
    {"Require: a\r\n", &cpsip_msg::require_count, &cpsip_msg::require_head},
    {"Proxy-Require: a\r\n", &cpsip_msg::proxy_require_count, &cpsip_msg::proxy_require_head},
    {"Supported: a\r\n", &cpsip_msg::supported_count, &cpsip_msg::supported_head},
    {"Unsupported: a\r\n", &cpsip_msg::unsupported_count, &cpsip_msg::unsupported_head},
    {"Accept: a\r\n", &cpsip_msg::accept_count, &cpsip_msg::accept_head},
    {"u: a\r\n", &cpsip_msg::allow_events_count, &cpsip_msg::allow_events_head},
    {"x: a\r\n", &cpsip_msg::unknown_count, &cpsip_msg::unknown_head},
};

TEST(ScanLimits, CountsWrapAfter255AndChainsDoNot) {
  for (const RepeatRow& row : kRepeating) {
    for (const std::size_t lines : {1U, 2U, 255U, 256U, 300U}) {
      SCOPED_TRACE(std::to_string(lines) + " times " + row.line);
      const Scanned scanned = Scan(Request(Times(lines, row.line)));
      ASSERT_TRUE(scanned.IsWhole());
      EXPECT_EQ(scanned.msg().*row.count, lines % 256);
      EXPECT_EQ(Chain(scanned.msg(), scanned.msg().*row.head).size(), lines);
    }
  }
}

TEST(ScanLimits, CommaListIsCountedTheSameWay) {
  const Scanned scanned = Scan(Request("m: " + Times(299, "<sip:a>,") + "<sip:b>\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().contact_count, 300 - 256);
  EXPECT_EQ(Chain(scanned.msg(), scanned.msg().contact_uri_head).size(), 300U);
}

TEST(ScanLimits, NoDatagramRunsOutOfRecords) {
  // Nothing takes more records than these do: three for two bytes, a new Contact for each comma.
  const std::size_t values = (kMaxScanned - Request("m:;\r\n").size()) / 2;
  const Scanned scanned = Scan(Request("m:" + Times(values, ";,") + ";\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_GT(scanned.msg().fields.count(), 3 * values);
}

TEST(ScanLimits, FullSocketBlockIsScannedToItsLastByte) {
  const std::string without = Request("Subject: x\r\n");
  const Scanned scanned =
      Scan(Request("Subject: x\r\n", std::string(kSocketBlockSize - without.size(), 'b')));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().chain->capacity, kSocketBlockSize);
  EXPECT_EQ(scanned.msg().chain->room(), 0);
  EXPECT_EQ(scanned.msg().content_length, kSocketBlockSize - without.size());
}

TEST(ScanLimits, LargestDatagramIsScannedToItsLastByteAndALargerOneNotAtAll) {
  const std::string without = Request("Subject: x\r\n");
  const std::string body(kMaxScanned - without.size(), 'b');
  const Scanned scanned = Scan(Request("Subject: x\r\n", body));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().content_length, body.size());
  const Scanned larger = Scan(Request("Subject: x\r\n", body + 'b'));
  EXPECT_FALSE(larger.IsWhole());
}

}  // namespace
}  // namespace hark::test

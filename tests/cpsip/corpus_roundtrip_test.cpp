// What was scanned or built, written as wire text and scanned again, is the same message: over RFC 4475, our
// own corpus and generated messages.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cpsip/corpus_rows.h"
#include "cpsip/corpus_support.h"
#include "cpsip/cpsip_msg_access.h"
#include "cpsip/cpsip_msg_format.h"
#include "cpsip/cpsip_msg_scan.h"
#include "cpsip/message_generator.h"
#include "cpsip/torture_verdicts.h"

namespace hark::test {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kNoRoute;
constexpr std::string_view kOddBytes = "\0\t\r\n ,;:<>\"\\=?/[]()%\x7f\xff"sv;

// What a session description becomes on the wire.
struct Encoded {
  int code = 0;
  std::string text;
};

Encoded encode(const cpsip_msg& msg) {
  Encoded encoded;
  if (msg.content_kind != cpsip_content_kind::sdp || msg.content_length == 0) return encoded;
  std::array<char, kCpsdpMaxEncoded> out;
  std::uint32_t length = 0;
  encoded.code = CPSDP_EncodeSession(msg.sdp.get(), msg.sdp_text.view(), out, length);
  encoded.text.assign(out.data(), length);
  return encoded;
}

bool loses_a_via_host(cpsip_msg& msg) {
  std::array<char, 300> host;
  for (unsigned at = 1; at <= CPSIP_MsgGetHdrCnt(msg, CPSIP_FLD_VIA); ++at) {
    if (cpsip_msg_read(msg, CPSIP_FLD_VIA_HOST, at, 0, host).empty()) return true;
  }
  return false;
}

void expect_same_body(const cpsip_msg& before, const cpsip_msg& after, const Encoded& encoded) {
  if (before.content_kind == cpsip_content_kind::sdp) {
    EXPECT_EQ(after.sdp_text.view(), encoded.text);
    EXPECT_EQ(after.content_length, encoded.text.size());
  } else {
    ASSERT_EQ(after.content_length, before.content_length);
    const auto bytes = [](const cpsip_msg& msg) {
      return std::string_view(msg.body.get(), msg.content_length);
    };
    EXPECT_EQ(bytes(after), bytes(before));
  }
}

// Writes the message and scans what was written.
void expect_same_again(cpsip_msg_ptr msg) {
  const Encoded encoded = encode(*msg);
  const Lines before = written_lines(*msg);
  cpsip_osa_chain out;
  ASSERT_EQ(cpsip_msg_format(*msg, kNoRoute, out), encoded.code);
  if (encoded.code != 0) return;
  const std::string text = chain_text(out.get());
  SCOPED_TRACE(text);
  const Scanned again = scan_datagram(text);
  if (loses_a_via_host(*msg)) {
    EXPECT_EQ(again.code, kScanBadHeader);
    return;
  }
  EXPECT_EQ(again.code, kScanOk);
  ASSERT_TRUE(again.complete);
  EXPECT_EQ(again.left_over, 0U);
  EXPECT_EQ(again.msg->scan_status, 0);
  EXPECT_EQ(difference(before, written_lines(*again.msg)), "");
  expect_same_body(*msg, *again.msg, encoded);
}

// The result says whether the file held a whole message.
bool expect_file_same_again(const std::string& file) {
  SCOPED_TRACE(file);
  Scanned scanned = scan_datagram(corpus_file(file));
  if (!scanned.complete) return false;
  expect_same_again(std::move(scanned.msg));
  return true;
}

TEST(MessageRoundTrip, TortureMessagesStayTheSame) {
  unsigned whole = 0;
  for (const TortureVerdict& verdict : torture_verdicts()) {
    whole += expect_file_same_again(std::string("rfc4475/") + verdict.name + ".dat") ? 1 : 0;
  }
  EXPECT_EQ(whole, 44U);
}

TEST(MessageRoundTrip, MessagesOfDevicesStayTheSame) {
  for (const MessageRow& row : device_rows()) {
    EXPECT_TRUE(expect_file_same_again(std::string("messages/") + row.name + ".sip")) << row.name;
  }
}

TEST(MessageRoundTrip, FaultyMessagesThatAreTakenStayTheSame) {
  unsigned whole = 0;
  for (const MessageRow& row : faulty_rows()) {
    whole += expect_file_same_again(std::string("messages/") + row.name + ".sip") ? 1 : 0;
  }
  EXPECT_EQ(whole, 14U);
}

TEST(MessageRoundTrip, MessagesBuiltFieldByFieldStayTheSame) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Chance chance(seed);
    expect_same_again(generate_message(chance));
    if (testing::Test::HasFailure()) return;
  }
}

TEST(MessageRoundTrip, IncludedAllowIsReadAsItsSevenMethods) {
  unsigned with_allow = 0;
  for (unsigned seed = 1; seed <= 20; ++seed) {
    Chance chance(seed);
    cpsip_msg_ptr msg = generate_message(chance);
    const bool expected = msg->include_allow;
    cpsip_osa_chain out;
    ASSERT_EQ(cpsip_msg_format(*msg, kNoRoute, out), 0);
    const Scanned again = scan_datagram(chain_text(out.get()));
    ASSERT_TRUE(again.complete);
    EXPECT_EQ(again.msg->allow_count, expected ? 1 : 0);
    EXPECT_EQ(CPSIP_MsgGetParmCnt(*again.msg, CPSIP_FLD_ALLOW_ITEM, 1), expected ? 7U : 0U);
    with_allow += expected ? 1 : 0;
  }
  EXPECT_GT(with_allow, 0U);
}

TEST(MessageRoundTrip, GeneratedTextsScanAsTheyWereMadeAndStayTheSame) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Chance chance(seed);
    const GeneratedText made = generate_text(chance);
    SCOPED_TRACE(made.text);
    Scanned scanned = scan_datagram(made.text);
    ASSERT_EQ(scanned.code, kScanOk);
    ASSERT_TRUE(scanned.complete);
    EXPECT_EQ(scanned.msg->scan_status, 0);
    EXPECT_EQ(missing_lines(all_lines(*scanned.msg), made.fields), "");
    expect_same_again(std::move(scanned.msg));
    if (testing::Test::HasFailure()) return;
  }
}

TEST(MessageRoundTrip, ReplacesOfAReferComesBackInsideItsReferTo) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  msg->method = msg->cseq_method = cpsip_method::refer;
  ASSERT_EQ(cpsip_msg_write(*msg, CPSIP_FLD_REQUEST_URI, 1, 0, "sip:4101@192.0.2.5"), kAccessOk);
  ASSERT_EQ(cpsip_msg_write(*msg, CPSIP_FLD_REFER_TO_URI, 1, 0, "sip:4120@192.0.2.5"), kAccessOk);
  ASSERT_EQ(cpsip_msg_write(*msg, CPSIP_FLD_REPLACES, 1, 0, "9a1c@192.0.2.41;to-tag=h9"), kAccessOk);
  cpsip_osa_chain out;
  ASSERT_EQ(cpsip_msg_format(*msg, kNoRoute, out), 0);
  const Scanned again = scan_datagram(chain_text(out.get()));
  ASSERT_TRUE(again.complete);
  EXPECT_EQ(again.msg->replaces.length, 0);
  EXPECT_EQ(missing_lines(all_lines(*again.msg),
                          "Refer-To.uri=sip:4120@192.0.2.5?Replaces=9a1c%40192.0.2.41%3Bto-tag%3Dh9"),
            "");
}

// A received header that the table does not have keeps its line end, by which the formatter knows it.
TEST(MessageRoundTrip, ReceivedUnknownHeadersAndListsOfAbilitiesAreNotPassedOn) {
  Scanned scanned = scan_datagram(corpus_file("messages/trunk-invite.sip"));
  ASSERT_TRUE(scanned.complete);
  EXPECT_EQ(scanned.msg->unknown_count, 9);
  cpsip_osa_chain out;
  ASSERT_EQ(cpsip_msg_format(*scanned.msg, kNoRoute, out), 0);
  const Scanned again = scan_datagram(chain_text(out.get()));
  ASSERT_TRUE(again.complete);
  EXPECT_EQ(missing_lines(all_lines(*again.msg), "unknown.count=0\nAllow.count=0\nSupported.count=1"), "");
}

// Bytes changed by chance: whatever comes of it is told by the result and the message alike.
TEST(MessageRoundTrip, DamagedMessagesEndInOneOfTheResults) {
  for (const MessageRow& row : device_rows()) {
    SCOPED_TRACE(row.name);
    const std::string whole = corpus_file(std::string("messages/") + row.name + ".sip");
    for (unsigned seed = 1; seed <= 40; ++seed) {
      Chance chance(seed);
      std::string text = whole;
      for (unsigned times = chance.between(1, 6); times > 0; --times) {
        text[chance.below(static_cast<unsigned>(text.size()))] =
            kOddBytes[chance.below(static_cast<unsigned>(kOddBytes.size()))];
      }
      Scanned scanned = scan_datagram(text);
      const bool kept = scanned.code == kScanBodyTooShort || scanned.code == kScanBadSdp;
      EXPECT_EQ(scanned.msg != nullptr, scanned.complete || kept) << "seed " << seed;
      EXPECT_FALSE(scanned.complete && scanned.code != kScanOk) << "seed " << seed;
      if (!scanned.msg) continue;
      cpsip_osa_chain out;
      (void)cpsip_msg_format(*scanned.msg, kNoRoute, out);
      EXPECT_FALSE(all_lines(*scanned.msg).empty());
    }
  }
}

}  // namespace
}  // namespace hark::test

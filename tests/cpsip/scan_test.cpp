// A datagram as a whole: blank lines in front, folded lines, datagrams that end too early, what is left of a
// refused one, and that nothing of a header is copied.
#include <gtest/gtest.h>

#include <string>

#include "cpsip/scan_fixture.h"

namespace hark::test {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kHeaders =
    "Via: SIP/2.0/UDP 192.0.2.1:5060;branch=z9hG4bK776asdhds;rport\r\n"
    "Max-Forwards: 70\r\n"
    "From: \"Alice\" <sip:alice@192.0.2.1>;tag=1928301774\r\n"
    "To: Bob <sip:bob@192.0.2.4>\r\n"
    "Call-ID: a84b4c76e66710@192.0.2.1\r\n"
    "CSeq: 314159 INVITE\r\n"
    "Contact: <sip:alice@192.0.2.1:5060>\r\n"
    "Allow: INVITE, ACK, CANCEL, BYE, OPTIONS, REFER, NOTIFY\r\n"
    "Supported: replaces, timer\r\n"
    "User-Agent: console 12\r\n"
    "Content-Type: application/sdp\r\n";

std::string UsualInvite() {
  const std::string length = "Content-Length: " + std::to_string(UsualSdp().size()) + "\r\n";
  return Request(std::string{kHeaders} + length, UsualSdp());
}

TEST(Scan, UsualInviteIsWhole) {
  const Scanned scanned = Scan(UsualInvite());
  ASSERT_TRUE(scanned.IsWhole());
  const cpsip_msg& msg = scanned.msg();
  EXPECT_EQ(scanned.left_over, 0U);
  EXPECT_EQ(msg.scan_status, 0);
  EXPECT_EQ(msg.method, cpsip_method::invite);
  EXPECT_EQ(TextOf(msg.request_uri), "sip:bob@192.0.2.4");
  EXPECT_EQ(Chain(msg, msg.via_host_head), Texts{"192.0.2.1"});
  EXPECT_EQ(ParmsOf(msg, msg.via_head), (Texts{"branch=z9hG4bK776asdhds", "rport"}));
  EXPECT_EQ(msg.max_forwards, 70);
  EXPECT_EQ(TextOf(msg.from_display), "\"Alice\"");
  EXPECT_EQ(TextOf(msg.from_uri), "sip:alice@192.0.2.1");
  EXPECT_EQ(Parms(msg, msg.from), Texts{"tag=1928301774"});
  EXPECT_EQ(TextOf(msg.to_display), "Bob");
  EXPECT_EQ(TextOf(msg.to_uri), "sip:bob@192.0.2.4");
  EXPECT_EQ(TextOf(msg.call_id), "a84b4c76e66710@192.0.2.1");
  EXPECT_EQ(msg.cseq, 314159U);
  EXPECT_EQ(msg.cseq_method, cpsip_method::invite);
  EXPECT_EQ(Chain(msg, msg.contact_uri_head), Texts{"sip:alice@192.0.2.1:5060"});
  EXPECT_EQ(ParmsOf(msg, msg.allow_head),
            (Texts{"INVITE", "ACK", "CANCEL", "BYE", "OPTIONS", "REFER", "NOTIFY"}));
  EXPECT_EQ(ParmsOf(msg, msg.supported_head), (Texts{"replaces", "timer"}));
  EXPECT_EQ(TextOf(msg.user_agent), "console 12");
  EXPECT_EQ(msg.content_kind, cpsip_content_kind::sdp);
  EXPECT_EQ(msg.content_length, UsualSdp().size());
  ASSERT_NE(msg.sdp, nullptr);
  EXPECT_EQ(msg.sdp->m_count, 1);
}

TEST(Scan, CompactNamesMeanTheSame) {
  const Scanned scanned =
      Scan(Request("v: SIP/2.0/UDP h;branch=b\r\nf: <sip:a>;tag=1\r\nt: <sip:b>\r\ni: abc\r\nm: "
                   "<sip:c>\r\nc: text/plain\r\n"
                   "s: hello\r\nr: <sip:d>\r\nb: <sip:e>\r\nu: refer\r\no: refer\r\nl: 2\r\n",
                   "hi"));
  ASSERT_TRUE(scanned.IsWhole());
  const cpsip_msg& msg = scanned.msg();
  EXPECT_EQ(Chain(msg, msg.via_host_head), Texts{"h"});
  EXPECT_EQ(TextOf(msg.from_uri), "sip:a");
  EXPECT_EQ(TextOf(msg.to_uri), "sip:b");
  EXPECT_EQ(TextOf(msg.call_id), "abc");
  EXPECT_EQ(Chain(msg, msg.contact_uri_head), Texts{"sip:c"});
  EXPECT_EQ(TextOf(msg.content_type), "text/plain");
  EXPECT_EQ(TextOf(msg.subject), "hello");
  EXPECT_EQ(TextOf(msg.refer_to_uri), "sip:d");
  EXPECT_EQ(TextOf(msg.referred_by_uri), "sip:e");
  EXPECT_EQ(ParmsOf(msg, msg.allow_events_head), Texts{"refer"});
  EXPECT_EQ(TextOf(msg.event), "refer");
  EXPECT_TRUE(msg.content_length_seen);
  EXPECT_EQ(msg.unknown_count, 0);
}

TEST(Scan, BlankLinesInFrontAreSkipped) {
  for (const std::size_t count : {1U, 2U, 3U, 100U}) {
    const Scanned scanned = Scan(Times(count, "\r\n") + Request("To: sip:a@b\r\n"));
    ASSERT_TRUE(scanned.IsWhole()) << count;
    EXPECT_EQ(scanned.msg().method, cpsip_method::invite) << count;
    EXPECT_EQ(TextOf(scanned.msg().to_uri), "sip:a@b") << count;
    EXPECT_EQ(scanned.msg().start_line.buf, scanned.msg().chain.get()) << count;
  }
}

TEST(Scan, MessageWithoutHeadersIsWhole) {
  const Scanned scanned = Scan(Request(""));
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().content_length, 0U);
  EXPECT_EQ(scanned.msg().fields.count(), 1);
}

TEST(Scan, DatagramWithoutAWholeFirstLineLeavesNothing) {
  static constexpr std::string_view kRows[] = {
      "",
      "\r\n",
      "\r\n\r\n\r\n",
      "I",
      "INVITE sip:b SIP/2.0",
      "INVITE sip:b SIP/2.0\r\n",
      "\r\nINVITE sip:b SIP/2.0\r\n",
      "INVITE sip:b SIP/2.0\n\n",
      "\r",
      "\n",
      "\0\0\0\0"sv,
      "INVITE sip:b SIP/2.0\nTo: sip:a\n\n",
  };
  for (const std::string_view row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row));
    const Scanned scanned = Scan(row);
    EXPECT_EQ(scanned.result, kScanOk);
    EXPECT_FALSE(scanned.complete);
    EXPECT_FALSE(scanned.HasMessage());
  }
}

TEST(Scan, DatagramThatEndsInItsHeadersLeavesNothing) {
  const std::string whole = Request(kHeaders);
  const std::string_view headers = std::string_view{whole}.substr(0, whole.size() - 2);
  for (std::size_t size = headers.find("\r\n") + 2; size <= headers.size(); ++size) {
    const Scanned scanned = Scan(headers.substr(0, size));
    EXPECT_FALSE(scanned.complete) << size;
    EXPECT_FALSE(scanned.HasMessage()) << size;
    // A value that is cut off is no bad one: the line's end was never found.
    EXPECT_EQ(scanned.result, kScanOk) << size;
  }
}

TEST(Scan, NextDatagramIsScannedAfterARefusedOne) {
  static constexpr std::string_view kRefused[] = {
      "INVITE\r\n\r\n",
      "INVITE sip:b SIP/2.0\r\nnonsense\r\n\r\n",
      "INVITE sip:b SIP/2.0\r\nTo: <sip:a\r\n\r\n",
      "INVITE sip:b SIP/2.0\r\nm: <sip:a>,<sip:b\r\n\r\n",             // in the middle of a list
      "INVITE sip:b SIP/2.0\r\nVia: SIP/2.0/UDP h:1,SIP/2.0\r\n\r\n",  //
      "INVITE sip:b SIP/2.0\r\nm: <sip:a>,\r\n",
      "INVITE sip:b SIP/2.0\r\nTo: sip:a",
  };
  for (const std::string_view row : kRefused) {
    SCOPED_TRACE(::testing::PrintToString(row));
    Scanned scanned = Scan(row);
    EXPECT_FALSE(scanned.HasMessage());
    (void)Reports([&] {
      scanned.result = cpsip_msg_scan(scanned.scan, BlockOf(Request("To: <sip:x>;tag=1\r\n")),
                                      scanned.complete, scanned.left_over);
    });
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(TextOf(scanned.msg().to_uri), "sip:x");
    EXPECT_EQ(scanned.msg().contact_count, 0);
    EXPECT_EQ(scanned.msg().scan_status, 0);
  }
}

TEST(Scan, RefusedDatagramLeavesNoMemoryBehind) {
  for (const std::string_view row : {"INVITE\r\n\r\n"sv, "INVITE sip:b SIP/2.0\r\nnonsense\r\n\r\n"sv,
                                     "INVITE sip:b SIP/2.0\r\nm: <sip:a>,<sip:b\r\n\r\n"sv, "INV"sv, ""sv,
                                     "SIP/2.0 200 OK\r\nl: 9\r\n\r\nabc"sv}) {
    Scanned scanned;
    std::int64_t grown = -1;
    (void)Reports([&] {
      const std::int64_t before = LiveAllocations();
      scanned.result = cpsip_msg_scan(scanned.scan, BlockOf(row), scanned.complete, scanned.left_over);
      grown = LiveAllocations() - before;
    });
    EXPECT_EQ(grown, 0) << row;
  }
}

TEST(Scan, RefusedHeaderLineIsReported) {
  Scanned scanned;
  const std::string reports = Reports([&] {
    scanned.result =
        cpsip_msg_scan(scanned.scan, BlockOf(Request("nonsense\r\n")), scanned.complete, scanned.left_over);
  });
  EXPECT_EQ(scanned.result, kScanBadHeader);
  EXPECT_EQ(reports.rfind("UXP", 0), 0U) << reports;
}

TEST(Scan, UsualInviteIsReportedNowhere) {
  Scanned scanned;
  EXPECT_EQ(Reports([&] {
              scanned.result =
                  cpsip_msg_scan(scanned.scan, BlockOf(UsualInvite()), scanned.complete, scanned.left_over);
            }),
            "");
}

TEST(Scan, FoldedHeaderReadsAsOneLine) {
  const Scanned scanned =
      Scan(Request("Subject: I know\r\n you're\r\n\tthere\r\nTo:\r\n <sip:b>\r\n ;tag=1\r\n"));
  ASSERT_TRUE(scanned.IsWhole());
  // CR and LF became blanks; a tab is dropped from a value.
  EXPECT_EQ(TextOf(scanned.msg().subject), "I know   you're  there");
  EXPECT_EQ(TextOf(scanned.msg().to_uri), "sip:b");
  EXPECT_EQ(Parms(scanned.msg(), scanned.msg().to), Texts{"tag=1"});
  EXPECT_EQ(TextOf(scanned.msg().to), "To:   <sip:b>   ;tag=1\r\n");
}

TEST(Scan, FoldedFirstLineReadsAsOneLine) {
  const Scanned scanned = Scan("INVITE sip:b\r\n SIP/2.0\r\nTo: sip:a\r\n\r\n");
  ASSERT_TRUE(scanned.IsWhole());
  EXPECT_EQ(scanned.msg().scan_status, 0);
  const Scanned header = Scan("INVITE sip:b SIP/2.0\r\n To: sip:a\r\n\r\n");
  ASSERT_TRUE(header.IsWhole());
  EXPECT_EQ(header.msg().scan_status, 400);
  EXPECT_EQ(header.msg().to.length, 0);
}

TEST(Scan, LoneLineEndsAndControlBytesAreDroppedFromValues) {
  static constexpr std::string_view kRows[] = {"a\nb",
                                               "a\rb",
                                               "a\tb",
                                               "a\0b"sv,
                                               "a\x01\x7F\x0B"
                                               "b",
                                               "\tab",
                                               "a\n\n\nb"};
  for (const std::string_view row : kRows) {
    SCOPED_TRACE(::testing::PrintToString(row));
    const Scanned scanned = Scan(Request("Call-ID: " + std::string{row} + "\r\nSubject: next\r\n"));
    ASSERT_TRUE(scanned.IsWhole());
    EXPECT_EQ(TextOf(scanned.msg().call_id), "ab");
    EXPECT_EQ(TextOf(scanned.msg().subject), "next");
  }
}

TEST(Scan, EveryRecordPointsIntoTheReceiveBlock) {
  cpsip_osa_chain block = BlockOf(UsualInvite());
  const cpsip_osa_buf* const received = block.get();
  Scanned scanned;
  scanned.result = cpsip_msg_scan(scanned.scan, std::move(block), scanned.complete, scanned.left_over);
  ASSERT_TRUE(scanned.IsWhole());
  const cpsip_msg& msg = scanned.msg();
  EXPECT_EQ(msg.chain.get(), received);
  EXPECT_EQ(msg.chain->next, nullptr) << "no header text is copied";
  const auto expect_inside = [&](const cpsip_field& field) {
    if (field.buf == nullptr) {
      EXPECT_EQ(field.length, 0);
      return;
    }
    EXPECT_EQ(field.buf, received);
    EXPECT_GE(field.offset, kOsaHeaderSize);
    EXPECT_LE(field.offset + field.length, kOsaHeaderSize + received->used);
  };
  for (const cpsip_field* field : {&msg.start_line, &msg.request_uri, &msg.to, &msg.to_display, &msg.to_uri,
                                   &msg.from, &msg.from_display, &msg.from_uri, &msg.call_id, &msg.user_agent,
                                   &msg.content_type_line, &msg.content_type}) {
    EXPECT_NE(field->length, 0);
    expect_inside(*field);
  }
  for (std::uint16_t i = 0; i < msg.fields.count(); ++i)
    expect_inside(msg.fields[i]);
}

TEST(Scan, UsualInviteTakesAtMostTenAllocations) {
  Scanned scanned;
  const std::string text = UsualInvite();
  const std::int64_t before = Allocations();
  cpsip_osa_chain block = BlockOf(text);
  scanned.result = cpsip_msg_scan(scanned.scan, std::move(block), scanned.complete, scanned.left_over);
  const std::int64_t taken = Allocations() - before;
  EXPECT_TRUE(scanned.IsWhole());
  EXPECT_LE(taken, 10);
  EXPECT_GE(taken, 1) << "the block at least: the count works";
}

}  // namespace
}  // namespace hark::test

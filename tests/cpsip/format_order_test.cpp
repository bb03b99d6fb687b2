// The order of the lines on the wire: one message that has everything, one that has nothing, and the same
// message built backwards.
#include <array>

#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;

struct Value {
  std::uint32_t id;
  std::string_view text;
  unsigned instance = 1;
  unsigned parm = 1;
};

constexpr Value kEverything[] = {
    {CPSIP_FLD_REQUEST_URI, "sip:bob@10.0.0.2"},
    {CPSIP_FLD_VIA_TRANSPORT, "UDP"},
    {CPSIP_FLD_VIA_HOST, "10.0.0.1"},
    {CPSIP_FLD_VIA_PORT, "5062"},
    {CPSIP_FLD_VIA_PARM, "branch=z9hG4bK1"},
    {CPSIP_FLD_VIA_PARM, "rport", 1, 2},
    {CPSIP_FLD_VIA_TRANSPORT, "TCP", 2},
    {CPSIP_FLD_VIA_HOST, "10.0.0.9", 2},
    {CPSIP_FLD_ROUTE_URI, "sip:p1;lr"},
    {CPSIP_FLD_ROUTE_URI, "<sip:p2;lr>", 2},
    {CPSIP_FLD_RECORD_ROUTE_URI, "sip:r1;lr"},
    {CPSIP_FLD_RECORD_ROUTE_URI, "sip:r2;lr", 2},
    {CPSIP_FLD_FROM_DISPLAY, "Alice"},
    {CPSIP_FLD_FROM_URI, "sip:alice@10.0.0.1"},
    {CPSIP_FLD_FROM_PARM, "tag=1"},
    {CPSIP_FLD_TO_DISPLAY, "\"Bob B.\""},
    {CPSIP_FLD_TO_URI, "sip:bob@10.0.0.2"},
    {CPSIP_FLD_TO_PARM, "tag=2"},
    {CPSIP_FLD_TO_PARM, "x", 1, 2},
    {CPSIP_FLD_CONTACT_DISPLAY, "Desk"},
    {CPSIP_FLD_CONTACT_URI, "sip:alice@10.0.0.1:5062"},
    {CPSIP_FLD_CONTACT_PARM, "q=0.7"},
    {CPSIP_FLD_CONTACT_PARM, "expires=60", 1, 2},
    {CPSIP_FLD_CONTACT_URI, "sip:alice@10.0.0.9", 2},
    {CPSIP_FLD_CALL_ID, "1@10.0.0.1"},
    {CPSIP_FLD_SERVER, "station server"},
    {CPSIP_FLD_SUBJECT, "on air"},
    {CPSIP_FLD_USER_AGENT, "station agent"},
    {CPSIP_FLD_UNKNOWN, "X-Station: 7"},
    {CPSIP_FLD_UNKNOWN, "X-Studio: 2", 2},
    {CPSIP_FLD_ALLOW_ITEM, "PRACK"},
    {CPSIP_FLD_ACCEPT_ITEM, "text/plain"},
    {CPSIP_FLD_REQUIRE_ITEM, "100rel"},
    {CPSIP_FLD_REQUIRE_ITEM, "timer", 1, 2},
    {CPSIP_FLD_REQUIRE_ITEM, "path", 2},
    {CPSIP_FLD_PROXY_REQUIRE_ITEM, "sec-agree"},
    {CPSIP_FLD_SUPPORTED_ITEM, "replaces"},
    {CPSIP_FLD_SUPPORTED_ITEM, "timer", 1, 2},
    {CPSIP_FLD_SUPPORTED_ITEM, "norefersub", 1, 3},
    {CPSIP_FLD_UNSUPPORTED_ITEM, "gruu"},
    {CPSIP_FLD_REPLACES, "9@h;to-tag=7;from-tag=8"},
    {CPSIP_FLD_REFER_TO_DISPLAY, "Carol"},
    {CPSIP_FLD_REFER_TO_URI, "sip:carol@10.0.0.3"},
    {CPSIP_FLD_REFERRED_BY_DISPLAY, "Dave"},
    {CPSIP_FLD_REFERRED_BY_URI, "sip:dave@10.0.0.4"},
    {CPSIP_FLD_ALLOW_EVENTS_ITEM, "refer"},
    {CPSIP_FLD_ALLOW_EVENTS_ITEM, "presence", 1, 2},
    {CPSIP_FLD_SUBSCRIPTION_STATE, "pending"},
    {CPSIP_FLD_EVENT, "presence"},
    {CPSIP_FLD_CONTENT_TYPE, "text/plain"},
    {CPSIP_FLD_CONTENT_TYPE_PARM, "charset=utf-8"},
};

constexpr std::string_view kEverythingBeforeTheBody =
    "INVITE sip:bob@10.0.0.2 SIP/2.0\r\n"
    "Via: SIP/2.0/UDP 10.0.0.1:5062;branch=z9hG4bK1;rport\r\n"
    "Via: SIP/2.0/TCP 10.0.0.9\r\n"
    "Route: <sip:p1;lr>\r\n"
    "Route: <sip:p2;lr>\r\n"
    "Record-Route: <sip:r1;lr>\r\n"
    "Record-Route: <sip:r2;lr>\r\n"
    "From: Alice <sip:alice@10.0.0.1>;tag=1\r\n"
    "To: \"Bob B.\" <sip:bob@10.0.0.2>;tag=2;x\r\n"
    "Contact: Desk <sip:alice@10.0.0.1:5062>;q=0.7;expires=60\r\n"
    "Contact: <sip:alice@10.0.0.9>\r\n"
    "Call-ID: 1@10.0.0.1\r\n"
    "CSeq: 4294967295 INVITE\r\n"
    "Expires: 3600\r\n"
    "Server: station server\r\n"
    "Subject: on air\r\n"
    "User-Agent: station agent\r\n"
    "Max-Forwards: 70\r\n"
    "X-Station: 7\r\n"
    "X-Studio: 2\r\n"
    "Allow: INVITE, ACK, BYE, CANCEL, REFER, OPTIONS, NOTIFY\r\n"
    "Require: 100rel, timer\r\n"
    "Require: path\r\n"
    "Proxy-Require: sec-agree\r\n"
    "Supported: replaces, timer, norefersub\r\n"
    "Unsupported: gruu\r\n"
    "Replaces: 9@h;to-tag=7;from-tag=8\r\n"
    "Refer-To: Carol <sip:carol@10.0.0.3?Replaces=9%40h%3Bto-tag%3D7%3Bfrom-tag%3D8>\r\n"
    "Referred-By:  Dave <sip:dave@10.0.0.4>\r\n"
    "Allow-Events:refer, presence\r\n"
    "Subscription-State: pending\r\n"
    "Event: presence\r\n";

void PutScalars(cpsip_msg& msg) {
  msg.method = msg.cseq_method = cpsip_method::invite;
  msg.cseq = 0xFFFFFFFF;
  msg.max_forwards = 70;
  msg.expires = 3600;
  msg.include_allow = true;
  msg.subscription_state_id = 1;
  msg.event_id = 1;
  msg.event_id_parm = 99;
}

TEST(FormatOrderTest, FullMessageHasItsLinesInTheFixedOrder) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  PutScalars(*msg);
  for (const Value& value : kEverything)
    Put(*msg, value.id, value.text, value.instance, value.parm);
  PutSession(*msg);
  msg->content_kind = cpsip_content_kind::sdp;
  msg->content_length = 1;  // only a marker

  std::array<char, kCpsdpMaxEncoded> session{};
  std::uint32_t length = 0;
  ASSERT_EQ(CPSDP_EncodeSession(msg->sdp.get(), kSessionPool, session, length), 0);
  EXPECT_EQ(Wire(msg), std::string(kEverythingBeforeTheBody) +
                           "Content-Type: application/sdp\r\nContent-Length: " + std::to_string(length) +
                           "\r\n\r\n" + std::string(session.data(), length));
  EXPECT_EQ(msg->content_length, length);
}

TEST(FormatOrderTest, OrderOfBuildingDoesNotMatter) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  for (std::size_t at = std::size(kEverything); at > 0; --at) {
    const Value& value = kEverything[at - 1];
    Put(*msg, value.id, value.text, value.instance, value.parm);
  }
  PutScalars(*msg);
  EXPECT_EQ(Wire(msg), std::string(kEverythingBeforeTheBody) +
                           "Content-Type: text/plain;charset=utf-8\r\nContent-Length: 0\r\n\r\n");
}

TEST(FormatOrderTest, FormattingTwiceGivesTheSameText) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(true);
  PutScalars(*msg);
  for (const Value& value : kEverything)
    Put(*msg, value.id, value.text, value.instance, value.parm);
  PutSession(*msg);
  msg->content_kind = cpsip_content_kind::sdp;
  msg->content_length = 1;
  const std::string first = Wire(msg);
  EXPECT_EQ(Wire(msg), first);
}

// From, To, Call-ID, CSeq and Content-Length are written whatever they hold.
TEST(FormatOrderTest, BlankRequestHasTheLinesThatAreAlwaysThere) {
  cpsip_msg_ptr msg = CPSIP_MsgCreate(false);
  msg->method = msg->cseq_method = cpsip_method::bye;
  EXPECT_EQ(Wire(msg),
            "BYE  SIP/2.0\r\nFrom:\r\nTo:\r\nCall-ID: \r\nCSeq: 0 BYE\r\nContent-Length: 0\r\n\r\n");
}

TEST(FormatOrderTest, ResponseBeginsWithItsStatusLine) {
  cpsip_msg_ptr msg = NewRequest();
  msg->method = cpsip_method::response;
  msg->status_code = 486;
  Put(*msg, CPSIP_FLD_REASON, "Busy Here");
  EXPECT_EQ(Wire(msg), "SIP/2.0 486 Busy Here\r\n" + std::string(kPlainHead) +
                           "CSeq: 1 INVITE\r\nContent-Length: 0\r\n\r\n");
}

TEST(FormatOrderTest, OrdinaryMessageLiesInOneBlock) {
  cpsip_msg_ptr msg = NewRequest();
  cpsip_osa_chain out;
  ASSERT_EQ(cpsip_msg_format(*msg, {}, out), 0);
  EXPECT_EQ(out->capacity, kSocketBlockSize);
  EXPECT_EQ(out->next, nullptr);
}

// Blocks are filled to their last byte, and the text goes on in the next one.
TEST(FormatOrderTest, LongMessageGoesOnInBlocksOfTheSameSize) {
  for (const std::size_t length : {1200UL, 1399UL, 1400UL, 1401UL, 2900UL, 5000UL, 60000UL}) {
    SCOPED_TRACE(length);
    cpsip_msg_ptr msg = NewRequest();
    Put(*msg, CPSIP_FLD_SUBJECT, Pattern(length));
    cpsip_osa_chain out;
    ASSERT_EQ(cpsip_msg_format(*msg, {}, out), 0);
    const std::string wire = ChainText(out.get());
    EXPECT_EQ(wire, "INVITE sip:bob@10.0.0.2 SIP/2.0\r\n" + std::string(kPlainHead) +
                        "CSeq: 1 INVITE\r\nSubject: " + Pattern(length) + "\r\nContent-Length: 0\r\n\r\n");
    std::vector<unsigned> used(wire.size() / kSocketBlockSize, kSocketBlockSize);
    if (wire.size() % kSocketBlockSize != 0) used.push_back(wire.size() % kSocketBlockSize);
    EXPECT_EQ(UsedOfBlocks(out.get()), used);
    for (const cpsip_osa_buf* block = out.get(); block != nullptr; block = block->next) {
      EXPECT_EQ(block->capacity, kSocketBlockSize);
    }
  }
}

TEST(FormatOrderTest, FormattingDoesNotTouchTheTextOfTheMessage) {
  cpsip_msg_ptr msg = NewRequest();
  Put(*msg, CPSIP_FLD_ROUTE_URI, "sip:p1;lr");
  const std::string before = ChainText(msg->chain.get());
  (void)Wire(msg);
  EXPECT_EQ(ChainText(msg->chain.get()), before);
  EXPECT_THAT(LinesWith(Wire(msg), "Route:"), ElementsAre("Route: <sip:p1;lr>"));
}

}  // namespace
}  // namespace hark::test

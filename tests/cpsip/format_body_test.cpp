// The body on the wire: which headers announce it, the session that is encoded on the way out, and what is
// left when that fails.
#include <algorithm>
#include <memory>

#include "cpsip/msg_fixture.h"

namespace hark::test {
namespace {

using Kind = cpsip_content_kind;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

void PutBody(cpsip_msg& msg, std::string_view body) {
  msg.body = std::make_unique<char[]>(body.size());
  std::copy(body.begin(), body.end(), msg.body.get());
  msg.content_length = static_cast<std::uint32_t>(body.size());
}

// What stands behind CSeq.
std::string Tail(cpsip_msg_ptr& msg) {
  const std::string wire = Wire(msg);
  return wire.substr(wire.find("\r\n", wire.find("CSeq:")) + 2);
}

struct BodyRow {
  Kind kind;
  std::string_view body;
  std::string_view content_type;
  std::string tail;
};

TEST(FormatBodyTest, FirstRuleThatFitsAnnouncesTheBody) {
  const BodyRow rows[] = {
      {Kind::none, "", "", "Content-Length: 0\r\n\r\n"},
      {Kind::none, "hello", "", "Content-Length: 5\r\n\r\nhello"},
      {Kind::other, "hello", "", "Content-Length: 5\r\n\r\nhello"},
      {Kind::none, "", "text/plain", "Content-Type: text/plain;a=1;b=2\r\nContent-Length: 0\r\n\r\n"},
      {Kind::other, "hello", "text/plain",
       "Content-Type: text/plain;a=1;b=2\r\nContent-Length: 5\r\n\r\nhello"},
      {Kind::sipfrag, "SIP/2.0 100 Trying", "",
       "Content-Type: message/sipfrag;version=2.0\r\nContent-Length: 18\r\n\r\nSIP/2.0 100 Trying"},
      {Kind::sipfrag, "SIP/2.0 100 Trying", "text/plain",
       "Content-Type: message/sipfrag;version=2.0\r\nContent-Length: 18\r\n\r\nSIP/2.0 100 Trying"},
      {Kind::sipfrag, "", "", "Content-Length: 0\r\n\r\n"},
      {Kind::sipfrag, "", "text/plain", "Content-Type: text/plain;a=1;b=2\r\nContent-Length: 0\r\n\r\n"},
      {Kind::sdp, "", "", "Content-Length: 0\r\n\r\n"},
      {Kind::sdp, "", "text/plain", "Content-Type: text/plain;a=1;b=2\r\nContent-Length: 0\r\n\r\n"},
  };
  for (const BodyRow& row : rows) {
    SCOPED_TRACE(row.tail);
    cpsip_msg_ptr msg = NewRequest();
    msg->content_kind = row.kind;
    PutBody(*msg, row.body);
    if (!row.content_type.empty()) {
      Put(*msg, CPSIP_FLD_CONTENT_TYPE, row.content_type);
      Put(*msg, CPSIP_FLD_CONTENT_TYPE_PARM, "a=1", 1, 1);
      Put(*msg, CPSIP_FLD_CONTENT_TYPE_PARM, "b=2", 1, 2);
    }
    EXPECT_EQ(Tail(msg), row.tail);
  }
}

TEST(FormatBodyTest, BodyMayHoldAnyBytes) {
  cpsip_msg_ptr msg = NewRequest();
  PutBody(*msg, std::string_view("\0\xFF\r\n", 4));
  EXPECT_EQ(Tail(msg), "Content-Length: 4\r\n\r\n" + std::string("\0\xFF\r\n", 4));
}

TEST(FormatBodyTest, LongBodyGoesOnInTheNextBlocks) {
  cpsip_msg_ptr msg = NewRequest();
  PutBody(*msg, Pattern(4000));
  EXPECT_EQ(Tail(msg), "Content-Length: 4000\r\n\r\n" + Pattern(4000));
}

// A length without a body is no promise that is kept.
TEST(FormatBodyTest, MissingBodyHasLengthZero) {
  cpsip_msg_ptr msg = NewRequest();
  msg->content_length = 12;
  EXPECT_EQ(Tail(msg), "Content-Length: 0\r\n\r\n");
}

std::string EncodedSession(const cpsip_msg& msg) {
  std::string text(kCpsdpMaxEncoded, ' ');
  std::uint32_t length = 0;
  EXPECT_EQ(CPSDP_EncodeSession(msg.sdp.get(), msg.sdp_text.view(), text, length), 0);
  return text.substr(0, length);
}

TEST(FormatBodyTest, SessionIsEncodedWhateverLengthTheMessageHad) {
  for (const std::uint32_t marker : {1U, 500U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(marker);
    cpsip_msg_ptr msg = NewRequest();
    PutSession(*msg);
    Put(*msg, CPSIP_FLD_CONTENT_TYPE, "text/plain");
    msg->content_kind = Kind::sdp;
    msg->content_length = marker;
    const std::string session = EncodedSession(*msg);
    ASSERT_THAT(session, StartsWith("v=0\r\no=hark 7 8 IN IP4 10.0.0.1\r\n"));
    EXPECT_EQ(Tail(msg), "Content-Type: application/sdp\r\nContent-Length: " +
                             std::to_string(session.size()) + "\r\n\r\n" + session);
    EXPECT_EQ(msg->content_length, session.size());
  }
}

TEST(FormatBodyTest, SessionWithoutALengthIsNotSent) {
  cpsip_msg_ptr msg = NewRequest();
  PutSession(*msg);
  msg->content_kind = Kind::sdp;
  EXPECT_EQ(Tail(msg), "Content-Length: 0\r\n\r\n");
}

// The answer to OPTIONS, too: the method is that of CSeq.
TEST(FormatBodyTest, OptionsWithASessionTellWhatIsAccepted) {
  for (const cpsip_method method : {cpsip_method::options, cpsip_method::response}) {
    cpsip_msg_ptr msg = NewRequest(cpsip_method::options);
    msg->method = method;
    PutSession(*msg);
    msg->content_kind = Kind::sdp;
    msg->content_length = 1;
    EXPECT_THAT(Tail(msg),
                StartsWith("Accept: application/sdp\r\nContent-Type: application/sdp\r\nContent-Length: "));
  }
}

TEST(FormatBodyTest, OtherMessagesDoNotTellWhatIsAccepted) {
  cpsip_msg_ptr options_without_session = NewRequest(cpsip_method::options);
  EXPECT_THAT(Wire(options_without_session), Not(HasSubstr("Accept")));
  cpsip_msg_ptr sipfrag = NewRequest(cpsip_method::options);
  sipfrag->content_kind = Kind::sipfrag;
  PutBody(*sipfrag, "SIP/2.0 200 OK");
  EXPECT_THAT(Wire(sipfrag), Not(HasSubstr("Accept")));
  cpsip_msg_ptr by_method_only = NewRequest(cpsip_method::invite);
  by_method_only->method = cpsip_method::options;
  PutSession(*by_method_only);
  by_method_only->content_kind = Kind::sdp;
  by_method_only->content_length = 1;
  EXPECT_THAT(Wire(by_method_only), Not(HasSubstr("Accept")));
}

TEST(FormatBodyTest, SessionThatDoesNotEncodeIsReportedAndLeavesWhatWasWritten) {
  cpsip_msg_ptr msg = NewRequest();
  PutSession(*msg);
  msg->content_kind = Kind::sdp;
  msg->content_length = 1;
  msg->sdp->c_addr_type = cpsdp_addr_type::neither;
  Formatted formatted{};
  EXPECT_THAT(ReportsOf([&] { formatted = Format(msg); }), StartsWith("UXP"));
  EXPECT_EQ(formatted.result, kEncodeBadConnectionType);
  EXPECT_THAT(formatted.wire, StartsWith("INVITE sip:bob@10.0.0.2 SIP/2.0\r\n" + std::string(kPlainHead)));
  EXPECT_THAT(formatted.wire, Not(HasSubstr("Content-Length")));
  ASSERT_NE(msg, nullptr) << "the message is still its owner's";
  EXPECT_EQ(Text(*msg, CPSIP_FLD_CALL_ID), "1@10.0.0.1");
}

TEST(FormatBodyTest, SessionThatIsMissingFails) {
  cpsip_msg_ptr msg = NewRequest();
  msg->content_kind = Kind::sdp;
  msg->content_length = 1;
  Formatted formatted{};
  EXPECT_THAT(ReportsOf([&] { formatted = Format(msg); }), StartsWith("UXP"));
  EXPECT_EQ(formatted.result, kEncodeNoSession);
  EXPECT_EQ(formatted.used.size(), 1U);
  EXPECT_NE(msg, nullptr);
}

TEST(FormatBodyTest, SessionAboveTheEncodersRoomFails) {
  const std::string pool(255, 'x');
  cpsip_msg_ptr msg = NewRequest();
  PutSession(*msg);
  msg->sdp_text.borrow(pool);
  for (std::size_t at = 0; at < 5; ++at)
    msg->sdp->a_attr[at] = {255, 0};
  msg->sdp->a_count = 5;
  msg->content_kind = Kind::sdp;
  msg->content_length = 1;
  Formatted formatted{};
  (void)ReportsOf([&] { formatted = Format(msg); });
  EXPECT_EQ(formatted.result, kEncodeAttribute);
}

}  // namespace
}  // namespace hark::test

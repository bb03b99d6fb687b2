// What the document of the SIP stack says of answers to offers, and of URIs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "cpsdp/sdp_fixture.h"
#include "cpsip/cpsip_uri.h"
#include "docs/document.h"
#include "docs/sip_document.h"

namespace hark::test {
namespace {

class SipAnswers : public testing::Test {
 protected:
  // The answer's text.
  static std::string AnswerOf(const std::string& ours, const std::string& offer) {
    const Answer answer = Negotiate(ours, offer);
    const Encoded written = Encode(answer);
    EXPECT_EQ(written.error, 0);
    return written.text;
  }
  // A description with one format, "97 L24/48000/2", and further lines for it.
  static std::string WithFormat(const std::string& format, const std::string& further = "") {
    const std::string number = format.substr(0, format.find(' '));
    return Session({"m=audio 5004 RTP/AVP " + number, "a=rtpmap:" + format}) + further;
  }
  // What the answer says behind this beginning of a line; "none" when there is no such line.
  static std::string LineOf(const std::string& answer, std::string_view begin) {
    const std::size_t at = answer.find("\r\n" + std::string(begin));
    if (at == std::string::npos) return "none";
    const std::size_t text = at + 2 + begin.size();
    return answer.substr(text, answer.find('\r', text) - text);
  }

  const Document document_ = read_document(kSipDocument);
};

TEST_F(SipAnswers, AreTheOneOfTheExample) {
  const std::string ours = wire_block(document_.text, "local");
  const std::string offer = wire_block(document_.text, "offer");
  EXPECT_EQ(AnswerOf(ours, offer), wire_block(document_.text, "answer"));
  EXPECT_EQ(Negotiate(ours, offer).rejected, 1);
}

TEST_F(SipAnswers, HaveTheFormatsOfTheTable) {
  const std::vector<Row> rows =
      table_rows(document_.text, "| offered | ours | answered |\n|---|---|---|\n| `97 L24");
  EXPECT_GE(rows.size(), 10U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0] + ", " + row[1]);
    EXPECT_EQ(LineOf(AnswerOf(WithFormat(row[1]), WithFormat(row[0])), "a=rtpmap:"), row[2]);
  }
}

TEST_F(SipAnswers, HaveTheTelephoneEventsOfTheTable) {
  const std::size_t at = document_.text.find("Telephone events, in the `a=fmtp` of both sides");
  ASSERT_NE(at, std::string::npos);
  const std::vector<Row> rows = table_rows(document_.text.substr(at), "| offered | ours | answered |");
  EXPECT_GE(rows.size(), 5U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0] + ", " + row[1]);
    const std::string offer = WithFormat("101 telephone-event/8000", "a=fmtp:101 " + row[0] + "\r\n");
    const std::string ours = WithFormat("99 telephone-event/8000", "a=fmtp:99 " + row[1] + "\r\n");
    EXPECT_EQ(LineOf(AnswerOf(ours, offer), "a=fmtp:101 "), row[2]);
  }
}

TEST_F(SipAnswers, SettleAnnexbByEitherSide) {
  const auto annexb = [](const std::string& ours, const std::string& offered) {
    const auto g729 = [](const std::string& fmtp) {
      return WithFormat("18 G729/8000", fmtp.empty() ? "" : "a=fmtp:18 " + fmtp + "\r\n");
    };
    return LineOf(AnswerOf(g729(ours), g729(offered)), "a=fmtp:18 ");
  };
  EXPECT_EQ(annexb("", ""), "annexb=yes");
  EXPECT_EQ(annexb("annexb=no", ""), "annexb=no");
  EXPECT_EQ(annexb("", "annexb=no"), "annexb=no");
  EXPECT_EQ(annexb("annexb=yes", "annexb=nonsense"), "annexb=yes");
}

TEST_F(SipAnswers, TurnTheDirectionRound) {
  struct Case {
    const char* offered;
    const char* answered;
  };
  for (const Case& shown : {Case{"sendonly", "recvonly"}, Case{"recvonly", "sendonly"},
                            Case{"sendrecv", "sendrecv"}, Case{"inactive", "inactive"}}) {
    const std::string offer = InMedia({std::string("a=") + shown.offered});
    EXPECT_THAT(AnswerOf(InMedia({}), offer),
                testing::HasSubstr(std::string("a=") + shown.answered + "\r\n"));
  }
}

TEST_F(SipAnswers, OfMediaThatCannotBeWrittenFailAsAWhole) {
  for (const std::string medium : {"m=application 5004 udp 0", "m=audio 5004 TCP/RTP/AVP 0"}) {
    const Answer answer = Negotiate(InMedia({}), InMedia({medium}));
    EXPECT_EQ(answer.rejected, 1);
    const std::string error = std::to_string(Encode(answer).error);
    EXPECT_THAT(document_.text, testing::ContainsRegex("\\| " + error + " \\|.*" + medium)) << error;
  }
}

std::string text_of(cpsip_transport_kind transport) {
  constexpr std::array<const char*, 5> kTexts{"", "udp", "tcp", "sctp", "tls"};
  return kTexts.at(static_cast<std::size_t>(transport));
}

TEST_F(SipAnswers, AndUrisHaveThePartsOfTheTable) {
  const std::vector<Row> rows =
      table_rows(document_.text, "| URI | result | scheme | user | host | port | transport |");
  EXPECT_GE(rows.size(), 16U);
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0]);
    ASSERT_EQ(row.size(), 7U);
    const std::string text = pieces_of(row[0]).at(0);
    cpsip_uri uri;
    uri.text = text;
    testing::internal::CaptureStdout();
    const int result = CPSIP_MsgParseURI(uri);
    const std::string reports = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::to_string(result), row[1]);
    EXPECT_EQ(reports.empty(), result == kUriOk);
    if (result != kUriOk) continue;
    EXPECT_EQ(uri.scheme, row[2]);
    EXPECT_EQ(uri.user, row[3]);
    EXPECT_EQ(uri.host, row[4]);
    EXPECT_EQ(uri.port == 0 ? "" : std::to_string(uri.port), row[5]);
    EXPECT_EQ(text_of(uri.transport), row[6]);
  }
}

}  // namespace
}  // namespace hark::test

// What holds for any offer and any local description: the answer can be sent and read again, has the offer's
// media, and no format that was not offered. The descriptions are drawn from a fixed seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

constexpr int kRounds = 1500;

class Source {
 public:
  explicit Source(std::uint32_t seed) : engine_(seed) {}

  // 0 to `below` - 1.
  std::uint32_t Below(std::uint32_t below) { return static_cast<std::uint32_t>(engine_() % below); }
  bool Once(std::uint32_t in) { return Below(in) == 0; }

  template <std::size_t N>
  std::string Of(const std::string_view (&choices)[N]) {
    return std::string(choices[Below(N)]);
  }

  // A description, with an o= line or perhaps with one. An offer needs it: without it the answer's line would
  // lack its words.
  std::string Offer() { return Body(true); }
  std::string Local() { return Body(!Once(4)); }
  // An offer whose media list no format twice, so that each rtpmap and fmtp line stays with its format.
  std::string Plain() {
    plain_ = true;
    std::string body = Body(true);
    plain_ = false;
    return body;
  }

 private:
  std::string Body(bool origin) {
    std::string body = "v=0\r\n";
    body += !origin ? "" : "o=u " + std::to_string(Below(100)) + " 1 IN " + Of(kTypes) + " origin\r\n";
    body += "s=some name\r\n";
    body += Once(4) ? "" : "c=IN " + Of(kTypes) + " session\r\n";
    body += "t=0 0\r\n" + Attributes();
    for (std::uint32_t count = Below(5); count > 0; --count) {
      body += Medium();
    }
    return body;
  }

  static constexpr std::string_view kTypes[] = {"IP4", "IP6"};
  static constexpr std::string_view kMediaTypes[] = {"audio", "audio", "video"};
  static constexpr std::string_view kProtos[] = {"RTP/AVP", "RTP/AVP", "RTP/SAVP", "udp"};
  static constexpr std::string_view kNumbers[] = {"0",  "8",  "18",  "34",  "95", "96",
                                                  "97", "98", "101", "127", "300"};
  static constexpr std::string_view kMaps[] = {"L24/48000/2",
                                               "L16/48000",
                                               "l24/48000/1",
                                               "L2/48000",
                                               "G729/8000",
                                               "opus/48000/2",
                                               "tele/8000",
                                               "telephone-event/8000",
                                               "telephone-event/48000",
                                               "PCMU/8000",
                                               "odd",
                                               "/8000",
                                               "x/0"};
  static constexpr std::string_view kFmtp[] = {"0-15",      "0-11,16",    "1-5,8,255",    "x=1; y=2",
                                               "annexb=no", "annexb=yes", "0-9999999999", ""};
  static constexpr std::string_view kAttributes[] = {"tool:x",   "tool",       "mid:1",    "ptime:2",
                                                     "sendonly", "recvonly",   "inactive", "a  b",
                                                     "x:y z",    "maxptime:20"};

  std::string Attributes() {
    std::string lines;
    for (std::uint32_t count = Below(4); count > 0; --count) {
      lines += "a=" + Of(kAttributes) + "\r\n";
    }
    return lines;
  }

  std::string Medium() {
    std::string line = "m=" + Of(kMediaTypes) + " " + std::to_string(Below(65536)) + " " + Of(kProtos);
    std::string below = Once(3) ? "c=IN IP4 medium\r\n" : "";
    for (std::uint32_t count = Below(17); count > 0; --count) {
      const std::string number = Of(kNumbers);
      if (plain_ && (line + " ").find(" " + number + " ") != std::string::npos) {
        continue;
      }
      line += " " + number;
      below += Once(4) ? "" : "a=rtpmap:" + number + " " + Of(kMaps) + "\r\n";
      below += Once(2) ? "" : "a=fmtp:" + number + " " + Of(kFmtp) + "\r\n";
    }
    return line + "\r\n" + below + Attributes();
  }

  std::mt19937 engine_;
  bool plain_ = false;
};

bool Offers(const cpsdp_media& medium, std::uint16_t number) {
  const auto* const end = medium.fmt.begin() + medium.fmt_count;
  return std::find(medium.fmt.begin(), end, number) != end;
}

void CheckAnswer(const Description& local, const Description& offer, const Answer& answer) {
  ASSERT_EQ(answer.parms.m_count, offer.parms.m_count);
  int rejected = 0;
  for (std::size_t i = 0; i < offer.parms.m_count; ++i) {
    const cpsdp_media& medium = answer.Medium(i);
    const cpsdp_media& offered = offer.Medium(i);
    EXPECT_EQ(medium.m_type, offered.m_type);
    EXPECT_EQ(medium.m_proto, offered.m_proto);
    const auto matches = [&](const std::unique_ptr<cpsdp_media>& one) {
      return one != nullptr && one->m_type == offered.m_type && one->m_proto == offered.m_proto;
    };
    const auto ours = std::find_if(local.parms.media.begin(), local.parms.media.end(), matches);
    ASSERT_LE(medium.fmt_count, kCpsdpMaxFormats);
    for (std::size_t f = 0; f < medium.fmt_count; ++f) {
      EXPECT_TRUE(Offers(offered, medium.fmt[f])) << medium.fmt[f];
      EXPECT_TRUE(ours == local.parms.media.end() || Offers(**ours, medium.fmt_local[f]))
          << medium.fmt_local[f];
    }
    rejected += ours == local.parms.media.end() ? 1 : 0;
    EXPECT_EQ(medium.m_port, ours == local.parms.media.end() ? 0 : (*ours)->m_port);
  }
  EXPECT_EQ(answer.rejected, rejected);
}

void CheckWire(const Description& offer, const Answer& answer) {
  const Encoded encoded = Encode(answer);
  ASSERT_EQ(encoded.error, 0);
  const Description again = Parse(encoded.text);
  ASSERT_EQ(again.reason, 0) << encoded.text;
  ASSERT_EQ(again.parms.m_count, offer.parms.m_count);
  for (std::size_t i = 0; i < again.parms.m_count; ++i) {
    EXPECT_EQ(again.Medium(i).fmt_count, answer.Medium(i).fmt_count);
    for (std::size_t f = 0; f < again.Medium(i).fmt_count; ++f) {
      EXPECT_EQ(again.Medium(i).fmt[f], answer.Medium(i).fmt[f]);
    }
    EXPECT_EQ(again.Medium(i).m_port, answer.Medium(i).m_port);
    EXPECT_EQ(again.Medium(i).direction, answer.Medium(i).direction);
  }
  EXPECT_EQ(again.Text(again.parms.o_address), answer.Text(answer.parms.o_address));
  EXPECT_EQ(again.Text(again.parms.c_address), answer.Text(answer.parms.c_address));
}

TEST(CpsdpNegotiateRandom, AnswerCanBeSentAndHasOfferedFormatsOnly) {
  Source source(20240611);
  int with_formats = 0;
  for (int round = 0; round < kRounds && !testing::Test::HasFailure(); ++round) {
    const Description local = Parse(source.Local());
    Description offer = Parse(source.Offer());
    SCOPED_TRACE(std::string(offer.Pool()) + "to local\n" + std::string(local.Pool()));
    ASSERT_EQ(local.reason, 0);
    ASSERT_EQ(offer.reason, 0);
    const Answer answer = Negotiate(local, offer, 16384);
    CheckAnswer(local, offer, answer);
    CheckWire(offer, answer);
    with_formats += answer.parms.m_count > answer.rejected && answer.Medium().fmt_count > 0 ? 1 : 0;
  }
  EXPECT_GT(with_formats, kRounds / 10);
}

TEST(CpsdpNegotiateRandom, DescriptionIsTheSameAfterTheSecondWriting) {
  Source source(7);
  int compared = 0;
  for (int round = 0; round < kRounds && !testing::Test::HasFailure(); ++round) {
    const Description first = Parse(source.Plain());
    SCOPED_TRACE(first.Pool());
    const Encoded once = Encode(first);
    ASSERT_EQ(once.error, 0);
    const Description second = Parse(once.text);
    ASSERT_EQ(second.reason, 0);
    EXPECT_EQ(second.parms.m_count, first.parms.m_count);
    // A name without a rate and a text with a doubled blank lose characters with each reading; the rest
    // stays.
    const auto has = [&first](std::string_view text) {
      return first.Pool().find(text) != std::string_view::npos;
    };
    if (!has(" odd\r\n") && !has(" x/0\r\n") && !has("a  b")) {
      ++compared;
      EXPECT_EQ(Encode(second).text, once.text);
    }
  }
  EXPECT_GT(compared, kRounds / 10);
}

TEST(CpsdpNegotiateRandom, DamagedDescriptionNeverLeadsOutOfTheBody) {
  Source source(11);
  for (int round = 0; round < kRounds; ++round) {
    std::string body = source.Offer();
    for (std::uint32_t count = source.Below(8); count > 0; --count) {
      static constexpr std::string_view kBytes[] = {"\n", "\r", " ",    "=",  "/",     ":",
                                                    "0",  "m",  "\xff", "a=", "\r\nm="};
      body.replace(source.Below(static_cast<std::uint32_t>(body.size())), source.Below(3), source.Of(kBytes));
    }
    testing::internal::CaptureStdout();
    Description damaged = Parse(body);
    const Description local = Parse(source.Local());
    const Answer answer = Negotiate(local, damaged, source.Below(2048));
    (void)testing::internal::GetCapturedStdout();
    EXPECT_GE(damaged.reason, 0);
    EXPECT_LE(damaged.reason, 55);
    EXPECT_EQ(answer.parms.m_count, damaged.parms.m_count) << body;
    (void)Encode(answer, source.Below(2048));
  }
}

}  // namespace
}  // namespace hark::test

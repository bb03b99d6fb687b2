// The payload types of a service: which strings can be read and what they tell, and the session description
// that is offered by them.
#include "sipua/SipPayloads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace hark::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

std::string text_of(const SPayloadTypes& type) {
  return std::to_string(type.nPayloadType) + ' ' + std::string(type.pszName) + ' ' +
         std::to_string(type.nClockRate) + " [" + std::string(type.pszParams) + "] [" +
         std::string(type.pszFmtp) + ']';
}

std::vector<std::string> texts_of(const SipPayloads& payloads) {
  std::vector<std::string> texts;
  for (const SPayloadTypes& type : payloads.types())
    texts.push_back(text_of(type));
  return texts;
}

TEST(PayloadTypes, AreReadAsTold) {
  struct Row {
    const char* text;
    std::vector<std::string> types;
  };
  const Row rows[] = {
      {"96=L24/48000/2", {"96 L24 48000 [2] []"}},
      {"9=G722/8000", {"9 G722 8000 [] []"}},
      {"0=PCMU/8000|8=PCMA/8000", {"0 PCMU 8000 [] []", "8 PCMA 8000 [] []"}},
      {"101=telephone-event/8000 0-15", {"101 telephone-event 8000 [] [0-15]"}},
      {"96=opus/48000/2 stereo=1; useinbandfec=1", {"96 opus 48000 [2] [stereo=1; useinbandfec=1]"}},
      {"127=A/1", {"127 A 1 [] []"}},
      {"000=A/0", {"0 A 0 [] []"}},
      {"1=/8000", {"1  8000 [] []"}},
      {"1=A/8000/", {"1 A 8000 [] []"}},
      {"1=A/8000 ", {"1 A 8000 [] []"}},
      {"1=A/8000;what=ever|2=B/1", {"1 A 8000 [] []", "2 B 1 [] []"}},
      {"1=A|B/8000", {"1 A|B 8000 [] []"}},
      {"1=A/99999999999", {"1 A 4294967295 [] []"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    SipPayloads payloads;
    EXPECT_TRUE(payloads.ParsePayloadTypes(row.text));
    EXPECT_EQ(texts_of(payloads), row.types);
  }
}

TEST(PayloadTypes, AreNoneAfterATextThatCannotBeRead) {
  for (const char* text : {"", "|", "96=L24/48000/2|", "|96=L24/48000/2", "=L24/48000", "x=L24/48000", "96",
                           "96=", "96=L24", "96=L24/", "96=L24/x", "128=A/1", "99999999999999999999=A/1",
                           "96 =A/1", "96=A/8000||97=B/1", "-1=A/1"}) {
    SCOPED_TRACE(text);
    SipPayloads payloads;
    EXPECT_FALSE(payloads.ParsePayloadTypes(text));
    EXPECT_THAT(payloads.types(), IsEmpty());
  }
}

TEST(PayloadTypes, AreNoneWithoutAText) {
  SipPayloads payloads;
  ASSERT_TRUE(payloads.ParsePayloadTypes("9=G722/8000"));
  EXPECT_TRUE(payloads.ParsePayloadTypes(nullptr));
  EXPECT_THAT(payloads.types(), IsEmpty());
}

TEST(PayloadTypes, AreThirtyTwoAtMost) {
  std::string text = "1=A/1";
  for (int i = 1; i < 32; ++i)
    text += "|1=A/1";
  SipPayloads payloads;
  EXPECT_TRUE(payloads.ParsePayloadTypes(text.c_str()));
  EXPECT_THAT(payloads.types(), SizeIs(32));
  EXPECT_FALSE(payloads.ParsePayloadTypes((text + "|1=A/1").c_str()));
}

class LocalDescription : public testing::Test {
 protected:
  std::size_t Make(const char* text) {
    EXPECT_TRUE(payloads.ParsePayloadTypes(text));
    return used = InitSDPConfig(parms, pool, "10.0.0.1", payloads.types());
  }
  std::string Encoded() {
    std::array<char, kCpsdpMaxEncoded> out;
    std::uint32_t length = 0;
    EXPECT_EQ(CPSDP_EncodeSession(&parms, {pool.data(), used}, out, length), 0);
    return {out.data(), length};
  }

  SipPayloads payloads;
  cpsdp_parms parms;
  std::array<char, kCpsdpMaxEncoded> pool{};
  std::size_t used = 0;
};

TEST_F(LocalDescription, HasOneAudioMediumOfTheTypes) {
  EXPECT_EQ(Make("96=L24/48000/2|101=telephone-event/8000 0-15"), used);
  EXPECT_EQ(parms.o_session_id, parms.o_session_version);
  const std::string id = std::to_string(parms.o_session_id);
  EXPECT_EQ(Encoded(), "v=0\r\no=- " + id + ' ' + id +
                           " IN IP4 10.0.0.1\r\ns=-\r\nc=IN IP4 10.0.0.1\r\nt=0 0\r\n"
                           "m=audio 0 RTP/AVP 96 101\r\nc=IN IP4 10.0.0.1\r\na=rtpmap:96 L24/48000/2\r\n"
                           "a=rtpmap:101 telephone-event/8000\r\na=fmtp:101 0-15\r\n");
}

TEST_F(LocalDescription, IsNoneWithoutTypes) {
  EXPECT_EQ(Make(nullptr), 0U);
  EXPECT_EQ(parms.m_count, 0);
  EXPECT_TRUE(parms.o_address.empty());
}

TEST_F(LocalDescription, HasTheFirstSixteenOfMoreTypes) {
  std::string text = "0=A/1";
  for (int i = 1; i < 20; ++i)
    text += '|' + std::to_string(i) + "=A/1";
  EXPECT_NE(Make(text.c_str()), 0U);
  ASSERT_EQ(parms.m_count, 1);
  EXPECT_EQ(parms.media[0]->fmt_count, 16);
  EXPECT_EQ(parms.media[0]->fmt[15], 15);
}

TEST_F(LocalDescription, LeavesOutATextThatThePoolHasNoRoomFor) {
  const std::string longest = "1=" + std::string(255, 'n') + "/8000";
  EXPECT_NE(Make((longest + '|' + longest + '|' + longest + '|' + longest + "|2=B/1").c_str()), 0U);
  const cpsdp_media& media = *parms.media[0];
  EXPECT_EQ(media.rtp_name[2].length, 255);
  EXPECT_TRUE(media.rtp_name[3].empty());
  EXPECT_EQ(media.rtp_name[4].in({pool.data(), used}), "B");
}

}  // namespace
}  // namespace hark::test

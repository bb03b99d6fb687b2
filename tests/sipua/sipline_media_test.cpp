// The two texts that a line makes of a session description: its codecs, and where its medium is.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

#include "sipua/SipLine.h"
#include "sipua/SipPayloads.h"

namespace hark::test {
namespace {

// A description that is parsed, with its text as its pool.
class LineMedia : public ::testing::Test {
 protected:
  void Parse(const std::string& media, const std::string& connection = "c=IN IP4 239.192.0.2\r\n") {
    text_ = "v=0\r\no=- 1 1 IN IP4 10.0.0.2\r\ns=-\r\n" + connection + "t=0 0\r\n" + media;
    parms_ = std::make_unique<cpsdp_parms>();
    ASSERT_EQ(CPSDP_ParseSession({text_.data(), text_.size()}, *parms_), 0) << text_;
  }
  std::string Codecs(bool remap = false) {
    out_.fill('x');
    count_ = GetCommonCodecList(remap, out_, parms_.get(), text_);
    return out_.data();
  }
  std::string Media() {
    out_.fill('x');
    result_ = GetMediaPortAndAddress(out_, parms_.get(), text_);
    return out_.data();
  }

  std::string text_;
  std::unique_ptr<cpsdp_parms> parms_;
  std::array<char, 1024> out_{};
  std::size_t count_ = 0;
  int result_ = 0;
};

TEST_F(LineMedia, CodecsAreRenderedInTheGrammarOfPayloadTypes) {
  struct Row {
    const char* media;
    const char* codecs;
    std::size_t count;
  };
  const Row rows[] = {
      {"m=audio 5004 RTP/AVP 96\r\na=rtpmap:96 L24/48000/2\r\n", "96=L24/48000/2", 1},
      {"m=audio 5004 RTP/AVP 9\r\na=rtpmap:9 G722/8000\r\n", "9=G722/8000", 1},
      {"m=audio 5004 RTP/AVP 96 101\r\na=rtpmap:96 L24/48000/2\r\na=rtpmap:101 telephone-event/8000\r\n"
       "a=fmtp:101 0-15\r\n",
       "96=L24/48000/2|101=telephone-event/8000 0-15", 2},
      {"m=audio 5004 RTP/AVP 97\r\na=rtpmap:97 opus/48000/2\r\na=fmtp:97 stereo=1\r\n",
       "97=opus/48000/2 stereo=1", 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.media);
    Parse(row.media);
    EXPECT_EQ(Codecs(), row.codecs);
    EXPECT_EQ(count_, row.count);
    SipPayloads payloads;
    EXPECT_TRUE(payloads.ParsePayloadTypes(row.codecs));
    EXPECT_EQ(payloads.types().size(), row.count);
  }
}

TEST_F(LineMedia, LocalNumberIsInFrontWhereItDiffersAndIsAskedFor) {
  Parse("m=audio 5004 RTP/AVP 96 9\r\na=rtpmap:96 L24/48000/2\r\na=rtpmap:9 G722/8000\r\n");
  parms_->media[0]->fmt_local = {97, 9};
  EXPECT_EQ(Codecs(true), "+97 96=L24/48000/2|9=G722/8000");
  EXPECT_EQ(count_, 2U);
  EXPECT_EQ(Codecs(false), "96=L24/48000/2|9=G722/8000");
  parms_->media[0]->fmt_local = {96, 10};
  EXPECT_EQ(Codecs(true), "96=L24/48000/2|+10 9=G722/8000");
}

TEST_F(LineMedia, OnlyTheFirstMediumIsRendered) {
  Parse(
      "m=audio 5004 RTP/AVP 96\r\na=rtpmap:96 L24/48000/2\r\n"
      "m=audio 5006 RTP/AVP 9\r\na=rtpmap:9 G722/8000\r\n");
  EXPECT_EQ(Codecs(), "96=L24/48000/2");
  EXPECT_EQ(Media(), "239.192.0.2:5004");
}

TEST_F(LineMedia, NoCodecsWithoutAMedium) {
  EXPECT_EQ(Codecs(), "");  // without any description
  EXPECT_EQ(count_, 0U);
  Parse("");
  EXPECT_EQ(Codecs(), "");
  EXPECT_EQ(count_, 0U);
  Parse("m=audio 5004 RTP/AVP 96\r\na=rtpmap:96 L24/48000/2\r\n");
  parms_->media[0]->fmt_count = 0;
  EXPECT_EQ(Codecs(), "");
  EXPECT_EQ(count_, 0U);
}

TEST_F(LineMedia, FullListOfFormatsFits) {
  std::string media = "m=audio 5004 RTP/AVP";
  for (int i = 0; i < 16; ++i)
    media += " " + std::to_string(96 + i);
  media += "\r\n";
  std::string codecs;
  for (int i = 0; i < 16; ++i) {
    media += "a=rtpmap:" + std::to_string(96 + i) + " L24/48000/" + std::to_string(i + 1) + "\r\n";
    codecs += (i > 0 ? "|" : "") + std::to_string(96 + i) + "=L24/48000/" + std::to_string(i + 1);
  }
  Parse(media);
  EXPECT_EQ(Codecs(), codecs);
  EXPECT_EQ(count_, 16U);
}

TEST_F(LineMedia, EntryThatHasNoRoomIsLeftOutWhole) {
  Parse("m=audio 5004 RTP/AVP 96 9\r\na=rtpmap:96 L24/48000/2\r\na=rtpmap:9 G722/8000\r\n");
  const std::string first = "96=L24/48000/2";
  const std::string whole = first + "|9=G722/8000";
  for (std::size_t room = first.size() + 1; room <= whole.size() + 1; ++room) {
    SCOPED_TRACE(room);
    const auto out = std::make_unique<char[]>(room);
    (void)GetCommonCodecList(false, {out.get(), room}, parms_.get(), text_);
    EXPECT_EQ(std::string(out.get()), room > whole.size() ? whole : first);
  }
  char none = 'x';
  (void)GetCommonCodecList(false, {&none, 1}, parms_.get(), text_);
  EXPECT_EQ(none, '\0');
}

TEST_F(LineMedia, CountOfFormatsBeyondTheTableIsNotBelieved) {
  Parse("m=audio 5004 RTP/AVP 96\r\na=rtpmap:96 L24/48000/2\r\n");
  parms_->media[0]->fmt_count = 65535;
  EXPECT_EQ(Codecs().substr(0, 14), "96=L24/48000/2");
  EXPECT_LE(count_, kCpsdpMaxFormats);
}

TEST_F(LineMedia, AddressIsThatOfTheSessionsConnectionElseOfItsOrigin) {
  Parse("m=audio 5004 RTP/AVP 96\r\n");
  EXPECT_EQ(Media(), "239.192.0.2:5004");
  EXPECT_EQ(result_, 1);
  Parse("m=audio 5004 RTP/AVP 96\r\n", "");
  EXPECT_EQ(Media(), "10.0.0.2:5004");
  EXPECT_EQ(result_, 1);
}

// Kept: see GetMediaPortAndAddress.
TEST_F(LineMedia, AddressOfTheMediumItselfIsNotLookedAt) {
  Parse("m=audio 5004 RTP/AVP 96\r\nc=IN IP4 239.192.0.9\r\n");
  EXPECT_EQ(Media(), "239.192.0.2:5004");
  Parse("m=audio 5004 RTP/AVP 96\r\nc=IN IP4 239.192.0.9\r\n", "");
  EXPECT_EQ(Media(), "10.0.0.2:5004");
}

TEST_F(LineMedia, PortsAreWholeWords) {
  for (const unsigned port : {0U, 1U, 65535U}) {
    Parse("m=audio " + std::to_string(port) + " RTP/AVP 96\r\n");
    EXPECT_EQ(Media(), "239.192.0.2:" + std::to_string(port));
  }
}

TEST_F(LineMedia, NoAddressWithoutADescription) {
  EXPECT_EQ(Media(), "");
  EXPECT_EQ(result_, 0);
  Parse("");
  EXPECT_EQ(Media(), "");
  EXPECT_EQ(result_, 0);
}

TEST_F(LineMedia, LongAddressStaysInsideItsRoom) {
  Parse("m=audio 5004 RTP/AVP 96\r\n", "c=IN IP4 " + std::string(128, '1') + "\r\n");
  const auto out = std::make_unique<char[]>(20);
  (void)GetMediaPortAndAddress({out.get(), 20}, parms_.get(), text_);
  EXPECT_LT(std::string(out.get()).size(), 20U);
}

}  // namespace
}  // namespace hark::test

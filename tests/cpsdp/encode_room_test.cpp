// The room of the encoder: a description with everything in it, encoded into every capacity, stops at each of
// its pieces with the number of that piece.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

struct Piece {
  int number;
  std::string_view text;
};

// The description below in the pieces that are checked for room.
constexpr Piece kPieces[] = {
    {2048, "v=0\r\n"},
    {2049, "o="},
    {2050, "me"},
    {2051, " 11 22 "},
    {2052, "IN"},
    {2053, " IP6 "},
    {2054, "2001:db8::1\r\n"},
    {2055, "s=name\r\n"},
    {2056, "i=info\r\n"},
    {2057, "u=uri\r\n"},
    {2059, "e=one\r\n"},
    {2059, "e=two\r\n"},
    {2061, "p=one\r\n"},
    {2061, "p=two\r\n"},
    {2063, "c=IN"},
    {2064, " IP4 "},
    {2066, "192.0.2.1\r\n"},
    {2067, "b=AS:"},
    {2068, "128\r\n"},
    {2069, "t=0 0\r\n"},
    {2070, "r=1 2\r\n"},
    {2071, "z=3 4\r\n"},
    {2072, "k=key\r\n"},
    {2074, "a=first\r\n"},
    {2074, "a=second:x\r\n"},
    {2076, "m=video 5004"},
    {2077, "/2"},
    {2079, " RTP/SAVP"},
    {2080, " 96"},
    {2081, "\r\n"},
    {2082, "i=medium\r\n"},
    {2084, "c=IN"},
    {2085, " IP6 "},
    {2087, "ff0e::1\r\n"},
    {2088, "b=CT:"},
    {2089, "64\r\n"},
    {2090, "k=other\r\n"},
    {2091, "a=sendonly\r\n"},
    {2092, "a=rtpmap:96"},
    {2093, " L24"},
    {2094, "/48000"},
    {2095, "/2"},
    {2096, "\r\n"},
    {2097, "a=fmtp:96 "},
    {2098, "p=1; q=2\r\n"},
    {2099, "a=ptime:1\r\n"},
    {2101, "a=mid:1\r\n"},
    {2101, "a=last\r\n"},
};

// All numbers that are about room.
constexpr int kRoomNumbers[] = {
    kEncodeVersion,
    kEncodeOrigin,
    kEncodeOriginUser,
    kEncodeOriginNumbers,
    kEncodeOriginNet,
    kEncodeOriginType,
    kEncodeOriginAddress,
    kEncodeName,
    kEncodeInfo,
    kEncodeUri,
    kEncodeEmail,
    kEncodePhone,
    kEncodeConnection,
    kEncodeConnectionType,
    kEncodeConnectionAddress,
    kEncodeBandwidthType,
    kEncodeBandwidthValue,
    kEncodeTime,
    kEncodeRepeat,
    kEncodeZone,
    kEncodeKey,
    kEncodeAttribute,
    kEncodeMedia,
    kEncodeMediaPorts,
    kEncodeMediaProto,
    kEncodeMediaFormat,
    kEncodeMediaEnd,
    kEncodeMediaInfo,
    kEncodeMediaConnection,
    kEncodeMediaConnectionType,
    kEncodeMediaConnectionAddress,
    kEncodeMediaBandwidthType,
    kEncodeMediaBandwidthValue,
    kEncodeMediaKey,
    kEncodeDirection,
    kEncodeRtpmap,
    kEncodeRtpmapName,
    kEncodeRtpmapRate,
    kEncodeRtpmapParam,
    kEncodeRtpmapEnd,
    kEncodeFmtp,
    kEncodeFmtpText,
    kEncodePtime,
    kEncodeMediaAttribute,
};

std::string FullText() {
  std::string text;
  for (const Piece& piece : kPieces) {
    text.append(piece.text);
  }
  return text;
}

// The number of the first piece that does not end within `capacity`.
int NumberAt(std::size_t capacity) {
  std::size_t end = 0;
  for (const Piece& piece : kPieces) {
    end += piece.text.size();
    if (end > capacity) {
      return piece.number;
    }
  }
  return 0;
}

TEST(CpsdpEncodeRoom, DescriptionOfExactlyTheCapacityFits) {
  const std::string text = FullText();
  const Description d = Parse(text);
  ASSERT_EQ(d.reason, 0);
  const Encoded encoded = Encode(d, text.size());
  EXPECT_EQ(encoded.error, 0);
  EXPECT_EQ(encoded.text, text);
}

TEST(CpsdpEncodeRoom, EachCapacityStopsAtTheFirstPieceThatDoesNotFit) {
  const std::string text = FullText();
  const Description d = Parse(text);
  for (std::size_t capacity = 0; capacity < text.size(); ++capacity) {
    const Encoded encoded = Encode(d, capacity);
    EXPECT_EQ(encoded.error, NumberAt(capacity))
        << "capacity " << capacity << " ends behind: ..."
        << text.substr(0, capacity).substr(capacity > 20 ? capacity - 20 : 0);
    EXPECT_EQ(encoded.text, "");
  }
}

TEST(CpsdpEncodeRoom, NumbersAscendInTheOrderOfWritingAndAllOccur) {
  const std::string text = FullText();
  const Description d = Parse(text);
  int last = 0;
  std::set<int> seen;
  for (std::size_t capacity = 0; capacity < text.size(); ++capacity) {
    const int error = Encode(d, capacity).error;
    EXPECT_GE(error, last) << capacity;
    last = error;
    seen.insert(error);
  }
  EXPECT_EQ(seen, std::set<int>(std::begin(kRoomNumbers), std::end(kRoomNumbers)));
}

TEST(CpsdpEncodeRoom, NothingIsWrittenBehindWhatFits) {
  const std::string text = FullText();
  const Description d = Parse(text);
  for (std::size_t capacity = 0; capacity < text.size(); ++capacity) {
    std::vector<char> out(capacity, '#');
    std::uint32_t length = 7;
    ASSERT_NE(CPSDP_EncodeSession(&d.parms, d.Pool(), out, length), 0);
    EXPECT_EQ(length, 0U);
    // What stands there is the beginning of the description, and then what was there before.
    const auto end = std::mismatch(out.begin(), out.end(), text.begin()).first;
    EXPECT_TRUE(std::all_of(end, out.end(), [](char c) { return c == '#'; })) << capacity;
  }
}

TEST(CpsdpEncodeRoom, StaticNameIsAPieceOfItsOwn) {
  const Description d = Parse(Session({"m=audio 5004 RTP/AVP 0"}));
  const std::string text = Encode(d).text;
  const std::size_t name = text.find(" PCMU/8000");
  ASSERT_NE(name, std::string::npos) << text;
  EXPECT_EQ(Encode(d, name).error, kEncodeRtpmapName);
  EXPECT_EQ(Encode(d, name - 1).error, kEncodeRtpmap);
  EXPECT_EQ(Encode(d, name + 9).error, kEncodeRtpmapName);
  EXPECT_EQ(Encode(d, name + 10).error, kEncodeRtpmapEnd);
  EXPECT_EQ(Encode(d, text.size()).error, 0);
}

TEST(CpsdpEncodeRoom, SecondMediumAndFormatHaveTheSameNumbers) {
  const Description d = Parse(Session({"m=audio 5004 udp 96 97", "m=video 5006 udp 98"}));
  const std::string text = Encode(d).text;
  ASSERT_NE(text, "");
  EXPECT_EQ(Encode(d, text.find(" 97") + 2).error, kEncodeMediaFormat);
  EXPECT_EQ(Encode(d, text.find("a=rtpmap:97")).error, kEncodeRtpmap);
  EXPECT_EQ(Encode(d, text.find("m=video")).error, kEncodeMedia);
  EXPECT_EQ(Encode(d, text.size() - 1).error, kEncodeRtpmapEnd);
}

TEST(CpsdpEncodeRoom, WrongTypeComesBeforeTheRoomOfItsPiece) {
  const Description text = Parse(Session({"m=text 5004 RTP/AVP 0"}));
  const std::size_t session = Encode(Parse(Session({}))).text.size();
  EXPECT_EQ(Encode(text, session - 1).error, kEncodeTime);
  EXPECT_EQ(Encode(text, session).error, kEncodeBadMediaType);
  const Description tcp = Parse(Session({"m=audio 5004 TCP 0"}));
  const std::size_t line = session + std::string_view("m=audio 5004").size();
  EXPECT_EQ(Encode(tcp, line - 1).error, kEncodeMedia);
  EXPECT_EQ(Encode(tcp, line).error, kEncodeBadMediaProto);
}

TEST(CpsdpEncodeRoom, WhatIsNotWrittenNeedsNoRoom) {
  const std::string text = Encode(Description{}).text;
  ASSERT_NE(text, "");
  EXPECT_EQ(Encode(Description{}, text.size()).error, 0);
  EXPECT_EQ(Encode(Description{}, text.size() - 1).error, kEncodeTime);
  EXPECT_EQ(Encode(Description{}, 0).error, kEncodeVersion);
}

}  // namespace
}  // namespace hark::test

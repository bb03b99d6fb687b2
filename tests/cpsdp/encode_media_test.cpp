// The media of an encoded description: each line and its condition, the static payload types, and what cannot
// be encoded.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

// What stands behind the session's lines of an encoded description.
std::string MediaPart(const Description& d) {
  const Encoded encoded = Encode(d);
  EXPECT_EQ(encoded.error, 0);
  constexpr std::string_view kLast = "t=0 0\r\n";
  const std::size_t place = encoded.text.find(kLast);
  return place == std::string::npos ? "no t= line" : encoded.text.substr(place + kLast.size());
}

cpsdp_media& AddMedium(Description& d) {
  std::unique_ptr<cpsdp_media>& medium = d.parms.media.at(d.parms.m_count++);
  medium = std::make_unique<cpsdp_media>();
  return *medium;
}

// A medium with one format.
cpsdp_media& AddFormat(Description& d, std::uint16_t number) {
  cpsdp_media& m = AddMedium(d);
  m.fmt_count = 1;
  m.fmt[0] = number;
  return m;
}

struct StaticRow {
  std::uint16_t number;
  std::string_view text;
};

constexpr StaticRow kStatic[] = {
    {0, " PCMU/8000"},    {3, " GSM/8000"},   {4, " G723/8000"},   {5, " DVI4U/8000"},   {6, " DVI4U/16000"},
    {7, " LPC/8000"},     {8, " PCMA/8000"},  {9, " G722/8000"},   {10, " L16/44100/2"}, {11, " L16/44100"},
    {12, " QCELP/8000"},  {13, " CN/8000"},   {14, " MPA/90000"},  {15, " G728/8000"},   {16, " DVI4U/11025"},
    {17, " DVI4U/22050"}, {18, " G729/8000"}, {25, " CelB/90000"}, {26, " JPEG/90000"},  {28, " nv/90000"},
    {31, " H261/90000"},  {32, " MPV/90000"}, {33, " MP2T/90000"}, {34, " H263/90000"},
};

std::string_view StaticText(std::uint32_t number) {
  for (const StaticRow& row : kStatic) {
    if (row.number == number) {
      return row.text;
    }
  }
  return "";
}

TEST(CpsdpEncodeMedia, StaticPayloadTypesAreThoseOfTheTable) {
  for (std::uint32_t number = 0; number <= 65535; ++number) {
    EXPECT_EQ(cpsdp_static_payload(static_cast<std::uint16_t>(number)), StaticText(number)) << number;
  }
}

TEST(CpsdpEncodeMedia, FormatWithoutNameHasTheStaticTextOrJustItsNumber) {
  for (std::uint16_t number = 0; number < 130; ++number) {
    Description d;
    AddFormat(d, number);
    const std::string text = std::to_string(number);
    EXPECT_EQ(MediaPart(d), "m=audio 0 RTP/AVP " + text + "\r\na=rtpmap:" + text +
                                std::string(StaticText(number)) + "\r\n");
  }
}

TEST(CpsdpEncodeMedia, NamedFormatOfAStaticNumberKeepsItsName) {
  Description d;
  AddFormat(d, 0).rtp_name[0] = d.Add("mine");
  EXPECT_EQ(MediaPart(d), "m=audio 0 RTP/AVP 0\r\na=rtpmap:0 mine\r\n");
}

TEST(CpsdpEncodeMedia, RtpmapHasParametersOnlyBehindARate) {
  struct Row {
    std::string_view name;
    std::uint32_t rate;
    std::string_view parm;
    std::string_view line;
  };
  const Row rows[] = {
      {"L24", 48000, "2", "a=rtpmap:96 L24/48000/2"},
      {"L24", 48000, "", "a=rtpmap:96 L24/48000"},
      {"L24", 0, "", "a=rtpmap:96 L24"},
      {"L24", 0, "2", "a=rtpmap:96 L24"},
      {"", 48000, "2", "a=rtpmap:96"},
      {"x", 4294967295, "", "a=rtpmap:96 x/4294967295"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    Description d;
    cpsdp_media& m = AddFormat(d, 96);
    m.rtp_name[0] = d.Add(row.name);
    m.rtp_rate[0] = row.rate;
    m.rtp_param[0] = d.Add(row.parm);
    EXPECT_EQ(MediaPart(d), "m=audio 0 RTP/AVP 96\r\n" + std::string(row.line) + "\r\n");
  }
}

TEST(CpsdpEncodeMedia, MediaLineHasTypePortsProtocolAndFormats) {
  struct Row {
    cpsdp_media_type type;
    std::uint16_t port;
    std::uint16_t nports;
    cpsdp_proto proto;
    std::string_view line;
  };
  const Row rows[] = {
      {cpsdp_media_type::audio, 5004, 0, cpsdp_proto::rtp_avp, "m=audio 5004 RTP/AVP\r\n"},
      {cpsdp_media_type::video, 65535, 2, cpsdp_proto::rtp_savp, "m=video 65535/2 RTP/SAVP\r\n"},
      {cpsdp_media_type::audio, 1, 65535, cpsdp_proto::udp, "m=audio 1/65535 udp\r\n"},
      // A rejected medium.
      {cpsdp_media_type::video, 0, 0, cpsdp_proto::rtp_avp, "m=video 0 RTP/AVP\r\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    Description d;
    cpsdp_media& m = AddMedium(d);
    m.m_type = row.type;
    m.m_port = row.port;
    m.m_nports = row.nports;
    m.m_proto = row.proto;
    EXPECT_EQ(MediaPart(d), row.line);
  }
}

TEST(CpsdpEncodeMedia, TypeAndProtocolThatTheParserLetsPassCannotBeEncoded) {
  const Description text = Parse(Session({"m=text 5004 RTP/AVP 0"}));
  ASSERT_EQ(text.reason, 0);
  EXPECT_EQ(Encode(text).error, 2075);
  EXPECT_EQ(Encode(text).text, "");
  const Description tcp = Parse(Session({"m=audio 5004 TCP 0"}));
  ASSERT_EQ(tcp.reason, 0);
  EXPECT_EQ(Encode(tcp).error, 2078);
  EXPECT_EQ(Encode(Parse(Session({"m=text 5004 TCP 0"}))).error, 2075);
  EXPECT_EQ(Encode(Parse(Session({"m=audio 1 udp", "m=audio 1 TCP 0"}))).error, 2078);
}

TEST(CpsdpEncodeMedia, NumbersWithoutAMeaningAreRefused) {
  for (const std::uint32_t number : {2U, 3U, 4U, 6U, 255U}) {
    SCOPED_TRACE(number);
    Description d;
    AddMedium(d).m_type = static_cast<cpsdp_media_type>(number);
    EXPECT_EQ(Encode(d).error, 2075);
    Description e;
    AddMedium(e).m_proto = static_cast<cpsdp_proto>(number);
    EXPECT_EQ(Encode(e).error, number == 2 ? 0 : 2078);
    Description f;
    cpsdp_media& m = AddMedium(f);
    m.c_addr_type = static_cast<cpsdp_addr_type>(number);
    EXPECT_EQ(Encode(f).error, 0);
    m.c_address = f.Add("h");
    EXPECT_EQ(Encode(f).error, 2086);
  }
}

TEST(CpsdpEncodeMedia, DirectionIsWrittenWhenItIsGiven) {
  const std::string_view lines[] = {"",
                                    "a=sendrecv\r\n",
                                    "a=recvonly\r\n",
                                    "a=sendonly\r\n",
                                    "a=inactive\r\n",
                                    "a=sendrecv\r\n",
                                    "a=sendrecv\r\n"};
  for (std::uint32_t direction = 0; direction < std::size(lines); ++direction) {
    SCOPED_TRACE(direction);
    Description d;
    AddMedium(d).direction = static_cast<cpsdp_direction>(direction);
    EXPECT_EQ(MediaPart(d), "m=audio 0 RTP/AVP\r\n" + std::string(lines[direction]));
  }
}

TEST(CpsdpEncodeMedia, MediaLineIsWrittenWhenItHasAValue) {
  Description info;
  AddMedium(info).i_info = info.Add("text");
  EXPECT_EQ(MediaPart(info), "m=audio 0 RTP/AVP\r\ni=text\r\n");
  Description connection;
  cpsdp_media& m = AddMedium(connection);
  m.c_address = connection.Add("h");
  EXPECT_EQ(MediaPart(connection), "m=audio 0 RTP/AVP\r\nc=IN IP4 h\r\n");
  m.c_addr_type = cpsdp_addr_type::ip6;
  EXPECT_EQ(MediaPart(connection), "m=audio 0 RTP/AVP\r\nc=IN IP6 h\r\n");
  Description bandwidth;
  cpsdp_media& b = AddMedium(bandwidth);
  b.b_value = 64;
  EXPECT_EQ(MediaPart(bandwidth), "m=audio 0 RTP/AVP\r\n");
  b.b_type = bandwidth.Add("AS");
  EXPECT_EQ(MediaPart(bandwidth), "m=audio 0 RTP/AVP\r\nb=AS:64\r\n");
  Description key;
  AddMedium(key).k_key = key.Add("prompt");
  EXPECT_EQ(MediaPart(key), "m=audio 0 RTP/AVP\r\nk=prompt\r\n");
  Description ptime;
  AddMedium(ptime).ptime = 65535;
  EXPECT_EQ(MediaPart(ptime), "m=audio 0 RTP/AVP\r\na=ptime:65535\r\n");
}

TEST(CpsdpEncodeMedia, AttributeWithoutTextIsPassedOver) {
  Description d;
  cpsdp_media& m = AddMedium(d);
  m.a_count = 3;
  m.a_attr[1] = d.Add("mid:1");
  EXPECT_EQ(MediaPart(d), "m=audio 0 RTP/AVP\r\na=mid:1\r\n");
  m.a_attr.fill(d.Add("x"));
  m.a_count = 255;
  EXPECT_EQ(MediaPart(d), "m=audio 0 RTP/AVP\r\n" + Times(16, "a=x\r\n"));
}

TEST(CpsdpEncodeMedia, LinesStandInTheirOrder) {
  const std::string body = Session(
      {"m=audio 5004/2 RTP/AVP 96 97", "i=info", "c=IN IP4 h", "b=AS:1", "k=x", "a=sendonly",
       "a=rtpmap:96 L24/48000/2", "a=rtpmap:97 telephone-event/8000", "a=fmtp:96 p=1; q=2", "a=fmtp:97 0-15",
       "a=ptime:1", "a=mid:1", "a=x y", "m=video 0 RTP/SAVP 31", "a=rtpmap:31 H261/90000"});
  const Description d = Parse(body);
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(Encode(d).text, body);
}

TEST(CpsdpEncodeMedia, MoreThanSixteenFormatsEndTheDescriptionBeforeTheMedium) {
  for (const std::uint16_t count : {std::uint16_t{17}, std::uint16_t{65535}}) {
    Description d;
    AddMedium(d).m_port = 1;
    AddMedium(d).fmt_count = count;
    AddMedium(d).m_port = 3;
    EXPECT_EQ(MediaPart(d), "m=audio 1 RTP/AVP\r\n");
  }
}

TEST(CpsdpEncodeMedia, SixteenFormatsAreAllWritten) {
  Description d;
  AddFormat(d, 100).fmt_count = 16;
  EXPECT_EQ(MediaPart(d), "m=audio 0 RTP/AVP 100" + Times(15, " 0") + "\r\na=rtpmap:100\r\n" +
                              Times(15, "a=rtpmap:0 PCMU/8000\r\n"));
}

TEST(CpsdpEncodeMedia, MissingMediumEndsTheMedia) {
  Description d;
  AddMedium(d).m_port = 1;
  d.parms.media[2] = std::make_unique<cpsdp_media>();
  d.parms.m_count = 3;
  EXPECT_EQ(MediaPart(d), "m=audio 1 RTP/AVP\r\n");
}

TEST(CpsdpEncodeMedia, CountOfMediaIsHeldToFour) {
  Description d;
  for (int i = 0; i < 4; ++i) {
    AddMedium(d);
  }
  d.parms.m_count = 255;
  EXPECT_EQ(MediaPart(d), Times(4, "m=audio 0 RTP/AVP\r\n"));
}

TEST(CpsdpEncodeMedia, MediumThatIsNotCountedIsNotWritten) {
  Description d;
  AddMedium(d);
  d.parms.m_count = 0;
  EXPECT_EQ(MediaPart(d), "");
}

}  // namespace
}  // namespace hark::test

// The media of a description: the m= line, the lines below it, and the attributes that have fields.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

TEST(CpsdpParseMedia, FullMediumFillsEachField) {
  const Description d =
      Parse(Session({"m=audio 5004/2 RTP/AVP 96 101 0", "i=Studio 1", "c=IN IP6 ff0e::1", "b=AS:1536",
                     "k=prompt", "k=clear:x", "a=rtpmap:96 L24/48000/2", "a=rtpmap:101 telephone-event/8000",
                     "a=fmtp:101 0-15", "a=ptime:1", "a=sendonly", "a=mid:1", "a=source-filter: incl IN"}));
  ASSERT_EQ(d.reason, 0);
  ASSERT_EQ(d.parms.m_count, 1);
  const cpsdp_media& m = d.Medium();
  EXPECT_EQ(m.m_type, cpsdp_media_type::audio);
  EXPECT_EQ(m.m_port, 5004);
  EXPECT_EQ(m.m_nports, 2);
  EXPECT_EQ(m.m_proto, cpsdp_proto::rtp_avp);
  EXPECT_EQ(d.Text(m.i_info), "Studio 1");
  EXPECT_EQ(m.c_addr_type, cpsdp_addr_type::ip6);
  EXPECT_EQ(d.Text(m.c_address), "ff0e::1");
  EXPECT_EQ(d.Text(m.b_type), "AS");
  EXPECT_EQ(m.b_value, 1536U);
  EXPECT_EQ(d.Text(m.k_key), "clear:x");
  EXPECT_EQ(m.ptime, 1);
  EXPECT_EQ(m.direction, cpsdp_direction::sendonly);
  ASSERT_EQ(m.a_count, 2);
  EXPECT_EQ(d.Text(m.a_attr[0]), "mid:1");
  EXPECT_EQ(d.Text(m.a_attr[1]), "source-filter: incl IN");
}

TEST(CpsdpParseMedia, FormatsKeepTheOrderOfTheLineAndTheirTexts) {
  const Description d =
      Parse(Session({"m=audio 5004 RTP/AVP 96 101 0", "a=fmtp:101 0-15", "a=rtpmap:0 PCMU/8000",
                     "a=rtpmap:101 telephone-event/8000", "a=rtpmap:96 L24/48000/2"}));
  ASSERT_EQ(d.reason, 0);
  const cpsdp_media& m = d.Medium();
  ASSERT_EQ(m.fmt_count, 3);
  const std::uint16_t numbers[] = {96, 101, 0};
  const std::string_view names[] = {"L24", "telephone-event", "PCMU"};
  const std::uint32_t rates[] = {48000, 8000, 8000};
  const std::string_view parms[] = {"2", "", ""};
  const std::string_view fmtp[] = {"", "0-15", ""};
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(m.fmt[i], numbers[i]);
    EXPECT_EQ(m.fmt_local[i], 0);
    EXPECT_EQ(d.Text(m.rtp_name[i]), names[i]);
    EXPECT_EQ(m.rtp_rate[i], rates[i]);
    EXPECT_EQ(d.Text(m.rtp_param[i]), parms[i]);
    EXPECT_EQ(d.Text(m.fmtp[i]), fmtp[i]);
  }
}

// Kept: words are compared over the length of the known one, so that a longer word passes for it.
TEST(CpsdpParseMedia, TypeAndProtocolAreTakenByTheirBeginning) {
  struct Row {
    std::string_view line;
    cpsdp_media_type type;
    cpsdp_proto proto;
  };
  constexpr auto audio = cpsdp_media_type::audio;
  constexpr auto other_type = cpsdp_media_type::other;
  constexpr auto avp = cpsdp_proto::rtp_avp;
  constexpr auto other = cpsdp_proto::other;
  const Row rows[] = {
      {"audio 1 RTP/AVP", audio, avp},
      {"video 1 RTP/SAVP", cpsdp_media_type::video, cpsdp_proto::rtp_savp},
      {"audio 1 udp", audio, cpsdp_proto::udp},
      {"audio-x 1 RTP/AVPF", audio, avp},
      {"video2 1 RTP/SAVPF", cpsdp_media_type::video, cpsdp_proto::rtp_savp},
      {"audio 1 udptl", audio, cpsdp_proto::udp},
      {"application 1 TCP/MSRP", other_type, other},
      {"image 1 udptl", other_type, cpsdp_proto::udp},
      {"text 1 RTP/AVP", other_type, avp},
      {"Audio 1 rtp/avp", other_type, other},
      {"audi 1 RTP/AV", other_type, other},
      {"vide 1 RTP/SAV", other_type, other},
      {"a 1 ud", other_type, other},
      {"xaudio 1 UDP", other_type, other},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const Description d = Parse(Session({"m=" + std::string(row.line) + " 0"}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Medium().m_type, row.type);
    EXPECT_EQ(d.Medium().m_proto, row.proto);
    EXPECT_EQ(d.Medium().fmt_count, 1);
  }
}

TEST(CpsdpParseMedia, PortAndNumberOfPorts) {
  struct Row {
    std::string_view word;
    std::uint16_t port;
    std::uint16_t nports;
  };
  const Row rows[] = {{"5004", 5004, 0}, {"5004/2", 5004, 2}, {"0", 0, 0},         {"0/1", 0, 1},
                      {"x", 0, 0},       {"5004/", 5004, 0},  {"5004/x", 5004, 0}, {"1/65535", 1, 65535}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.word);
    const Description d = Parse(Session({"m=audio " + std::string(row.word) + " RTP/AVP 0"}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Medium().m_port, row.port);
    EXPECT_EQ(d.Medium().m_nports, row.nports);
  }
}

TEST(CpsdpParseMedia, MediumWithoutFormatsPasses) {
  const Description d = Parse(Session({"m=audio 5004 RTP/AVP"}));
  EXPECT_EQ(d.reason, 0);
  EXPECT_EQ(d.parms.m_count, 1);
  EXPECT_EQ(d.Medium().fmt_count, 0);
}

TEST(CpsdpParseMedia, FormatThatIsNoNumberIsZero) {
  const Description d = Parse(Session({"m=audio 5004 RTP/AVP t38 8x 9"}));
  ASSERT_EQ(d.reason, 0);
  ASSERT_EQ(d.Medium().fmt_count, 3);
  EXPECT_EQ(d.Medium().fmt[0], 0);
  EXPECT_EQ(d.Medium().fmt[1], 8);
  EXPECT_EQ(d.Medium().fmt[2], 9);
}

// Format 96 is at place 2 of these bodies.
TEST(CpsdpParseMedia, RtpmapIsCutAtItsSlashes) {
  struct Row {
    std::string_view value;
    std::string_view name;
    std::uint32_t rate;
    std::string_view parm;
  };
  const Row rows[] = {
      {"96 L24/48000/2", "L24", 48000, "2"},
      {"96 L24/48000", "L24", 48000, ""},
      {"96 \t opus/48000/2", "opus", 48000, "2"},
      {"96 x/8000/", "x", 8000, ""},
      {"96 x/", "x", 0, ""},
      {"96 x/y/z", "x", 0, "z"},
      {"96 /8000", "", 8000, ""},
      {"96 L24/48000 more", "L24", 48000, ""},
      {"96x L24/48000", "L24", 48000, ""},
      // Kept: without a "/" the last character of the name is lost.
      {"96 L16", "L1", 0, ""},
      {"96 L", "", 0, ""},
      {"96", "", 0, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const Description d = Parse(InMedia({"a=rtpmap:" + std::string(row.value)}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.Medium().rtp_name[2]), row.name);
    EXPECT_EQ(d.Medium().rtp_rate[2], row.rate);
    EXPECT_EQ(d.Text(d.Medium().rtp_param[2]), row.parm);
    EXPECT_EQ(d.Medium().a_count, 0);
  }
}

TEST(CpsdpParseMedia, RtpmapNeedsAFormatOfItsMedium) {
  for (const std::string_view value : {"98 L24/48000", "9 x/1", " 96 L24/48000", "x L24/48000", "960 x/1"}) {
    SCOPED_TRACE(value);
    const std::string line = "a=rtpmap:" + std::string(value);
    EXPECT_EQ(Parse(Session({"m=audio 1 udp 96 97", line})).reason, 54);
  }
}

TEST(CpsdpParseMedia, FormatOfAnotherMediumIsNotFound) {
  EXPECT_EQ(Parse(Session({"m=audio 1 udp 96", "m=audio 2 udp 97", "a=rtpmap:96 x/1"})).reason, 54);
  EXPECT_EQ(Parse(Session({"m=audio 1 udp 96", "m=audio 2 udp 97", "a=fmtp:96 x"})).reason, 55);
  EXPECT_EQ(Parse(Session({"m=audio 1 udp 96", "a=rtpmap:97 x/1", "m=audio 2 udp 97"})).reason, 54);
}

TEST(CpsdpParseMedia, FmtpRunsToTheEndOfItsLineWithItsBlanks) {
  struct Row {
    std::string_view value;
    std::string_view text;
  };
  const Row rows[] = {
      {"96 0-15", "0-15"},   {"96 a=1; b=2", "a=1; b=2"}, {"96 a  b\tc", "a  b\tc"},
      {"96   lead", "lead"}, {"96 trail ", "trail "},     {"96", ""},
      {"96x text", "text"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const Description d = Parse(InMedia({"a=fmtp:" + std::string(row.value), "a=mid:1"}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Text(d.Medium().fmtp[2]), row.text);
    EXPECT_EQ(d.Medium().a_count, 1);
  }
}

TEST(CpsdpParseMedia, FmtpNeedsAFormatOfItsMedium) {
  for (const std::string_view value : {"98 0-15", " 96 0-15", "x 0-15", "9 0-15"}) {
    SCOPED_TRACE(value);
    const std::string line = "a=fmtp:" + std::string(value);
    EXPECT_EQ(Parse(Session({"m=audio 1 udp 96 97", line})).reason, 55);
  }
}

TEST(CpsdpParseMedia, AttributesWithFieldsAreTakenByTheirBeginning) {
  struct Row {
    std::string_view value;
    std::uint16_t ptime;
    cpsdp_direction direction;
  };
  const Row rows[] = {
      {"ptime:20", 20, cpsdp_direction::none},
      {"ptime:20.5", 20, cpsdp_direction::none},
      {"ptime:", 0, cpsdp_direction::none},
      {"ptime:x", 0, cpsdp_direction::none},
      {"ptime:1 2", 1, cpsdp_direction::none},
      {"sendrecv", 0, cpsdp_direction::sendrecv},
      {"recvonly", 0, cpsdp_direction::recvonly},
      {"sendonly", 0, cpsdp_direction::sendonly},
      {"inactive", 0, cpsdp_direction::inactive},
      {"sendrecv:x", 0, cpsdp_direction::sendrecv},
      {"recvonlyish y", 0, cpsdp_direction::recvonly},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const Description d = Parse(InMedia({"a=" + std::string(row.value)}));
    ASSERT_EQ(d.reason, 0);
    EXPECT_EQ(d.Medium().ptime, row.ptime);
    EXPECT_EQ(d.Medium().direction, row.direction);
    EXPECT_EQ(d.Medium().a_count, 0);
  }
}

TEST(CpsdpParseMedia, OtherAttributesAreKeptAsText) {
  for (const std::string_view value : {"maxptime:20", "ptime", "rtpmap", "fmtp", "Sendrecv", "sendrec",
                                       "PTIME:2", "xfmtp:96 x", "RTPMAP:1 x/1", "mid:a b", "x"}) {
    SCOPED_TRACE(value);
    const Description d = Parse(InMedia({"a=" + std::string(value)}));
    ASSERT_EQ(d.reason, 0);
    ASSERT_EQ(d.Medium().a_count, 1);
    EXPECT_EQ(d.Text(d.Medium().a_attr[0]), value);
    EXPECT_EQ(d.Medium().ptime, 0);
    EXPECT_EQ(d.Medium().direction, cpsdp_direction::none);
    EXPECT_EQ(d.parms.a_count, 0);
  }
}

// Kept: the third character alone decides, as it does for the session.
TEST(CpsdpParseMedia, ConnectionTypeIsItsThirdCharacter) {
  struct Row {
    std::string_view value;
    int reason;
    cpsdp_addr_type addr_type;
  };
  const Row rows[] = {
      {"IN IP4 h", 0, cpsdp_addr_type::ip4},      {"IN IP6 h", 0, cpsdp_addr_type::ip6},
      {"IN XY4 h", 0, cpsdp_addr_type::ip4},      {"?? XY6 h", 0, cpsdp_addr_type::ip6},
      {"IN IP5 h", 42, cpsdp_addr_type::neither},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const Description d = Parse(InMedia({"c=" + std::string(row.value)}));
    EXPECT_EQ(d.reason, row.reason);
    EXPECT_EQ(d.Medium().c_addr_type, row.addr_type);
    EXPECT_EQ(row.reason == 0 ? d.Text(d.Medium().c_address) : "h", "h");
    EXPECT_EQ(d.Text(d.parms.c_address), "192.0.2.1");
  }
}

TEST(CpsdpParseMedia, LinesBelongToTheMediumAboveThem) {
  const Description d = Parse(Session({"m=audio 1 udp 96", "i=first", "a=ptime:1", "a=rtpmap:96 x/1",
                                       "m=video 2 udp 96", "i=second", "a=ptime:2", "a=rtpmap:96 y/2"}));
  ASSERT_EQ(d.reason, 0);
  ASSERT_EQ(d.parms.m_count, 2);
  EXPECT_EQ(d.Text(d.Medium(0).i_info) + d.Text(d.Medium(0).rtp_name[0]), "firstx");
  EXPECT_EQ(d.Text(d.Medium(1).i_info) + d.Text(d.Medium(1).rtp_name[0]), "secondy");
  EXPECT_EQ(d.Medium(0).ptime, 1);
  EXPECT_EQ(d.Medium(1).ptime, 2);
}

}  // namespace
}  // namespace hark::test

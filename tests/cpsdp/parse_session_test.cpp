// The session part of a description: what each line fills, and what the parser takes for the end.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

// A session with every line, and the ones that may repeat twice.
std::string FullSession() {
  return Lines({"v=0",
                "o=studio 42 43 IN IP6 2001:db8::1",
                "s=Studio 1 talk",
                "i=Intercom of studio 1",
                "u=http://station.example/talk",
                "e=one@station.example",
                "e=two@station.example",
                "p=+49-1",
                "p=+49-2",
                "c=IN IP4 239.1.2.3/127",
                "b=AS:1536",
                "t=3034423619 3042462419",
                "r=604800 3600 0",
                "r=7d 1h 0 25h",
                "z=1 2",
                "z=2882844526 -1h",
                "k=prompt",
                "k=clear:abc",
                "a=tool:q 1.2",
                "a=recvonly"});
}

TEST(CpsdpParseSession, FullSessionFillsEachField) {
  const Description d = Parse(FullSession());
  ASSERT_EQ(d.reason, 0);
  const cpsdp_parms& p = d.parms;
  EXPECT_EQ(d.Text(p.o_username), "studio");
  EXPECT_EQ(p.o_session_id, 42);
  EXPECT_EQ(p.o_session_version, 43);
  EXPECT_EQ(p.o_addr_type, cpsdp_addr_type::ip6);
  EXPECT_EQ(d.Text(p.o_address), "2001:db8::1");
  EXPECT_EQ(d.Text(p.s_name), "Studio 1 talk");
  EXPECT_EQ(d.Text(p.i_info), "Intercom of studio 1");
  EXPECT_EQ(d.Text(p.u_uri), "http://station.example/talk");
  EXPECT_EQ(p.c_addr_type, cpsdp_addr_type::ip4);
  EXPECT_EQ(d.Text(p.c_address), "239.1.2.3/127");
  EXPECT_EQ(d.Text(p.b_type), "AS");
  EXPECT_EQ(p.b_value, 1536U);
  EXPECT_EQ(p.t_start, 3034423619U);
  EXPECT_EQ(p.t_stop, 3042462419U);
  EXPECT_EQ(p.m_count, 0);
  EXPECT_EQ(p.media[0], nullptr);
}

TEST(CpsdpParseSession, EmailsPhonesAndAttributesAreKeptInTheirOrder) {
  const Description d = Parse(FullSession());
  ASSERT_EQ(d.reason, 0);
  ASSERT_EQ(d.parms.e_count, 2);
  EXPECT_EQ(d.Text(d.parms.e_email[0]), "one@station.example");
  EXPECT_EQ(d.Text(d.parms.e_email[1]), "two@station.example");
  ASSERT_EQ(d.parms.p_count, 2);
  EXPECT_EQ(d.Text(d.parms.p_phone[0]), "+49-1");
  EXPECT_EQ(d.Text(d.parms.p_phone[1]), "+49-2");
  ASSERT_EQ(d.parms.a_count, 2);
  EXPECT_EQ(d.Text(d.parms.a_attr[0]), "tool:q 1.2");
  EXPECT_EQ(d.Text(d.parms.a_attr[1]), "recvonly");
}

TEST(CpsdpParseSession, LastRepeatZoneAndKeyWin) {
  const Description d = Parse(FullSession());
  ASSERT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.parms.r_repeat), "7d 1h 0 25h");
  EXPECT_EQ(d.Text(d.parms.z_zone), "2882844526 -1h");
  EXPECT_EQ(d.Text(d.parms.k_key), "clear:abc");
}

TEST(CpsdpParseSession, BodyIsThePoolAndStaysAsItIs) {
  const std::string body = FullSession();
  const Description d = Parse(body);
  EXPECT_EQ(d.Pool(), body);
  EXPECT_EQ(d.parms.o_username.offset, body.find("studio"));
  EXPECT_EQ(d.parms.s_name.offset, body.find("Studio 1 talk"));
}

TEST(CpsdpParseSession, EmptyBodyFillsNothing) {
  const Description d = Parse("");
  EXPECT_EQ(d.reason, 0);
  EXPECT_EQ(d.parms.s_name.length, 0);
  EXPECT_EQ(d.parms.m_count, 0);
  EXPECT_EQ(d.parms.media[0], nullptr);
}

TEST(CpsdpParseSession, WhatIsNoLineEndsTheDescriptionQuietly) {
  const std::string_view bodies[] = {"garbage\r\ns=x\r\n", "x",        "v",          "=", "\r\nv=1\r\n",
                                     " v=1\r\n",           "v =1\r\n", "{\"v\": 1}", "\n"};
  for (const std::string_view body : bodies) {
    SCOPED_TRACE(body);
    const Description d = Parse(body);
    EXPECT_EQ(d.reason, 0);
    EXPECT_TRUE(d.parms.s_name.empty());
    EXPECT_EQ(d.parms.m_count, 0);
  }
}

TEST(CpsdpParseSession, WhatComesBehindTheEndIsNotLookedAt) {
  const Description d = Parse(Lines({"v=0", "s=talk", "--boundary", "v=1"}) + "t=");
  EXPECT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.parms.s_name), "talk");
}

TEST(CpsdpParseSession, VersionIsReadByItsFirstCharacter) {
  EXPECT_EQ(Parse("v=0\r\n").reason, 0);
  EXPECT_EQ(Parse("v=0.1\r\n").reason, 0);
  EXPECT_EQ(Parse("v=1\r\n").reason, 5);
  EXPECT_EQ(Parse("v=10\r\n").reason, 5);
  EXPECT_EQ(Parse("v=x\r\n").reason, 5);
}

TEST(CpsdpParseSession, OriginMayBeLeftOut) {
  const Description d = Parse(Lines({"v=0", "s=talk", "t=0 0"}));
  EXPECT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.parms.s_name), "talk");
  EXPECT_TRUE(d.parms.o_address.empty());
}

TEST(CpsdpParseSession, OriginKnowsTwoAddressTypesAndReadsThemStrictly) {
  struct Row {
    std::string_view type;
    int reason;
    cpsdp_addr_type addr_type;
  };
  const Row rows[] = {
      {"IP4", 0, cpsdp_addr_type::ip4},
      {"IP6", 0, cpsdp_addr_type::ip6},
      {"IP5", 8, {}},
      {"XY4", 8, {}},
      {"ip4", 8, {}},
      {"IP", 8, cpsdp_addr_type::ip4},
      {"4", 8, {}},
      {"IP4x", 8, {}},
      {"IP44", 8, {}},
      {"IPv6", 8, cpsdp_addr_type::ip4},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.type);
    const Description d = Parse("v=0\r\no=- 1 2 IN " + std::string(row.type) + " host\r\n");
    EXPECT_EQ(d.reason, row.reason);
    if (row.reason == 0) {
      EXPECT_EQ(d.parms.o_addr_type, row.addr_type);
    }
  }
}

TEST(CpsdpParseSession, OriginNetworkIsNotLookedAt) {
  const Description d = Parse(Lines({"v=0", "o=- 1 2 XX IP4 host"}));
  EXPECT_EQ(d.reason, 0);
  EXPECT_EQ(d.Text(d.parms.o_address), "host");
}

// Kept: only the third character of a connection's address type counts, so that "XY4" is IPv4.
TEST(CpsdpParseSession, ConnectionTypeIsItsThirdCharacter) {
  struct Row {
    std::string_view value;
    int reason;
    cpsdp_addr_type addr_type;
  };
  const Row rows[] = {
      {"IN IP4 h", 0, cpsdp_addr_type::ip4},      {"IN IP6 h", 0, cpsdp_addr_type::ip6},
      {"IN XY4 h", 0, cpsdp_addr_type::ip4},      {"IN XY6 h", 0, cpsdp_addr_type::ip6},
      {"ATM IP6 h", 0, cpsdp_addr_type::ip6},     {"IN IP5 h", 30, cpsdp_addr_type::neither},
      {"IN IPx h", 30, cpsdp_addr_type::neither}, {"IN 444 h", 0, cpsdp_addr_type::ip4},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const Description d = Parse("v=0\r\ns=-\r\nc=" + std::string(row.value) + "\r\n");
    EXPECT_EQ(d.reason, row.reason);
    EXPECT_EQ(d.parms.c_addr_type, row.addr_type);
    EXPECT_EQ(row.reason == 0 ? d.Text(d.parms.c_address) : "h", "h");
  }
}

TEST(CpsdpParseSession, BandwidthIsCutAtItsColon) {
  struct Row {
    std::string_view value;
    int reason;
    std::string_view type;
    std::uint32_t number;
  };
  const Row rows[] = {
      {"AS:128", 0, "AS", 128}, {"X-YZ:5", 0, "X-YZ", 5}, {":7", 0, "", 7}, {"CT:x", 0, "CT", 0},
      {"AS:", 26, "", 0},       {"AS", 26, "", 0},        {":", 26, "", 0}, {"AS: 128", 25, "", 0},
      {"", 25, "", 0},          {"A:1 x", 25, "", 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    const Description d = Parse("v=0\r\ns=-\r\nb=" + std::string(row.value) + "\r\n");
    EXPECT_EQ(d.reason, row.reason);
    if (row.reason == 0) {
      EXPECT_EQ(d.Text(d.parms.b_type), row.type);
      EXPECT_EQ(d.parms.b_value, row.number);
    }
  }
}

TEST(CpsdpParseSession, RtpmapBeforeAnyMediumIsASessionAttribute) {
  const Description d = Parse(Session({"a=rtpmap:96 L24/48000/2", "a=ptime:1", "a=sendonly"}));
  ASSERT_EQ(d.reason, 0);
  ASSERT_EQ(d.parms.a_count, 3);
  EXPECT_EQ(d.Text(d.parms.a_attr[0]), "rtpmap:96 L24/48000/2");
  EXPECT_EQ(d.Text(d.parms.a_attr[1]), "ptime:1");
  EXPECT_EQ(d.Text(d.parms.a_attr[2]), "sendonly");
}

TEST(CpsdpParseSession, WhatWasFilledBeforeAFailureStays) {
  const Description d = Parse(Lines({"v=0", "o=me 1 2 IN IP4 host", "s=talk", "t=0"}));
  EXPECT_EQ(d.reason, 28);
  EXPECT_EQ(d.Text(d.parms.o_username), "me");
  EXPECT_EQ(d.Text(d.parms.s_name), "talk");
}

}  // namespace
}  // namespace hark::test

// The answer to an offer, apart from its formats: what is the offer's and what is ours, and which media are
// rejected.
#include <gtest/gtest.h>

#include "cpsdp/sdp_fixture.h"

namespace hark::test {
namespace {

const std::string kLocal = Lines({"v=0", "o=harkd 7 8 IN IP6 2001:db8::7", "s=local", "c=IN IP6 2001:db8::8",
                                  "t=0 0", "m=audio 6000/3 RTP/AVP 0 96", "a=rtpmap:96 L24/48000/2"});

const std::string kOffer =
    Lines({"v=0", "o=far 1 2 IN IP4 192.0.2.1", "s=far", "i=about", "u=uri", "e=mail", "p=phone",
           "c=IN IP4 192.0.2.2", "b=AS:1", "t=5 6", "k=key", "m=audio 5004/2 RTP/AVP 0 97", "i=medium",
           "b=CT:2", "k=mkey", "a=rtpmap:97 L24/48000/2", "a=ptime:20"});

TEST(CpsdpNegotiate, OriginAndConnectionAreOurs) {
  const Answer answer = Negotiate(kLocal, kOffer);
  EXPECT_EQ(answer.Text(answer.parms.o_username), "harkd");
  EXPECT_EQ(answer.parms.o_session_id, 7);
  EXPECT_EQ(answer.parms.o_session_version, 8);
  EXPECT_EQ(answer.parms.o_addr_type, cpsdp_addr_type::ip6);
  EXPECT_EQ(answer.Text(answer.parms.o_address), "2001:db8::7");
  EXPECT_EQ(answer.parms.c_addr_type, cpsdp_addr_type::ip6);
  EXPECT_EQ(answer.Text(answer.parms.c_address), "2001:db8::8");
}

TEST(CpsdpNegotiate, OriginOfTheOfferStaysWhenWeHaveNone) {
  const Answer answer = Negotiate(Lines({"v=0", "c=IN IP6 ours", "m=audio 1 RTP/AVP 0"}), kOffer);
  EXPECT_EQ(answer.Text(answer.parms.o_username), "far");
  EXPECT_EQ(answer.parms.o_session_id, 1);
  EXPECT_EQ(answer.parms.o_session_version, 2);
  EXPECT_EQ(answer.parms.o_addr_type, cpsdp_addr_type::ip4);
  EXPECT_EQ(answer.Text(answer.parms.o_address), "192.0.2.1");
  EXPECT_EQ(answer.Text(answer.parms.c_address), "ours");
  EXPECT_EQ(answer.parms.c_addr_type, cpsdp_addr_type::ip6);
}

TEST(CpsdpNegotiate, ConnectionOfTheOfferStaysWhenWeHaveNone) {
  const Answer answer = Negotiate(Lines({"v=0", "o=we 3 4 IN IP6 ours", "m=audio 1 RTP/AVP 0"}), kOffer);
  EXPECT_EQ(answer.Text(answer.parms.o_username), "we");
  EXPECT_EQ(answer.Text(answer.parms.o_address), "ours");
  EXPECT_EQ(answer.Text(answer.parms.c_address), "192.0.2.2");
  EXPECT_EQ(answer.parms.c_addr_type, cpsdp_addr_type::ip4);
}

TEST(CpsdpNegotiate, OtherLinesAreTheOffers) {
  const Answer answer = Negotiate(kLocal, kOffer);
  const cpsdp_parms& p = answer.parms;
  EXPECT_EQ(answer.Text(p.s_name), "far");
  EXPECT_EQ(answer.Text(p.i_info), "about");
  EXPECT_EQ(answer.Text(p.u_uri), "uri");
  ASSERT_EQ(p.e_count, 1);
  EXPECT_EQ(answer.Text(p.e_email[0]), "mail");
  ASSERT_EQ(p.p_count, 1);
  EXPECT_EQ(answer.Text(p.p_phone[0]), "phone");
  EXPECT_EQ(answer.Text(p.b_type), "AS");
  EXPECT_EQ(p.b_value, 1U);
  EXPECT_EQ(p.t_start, 5U);
  EXPECT_EQ(p.t_stop, 6U);
  EXPECT_EQ(answer.Text(p.k_key), "key");
  EXPECT_EQ(answer.Text(answer.Medium().i_info), "medium");
  EXPECT_EQ(answer.Text(answer.Medium().b_type), "CT");
  EXPECT_EQ(answer.Medium().b_value, 2U);
  EXPECT_EQ(answer.Text(answer.Medium().k_key), "mkey");
  EXPECT_EQ(answer.Medium().ptime, 20);
}

TEST(CpsdpNegotiate, PortAndNumberOfPortsAreOurs) {
  const Answer answer = Negotiate(kLocal, kOffer);
  EXPECT_EQ(answer.rejected, 0);
  EXPECT_EQ(answer.parms.m_count, 1);
  EXPECT_EQ(answer.Medium().m_port, 6000);
  EXPECT_EQ(answer.Medium().m_nports, 3);
  EXPECT_EQ(answer.Medium().m_type, cpsdp_media_type::audio);
  EXPECT_EQ(answer.Medium().m_proto, cpsdp_proto::rtp_avp);
}

TEST(CpsdpNegotiate, PoolStartsWithTheOffersAndOursIsAppended) {
  const Answer answer = Negotiate(kLocal, kOffer);
  ASSERT_GT(answer.pool_len, kOffer.size());
  EXPECT_EQ(answer.Pool().substr(0, kOffer.size()), kOffer);
  EXPECT_GE(answer.parms.o_address.offset, kOffer.size());
  EXPECT_LE(answer.parms.o_address.offset + answer.parms.o_address.length, answer.pool_len);
  EXPECT_LT(answer.parms.s_name.offset, kOffer.size());
  // All our texts once, and no more than that.
  EXPECT_EQ(answer.pool_len, kOffer.size() + std::string_view("harkd2001:db8::72001:db8::8").size());
}

TEST(CpsdpNegotiate, LocalDescriptionStaysAsItIs) {
  const Description local = Parse(kLocal);
  const std::string before = Encode(local).text;
  Description offer = Parse(kOffer);
  (void)Negotiate(local, offer);
  EXPECT_EQ(Encode(local).text, before);
  EXPECT_EQ(local.Pool(), kLocal);
  EXPECT_EQ(offer.Pool(), kOffer);
}

TEST(CpsdpNegotiate, AnswerHasRecordsOfItsOwn) {
  const Description local = Parse(kLocal);
  Description offer = Parse(kOffer);
  const Answer answer = Negotiate(local, offer);
  EXPECT_NE(&answer.Medium(), &offer.Medium());
  EXPECT_EQ(offer.Medium().m_port, 5004);
  EXPECT_EQ(offer.Medium().fmt_count, 2);
}

TEST(CpsdpNegotiate, ConnectionOfTheMediumIsOursOrNone) {
  const std::string offer = Session({"m=audio 1 udp 0", "c=IN IP4 far"});
  const Answer with = Negotiate(Session({"m=audio 2 udp 0", "c=IN IP6 ours"}), offer);
  EXPECT_EQ(with.Text(with.Medium().c_address), "ours");
  EXPECT_EQ(with.Medium().c_addr_type, cpsdp_addr_type::ip6);
  const Answer without = Negotiate(Session({"m=audio 2 udp 0"}), offer);
  EXPECT_TRUE(without.Medium().c_address.empty());
}

TEST(CpsdpNegotiate, DirectionIsTheOffersMirrored) {
  struct Row {
    std::string_view offered;
    cpsdp_direction answered;
  };
  const Row rows[] = {
      {"a=mid:none", cpsdp_direction::sendrecv}, {"a=sendrecv", cpsdp_direction::sendrecv},
      {"a=recvonly", cpsdp_direction::sendonly}, {"a=sendonly", cpsdp_direction::recvonly},
      {"a=inactive", cpsdp_direction::inactive},
  };
  for (const Row& row : rows) {
    for (const std::string_view local :
         {"a=mid:none", "a=sendrecv", "a=recvonly", "a=sendonly", "a=inactive"}) {
      SCOPED_TRACE(std::string(row.offered) + " to local " + std::string(local));
      const Answer answer =
          Negotiate(Session({"m=audio 1 udp 0", local}), Session({"m=audio 1 udp 0", row.offered}));
      EXPECT_EQ(answer.Medium().direction, row.answered);
    }
  }
}

TEST(CpsdpNegotiate, OfferWithoutDirectionBecomesSendrecv) {
  const Description local = Parse(kLocal);
  Description offer = Parse(kOffer);
  ASSERT_EQ(offer.Medium().direction, cpsdp_direction::none);
  (void)Negotiate(local, offer);
  EXPECT_EQ(offer.Medium().direction, cpsdp_direction::sendrecv);
}

TEST(CpsdpNegotiate, VideoIsRejectedBesideAudioByAnAudioOnlyDescription) {
  const std::string local = Session({"m=audio 6000 RTP/AVP 0"});
  const std::string_view audio = "m=audio 5004 RTP/AVP 0 8";
  const std::string_view video = "m=video 5006 RTP/AVP 31";
  const Answer behind = Negotiate(local, Session({audio, video}));
  EXPECT_EQ(behind.rejected, 1);
  ASSERT_EQ(behind.parms.m_count, 2);
  EXPECT_EQ(behind.Medium(0).m_port, 6000);
  EXPECT_EQ(behind.Formats(0), "0/0");
  EXPECT_EQ(behind.Medium(1).m_port, 0);
  EXPECT_EQ(behind.Medium(1).m_type, cpsdp_media_type::video);
  EXPECT_EQ(behind.Medium(1).fmt[0], 31);

  const Answer before = Negotiate(local, Session({video, audio}));
  EXPECT_EQ(before.rejected, 1);
  ASSERT_EQ(before.parms.m_count, 2);
  EXPECT_EQ(before.Medium(0).m_port, 0);
  EXPECT_EQ(before.Medium(1).m_port, 6000);
  EXPECT_EQ(before.Formats(1), "0/0");
}

TEST(CpsdpNegotiate, MediumOfAnotherProtocolIsRejected) {
  for (const std::string_view line : {"m=audio 1 RTP/SAVP 0", "m=audio 1 udp 0", "m=audio 1 TCP 0"}) {
    SCOPED_TRACE(line);
    const Answer answer = Negotiate(Session({"m=audio 1 RTP/AVP 0"}), Session({line}));
    EXPECT_EQ(answer.rejected, 1);
    EXPECT_EQ(answer.parms.m_count, 1);
    EXPECT_EQ(answer.Medium().m_port, 0);
  }
}

TEST(CpsdpNegotiate, AllMediaAreRejectedWithoutLocalMedia) {
  const Answer answer = Negotiate(
      Session({}), Session({"m=audio 1 udp 0", "m=audio 2 udp 0", "m=video 3 udp 0", "m=audio 4 RTP/AVP 0"}));
  EXPECT_EQ(answer.rejected, 4);
  ASSERT_EQ(answer.parms.m_count, 4);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(answer.Medium(i).m_port, 0);
  }
  EXPECT_EQ(Encode(answer).error, 0);
}

TEST(CpsdpNegotiate, OfferWithoutMediaGivesAnAnswerWithoutMedia) {
  const Answer answer = Negotiate(kLocal, Session({}));
  EXPECT_EQ(answer.rejected, 0);
  EXPECT_EQ(answer.parms.m_count, 0);
  EXPECT_EQ(Encode(answer).error, 0);
}

TEST(CpsdpNegotiate, LocalMediumIsFoundAtAnyPlace) {
  const Answer answer = Negotiate(Session({"m=video 1 udp 31", "m=audio 2 RTP/AVP 0", "m=audio 3 udp 96 5"}),
                                  Session({"m=audio 9 udp 5"}));
  EXPECT_EQ(answer.rejected, 0);
  EXPECT_EQ(answer.Medium().m_port, 3);
  EXPECT_EQ(answer.Formats(), "5/5");
}

// Kept: of several local media of one type and protocol only the first is ever taken.
TEST(CpsdpNegotiate, FirstLocalMediumOfATypeServesAllOfferedOnes) {
  const Answer answer =
      Negotiate(Session({"m=audio 6000 udp 0", "m=audio 6002 udp 8", "m=audio 6004 udp 0 8"}),
                Session({"m=audio 1 udp 0 8", "m=audio 2 udp 8 0", "m=audio 3 udp 8"}));
  EXPECT_EQ(answer.rejected, 0);
  ASSERT_EQ(answer.parms.m_count, 3);
  EXPECT_EQ(answer.Formats(0), "0/0");
  EXPECT_EQ(answer.Formats(1), "0/0");
  EXPECT_EQ(answer.Formats(2), "");
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(answer.Medium(i).m_port, 6000);
  }
}

TEST(CpsdpNegotiate, EachOfferedMediumIsNegotiatedOnItsOwn) {
  const Answer answer = Negotiate(
      Session(
          {"m=video 6000 udp 31", "a=rtpmap:31 H261/90000", "m=audio 6002 udp 96", "a=rtpmap:96 L24/48000"}),
      Session({"m=audio 1 udp 97", "a=rtpmap:97 L24/48000", "a=sendonly", "m=video 2 udp 31", "a=recvonly"}));
  EXPECT_EQ(answer.rejected, 0);
  ASSERT_EQ(answer.parms.m_count, 2);
  EXPECT_EQ(answer.Formats(0), "97/96");
  EXPECT_EQ(answer.Medium(0).m_port, 6002);
  EXPECT_EQ(answer.Medium(0).direction, cpsdp_direction::recvonly);
  EXPECT_EQ(answer.Formats(1), "31/31");
  EXPECT_EQ(answer.Medium(1).m_port, 6000);
  EXPECT_EQ(answer.Medium(1).direction, cpsdp_direction::sendonly);
}

TEST(CpsdpNegotiate, AnswerOnTheWire) {
  const Answer answer = Negotiate(kLocal, kOffer);
  EXPECT_EQ(Encode(answer).text,
            Lines({"v=0", "o=harkd 7 8 IN IP6 2001:db8::7", "s=far", "i=about", "u=uri", "e=mail", "p=phone",
                   "c=IN IP6 2001:db8::8", "b=AS:1", "t=0 0", "k=key", "m=audio 6000/3 RTP/AVP 0 97",
                   "i=medium", "b=CT:2", "k=mkey", "a=sendrecv", "a=rtpmap:0 PCMU/8000",
                   "a=rtpmap:97 L24/48000/2", "a=ptime:20"}));
}

}  // namespace
}  // namespace hark::test

// What a service tells the stack of itself: the texts of its identity, its transport, and its description.
#include "sipua/stack_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::SizeIs;
using ::testing::StartsWith;

class SipServiceTexts : public StackTest {
 protected:
  SipServiceTexts() { EXPECT_EQ(Stack().Initialize(3, &table_), 1); }

  // Makes service 1, and looks at what the stack was given.
  const FakeService& Make(const SipServiceConfig& config) {
    Stack().ServiceCreate(1, config);
    EXPECT_NE(fake_.ServiceAt(1), nullptr);
    return *fake_.ServiceAt(1);
  }
  const cpsip_ua_parms& Ua(const SipServiceConfig& config) { return *Make(config).ua; }
  const cpsip_xport_parms& Xport(const SipServiceConfig& config) { return *Make(config).xport; }

  SipServiceConfig config_ = Config(1, 2);
};

TEST_F(SipServiceTexts, UserAgentIsToldItsFixedValues) {
  const cpsip_ua_parms& ua = Ua(config_);
  EXPECT_EQ(ua.nT1, 500);
  EXPECT_EQ(ua.nT2, 4000);
  EXPECT_EQ(ua.nT4, 5000);
  EXPECT_EQ(ua.pszScheme, "sip:");
  EXPECT_EQ(ua.pszPort, "5060");
  EXPECT_EQ(ua.pszReserved, "");
  EXPECT_EQ(ua.nExpires, 3600U);
  EXPECT_EQ(ua.nMaxForwards, 70);
  EXPECT_EQ(ua.nOptions, 1U);
}

TEST_F(SipServiceTexts, UserAgentNamesTheProductAndAWebAddress) {
  const std::string agent(Ua(config_).pszUserAgent);
  EXPECT_THAT(agent, StartsWith("Merlin/IP ("));
  EXPECT_THAT(agent, EndsWith(")"));
  EXPECT_THAT(agent, SizeIs(33));
}

TEST_F(SipServiceTexts, FromCarriesTheDomainAndContactTheAddress) {
  struct Row {
    const char* user;
    const char* domain;
    const char* from;
    const char* contact;
  };
  const Row rows[] = {
      {"near", "example.org", "sip:near@example.org", "sip:near@10.0.0.1"},
      {"near", "10.0.0.9", "sip:near@10.0.0.9", "sip:near@10.0.0.1"},
      {"near", "", "sip:near@", "sip:near@10.0.0.1"},
      {"near@10.0.0.7", "example.org", "sip:near@10.0.0.7", "sip:near@10.0.0.7"},
      {"hark-talk@10.0.0.1;trgl=4;label=IC", "", "sip:hark-talk@10.0.0.1;trgl=4;label=IC",
       "sip:hark-talk@10.0.0.1;trgl=4;label=IC"},
      {"", "d", "sip:@d", "sip:@10.0.0.1"},
      {"@", "d", "sip:@", "sip:@"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.user) + " of " + row.domain);
    config_.user = row.user;
    config_.domain = row.domain;
    const cpsip_ua_parms& ua = Ua(config_);
    EXPECT_EQ(ua.pszFromUri, row.from);
    EXPECT_EQ(ua.pszContactUri, row.contact);
    EXPECT_EQ(ua.pszDomain, row.domain);
  }
}

TEST_F(SipServiceTexts, UserWithAHostAndNoDomainHasOneUriAndNoRoute) {
  config_.user = "near@10.0.0.1";
  config_.domain.clear();
  const FakeService& service = Make(config_);
  EXPECT_EQ(service.ua->pszFromUri, service.ua->pszContactUri);
  EXPECT_EQ(service.ua->pszRoute, "");
  EXPECT_EQ(service.xport->pszRouteHost, "");
}

TEST_F(SipServiceTexts, ContactOfAServiceWithoutAnAddressHasNone) {
  config_.localIp = 0;
  config_.user = "near";
  EXPECT_EQ(Ua(config_).pszContactUri, "sip:near@");
}

TEST_F(SipServiceTexts, DisplayNameIsTheOneGivenElseTheUser) {
  for (const char* name : {"Studio 1", ""}) {
    config_.displayName = name;
    EXPECT_EQ(Ua(config_).pszFromName, name);
    EXPECT_EQ(Ua(config_).pszContactName, name);
  }
  config_.displayName.reset();
  EXPECT_EQ(Ua(config_).pszFromName, config_.user);
  EXPECT_EQ(Ua(config_).pszContactName, config_.user);
}

TEST_F(SipServiceTexts, RouteIsTheDomainAndItsHostIsGivenToTheTransport) {
  struct Row {
    const char* domain;
    const char* route;
    const char* host;
  };
  const Row rows[] = {
      {"", "", ""},
      {"10.0.0.9", "10.0.0.9;lr", "10.0.0.9"},
      {"sip:10.0.0.9", "sip:10.0.0.9;lr", "10.0.0.9"},
      {"sip:10.0.0.9:5070", "sip:10.0.0.9:5070;lr", "10.0.0.9"},
      {"sip:proxy@10.0.0.9", "sip:proxy@10.0.0.9;lr", "10.0.0.9"},
      {"example.org", "example.org;lr", "example.org"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.domain);
    config_.domain = row.domain;
    const FakeService& service = Make(config_);
    EXPECT_EQ(service.ua->pszRoute, row.route);
    EXPECT_EQ(service.xport->pszRouteHost, row.host);
  }
}

TEST_F(SipServiceTexts, RouteThatIsNoUriHasNoHost) {
  config_.domain = "sip:@";
  EXPECT_EQ(Xport(config_).pszRouteHost, "");
}

TEST_F(SipServiceTexts, TransportIsUdpOnTheServicesOwnPort) {
  config_.altIp = 0xC0A80001;
  const cpsip_xport_parms& xport = Xport(config_);
  EXPECT_EQ(xport.nTransport, cpsip_transport_kind::udp);
  EXPECT_EQ(xport.nMode, 3U);
  EXPECT_EQ(xport.nLocalPort, 5061);
  EXPECT_EQ(xport.nDefaultPort, 5060);
  EXPECT_EQ(xport.pszLocalHost, "10.0.0.1");
  EXPECT_EQ(xport.pszAltHost, "192.168.0.1");
}

TEST_F(SipServiceTexts, AddressesOfZeroAreEmpty) {
  config_.localIp = config_.altIp = config_.publicIp = 0;
  config_.publicPort = 1;
  const cpsip_xport_parms& xport = Xport(config_);
  EXPECT_EQ(xport.pszLocalHost, "");
  EXPECT_EQ(xport.pszAltHost, "");
  EXPECT_EQ(xport.pszPublicHost, "");
}

TEST_F(SipServiceTexts, AdvertisedHostIsToldUnlessItIsTheLocalOneWithItsPort) {
  struct Row {
    std::uint32_t ip;
    std::uint16_t port;
    const char* host;
  };
  const Row rows[] = {
      {0x0A000001, 5061, ""},
      {0x0A000001, 5062, "10.0.0.1"},
      {0xEFC00001, 5061, "239.192.0.1"},
      {0xFFFFFFFF, 65535, "255.255.255.255"},
      {0, 5061, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.ip);
    config_.publicIp = row.ip;
    config_.publicPort = row.port;
    EXPECT_EQ(Xport(config_).pszPublicHost, row.host);
  }
}

TEST_F(SipServiceTexts, OverlongTextsAreCutToTheirRoom) {
  config_.user = std::string(1000, 'u');
  config_.displayName = std::string(1000, 'n');
  config_.domain = std::string(1000, 'd');
  const cpsip_ua_parms& ua = Ua(config_);
  for (const std::string_view uri : {ua.pszFromUri, ua.pszContactUri}) {
    EXPECT_LE(uri.size(), SipServiceUA::kMaxUriText);
    EXPECT_THAT(std::string(uri), StartsWith("sip:" + std::string(200, 'u')));
  }
  EXPECT_LE(ua.pszFromName.size(), SipServiceUA::kMaxDisplayName);
  EXPECT_LE(ua.pszContactName.size(), SipServiceUA::kMaxDisplayName);
  EXPECT_LE(ua.pszRoute.size(), SipServiceUA::kMaxRoute);
}

TEST_F(SipServiceTexts, LongestTextsThatFitAreWhole) {
  config_.user = std::string(245, 'u') + "@h.o.st";  // with "sip:" 256
  config_.displayName = std::string(191, 'n');
  config_.domain = std::string(125, 'd');
  const cpsip_ua_parms& ua = Ua(config_);
  EXPECT_EQ(ua.pszFromUri, "sip:" + config_.user);
  EXPECT_EQ(ua.pszContactUri, "sip:" + config_.user);
  EXPECT_EQ(ua.pszFromName, *config_.displayName);
  EXPECT_EQ(ua.pszRoute, config_.domain + ";lr");
}

TEST_F(SipServiceTexts, ServiceIsAUserAgentWithItsDescriptionAndMediaPort) {
  config_.rtpPort = 5004;
  config_.payloadTypes = "96=L24/48000/2|9=G722/8000 x=1";
  const FakeService& service = Make(config_);
  EXPECT_EQ(service.kind, kServiceUserAgent);
  EXPECT_EQ(kServiceUserAgent, 2U);
  EXPECT_EQ(service.rtp_port, 5004);
  ASSERT_NE(service.sdp, nullptr);
  ASSERT_EQ(service.sdp->m_count, 1);
  const cpsdp_media& medium = *service.sdp->media[0];
  EXPECT_EQ(medium.m_port, 0);
  ASSERT_EQ(medium.fmt_count, 2);
  EXPECT_EQ(medium.fmt[0], 96);
  EXPECT_EQ(medium.rtp_name[0].in(service.sdp_pool), "L24");
  EXPECT_EQ(medium.rtp_rate[0], 48000U);
  EXPECT_EQ(medium.rtp_param[0].in(service.sdp_pool), "2");
  EXPECT_EQ(medium.fmtp[1].in(service.sdp_pool), "x=1");
}

TEST_F(SipServiceTexts, DescriptionIsAtTheAdvertisedAddress) {
  const FakeService& service = Make(config_);
  EXPECT_EQ(service.sdp->o_username.in(service.sdp_pool), "-");
  EXPECT_EQ(service.sdp->s_name.in(service.sdp_pool), "-");
  EXPECT_EQ(service.sdp->o_address.in(service.sdp_pool), "239.192.0.1");
  EXPECT_EQ(service.sdp->c_address.in(service.sdp_pool), "239.192.0.1");
  EXPECT_EQ(service.sdp->media[0]->c_address.in(service.sdp_pool), "239.192.0.1");
  EXPECT_EQ(service.sdp->o_session_id, service.sdp->o_session_version);
}

TEST_F(SipServiceTexts, ServiceWithoutPayloadTypesHasNoDescription) {
  config_.payloadTypes.clear();
  const FakeService& service = Make(config_);
  EXPECT_EQ(service.sdp_pool, "");
  EXPECT_TRUE(service.sdp == nullptr || service.sdp->m_count == 0);
  EXPECT_EQ(static_cast<SipServiceUA*>(service.app)->GetSdpPTCnt(), 0U);
}

TEST_F(SipServiceTexts, PayloadNumbersAreBelowOneHundredAndTwentyEight) {
  config_.payloadTypes = "127=A/1";
  EXPECT_EQ(static_cast<SipServiceUA*>(Make(config_).app)->GetSdpPTCnt(), 1U);
  for (const char* bad : {"128=A/1", "=A/1", "x=A/1", "96=A", "96=A/", "96=A/x", "96=A/1|", "|", "96"}) {
    SCOPED_TRACE(bad);
    Stack().ServiceDestroy(1);
    (void)Log();
    config_.payloadTypes = bad;
    Stack().ServiceCreate(1, config_);
    EXPECT_THAT(Log(), ElementsAre("ServiceError 1 10 Unable to parse payload types!",
                                   "ServiceError 1 10 Service create failed"));
  }
}

TEST_F(SipServiceTexts, ServiceKeepsItsRecordsWhileItLives) {
  config_.payloadTypes = "96=L24/48000/2";
  config_.domain = "10.0.0.9";
  const FakeService& service = Make(config_);
  config_ = {};
  Stack().ServiceCreate(2, Config(2, 1));
  EXPECT_EQ(service.ua->pszFromUri, "sip:hark@10.0.0.1");
  EXPECT_EQ(service.xport->pszRouteHost, "10.0.0.9");
  const auto& ua = *static_cast<SipServiceUA*>(service.app);
  EXPECT_EQ(&ua.ua_parms(), service.ua);
  EXPECT_EQ(&ua.xport_parms(), service.xport);
  EXPECT_EQ(&ua.default_sdp(), service.sdp);
  EXPECT_EQ(ua.default_sdp_pool(), service.sdp_pool);
}

TEST_F(SipServiceTexts, ServiceKeepsWhatItIsMadeOf) {
  config_.displayName = "Main";
  config_.rtpPort = 5004;
  config_.allowMissingMedia = true;
  Make(config_);
  const SipServiceConfig* const kept = Stack().GetServiceConfig(1);
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(kept->localIp, 0x0A000001U);
  EXPECT_EQ(kept->publicIp, 0xEFC00001U);
  EXPECT_EQ(kept->user, "hark@10.0.0.1");
  EXPECT_EQ(kept->displayName, "Main");
  EXPECT_EQ(kept->payloadTypes, "96=L24/48000/2");
  EXPECT_EQ(kept->rtpPort, 5004);
  EXPECT_TRUE(kept->allowMissingMedia);
}

}  // namespace
}  // namespace hark::test

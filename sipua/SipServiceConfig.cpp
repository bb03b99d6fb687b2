// What a service tells the stack of itself: its addresses as text, its identity, and the two records that the
// stack borrows. Their texts are the service's own members.
#include "sipua/SipServiceUA.h"

#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"

namespace hark {
namespace {

constexpr std::string_view kScheme = "sip:";
constexpr std::string_view kPort = "5060";
constexpr std::string_view kLooseRouting = ";lr";

// The product and where it comes from, RFC 3261 20.41. Far stations log this much of it.
constexpr std::string_view kUserAgent = "Merlin/IP (www.orfe.example/hark)";
static_assert(kUserAgent.size() == 33);

std::string bounded(std::string text, std::size_t most) {
  if (text.size() > most) text.resize(most);
  return text;
}

// A display name goes out as it is, without quotes. What would end it there, or the line, is not part of it.
std::string masked(std::string name) {
  for (char& c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || c == '"' || c == '<' || c == '>' || c == ';' || c == ',') c = '_';
  }
  return name;
}

// "sip:user@host"; a user that has a host already keeps it.
std::string uri_text(std::string_view user, std::string_view host) {
  std::string uri(kScheme);
  uri.append(user);
  if (user.find('@') == std::string_view::npos) uri.append(1, '@').append(host);
  return bounded(std::move(uri), SipServiceUA::kMaxUriText);
}

}  // namespace

void SipServiceUA::InitConfigAndTransport() {
  InitAddresses();
  InitIdentity();
  InitUa();
  InitTransport();
}

void SipServiceUA::InitAddresses() {
  (void)IPToString(m_szLocalIp, m_Config.localIp, 0);
  (void)IPToString(m_szPublicIp, m_Config.publicIp, 0);
  (void)IPToString(m_szAltIp, m_Config.altIp, 0);
}

// The From URI carries the domain, the Contact URI the address.
void SipServiceUA::InitIdentity() {
  m_szDisplayName = masked(bounded(m_Config.displayName.value_or(m_Config.user), kMaxDisplayName));
  m_szFromUri = uri_text(m_Config.user, m_Config.domain);
  m_szContactUri = uri_text(m_Config.user, field_text(m_szLocalIp));
  if (!m_Config.domain.empty()) m_szRoute = bounded(m_Config.domain + std::string(kLooseRouting), kMaxRoute);
}

void SipServiceUA::InitUa() {
  m_Ua.nT1 = 500;
  m_Ua.nT2 = 4000;
  m_Ua.nT4 = 5000;
  m_Ua.pszScheme = kScheme;
  m_Ua.pszDomain = m_Config.domain;
  m_Ua.pszFromName = m_szDisplayName;
  m_Ua.pszFromUri = m_szFromUri;
  m_Ua.pszPort = kPort;
  m_Ua.pszReserved = "";
  m_Ua.pszContactName = m_szDisplayName;
  m_Ua.pszContactUri = m_szContactUri;
  m_Ua.pszUserAgent = kUserAgent;
  m_Ua.pszRoute = m_szRoute;
  m_Ua.nExpires = 3600;
  m_Ua.nMaxForwards = 70;
  m_Ua.nOptions = 1;
}

void SipServiceUA::InitTransport() {
  m_Transport.nTransport = cpsip_transport_kind::udp;
  m_Transport.nMode = 3;
  m_Transport.nLocalPort = m_Config.localPort;
  m_Transport.nDefaultPort = 5060;
  m_Transport.pszAltHost = field_text(m_szAltIp);
  m_Transport.pszLocalHost = field_text(m_szLocalIp);
  const bool advertised = m_Config.publicIp != m_Config.localIp || m_Config.publicPort != m_Config.localPort;
  m_Transport.pszPublicHost = advertised ? field_text(m_szPublicIp) : std::string_view("");
  m_Transport.pszRouteHost = "";
  cpsip_uri route;
  route.text = m_szRoute;
  if (!m_szRoute.empty() && CPSIP_MsgParseURI(route) == kUriOk) m_Transport.pszRouteHost = route.host;
}

bool SipServiceUA::InitPayloads() {
  const char* const types = m_Config.payloadTypes.empty() ? nullptr : m_Config.payloadTypes.c_str();
  if (!m_Payloads.ParsePayloadTypes(types)) return false;
  m_nSdpPoolSize = InitSDPConfig(m_DefaultSdp, m_SdpPool, field_text(m_szPublicIp), m_Payloads.types());
  return true;
}

}  // namespace hark

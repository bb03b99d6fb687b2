// One SIP identity of the station, with its lines. What it tells the protocol stack of itself (ports,
// payloads, its texts) is kept here for the stack, which is not built.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sipua/SipLine.h"
#include "sipua/SipPayloads.h"

namespace hark {

class SipStackUA;

// What a service is made of. Addresses and ports are in host order.
struct SipServiceConfig {
  std::uint32_t localIp = 0;
  std::uint16_t localPort = 0;
  std::uint32_t publicIp = 0;  // advertised; the station's multicast media address
  std::uint16_t publicPort = 0;
  std::uint32_t altIp = 0;
  std::string payloadTypes;  // such as "96=L24/48000/2"; empty: none
  std::string displayName;
  std::string user;  // the identity, "hark-talk@a.b.c.d;tags"
  std::string domain;
  unsigned lines = 0;
  bool matchNumber = false;
  bool partialTailMatch = false;
  std::uint16_t rtpPort = 0;
  bool allowMissingMedia = false;
};

class SipServiceUA {
 public:
  // A service with all its lines idle, or null when it cannot be made; payload types that cannot be read are
  // told as a service error. Borrows `stack`.
  [[nodiscard]] static std::unique_ptr<SipServiceUA> Create(SipStackUA& stack, unsigned serviceIndex,
                                                            const SipServiceConfig& config);

  // The line, or null for an index that is none. Owned by the service.
  [[nodiscard]] SipLine* GetLineByIndex(unsigned line);

  // What it is made of.
  [[nodiscard]] const SipServiceConfig& config() const { return m_Config; }

  // How many payload types it has. Without any it has no description to offer.
  [[nodiscard]] std::size_t GetSdpPTCnt() const { return m_Payloads.types().size(); }
  // The session description that it offers, with the pool of its texts; empty without payload types.
  [[nodiscard]] const cpsdp_parms& default_sdp() const { return m_DefaultSdp; }
  [[nodiscard]] std::string_view default_sdp_pool() const { return {m_SdpPool.data(), m_nSdpPoolSize}; }

  // Each puts the service's index in front and passes the event up.
  void NotifyLineSeized(unsigned line) const;
  void NotifyLineState(unsigned line, ISipStackUAEvents::ESipLineState state) const;
  void NotifyLineError(unsigned line, unsigned error, const char* text) const;

 private:
  SipServiceUA(SipStackUA& stack, unsigned serviceIndex, const SipServiceConfig& config);
  // False when the payload types cannot be read.
  [[nodiscard]] bool InitPayloads();

  SipStackUA& m_pStack;
  const unsigned m_nServiceIndex;
  const SipServiceConfig m_Config;
  std::vector<SipLine> m_pLines;
  SipPayloads m_Payloads;
  cpsdp_parms m_DefaultSdp;
  std::array<char, kCpsdpMaxEncoded> m_SdpPool;
  std::size_t m_nSdpPoolSize = 0;
};

}  // namespace hark

#include "sipua/SipServiceUA.h"

#include <netinet/in.h>

#include <new>

#include "base/text.h"
#include "sipua/SipStackUA.h"

namespace hark {

std::unique_ptr<SipServiceUA> SipServiceUA::Create(SipStackUA& stack, unsigned serviceIndex,
                                                   const SipServiceConfig& config) {
  std::unique_ptr<SipServiceUA> service(new (std::nothrow) SipServiceUA(stack, serviceIndex, config));
  if (service == nullptr || service->InitPayloads()) return service;
  stack.events().NotifyServiceError(serviceIndex, kServiceErrorFailed, "Unable to parse payload types!");
  return nullptr;
}

bool SipServiceUA::InitPayloads() {
  if (!m_Payloads.ParsePayloadTypes(m_Config.payloadTypes.empty() ? nullptr : m_Config.payloadTypes.c_str()))
    return false;
  const std::uint32_t ip = m_Config.publicIp;
  std::array<char, INET_ADDRSTRLEN> address;
  const int length =
      format_text(address, "%u.%u.%u.%u", ip >> 24U, ip >> 16U & 0xFFU, ip >> 8U & 0xFFU, ip & 0xFFU);
  m_nSdpPoolSize = InitSDPConfig(m_DefaultSdp, m_SdpPool, {address.data(), static_cast<std::size_t>(length)},
                                 m_Payloads.types());
  return true;
}

SipServiceUA::SipServiceUA(SipStackUA& stack, unsigned serviceIndex, const SipServiceConfig& config)
    : m_pStack(stack), m_nServiceIndex(serviceIndex), m_Config(config) {
  m_pLines.reserve(config.lines);
  for (unsigned line = 0; line < config.lines; ++line) {
    m_pLines.emplace_back(*this, static_cast<std::uint16_t>(line));
  }
}

SipLine* SipServiceUA::GetLineByIndex(unsigned line) {
  return line < m_pLines.size() ? &m_pLines[line] : nullptr;
}

void SipServiceUA::NotifyLineSeized(unsigned line) const {
  m_pStack.events().NotifyLineSeized(m_nServiceIndex, line);
}

void SipServiceUA::NotifyLineState(unsigned line, ISipStackUAEvents::ESipLineState state) const {
  m_pStack.events().NotifyLineState(m_nServiceIndex, line, state);
}

void SipServiceUA::NotifyLineError(unsigned line, unsigned error, const char* text) const {
  m_pStack.events().NotifyLineError(m_nServiceIndex, line, error, text);
}

}  // namespace hark

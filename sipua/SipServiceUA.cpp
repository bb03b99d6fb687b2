#include "sipua/SipServiceUA.h"

#include <new>

#include "sipua/SipStackUA.h"

namespace hark {

std::unique_ptr<SipServiceUA> SipServiceUA::Create(SipStackUA& stack, unsigned serviceIndex,
                                                   const SipServiceConfig& config) {
  return std::unique_ptr<SipServiceUA>(new (std::nothrow) SipServiceUA(stack, serviceIndex, config));
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

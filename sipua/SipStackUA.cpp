#include "sipua/SipStackUA.h"

#include <utility>

namespace hark {

const ISipStackUAEvents SipStackUA::kNoEvents{};

SipStackUA* SipStackUA::GetInstance() {
  static SipStackUA instance;
  return &instance;
}

int SipStackUA::Initialize(unsigned numServices, const ISipStackUAEvents* events) {
  if (numServices == 0) return 0;
  m_pEvents = events != nullptr ? events : &kNoEvents;
  m_ppServices.clear();
  m_ppServices.resize(numServices);
  return 1;
}

void SipStackUA::Finalize() { m_ppServices.clear(); }

bool SipStackUA::ProcessMessages() { return true; }

bool SipStackUA::CheckIndex(unsigned service) const {
  if (service < m_ppServices.size()) return true;
  m_pEvents->NotifyServiceError(service, kServiceErrorIndex, "Index out of bounds");
  return false;
}

void SipStackUA::ServiceCreate(unsigned service, const SipServiceConfig& config) {
  if (!CheckIndex(service)) return;
  if (m_ppServices[service]) ServiceDestroy(service);
  m_ppServices[service] = SipServiceUA::Create(*this, service, config);
  if (m_ppServices[service]) {
    m_pEvents->NotifyServiceCreate(service);
  } else {
    m_pEvents->NotifyServiceError(service, kServiceErrorFailed, "Service create failed");
  }
}

void SipStackUA::ServiceDestroy(unsigned service) {
  if (!CheckIndex(service)) return;
  m_ppServices[service].reset();
  m_pEvents->NotifyServiceDestroy(service);
}

const SipServiceConfig* SipStackUA::GetServiceConfig(unsigned service) const {
  if (service >= m_ppServices.size() || !m_ppServices[service]) return nullptr;
  return &m_ppServices[service]->config();
}

SipServiceUA* SipStackUA::FindService(unsigned service) const {
  if (!CheckIndex(service)) return nullptr;
  if (!m_ppServices[service]) m_pEvents->NotifyServiceError(service, kServiceErrorNull, "NULL service");
  return m_ppServices[service].get();
}

void SipStackUA::SetRegisterServer(unsigned service, const char* /*server*/) { (void)FindService(service); }

void SipStackUA::MapNumberToLine(unsigned service, unsigned line, const char* /*number*/) {
  if (FindService(service) == nullptr) return;
  m_pEvents->NotifyLineError(service, line, kLineErrorMap, "Map number failed");
}

SipLine* SipStackUA::FindLine(unsigned service, unsigned line) const {
  SipServiceUA* owner = FindService(service);
  if (owner == nullptr) return nullptr;
  SipLine* found = owner->GetLineByIndex(line);
  if (found == nullptr) m_pEvents->NotifyLineError(service, line, kLineErrorIndex, "Invalid index");
  return found;
}

void SipStackUA::Answer(unsigned service, unsigned line) {
  if (SipLine* found = FindLine(service, line)) (void)found->OnAnswer();
}

void SipStackUA::Seize(unsigned service, unsigned line) {
  if (SipLine* found = FindLine(service, line)) (void)found->OnSeize();
}

void SipStackUA::Call(unsigned service, unsigned line, const char* uri) {
  if (SipLine* found = FindLine(service, line)) (void)found->OnCall(uri);
}

void SipStackUA::Drop(unsigned service, unsigned line) {
  if (SipLine* found = FindLine(service, line)) (void)found->OnDrop();
}

}  // namespace hark

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

std::shared_ptr<SipServiceUA> SipStackUA::FindService(unsigned service) const {
  if (!CheckIndex(service)) return nullptr;
  if (!m_ppServices[service]) m_pEvents->NotifyServiceError(service, kServiceErrorNull, "NULL service");
  return m_ppServices[service];
}

void SipStackUA::SetRegisterServer(unsigned service, const char* /*server*/) { (void)FindService(service); }

void SipStackUA::MapNumberToLine(unsigned service, unsigned line, const char* /*number*/) {
  if (!FindService(service)) return;
  m_pEvents->NotifyLineError(service, line, kLineErrorMap, "Map number failed");
}

// Runs `act` on the line, holding its service meanwhile.
template <typename Act>
void SipStackUA::Command(unsigned service, unsigned line, Act act) const {
  const std::shared_ptr<SipServiceUA> owner = FindService(service);
  if (!owner) return;
  if (SipLine* found = owner->GetLineByIndex(line); found != nullptr) {
    (void)act(*found);
  } else {
    m_pEvents->NotifyLineError(service, line, kLineErrorIndex, "Invalid index");
  }
}

void SipStackUA::Answer(unsigned service, unsigned line) {
  Command(service, line, [](SipLine& found) { return found.OnAnswer(); });
}

void SipStackUA::Seize(unsigned service, unsigned line) {
  Command(service, line, [](SipLine& found) { return found.OnSeize(); });
}

void SipStackUA::Call(unsigned service, unsigned line, const char* uri) {
  Command(service, line, [uri](SipLine& found) { return found.OnCall(uri); });
}

void SipStackUA::Drop(unsigned service, unsigned line) {
  Command(service, line, [](SipLine& found) { return found.OnDrop(); });
}

}  // namespace hark

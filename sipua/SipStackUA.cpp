#include "sipua/SipStackUA.h"

#include <utility>

#include "cpsip/cpsip_service.h"
#include "cpsip/cpsip_socket.h"
#include "cpsip/cpsip_timer.h"

namespace hark {

const ISipStackUAEvents SipStackUA::kNoEvents{};

// Never destroyed. The process may end from inside the stack, when that has met something that it cannot go
// on with, and services that end then would call into it again.
SipStackUA* SipStackUA::GetInstance() {
  static auto* const instance = new SipStackUA;
  return instance;
}

int SipStackUA::Initialize(unsigned numServices, const ISipStackUAEvents* events) {
  if (numServices == 0) return 0;
  m_pEvents = events != nullptr ? events : &kNoEvents;
  Finalize();  // of an earlier start, while the stack still knows them
  if (CPSIP_Init() != 0) return 0;
  m_ppServices.resize(numServices);
  return 1;
}

void SipStackUA::Finalize() {
  for (const auto& service : std::exchange(m_ppServices, {})) {
    if (service) service->Close();
  }
}

bool SipStackUA::ProcessMessages() {
  const bool asked = CPSIP_Select() == 0;
  CPSIP_TimerTick();
  DispatchTimerEvents();
  return asked;
}

bool SipStackUA::CheckIndex(unsigned service) const {
  if (service < m_ppServices.size()) return true;
  m_pEvents->NotifyServiceError(service, kServiceErrorIndex, "Index out of bounds");
  return false;
}

std::shared_ptr<SipServiceUA> SipStackUA::Slot(unsigned service) const {
  return service < m_ppServices.size() ? m_ppServices[service] : nullptr;
}

void SipStackUA::ServiceCreate(unsigned service, const SipServiceConfig& config) {
  if (!CheckIndex(service)) return;
  const std::shared_ptr<SipServiceUA> old = Slot(service);  // `config` may be what it is made of
  if (old) ServiceDestroy(service);
  std::shared_ptr<SipServiceUA> made = SipServiceUA::Create(*this, *this, service, config);
  if (!made) return m_pEvents->NotifyServiceError(service, kServiceErrorFailed, "Service create failed");
  // Who heard of the old one's end may have ended the stack, or made the service himself.
  if (service >= m_ppServices.size() || m_ppServices[service]) return made->Close();
  m_ppServices[service] = std::move(made);
  m_pEvents->NotifyServiceCreate(service);
}

// It ends at once, whatever runs in it: its port is free for the next one.
void SipStackUA::ServiceDestroy(unsigned service) {
  if (!CheckIndex(service)) return;
  if (const std::shared_ptr<SipServiceUA> ended = std::exchange(m_ppServices[service], nullptr))
    ended->Close();
  m_pEvents->NotifyServiceDestroy(service);
}

const SipServiceConfig* SipStackUA::GetServiceConfig(unsigned service) const {
  const std::shared_ptr<SipServiceUA> found = Slot(service);
  return found ? &found->config() : nullptr;
}

std::shared_ptr<SipServiceUA> SipStackUA::FindService(unsigned service) const {
  if (!CheckIndex(service)) return nullptr;
  std::shared_ptr<SipServiceUA> found = m_ppServices[service];
  if (!found) m_pEvents->NotifyServiceError(service, kServiceErrorNull, "NULL service");
  return found;
}

void SipStackUA::SetRegisterServer(unsigned service, const char* /*server*/) { (void)FindService(service); }

void SipStackUA::MapNumberToLine(unsigned service, unsigned line, const char* number) {
  const std::shared_ptr<SipServiceUA> owner = FindService(service);
  if (!owner || owner->MapNumberToLine(line, number) >= 1) return;
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

void SipStackUA::NotifyLineRing(unsigned service, unsigned line, SipMsg& msg) const {
  const std::shared_ptr<SipServiceUA> rings = Slot(service);
  m_pEvents->NotifyLineRing(service, line, msg.GetFromURI(), msg.GetToURI());
  if (Slot(service) == rings) m_pEvents->NotifyLineRing2(service, line, msg.GetPtr());
}

}  // namespace hark

#include "callctl/fake_stack.h"

namespace hark {

FakeStack fake_stack;

const ISipStackUAEvents SipStackUA::kNoEvents{};

namespace {

void note(const std::string& text) { fake_stack.commands.push_back(text); }

std::string at(const char* name, unsigned service, unsigned line) {
  return std::string(name) + " " + std::to_string(service) + "/" + std::to_string(line);
}

void report_state(unsigned service, unsigned line, ISipStackUAEvents::ESipLineState state) {
  fake_stack.events->NotifyLineState(service, line, state);
}

}  // namespace

SipStackUA* SipStackUA::GetInstance() {
  static SipStackUA instance;
  return &instance;
}

int SipStackUA::Initialize(unsigned numServices, const ISipStackUAEvents* events) {
  note("Initialize " + std::to_string(numServices));
  fake_stack.events = events;
  return fake_stack.initialize_result;
}

void SipStackUA::Finalize() { note("Finalize"); }

bool SipStackUA::ProcessMessages() {
  note("ProcessMessages");
  return true;
}

void SipStackUA::ServiceCreate(unsigned service, const SipServiceConfig& config) {
  note("ServiceCreate " + std::to_string(service));
  fake_stack.configs[service] = config;
}

void SipStackUA::ServiceDestroy(unsigned service) {
  note("ServiceDestroy " + std::to_string(service));
  fake_stack.events->NotifyServiceDestroy(service);
}

void SipStackUA::Answer(unsigned service, unsigned line) { note(at("Answer", service, line)); }

void SipStackUA::Seize(unsigned service, unsigned line) {
  note(at("Seize", service, line));
  if (fake_stack.seize == FakeStack::Outcome::kAccepted) fake_stack.events->NotifyLineSeized(service, line);
}

void SipStackUA::Call(unsigned service, unsigned line, const char* uri) {
  note(at("Call", service, line) + " " + uri);
  if (fake_stack.call == FakeStack::Outcome::kNothing) return;
  report_state(service, line, ISipStackUAEvents::STATE_CALLING);
  if (fake_stack.call == FakeStack::Outcome::kIdle)
    report_state(service, line, ISipStackUAEvents::STATE_IDLE);
}

void SipStackUA::Drop(unsigned service, unsigned line) { note(at("Drop", service, line)); }

}  // namespace hark

#include "sipua/stack_fixture.h"

namespace hark {
namespace {

void note(const std::string& text) { events_seen.push_back(text); }

std::string at(const char* name, unsigned service) {
  return std::string(name) + " " + std::to_string(service);
}

std::string at(const char* name, unsigned service, unsigned line) {
  return at(name, service) + "/" + std::to_string(line);
}

}  // namespace

ISipStackUAEvents recording_events() {
  ISipStackUAEvents events;
  auto& slots = events.slots;
  slots.ServiceError = [](unsigned service, unsigned error, const char* text) {
    note(at("ServiceError", service) + " " + std::to_string(error) + " " + text);
  };
  slots.ServiceCreate = [](unsigned service) { note(at("ServiceCreate", service)); };
  slots.ServiceDestroy = [](unsigned service) { note(at("ServiceDestroy", service)); };
  slots.LineRing = [](unsigned service, unsigned line, const char* from, const char* to) {
    note(at("LineRing", service, line) + " " + from + " " + to);
  };
  slots.LineConnected = [](unsigned service, unsigned line, const char* from, const char* to,
                           const char* media, const char* codecs) {
    note(at("LineConnected", service, line) + " " + from + " " + to + " " + media + " " + codecs);
  };
  slots.LineRing2 = [](unsigned service, unsigned line, cpsip_msg* msg) {
    note(at("LineRing2", service, line) + (msg == nullptr ? " none" : " msg"));
  };
  slots.FarEndRinging = [](unsigned service, unsigned line) { note(at("FarEndRinging", service, line)); };
  slots.FarEndDrop = [](unsigned service, unsigned line) { note(at("FarEndDrop", service, line)); };
  slots.LocalDrop = [](unsigned service, unsigned line) { note(at("LocalDrop", service, line)); };
  slots.LineSeized = [](unsigned service, unsigned line) { note(at("LineSeized", service, line)); };
  slots.LineState = [](unsigned service, unsigned line, ISipStackUAEvents::ESipLineState state) {
    note(at("LineState", service, line) + " " + std::to_string(static_cast<unsigned>(state)));
  };
  slots.LineError = [](unsigned service, unsigned line, unsigned error, const char* text) {
    note(at("LineError", service, line) + " " + std::to_string(error) + " " + text);
  };
  slots.Codecs = [](unsigned service, unsigned line, const char* codecs) {
    note(at("Codecs", service, line) + " " + codecs);
  };
  return events;
}

}  // namespace hark

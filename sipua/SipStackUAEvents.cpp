#include "sipua/SipStackUAEvents.h"

namespace hark {
namespace {

template <typename Slot, typename... Args>
void call(Slot slot, Args... args) {
  if (slot != nullptr) slot(args...);
}

}  // namespace

void ISipStackUAEvents::NotifyServiceError(unsigned service, unsigned error, const char* text) const {
  call(slots.ServiceError, service, error, text);
}
void ISipStackUAEvents::NotifyServiceCreate(unsigned service) const { call(slots.ServiceCreate, service); }
void ISipStackUAEvents::NotifyServiceDestroy(unsigned service) const { call(slots.ServiceDestroy, service); }
void ISipStackUAEvents::NotifyLineRing(unsigned service, unsigned line, const char* fromUri,
                                       const char* toUri) const {
  call(slots.LineRing, service, line, fromUri, toUri);
}
void ISipStackUAEvents::NotifyLineConnected(unsigned service, unsigned line, const char* fromUri,
                                            const char* toUri, const char* mediaAddress,
                                            const char* codecs) const {
  call(slots.LineConnected, service, line, fromUri, toUri, mediaAddress, codecs);
}
void ISipStackUAEvents::NotifyLineRing2(unsigned service, unsigned line, cpsip_msg* msg) const {
  call(slots.LineRing2, service, line, msg);
}
void ISipStackUAEvents::NotifyFarEndRinging(unsigned service, unsigned line) const {
  call(slots.FarEndRinging, service, line);
}
void ISipStackUAEvents::NotifyFarEndDrop(unsigned service, unsigned line) const {
  call(slots.FarEndDrop, service, line);
}
void ISipStackUAEvents::NotifyLocalDrop(unsigned service, unsigned line) const {
  call(slots.LocalDrop, service, line);
}
void ISipStackUAEvents::NotifyLineSeized(unsigned service, unsigned line) const {
  call(slots.LineSeized, service, line);
}
void ISipStackUAEvents::NotifyLineState(unsigned service, unsigned line, ESipLineState state) const {
  call(slots.LineState, service, line, state);
}
void ISipStackUAEvents::NotifyLineError(unsigned service, unsigned line, unsigned error,
                                        const char* text) const {
  call(slots.LineError, service, line, error, text);
}
void ISipStackUAEvents::NotifyCodecs(unsigned service, unsigned line, const char* codecs) const {
  call(slots.Codecs, service, line, codecs);
}

}  // namespace hark

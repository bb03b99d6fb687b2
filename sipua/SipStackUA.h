// The one doorway between the control layer and the SIP user agent: a process-wide object that owns the
// services, turns commands for (service, line) into calls on that line, and passes up what happens below. It
// is also the source of all lines' timers, and the pump of the protocol stack.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sipua/SipServiceUA.h"
#include "sipua/SipStackUAEvents.h"
#include "sipua/TimerSource.h"

namespace hark {

// Any event may come from inside a command or a pump, and its receiver may call back: command a line, make or
// destroy services, even end them all.
class SipStackUA : public TimerSource {
 public:
  // The one instance; it lives from its first use to the process's end.
  static SipStackUA* GetInstance();

  // Starts the stack with room for `numServices` services and borrows `events` (null: all events are
  // dropped). 1, or 0 when `numServices` is 0 or the stack does not start.
  [[nodiscard]] int Initialize(unsigned numServices, const ISipStackUAEvents* events);
  // Destroys all services, without events.
  void Finalize();

  // One pump: what the sockets have, the stack's timers, the lines' timers. True when the sockets could be
  // asked.
  bool ProcessMessages();

  // Makes service `service`; one that stands is destroyed first, with its event. A failure is a service
  // error.
  void ServiceCreate(unsigned service, const SipServiceConfig& config);
  // Destroys it. The event follows even when there was none.
  void ServiceDestroy(unsigned service);

  // What service `service` is made of; null when there is none.
  [[nodiscard]] const SipServiceConfig* GetServiceConfig(unsigned service) const;

  // Takes a registration server, which is ignored: this system registers nowhere.
  void SetRegisterServer(unsigned service, const char* server);
  // Gives calls for `number` to a line, besides those that it has. A line error when the service does not
  // match numbers, or has no such line.
  void MapNumberToLine(unsigned service, unsigned line, const char* number);

  // Commands to a line. A refusal is a line error; an index that is none, a service or line error.
  void Answer(unsigned service, unsigned line);
  void Seize(unsigned service, unsigned line);
  void Call(unsigned service, unsigned line, const char* uri);
  void Drop(unsigned service, unsigned line);

  // A ring, for its two slots: the texts first, then the message.
  void NotifyLineRing(unsigned service, unsigned line, SipMsg& msg) const;

  // The table in use, through which the services report; one without any slot when none is.
  [[nodiscard]] const ISipStackUAEvents& events() const { return *m_pEvents; }

 private:
  [[nodiscard]] bool CheckIndex(unsigned service) const;
  // What is in the slot; null also for an index that is none. Without an event.
  [[nodiscard]] std::shared_ptr<SipServiceUA> Slot(unsigned service) const;
  [[nodiscard]] std::shared_ptr<SipServiceUA> FindService(unsigned service) const;
  template <typename Act>
  void Command(unsigned service, unsigned line, Act act) const;

  // A slot may be null. Shared with the command that runs on one: an event may destroy the service below it.
  std::vector<std::shared_ptr<SipServiceUA>> m_ppServices;
  const ISipStackUAEvents* m_pEvents = &kNoEvents;  // borrowed
  static const ISipStackUAEvents kNoEvents;
};

}  // namespace hark

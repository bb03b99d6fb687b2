// The timers of the user agent: a sorted list of repeating timers, which the main loop polls, and the base of
// those who have timers. The stack's facade is the one source, its lines are the clients.
#pragma once

#include <cstdint>

#include "sipua/Timer64.h"

namespace hark {

// Whom a timer tells. A plain record, so that a timer needs no class of its target.
struct ITimerTarget {
  using Callback = void (*)(void* ctx, unsigned long id, void* data);

  // Calls the callback if there is one. It may set and cancel timers, and end the target or the source.
  void OnTimer(unsigned long id, void* data) const;

  Callback callback = nullptr;
  void* ctx = nullptr;  // borrowed
};

// What is a source of timers.
class ITimerSource {};

// Single-threaded. A timer is known by its id and its target; ids are compared and handed back as 32 bits.
class TimerSource : public ITimerSource {
 public:
  TimerSource() = default;
  ~TimerSource();
  TimerSource(const TimerSource&) = delete;
  TimerSource& operator=(const TimerSource&) = delete;

  // Starts a timer that is due in `delay` ms, and from then on every `delay` ms, or 5 less (see the entry's
  // constructor). One of the same id and target that runs is moved. Borrows `target` (null: it tells nobody)
  // and `data` until it is cancelled. Returns 1.
  int SetTimer(unsigned long delay, unsigned long id, ITimerTarget* target, void* data);
  // Ends the timer; that there is none is no error.
  void CancelTimer(unsigned long id, ITimerTarget* target);
  // Ends the next due timer of `target`, and only that one.
  void CancelAllTimers(ITimerTarget* target);

  // Tells of the first timer that is due, if one is: at most one per call. To be called in each pass of the
  // main loop. Timers repeat until they are cancelled; a late one counts on from when it was due.
  void DispatchTimerEvents();

 private:
  struct TimerEntry {
    // For entries that are new; one that is used again is filled field by field.
    TimerEntry(std::uint64_t expiry, std::uint32_t period, std::uint32_t id, ITimerTarget* target,
               void* data);

    TimerEntry* pNext = nullptr;  // in whichever list holds it
    std::uint64_t nExpiry;        // ms on the clock of Timer64
    std::uint32_t nPeriod;        // ms
    std::uint32_t nId;            // the target's
    ITimerTarget* pTarget;        // borrowed, may be null
    void* pData;                  // borrowed
  };

  void AddSortedEntry(TimerEntry* entry);
  [[nodiscard]] TimerEntry* GetTimerEntry(unsigned long long expiry, unsigned long period, unsigned long id,
                                          ITimerTarget* target, void* data);
  void ReleaseTimerEntry(TimerEntry* entry);
  template <typename Wanted>
  void CancelFirst(Wanted wanted);
  static void DeleteAll(TimerEntry* first);

  TimerEntry* m_pActive = nullptr;  // ascending by nExpiry; equal ones in the order in which they came
  TimerEntry* m_pFree = nullptr;
  Timer64 m_Clock;
};

// Base of whoever has timers. Its address is what its timers are known by, so it stays where it is.
class TimerClient : public ITimerTarget {
 public:
  // Borrows all; a `source` must outlive the client. Without one no timer ever runs.
  TimerClient(Callback timerCallback, void* context, TimerSource* source)
      : ITimerTarget{timerCallback, context}, m_pSource(source) {}
  // Leaves no timer behind if it has one at most: see TimerSource::CancelAllTimers.
  ~TimerClient();
  TimerClient(const TimerClient&) = delete;
  TimerClient& operator=(const TimerClient&) = delete;

  // As TimerSource::SetTimer, for this client; 0 without a source.
  int SetTimer(unsigned long id, unsigned int delay, void* data);
  void CancelTimer(unsigned long id);

 private:
  TimerSource* m_pSource;
};

}  // namespace hark

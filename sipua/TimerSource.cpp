#include "sipua/TimerSource.h"

#include <algorithm>
#include <limits>

namespace hark {
namespace {

constexpr std::uint32_t kCutMs = 5;

// Kept: on a new entry a timer repeats 5 ms early, on one that is used again it doesn't. Lines cancel in the
// callback and see the first expiry only, which is never shortened.
std::uint32_t shortened(std::uint32_t period) { return period > kCutMs ? period - kCutMs : period; }

}  // namespace

void ITimerTarget::OnTimer(unsigned long id, void* data) const {
  if (callback != nullptr) callback(ctx, id, data);
}

TimerSource::TimerEntry::TimerEntry(std::uint64_t expiry, std::uint32_t period, std::uint32_t id,
                                    ITimerTarget* target, void* data)
    : nExpiry(expiry), nPeriod(shortened(period)), nId(id), pTarget(target), pData(data) {}

TimerSource::~TimerSource() {
  DeleteAll(m_pActive);
  DeleteAll(m_pFree);
}

void TimerSource::DeleteAll(TimerEntry* first) {
  while (first != nullptr) {
    TimerEntry* next = first->pNext;
    delete first;
    first = next;
  }
}

int TimerSource::SetTimer(unsigned long delay, unsigned long id, ITimerTarget* target, void* data) {
  CancelTimer(id, target);
  // The period has 32 bits; so have all delays that clients can ask for.
  const unsigned long held = std::min<unsigned long>(delay, std::numeric_limits<std::uint32_t>::max());
  AddSortedEntry(GetTimerEntry(Timer64::GetMsecCount() + held, held, id, target, data));
  return 1;
}

template <typename Wanted>
void TimerSource::CancelFirst(Wanted wanted) {
  TimerEntry** link = &m_pActive;
  while (*link != nullptr && !wanted(**link))
    link = &(*link)->pNext;
  TimerEntry* entry = *link;
  if (entry == nullptr) return;
  *link = entry->pNext;
  ReleaseTimerEntry(entry);
}

void TimerSource::CancelTimer(unsigned long id, ITimerTarget* target) {
  const auto wanted = static_cast<std::uint32_t>(id);
  CancelFirst([&](const TimerEntry& entry) { return entry.nId == wanted && entry.pTarget == target; });
}

// Kept: it stops after one entry. A line has one timer at a time, and a client of several that ends leaves
// the others behind, which harms nobody as long as clients live as long as the source.
void TimerSource::CancelAllTimers(ITimerTarget* target) {
  CancelFirst([&](const TimerEntry& entry) { return entry.pTarget == target; });
}

void TimerSource::AddSortedEntry(TimerEntry* entry) {
  TimerEntry** link = &m_pActive;
  while (*link != nullptr && (*link)->nExpiry <= entry->nExpiry)
    link = &(*link)->pNext;
  entry->pNext = *link;
  *link = entry;
}

TimerSource::TimerEntry* TimerSource::GetTimerEntry(unsigned long long expiry, unsigned long period,
                                                    unsigned long id, ITimerTarget* target, void* data) {
  const auto period_ms = static_cast<std::uint32_t>(period);
  const auto id_of_target = static_cast<std::uint32_t>(id);
  TimerEntry* entry = m_pFree;
  if (entry == nullptr) return new TimerEntry(expiry, period_ms, id_of_target, target, data);
  m_pFree = entry->pNext;
  entry->nExpiry = expiry;
  entry->nPeriod = period_ms;
  entry->nId = id_of_target;
  entry->pTarget = target;
  entry->pData = data;
  return entry;
}

void TimerSource::ReleaseTimerEntry(TimerEntry* entry) {
  entry->pNext = m_pFree;
  m_pFree = entry;
}

void TimerSource::DispatchTimerEvents() {
  // Without a timer the clock isn't read. A wrap that is missed then makes the clock lose a period and shows
  // nowhere, as no expiry was counted before it.
  TimerEntry* entry = m_pActive;
  if (entry == nullptr || entry->nExpiry > Timer64::GetMsecCount()) return;
  m_pActive = entry->pNext;
  entry->nExpiry += entry->nPeriod;
  AddSortedEntry(entry);
  // Last, with the entry in its place again: the callback may cancel it, set it anew, or end the source.
  const std::uint32_t id = entry->nId;
  void* data = entry->pData;
  if (entry->pTarget != nullptr) entry->pTarget->OnTimer(id, data);
}

TimerClient::~TimerClient() {
  if (m_pSource != nullptr) m_pSource->CancelAllTimers(this);
}

int TimerClient::SetTimer(unsigned long id, unsigned int delay, void* data) {
  return m_pSource != nullptr ? m_pSource->SetTimer(delay, id, this, data) : 0;
}

void TimerClient::CancelTimer(unsigned long id) {
  if (m_pSource != nullptr) m_pSource->CancelTimer(id, this);
}

}  // namespace hark

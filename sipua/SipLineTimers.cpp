// A line's timers: the two that watch over its calls, and the three dormant ones that would send a request
// again, which the stack's transactions do.
#include "sipua/SipLine.h"

#include <array>
#include <cstdint>
#include <memory>

#include "sipua/SipServiceUA.h"

namespace hark {
namespace {

using Events = ISipStackUAEvents;

constexpr std::uint32_t kFirstIntervalMs = 500;
constexpr std::uint32_t kDoubledBelowMs = 2000;
constexpr std::uint32_t kLongestIntervalMs = 4000;
constexpr std::uint32_t kRounds = 9;  // behind so many there is one more, and then the final one

constexpr std::array<unsigned long, 5> kLineTimers{TIMER_CALL_RETRY, TIMER_CANCEL_RETRY, TIMER_BYE_RETRY,
                                                   TIMER_DISCONNECT, TIMER_PROGRESS};

}  // namespace

struct SipLine::Expiries {
  static void Disconnect(SipLine& line);
  static void Progress(SipLine& line);
  static void CallRetry(SipLine& line, TimerInfo& info);
  static void CancelRetry(SipLine& line, TimerInfo& info);
  static void ByeRetry(SipLine& line, TimerInfo& info);

  static void Retry(SipLine& line, TimerInfo& info, cpsip_method method);
  static void Fail(SipLine& line, const char* text);
};

// The source's own way to end all timers of a client stops after the first.
void SipLine::CancelTimers() {
  for (const unsigned long id : kLineTimers)
    CancelTimer(id);
}

void SipLine::WatchProgress() {
  CancelTimer(TIMER_PROGRESS);
  SetTimer(TIMER_PROGRESS, kProgressMs, nullptr);
}

void SipLine::InitTimer(TimerInfo& info) {
  info.nCount = 0;
  info.nInterval = kFirstIntervalMs;
  info.bFinal = false;
  SetTimer(info.nTimerId, info.nInterval, &info);
}

void SipLine::UpdateTimer(TimerInfo& info) {
  if (info.bFinal) {
    KillTimer(info);
    return;
  }
  ++info.nCount;
  if (info.nCount > kRounds) info.bFinal = true;
  info.nInterval = info.nInterval < kDoubledBelowMs ? info.nInterval * 2 : kLongestIntervalMs;
  SetTimer(info.nTimerId, info.nInterval, &info);
}

void SipLine::KillTimer(TimerInfo& info) { CancelTimer(info.nTimerId); }

void SipLine::OnTimerCallback(void* ctx, unsigned long id, void* data) {
  SipLine& line = *static_cast<SipLine*>(ctx);
  // What the line reports may end its service.
  const std::shared_ptr<SipServiceUA> held = line.m_pService.weak_from_this().lock();
  line.OnTimer(id, data);
}

void SipLine::OnTimer(unsigned long id, void* data) {
  auto* const info = static_cast<TimerInfo*>(data);
  if (id == TIMER_DISCONNECT) return Expiries::Disconnect(*this);
  if (id == TIMER_PROGRESS) return Expiries::Progress(*this);
  if (info == nullptr) return;
  if (id == TIMER_CALL_RETRY) return Expiries::CallRetry(*this, *info);
  if (id == TIMER_CANCEL_RETRY) return Expiries::CancelRetry(*this, *info);
  if (id == TIMER_BYE_RETRY) return Expiries::ByeRetry(*this, *info);
}

// The last resort when the far end does not answer a CANCEL or BYE.
void SipLine::Expiries::Disconnect(SipLine& line) {
  line.CancelTimer(TIMER_DISCONNECT);
  if (!line.IsIdle()) Fail(line, "No response on disconnect");
}

void SipLine::Expiries::Progress(SipLine& line) {
  line.CancelTimer(TIMER_PROGRESS);
  if (!line.IsIdle()) (void)line.OnDrop();
}

void SipLine::Expiries::CallRetry(SipLine& line, TimerInfo& info) {
  if (!info.bFinal) return line.UpdateTimer(info);
  line.KillTimer(info);
  Fail(line, "Call failed");
}

void SipLine::Expiries::CancelRetry(SipLine& line, TimerInfo& info) {
  Retry(line, info, cpsip_method::cancel);
}

void SipLine::Expiries::ByeRetry(SipLine& line, TimerInfo& info) { Retry(line, info, cpsip_method::bye); }

void SipLine::Expiries::Retry(SipLine& line, TimerInfo& info, cpsip_method method) {
  if (!info.bFinal) {
    line.UpdateTimer(info);
    (void)line.SendRequest(method, line.m_hSipDialogId);
    return;
  }
  line.KillTimer(info);
  line.EnterState(Events::STATE_IDLE);
}

void SipLine::Expiries::Fail(SipLine& line, const char* text) {
  const Turn turn = line.SetState(Events::STATE_IDLE);
  line.m_pService.NotifyLineError(line.m_nLineIndex, kLineErrorTimeout, text);
  turn.Report();
}

}  // namespace hark

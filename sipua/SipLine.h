// One telephone-like line of a service: one call at a time, seven states, driven from below by the messages
// and local statuses of the stack, and from above by the commands of the control layer. It turns SIP
// exchanges into ring, seize, call, connect and drop, and hands codecs and the far end's media address upward
// as text. It does not know what a call is for.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "cpsip/cpsip_msg.h"
#include "sipua/SipMsg.h"
#include "sipua/SipStackUAEvents.h"
#include "sipua/TimerSource.h"

namespace hark {

class SipServiceUA;

// Ids of a line's timers. The three retries are never started: what they would do is done by the stack's
// transactions. They stay as a facility for a stack without.
enum SipLineTimer : unsigned long {
  TIMER_CALL_RETRY = 0,
  TIMER_CANCEL_RETRY = 1,
  TIMER_BYE_RETRY = 2,
  TIMER_DISCONNECT = 3,
  TIMER_PROGRESS = 4,
};

inline constexpr unsigned kDisconnectMs = 5000;
inline constexpr unsigned kProgressMs = 32000;

// A retransmission timer.
struct TimerInfo {
  std::uint32_t nTimerId = 0;
  std::uint32_t nCount = 0;     // rounds so far
  std::uint32_t nInterval = 0;  // milliseconds
  bool bFinal = false;
};

// A line stays where it is: its timers know it by its address. Commands and handlers return an integer truth
// value; a refused command is reported as a line error and still returns 1. The state is written before the
// event that reports it, so that a receiver may call straight back, and may end the service: whoever calls a
// line holds its service meanwhile.
class SipLine : public TimerClient {
 public:
  using State = ISipStackUAEvents::ESipLineState;

  // Borrows `service`, which owns the line and knows the source of its timers.
  SipLine(SipServiceUA& service, unsigned short lineIndex);
  // Ends all its timers: services come and go, and the source stays.
  ~SipLine();

  // "IDLE" and its like; "<unknown_state>" for any other value.
  [[nodiscard]] static const char* GetStateText(unsigned state);

  // The one entry from below: a message of the line's current dialog and call is handled; of any other it is
  // ignored, with 0.
  int DispatchMsg(SipMsg& msg, unsigned short appDialogId);

  // Commands.
  int OnAnswer();
  int OnSeize();
  int OnCall(const char* uri);
  int OnDrop();

  [[nodiscard]] bool IsIdle() const { return m_eState == ISipStackUAEvents::STATE_IDLE; }
  [[nodiscard]] State GetState() const { return m_eState; }
  [[nodiscard]] unsigned short GetAppDialogId() const { return m_nAppDialogId; }
  [[nodiscard]] unsigned short GetLineIndex() const { return m_nLineIndex; }
  // The dialog of an incoming call.
  void SetSipDialogId(void* dialog) { m_hSipDialogId = dialog; }

  // The retries: 500 ms, doubled up to 4 s, eleven in all. `info` is borrowed until it is killed.
  void InitTimer(TimerInfo& info);
  void UpdateTimer(TimerInfo& info);
  void KillTimer(TimerInfo& info);

  void OnTimer(unsigned long id, void* data);
  static void OnTimerCallback(void* ctx, unsigned long id, void* data);

 private:
  class Turn;        // what an event may have ended; see below
  struct Requests;   // one handler for each method (SipLineDispatch.cpp)
  struct Responses;  // one for each state in which a response comes (SipLineResponse.cpp)
  struct Statuses;   // one for each local status (SipLineStatus.cpp)
  struct Drops;      // one for each state in which a drop comes (SipLine.cpp)
  struct Expiries;   // one for each timer (SipLineTimers.cpp)

  // The one place that changes the state.
  Turn SetState(State state);
  // Sets the state and reports it.
  Turn EnterState(State state);
  void CancelTimers();
  // The far end rings: from here on something is to come within kProgressMs.
  void WatchProgress();
  [[nodiscard]] bool IsEnding() const {
    return m_eState == ISipStackUAEvents::STATE_CANCELING ||
           m_eState == ISipStackUAEvents::STATE_DISCONNECTING;
  }

  // The handlers of these two, with branches of their own.
  int OnResponse(SipMsg& msg);
  int OnLocalStatus(SipMsg& msg);

  // Each sends a message on `dialog`, in the name of the line and its call. True on success.
  bool SendRequest(cpsip_method method, void* dialog);
  bool SendResponse(unsigned short code, const char* reason, void* dialog);
  bool SendInvite(const char* uri);
  bool SendAnswer();

  // What the far end sends, as text for above. The first returns the number of formats.
  std::size_t ReadCodecs(bool bRemap, const cpsdp_parms* parms, std::string_view pool);
  void ReadMedia(const cpsip_msg& msg);
  void ForgetMedia();
  void Refuse(const char* text) const;

  SipServiceUA& m_pService;
  const unsigned short m_nLineIndex;
  // Kept false: a line always rings, and the control layer decides.
  bool m_bAutoConnect = false;
  State m_eState = ISipStackUAEvents::STATE_IDLE;
  std::uint32_t m_nTurns = 0;         // how often the state was set; wraps
  void* m_hSipDialogId = nullptr;     // the stack's handle; null when the stack has deleted the dialog
  unsigned short m_nAppDialogId = 0;  // generation of the line's calls; wraps
  std::array<char, 256> m_szMediaAddress{};
  std::array<char, 1024> m_szCodecs{};
  bool m_bOfferReceived = false;  // the INVITE of this incoming call had a description with a common codec
};

// What an event or a message may have ended. Each may call straight back: drop the line, and take it for
// another call. Whoever has more to do looks here again before he does it.
class SipLine::Turn {
 public:
  explicit Turn(SipLine& line) : m_Line(line), m_eState(line.m_eState), m_nTurns(line.m_nTurns) {}

  // Whether the state has not been set since, not even to what it was.
  [[nodiscard]] bool IsStill() const { return m_Line.m_nTurns == m_nTurns; }
  // Reports the state, unless it is over.
  void Report() const;

 private:
  SipLine& m_Line;
  State m_eState;
  std::uint32_t m_nTurns;
};

// The formats of the first medium of `parms` as text, "96=L24/48000/2|...", with their texts in `pool`; with
// `bRemap` a format whose local number differs is "+local number=...". Always terminated, and whole entries
// only. Returns how many formats were rendered; 0 without a medium.
std::size_t GetCommonCodecList(bool bRemap, std::span<char> out, const cpsdp_parms* parms,
                               std::string_view pool);

// "address:port" of the first medium: the session's connection address, without one that of the origin.
//
// Kept: the connection address of the medium itself is not looked at. Stations write both alike.
// 1; 0 with an empty `out` without `parms` or a medium.
int GetMediaPortAndAddress(std::span<char> out, const cpsdp_parms* parms, std::string_view pool);

}  // namespace hark

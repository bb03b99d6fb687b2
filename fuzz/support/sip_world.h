// A service of the SIP stack with an application and far stations, all led by an input: what the targets of
// transactions, of dialogs, and of offer and answer share. Only the input moves the clock; sockets are in
// memory (sip_kernel.h).
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "cpsip/cpsip_dialog.h"
#include "sipua/SipPayloads.h"
#include "support/sip_far_end.h"

namespace hark::fuzz {

// The clock of the runs, behind both seams of base/clock.h.
class SipClock {
 public:
  static void Start();
  static void Advance(unsigned ms);
};

// What goes on, for who looks into an input: SIP_TRACE=1 in the environment.
void trace(const char* what, std::string_view text);

// What leaves is looked at here: a whole message that the stack itself can read, as long as all that came in
// was tame.
void check_sent(const SentDatagram& sent, bool tame);

// The steps, a line each. N is a number.
//   <LINE   a datagram of the far end (sip_far_end.h)
//   .TEXT   a datagram as it is
//   =       the far end's last request again, but for an ACK
//   >LINE   the application sends: "METHOD" or "STATUS METHOD", and behind each "|"
//             &N  on its dialog by number, those that are over too; without it the latest
//             *   on a new dialog          %  with the description of the service
//             #N  with this handle of its own      ^N  for the REFER that came in by that dialog
//             Name: value   of URI, From, To, Contact, Reason, Refer-To, Subject
//   @N      the clock moves on by N ms     ,N  by N seconds, one by one
//   *STEP   is done when the stack delivers the next message, inside the callback; "*" alone: nothing then
//   x&N     the dialog is deleted          X   the service is, or a new one made
//   !N      the next N calls to the system fail
//   :N STEP the step N times
class SipWorld {
 public:
  // The word tells the service: 'r' an outbound route, 'p' a public address, 'n' no description, 't' short
  // timers.
  explicit SipWorld(std::string_view word);
  ~SipWorld();
  SipWorld(const SipWorld&) = delete;
  SipWorld& operator=(const SipWorld&) = delete;

  // A step from outside, and what comes of it.
  void Run(std::string_view step);
  // The application ends all that it has, and time passes: nothing stays but what has a reason to.
  void EndAll();

  // How many datagrams have left.
  [[nodiscard]] unsigned sent() const { return sent_; }

 private:
  static void Delivered(void* self, cpsip_msg* msg, void* dialog);
  void OnMessage(const cpsip_msg& msg, void* dialog);
  void Do(std::string_view step);
  void Repeat(std::string_view step);
  void Pump();
  void Pass(unsigned ms);
  void PassSeconds(unsigned seconds);
  void Arrive(const FarDatagram& datagram);
  void Send(std::string_view line);
  void SendOn(cpsip_msg_ptr msg, void* dialog);
  void DeleteDialog(std::string_view step);
  void SwitchService();
  void CreateService();
  void EndDialog(const cpsip_dlog_ptr& dialog);
  void AnswerCancelled(const cpsip_dlog_cb& dialog);
  [[nodiscard]] void* DialogOf(std::string_view number) const;

  cpsip_ua_parms ua_;
  cpsip_xport_parms xport_;
  cpsdp_parms sdp_;
  std::array<char, 1024> pool_{};
  std::size_t pool_size_ = 0;
  SipPayloads payloads_;
  void* service_ = nullptr;
  FarEnd far_;
  std::vector<void*> dialogs_;           // every handle that the application has seen
  std::deque<std::string> on_delivery_;  // what it does when it is told
  std::uint32_t next_id_ = 0x8000;
  unsigned depth_ = 0;
  bool tame_ = true;
  unsigned steps_ = 0;
  unsigned sent_ = 0;
  std::string last_sent_;
};

// Runs the lines of an input: the first is the word of the service, `before` stands ahead of the others.
void run_world(std::string_view input, std::string_view before);

}  // namespace hark::fuzz

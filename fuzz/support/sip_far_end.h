// The far stations of the targets that run the SIP stack: they remember what the stack has sent, and make
// datagrams of a short line. What is well formed comes by itself: Call-ID, tags, branch and CSeq are those of
// the call, until the line says otherwise.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "support/sip_kernel.h"

namespace hark::fuzz {

// A call, or whatever else has a Call-ID.
struct FarCall {
  std::string call_id;
  std::string far_tag;
  std::string stack_tag;  // empty until the stack has told it
  std::string target;     // the stack's Contact, or where it is by default
  std::uint16_t port = 5060;
  std::uint32_t cseq = 0;                       // the far end's last
  std::string branch;                           // of its last INVITE
  std::uint32_t invite_cseq = 0;                // the same
  bool refused = false;                         // that INVITE had a final answer other than 2xx
  std::map<std::string, std::string> requests;  // the stack's, by method; the newest of each
  std::map<std::string, std::string> offers;    // ours, by CSeq; empty: it cannot be told which one counts
};

// What a line makes: the bytes, where they come from, and the port of the stack that they go to.
struct FarDatagram {
  std::string text;
  std::uint32_t from_addr;
  std::uint16_t from_port;
  std::uint16_t to_port;
};

// A line is "METHOD" or "STATUS METHOD", and behind each "|" a change:
//   &N       the call by number; "&" the latest; without it an INVITE begins a new call
//   ^N       another tag of the far end
//   =TEXT    the Request-URI, or the reason
//   -Name    without this header           +Name: value   one more of them
//   %WORD    a description (sip_description.h)     "TEXT  the body as it is
//   /N       cut to N bytes
//   !N       from another host             ;N    to the stack's port 5060 + N
//   Name: value   in place of the header
// In all texts: "~" a line end, $i Call-ID, $t the stack's tag, $f the far end's, $b $c branch and CSeq of
// the far end's INVITE, $B $C those of the stack's, $n a number that is new, $u the stack's URI.
class FarEnd {
 public:
  // Checks what only a far end can tell: an answer has the media of its offer.
  void Observe(const SentDatagram& sent);
  [[nodiscard]] FarDatagram Make(std::string_view line);
  // A datagram as it is, but for the texts above.
  [[nodiscard]] FarDatagram MakeRaw(std::string_view text);
  // The last request again, but for an ACK; nothing when there was none.
  [[nodiscard]] const FarDatagram& Again() const { return last_request_; }

 private:
  struct Draft;
  FarCall& CallOf(std::string_view number, bool begins);
  FarCall& NewCall();
  FarCall* Find(std::string_view call_id);
  [[nodiscard]] std::string Expand(const FarCall& call, std::string_view text);
  void Request(FarCall& call, const std::string& method, Draft& draft);
  static void Response(const FarCall& call, const std::string& status, const std::string& method,
                       Draft& draft);
  static void Remember(FarCall& call, const std::string& text);
  static void CheckAnswer(const FarCall& call, const std::string& text);
  void Change(FarCall& call, std::string_view change, Draft& draft);

  std::vector<FarCall> calls_;
  FarDatagram last_request_{};
  unsigned numbers_ = 0;
};

// Whether a datagram has texts that can be written again as they are read: brackets and quotes in pairs, and
// nothing but printable characters. The stack reads others too, and what it answers to them may be read by
// nobody.
[[nodiscard]] bool is_tame(std::string_view datagram);
// The first header of that name; empty: none.
[[nodiscard]] std::string header_of(std::string_view message, std::string_view name);
// A number at the front; 0 for none. *At most* `most`.
[[nodiscard]] unsigned number_of(std::string_view text, unsigned most);

}  // namespace hark::fuzz

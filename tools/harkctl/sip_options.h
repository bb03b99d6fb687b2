// A question to a SIP service whether it is there: OPTIONS outside a dialog (RFC 3261 section 11), and what
// answers it. Text alone; health.cpp sends it.
#pragma once

#include <string>
#include <string_view>

namespace hark::ctl {

struct SipQuestion {
  std::string service;  // "hark-talk"
  std::string to;       // "127.0.0.1:5062"
  std::string from;     // our own address and port, in the same form
  std::string branch;   // of the Via; begins with the cookie of RFC 3261 section 8.1.1.7
  std::string call_id;
  std::string tag;
};

[[nodiscard]] std::string options_request(const SipQuestion& question);

// The status code of a response to the request with this branch: of its topmost Via (RFC 3261 section
// 17.1.3). 0 when the datagram is none.
[[nodiscard]] int response_status(std::string_view datagram, std::string_view branch);

// A final one; others say that one will follow.
[[nodiscard]] constexpr bool is_final(int status) { return status >= 200 && status <= 699; }

}  // namespace hark::ctl

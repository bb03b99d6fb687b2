// The texts of the IFB link that need reading: the value of an `ifb` tag, and what a destination carries.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "daemon/qnrlib/qnrcli.h"
#include "routing/qnrifb_private.h"

namespace hark {
namespace {

constexpr int kBadPort = 5;
constexpr int kBadDestination = 6;
constexpr int kBadPassword = 10;
constexpr unsigned long kMostPort = 65536;
constexpr unsigned long kMostAddressPart = 255;

// A number in base 0 at `p`, which moves behind it.
unsigned long take_number(const char*& p) {
  char* end = nullptr;
  const unsigned long number = std::strtoul(p, &end, 0);
  p = end;
  return number;
}

// "a.b.c.d" at `p`, which moves to the "/" or ":" behind it. 0, or the number of the part that is wrong.
int take_address(const char*& p, in_addr_t& out) {
  in_addr_t address = 0;
  for (int part = 1; part <= 4; ++part) {
    const unsigned long number = take_number(p);
    const bool ended = part < 4 ? *p == '.' : *p == '/' || *p == ':';
    if (number > kMostAddressPart || !ended) return part;
    if (part < 4) ++p;
    address = address << 8 | static_cast<in_addr_t>(number);
  }
  out = htonl(address);
  return 0;
}

}  // namespace

int parse_daddr(const char* text, IfbAddress& out) {
  const char* at = std::strchr(text, '@');
  const char* slash = std::strchr(text, '/');
  if (at != nullptr && slash != nullptr && at < slash) {
    out.password.assign(text, at);
    if (out.password.size() >= kIfbPasswordSize) return kBadPassword;
    text = at + 1;
  }
  out.addr.sin_family = AF_INET;
  if (const int part = take_address(text, out.addr.sin_addr.s_addr); part != 0) return part;
  unsigned long port = kQnrDefaultPort;
  if (*text == ':') {
    port = take_number(++text);
    // Kept: 65536 is taken, and means port 0, where nobody is; the connection fails like any other.
    if (port > kMostPort || *text != '/') return kBadPort;
  }
  out.addr.sin_port = htons(static_cast<in_port_t>(port));
  out.dst = static_cast<int>(take_number(++text));
  return out.dst == 0 ? kBadDestination : 0;
}

bool qnrifb_check_ptt_tag(const char* value) {
  if (*value != '"') return false;
  ++value;
  value += std::strcspn(value, " \"");
  if (*value != ' ') return false;
  ++value;
  if (*value == '<') ++value;
  if (std::strncmp(value, qnrp_ptt_tag.data(), qnrp_ptt_tag.size()) != 0) return false;
  value += qnrp_ptt_tag.size();
  return *value == '"' || *value == ';' || *value == '>';
}

}  // namespace hark

// What the discovery module shares within its folder and with its tests: its state, and the reading and
// writing of what stands on the wire.
#pragma once

#include <dns_sd.h>
#include <netinet/in.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "addressing/HarkResolv.h"
#include "addressing/harkresolvtable.h"

namespace hark {

inline constexpr std::size_t kTxtSize = 2048;

struct HarkBonjour {
  DNSServiceRef client = nullptr;         // the registration, owned
  DNSServiceRef dnssvcBrowser = nullptr;  // the browse, owned
  unsigned opinterface = 0;               // index of the interface that all is bound to, 0: any
  in_addr_t opinterface_ipv4addr = 0;     // its first IPv4 address and mask, network order; 0: none
  in_addr_t opinterface_ipv4mask = 0;
  bool stopNow = false;                             // the connection to the DNS-SD daemon has failed
  std::array<unsigned char, kTxtSize> harkd_txt{};  // TXT record data, RFC 6763 section 6.1
  std::size_t harkd_txt_len = 0;
  std::uint64_t freed = 0;  // entries freed so far, by which a walk over the table sees that one went
  std::uint64_t walk = 0;   // number of the walk over the table that runs, or ran last
};
extern HarkBonjour harkbonjour;

// Cuts the full name of a service at its first dot that is not escaped. The part in front, decoded, goes to
// `instance`; what is left, the dot included, is returned. Escapes are a backslash with three decimal digits,
// and a backslash with any other character for that character.
std::string_view cut_full_name(std::string_view full_name, std::string& instance);

// Takes what a TXT record tells of its station. What it does not tell stays as it was.
void take_txt(std::span<const unsigned char> txt, harkresolvtable_entry& entry);

// Writes the TXT record; `level` is zero-based, `rtpa` in network order. Returns its length.
std::size_t make_txt(std::string_view alt, int level, in_addr_t rtpa, std::span<unsigned char, kTxtSize> out);

// Whether `text` is taken as an address by itself: three numbers up to 255 with dots between them.
// Kept: so "1.2.3" is one, and "10.1.2.3" is asked for by a query, which the DNS-SD daemon answers as well.
[[nodiscard]] bool isipv4(std::string_view text);

// The search among the stations found, as HarkResolv2; -2 when a buffer is too small.
int HarkResolv_dynamic_callback(int kind, const char* key, HarkResolvInfo& info);

}  // namespace hark

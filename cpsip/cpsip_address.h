// Addresses of the SIP stack: the record that sockets and transports pass around, and the ways between an
// address and its dotted text. IPv4 only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace hark {

inline constexpr std::uint32_t kAddressIp4 = 1;
inline constexpr std::uint32_t kAddressOther = 2;

struct cpsip_address {
  std::uint32_t type = 0;  // kAddressIp4 for one that can be used; 0: none
  std::uint16_t port = 0;  // host order
  std::uint32_t addr = 0;  // network order

  friend bool operator==(const cpsip_address&, const cpsip_address&) = default;
};

// Room for "255.255.255.255:65535" with its NUL.
inline constexpr std::size_t kAddressTextSize = 22;
using cpsip_address_text = std::array<char, kAddressTextSize>;

// The dotted `text` into `addr` (network order), as inet_addr(3) reads it. 0; -1, with `addr` left alone, for
// a text that is none, and for 255.255.255.255.
[[nodiscard]] int Cpsip_SOC_StringToAddress(std::string_view text, std::uint32_t& addr);

// `addr` (network order) as dotted text with its NUL. 0, or -1 when `text` has no room.
[[nodiscard]] int Cpsip_SOC_AddressToString(std::uint32_t addr, std::span<char> text);

// Decimal digits, without leading zeros, and a NUL; return the number of digits. *Require* 4 bytes of room
// for a byte, 6 for a word.
std::size_t ByteToAscii(std::span<char> out, std::uint8_t b);
std::size_t WordToAscii(std::span<char> out, std::uint16_t w);

// `addr` (host order) as dotted text, behind it ":" and the port if that is not 0, and a NUL. Returns the
// length. An `addr` of 0 gives the empty text. *Requires* kAddressTextSize bytes of room.
std::size_t IPToString(std::span<char> out, std::uint32_t addr, std::uint16_t port);

// Reads a dotted address with or without ":port", or a bare number, which is a port. `addr` (host order) and
// `port` may be null; `port` is left alone when there is none. 1; 0 for a part above 255, a fifth part, or a
// number above 65535. Any other character than a digit, "." or ":" is skipped.
int StringToIP(std::string_view text, std::uint32_t* addr, std::uint16_t* port);

}  // namespace hark

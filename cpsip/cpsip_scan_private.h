// What the sources of the scanner share: numbers as the C library reads them, and the steps of a scan.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "cpsip/cpsip_msg_scan.h"

namespace hark {

// A number as the C library reads one: blanks, a sign, digits. No number: 0.
struct cpsip_number {
  std::uint64_t value = 0;  // held to `most`
  bool negative = false;

  cpsip_number(std::string_view text, std::uint64_t most) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end && (*at == ' ' || (*at >= '\t' && *at <= '\r')))
      ++at;
    if (at != end && (*at == '-' || *at == '+')) negative = *at++ == '-';
    for (; at != end; ++at) {
      const unsigned digit = static_cast<unsigned char>(*at) - unsigned{'0'};
      if (digit > 9) break;
      value = value * 10 + digit;
      if (value > most) value = most;
    }
  }
};

// As strtoul reads with base 10, held to 32 bits; a negative number wraps.
[[nodiscard]] inline std::uint32_t cpsip_read_unsigned(std::string_view text) {
  const cpsip_number number(text, std::numeric_limits<std::uint32_t>::max());
  const auto value = static_cast<std::uint32_t>(number.value);
  return number.negative ? 0U - value : value;
}

// As atoi reads, held to the range of int.
[[nodiscard]] inline int cpsip_read_int(std::string_view text) {
  constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
  const cpsip_number number(text, kMost + 1);
  if (number.negative) return static_cast<int>(-static_cast<std::int64_t>(number.value));
  return static_cast<int>(number.value > kMost ? kMost : number.value);
}

// The body, from the read position on.
[[nodiscard]] int cpsip_scan_body(cpsip_scan& scan, bool& complete, std::uint32_t& left_over);

}  // namespace hark

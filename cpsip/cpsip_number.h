// Numbers as the C library reads them. The scanner's own.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "base/text.h"

namespace hark {

// Takes what the C library skips ahead of a number's digits off the text. Whether there is a minus among it.
[[nodiscard]] inline bool cpsip_skip_sign(std::string_view& text) {
  while (!text.empty() && (text.front() == ' ' || (text.front() >= '\t' && text.front() <= '\r')))
    text.remove_prefix(1);
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool negative = text.front() == '-';
  text.remove_prefix(1);
  return negative;
}

// As strtoul reads with base 10, held to 32 bits; a negative number wraps, no number is 0.
[[nodiscard]] inline std::uint32_t cpsip_read_unsigned(std::string_view text) {
  const bool negative = cpsip_skip_sign(text);
  const auto number =
      static_cast<std::uint32_t>(take_digits(text, std::numeric_limits<std::uint32_t>::max()));
  return negative ? 0U - number : number;
}

// As atoi reads, held to the range of int.
[[nodiscard]] inline int cpsip_read_int(std::string_view text) {
  constexpr std::uint64_t kMost = std::numeric_limits<int>::max();
  const bool negative = cpsip_skip_sign(text);
  const auto number = static_cast<std::int64_t>(take_digits(text, kMost + (negative ? 1 : 0)));
  return static_cast<int>(negative ? -number : number);
}

}  // namespace hark

// Words of SIP and SDP are compared without regard to the case of their letters, those of ASCII.
#pragma once

#include <algorithm>
#include <string_view>

namespace hark::fuzz {

[[nodiscard]] inline bool same_in_any_case(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace hark::fuzz

// The escape that the user part and the tags of a URL share. Private to the folder.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace hark {

// The value of the escape "\ddd" that `text` begins with; -1 when it is none, or when it would be above 255.
[[nodiscard]] int decimal_escape(std::string_view text);

// Copies `src` to `out`, unescaped, cut to fit and terminated, up to a character that `stops` or to its end.
// A backslash makes the next character literal, or stands with three digits for the byte of that number.
// Returns the length; an empty `out` gives 0.
template <typename Stops>
int url_unescape(std::string_view src, std::span<char> out, Stops stops) {
  if (out.empty()) return 0;
  std::size_t length = 0;
  while (!src.empty() && !stops(src[0]) && length + 1 < out.size()) {
    std::size_t used = 1;
    char c = src[0];
    if (c == '\\' && src.size() > 1) {
      const int value = decimal_escape(src);
      c = value >= 0 ? static_cast<char>(value) : src[1];
      used = value >= 0 ? 4 : 2;
    }
    out[length++] = c;
    src.remove_prefix(used);
  }
  out[length] = '\0';
  return static_cast<int>(length);
}

}  // namespace hark

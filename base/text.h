// Checked text in fixed buffers: formatting, appending and copying that can neither overrun nor leave a text
// without its NUL. Also the two readings of numbers that the control layer uses everywhere.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace hark {

// The longest line on any text socket, and the buffer that holds one with its NUL.
inline constexpr std::size_t kMaxLine = 2000;
using LineBuffer = std::array<char, kMaxLine + 1>;

// Room for an escaped URL in a line, so that the fields of a call behind it fit as well.
inline constexpr int kEscapedUrlSize = 1940;

// Formats into `out`, cut to fit, always terminated. Returns the length of the text that is now in `out`.
// An empty `out` takes nothing and gives 0.
int format_text(std::span<char> out, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
int vformat_text(std::span<char> out, const char* fmt, va_list args) __attribute__((format(printf, 2, 0)));

// Copies as much of `text` as fits, always terminated. Returns the length copied.
int copy_text(std::span<char> out, std::string_view text);

// The text in a fixed field, up to its NUL or the field's end.
[[nodiscard]] std::string_view field_text(std::span<const char> field);

// The letter in lower case (ASCII); any other byte as it is.
[[nodiscard]] constexpr char ascii_lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether `text` begins with `prefix`, without regard to case (ASCII).
[[nodiscard]] bool starts_with_nocase(const char* text, std::string_view prefix);
[[nodiscard]] constexpr bool starts_with_nocase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    if (text[i] != prefix[i] && ascii_lower(text[i]) != ascii_lower(prefix[i])) return false;
  }
  return true;
}
// Whether `text` is `other`, without regard to case (ASCII).
[[nodiscard]] bool equal_nocase(const char* text, std::string_view other);

// Takes the digits that `text` begins with off it: the number that they say, held to `most`, which is below
// 2^60. None gives 0.
[[nodiscard]] constexpr std::uint64_t take_digits(std::string_view& text, std::uint64_t most) {
  std::uint64_t number = 0;
  std::size_t at = 0;
  for (; at != text.size(); ++at) {
    const unsigned digit = static_cast<unsigned char>(text[at]) - unsigned{'0'};
    if (digit > 9) break;
    number = number * 10 + digit;
    if (number > most) number = most;
  }
  text.remove_prefix(at);
  return number;
}

// strtol with base 10 from `text`, held to the range of int. No number gives 0. Null gives 0.
[[nodiscard]] int parse_int(const char* text);

// Text that grows in a fixed buffer; what does not fit is cut, and the NUL always stands.
class TextWriter {
 public:
  explicit TextWriter(std::span<char> out);
  void append(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
  [[nodiscard]] int length() const { return static_cast<int>(length_); }
  // What is still free, the place for the NUL included.
  [[nodiscard]] std::span<char> rest() const { return out_.subspan(length_); }
  // Counts `n` characters as written that the caller put into `rest()`.
  void advance(int n);

 private:
  std::span<char> out_;
  std::size_t length_ = 0;
};

}  // namespace hark

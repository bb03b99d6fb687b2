#include "base/text.h"

#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace hark {

int vformat_text(std::span<char> out, const char* fmt, va_list args) {
  if (out.empty()) return 0;
  const int wanted = std::vsnprintf(out.data(), out.size(), fmt, args);
  if (wanted < 0) {
    out[0] = '\0';
    return 0;
  }
  return static_cast<int>(std::min(static_cast<std::size_t>(wanted), out.size() - 1));
}

int format_text(std::span<char> out, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int length = vformat_text(out, fmt, args);
  va_end(args);
  return length;
}

int copy_text(std::span<char> out, std::string_view text) {
  if (out.empty()) return 0;
  const std::size_t n = std::min(text.size(), out.size() - 1);
  std::copy_n(text.data(), n, out.data());
  out[n] = '\0';
  return static_cast<int>(n);
}

std::string_view field_text(std::span<const char> field) {
  const auto end = std::find(field.begin(), field.end(), '\0');
  return {field.data(), static_cast<std::size_t>(end - field.begin())};
}

bool starts_with_nocase(const char* text, std::string_view prefix) {
  return strncasecmp(text, prefix.data(), prefix.size()) == 0;
}

bool equal_nocase(const char* text, std::string_view other) {
  return starts_with_nocase(text, other) && text[other.size()] == '\0';
}

int parse_int(const char* text) {
  if (text == nullptr) return 0;
  return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

TextWriter::TextWriter(std::span<char> out) : out_(out) {
  if (!out_.empty()) out_[0] = '\0';
}

void TextWriter::append(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  advance(vformat_text(rest(), fmt, args));
  va_end(args);
}

void TextWriter::advance(int n) {
  if (n > 0) length_ += std::min(static_cast<std::size_t>(n), rest().empty() ? 0 : rest().size() - 1);
}

}  // namespace hark

#include "tools/quillsim/scanner.h"

#include <array>
#include <charconv>
#include <cstdint>

#include "base/text.h"

namespace quillsim {
namespace {

constexpr int kMaxOctet = 255;
constexpr int kMaxPort = 65535;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The number at the start of `text`, which it is cut off; limits included.
bool take_number(std::string_view& text, int min, int max) {
  Scanner scanner(text);
  const std::optional<int> value = scanner.number();
  if (!value || *value < min || *value > max) return false;
  std::size_t digits = 0;
  while (digits < text.size() && is_digit(text[digits]))
    ++digits;
  text.remove_prefix(digits);
  return true;
}

bool take_char(std::string_view& text, char c) {
  if (!text.starts_with(c)) return false;
  text.remove_prefix(1);
  return true;
}

bool take_ipv4(std::string_view& text) {
  for (int part = 0; part < 4; ++part) {
    if (part > 0 && !take_char(text, '.')) return false;
    if (!take_number(text, 0, kMaxOctet)) return false;
  }
  return true;
}

}  // namespace

bool Scanner::skip(std::string_view literal) {
  if (!rest_.starts_with(literal)) return false;
  rest_.remove_prefix(literal.size());
  return true;
}

std::optional<int> Scanner::number() {
  const std::size_t sign = rest_.starts_with('-') ? 1 : 0;
  std::size_t end = sign;
  while (end < rest_.size() && is_digit(rest_[end]))
    ++end;
  const std::string_view digits = rest_.substr(sign, end - sign);
  if (digits.empty()) return std::nullopt;
  if (digits.front() == '0' && (digits.size() > 1 || sign == 1)) return std::nullopt;
  int value = 0;
  const auto result = std::from_chars(rest_.data(), rest_.data() + end, value);
  if (result.ec != std::errc{}) return std::nullopt;
  rest_.remove_prefix(end);
  return value;
}

std::optional<std::string> Scanner::quoted() {
  if (!rest_.starts_with('"')) return std::nullopt;
  std::string value;
  for (std::size_t i = 1; i < rest_.size(); ++i) {
    if (rest_[i] == '"') {
      rest_.remove_prefix(i + 1);
      return value;
    }
    if (rest_[i] == '\\') {
      ++i;
      if (i == rest_.size() || (rest_[i] != '"' && rest_[i] != '\\')) return std::nullopt;
    }
    value.push_back(rest_[i]);
  }
  return std::nullopt;
}

std::string_view Scanner::word() {
  std::size_t end = 0;
  while (end < rest_.size() && ((rest_[end] >= 'A' && rest_[end] <= 'Z') || rest_[end] == '_'))
    ++end;
  const std::string_view word = rest_.substr(0, end);
  rest_.remove_prefix(end);
  return word;
}

bool is_ipv4(std::string_view text) { return take_ipv4(text) && text.empty(); }

bool is_ipv4_port(std::string_view text) {
  return take_ipv4(text) && take_char(text, ':') && take_number(text, 1, kMaxPort) && text.empty();
}

std::string quote(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out.push_back('\\');
    out.push_back(c);
  }
  out.push_back('"');
  return out;
}

std::string printable(std::string_view text, std::size_t limit) {
  std::string out;
  for (const char c : text.substr(0, limit)) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (byte >= 0x20 && byte != 0x7f) {
      out.push_back(c);
      continue;
    }
    std::array<char, 5> code{};
    hark::format_text(code, "\\x%02X", static_cast<unsigned>(byte));
    out.append(code.data());
  }
  if (text.size() > limit) out.append("...");
  return out;
}

}  // namespace quillsim

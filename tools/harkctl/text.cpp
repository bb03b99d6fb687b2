#include "tools/harkctl/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <ctime>

#include "base/text.h"

namespace hark::ctl {
namespace {

struct Character {
  std::uint32_t code = 0;
  std::size_t length = 0;  // 0: no character begins here
};

struct Lead {
  unsigned char mask;
  unsigned char bits;
  std::uint32_t least;  // a longer form of a smaller code is no UTF-8
};
// The first byte of a character of 1, 2, 3 and 4 bytes (RFC 3629 section 3).
constexpr std::array<Lead, 4> kLeads{
    {{0x80, 0x00, 0}, {0xe0, 0xc0, 0x80}, {0xf0, 0xe0, 0x800}, {0xf8, 0xf0, 0x10000}}};
constexpr std::uint32_t kLastCode = 0x10ffff;

bool is_surrogate(std::uint32_t code) { return code >= 0xd800 && code <= 0xdfff; }

Character character_at(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (std::size_t length = 1; length <= kLeads.size(); ++length) {
    const Lead& lead = kLeads[length - 1];
    if ((byte(0) & lead.mask) != lead.bits) continue;
    if (text.size() < length) return {};
    std::uint32_t code = byte(0) & static_cast<unsigned char>(~lead.mask);
    for (std::size_t i = 1; i < length; ++i) {
      if ((byte(i) & 0xc0U) != 0x80U) return {};
      code = code << 6U | (byte(i) & 0x3fU);
    }
    if (code < lead.least || code > kLastCode || is_surrogate(code)) return {};
    return {code, length};
  }
  return {};
}

// Controls, line separators, and what turns the direction of writing.
bool is_unfit(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x61c || code == 0x200e || code == 0x200f ||
         (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}

std::string escaped(std::uint32_t code) {
  std::array<char, 16> text;
  if (code < 0x80) {
    (void)format_text(text, "\\x%02x", code);
  } else {
    (void)format_text(text, "\\u%04x", code);
  }
  return text.data();
}

std::string escaped_byte(char byte) {
  std::array<char, 16> text;
  (void)format_text(text, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  return text.data();
}

std::size_t width_of(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U; }));
}

std::string ms_text(WallTime time) {
  const auto since = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
  std::array<char, 16> ms;
  (void)format_text(ms, ".%03d", static_cast<int>((since % 1000 + 1000) % 1000));
  return ms.data();
}

std::time_t seconds_of(WallTime time) {
  return std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const Character character = character_at(text);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    if (character.length == 0) {
      out += escaped_byte(text[0]);
    } else if (is_unfit(character.code)) {
      out += escaped(character.code);
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return out;
}

std::string json_line(const nlohmann::ordered_json& value) {
  return value.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

std::string gain_text(int tenth_db) {
  const long whole = std::labs(static_cast<long>(tenth_db));
  std::array<char, 32> text;
  (void)format_text(text, "%s%ld.%ld dB", tenth_db < 0 ? "-" : "", whole / 10, whole % 10);
  return text.data();
}

std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const std::vector<std::string>& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], width_of(row[i]));
  }
  std::vector<std::string> lines;
  for (const std::vector<std::string>& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      if (i + 1 < row.size()) line.append(widths[i] - width_of(row[i]) + 2, ' ');
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

std::string utc_text(WallTime time) {
  const std::time_t seconds = seconds_of(time);
  std::tm parts{};
  std::array<char, 40> text{};
  (void)::gmtime_r(&seconds, &parts);
  (void)std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  return text.data() + ms_text(time) + "Z";
}

std::string clock_text(WallTime time) {
  const std::time_t seconds = seconds_of(time);
  std::tm parts{};
  std::array<char, 40> text{};
  (void)::localtime_r(&seconds, &parts);
  (void)std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
  return text.data() + ms_text(time);
}

}  // namespace hark::ctl

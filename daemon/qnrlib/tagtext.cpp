#include "daemon/qnrlib/tagtext.h"

#include <arpa/inet.h>
#include <strings.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace hark {
namespace {

constexpr unsigned short kRtpPort = 5004;
constexpr std::uint32_t kChannelBase = 0xEFC00000;  // 239.192.0.0: a channel number is the low 16 bits

bool is_separator(char c) { return c == ' ' || c == ','; }
bool ends_value(char c) { return is_separator(c) || c == '\r' || c == '\n'; }

// Walks the characters that a value holds and hands each to `keep`, which ends the walk by returning false.
// `line_ends_quoted`: CR and LF end the value inside quotes as well.
template <typename Keep>
void walk_value(const char* val, bool line_ends_quoted, Keep keep) {
  bool quoted = false;
  for (; *val != '\0'; ++val) {
    if (*val == '\\' && val[1] != '\0') {
      ++val;
    } else if (*val == '"') {
      quoted = !quoted;
      continue;
    } else if (quoted ? line_ends_quoted && (*val == '\r' || *val == '\n') : ends_value(*val)) {
      return;
    }
    if (!keep(*val)) return;
  }
}

// The token of `text` whose name is the first `length` characters of `tag`, with a character of `closers`
// behind.
const char* find_token(const char* text, const char* tag, std::size_t length, const char* closers) {
  while (*text != '\0') {
    if (strncasecmp(text, tag, length) == 0 && text[length] != '\0' &&
        std::strchr(closers, text[length]) != nullptr) {
      return text;
    }
    qnr_nextval(text);
  }
  return nullptr;
}

// One part of a dotted address, and the step behind it.
std::uint32_t read_part(const char*& p) {
  char* end = nullptr;
  const unsigned long value = std::strtoul(p, &end, 0);
  p = end;
  return static_cast<std::uint32_t>(value);
}

}  // namespace

void qnr_nextval(const char*& p) {
  bool quoted = false;
  while (*p != '\0' && (quoted || !is_separator(*p))) {
    if (*p == '\\' && p[1] != '\0') {
      ++p;
    } else if (*p == '"') {
      quoted = !quoted;
    }
    ++p;
  }
  while (is_separator(*p))
    ++p;
}

const char* qnr_findtag(const char* text, const char* tag, std::size_t taglen) {
  if (text == nullptr) return nullptr;
  return find_token(text, tag, taglen, ":=");
}

const char* qnr_findval(const char* text, const char* tag) {
  if (text == nullptr || tag == nullptr) return nullptr;
  const std::size_t length = std::strlen(tag);
  const char* token = find_token(text, tag, length, ":= ");
  return token == nullptr ? nullptr : token + length + 1;
}

int qnr_copyval(char* dst, const char* val, int size) {
  if (dst == nullptr || size < 1) return 0;
  int length = 0;
  if (val != nullptr && size > 1) {
    walk_value(val, false, [&](char c) {
      dst[length++] = c;
      return length < size - 1;
    });
  }
  dst[length] = '\0';
  return length;
}

int qnr_vallen(const char* val) {
  int length = 0;
  if (val != nullptr) walk_value(val, true, [&](char) { return ++length > 0; });
  return length;
}

char* qnr_valdup(const char* val) {
  const int length = qnr_vallen(val);
  if (length < 1) return nullptr;
  char* copy = new (std::nothrow) char[static_cast<std::size_t>(length) + 1];
  if (copy != nullptr) qnr_copyval(copy, val, length + 1);
  return copy;
}

long qnr_vall(const char* val) {
  if (val == nullptr) return 0;
  if (*val == '"') ++val;
  return std::strtol(val, nullptr, 0);
}

long qnr_getl(const char* text, const char* tag, long dflt) {
  const char* val = qnr_findval(text, tag);
  return val == nullptr ? dflt : qnr_vall(val);
}

int qnr_escape(char* dst, int size, const char* src) {
  if (dst == nullptr || size < 1) return 0;
  int length = 0;
  for (; src != nullptr && *src != '\0'; ++src) {
    const bool pair = *src == '"' || *src == '\\';
    if (length + (pair ? 2 : 1) > size - 1) break;
    if (pair) dst[length++] = '\\';
    dst[length++] = *src;
  }
  dst[length] = '\0';
  return length;
}

unsigned long qnr_valip(const char* val) {
  constexpr int kAddressSize = 64;  // more than any address, scheme and port
  std::array<char, kAddressSize> address{};
  qnr_copyval(address.data(), val, kAddressSize);
  return qn_url2ip(address.data(), nullptr);
}

unsigned long qn_url2ip(const char* text, unsigned short* port) {
  if (text == nullptr) return 0;
  if (*text == '"') ++text;
  constexpr std::string_view kScheme = "qns://";
  if (std::strstr(text, "://") != nullptr) {
    if (std::strncmp(text, kScheme.data(), kScheme.size()) != 0) return 0;
    text += kScheme.size();
  }
  std::uint32_t address = read_part(text);
  if (address == 0) return 0;
  unsigned short found_port = kRtpPort;
  if (*text != '.') {
    address = kChannelBase | (address & 0xFFFF);
  } else {
    for (int part = 1; part < 4; ++part) {
      if (*text != '.') return 0;
      ++text;
      address = address << 8 | (read_part(text) & 0xFF);
    }
    if (*text == ':') found_port = static_cast<unsigned short>(std::strtoul(text + 1, nullptr, 0));
  }
  if (port != nullptr) *port = found_port;
  return htonl(address);
}

}  // namespace hark

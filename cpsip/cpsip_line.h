// The line that is being read, and the quick way to its tokens. The scanner's own. Most tokens are plain runs
// of bytes up to a stop; those are taken here, inlined with the flags that they are read with, and every
// other one by cpsip_walk_token.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "cpsip/cpsip_msg_scan.h"

namespace hark {

// The mark of bytes that need a look whatever the flags are: those that a token drops, and line ends.
inline constexpr std::uint16_t kMarkAlways = 0x8000;

inline constexpr std::uint16_t kStops = kStopColon | kStopComma | kStopEquals | kStopLess | kStopGreater |
                                        kStopSemicolon | kStopSpace | kStopSlash | kStopQuestion;

constexpr std::array<std::uint16_t, 256> cpsip_make_marks() {
  std::array<std::uint16_t, 256> marks{};
  for (unsigned c = 0; c < marks.size(); ++c) {
    const bool kept = c >= ' ' && c != 127;
    marks[c] = kept ? 0 : kMarkAlways;
  }
  marks[':'] = kStopColon;
  marks[','] = kStopComma;
  marks['='] = kStopEquals;
  marks['<'] = kStopLess;
  marks['>'] = kStopGreater;
  marks[';'] = kStopSemicolon;
  marks[' '] = kStopSpace;
  marks['/'] = kStopSlash;
  marks['?'] = kStopQuestion;
  marks['('] = marks[')'] = kQuoteParentheses;
  marks['"'] = kQuoteDouble;
  marks['['] = marks[']'] = kQuoteBrackets;
  return marks;
}

// For each byte the flags under which it is more than a part of a token.
inline constexpr std::array<std::uint16_t, 256> kMarks = cpsip_make_marks();

inline std::uint16_t cpsip_mark(char c) { return kMarks[static_cast<unsigned char>(c)]; }
inline bool cpsip_is_blank(char c) { return c == ' ' || c == '\t'; }

// Whether only the line's own CR LF is left.
inline bool cpsip_at_line_end(const char* at, const char* end) {
  return end - at == 2 && at[0] == '\r' && at[1] == '\n';
}

// The place in the line.
struct cpsip_line {
  char* at;
  char* end;    // behind the line's CR LF
  char* limit;  // its CR; the line's first byte if it has none, so that nothing is quick

  // *Requires* a line that ends with CR LF.
  cpsip_line(char* line_at, char* line_end) : at(line_at), end(line_end), limit(line_end - 2) {}
  // Any line.
  explicit cpsip_line(const cpsip_scan& scan) : at(scan.at()), end(scan.line_end()), limit(at) {
    if (end - at > 2 && cpsip_at_line_end(end - 2, end)) limit = end - 2;
  }

  void skip_blanks() {
    while (at != end && cpsip_is_blank(*at))
      ++at;
  }
  // The scan's read position becomes this one.
  void store(cpsip_scan& scan) const {
    scan.cur_off = static_cast<std::uint16_t>(at - scan.cur_buf->data() + kOsaHeaderSize);
    scan.line_len = static_cast<std::uint16_t>(end - at);
  }
};

// The end of the logical line at `line`, which is unfolded: behind its CR LF. Null when it does not end
// before `end`. A line that is not empty ends only where another byte follows.
[[nodiscard]] inline char* cpsip_find_line_end(char* const line, char* const end) {
  char* at = line;
  while (true) {
    char* const cr = static_cast<char*>(std::memchr(at, '\r', static_cast<std::size_t>(end - at)));
    if (cr == nullptr || cr + 1 == end) return nullptr;
    if (cr[1] != '\n') {
      at = cr + 2;
      continue;
    }
    if (cr == line) return cr + 2;
    if (cr + 2 == end) return nullptr;
    if (!cpsip_is_blank(cr[2])) return cr + 2;
    cr[0] = cr[1] = ' ';
    at = cr + 3;
  }
}

// As cpsip_msg_scan_start_line and cpsip_msg_scan_header_line, for the line whose beginning `line` is.
[[nodiscard]] int cpsip_scan_start(cpsip_scan& scan, cpsip_line& line);
[[nodiscard]] int cpsip_scan_header(cpsip_scan& scan, cpsip_line& line);

// Any token, from the line's place on.
[[nodiscard]] int cpsip_walk_token(cpsip_scan& scan, cpsip_line& line, std::uint16_t flags,
                                   cpsip_token& token);

// An empty part of a list is an error that the answer tells; the rest of the message is read on.
void cpsip_note_empty_part(cpsip_scan& scan, unsigned line = __builtin_LINE());

// The next token. *Requires* flags that are known when it is compiled, or it is no quicker than the walk, and
// a place that is behind any leading blanks: every token passes those behind it.
[[nodiscard, gnu::always_inline]] inline int cpsip_next_token(cpsip_scan& scan, cpsip_line& line,
                                                              const std::uint16_t flags, cpsip_token& token) {
  const std::uint16_t looked_for = flags | kMarkAlways;
  if (line.at >= line.limit) return cpsip_walk_token(scan, line, flags, token);
  char* at = line.at;
  while (true) {  // up to the CR, which has a mark
    if ((cpsip_mark(at[0]) & looked_for) != 0) break;
    if ((cpsip_mark(at[1]) & looked_for) != 0) {
      at += 1;
      break;
    }
    if ((cpsip_mark(at[2]) & looked_for) != 0) {
      at += 2;
      break;
    }
    at += 3;
  }
  const auto length = static_cast<std::size_t>(at - line.at);
  if (length > kMaxToken) return cpsip_walk_token(scan, line, flags, token);
  if (at == line.limit) {
    token = {{line.at, length}, kStopLineEnd};
    line.at = line.end;
    return kScanOk;
  }
  if ((cpsip_mark(*at) & flags & kStops) == 0) return cpsip_walk_token(scan, line, flags, token);
  token = {{line.at, length}, *at};
  // One blank ahead of the "<" belongs to neither the display name nor the URI.
  if ((flags & kStopLess) != 0 && token.stop == '<' && length != 0 && at[-1] == ' ')
    token.text.remove_suffix(1);
  ++at;
  if ((flags & (kStopSemicolon | kStopComma)) != 0 && *at == token.stop && (*at == ';' || *at == ','))
    cpsip_note_empty_part(scan);
  while (cpsip_is_blank(*at))  // the CR ends it
    ++at;
  line.at = at;
  return kScanOk;
}

// A record of the token, which lies in the scan's block.
inline cpsip_field cpsip_field_of(const cpsip_scan& scan, std::string_view text) {
  return {.buf = scan.cur_buf,
          .offset = static_cast<std::uint16_t>(text.data() - scan.cur_buf->data() + kOsaHeaderSize),
          .length = static_cast<std::uint16_t>(text.size())};
}

}  // namespace hark

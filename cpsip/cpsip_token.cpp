// The tokeniser, which every value passes through, and the search for a line's end.
#include <cstring>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_line.h"

namespace hark {
namespace {

// A token that needs more than a look for its stop: it has quotes, or bytes that it drops.
class TokenWalk {
 public:
  TokenWalk(char* begin, char* end, std::uint16_t flags)
      : begin_(begin), read_(begin), write_(begin), end_(end), flags_(flags) {}

  // Walks to the stop, and closes up what is dropped on the way.
  void walk() {
    while (read_ != end_ && !cpsip_at_line_end(read_, end_) && !stops_here())
      take(*read_++);
    if (read_ != end_) stop_ = cpsip_at_line_end(read_, end_) ? kStopLineEnd : *read_;
    space_before_stop_ = read_ != begin_ && read_[-1] == ' ';
    std::memset(write_, ' ', static_cast<std::size_t>(read_ - write_));
  }

  // The stop, or the line's end.
  [[nodiscard]] char* at() const { return read_; }
  [[nodiscard]] char stop() const { return stop_; }
  [[nodiscard]] bool space_before_stop() const { return space_before_stop_; }
  // Whether quotes or parentheses are open at the stop.
  [[nodiscard]] bool quoted() const { return in_quotes_ || in_parentheses_; }
  [[nodiscard]] std::string_view text() const { return {begin_, static_cast<std::size_t>(write_ - begin_)}; }

 private:
  bool stops_here() const {
    const char c = *read_;
    const std::uint16_t hit = cpsip_mark(c) & flags_ & kStops;
    if (hit == 0) return false;
    if (hit == kStopSpace) return true;
    if (escaped_ && in_quotes_) return false;
    if (hit == kStopComma) return !in_quotes_;
    if (hit == kStopColon) return !in_brackets_;
    return true;
  }

  void take(char c) {
    const std::uint16_t mark = cpsip_mark(c);
    if ((mark & kMarkAlways) != 0) return drop(c);
    *write_++ = c;
    quote(c, mark & flags_);
  }

  void drop(char c) {
    if (c == '\0') (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
    if (c == '\r' || c == '\n') stop_ = kStopLineEnd;
    escaped_ = false;
  }

  void quote(char c, std::uint16_t mark) {
    const bool escaped = escaped_ && in_quotes_;
    escaped_ = in_quotes_ && !escaped && c == '\\';
    if (escaped) return;
    if (in_quotes_) {
      if (c == '"') in_quotes_ = false;
    } else if (mark == kQuoteDouble) {
      in_quotes_ = true;
    } else if (mark == kQuoteParentheses) {
      in_parentheses_ = c == '(';
    } else if (mark == kQuoteBrackets) {
      in_brackets_ = c == '[';
    }
  }

  char* const begin_;
  char* read_;
  char* write_;
  char* const end_;
  const std::uint16_t flags_;
  char stop_ = 0;
  bool space_before_stop_ = false;
  bool in_quotes_ = false;
  bool in_parentheses_ = false;
  bool in_brackets_ = false;
  bool escaped_ = false;
};

// Passes the stop, and the blanks behind it.
void pass_stop(cpsip_scan& scan, cpsip_line& line, bool quoted) {
  const char stop = *line.at++;
  const bool doubled = line.at != line.end && *line.at == stop && !quoted;
  if (doubled && (stop == ';' || stop == ',')) cpsip_note_empty_part(scan);
  line.skip_blanks();
}

}  // namespace

void cpsip_note_empty_part(cpsip_scan& scan, unsigned line) {
  scan.scan_msg->scan_status = 400;
  (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg, line));
}

int cpsip_walk_token(cpsip_scan& scan, cpsip_line& line, std::uint16_t flags, cpsip_token& token) {
  TokenWalk walk(line.at, line.end, flags);
  walk.walk();
  token = {walk.text(), walk.stop()};
  if (token.text.size() > kMaxToken) {
    (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
    return kScanTokenTooLong;
  }
  line.at = walk.at();
  if (line.at == line.end || token.stop == kStopLineEnd) {
    line.at = line.end;
    return kScanOk;
  }
  if (token.stop == '<' && walk.space_before_stop() && !token.text.empty()) token.text.remove_suffix(1);
  pass_stop(scan, line, walk.quoted());
  return kScanOk;
}

int cpsip_get_next_token_from_osa_buf(cpsip_scan& scan, std::uint16_t flags, cpsip_token& token) {
  cpsip_line line(scan);
  if ((flags & kStopSpace) == 0) line.skip_blanks();
  const int result = cpsip_next_token(scan, line, flags, token);
  line.store(scan);
  return result;
}

bool cpsip_msg_scan_for_eol(cpsip_scan& scan) {
  char* const line = scan.at();
  char* const end = cpsip_find_line_end(line, scan.cur_buf->data() + scan.cur_buf->used);
  if (end == nullptr) return false;
  scan.line_len = static_cast<std::uint16_t>(end - line);
  return true;
}

}  // namespace hark

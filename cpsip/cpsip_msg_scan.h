// The scanner: the bytes of a datagram become a message, where they lie. No header text is copied; field
// records say where each value is. Lines are unfolded, and bytes that a token drops are closed up, in the
// block itself. The transport calls it for each datagram. It is lenient in some things (leading blank lines,
// folded lines, blanks before the colon, prefixes of methods) and stops at others (a token over 300 bytes).
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "cpsip/cpsip_msg.h"

namespace hark {

// Results. 1, 2, 5 and 6 drop the datagram without a word; 34 and 37 leave a message that is to be answered.
enum cpsip_scan_result : int {
  kScanOk = 0,
  kScanBadHeader = 1,
  kScanBadStartLine = 2,
  kScanNoClosingBracket = 5,  // a name-addr without ">"
  kScanTokenTooLong = 6,
  kScanBodyTooShort = 34,  // the body of a request is shorter than its Content-Length
  kScanBadSdp = 37,
};

// Bytes of a datagram: two bytes want three records at most, so that the pool has room for all. A socket
// reads far less.
inline constexpr std::uint16_t kMaxScanned = cpsip_field_pool::kMaxFields / 2;
inline constexpr std::uint16_t kMaxToken = 300;     // bytes of a token
inline constexpr std::uint32_t kMaxSdpBody = 1024;  // bytes of a session description

// Where a token ends and what quotes in it.
enum cpsip_token_flag : std::uint16_t {
  kStopColon = 0x0001,  // outside square brackets
  kStopComma = 0x0002,  // outside double quotes
  kStopEquals = 0x0004,
  kStopLess = 0x0008,
  kStopGreater = 0x0010,
  kReasonPhrase = 0x0020,   // no stop: blanks stay in the token
  kStopSemicolon = 0x0040,  // inside double quotes too
  kStopSpace = 0x0080,      // and leading blanks are not skipped
  kStopSlash = 0x0100,
  kQuoteParentheses = 0x0200,
  kQuoteDouble = 0x0400,
  kQuoteBrackets = 0x0800,
  kStopQuestion = 0x1000,
};

inline constexpr char kStopLineEnd = 13;  // the stop character of a token that the line's end ended

// The scanner's place in a datagram.
struct cpsip_scan {
  cpsip_msg_ptr scan_msg;               // the message being scanned
  const cpsip_row* cont_hdr = nullptr;  // the header whose comma list goes on; null otherwise
  cpsip_osa_buf* cur_buf = nullptr;     // the datagram's block, which belongs to scan_msg
  std::uint16_t cur_off = 0;            // the read position, from the start of the block, its header included
  std::uint16_t line_len = 0;           // bytes left in the current logical line, its CR LF included
  // The newest instance of each header, by its id: where the next one is linked.
  std::array<std::uint16_t, kHdrUnknown + 1> last_instance{};

  // The read position, and the end of the logical line.
  [[nodiscard]] char* at() const { return cur_buf->data() + (cur_off - kOsaHeaderSize); }
  [[nodiscard]] char* line_end() const { return at() + line_len; }
};

// A token, where it lies.
struct cpsip_token {
  std::string_view text;
  char stop = 0;  // what ended it; kStopLineEnd, or 0 when there was nothing left of the line
};

// Scans a datagram: *takes* its block. kScanOk with `complete` set: a whole message stands in
// `scan.scan_msg`, and `left_over` bytes lie behind it. kScanOk without: the headers do not end, the body of
// a response is too short, or the datagram is above kMaxScanned; the message is gone. kScanBodyTooShort and
// kScanBadSdp leave the message in `scan.scan_msg`; any other result has deleted it.
[[nodiscard]] int cpsip_msg_scan(cpsip_scan& scan, cpsip_osa_chain block, bool& complete,
                                 std::uint32_t& left_over);

// Finds the end of the logical line that begins at the read position, and unfolds it. True with `line_len`
// set; false when the block ends first. A line that is not empty ends only where another byte follows.
[[nodiscard]] bool cpsip_msg_scan_for_eol(cpsip_scan& scan);

// The next token of the line; the read position moves behind it and behind the blanks that follow. kScanOk,
// or kScanTokenTooLong.
[[nodiscard]] int cpsip_get_next_token_from_osa_buf(cpsip_scan& scan, std::uint16_t flags,
                                                    cpsip_token& token);

// Each parses the line at the read position into `scan.scan_msg`, and returns a cpsip_scan_result. The header
// scanner takes all values of a comma list.
[[nodiscard]] int cpsip_msg_scan_start_line(cpsip_scan& scan);
[[nodiscard]] int cpsip_msg_scan_header_line(cpsip_scan& scan);

}  // namespace hark

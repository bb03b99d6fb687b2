// What the document of the SIP stack shows, as bytes: its examples with line ends, the datagrams and the
// descriptions that the rows of its tables mean, and what the scanner makes of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cpsip/cpsip_msg_scan.h"

namespace hark::test {

inline constexpr std::string_view kSipDocument = "docs/sip.md";

// An example: each of its lines with CR LF. A failure of the test when there is none of this name.
[[nodiscard]] std::string wire_block(const std::string& text, std::string_view name);

// The pieces of a cell that stand in backquotes; of a cell without any, its text, and nothing of an empty
// one.
// `{301}` in them becomes 301 letters, and a piece with " x 5" behind it stands five times.
[[nodiscard]] std::vector<std::string> pieces_of(const std::string& cell);

// The pieces as lines, each with CR LF.
[[nodiscard]] std::string as_lines(const std::vector<std::string>& pieces);

// A datagram of a row: where it has no first line it is the usual one.
[[nodiscard]] std::string datagram_of(const std::string& first_line, const std::string& headers,
                                      const std::string& body = {});

// How the scan of a datagram ended.
struct DocumentScan {
  cpsip_scan scan;
  int result = -1;
  bool complete = false;
  std::uint32_t left_over = 0;
  std::string reports;

  // What the document says of it: the status that is to be answered; "none" for a whole message without one;
  // "gone" for a message that is gone though nothing is wrong with it; else nothing.
  [[nodiscard]] std::string Status() const;
};
void scan_datagram(std::string_view datagram, DocumentScan& scanned);

// What the stack would write of the datagram's message.
[[nodiscard]] std::string written_of(std::string_view datagram);

}  // namespace hark::test

#include "docs/sip_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "cpsip/msg_fixture.h"
#include "docs/document.h"

namespace hark::test {
namespace {

constexpr std::string_view kUsualFirstLine = "OPTIONS sip:studio@10.0.0.2 SIP/2.0";

// "s={130}" with 130 letters in place of the braces.
std::string filled(std::string piece) {
  const std::size_t open = piece.find('{');
  const std::size_t close = piece.find('}', open);
  if (open == std::string::npos || close == std::string::npos) return piece;
  const auto letters = static_cast<std::size_t>(std::stoul(piece.substr(open + 1, close - open - 1)));
  return piece.replace(open, close + 1 - open, std::string(letters, 'a'));
}

}  // namespace

std::string wire_block(const std::string& text, std::string_view name) {
  const std::string block = block_text(text, name);
  EXPECT_FALSE(block.empty()) << name;
  std::string wire;
  for (const char c : block) {
    if (c == '\n') wire += '\r';
    wire += c;
  }
  return wire;
}

std::vector<std::string> pieces_of(const std::string& cell) {
  if (cell.find('`') == std::string::npos) {
    return cell.empty() ? std::vector<std::string>{} : std::vector<std::string>{filled(cell)};
  }
  std::vector<std::string> pieces;
  for (std::size_t at = cell.find('`'); at != std::string::npos; at = cell.find('`', at + 1)) {
    const std::size_t end = cell.find('`', at + 1);
    if (end == std::string::npos) break;
    std::size_t times = 1;
    if (cell.compare(end + 1, 3, " x ") == 0) times = std::stoul(cell.substr(end + 4));
    pieces.insert(pieces.end(), times, filled(cell.substr(at + 1, end - at - 1)));
    at = end;
  }
  return pieces;
}

std::string as_lines(const std::vector<std::string>& pieces) {
  std::string lines;
  for (const std::string& piece : pieces)
    lines += piece + "\r\n";
  return lines;
}

std::string datagram_of(const std::string& first_line, const std::string& headers, const std::string& body) {
  std::vector<std::string> first = pieces_of(first_line);
  if (first.empty()) first = {std::string(kUsualFirstLine)};
  return as_lines(first) + as_lines(pieces_of(headers)) + "\r\n" + as_lines(pieces_of(body));
}

std::string DocumentScan::Status() const {
  const bool answered = result == kScanBodyTooShort || result == kScanBadSdp;
  if (scan.scan_msg == nullptr) return result == kScanOk ? "gone" : "";
  if (scan.scan_msg->scan_status != 0) return std::to_string(scan.scan_msg->scan_status);
  return answered ? "400" : complete ? "none" : "";
}

void scan_datagram(std::string_view datagram, DocumentScan& scanned) {
  const auto size = static_cast<std::uint16_t>(std::max<std::size_t>(datagram.size(), kSocketBlockSize));
  cpsip_osa_chain block{cpsip_osa_buf_alloc(size)};
  std::copy(datagram.begin(), datagram.end(), block->data());
  block->used = static_cast<std::uint16_t>(datagram.size());
  scanned.reports = ReportsOf([&] {
    scanned.result = cpsip_msg_scan(scanned.scan, std::move(block), scanned.complete, scanned.left_over);
  });
}

std::string written_of(std::string_view datagram) {
  DocumentScan scanned;
  scan_datagram(datagram, scanned);
  if (scanned.scan.scan_msg == nullptr) return "(no message)";
  return Wire(scanned.scan.scan_msg);
}

}  // namespace hark::test

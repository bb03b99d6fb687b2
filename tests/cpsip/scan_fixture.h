// What the tests of the message model and of the scanner share: blocks from text, a whole scan and a scan of
// one line with their outcomes, the texts of a chain of records, what the stack reports, and a count of the
// allocations of the test program.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_msg_scan.h"

namespace hark::test {

// A block that holds `text`; it has the capacity of a socket's block, or as much more as the text needs.
[[nodiscard]] cpsip_osa_chain BlockOf(std::string_view text);

// `count` times the same text.
[[nodiscard]] std::string Times(std::size_t count, std::string_view text);

// A request and a response with these header lines and this body.
[[nodiscard]] std::string Request(std::string_view headers, std::string_view body = {});
[[nodiscard]] std::string Response(std::string_view headers, std::string_view body = {});

// How the scan of a datagram ended.
struct Scanned {
  int result = -1;
  bool complete = false;
  std::uint32_t left_over = 0;
  cpsip_scan scan;

  [[nodiscard]] cpsip_msg& msg() const { return *scan.scan_msg; }
  [[nodiscard]] bool HasMessage() const { return scan.scan_msg != nullptr; }
  // A whole message with nothing wrong on the way, but for `scan_status`.
  [[nodiscard]] bool IsWhole() const { return result == kScanOk && complete && HasMessage(); }
};

// Scans one datagram; the reports are swallowed.
[[nodiscard]] Scanned Scan(std::string_view datagram);

// A scan of a logical line of its own: the message has the line as its block, and another byte follows it.
class LineScan {
 public:
  // `line` comes with its CR LF. Finds its end at once.
  explicit LineScan(std::string_view line);

  // The next token. Its text must lie in the block.
  struct Token {
    int result;
    std::string text;
    char stop;

    bool operator==(const Token&) const = default;
  };
  [[nodiscard]] Token Take(std::uint16_t flags);
  // What is left of the line behind the read position.
  [[nodiscard]] std::string Rest() const;

  [[nodiscard]] int StartLine();
  [[nodiscard]] cpsip_scan& scan() { return scan_; }
  [[nodiscard]] cpsip_msg& msg() { return *scan_.scan_msg; }

 private:
  cpsip_scan scan_;
};
void PrintTo(const LineScan::Token& token, std::ostream* out);

using Texts = std::vector<std::string>;

[[nodiscard]] std::string TextOf(const cpsip_field& field);
// The instances of a header, and the parameters or list items of one.
[[nodiscard]] Texts Chain(const cpsip_msg& msg, std::uint16_t head);
[[nodiscard]] Texts Parms(const cpsip_msg& msg, const cpsip_field& of);
[[nodiscard]] Texts ParmsOf(const cpsip_msg& msg, std::uint16_t head, std::size_t instance = 1);

// What `action` makes the stack print on standard output.
template <typename Action>
[[nodiscard]] std::string Reports(Action action) {
  ::testing::internal::CaptureStdout();
  action();
  return ::testing::internal::GetCapturedStdout();
}

// Calls of operator new so far, and how many of their blocks still live.
[[nodiscard]] std::int64_t Allocations();
[[nodiscard]] std::int64_t LiveAllocations();

// A session description of exactly `size` bytes, padded by attributes; *requires* `size` above 200.
[[nodiscard]] std::string SdpOfSize(std::size_t size);
// The description of a usual offer.
[[nodiscard]] std::string_view UsualSdp();

}  // namespace hark::test

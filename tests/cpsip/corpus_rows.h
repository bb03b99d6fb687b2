// What is expected of each message of our own corpus; corpus/README.md tells where its habits come from.
#pragma once

#include <cstdint>
#include <span>

namespace hark::test {

struct MessageRow {
  const char* name;  // of the file in corpus/messages
  int code;          // the scanner's result
  bool complete;
  std::uint16_t scan_status;
  std::uint32_t left_over;  // bytes behind the message
  const char* fields;       // lines that the message has, as corpus_support.h tells them; null: none is left
};

// What devices send.
[[nodiscard]] std::span<const MessageRow> device_rows();
// What is broken in one place.
[[nodiscard]] std::span<const MessageRow> faulty_rows();

}  // namespace hark::test

// What the scanner makes of each test message of RFC 4475, and where and why that is less than the RFC hopes
// for. Derived from the scanner's rules, message by message; torture_test.cpp holds the scanner to it.
#pragma once

#include <cstdint>
#include <span>

#include "cpsip/cpsip_tables.h"

namespace hark::test {

enum class Outcome {
  kTaken,       // a whole message; `scan_status` is the status it is to be answered with, 0: none
  kRefused,     // the message is kept to be answered 400: `code` 34 or 37
  kDropped,     // it disappears: `code` 1, 2, 5 or 6
  kUnfinished,  // no end of its headers: nothing is left
};

struct TortureVerdict {
  const char* name;     // of the file
  const char* section;  // of RFC 4475
  Outcome outcome;
  int code;                   // the scanner's result
  std::uint16_t scan_status;  // an error found on the way
  cpsip_method method;
  std::uint16_t status_code;  // of a response
  std::uint32_t cseq;
  std::uint8_t vias;
  std::uint32_t left_over;  // bytes behind the message
  const char* fields;       // lines that the message has, as corpus_support.h tells them
  const char* differs;      // what the RFC hopes for and does not get here, and why; null: it gets it
};

[[nodiscard]] std::span<const TortureVerdict> torture_verdicts();

}  // namespace hark::test

// What is expected of each session description of the corpus, by kind of device and by reason of failure.
#pragma once

#include <span>

namespace hark::test {

struct BodyRow {
  const char* name;    // of the file in tests/cpsip/corpus/bodies
  int encodes;         // what the encoder makes of it: 0, or its error
  const char* fields;  // lines that the session has, as session_lines.h tells them
};
// Bodies that parse.
[[nodiscard]] std::span<const BodyRow> body_rows();

struct FaultyBodyRow {
  const char* name;
  int reason;
};
// Bodies that fail.
[[nodiscard]] std::span<const FaultyBodyRow> faulty_body_rows();

}  // namespace hark::test

// What is measured: a row for each operation on a file of the folder inputs, and the ways to run it with each
// library.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "subject.h"

namespace hark::bench {

struct Row {
  const char* title;
  /// What the operation reads; null where it writes.
  std::string Inputs::*input;
  bool (*run)(Subject& subject, std::string_view input, Reader& reader);
  /// Of our instructions to those of the fastest of the others, at most.
  double aim;
};

inline constexpr std::size_t kRows = 8;
extern const std::array<Row, kRows> kRowTable;
/// The row whose allocations have an aim of their own.
inline constexpr std::size_t kInviteRow = 0;
inline constexpr double kInviteAllocations = 10;

/// The bytes of the row's file; none where it writes.
std::string_view input_of(const Row& row, const Inputs& inputs);

/// Reads the files; false, and told on standard error, when one is missing.
[[nodiscard]] bool load_inputs(const char* folder, Inputs& inputs);

/// The floor: the ends of all lines looked for, nothing else.
std::size_t count_line_ends(std::string_view bytes);

}  // namespace hark::bench

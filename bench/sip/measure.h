// The measurements: time and allocations in this process, instructions by a second run of this program under
// callgrind.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "rows.h"
#include "subject.h"

namespace hark::bench {

/// Of one operation.
struct Figures {
  double ns = 0;
  double allocations = 0;
  double instructions = 0;
};

/// By row: the subjects in their order, and behind them the floor where the row reads something.
using Results = std::array<std::vector<Figures>, kRows>;
using Subjects = std::vector<std::unique_ptr<Subject>>;

[[nodiscard]] bool measure_times(const Subjects& subjects, const Inputs& inputs, Results& results);

/// Starts `valgrind PROGRAM --count FOLDER`, that is count_instructions, and fills in what comes of it. With
/// a folder in the environment's HARK_BENCH_PROFILE callgrind's files stay there.
[[nodiscard]] bool measure_instructions(const char* folder, Results& results);

/// In the run under callgrind: all operations, each with a file of its own, "row.subject" as its reason.
[[nodiscard]] bool count_instructions(const Subjects& subjects, const Inputs& inputs);

}  // namespace hark::bench

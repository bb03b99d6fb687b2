// Times and allocations. The libraries take turns within each round, so that all of them see the same
// machine.
#include <algorithm>
#include <chrono>
#include <limits>

#include "alloc_tally.h"
#include "measure.h"
#include "readers.h"

namespace hark::bench {
namespace {

constexpr int kRounds = 15;
constexpr double kRoundNs = 10e6;

volatile std::uint64_t g_kept;

/// Runs it so often; the time of one, or less than 0 when one failed.
template <typename Operation>
double timed(Operation operation, long times) {
  const auto start = std::chrono::steady_clock::now();
  for (long i = 0; i < times; ++i) {
    if (!operation()) return -1;
  }
  const std::chrono::duration<double, std::nano> passed = std::chrono::steady_clock::now() - start;
  return passed.count() / static_cast<double>(times);
}

/// The best of the rounds.
class Best {
 public:
  template <typename Operation>
  bool round(Operation operation) {
    if (times_ == 0) {
      const double one = timed(operation, 100);
      if (one < 0) return false;
      times_ = std::max(100L, static_cast<long>(kRoundNs / std::max(one, 1.0)));
    }
    const double ns = timed(operation, times_);
    ns_ = std::min(ns_, ns);
    return ns >= 0;
  }
  [[nodiscard]] double ns() const { return ns_; }

 private:
  long times_ = 0;
  double ns_ = std::numeric_limits<double>::max();
};

template <typename Operation>
bool count_allocations(Operation operation, double& allocations) {
  constexpr int kTimes = 100;
  const std::uint64_t before = allocation_tally();
  for (int i = 0; i < kTimes; ++i) {
    if (!operation()) return false;
  }
  allocations = static_cast<double>(allocation_tally() - before) / kTimes;
  return true;
}

bool measure_row(const Row& row, const Subjects& subjects, const Inputs& inputs,
                 std::vector<Figures>& figures) {
  const std::string_view input = input_of(row, inputs);
  SumReader reader;
  std::vector<Best> best(figures.size());
  for (int round = 0; round < kRounds; ++round) {
    for (std::size_t i = 0; i < subjects.size(); ++i) {
      if (!best[i].round([&] { return row.run(*subjects[i], input, reader); })) return false;
    }
    if (best.size() == subjects.size()) continue;
    (void)best.back().round([&] {
      g_kept = g_kept + count_line_ends(input);
      return true;
    });
  }
  for (std::size_t i = 0; i < figures.size(); ++i)
    figures[i].ns = best[i].ns();
  for (std::size_t i = 0; i < subjects.size(); ++i) {
    if (!count_allocations([&] { return row.run(*subjects[i], input, reader); }, figures[i].allocations))
      return false;
  }
  g_kept = g_kept + reader.sum();
  return true;
}

}  // namespace

bool measure_times(const Subjects& subjects, const Inputs& inputs, Results& results) {
  for (std::size_t i = 0; i < kRows; ++i) {
    const Row& row = kRowTable[i];
    results[i].resize(subjects.size() + (row.input != nullptr ? 1 : 0));
    if (!measure_row(row, subjects, inputs, results[i])) return false;
  }
  return true;
}

}  // namespace hark::bench

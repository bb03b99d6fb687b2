// What the tests over the corpora share: the bytes of a file, the comparison of lines that tell a message or
// a session, and choices by chance.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hark::test {

// The bytes of a file below corpus/; a file that is missing fails the test.
[[nodiscard]] std::string corpus_file(std::string_view name);
// The names of the files of a folder below corpus/ that end in `ending`, sorted, without that ending.
[[nodiscard]] std::vector<std::string> corpus_names(std::string_view folder, std::string_view ending);

// Lines such as "Via[1].host=192.0.2.2".
using Lines = std::vector<std::string>;

// The lines of `wanted`, one per line feed, that `lines` does not have; empty when all are there. "To.uri="
// is there when no line gives To.uri a value.
[[nodiscard]] std::string missing_lines(const Lines& lines, std::string_view wanted);

// What differs between two tellings of the same thing; empty when nothing does.
[[nodiscard]] std::string difference(const Lines& before, const Lines& after);

// Choices by chance, from a seed: one that failed can be run again.
class Chance {
 public:
  explicit Chance(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15U + 1) {}
  // Below `limit`, which is not 0.
  unsigned below(unsigned limit);
  unsigned between(unsigned low, unsigned high) { return low + below(high - low + 1); }
  bool one_in(unsigned count) { return below(count) == 0; }
  // Letters, digits and marks that end nothing.
  std::string word(unsigned low, unsigned high);

 private:
  std::uint64_t state_;
};

}  // namespace hark::test

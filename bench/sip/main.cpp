// `hark_bench_sip FOLDER`: measures harkd's SIP messages beside three libraries on the files of that folder,
// and prints a block for each row. Status 0 when everything was measured, whatever came out; 1 when a value
// that was read is not that of the file or something could not be measured; 2 for a command line that is
// none. (`--count FOLDER` is the run of itself under callgrind.)
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "alloc_tally.h"
#include "measure.h"
#include "readers.h"

namespace {

using hark::bench::Figures;
using hark::bench::Row;
using hark::bench::Subjects;

Subjects make_subjects() {
  Subjects subjects;
  subjects.push_back(hark::bench::ours_subject());
  subjects.push_back(hark::bench::osip_subject());
  subjects.push_back(hark::bench::sofia_subject());
  subjects.push_back(hark::bench::re_subject());
  return subjects;
}

/// A counter that counts nothing would show the best of values.
bool tally_works() {
  const std::uint64_t before = hark::bench::allocation_tally();
  const auto some = std::make_unique<std::string>(1000, 'x');
  return hark::bench::allocation_tally() == before + 2 && !some->empty();
}

void print_line(const char* what, const Figures& figures) {
  (void)std::printf("  %-34s %10.0f %12.1f %12.0f\n", what, figures.ns, figures.allocations,
                    figures.instructions);
}

void print_ratio(const char* what, double value, double aim) {
  (void)std::printf("  %-34s %36.2f  <= %5.2f  %s\n", what, value, aim, value <= aim ? "ok" : "missed");
}

/// Ours is the first subject; the three behind it are what it is compared with.
void print_row(std::size_t index, const Subjects& subjects, const hark::bench::Inputs& inputs,
               const std::vector<Figures>& figures) {
  const Row& row = hark::bench::kRowTable[index];
  const std::size_t bytes = input_of(row, inputs).size();
  const std::string title = row.title + (bytes > 0 ? ", " + std::to_string(bytes) + " bytes" : std::string());
  (void)std::printf("%-36s %10s %12s %12s\n", title.c_str(), "ns", "allocations", "instructions");
  double fastest = std::numeric_limits<double>::max();
  for (std::size_t i = 0; i < subjects.size(); ++i) {
    print_line(subjects[i]->name(), figures[i]);
    if (i > 0) fastest = std::min(fastest, figures[i].instructions);
  }
  if (figures.size() > subjects.size()) print_line("one pass for the line ends", figures.back());
  print_ratio("instructions to the fastest other's", figures[0].instructions / fastest, row.aim);
  if (index == hark::bench::kInviteRow) {
    print_ratio("allocations", figures[0].allocations, hark::bench::kInviteAllocations);
  }
  (void)std::printf("\n");
}

int measure(const char* folder, const Subjects& subjects, const hark::bench::Inputs& inputs) {
  hark::bench::Results results;
  if (!tally_works()) {
    (void)std::fputs("the counter of allocations does not count\n", stderr);
    return 1;
  }
  if (!measure_times(subjects, inputs, results) || !measure_instructions(folder, results)) return 1;
  for (std::size_t i = 0; i < results.size(); ++i)
    print_row(i, subjects, inputs, results[i]);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bool counting = argc == 3 && std::strcmp(argv[1], "--count") == 0;
  if (argc != 2 && !counting) {
    (void)std::fputs("usage: hark_bench_sip FOLDER\n", stderr);
    return 2;
  }
  const char* folder = argv[argc - 1];
  hark::bench::Inputs inputs;
  if (!load_inputs(folder, inputs)) return 1;
  const Subjects subjects = make_subjects();
  for (const auto& subject : subjects) {
    if (!subject->build(inputs) || !check(*subject, inputs)) {
      (void)std::fprintf(stderr, "%s: nothing was measured\n", subject->name());
      return 1;
    }
  }
  if (counting) return count_instructions(subjects, inputs) ? 0 : 1;
  return measure(folder, subjects, inputs);
}

// `hark_bench_calls HARKD SCENARIOS [--calls N]`: measures calls with a real harkd, beside sipp, and prints
// one table. Status 0 when everything was measured, whatever came out; 1 when something could not be; 2 for a
// command line that is none.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "measures.h"
#include "process.h"

int main(int argc, char** argv) {
  using namespace hark::bench;
  CallSettings settings;
  const bool counted = argc == 5 && std::strcmp(argv[3], "--calls") == 0;
  if (counted) settings.calls = std::atoi(argv[4]);
  if ((argc != 3 && !counted) || settings.calls < 1) {
    (void)std::fputs("usage: hark_bench_calls HARKD SCENARIOS [--calls N]\n", stderr);
    return 2;
  }
  settings.harkd = argv[1];
  settings.scenarios = argv[2];
  Table table;
  bool measured = true;
  // What takes microseconds is taken on one core: with two, the scheduler would decide the result.
  stay_on_one_core();
  for (const auto measure : {measure_answers, measure_lingering, measure_dialling})
    measured = measure(settings, table) && measured;
  leave_that_core();
  for (const auto measure : {measure_rates, measure_memory, measure_instructions})
    measured = measure(settings, table) && measured;
  table.print();
  return measured ? 0 : 1;
}

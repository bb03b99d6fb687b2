// `hark_bench HARKD [--calls N] [--idle SECONDS]`: measures and prints one table. Status 0 when everything
// was measured, whatever came out; 1 when something could not be; 2 for a command line that is none.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "benches.h"

namespace {

int usage() {
  (void)std::fputs("usage: hark_bench HARKD [--calls N] [--idle SECONDS]\n", stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  hark::bench::Settings settings;
  if (argc < 2) return usage();
  settings.harkd = argv[1];
  for (int i = 2; i < argc; i += 2) {
    const int value = i + 1 < argc ? std::atoi(argv[i + 1]) : 0;
    if (value < 1) return usage();
    if (std::strcmp(argv[i], "--calls") == 0) {
      settings.calls = value;
    } else if (std::strcmp(argv[i], "--idle") == 0) {
      settings.idle_s = value;
    } else {
      return usage();
    }
  }
  hark::bench::Table table;
  const bool measured = hark::bench::micro_bench(table) && hark::bench::system_bench(settings, table) &&
                        hark::bench::panel_bench(settings, table) && hark::bench::loop_bench(table);
  table.print();
  return measured ? 0 : 1;
}

// `hark_bench HARKD HARKPANEL [--calls N] [--idle SECONDS] [--announcements N] [--stations N]`: measures and
// prints one table. Status 0 when everything was measured that can be here, whatever came out; 1 when
// something could not be; 2 for a command line that is none.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "benches.h"

namespace {

int usage() {
  (void)std::fputs(
      "usage: hark_bench HARKD HARKPANEL [--calls N] [--idle SECONDS] [--announcements N] [--stations N]\n",
      stderr);
  return 2;
}

struct Option {
  const char* name;
  int hark::bench::Settings::*value;
};
constexpr std::array<Option, 4> kOptions{{
    {"--calls", &hark::bench::Settings::calls},
    {"--idle", &hark::bench::Settings::idle_s},
    {"--announcements", &hark::bench::Settings::announcements},
    {"--stations", &hark::bench::Settings::stations},
}};

}  // namespace

int main(int argc, char** argv) {
  hark::bench::Settings settings;
  if (argc < 3) return usage();
  settings.harkd = argv[1];
  settings.harkpanel = argv[2];
  for (int i = 3; i < argc; i += 2) {
    const int value = i + 1 < argc ? std::atoi(argv[i + 1]) : 0;
    if (value < 1) return usage();
    const auto option = std::find_if(kOptions.begin(), kOptions.end(),
                                     [&](const Option& one) { return std::strcmp(argv[i], one.name) == 0; });
    if (option == kOptions.end()) return usage();
    settings.*(option->value) = value;
  }
  hark::bench::Table table;
  const bool measured = hark::bench::micro_bench(table) && hark::bench::table_bench(table) &&
                        hark::bench::system_bench(settings, table) &&
                        hark::bench::panel_bench(settings, table) &&
                        hark::bench::gateway_bench(settings, table) && hark::bench::links_bench(table) &&
                        hark::bench::loop_bench(table) && hark::bench::discovery_bench(settings, table);
  table.print();
  return measured ? 0 : 1;
}

// In place of discovery_bench.cpp where there is nothing to make the simulated network with.
#include "benches.h"

namespace hark::bench {

bool discovery_bench(const Settings& /*settings*/, Table& table) {
  table.add({.what = kDiscoveryRows, .why_not = "built without googletest"});
  return true;
}

}  // namespace hark::bench

// What the links cost the loop when all of their ports are in use: the part of a pass that is theirs, with
// nothing to do, beside a select on the same descriptors; and the pass in which every PTT request is renewed,
// as it is when all talks began together.
#include <sys/select.h>

#include <algorithm>
#include <string>

#include "base/clock.h"
#include "benches.h"
#include "latency.h"
#include "link_peers.h"
#include "rig.h"
#include "routing/qncpptt.h"
#include "routing/qnrifb.h"

namespace hark::bench {
namespace {

constexpr double kPassAim = 3;  // of a bare select
constexpr int kBatches = 200;
constexpr int kBatch = 100;
constexpr int kRenewals = 21;
constexpr TimeUs kRenewalUs = 2'000'000;

TimeUs g_now = 1'700'000'000 * kUsPerSecond;

struct Sets {
  fd_set readable;
  fd_set writable;
  int highest = -1;

  Sets() {
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    highest = std::max(qnrifb_selectevents(readable, writable), qncpptt_selectevents(readable));
  }
  void select() {
    timeval at_once{0, 0};
    (void)::select(highest + 1, &readable, &writable, nullptr, &at_once);
  }
};

void pass() {
  Sets sets;
  sets.select();
  qnrifb_processevents(sets.readable, sets.writable, g_now);
  qncpptt_processevents(sets.readable, g_now);
}

Clock::duration time_of(int count, const std::function<void()>& act) {
  const auto start = Clock::now();
  for (int i = 0; i < count; ++i)
    act();
  return (Clock::now() - start) / count;
}

// Passes and selects in turn, so that both see the same machine.
void measure_pass(Table& table) {
  const Sets watched;
  Times passes;
  Times selects;
  for (int batch = 0; batch < kBatches; ++batch) {
    passes.add(time_of(kBatch, pass));
    selects.add(time_of(kBatch, [&] {
      Sets copy = watched;
      copy.select();
    }));
  }
  const std::string ports = std::to_string(qnrifb_ports_count) + " IFB ports on " +
                            std::to_string(kFarDevices) + " devices, " + std::to_string(qncpptt_ports_count) +
                            " PTT ports";
  table.add({"pass of the links with nothing to do, " + ports, passes.at(0.5), "us", 2});
  table.add({"bare select on the links' descriptors", selects.at(0.5), "us", 2});
  table.add({"ratio of the two, links", passes.at(0.5) / selects.at(0.5), "", 2, kPassAim});
}

// Behind each renewal all are confirmed, one datagram by pass.
void measure_renewal(LinkPeers& peers, Table& table) {
  Times renewals;
  for (int i = 0; i < kRenewals; ++i) {
    g_now += kRenewalUs;
    renewals.add(time_of(1, pass));
    peers.serve();
    for (int answers = 0; answers < qncpptt_ports_count; ++answers)
      pass();
  }
  table.add({"pass that renews all " + std::to_string(qncpptt_ports_count) + " PTT requests",
             renewals.at(0.5) / 1000, "ms", 2});
}

}  // namespace

bool links_bench(Table& table) {
  clock_set_source([] { return g_now; });
  LinkPeers peers;
  bool measured = qncpptt_initialize() == 0;
  // What stands still does not lapse: the second request of each port is made by hand.
  measured = measured && peers.activate([] {
    g_now += kUsPerMs;
    pass();
  });
  if (measured) {
    g_now += kUsPerSecond / 10;
    pass();  // the requests that were still due
    peers.serve();
    for (int answers = 0; answers < 2 * qncpptt_ports_count; ++answers)
      pass();
    measure_pass(table);
    measure_renewal(peers, table);
  }
  qnrifb_cleanup();
  qncpptt_cleanup();
  clock_set_source(nullptr);
  return measured || fail("the links' ports did not become active");
}

}  // namespace hark::bench

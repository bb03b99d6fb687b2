// The daemon's loop with 16 panels of 90 keys attached: what a pass costs with nothing to do, and how long
// the loop stands still while every label of every panel is refreshed. The daemon runs in a helper, which
// makes its loop's passes itself (loop_wait.h); its far ends are in this process, and read only between what
// is measured.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <string>

#include "benches.h"
#include "daemon/harkd.h"
#include "daemon/log/log.h"
#include "daemon/root.h"
#include "daemon/server.h"
#include "daemon/station/station.h"
#include "latency.h"
#include "link_peers.h"
#include "loop_wait.h"
#include "panels.h"
#include "rig.h"
#include "routing/qncpptt.h"
#include "routing/qnrifb.h"

namespace hark::bench {
namespace {

constexpr double kPassAim = 2;         // of a bare select
constexpr double kLinkedPassAim = 3;   // likewise
constexpr double kStandstillAim = 50;  // ms
constexpr int kSettlePasses = 20;
constexpr int kBatches = 200;
constexpr int kBatch = 100;
constexpr int kRefreshes = 21;

// How many stations the file of sources has; the aim is for the second.
constexpr std::array<int, 3> kStations{50, 500, 5000};
constexpr std::size_t kOrdinary = 1;

// Medians of a pass and of a select on its descriptors.
struct PassTimes {
  double pass_us = 0;
  double select_us = 0;
};

// What the helper finds out.
struct LoopTimes {
  PassTimes plain;
  PassTimes linked;  // with all ports of the links in use
  std::array<double, kStations.size()> refresh_ms{};
  std::array<double, kStations.size()> longest_ms{};
};

// The two ends of a word from one process to another.
struct Signal {
  UniqueFd read_end;
  UniqueFd write_end;

  Signal() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    read_end.reset(ends[0]);
    write_end.reset(ends[1]);
  }
};

template <typename T>
void tell(const Signal& to, const T& what) {
  if (::write(to.write_end.get(), &what, sizeof what) != sizeof what) std::_Exit(1);
}

// False when the other side is gone.
template <typename T>
bool hear(const Signal& from, T& what) {
  return ::read(from.read_end.get(), &what, sizeof what) == sizeof what;
}

// A file of `count` stations, in which the alternate text of each is a new one in every `round`.
std::string station_file(int count, int round) {
  std::string text;
  for (int i = 1; i <= count; ++i) {
    const std::string number = std::to_string(i);
    text += key_label(i) + " <hark:10.0." + std::to_string(i / 256) + "." + std::to_string(i % 256) +
            ">;trgl=4\n";
    text += "\talt " + std::to_string(round) + "/" + number + "\n";
  }
  return text;
}

bool all_attached() {
  for (int i = 0; i < kPanels; ++i) {
    if (server.panel(i) == nullptr) return false;
  }
  return server.model->dirty == 0;
}

template <typename Act>
Clock::duration time_of(Act act) {
  const auto start = Clock::now();
  act();
  return Clock::now() - start;
}

// Passes and selects in turn, so that both see the same machine.
PassTimes time_passes() {
  Times passes;
  Times selects;
  for (int batch = 0; batch < kBatches; ++batch) {
    passes.add(time_of([] { loop_passes(kBatch, Wait::kNotAtAll); }) / kBatch);
    selects.add(time_of([] {
                  for (int i = 0; i < kBatch; ++i)
                    (void)loop_select();
                }) /
                kBatch);
  }
  return {passes.at(0.5), selects.at(0.5)};
}

// The same while all ports of the links are active. The station has no calls on them: their reports are for
// nobody.
bool time_linked_passes(LinkPeers& peers, PassTimes& found) {
  qnrifb_update_status_callback = nullptr;
  qncpptt_update_status_callback = nullptr;
  if (!peers.activate([] { loop_passes(1, Wait::kNotAtAll); })) return false;
  loop_passes(kSettlePasses, Wait::kAsGiven);
  found = time_passes();
  qnrifb_cleanup();
  qncpptt_cleanup();
  return true;
}

// The daemon's side. What discovery asks for when a station has come or gone is what is timed, at its worst:
// each label that is shown has changed.
void run_daemon(const TempRoot& root, int ctrl_port, int qnr_port, const Signal& done,
                const Signal& drained) {
  const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO})
    (void)::dup2(nowhere, fd);
  (void)::setenv("HARK_ROOT", root.path().c_str(), 1);
  (void)::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  apply_hark_root();
  openlog(station.appName.c_str(), kLogPid, kLogFacilityUser);
  const std::string ctrl = std::to_string(ctrl_port);
  const std::string qnr = std::to_string(qnr_port);
  const std::array<const char*, 9> args{"harkd",      "-i",         "none0",     "-sip_ip",  "127.0.0.2",
                                        "-ctrl_port", ctrl.c_str(), "-qnr_port", qnr.c_str()};
  LinkPeers peers;
  if (harkd_initialize(args.size(), args.data()) != 0) return;

  LoopTimes found;
  tell(done, found);
  while (!all_attached())
    loop_passes(1, Wait::kAsGiven);
  loop_passes(kSettlePasses, Wait::kAsGiven);
  found.plain = time_passes();
  if (!time_linked_passes(peers, found.linked)) return;
  for (std::size_t i = 0; i < kStations.size(); ++i) {
    Times refreshes;
    for (int round = 0; round < kRefreshes; ++round) {
      root.write_sources(station_file(kStations[i], round + 1));
      server.model->dirty |= kDirtyStations;
      refreshes.add(time_of([] { loop_passes(1, Wait::kNoSockets); }));
      tell(done, found);
      char word = 0;
      if (!hear(drained, word)) return;
    }
    found.refresh_ms[i] = refreshes.at(0.5) / 1000;
    found.longest_ms[i] = refreshes.at(1) / 1000;
  }
  tell(done, found);
}

void add_rows(const LoopTimes& found, Table& table) {
  const std::string panels = std::to_string(kPanels) + " panels";
  const auto add_pass = [&table](const std::string& where, const PassTimes& times, double aim) {
    table.add({"pass of the loop with nothing to do, " + where, times.pass_us, "us", 2});
    table.add({"bare select on as many descriptors", times.select_us, "us", 2});
    table.add({"ratio of the two", times.pass_us / times.select_us, "", 2, aim});
  };
  add_pass(panels, found.plain, kPassAim);
  add_pass(panels + ", all links", found.linked, kLinkedPassAim);
  const std::string refresh = "refresh of all labels, " + panels + ", ";
  for (std::size_t i = 0; i < kStations.size(); ++i) {
    const std::string stations = std::to_string(kStations[i]) + " stations";
    table.add({refresh + stations, found.refresh_ms[i], "ms", 2});
    if (i == kOrdinary)
      table.add(
          {"longest standstill of the loop, " + stations, found.longest_ms[i], "ms", 2, kStandstillAim});
    if (i > 0) {
      table.add({"growth from " + std::to_string(kStations[i - 1]) + " to " + stations,
                 found.refresh_ms[i] / found.refresh_ms[i - 1], "", 2});
    }
  }
}

}  // namespace

bool loop_bench(Table& table) {
  const TempRoot root(station_file(kStations[0], 0), channel_file());
  const Listener mixer_listener;
  const int ctrl_port = free_port();
  Signal done;
  const Signal drained;
  const Helper helper([&] { run_daemon(root, ctrl_port, mixer_listener.port(), done, drained); });
  done.write_end.reset();  // the helper alone can tell, so that its end is heard
  const LineConnection mixer(mixer_listener.accept());
  LoopTimes found;
  if (mixer.is_lost() || !hear(done, found)) return fail("the loop did not start");
  Panels panels(ctrl_port);
  if (!panels.are_attached()) return fail("the panels could not attach");
  for (std::size_t i = 0; i < kStations.size() * kRefreshes; ++i) {
    if (!hear(done, found)) return fail("the loop ended");
    panels.drain();
    tell(drained, 'd');
  }
  if (!hear(done, found) || !panels.are_attached()) return fail("the loop ended");
  add_rows(found, table);
  return true;
}

}  // namespace hark::bench

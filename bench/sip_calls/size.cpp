// What the process takes: its memory with nothing to do, with all lines up and with many dialogs that linger;
// and the instructions of one call.
#include <fstream>

#include "call_rig.h"
#include "measures.h"

namespace hark::bench {
namespace {

constexpr int kListenLines = 8;
constexpr int kTalkLines = 128;
constexpr int kDialogs = 10000;

double resident_mib(const callsoak::Station& station) {
  return static_cast<double>(station.figures().rss_kib) / 1024;
}

bool hold_all_lines(callsoak::Station& station, Caller& caller, double& mib) {
  std::vector<HeldCall> held;
  for (int i = 0; i < kListenLines + kTalkLines; ++i) {
    const std::optional<HeldCall> call = caller.open(i < kListenLines ? listen_service() : talk_service());
    if (!call) return cannot("a line did not come up");
    held.push_back(*call);
    station.pump(0);
  }
  mib = resident_mib(station);
  for (const HeldCall& call : held) {
    if (!caller.close(call)) return cannot("a call did not end");
  }
  return true;
}

// What callgrind counted of a station that took so many calls; -1 when it did not.
double instructions_of(const CallSettings& settings, int calls) {
  const Scratch scratch;
  const std::string out = scratch.file("callgrind.out");
  const auto station =
      answering_station(settings.harkd, "valgrind --tool=callgrind --callgrind-out-file=" + out);
  if (station == nullptr) return -1;
  Caller caller(callsoak::own_address(2));
  for (int i = 0; i < calls; ++i) {
    if (!caller.call(talk_service())) return -1;
  }
  (void)station->stop();
  std::ifstream file(out);
  double count = -1;
  for (std::string word; file >> word;) {
    if (word == "totals:" || word == "summary:") file >> count;
  }
  return count;
}

}  // namespace

bool measure_memory(const CallSettings& settings, Table& table) {
  constexpr double kIdleMib = 8;
  const auto station = answering_station(settings.harkd);
  if (station == nullptr) return false;
  Caller caller(callsoak::own_address(2), kListenLines + kTalkLines);
  const double idle = resident_mib(*station);
  double lines = 0;
  if (!hold_all_lines(*station, caller, lines)) return false;
  for (int i = 0; i < kDialogs; ++i) {
    if (!caller.call(talk_service())) return cannot("a call was not answered");
  }
  table.add({"resident memory, idle", idle, "MiB", 2, kIdleMib});
  table.add({"resident memory, 136 lines up", lines, "MiB", 2});
  table.add({"resident memory, 10000 dialogs linger", resident_mib(*station), "MiB", 2});
  return true;
}

// Two runs, as what start and stop take has nothing to do with calls. The calls stand so close that the turns
// of the loop between them, which have nothing else to do, are few.
bool measure_instructions(const CallSettings& settings, Table& table) {
  constexpr int kFew = 20;
  constexpr int kMany = 220;
  const double few = instructions_of(settings, kFew);
  const double many = instructions_of(settings, kMany);
  if (few <= 0 || many <= few) return cannot("callgrind did not count");
  table.add({"instructions of a whole call", (many - few) / (kMany - kFew), "", 0});
  return true;
}

}  // namespace hark::bench

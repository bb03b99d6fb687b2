// How many calls a second the talk service takes from sipp without one that fails, and how many sipp takes
// itself.
#include <array>
#include <fstream>

#include "call_rig.h"
#include "measures.h"

namespace hark::bench {
namespace {

constexpr int kSeconds = 3;
constexpr int kNames = 128;  // as many as there are lines

std::string names_file(const Scratch& scratch) {
  std::ofstream names(scratch.file("names.csv"));
  names << "SEQUENTIAL\n";
  for (int i = 0; i < kNames; ++i)
    names << "desk" << i << ";\n";
  return scratch.file("names.csv");
}

// Whether sipp makes calls at that rate for some seconds and all of them end as they should.
bool takes(int rate, const CallSettings& settings, const Target& target, const std::string& names,
           const Scratch& scratch, callsoak::Station* station) {
  Child caller({"sipp",
                "-sf",
                settings.scenarios + "/caller.xml",
                "-inf",
                names,
                "-i",
                callsoak::own_address(2),
                "-p",
                "5060",
                "-m",
                std::to_string(rate * kSeconds),
                "-r",
                std::to_string(rate),
                "-l",
                std::to_string(kNames),
                "-nostdin",
                "-timeout",
                std::to_string(4 * kSeconds),
                "-timeout_error",
                target.address + ":" + std::to_string(target.port)},
               scratch.file("caller.out"));
  return caller.wait(station) == 0;
}

int highest_rate(const CallSettings& settings, const Target& target, const Scratch& scratch,
                 callsoak::Station* station) {
  constexpr std::array<int, 10> kRates{100, 200, 400, 800, 1200, 1600, 2000, 3000, 4000, 6000};
  const std::string names = names_file(scratch);
  int best = 0;
  for (const int rate : kRates) {
    // A second try, as another program may have taken the machine for a moment.
    if (!takes(rate, settings, target, names, scratch, station) &&
        !takes(rate, settings, target, names, scratch, station)) {
      break;
    }
    best = rate;
  }
  return best;
}

}  // namespace

bool measure_rates(const CallSettings& settings, Table& table) {
  const Scratch scratch;
  const auto station = answering_station(settings.harkd);
  if (station == nullptr) return false;
  const int ours = highest_rate(settings, talk_service(), scratch, station.get());
  const auto answerer = sipp_answerer(settings.scenarios, scratch);
  if (answerer == nullptr) return false;
  const int theirs = highest_rate(settings, sipp_service(), scratch, nullptr);
  table.add({"calls per second without one that fails, harkd", static_cast<double>(ours), "", 0});
  table.add({"calls per second without one that fails, sipp", static_cast<double>(theirs), "", 0});
  return (ours > 0 && theirs > 0) || cannot("no rate at which all calls end well");
}

}  // namespace hark::bench

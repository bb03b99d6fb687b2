// `callsoak HARKD CALLS [--rest SECONDS] [--loss PERCENT] [--at-once N] [--memory KIB]`: makes so many calls
// with a real harkd, in batches with a rest behind each, and prints what it takes over time. Status 0 when
// each call came to its end, no line is left up, no descriptor is left open and, where that is asked for,
// memory at rest is at most that much more behind the last batch than it was behind the first full one; 1
// otherwise; 2 for a command line that is none.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/callsoak/soak.h"
#include "tools/callsoak/station.h"

namespace {

using namespace callsoak;

constexpr int kSipPort = 5058;
constexpr int kFirstCalls = 1000;
constexpr int kBatches = 10;

struct Options {
  std::string harkd;
  int calls = 0;
  int rest_s = 0;
  long memory_kib = -1;
  SoakOptions soak;
};

int usage() {
  (void)std::fputs(
      "usage: callsoak HARKD CALLS [--rest SECONDS] [--loss PERCENT] [--at-once N] [--memory KIB]\n", stderr);
  return 2;
}

bool read_options(int argc, char** argv, Options& options) {
  if (argc < 3 || argc % 2 == 0) return false;
  options.harkd = argv[1];
  options.calls = std::atoi(argv[2]);
  for (int i = 3; i < argc; i += 2) {
    const int value = std::atoi(argv[i + 1]);
    if (std::strcmp(argv[i], "--rest") == 0) {
      options.rest_s = value;
    } else if (std::strcmp(argv[i], "--loss") == 0) {
      options.soak.loss = value / 100.0;
    } else if (std::strcmp(argv[i], "--at-once") == 0) {
      options.soak.at_once = value;
    } else if (std::strcmp(argv[i], "--memory") == 0) {
      options.memory_kib = value;
    } else {
      return false;
    }
  }
  return options.calls > 0;
}

class Report {
 public:
  Report(Station& station, Soak& soak) : station_(station), soak_(soak) {
    (void)std::printf("%8s %8s %10s %10s %12s %6s %7s\n", "calls", "seconds", "VmRSS KiB", "VmHWM KiB",
                      "descriptors", "lines", "failed");
  }
  Figures row(int calls, const char* note) {
    const Figures now = station_.figures();
    lines_ = soak_.lines_up();
    const auto seconds = std::chrono::duration<double>(Clock::now() - began_).count();
    (void)std::printf("%8d %8.1f %10ld %10ld %12ld %6d %7d  %s\n", calls, seconds, now.rss_kib, now.peak_kib,
                      now.descriptors, lines_, soak_.failed(), note);
    (void)std::fflush(stdout);
    return now;
  }
  [[nodiscard]] int lines() const { return lines_; }

 private:
  Station& station_;
  Soak& soak_;
  int lines_ = -1;
  Clock::time_point began_ = Clock::now();
};

bool check(bool holds, const std::string& what) {
  if (!holds) (void)std::printf("callsoak: %s\n", what.c_str());
  return holds;
}

bool run(const Options& options, Station& station) {
  Soak soak(station, own_address(1), kSipPort, options.soak);
  if (!station.start() || !check(soak.is_open(), "no socket") || !station.ask("CALL", "END")) return false;
  Report report(station, soak);
  const Figures start = report.row(0, "at the start");
  // A tenth of all calls each; the first thousand apart. What a station keeps of its calls for a while, and
  // has not given back to the system, is that of one batch: so one is compared with another.
  const int step = std::max(kFirstCalls, options.calls / kBatches);
  Figures first;
  Figures last;
  for (int done = 0; done < options.calls;) {
    const bool opening = done == 0 && options.calls > 2 * kFirstCalls;
    const int calls = std::min(opening ? kFirstCalls : step, options.calls - done);
    if (!check(soak.run(calls), "the station ended")) return false;
    done += calls;
    if (options.rest_s > 0) (void)report.row(done, "");
    soak.rest(std::chrono::seconds(options.rest_s + 1));
    last = report.row(done, "at rest");
    if (first.rss_kib < 0 && !opening) first = last;
  }
  const long growth = last.rss_kib - first.rss_kib;
  (void)std::printf("memory at rest: %+ld KiB from the first full batch to the last\n", growth);
  bool good = check(soak.failed() == 0, "calls that did not end; the last: " + soak.last_failure());
  good = check(report.lines() == 0, "lines are left up") && good;
  good = check(last.descriptors <= start.descriptors, "descriptors are left open") && good;
  return check(options.memory_kib < 0 || growth <= options.memory_kib, "memory has grown") && good;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!read_options(argc, argv, options)) return usage();
  StationOptions station_options;
  station_options.harkd = options.harkd;
  station_options.address = own_address(1);
  station_options.sip_port = kSipPort;
  Station station(station_options);
  const bool good = run(options, station);
  return check(station.stop() == 0, "the station did not end well") && good ? 0 : 1;
}

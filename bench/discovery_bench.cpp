// Stations that find each other by DNS-SD, on the simulated network of the system tests: how long after the
// announcement of one the other has it in its table, beside what the DNS-SD daemon's own tool shows on the
// same host, and what many stations cost the daemon.
#include <unistd.h>

#include <array>
#include <list>
#include <optional>
#include <string>

#include "benches.h"
#include "discovery_net.h"
#include "latency.h"
#include "process.h"
#include "rig.h"
#include "system/support/pump.h"

namespace hark::bench {
namespace {

constexpr int kStationHost = 2;
constexpr int kAnnouncingStationHost = 3;
constexpr int kFirstAnnouncingHost = 10;
constexpr int kAnnouncementLimitMs = 15'000;
constexpr int kFindLimitMs = 90'000;
constexpr useconds_t kLookEveryUs = 100;
constexpr double kRatioAim = 1.5;
constexpr double kResidentAim = 6;  // MiB
constexpr std::array<int, 3> kStations{50, 200, 500};

// Looks at `done` all the time; false when it is not true in the limit.
template <typename Done>
bool look_for(Done done) {
  const auto end = Clock::now() + std::chrono::milliseconds(kAnnouncementLimitMs);
  while (!done()) {
    if (Clock::now() > end) return false;
    test::pump_once(0);
    ::usleep(kLookEveryUs);
  }
  return true;
}

// When each saw the same station.
struct Sighted {
  Clock::time_point first_word;  // on the wire
  Clock::time_point announced;   // likewise, with all that there is to know
  Clock::time_point in_table;
  Clock::time_point by_tool;
};

class Announcements {
 public:
  Announcements(const test::TestNet& net, NetworkStation& station, NetworkStation& other)
      : ear_(net), station_(station), other_(other), tool_(station.host()) {}

  // Gives the other station a new name. None when it is not seen.
  std::optional<Sighted> next() {
    const std::string name = "Round " + std::to_string(++round_);
    other_.rename(name);
    std::optional<Clock::time_point> first_word;
    std::optional<Clock::time_point> announced;
    std::optional<Clock::time_point> in_table;
    std::optional<Clock::time_point> by_tool;
    const bool seen = look_for([&] {
      const DnsEar::Word word = ear_.hear(name);
      note(first_word, [&] { return word != DnsEar::Word::kNone; });
      note(announced, [&] { return word == DnsEar::Word::kAll; });
      note(in_table, [&] { return is_in_table(name); });
      note(by_tool, [&] { return is_shown(name); });
      return announced && in_table && by_tool;
    });
    station_.drain();
    other_.drain();
    if (!seen) return std::nullopt;
    return Sighted{*first_word, *announced, *in_table, *by_tool};
  }

 private:
  template <typename Happened>
  static void note(std::optional<Clock::time_point>& when, Happened happened) {
    if (!when && happened()) when = Clock::now();
  }
  [[nodiscard]] bool is_in_table(const std::string& name) const {
    return station_.table().find(name + " <hark:") != std::string::npos;
  }
  [[nodiscard]] bool is_shown(const std::string& name) const {
    for (const test::Sighting& sighting : tool_.seen()) {
      if (sighting.event == '=' && sighting.name == name) return true;
    }
    return false;
  }

  DnsEar ear_;
  NetworkStation& station_;
  NetworkStation& other_;
  test::Witness tool_;
  int round_ = 0;
};

bool measure_announcements(const test::TestNet& net, NetworkStation& station, int count, Table& table) {
  NetworkStation other(net, kAnnouncingStationHost);
  if (!other.start_discovery().empty() || !other.start()) return fail("the other station did not start");
  // Its first announcement, of the name that it has by itself, is a warm-up.
  if (!test::wait_until([&] { return station.found() == 2; }))
    return fail("the stations do not find each other");
  Announcements announcements(net, station, other);
  Times in_table;
  Times by_tool;
  Times whole_in_table;
  Times whole_by_tool;
  for (int i = 0; i < count; ++i) {
    const auto sighted = announcements.next();
    if (!sighted) return fail("an announcement was not seen");
    in_table.add(sighted->in_table - sighted->announced);
    by_tool.add(sighted->by_tool - sighted->announced);
    whole_in_table.add(sighted->in_table - sighted->first_word);
    whole_by_tool.add(sighted->by_tool - sighted->first_word);
  }
  const auto add = [&table](const char* what, Times& times, double part) {
    table.add({what, times.at(part) / 1000, "ms", 2});
  };
  add("first word to line in the table, median", whole_in_table, 0.5);
  add("first word to avahi-browse -r on that host, median", whole_by_tool, 0.5);
  table.add(
      {"ratio of the medians, first word", whole_in_table.at(0.5) / whole_by_tool.at(0.5), "", 2, kRatioAim});
  add("announcement to line in the table, median", in_table, 0.5);
  add("announcement to line in the table, longest", in_table, 1);
  add("announcement to avahi-browse -r on that host, median", by_tool, 0.5);
  table.add({"ratio of the medians, announcement", in_table.at(0.5) / by_tool.at(0.5), "", 2});
  return other.stop() || fail("the other station did not end in order");
}

void add_cost(const NetworkStation& station, const std::string& when, Table& table) {
  table.add({"resident memory, " + when, static_cast<double>(station.process().resident_kib()) / 1024, "MiB",
             2, kResidentAim});
  table.add({"open descriptors, " + when, static_cast<double>(station.process().open_fds()), "", 0});
}

bool measure_many(const test::TestNet& net, NetworkStation& station, int most, Table& table) {
  if (!test::wait_until([&] { return station.found() == 1; }, kAnnouncementLimitMs))
    return fail("a station that ended is still in the table");
  add_cost(station, "no other station", table);
  std::list<AnnouncingHost> hosts;
  int announced = 0;
  for (const int count : kStations) {
    if (count > most) break;
    const std::int64_t before = cpu_ns(station.process().pid());
    AnnouncingHost& host = hosts.emplace_back(net, kFirstAnnouncingHost + static_cast<int>(hosts.size()),
                                              announced, count - announced);
    // A station finds itself as well.
    if (!host.start() || !test::wait_until([&] { return station.found() == count + 1; }, kFindLimitMs))
      return fail("not all stations were found");
    const std::string stations = std::to_string(count) + " stations found";
    add_cost(station, stations, table);
    const auto spent = static_cast<double>(cpu_ns(station.process().pid()) - before);
    table.add({"CPU by station, up to " + stations, spent / 1e6 / (count - announced), "ms", 2});
    announced = count;
  }
  return station.stop() || fail("the station did not end in order");
}

bool add_why_not(const std::string& why_not, Table& table) {
  table.add({.what = kDiscoveryRows, .why_not = why_not});
  return true;
}

}  // namespace

bool discovery_bench(const Settings& settings, Table& table) {
  // The daemons, the tool and the stations are machines of their own.
  leave_that_core();
  const test::TestNet net;
  if (!net.why_not().empty()) return add_why_not(net.why_not(), table);
  NetworkStation station(net, kStationHost);
  if (const std::string why_not = station.start_discovery(); !why_not.empty())
    return add_why_not(why_not, table);
  if (!station.start()) return fail("the station did not start");
  return measure_announcements(net, station, settings.announcements, table) &&
         measure_many(net, station, settings.stations, table);
}

}  // namespace hark::bench

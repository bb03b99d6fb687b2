// The table of the stations that were heard of: how long the loop stands still while its file is written,
// as it is on every change, and what a station takes of memory.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>

#include "addressing/harkresolvtable.h"
#include "benches.h"
#include "daemon/qnrlib/textfile.h"
#include "latency.h"
#include "process.h"
#include "rig.h"

namespace hark::bench {
namespace {

constexpr std::array<std::size_t, 3> kStations{50, 200, 500};
constexpr int kWrites = 201;
constexpr in_addr_t kAddress = 0x4D00C0EF;
constexpr double kGrowthAim = 10;      // as many times the stations
constexpr double kStandstillAim = 50;  // ms

// A station with all that is known of one that was discovered.
void add_station(harkresolvtable& table, std::size_t number) {
  harkresolvtable_entry& entry = table.emplace_front();
  const std::string text = std::to_string(number);
  entry.name = "Studio " + text;
  entry.domain = kLocalDomain;
  entry.host = "studio-" + text + ".local.";
  entry.alt = "Alt " + text;
  entry.trgl = 4;
  entry.rtpa = kAddress;
  entry.port = 4013;
  entry.url = "hark:10.0." + std::to_string(number / 250) + "." + std::to_string(number % 250 + 1);
}

// Writes the file again and again, and makes sure of what is in it. False when it is not the whole table.
bool time_writes(const harkresolvtable& stations, Times& times) {
  for (int i = 0; i < kWrites; ++i) {
    const auto start = Clock::now();
    harkresolvtable_write(stations);
    times.add(Clock::now() - start);
  }
  const auto text = read_text_file(table_file);
  return text && static_cast<std::size_t>(std::count(text->begin(), text->end(), '<')) == stations.size();
}

std::string count_text(std::size_t stations) { return std::to_string(stations) + " stations"; }

// On a disk, where the file system may take its time to put a file in the place of another.
bool measure_disk(const harkresolvtable& stations, Table& table) {
  const TempRoot disk("", "");
  table_file = disk.path() + "/var/tmp/table";
  Times times;
  if (!time_writes(stations, times)) return false;
  const std::string what = "write of the table on the disk, " + count_text(stations.size());
  table.add({what + ", median", times.at(0.5) / 1000, "ms", 3});
  table.add({what + ", longest", times.at(1) / 1000, "ms", 3, kStandstillAim});
  return true;
}

}  // namespace

bool table_bench(Table& table) {
  // Where there is such a place the file is in memory, so that the rows tell of the work and not of the disk.
  const TempRoot memory("", "", ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "");
  harkresolvtable stations;
  const std::size_t before = ::mallinfo2().uordblks;
  std::array<double, kStations.size()> write_us{};
  bool written = true;
  for (std::size_t i = 0; i < kStations.size(); ++i) {
    while (stations.size() < kStations[i])
      add_station(stations, stations.size());
    table_file = memory.path() + "/var/tmp/table";
    Times times;
    written = written && time_writes(stations, times);
    write_us[i] = times.at(0.5);
    table.add({"write of the table, " + count_text(stations.size()), write_us[i] / 1000, "ms", 3});
  }
  table.add({"growth from " + std::to_string(kStations.front()) + " to " + count_text(kStations.back()),
             write_us.back() / write_us.front(), "", 2, kGrowthAim});
  const auto taken = static_cast<double>(::mallinfo2().uordblks - before);
  table.add({"memory of the table by station", taken / static_cast<double>(stations.size()), "bytes", 0});
  return (written && measure_disk(stations, table)) || fail("the table was not written");
}

}  // namespace hark::bench

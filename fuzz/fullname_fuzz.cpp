// What the network says of a station that is resolved: an input is a host, the full name of a service and a
// TXT record, cut by line feeds. The name is cut at its first plain dot, and a name that was escaped reads
// back; then the three come as a reply, through a DNS-SD library that plays a script, to a small table of
// stations: the one entry that is meant takes it, and the file holds it as its readers take it.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "addressing/harkbonjour.h"
#include "addressing/harkbonjour_private.h"
#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "support/fuzzing.h"
#include "support/scripted_dnssd.h"

namespace {

using hark::harkd_dynamicsources;
using hark::scripted_dnssd;
using hark::fuzz::check;
using Table = std::vector<hark::harkresolvtable_entry>;

constexpr std::uint16_t kPort = 4013;
constexpr std::string_view kType = "_hark._tcp";
constexpr std::array<const char*, 3> kAddresses{"\xC0\x00\x02\x07", "\xFF\xFF\xFF\xFF", "\x0A\x01\x02\x03"};

struct Announced {
  const char* name;
  const char* domain;
};
// One name in two domains, a name inside another, characters that a full name has as escapes, and ones that
// the file cannot hold.
constexpr std::array<Announced, 7> kStations{{
    {"Ann", "local."},
    {"Ann", "example.org."},
    {"Ann B", "local."},
    {"a.b\\c", "local."},
    {"<#\"\n", "local."},
    {"\xE6\x9D\xB1;", "local."},
    {"x", "."},
}};

int g_changes = 0;

std::string escaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code <= ' ' || code >= 0x7F) {
      std::array<char, 5> digits{};
      (void)std::snprintf(digits.data(), digits.size(), "\\%03u", code);
      out += digits.data();
    } else {
      if (c == '.' || c == '\\') out += '\\';
      out += c;
    }
  }
  return out;
}

void cut(std::string_view full_name) {
  const std::string exact(full_name);
  std::string instance = "what was there before";
  const std::string_view rest = hark::cut_full_name(exact, instance);
  check(rest.empty() || rest.front() == '.', "what is left begins with a dot");
  check(rest.data() + rest.size() == exact.data() + exact.size(), "what is left is the end of the name");
  check(instance.size() <= exact.size() - rest.size(), "an escape stands for one character");
  const std::string again = escaped(instance) + std::string(rest);
  std::string instance_again;
  check(hark::cut_full_name(again, instance_again) == rest && instance_again == instance,
        "a name that was escaped reads as it was");
}

// One pass of discovery's part of the loop.
void serve() {
  fd_set set;
  FD_ZERO(&set);
  (void)hark::harkbonjour_addfdset(set);
  check(hark::harkbonjour_processevents(set) == 0, "the library is well");
}

void find_stations() {
  for (const Announced& station : kStations)
    scripted_dnssd.Answer(hark::harkbonjour.dnssvcBrowser,
                          hark::BrowseAnswer{.name = station.name, .domain = station.domain});
  serve();
  check(harkd_dynamicsources.size() == kStations.size(), "each station has an entry");
}

Table table_now() { return {harkd_dynamicsources.begin(), harkd_dynamicsources.end()}; }

bool equal(const hark::harkresolvtable_entry& a, const hark::harkresolvtable_entry& b) {
  return a.host == b.host && a.alt == b.alt && a.trgl == b.trgl && a.rtpa == b.rtpa && a.port == b.port &&
         a.url == b.url && a.addr_query == b.addr_query;
}

// What a full name of `station` is when nothing of it is special: its name, its type and its domain.
bool is_meant(const hark::harkresolvtable_entry& station, std::string_view full_name) {
  std::string instance;
  const std::string_view rest = hark::cut_full_name(full_name, instance);
  return instance == station.name && rest.size() == kType.size() + station.domain.size() + 2 &&
         rest.substr(rest.size() - station.domain.size()) == station.domain;
}

// Which entry the reply is for; -1 for none.
int meant(const Table& table, std::string_view full_name) {
  const auto found =
      std::find_if(table.begin(), table.end(), [&](const auto& entry) { return is_meant(entry, full_name); });
  return found != table.end() ? static_cast<int>(found - table.begin()) : -1;
}

void check_reply(const Table& before, int to, const std::string& host) {
  const Table now = table_now();
  for (std::size_t i = 0; i < now.size(); ++i)
    check(static_cast<int>(i) == to || equal(now[i], before[i]), "a reply is for one station only");
  check(g_changes == (to >= 0 ? 1 : 0), "a reply that is taken is told once");
  if (to < 0) return;
  const hark::harkresolvtable_entry& entry = now[static_cast<std::size_t>(to)];
  check(entry.host == host && entry.port == kPort, "host and port are taken");
  check(host.empty() ? entry.url.empty() && entry.addr_query == nullptr
                     : entry.url.empty() == (entry.addr_query != nullptr),
        "the address is known or asked for");
  check(entry.url.empty() == !(!host.empty() && hark::isipv4(host)), "an address needs no query");
}

// The address of the host, in answer to the query of the entry.
void answer_address(int to, std::string_view txt) {
  const auto entry = std::next(harkd_dynamicsources.begin(), to);
  if (entry->addr_query == nullptr) return;
  const std::string raw(kAddresses[txt.size() % kAddresses.size()], 4);
  const int told = g_changes;
  scripted_dnssd.Answer(entry->addr_query, hark::QueryAnswer{.rdata = raw});
  serve();
  std::array<char, 21> url{};
  const auto* part = reinterpret_cast<const unsigned char*>(raw.data());
  (void)std::snprintf(url.data(), url.size(), "hark:%d.%d.%d.%d", part[0], part[1], part[2], part[3]);
  check(entry->url == url.data() && g_changes == told + 1, "the address that comes is the station's");
}

// One line for each station, none of them longer than its readers take, and the details behind it.
void check_file() {
  std::ifstream file(hark::table_file);
  std::size_t stations = 0;
  for (std::string line; std::getline(file, line);) {
    check(line.size() < hark::kSourceLineSize, "a line of the file is read whole");
    check(std::none_of(line.begin(), line.end(),
                       [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\t'; }),
          "a line of the file has no control characters");
    if (!line.starts_with('\t')) ++stations;
  }
  check(stations == harkd_dynamicsources.size(), "the file has a line for each station");
}

void stop() {
  hark::harkbonjour_cleanup();
  check(scripted_dnssd.Live() == 0, "no reference is left");
  hark::harkbonjour = hark::HarkBonjour();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  scripted_dnssd.on_fault = [](const char* text) { check(false, text); };
  hark::harkbonjour_callback = [] { ++g_changes; };
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 3);
  const std::string host = hark::fuzz::ExactText(parts[0]).c_str();
  const std::string full_name = parts.size() > 1 ? hark::fuzz::ExactText(parts[1]).c_str() : "";
  const std::string txt = parts.size() > 2 ? parts[2] : "";
  cut(full_name);
  cut(txt);

  hark::table_file.clear();  // written for the reply only
  scripted_dnssd.Reset();
  scripted_dnssd.Start();
  scripted_dnssd.ShareDescriptor();
  check(hark::harkbonjour_initialize(0, 0, nullptr) == 0, "discovery starts");
  find_stations();
  g_changes = 0;
  hark::table_file = hark::fuzz::temp_folder() + "/table";
  const Table before = table_now();
  const int to = meant(before, full_name);
  scripted_dnssd.Answer(harkd_dynamicsources.back().resolver,
                        hark::ResolveAnswer{.full_name = full_name, .host = host, .port = kPort, .txt = txt});
  serve();
  check_reply(before, to, host);
  if (to >= 0) {
    answer_address(to, txt);
    check_file();
  }
  hark::table_file.clear();
  stop();
  return 0;
}

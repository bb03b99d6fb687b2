// The house of a sequence: its stations and shifts, and what the operator makes of the files.
#include <algorithm>

#include "panel/property_steps.h"

namespace hark {
namespace {

using reference::Section;
using reference::Source;

constexpr const char* kNobody = "Nobody";  // a label that no station has

// Every kind of source: with contacts and without, with a listen that opens itself, of a higher and of a
// lower level, with a far device that has to confirm, with far ends that acknowledge, and a station that no
// call reaches: its address is a name.
std::vector<Source> house_stations() {
  return {{"Air", "quillnet:239.192.0.1", "gpio=1;gpiol=1;gpiot=2", "On air"},
          {"Bea", "quillnet:239.192.0.2", "gpio=2;gpiot=1;llsn=1", ""},
          {"Cue", "quillnet:239.192.0.3", "", ""},
          {"Dia", "quillnet:239.192.0.4", "llsn=1", ""},
          {"Eve", "quillnet:239.192.0.5", "gpio=3;gpiol=2;gpiot=1;trgl=6", ""},
          {"Fox", "quillnet:239.192.0.6", "ifb=10.0.0.9", ""},
          {"Gus", "quillnet:239.192.0.7", "gpio=4;gpiol=1;gpiot=2;gpioack=1", ""},
          {"Hal", "hark:hal.example", "trgl=2", "Hall"},
          {"Ida", "quillnet:239.192.0.9", "gpio=5;gpiol=1;gpiot=2;trgl=1", ""},
          {"Jan", "quillnet:239.192.0.10", "gpio=6;gpiol=1;gpiot=2", ""},
          {"Kim", "quillnet:239.192.0.11", "gpio=7;gpiol=1;gpiot=1", "Kimberly"},
          {"Leo", "quillnet:239.192.0.12", "gpio=8;gpiol=1;gpiot=2", ""},
          {"Middlesexx", "quillnet:239.192.0.13", "gpio=9;gpiol=3;gpiot=2", ""}};
}

std::vector<Source> all_stations(int guests, bool confirmed_contacts) {
  std::vector<Source> stations = house_stations();
  if (confirmed_contacts) stations[0].tags = "gpio=1;gpiol=1;gpiot=2;gpioack=1;ifb=10.0.0.10";
  for (int i = 0; i < guests; ++i)
    stations.push_back({"Guest" + std::to_string(i), "quillnet:239.193.0." + std::to_string(i),
                        "gpio=20;gpiol=1;gpiot=2", ""});
  return stations;
}

// Every station of the house on a key of its own, nothing barred, and all of them in the group.
Section clean_section() {
  Section section{"Clean", {}, {}};
  int number = 0;
  for (const Source& source : house_stations()) {
    section.keys[++number] = {source.name, std::nullopt, 0};
    section.group.push_back(source.name);
  }
  return section;
}

}  // namespace

RandomUse::RandomUse(const Scenario& scenario)
    : scenario_(scenario),
      rng_(scenario.seed),
      stations_(all_stations(scenario.guests, scenario.confirmed_contacts)) {
  const std::uint32_t skew_ms = static_cast<std::uint32_t>(rng_());
  bench_ =
      std::make_unique<Bench>(reference::Sources{stations_, {}},
                              reference::ChannelFile{true, RandomChannels()}, scenario.console_type, skew_ms);
}

std::string RandomUse::RandomLabel() {
  return Chance(5) ? kNobody : stations_[static_cast<std::size_t>(Pick(kHouse))].name;
}

Section RandomUse::RandomSection(const std::string& shift) {
  Section section{shift, {}, {}};
  for (int number = 1; number <= kBenchKeys; ++number) {
    if (Chance(40)) continue;
    reference::Assignment& entry = section.keys[number];
    entry.label = RandomLabel();
    if (Chance(5)) entry.url = "*hark:nobody.example";
    if (Chance(4)) entry = {std::nullopt, "hark:other.example", 0};
    if (Chance(15)) entry.flags = static_cast<unsigned>(1 + Pick(15));
  }
  for (int i = 0; i < kHouse; ++i) {
    if (Chance(25)) section.group.push_back(stations_[static_cast<std::size_t>(i)].name);
  }
  if (Chance(20)) section.group.emplace_back(kNobody);
  return section;
}

// Always with the shift that a sequence ends in.
std::vector<Section> RandomUse::RandomChannels() {
  std::vector<Section> sections;
  if (Chance(20)) sections.push_back(RandomSection(""));
  for (const char* shift : {"Day", "Night"}) {
    if (Chance(85)) sections.push_back(RandomSection(shift));
  }
  sections.push_back(clean_section());
  if (Chance(15)) {
    // A second section of one shift, which is read as a part of the first.
    Section more{"Day", {}, {}};
    more.keys[1 + Pick(kBenchKeys)] = {RandomLabel(), std::nullopt, 0};
    sections.push_back(more);
  }
  return sections;
}

bool RandomUse::IsBusy(const Source& source) const {
  const reference::Station& now = bench_->Reference();
  const auto same = [&](const reference::Line& line) {
    return !line.url.empty() && reference::address_of(line.url) == source.address;
  };
  return now.status_of(source.name) != 0 ||
         std::any_of(now.calls.listen.begin(), now.calls.listen.end(), same) ||
         std::any_of(now.calls.talk.begin(), now.calls.talk.end(), same);
}

std::vector<Source> RandomUse::RandomSources() {
  std::vector<Source> sources;
  for (const Source& source : stations_) {
    const auto& file = bench_->Reference().sources.file;
    const auto now =
        std::find_if(file.begin(), file.end(), [&](const Source& s) { return s.name == source.name; });
    if (scenario_.careful_operator && IsBusy(source)) {
      if (now != file.end()) sources.push_back(*now);
      continue;
    }
    if (Chance(4)) continue;  // gone from the house
    sources.push_back(source);
    if (Chance(10)) sources.back().alt = "Other";
    // What the first call of a station by SIP teaches takes the place of its line. A refresh that makes this
    // call goes on with the line as it read it, so that tags that open a listen would tell the keys apart.
    if (!reference::is_routed(source.url())) continue;
    if (Chance(10)) sources.back().tags = "gpio=11;gpiot=1";
    if (Chance(5)) sources.back().tags = "";
    if (Chance(5)) sources.back().tags = "llsn=1;gpio=12;gpiol=1;gpiot=1";
  }
  if (!scenario_.careful_operator && Chance(20) && sources.size() > 1)
    std::swap(sources[0].address, sources[1].address);
  return sources;
}

void RandomUse::Finish() {
  bench_->Settle(stations_, clean_section());
  bench_->CheckAllSilent();
}

}  // namespace hark

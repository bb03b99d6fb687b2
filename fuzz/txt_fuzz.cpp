// The TXT record of a station, of which anybody on the network can send any: an input is the record. What is
// taken is what a plain walk over the items finds, all else stays as it was, and a record that is written
// from what was taken reads back the same.
#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "addressing/harkbonjour_private.h"
#include "support/fuzzing.h"

namespace {

using hark::fuzz::check;

constexpr std::size_t kLongestAlt = 251;  // an item has 255 bytes, its key four of them
constexpr int kKnownLevel = 4;            // plus one, as an entry holds it
constexpr in_addr_t kKnownAddress = 0x4D00C0EF;

hark::harkresolvtable_entry known_station() {
  hark::harkresolvtable_entry entry;
  entry.name = "Studio A";
  entry.domain = "local.";
  entry.host = "studio-a.local.";
  entry.url = "hark:10.0.0.7";
  entry.port = 4013;
  entry.alt = "Gate";
  entry.trgl = kKnownLevel;
  entry.rtpa = kKnownAddress;
  return entry;
}

// The items of a record, up to the first that is longer than what is left.
std::vector<std::string> items_of(std::string_view record) {
  std::vector<std::string> items;
  for (std::size_t at = 0; at < record.size();) {
    const auto length = static_cast<unsigned char>(record[at++]);
    if (at + length > record.size()) break;
    items.emplace_back(record.substr(at, length));
    at += length;
  }
  return items;
}

bool is_item(const std::string& item, const char* key, std::size_t value_size) {
  return item.starts_with(key) && item.size() == std::string_view(key).size() + value_size;
}

void check_taken(const std::vector<std::string>& items, const hark::harkresolvtable_entry& entry) {
  hark::harkresolvtable_entry want = known_station();
  for (const std::string& item : items) {
    if (item.starts_with("ALT=")) want.alt = item.substr(4);
    if (is_item(item, "TRGL", 2)) want.trgl = static_cast<unsigned char>(item[5]);
    if (is_item(item, "RTPA=", 4))
      std::copy_n(item.begin() + 5, sizeof want.rtpa, reinterpret_cast<char*>(&want.rtpa));
  }
  check(entry.alt == want.alt && entry.alt.size() <= kLongestAlt, "the last alternate text is taken");
  check(entry.trgl == want.trgl, "the last level of one byte is taken");
  check(entry.rtpa == want.rtpa, "the last address of four bytes is taken");
  check(entry.name == want.name && entry.domain == want.domain && entry.host == want.host &&
            entry.url == want.url && entry.port == want.port && entry.resolver == nullptr &&
            entry.addr_query == nullptr && !entry.learned,
        "a record tells nothing else");
}

// What is announced of `alt`, `level` (zero-based) and `rtpa`, as another station takes it.
void announce(const std::string& alt, int level, in_addr_t rtpa) {
  std::vector<unsigned char> out(hark::kTxtSize);
  const std::span<unsigned char, hark::kTxtSize> room(out.data(), hark::kTxtSize);
  const std::size_t length = hark::make_txt(alt, level, rtpa, room);
  check(length <= out.size(), "a record fits its buffer");
  out.resize(length);
  out.shrink_to_fit();
  std::size_t items_length = 0;
  for (const std::string& item : items_of({reinterpret_cast<const char*>(out.data()), out.size()}))
    items_length += 1 + item.size();
  check(items_length == length, "the items of a record that is written are whole");
  hark::harkresolvtable_entry read;
  hark::take_txt(out, read);
  check(read.alt == alt.substr(0, kLongestAlt), "an alternate text reads back, cut where an item ends");
  check(read.rtpa == rtpa, "an address reads back");
  const auto trgl = static_cast<unsigned char>(level + 1);
  check(read.trgl == (level != 0 ? trgl : 0U), "a level reads back as itself plus one, the lowest as none");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Of its exact size, as the library hands it over.
  const std::vector<unsigned char> record(data, data + size);
  const std::vector<std::string> items = items_of(hark::fuzz::as_text(data, size));
  hark::harkresolvtable_entry entry = known_station();
  hark::take_txt(record, entry);
  check_taken(items, entry);
  hark::take_txt(record, entry);
  check_taken(items, entry);
  announce(entry.alt, static_cast<int>(entry.trgl) - 1, entry.rtpa);
  announce(std::string(hark::fuzz::as_text(data, size)), kKnownLevel - 1, entry.rtpa);
  return 0;
}

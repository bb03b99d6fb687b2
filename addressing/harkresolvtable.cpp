#include "addressing/harkresolvtable.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "addressing/sources.h"
#include "daemon/qnrlib/textfile.h"
#include "daemon/station/station.h"

namespace hark {

harkresolvtable harkd_dynamicsources;
std::string table_file = "/var/tmp/orfehark-bonjour.tbl";
void (*bonjour_harkresolvtable_free_entry_callback)(harkresolvtable_entry& entry) = nullptr;

namespace {

constexpr std::size_t kMostStations = 1000;

auto find_exact(harkresolvtable& table, std::string_view name, std::string_view domain) {
  return std::find_if(table.begin(), table.end(), [&](const harkresolvtable_entry& entry) {
    return entry.name == name && entry.domain == domain;
  });
}

// Readers take lines of a limited length. What is beyond it must not be read as a line of its own.
void append_line(std::string& text, std::string_view line) {
  text.append(line.substr(0, kSourceLineSize - 1)).append("\n");
}

void append_detail(std::string& text, std::string_view name, std::string_view value) {
  append_line(text, "\t" + std::string(name) + " " + table_text(value));
}

void append_entry(std::string& text, const harkresolvtable_entry& entry) {
  std::string line = table_name(entry.name);
  // The blank belongs to the layout: without it a reader cuts the name's last character.
  if (!entry.url.empty() || entry.trgl != 0) line += " <" + table_text(entry.url) + ">";
  if (entry.trgl != 0) line += ";trgl=" + std::to_string(entry.trgl);
  append_line(text, line);
  if (!entry.domain.empty() && entry.domain != kLocalDomain) append_detail(text, "domain", entry.domain);
  if (!entry.alt.empty()) append_detail(text, "alt", entry.alt);
  if (entry.port != 0) append_detail(text, "harkd", std::to_string(entry.port));
  if (entry.rtpa != 0) append_detail(text, "rtpa", dotted(entry.rtpa).data());
}

void make_room(harkresolvtable& table) {
  if (table.size() < kMostStations) return;
  const auto oldest = std::find_if(table.rbegin(), table.rend(),
                                   [](const harkresolvtable_entry& entry) { return entry.learned; });
  if (oldest != table.rend()) harkresolvtable_free_entry(table, std::prev(oldest.base()));
}

}  // namespace

std::string table_text(std::string_view text) {
  std::string line(text);
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < ' '; };
  std::replace_if(line.begin(), line.end(), is_control, '?');
  return line;
}

std::string table_name(std::string_view name) {
  std::string text = table_text(name);
  std::replace(text.begin(), text.end(), '<', '?');
  if (!text.empty() && (text[0] == '#' || text[0] == '"')) text[0] = '?';
  return text;
}

harkresolvtable_entry& harkresolvtable_add(harkresolvtable& table, std::string_view name,
                                           std::string_view domain) {
  for (harkresolvtable_entry& entry : table) {
    if (entry.name == name && (domain.empty() || entry.domain == domain)) return entry;
  }
  harkresolvtable_entry& entry = table.emplace_front();
  entry.name = name;
  entry.domain = domain;
  harkresolvtable_write(table);
  return entry;
}

harkresolvtable_entry& harkresolvtable_learn(harkresolvtable& table, std::string_view name) {
  if (harkresolvtable_entry* known = harkresolvtable_lookup(table, name, kLocalDomain)) return *known;
  make_room(table);
  harkresolvtable_entry& entry = harkresolvtable_add(table, name, kLocalDomain);
  entry.learned = true;
  return entry;
}

void harkresolvtable_remove(harkresolvtable& table, std::string_view name, std::string_view domain) {
  const auto entry = find_exact(table, name, domain);
  if (entry == table.end()) return;
  harkresolvtable_free_entry(table, entry);
  harkresolvtable_write(table);
}

harkresolvtable_entry* harkresolvtable_lookup(harkresolvtable& table, std::string_view name,
                                              std::string_view domain) {
  const auto entry = find_exact(table, name, domain);
  return entry != table.end() ? &*entry : nullptr;
}

void harkresolvtable_free_entry(harkresolvtable& table, harkresolvtable::iterator entry) {
  if (bonjour_harkresolvtable_free_entry_callback != nullptr)
    bonjour_harkresolvtable_free_entry_callback(*entry);
  table.erase(entry);
}

void harkresolvtable_write(const harkresolvtable& table) {
  if (table_file.empty()) return;
  std::string text;
  for (const harkresolvtable_entry& entry : table)
    append_entry(text, entry);
  if (replace_text_file(table_file, text)) return;
  (void)std::fprintf(stderr, "harkresolvtable File create error %s\n", table_file.c_str());
}

}  // namespace hark

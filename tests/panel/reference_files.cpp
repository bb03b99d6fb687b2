// Written for clearness, not for speed: every question walks the lists.
#include "panel/reference_files.h"

#include <sys/stat.h>

#include <algorithm>

namespace hark::reference {

std::string Source::url() const { return name + " <" + address + ">" + (tags.empty() ? "" : ";" + tags); }

std::string address_of(const std::string& url) {
  const std::size_t begin = url.find('<') + 1;
  return url.substr(begin, url.find('>') - begin);
}

std::string tag_of(const std::string& url, const std::string& tag) {
  const std::size_t found = (url + ";").find(";" + tag + "=");
  if (found >= url.size()) return "";
  const std::size_t begin = found + tag.size() + 2;
  return url.substr(begin, url.find(';', begin) - begin);
}

long number_of(const std::string& url, const std::string& tag) {
  const std::string value = tag_of(url, tag);
  return value.empty() ? 0 : std::stol(value);
}

bool is_routed(const std::string& url) { return address_of(url).starts_with("quillnet:"); }

std::string Sources::text() const {
  std::string out = "# stations of the house\n\n";
  for (const Source& source : file) {
    out += source.url() + "\n";
    if (!source.alt.empty()) out += "\talt " + source.alt + "\n";
  }
  return out;
}

std::string Sources::url_of(const std::string& label) const {
  if (label.empty()) return "";
  for (const auto* list : {&learned, &file}) {
    for (const Source& source : *list) {
      if (source.name == label) return source.url();
    }
  }
  return "";
}

std::string Sources::label_of(const std::string& url) const {
  for (const auto* list : {&learned, &file}) {
    for (const Source& source : *list) {
      if (source.address == address_of(url)) return source.name;
    }
  }
  return "";
}

void Sources::learn(const std::string& url) {
  if (is_routed(url)) return;
  const std::string name = url.substr(0, url.find(" <"));
  auto found = std::find_if(learned.begin(), learned.end(), [&](const Source& s) { return s.name == name; });
  if (found == learned.end()) found = learned.insert(learned.begin(), Source{name, "", "", ""});
  const long level = number_of(url, "trgl");
  found->address = address_of(url);
  found->tags = level != 0 ? "trgl=" + std::to_string(level) : "";
}

std::string Table::label(int i) const {
  if (i < 0 || i >= static_cast<int>(entries.size())) return "";
  return entries[static_cast<std::size_t>(i)].label.value_or("");
}

bool Table::has_label(const std::string& label) const {
  return std::any_of(entries.begin(), entries.end(),
                     [&](const Assignment& entry) { return entry.label == label; });
}

std::string ChannelFile::text() const {
  std::string out;
  for (const Section& section : sections) {
    // Lines in front of the first section are those of the shift without a name.
    if (!section.shift.empty()) out += "SHIFT LABL:\"" + section.shift + "\"\n";
    for (const auto& [number, entry] : section.keys) {
      out += "HARKCH " + std::to_string(number);
      if (entry.label) out += " LABL:\"" + *entry.label + "\"";
      if (entry.url) out += " URL:\"" + *entry.url + "\"";
      if (entry.flags != 0) out += " FLAGS:" + std::to_string(entry.flags);
      out += "\n";
    }
    for (const std::string& member : section.group)
      out += "HARKGR 1 LABL:\"" + member + "\"\n";
    out += "\n";
  }
  return out;
}

Table ChannelFile::load(const std::string& shift, int nkeys) const {
  Table table;
  table.entries.resize(static_cast<std::size_t>(nkeys));
  for (const Section& section : sections) {
    if (section.shift != shift) continue;
    for (const auto& [number, entry] : section.keys) {
      if (number >= 1 && number <= nkeys) table.entries[static_cast<std::size_t>(number) - 1] = entry;
    }
    for (const std::string& member : section.group)
      table.group.push_front(member);
  }
  return table;
}

// Kept in the file of an entry: a label and a URL that are not empty, the URL not a transient one ("*..."),
// and flags only beside a label or URL in memory.
void ChannelFile::save(const std::string& shift, const Table& table) {
  Section written{shift, {}, {table.group.begin(), table.group.end()}};
  for (std::size_t i = 0; i < table.entries.size(); ++i) {
    Assignment entry = table.entries[i];
    if (!entry.label && !entry.url) continue;
    if (entry.label == "") entry.label.reset();
    if (entry.url && (entry.url->empty() || entry.url->starts_with("*"))) entry.url.reset();
    if (entry.label || entry.url || entry.flags != 0) written.keys[static_cast<int>(i) + 1] = entry;
  }
  exists = true;
  const auto same = [&](const Section& section) { return section.shift == shift; };
  auto first = std::find_if(sections.begin(), sections.end(), same);
  if (first == sections.end()) {
    sections.push_back(written);
    return;
  }
  *first = written;
  sections.erase(std::remove_if(first + 1, sections.end(), same), sections.end());
}

std::string ChannelFile::default_shift() const {
  for (const Section& section : sections) {
    if (!section.shift.empty()) return section.shift;
  }
  return "";
}

long long file_time(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return 0;
  return status.st_mtim.tv_sec * 1'000'000'000LL + status.st_mtim.tv_nsec;
}

}  // namespace hark::reference

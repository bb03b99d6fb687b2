// The channel file: an input is the name of a shift (first line) and the file. The shift's table that is
// loaded, saved and loaded again is the same one; what the file holds of other shifts stays byte for byte,
// also when the table is saved as a new shift.
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "daemon/qnrlib/tagtext.h"
#include "panel/ChannelAssignmentTable.h"
#include "support/fuzzing.h"

namespace {

using hark::ChannelAssignment;
using hark::ChannelAssignmentTable;
using hark::Label;
using hark::fuzz::check;

constexpr int kKeys = 90;
constexpr std::size_t kLongestLine = 1999;
constexpr std::size_t kLabelLength = 10;
constexpr std::size_t kLongestSuffix = std::string_view(" (999)").size();

const std::string& path() {
  static const std::string file = hark::fuzz::temp_folder() + "/harkch.conf";
  return file;
}

void write_file(const std::string& text) {
  std::ofstream file(path(), std::ios::trunc);
  file << text;
  check(file.good(), "the file can be written");
}

std::string read_file() {
  std::ifstream file(path());
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// The lines of a file with their ends, none longer than a reader takes at once.
std::vector<std::string> pieces(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    const std::size_t length = end == std::string::npos || end - at > kLongestLine
                                   ? std::min(kLongestLine, text.size() - at)
                                   : end - at + 1;
    lines.push_back(text.substr(at, length));
    at += length;
  }
  return lines;
}

// Whether a line begins a section that has a name, and that name.
bool begins_section(const std::string& line, std::string& label) {
  if (!line.starts_with("SHIFT ")) return false;
  const std::string text = line.substr(0, line.find_first_of("\r\n"));
  const char* value = hark::qnr_findval(text.c_str() + std::string_view("SHIFT ").size(), "LABL");
  if (value == nullptr) return false;
  Label name{};
  hark::qnr_copyval(name.data(), value, static_cast<int>(name.size()));
  label = name.data();
  return true;
}

// The file without the sections of `shift`.
std::string without_shift(const std::string& text, const std::string& shift) {
  std::string rest;
  std::string label;
  bool skipping = false;
  for (const std::string& line : pieces(text)) {
    if (begins_section(line, label)) skipping = label == shift;
    if (!skipping) rest += line;
  }
  return rest;
}

// Texts are written as they are, between quotes: what would end them early, or make a line too long for its
// reader, does not read back.
bool reads_back(const std::string& text) {
  return text.find_first_of("\"\\") == std::string::npos && text.size() < kLongestLine / 4;
}

bool reads_back(const ChannelAssignmentTable& table) {
  const auto entry_reads_back = [](const ChannelAssignment& entry) {
    return reads_back(entry.label.value_or("")) && reads_back(entry.url.value_or(""));
  };
  return std::all_of(table.entries.begin(), table.entries.end(), entry_reads_back) &&
         std::all_of(table.group.begin(), table.group.end(),
                     [](const std::string& s) { return reads_back(s); });
}

// What a file can hold of an entry: no transient URL, and flags only beside a label or a URL.
ChannelAssignment as_saved(ChannelAssignment entry) {
  if (!entry.label && !entry.url) return {};
  if (entry.url && entry.url->starts_with('*')) entry.url.reset();
  return entry;
}

void check_same_table(const ChannelAssignmentTable& saved, const ChannelAssignmentTable& loaded) {
  check(saved.size() == loaded.size(), "a table keeps its size");
  for (std::size_t i = 0; i < saved.entries.size(); ++i) {
    const ChannelAssignment wanted = as_saved(saved.entries[i]);
    const ChannelAssignment& got = loaded.entries[i];
    check(wanted.label == got.label && wanted.url == got.url && wanted.flags == got.flags,
          "an entry reads back as it was");
  }
  check(std::equal(saved.group.begin(), saved.group.end(), loaded.group.rbegin(), loaded.group.rend()),
        "the group reads back the other way round");
}

std::unique_ptr<ChannelAssignmentTable> load(const std::string& shift) {
  auto table = hark::ChannelAssignmentTableAlloc(kKeys);
  check(table != nullptr, "a table is made");
  check(hark::ChannelAssignmentTableLoad(path(), shift.c_str(), *table) == 0, "the file is loaded");
  for (const ChannelAssignment& entry : table->entries)
    check(entry.label != "" && entry.url != "", "a text that is empty is none");
  return table;
}

// In its own place. Lines in front of the first section belong to the shift without a name and are nobody's
// to replace, so that only a shift with a name reads back.
void save_again(const std::string& shift, const std::string& before, const ChannelAssignmentTable& table) {
  check(hark::ChannelAssignmentTableSave(path(), shift.c_str(), nullptr, table) == 0, "the table is saved");
  const std::string after = read_file();
  std::string kept = without_shift(before, shift);
  // A new section begins on a line of its own.
  const bool is_new = kept == before;
  if (is_new && !kept.empty() && kept.back() != '\n') kept += '\n';
  check(without_shift(after, shift) == kept, "what belongs to other shifts stays byte for byte");
  check(!is_new || after.starts_with(kept), "a new section goes behind all others");
  if (!shift.empty() && reads_back(table)) check_same_table(table, *load(shift));
}

// As a further section.
void save_as_new(const std::string& shift, const std::string& before, const ChannelAssignmentTable& table) {
  write_file(before);
  std::vector<std::string> old_names;
  hark::for_each_shift(path(), [&](const char* label) { old_names.emplace_back(label); });
  check(hark::ChannelAssignmentTableSave(path(), nullptr, shift.c_str(), table) == 0, "the table is saved");
  const std::string after = read_file();
  check(after.starts_with(before), "a further section leaves all others");
  std::vector<std::string> names;
  hark::for_each_shift(path(), [&](const char* label) { names.emplace_back(label); });
  check(names.size() == old_names.size() + 1, "there is one section more");
  const std::string& name = names.back();
  check(std::find(old_names.begin(), old_names.end(), name) == old_names.end(),
        "its name is new in the file");
  const std::size_t kept = std::min(shift.size(), kLabelLength - kLongestSuffix);
  check(name.size() <= kLabelLength && name.starts_with(shift.substr(0, kept)), "its name is like the wish");
  if (!name.empty() && reads_back(table)) check_same_table(table, *load(name));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 2);
  parts.resize(2);
  std::string shift = parts[0].substr(0, parts[0].find_first_of(std::string_view("\r\0", 2)));
  shift.resize(std::min(shift.size(), kLabelLength));
  write_file(parts[1]);
  Label first = hark::GetDefaultShift(path());
  const auto end = std::find(first.begin(), first.end(), '\0');
  check(end != first.end(), "the first shift's name is terminated");
  if (shift == "*") shift = first.data();  // whatever the file begins with
  const auto table = load(shift);
  save_again(shift, parts[1], *table);
  save_as_new(shift, parts[1], *table);
  return 0;
}

#include "panel/ChannelAssignmentTable.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/qnrlib/textfile.h"

namespace hark {
namespace {

constexpr std::size_t kLongestLine = 1999;
constexpr std::size_t kLabelLength = kLabelSize - 1;
constexpr unsigned long kGroup = 1;  // the one group of a shift
constexpr int kMostNames = 1000;     // attempts at a unique label
constexpr std::string_view kShift = "SHIFT ";
constexpr std::string_view kKey = "HARKCH ";
constexpr std::string_view kGroupMember = "HARKGR ";

using Line = std::array<char, kLongestLine + 1>;

// The values behind `keyword` if the line begins with it, else null.
const char* values_of(const char* line, std::string_view keyword) {
  return std::string_view(line).starts_with(keyword) ? line + keyword.size() : nullptr;
}

std::string_view cut(const char* label) {
  return label != nullptr ? std::string_view(label).substr(0, kLabelLength) : std::string_view();
}

// Calls `act(piece, text)` for each line: as it stands in the file, and as a text without its line end.
template <typename Act>
void for_each_line(const std::string& content, Act act) {
  TextLines lines(content, kLongestLine);
  Line text;
  while (const std::optional<std::string_view> piece = lines.next()) {
    copy_text(text, without_line_end(*piece));
    act(*piece, text.data());
  }
}

// The label of a section line; none when it has no label or is no such line.
std::optional<Label> section_label(const char* line) {
  const char* value = qnr_findval(values_of(line, kShift), "LABL");
  if (value == nullptr) return std::nullopt;
  Label label{};
  qnr_copyval(label.data(), value, kLabelSize);
  return label;
}

std::optional<std::string> text_value(const char* values, const char* tag) {
  const std::unique_ptr<char[]> value(qnr_valdup(qnr_findval(values, tag)));
  return value ? std::optional<std::string>(value.get()) : std::nullopt;
}

std::uint32_t flags_value(const char* values) {
  const char* value = qnr_findval(values, "FLAGS");
  if (value == nullptr) return 0;
  return static_cast<std::uint32_t>(std::strtoul(*value == '"' ? value + 1 : value, nullptr, 0));
}

void load_key(const char* values, ChannelAssignmentTable& table) {
  const unsigned long key = std::strtoul(values, nullptr, 0);
  if (key < 1 || key > table.entries.size()) return;
  table.entries[key - 1] = {text_value(values, "LABL"), text_value(values, "URL"), flags_value(values)};
}

void load_member(const char* values, ChannelAssignmentTable& table) {
  if (std::strtoul(values, nullptr, 0) != kGroup) return;
  if (std::optional<std::string> label = text_value(values, "LABL"))
    table.group.push_front(std::move(*label));
}

void ChannelAssignmentTableClear(ChannelAssignmentTable& table) {
  table.entries.assign(table.entries.size(), {});
  table.group.clear();
}

// The line of one key, empty when there is nothing to tell. Kept: labels and URLs are written raw, so that a
// quote in one breaks its line; readers of the file know no escapes there.
std::string key_line(int key, const ChannelAssignment& entry) {
  if (!entry.label && !entry.url) return {};
  std::string fields;
  if (entry.label && !entry.label->empty()) fields += " LABL:\"" + *entry.label + "\"";
  const bool transient = entry.url && entry.url->starts_with('*');
  if (entry.url && !entry.url->empty() && !transient) fields += " URL:\"" + *entry.url + "\"";
  if (entry.flags != 0) fields += " FLAGS:" + std::to_string(static_cast<std::int32_t>(entry.flags));
  return fields.empty() ? fields : "HARKCH " + std::to_string(key) + fields + "\n";
}

// A section with its heading and the empty line that ends it. Kept: the group is written in the order of the
// list, which loading has turned round, so that each load and save turns it round once more.
std::string ChannelAssignmentWriteShift(std::string_view label, const ChannelAssignmentTable& table) {
  std::array<char, 2 * kLabelSize> escaped;
  qnr_escape(escaped.data(), static_cast<int>(escaped.size()), std::string(label).c_str());
  std::string section = "SHIFT LABL:\"" + std::string(escaped.data()) + "\"\n";
  int key = 0;
  for (const ChannelAssignment& entry : table.entries)
    section += key_line(++key, entry);
  for (const std::string& member : table.group)
    section += "HARKGR 1 LABL:\"" + member + "\"\n";
  return section + "\n";
}

bool ShiftLabelUniqueCheck(const std::string& content, std::string_view label) {
  bool unique = true;
  for_each_line(content, [&](std::string_view, const char* line) {
    const std::optional<Label> other = section_label(line);
    if (other && label == other->data()) unique = false;
  });
  return unique;
}

// `label` with " (1)", " (2)" and so on behind it until the file has no such section. A label that is cut to
// make room stays cut for the longer numbers.
std::string ShiftLabelUnique(const std::string& content, std::string_view label) {
  std::string base(label);
  std::string unique = base;
  for (int k = 1; k < kMostNames && !ShiftLabelUniqueCheck(content, unique); ++k) {
    const std::string suffix = " (" + std::to_string(k) + ")";
    base.resize(std::min(base.size(), kLabelLength - suffix.size()));
    unique = base + suffix;
  }
  return unique;
}

// The old file with all sections `shift` (null: none) replaced by `section` at the place of the first, or
// with `section` behind it.
std::string replace_section(const std::string& content, const char* shift, const std::string& section) {
  std::string result;
  bool skipping = false;
  bool written = false;
  for_each_line(content, [&](std::string_view piece, const char* line) {
    if (const std::optional<Label> label = section_label(line); label && shift != nullptr) {
      skipping = cut(shift) == label->data();
      if (skipping && !written) {
        result += section;
        written = true;
      }
    }
    if (!skipping) result += piece;
  });
  if (written) return result;
  if (!result.empty() && result.back() != '\n') result += '\n';
  return result + section;
}

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0 || errno != ENOENT; }

}  // namespace

std::string_view ChannelAssignmentTable::label(int i) const {
  if (i < 0 || i >= size()) return {};
  const std::optional<std::string>& text = entries[static_cast<std::size_t>(i)].label;
  return text ? std::string_view(*text) : std::string_view();
}

bool ChannelAssignmentTable::has_label(std::string_view label) const {
  return std::any_of(entries.begin(), entries.end(), [label](const ChannelAssignment& entry) {
    return entry.label && *entry.label == label;
  });
}

std::unique_ptr<ChannelAssignmentTable> ChannelAssignmentTableAlloc(int n) {
  if (n < 1) return nullptr;
  auto table = std::make_unique<ChannelAssignmentTable>();
  table->entries.resize(static_cast<std::size_t>(n));
  return table;
}

int ChannelAssignmentTableLoad(const std::string& path, const char* shift, ChannelAssignmentTable& table) {
  const std::optional<std::string> content = read_text_file(path);
  if (!content) return -1;
  ChannelAssignmentTableClear(table);
  Label current{};
  for_each_line(*content, [&](std::string_view, const char* line) {
    if (values_of(line, kShift) != nullptr) current = section_label(line).value_or(Label{});
    if (cut(shift) != current.data()) return;
    if (const char* key = values_of(line, kKey)) load_key(key, table);
    if (const char* member = values_of(line, kGroupMember)) load_member(member, table);
  });
  return 0;
}

int ChannelAssignmentTableSave(const std::string& path, const char* shift, const char* newshift,
                               const ChannelAssignmentTable& table) {
  const std::optional<std::string> old = read_text_file(path);
  // A file that is there and cannot be read holds other shifts: it is not written over.
  if (!old && exists(path)) return -1;
  std::string label(cut(newshift != nullptr && *newshift != '\0' ? newshift : shift));
  if (old && (shift == nullptr || label != cut(shift))) label = ShiftLabelUnique(*old, label);
  const std::string section = ChannelAssignmentWriteShift(label, table);
  return replace_text_file(path, replace_section(old.value_or(""), shift, section)) ? 0 : -1;
}

void ChannelAssignmentTableSet(ChannelAssignmentTable& table, int i, const char* url, const char* label) {
  ChannelAssignment& entry = table.entries[static_cast<std::size_t>(i)];
  entry.url = url != nullptr ? std::optional<std::string>(url) : std::nullopt;
  entry.label = label != nullptr ? std::optional<std::string>(label) : std::nullopt;
}

Label GetDefaultShift(const std::string& path) {
  std::optional<Label> first;
  for_each_line(read_text_file(path).value_or(""), [&first](std::string_view, const char* line) {
    if (!first) first = section_label(line);
  });
  return first.value_or(Label{});
}

void for_each_shift(const std::string& path, const std::function<void(const char*)>& shift) {
  for_each_line(read_text_file(path).value_or(""), [&shift](std::string_view, const char* line) {
    if (const std::optional<Label> label = section_label(line)) shift(label->data());
  });
}

}  // namespace hark

// A channel assignment file in a folder of the test's own, and a table in a form that can be compared: one
// text with a line for each key that has anything, and one for the group.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/scratch_folder.h"
#include "panel/ChannelAssignmentTable.h"

namespace hark {

class ChannelFile : public ::testing::Test {
 protected:
  static constexpr int kKeys = 90;

  // "7 'Bob' 'hark:1' 5\n" of each key that has anything ("-": no text), then "group 'Ann' 'Bob'\n" if there
  // is a group, its head first.
  static std::string Shown(const ChannelAssignmentTable& table) {
    const auto text = [](const std::optional<std::string>& t) {
      return t ? "'" + *t + "'" : std::string("-");
    };
    std::string shown;
    for (int i = 0; i < table.size(); ++i) {
      const ChannelAssignment& key = table.entries[static_cast<std::size_t>(i)];
      if (!key.label && !key.url && key.flags == 0) continue;
      shown += std::to_string(i + 1) + " " + text(key.label) + " " + text(key.url) + " " +
               std::to_string(key.flags) + "\n";
    }
    if (table.group.empty()) return shown;
    shown += "group";
    for (const std::string& label : table.group)
      shown += " '" + label + "'";
    return shown + "\n";
  }

  [[nodiscard]] std::string path() const { return folder_.File("harkch.conf"); }
  void File(const std::string& text) { folder_.Write("harkch.conf", text); }
  [[nodiscard]] std::string File() const { return folder_.Read("harkch.conf"); }

  // The section `shift` of the file, as Shown; "-1" when it cannot be loaded.
  [[nodiscard]] std::string Load(const char* shift) const {
    const auto table = ChannelAssignmentTableAlloc(kKeys);
    return ChannelAssignmentTableLoad(path(), shift, *table) == 0 ? Shown(*table) : "-1";
  }
  int Save(const char* shift, const char* newshift, const ChannelAssignmentTable& table) const {
    return ChannelAssignmentTableSave(path(), shift, newshift, table);
  }
  // A table whose key 1 has this label.
  static ChannelAssignmentTable Table(const std::string& label) {
    ChannelAssignmentTable table = *ChannelAssignmentTableAlloc(kKeys);
    table.entries[0].label = label;
    return table;
  }
  // The labels of the file's sections, in order.
  [[nodiscard]] std::vector<std::string> Shifts() const {
    std::vector<std::string> shifts;
    for_each_shift(path(), [&shifts](const char* shift) { shifts.emplace_back(shift); });
    return shifts;
  }

  ScratchFolder folder_;
};

using Texts = std::vector<std::string>;

}  // namespace hark

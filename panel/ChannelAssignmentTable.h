// Which station each key calls: the table of the selected shift in memory, and the file that holds one table
// and one group for each shift. The file belongs to other programs as well: what this one does not know in it
// is kept, and it is replaced whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/station/station.h"

namespace hark {

// Bits of a key's flags.
inline constexpr std::uint32_t kNoTalk = 1;         // the talk key does nothing
inline constexpr std::uint32_t kNoListen = 2;       // the listen key does nothing
inline constexpr std::uint32_t kNoTalkLatch = 4;    // a tap of talk is a hold
inline constexpr std::uint32_t kNoListenLatch = 8;  // a tap of listen is a hold

// What one key calls.
struct ChannelAssignment {
  std::optional<std::string> label;  // the station's label, by which it is resolved and matched against calls
  std::optional<std::string> url;    // a fixed URL; one that begins with "*" is never written to the file
  std::uint32_t flags = 0;
};

struct ChannelAssignmentTable {
  std::vector<ChannelAssignment> entries;  // the entry of key 1 first; the size never changes
  std::list<std::string> group;            // labels that the group key talks to, the last one read first

  [[nodiscard]] int size() const { return static_cast<int>(entries.size()); }
  // The label of key index `i` (from 0); empty when it has none or there is no such key.
  [[nodiscard]] std::string_view label(int i) const;
  // Whether some key has exactly this label.
  [[nodiscard]] bool has_label(std::string_view label) const;
};

// An empty table of `n` keys; null if `n` is below 1. Destroyed with the pointer.
[[nodiscard]] std::unique_ptr<ChannelAssignmentTable> ChannelAssignmentTableAlloc(int n);

// Replaces the content of `table` by the section `shift` (its first 10 characters; null or empty: the lines
// in front of the first section). 0, or -1 when the file cannot be read; the table then keeps its content.
int ChannelAssignmentTableLoad(const std::string& path, const char* shift, ChannelAssignmentTable& table);

// Rewrites the file with `table` as the section `shift` (null: as a new section), named `newshift` if that is
// neither null nor empty, and made unique in the file if it is new there. Everything else in the file stays.
// 0, or -1 when it could not be written; the file is then as it was.
int ChannelAssignmentTableSave(const std::string& path, const char* shift, const char* newshift,
                               const ChannelAssignmentTable& table);

// Gives key index `i` copies of the two texts (null: none); its flags stay. Requires 0 <= i < table.size().
void ChannelAssignmentTableSet(ChannelAssignmentTable& table, int i, const char* url, const char* label);

// The label of the first section that has one, be it the empty label; empty when there is none.
[[nodiscard]] Label GetDefaultShift(const std::string& path);

// Hands the label (at most 10 characters) of each section of the file to `shift`, in the order of the file. A
// section line without a label is left out.
void for_each_shift(const std::string& path, const std::function<void(const char*)>& shift);

}  // namespace hark

// The parties that have made contact, newest on top: what the auto-answer channel and a console's menu work
// from. Entries are moved, never removed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace hark {

struct CallstackEntry {
  std::array<char, 12> label{};  // at most 10 characters
  std::uint32_t status = 0;      // the party's state when it was last added

  [[nodiscard]] std::string_view text() const;
};

class Callstack {
 public:
  static constexpr std::size_t kSize = 128;
  static constexpr std::size_t kLabelLength = 10;

  // Puts `label`, cut to 10 characters, on top. A party that is on the stack goes up and keeps one entry; the
  // lowest entry of a full stack is lost. Kept: the whole label is what is looked for, so that a longer one
  // never finds its own entry and is listed again.
  void add(std::string_view label, std::uint32_t status);
  // The entry of `label`, or null.
  [[nodiscard]] const CallstackEntry* find(std::string_view label) const;
  // All states, or-ed.
  [[nodiscard]] std::uint8_t combined_status() const;
  // Newest first.
  [[nodiscard]] std::span<const CallstackEntry> entries() const { return {entries_.data(), count_}; }

 private:
  std::array<CallstackEntry, kSize> entries_{};
  std::size_t count_ = 0;
};

}  // namespace hark

#include "panel/callstack.h"

#include <algorithm>

#include "base/text.h"

namespace hark {

std::string_view CallstackEntry::text() const { return field_text(label); }

void Callstack::add(std::string_view label, std::uint32_t status) {
  const CallstackEntry* known = find(label);
  const auto place =
      known != nullptr ? static_cast<std::size_t>(known - entries_.data()) : std::min(count_, kSize - 1);
  const auto first = entries_.begin();
  std::move_backward(first, first + static_cast<std::ptrdiff_t>(place),
                     first + static_cast<std::ptrdiff_t>(place) + 1);
  CallstackEntry& top = entries_[0];
  top = CallstackEntry{};
  copy_text(top.label, label.substr(0, kLabelLength));
  top.status = status;
  if (known == nullptr) count_ = std::min(count_ + 1, kSize);
}

const CallstackEntry* Callstack::find(std::string_view label) const {
  const auto known = entries();
  const auto entry = std::find_if(known.begin(), known.end(), [label](const CallstackEntry& candidate) {
    return candidate.text() == label;
  });
  return entry != known.end() ? &*entry : nullptr;
}

std::uint8_t Callstack::combined_status() const {
  std::uint32_t status = 0;
  for (const CallstackEntry& entry : entries())
    status |= entry.status;
  return static_cast<std::uint8_t>(status);
}

}  // namespace hark

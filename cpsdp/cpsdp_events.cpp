// The value lists of telephone events (RFC 4733 section 2.5.1.1), as bits and back.
#include "cpsdp/cpsdp_events.h"

#include <algorithm>
#include <charconv>

#include "base/text.h"

namespace hark {
namespace {

constexpr std::size_t kMaxItems = 256;

// Takes the number that `list` begins with off it; what is above the bits counts as the first that has none.
// False when there are no digits.
bool take_number(std::string_view& list, std::size_t& number) {
  list.remove_prefix(std::min(list.find_first_not_of(" \t\r\n\v\f"), list.size()));
  if (list.starts_with('+')) list.remove_prefix(1);
  const std::size_t before = list.size();
  number = take_digits(list, kEventBits);
  return list.size() != before;
}

// One range as text, with the "," in front that every one but the first has.
class EventRange {
 public:
  EventRange(std::size_t first, std::size_t last) {
    if (first != 0) text_[length_++] = ',';
    append(first);
    if (first == last) return;
    text_[length_++] = '-';
    append(last);
  }
  [[nodiscard]] std::string_view text() const { return {text_.data(), length_}; }

 private:
  void append(std::size_t number) {
    char* const at = text_.data() + length_;
    length_ += static_cast<std::size_t>(std::to_chars(at, text_.data() + text_.size(), number).ptr - at);
  }
  std::array<char, 8> text_{};  // ",255-255"
  std::size_t length_ = 0;
};

}  // namespace

void cpsdp_map_list_of_telephone_event_values(std::string_view list, std::bitset<kEventBits>& bitmap) {
  for (std::size_t item = 0; item < kMaxItems; ++item) {
    std::size_t first = 0;
    if (!take_number(list, first)) return;
    std::size_t last = first;
    if (list.starts_with('-')) {
      list.remove_prefix(1);
      if (!take_number(list, last)) return;
    }
    for (std::size_t n = first; n <= last && n < kEventBits; ++n)
      bitmap.set(n);
    if (!list.starts_with(',')) return;
    list.remove_prefix(1);
  }
}

std::size_t cpsdp_write_event_list(const std::bitset<kEventBits>& bitmap, std::span<char> out) {
  std::size_t written = 0;
  // Kept: event 0 counts as common whatever its bit says. So an empty list is "0", and never an empty text,
  // which far stations would take for the default of 0-15.
  std::size_t first = 0;
  std::size_t last = 0;
  for (std::size_t n = 1; n < kEventBits; ++n) {
    if (bitmap.test(n)) {
      last = n;
      if (n + 1 < kEventBits) continue;
    }
    const EventRange range(first, last);
    if (range.text().size() > out.size() - written) break;
    written += range.text().copy(out.data() + written, range.text().size());
    // Kept: the last bit by itself begins no range.
    while (n + 1 < kEventBits && !bitmap.test(n))
      ++n;
    if (n + 1 == kEventBits) break;
    first = last = n;
  }
  return written;
}

}  // namespace hark

// A pool of texts that is being filled, for a description that is being made. Used by the answer to an offer,
// and by whoever makes a description of his own.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

#include "cpsdp/cpsdp.h"

namespace hark {

class cpsdp_pool {
 public:
  // Borrows the room. Offsets have 16 bits: more than that is not used.
  explicit cpsdp_pool(std::span<char> room) : room_(room.first(std::min<std::size_t>(room.size(), 0xFFFF))) {}

  // Appends the text; one for which there is no room, and one above kCpsdpMaxText, becomes an absent one.
  cpsdp_text add(std::string_view text) {
    if (text.empty() || text.size() > rest().size()) return {};
    return take(text.copy(rest().data(), text.size()));
  }
  // Where the next text goes, as far as one may be long; and that `size` bytes were written there.
  [[nodiscard]] std::span<char> rest() const {
    return room_.subspan(used_, std::min(room_.size() - used_, kCpsdpMaxText));
  }
  cpsdp_text take(std::size_t size) {
    const cpsdp_text text{static_cast<std::uint8_t>(size), static_cast<std::uint16_t>(used_)};
    used_ += size;
    return text;
  }
  // Appends another pool, cut to fit, so that the offsets of a new pool are those of it.
  void add_pool(std::string_view pool) { used_ += pool.copy(room_.data() + used_, room_.size() - used_); }

  // What is filled.
  [[nodiscard]] std::string_view text() const { return {room_.data(), used_}; }

 private:
  std::span<char> room_;
  std::size_t used_ = 0;
};

}  // namespace hark

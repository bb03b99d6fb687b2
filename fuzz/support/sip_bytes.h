// An input as a row of small choices: what a target makes operations and records of. What is behind the end
// of the input is zero.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "support/fuzzing.h"

namespace hark::fuzz {

class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : left_(as_text(data, size)) {}

  [[nodiscard]] bool empty() const { return left_.empty(); }
  [[nodiscard]] std::uint8_t byte() {
    if (left_.empty()) return 0;
    const auto value = static_cast<std::uint8_t>(left_.front());
    left_.remove_prefix(1);
    return value;
  }
  [[nodiscard]] std::uint16_t word() {
    const unsigned high = byte();
    return static_cast<std::uint16_t>(high << 8 | byte());
  }
  [[nodiscard]] std::uint32_t number() {
    const std::uint32_t high = word();
    return high << 16 | word();
  }
  // *Requires* a limit above 0.
  [[nodiscard]] unsigned below(unsigned limit) { return byte() % limit; }
  [[nodiscard]] bool one_in(unsigned n) { return below(n) == 0; }
  [[nodiscard]] std::string_view take(std::size_t size) {
    const std::string_view taken = left_.substr(0, size);
    left_.remove_prefix(taken.size());
    return taken;
  }

 private:
  std::string_view left_;
};

}  // namespace hark::fuzz

// The blocks of text that messages lie in. A received datagram is parsed where it lies in one; a message that
// is being built has a chain of them, to which every value that is written is appended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace hark {

// A block: this header, and behind it, in the same allocation, `capacity` bytes of data.
struct cpsip_osa_buf {
  std::uint16_t capacity;  // bytes of data that fit
  std::uint16_t used;      // bytes of data that are filled
  cpsip_osa_buf* next;     // owned; null at the end of the chain

  [[nodiscard]] char* data() { return reinterpret_cast<char*>(this + 1); }
  [[nodiscard]] const char* data() const { return reinterpret_cast<const char*>(this + 1); }
  [[nodiscard]] std::uint16_t room() const { return static_cast<std::uint16_t>(capacity - used); }
  // The filled bytes.
  [[nodiscard]] std::string_view text() const { return {data(), used}; }
};

// Offsets of fields count from the start of the block, its header included.
inline constexpr std::uint16_t kOsaHeaderSize = sizeof(cpsip_osa_buf);
// So that every offset fits 16 bits.
inline constexpr std::uint16_t kMaxOsaCapacity = 0xFFFF - kOsaHeaderSize;

inline constexpr std::uint16_t kBuildBlockSize = 256;    // of a message that is being built
inline constexpr std::uint16_t kSocketBlockSize = 1500;  // of what a socket reads, and of what is formatted

// A block of `size` data bytes, none of them filled; more than kMaxOsaCapacity is cut to that. Ends the
// process when memory runs out.
[[nodiscard]] cpsip_osa_buf* cpsip_osa_buf_alloc(std::uint16_t size);
// *Takes* the block and everything behind it. Null is fine.
void cpsip_osa_buf_free(cpsip_osa_buf* block);

struct cpsip_osa_deleter {
  void operator()(cpsip_osa_buf* block) const { cpsip_osa_buf_free(block); }
};
// A chain of blocks by its head.
using cpsip_osa_chain = std::unique_ptr<cpsip_osa_buf, cpsip_osa_deleter>;

}  // namespace hark

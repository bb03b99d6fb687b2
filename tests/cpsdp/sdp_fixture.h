// Session descriptions for tests: bodies from lines, records from bodies, texts into a pool, a description on
// the wire, and the answer to an offer. Every buffer has exactly the size that it is said to have and lies on
// the heap, so that a byte read or written beside it ends the test under the address sanitizer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "cpsdp/cpsdp.h"

namespace hark::test {

// The lines, each with CR LF.
std::string Lines(std::initializer_list<std::string_view> lines);

// A session without media, and behind it the lines.
std::string Session(std::initializer_list<std::string_view> lines);

// A session with one audio medium of the formats 0, 18, 96 and 97, and behind it the lines.
std::string InMedia(std::initializer_list<std::string_view> lines);

// `count` times `unit`.
std::string Times(std::size_t count, std::string_view unit);

// A record and its pool.
struct Description {
  std::vector<char> pool;
  cpsdp_parms parms;
  int reason = 0;  // of the parser

  [[nodiscard]] std::string_view Pool() const { return {pool.data(), pool.size()}; }
  [[nodiscard]] std::string Text(cpsdp_text text) const { return std::string(text.in(Pool())); }
  // The medium; a failure of the test and an empty one when there is none.
  [[nodiscard]] const cpsdp_media& Medium(std::size_t index = 0) const;
  // Puts a text behind the others in the pool.
  cpsdp_text Add(std::string_view text);
};

Description Parse(std::string_view body);

struct Encoded {
  int error = 0;
  std::string text;
};

// A description has room for `capacity` bytes.
Encoded Encode(const cpsdp_parms& parms, std::string_view pool, std::size_t capacity = 65536);
Encoded Encode(const Description& description, std::size_t capacity = 65536);

// An answer; `reason` is not used.
struct Answer : Description {
  int rejected = 0;
  std::uint32_t pool_len = 0;

  // The formats of a medium as "97/96 0/0": the offered number and the local one.
  [[nodiscard]] std::string Formats(std::size_t index = 0) const;
  [[nodiscard]] std::string Fmtp(std::size_t format, std::size_t index = 0) const;
};

Answer Negotiate(const Description& local, Description& offer, std::size_t room = kCpsdpMaxEncoded);
Answer Negotiate(std::string_view local, std::string_view offer);

}  // namespace hark::test

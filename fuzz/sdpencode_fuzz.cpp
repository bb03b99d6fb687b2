// The encoder of session descriptions: an input makes up a record, also one that nobody could have parsed, a
// pool and a room. Nothing is written beyond the room, and what stops the encoder has its number.
#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "cpsdp/cpsdp.h"
#include "support/fuzzing.h"
#include "support/sip_sdp.h"

namespace {

using hark::cpsdp_parms;
using hark::fuzz::check;

// More than any record can fill: some 300 texts.
constexpr std::size_t kAmple = 0x20000;

// Errors that are not about room.
constexpr std::array kNotRoom{hark::kEncodeBadConnectionType, hark::kEncodeBadMediaType,
                              hark::kEncodeBadMediaProto, hark::kEncodeBadMediaConnectionType};
// Numbers between the first and the last that are not given out.
constexpr std::array kNoError{2058, 2060, 2062, 2073, 2083, 2100};

bool is_room_error(int result) {
  if (result < hark::kEncodeVersion || result > hark::kEncodeMediaAttribute) return false;
  return std::find(kNotRoom.begin(), kNotRoom.end(), result) == kNotRoom.end() &&
         std::find(kNoError.begin(), kNoError.end(), result) == kNoError.end();
}

struct Encoded {
  Encoded(const cpsdp_parms& parms, std::string_view pool, std::size_t room) {
    const std::unique_ptr<char[]> out(new char[room]);
    std::uint32_t length = 99;
    result = hark::CPSDP_EncodeSession(&parms, pool, {out.get(), room}, length);
    check(length <= room, "what is written fits");
    check(result == 0 || length == 0, "an error writes nothing");
    text.assign(out.get(), length);
  }
  int result;
  std::string text;
};

void check_room(const cpsdp_parms& parms, std::string_view pool, std::size_t room, const Encoded& whole) {
  const Encoded cut(parms, pool, room);
  if (whole.result == 0 && room >= whole.text.size()) {
    check(cut.result == 0 && cut.text == whole.text, "with room for it, it is the same");
  } else {
    check(is_room_error(cut.result) || (whole.result != 0 && cut.result == whole.result),
          "it stops for room");
  }
}

void check_lines(std::string_view text, std::string_view pool) {
  check(text.starts_with("v=0\r\no=") && text.ends_with("\r\n"), "a description is lines");
  check(text.find("\r\nt=0 0\r\n") != std::string_view::npos, "times are written as none");
  if (pool.find_first_of("\r\n") != std::string_view::npos) return;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find("\r\n", at);
    check(end != std::string_view::npos && end >= at + 2 && text[at + 1] == '=', "each line has its letter");
    at = end + 2;
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::uint32_t length = 99;
  std::array<char, 8> out{};
  check(hark::CPSDP_EncodeSession(nullptr, "pool", out, length) == hark::kEncodeNoSession && length == 0,
        "no record, no description");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  hark::fuzz::Bytes input(data, size);
  const std::size_t room = input.word() % 2048;
  const std::size_t pool_size = input.byte();
  const std::string taken(input.take(pool_size));
  // Of its exact size.
  const std::unique_ptr<char[]> pool_bytes(new char[taken.size()]);
  std::copy(taken.begin(), taken.end(), pool_bytes.get());
  const std::string_view pool(pool_bytes.get(), taken.size());
  const cpsdp_parms parms = hark::fuzz::make_session(input, true);
  const Encoded whole(parms, pool, kAmple);
  check(whole.result == 0 || std::find(kNotRoom.begin(), kNotRoom.end(), whole.result) != kNotRoom.end(),
        "with ample room only what cannot be written stops it");
  if (whole.result == 0) check_lines(whole.text, pool);
  check_room(parms, pool, room, whole);
  check_room(parms, pool, whole.text.size(), whole);
  if (!whole.text.empty()) check_room(parms, pool, whole.text.size() - 1, whole);
  check_room(parms, {}, room, Encoded(parms, {}, kAmple));
  return 0;
}

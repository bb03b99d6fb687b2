// A session description told as lines of text, which the rows of the corpus and a second parse are compared
// with; and sessions made by chance.
#pragma once

#include <string>
#include <string_view>

#include "cpsdp/cpsdp.h"
#include "cpsip/corpus_files.h"

namespace hark::test {

// All fields that hold something, as "c=0 192.0.2.1" and "m[1].fmt[2]=101 telephone-event/8000 [0-15]".
[[nodiscard]] Lines session_lines(const cpsdp_parms& parms, std::string_view pool);

// A parsed description, and the pool that its texts lie in.
struct Parsed {
  std::string pool;
  cpsdp_parms parms;
  int reason = 0;
};
void parse(std::string text, Parsed& parsed);

// A description that can be encoded, built field by field, of any size up to the limits.
void generate_session(Chance& chance, Parsed& made);

}  // namespace hark::test

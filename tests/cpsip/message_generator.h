// Messages by chance, from a seed: texts as devices might send them, and messages built field by field as the
// layers above build them.
#pragma once

#include <string>

#include "cpsip/corpus_files.h"
#include "cpsip/cpsip_msg.h"

namespace hark::test {

// A message in the form of the wire, and lines (corpus_support.h) that its scan must have.
struct GeneratedText {
  std::string text;
  std::string fields;
};
[[nodiscard]] GeneratedText generate_text(Chance& chance);

// A message whose fields were written through the access by field, some of them more than once, with a body
// of text or none.
[[nodiscard]] cpsip_msg_ptr generate_message(Chance& chance);

}  // namespace hark::test

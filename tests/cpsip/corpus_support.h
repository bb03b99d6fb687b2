// The scan of bytes as one datagram, and a message told as lines of text, which its rows and its second scan
// are compared with.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cpsip/corpus_files.h"
#include "cpsip/cpsip_msg.h"

namespace hark::test {

struct Scanned {
  int code = 0;
  bool complete = false;
  std::uint32_t left_over = 0;
  cpsip_msg_ptr msg;
};
// Scans the bytes as one datagram, in a block without a byte to spare.
[[nodiscard]] Scanned scan_datagram(std::string_view bytes);

// All that the formatter writes again, as "Via[1].host=192.0.2.2" and the like; what is empty has no line. A
// line end in a text is "|", the last one is left out. The body is not part of it.
[[nodiscard]] Lines written_lines(cpsip_msg& msg);
// The above, and what only a received message has: the lists and headers that are not written again, the body
// and the session.
[[nodiscard]] Lines all_lines(cpsip_msg& msg);

// A chain of blocks as one text.
[[nodiscard]] std::string chain_text(const cpsip_osa_buf* chain);

}  // namespace hark::test

// The IFB links and the PTT requests as notes, with the results that the test gives them. Linked ahead of the
// library.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace hark {

struct FakeLinks {
  int ifb_result = 0;
  // "ifb 0 <url> <addr>" (each "-" when null), "ptt 0 <dst> <src>", "ptt clear 0", in order.
  std::vector<std::string> commands;
};
extern FakeLinks fake_links;

// The commands since the last question.
[[nodiscard]] inline std::vector<std::string> LinkCommands() {
  return std::exchange(fake_links.commands, {});
}

}  // namespace hark

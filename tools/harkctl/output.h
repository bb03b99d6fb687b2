// What harkctl writes: whole lines, each at once, to a reader who may be slow or gone.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tools/harkctl/wait.h"

namespace hark::ctl {

class Output {
 public:
  // Writes to `fd`, which it borrows.
  explicit Output(int fd, Interrupts interrupts = {}) : fd_(fd), interrupts_(std::move(interrupts)) {}

  // False when nobody reads any more, or the wait for the reader was interrupted; nothing is written then or
  // later.
  bool line(std::string_view text);
  bool json(const nlohmann::ordered_json& value);
  [[nodiscard]] bool is_gone() const { return gone_; }

 private:
  int fd_;
  Interrupts interrupts_;
  bool gone_ = false;
};

// "harkctl: ..." on standard error, fit for a terminal.
void complain(std::string_view text);

}  // namespace hark::ctl

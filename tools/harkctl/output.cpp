#include "tools/harkctl/output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>

#include "tools/harkctl/text.h"

namespace hark::ctl {

// A pipe that is ready takes PIPE_BUF bytes without blocking.
bool Output::line(std::string_view text) {
  std::string bytes(text);
  bytes += '\n';
  for (std::size_t at = 0; at < bytes.size() && !gone_;) {
    if (wait_for(fd_, POLLOUT, kForever, interrupts_) != Wait::kReady) {
      gone_ = true;
      break;
    }
    const ssize_t written =
        ::write(fd_, bytes.data() + at, std::min<std::size_t>(bytes.size() - at, PIPE_BUF));
    if (written > 0) at += static_cast<std::size_t>(written);
    if (written <= 0 && errno != EINTR && errno != EAGAIN) gone_ = true;
  }
  return !gone_;
}

bool Output::json(const nlohmann::ordered_json& value) { return line(json_line(value)); }

void complain(std::string_view text) { (void)std::fprintf(stderr, "harkctl: %s\n", printable(text).c_str()); }

}  // namespace hark::ctl

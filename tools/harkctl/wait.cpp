#include "tools/harkctl/wait.h"

#include <algorithm>
#include <cerrno>

namespace hark::ctl {
namespace {

constexpr std::chrono::milliseconds::rep kLongestPollMs = 60'000;

bool any(const std::vector<pollfd>& fds, std::size_t from) {
  return std::any_of(fds.begin() + static_cast<std::ptrdiff_t>(from), fds.end(),
                     [](const pollfd& fd) { return fd.revents != 0; });
}

}  // namespace

int ms_until(Deadline deadline) {
  if (deadline == kForever) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(kLongestPollMs)>(left, 0, kLongestPollMs));
}

Wait wait_for(int fd, short events, Deadline deadline, const Interrupts& interrupts) {
  std::vector<pollfd> fds = {{fd, events, 0}};
  fds.insert(fds.end(), interrupts.begin(), interrupts.end());
  for (;;) {
    const int count = ::poll(fds.data(), fds.size(), ms_until(deadline));
    if (count < 0 && errno != EINTR) return Wait::kTimeout;
    if (count > 0) return any(fds, 1) ? Wait::kInterrupted : Wait::kReady;
    if (deadline != kForever && Clock::now() >= deadline) return Wait::kTimeout;
  }
}

}  // namespace hark::ctl

#include "base/fd.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

namespace hark {
namespace {

bool fits_in_fdset(int fd) { return fd >= 0 && fd < FD_SETSIZE; }

}  // namespace

void UniqueFd::reset(int fd) {
  if (fd_ >= 0 && fd_ != fd) ::close(fd_);
  fd_ = fd;
}

bool fdset_add(int fd, fd_set& set, int& highest) {
  if (!fits_in_fdset(fd)) return false;
  FD_SET(fd, &set);
  highest = std::max(highest, fd);
  return true;
}

bool fdset_has(int fd, const fd_set& set) { return fits_in_fdset(fd) && FD_ISSET(fd, &set); }

bool set_nonblocking(int fd) {
  const int flags = fcntl(fd, F_GETFL, 0);
  return flags >= 0 && fcntl(fd, F_SETFL, flags | O_NONBLOCK) == 0;
}

}  // namespace hark

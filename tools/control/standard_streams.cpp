#include "tools/control/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

namespace hark::control {

void open_standard_streams() {
  int fd = 0;
  while (fd >= 0 && fd <= STDERR_FILENO)
    fd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  if (fd >= 0) (void)::close(fd);
}

}  // namespace hark::control

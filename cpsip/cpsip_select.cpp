#include "cpsip/cpsip_select.h"

namespace hark {

int CPSIP_Select_FDs(fd_set& /*readable*/, fd_set& /*writable*/, fd_set& /*failed*/) { return 0; }

}  // namespace hark

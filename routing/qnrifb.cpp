#include "routing/qnrifb.h"

namespace hark {

int qnrifb_set(int /*port*/, const char* /*url*/, const char* /*addr*/) { return 0; }
int qnrifb_selectevents(fd_set& /*readable*/, fd_set& /*writable*/) { return -1; }
void qnrifb_processevents(const fd_set& /*readable*/, const fd_set& /*writable*/, TimeUs /*now*/) {}

}  // namespace hark

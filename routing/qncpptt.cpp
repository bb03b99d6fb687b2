#include "routing/qncpptt.h"

namespace hark {

int qncpptt_initialize() { return 0; }
int qncpptt_set(int /*port*/, std::uint32_t /*dst*/, std::uint32_t /*src*/) { return 0; }
int qncpptt_clr(int /*port*/) { return 0; }
int qncpptt_selectevents(fd_set& /*set*/) { return -1; }
void qncpptt_processevents(const fd_set& /*readable*/, TimeUs /*now*/) {}

}  // namespace hark

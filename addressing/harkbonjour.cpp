#include "addressing/harkbonjour.h"

namespace hark {

void (*harkbonjour_callback)() = nullptr;

namespace {
constexpr int kBrowseFailed = 11002;
}

int harkbonjour_initialize(unsigned /*ifindex*/, int /*port*/, const char* /*name*/) { return kBrowseFailed; }
void harkbonjour_cleanup() {}
int harkbonjour_set_TXT(const char* /*alt*/, int /*level*/, in_addr_t /*rtpa*/) { return 0; }
int harkbonjour_lookupservice(const char* /*label*/) { return -1; }
int harkbonjour_addfdset(fd_set& /*set*/) { return -1; }
int harkbonjour_processevents(const fd_set& /*set*/) { return 0; }

}  // namespace hark

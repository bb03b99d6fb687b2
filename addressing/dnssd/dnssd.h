// The DNS-SD client library's interface: dns_sd.h, and what Debian's copy of it leaves out.
#pragma once

#include <dns_sd.h>

#include <cstdint>

// As the full library declares them; a second declaration of the same does no harm there.
extern "C" DNSServiceErrorType DNSSD_API DNSServiceGetProperty(const char* property, void* result,
                                                               uint32_t* size);

namespace hark {

// Error code of a DNS-SD daemon that is not there.
inline constexpr DNSServiceErrorType kDnssdServiceNotRunning = -65563;
// The property that holds the daemon's version, a uint32_t.
inline constexpr char kDnssdDaemonVersion[] = "DaemonVersion";

}  // namespace hark

// Stands in for the one function that a compatibility layer of the DNS-SD library lacks: its daemon cannot be
// asked for properties.
#include "addressing/dnssd/dnssd.h"

DNSServiceErrorType DNSSD_API DNSServiceGetProperty(const char* /*property*/, void* /*result*/,
                                                    uint32_t* /*size*/) {
  return kDNSServiceErr_Unsupported;
}

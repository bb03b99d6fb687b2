// The address of the interface that SIP runs on.
#pragma once

namespace hark {

// Looks whether the address of `ifa_name` changed. 1 when it did (`sip_ip` and `sip_iface_index` then hold
// the new one), 0 when it is the one last seen, -1 when it could not look. An interface that never had an
// address leaves a `sip_ip` that was given by number in force.
int pollnetworkconfiguration();

// Forgets the address last seen. For tests.
void network_reset();

}  // namespace hark

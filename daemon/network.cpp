#include "daemon/network.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <cstring>

#include "daemon/station/station.h"

namespace hark {
namespace {

struct Interface {
  in_addr_t address = 0;  // network order
  unsigned index = 0;
};
Interface g_last_seen;

bool is_wanted(const ifaddrs& entry) {
  return (entry.ifa_flags & IFF_UP) != 0 && entry.ifa_addr != nullptr && station.ifa_name == entry.ifa_name &&
         entry.ifa_addr->sa_family == AF_INET;
}

}  // namespace

int pollnetworkconfiguration() {
  ifaddrs* list = nullptr;
  if (station.ifa_name.empty() || ::getifaddrs(&list) != 0) return -1;
  Interface found;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (!is_wanted(*entry)) continue;
    sockaddr_in address{};
    std::memcpy(&address, entry->ifa_addr, sizeof address);
    found = {address.sin_addr.s_addr, ::if_nametoindex(entry->ifa_name)};
  }
  ::freeifaddrs(list);
  // An interface that was replaced may have its old address again: what is bound to the old one is dead.
  if (found.address == g_last_seen.address && found.index == g_last_seen.index) return 0;
  g_last_seen = found;
  station.sip_ip = found.address;
  station.sip_iface_index = found.index;
  return 1;
}

void network_reset() { g_last_seen = {}; }

}  // namespace hark

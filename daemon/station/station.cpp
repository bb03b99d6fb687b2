#include "daemon/station/station.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/fd.h"
#include "base/text.h"

namespace hark {
namespace {

constexpr in_addr_t kChannelLimit = 0x10000;    // below it an address is a channel number
constexpr in_addr_t kChannelBase = 0xEFC00000;  // 239.192.0.0

Station initial_station() {
  Station fresh;
  fresh.ifa_name = fresh.harkd_ifa_name_default;
  fresh.harkd_qnrd_ipv4 = htonl(INADDR_LOOPBACK);
  return fresh;
}

}  // namespace

Station station = initial_station();

void station_reset() { station = initial_station(); }

int harkd_get_trgl() { return station.harkd_onair ? station.harkd_trgl_onair : station.harkd_trgl_normal; }

int harkd_set_svcname(const char* name) {
  Label wanted{};
  copy_text(wanted, name);
  if (wanted == station.harkd_svcname) return 0;
  station.harkd_svcname = wanted;
  if (wanted[0] != '\0') station.svcname_configured = true;
  station.harkbonjour_init = true;
  return 1;
}

void harkd_set_ifid(const char* name) {
  const char* wanted = name != nullptr ? name : "";
  if (station.ifa_name == wanted) return;
  station.ifa_name = wanted;
  station.networkconfig_dirty = true;
}

bool read_hardware_address(const char* ifname, std::array<unsigned char, 6>& out) {
  const UniqueFd fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq request{};
  copy_text(request.ifr_name, ifname);
  if (!fd.is_open() || ::ioctl(fd.get(), SIOCGIFHWADDR, &request) != 0) return false;
  std::memcpy(out.data(), request.ifr_hwaddr.sa_data, out.size());
  return true;
}

void harkd_mkdefaultsvcname(char* out, std::size_t n) {
  const std::span<char> name(out, n);
  copy_text(name, "");
  std::array<unsigned char, 6> address{};
  if (!read_hardware_address(station.harkd_iface_name.c_str(), address)) {
    (void)std::printf("SIOCGIFHWADDR(%s): %s\n", station.harkd_iface_name.c_str(), std::strerror(errno));
    return;
  }
  format_text(name, "IC %02X%02X%02X", address[3], address[4], address[5]);
}

in_addr_t local_source_address() {
  const in_addr_t address = ntohl(station.harkd_qnsrcch);
  return address != 0 && address < kChannelLimit ? address | kChannelBase : address;
}

std::array<char, INET_ADDRSTRLEN> dotted(in_addr_t address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  const in_addr in{address};
  (void)inet_ntop(AF_INET, &in, text.data(), text.size());
  return text;
}

}  // namespace hark

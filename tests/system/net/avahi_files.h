// What avahi-daemon and dbus-daemon read at their start, and what avahi-browse writes: texts only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hark::test {

// A station that a DNS-SD daemon announces without a harkd behind it.
struct Announced {
  std::string name;
  int port = 4013;
  // The items of its TXT record as they are on the wire, "TRGL=\x04" for one.
  std::vector<std::string> txt = {};
  std::string type = "_hark._tcp";
};

// The file of a service that avahi-daemon announces by itself.
[[nodiscard]] std::string service_file(const Announced& service);
// Configuration of a DNS-SD daemon on these interfaces, "eth0,eth1", over IPv4 and, if so, IPv6.
[[nodiscard]] std::string avahi_config(const std::string& host_name, const std::string& interfaces,
                                       bool ipv6 = false);
// Configuration of a system bus on which everybody may do everything, and that starts nothing.
[[nodiscard]] std::string bus_config();

// A service as a witness of the network saw it.
struct Sighting {
  char event = '\0';  // '+' came, '-' went, '=' its details
  std::string interface;
  std::string name;
  std::string host;  // this and the rest of details only
  std::string address;
  int port = 0;
  std::vector<std::string> txt;
};

// The lines of `avahi-browse -p`, in their order.
[[nodiscard]] std::vector<Sighting> sightings_of(std::string_view output);

}  // namespace hark::test

// Stations on the simulated network of the system tests, as they are measured: real harkds on hosts with a
// DNS-SD daemon of their own, and an ear on the wire.
#pragma once

#include <string>
#include <vector>

#include "base/fd.h"
#include "system/net/host.h"
#include "system/net/test_net.h"
#include "system/support/client.h"
#include "system/support/routing_sim.h"
#include "system/support/station.h"

namespace hark::bench {

// A station in the background, as in operation, with a panel to answer.
class NetworkStation {
 public:
  // On host `number`.
  NetworkStation(const test::TestNet& net, int number);
  // Starts the host's DNS-SD daemon. Empty, or why there is none.
  [[nodiscard]] std::string start_discovery();
  // Starts the station, which announces itself from then on. False when it does not start.
  [[nodiscard]] bool start();
  // Gives it this name, which it announces in place of the former one within some seconds.
  void rename(const std::string& name) { sim_->send("HARK LABL:\"" + name + "\""); }
  // Reads what the panel was told, which nobody needs.
  void drain();
  // Ends it.
  [[nodiscard]] bool stop() { return station_.terminate() == 0; }

  // The file of stations that it has found.
  [[nodiscard]] std::string table() const { return station_.root().read("var/tmp/orfehark-bonjour.tbl"); }
  // How many of them have an address.
  [[nodiscard]] int found() const;
  [[nodiscard]] test::Host& host() { return host_; }
  [[nodiscard]] const test::Station& process() const { return station_; }

 private:
  test::Host host_;
  test::RoutingSim sim_;
  test::Station station_;
  test::Client panel_;
};

// Hears what the hosts of the first segment say to all by multicast DNS.
class DnsEar {
 public:
  // What was said of a service: nothing; its name, when it is settled who has it; all of it, the TXT record
  // included, from which on it can be resolved.
  enum class Word { kNone, kName, kAll };

  explicit DnsEar(const test::TestNet& net);
  // The most that was said of the service `name` since the last call. Passes over all else.
  [[nodiscard]] Word hear(const std::string& name);

 private:
  UniqueFd fd_;
};

// A host that announces the stations "Studio `first`" and on, all of them from its one daemon.
class AnnouncingHost {
 public:
  AnnouncingHost(const test::TestNet& net, int number, int first, int count);
  [[nodiscard]] bool start() { return static_cast<bool>(host_.start_discovery()); }

 private:
  test::Host host_;
};

}  // namespace hark::bench

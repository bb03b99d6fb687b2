// One simulated host: a network with an interface eth0 at 10.77.0.N, folders of its own where a machine keeps
// its sockets and the files of its DNS-SD daemon, and, when they are started, a system bus and a DNS-SD
// daemon. Any program can be run in it. All of them end, at the latest, with it.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>
#include <vector>

#include "system/net/avahi_files.h"
#include "system/net/name_space.h"
#include "system/net/program.h"
#include "system/net/test_net.h"
#include "system/support/temp_root.h"

namespace hark::test {

class Host {
 public:
  // Host `number`, 2 to 254, of the network. Check made().
  Host(const TestNet& net, int number);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  [[nodiscard]] testing::AssertionResult made() const;
  // The address of eth0 now, and its name on the network, "host7.local".
  [[nodiscard]] const std::string& address() const { return address_; }
  [[nodiscard]] std::string name() const { return "host" + std::to_string(number_); }
  // The name that a station takes by itself, from the hardware address of eth0.
  [[nodiscard]] std::string station_name() const;

  // What takes a child into the host, for StationOptions and Program. Valid while the host is.
  [[nodiscard]] std::function<void()> entry() const;
  // Runs a program in it; it is ended with what is returned.
  [[nodiscard]] Program run(std::vector<std::string> words);
  // Runs it to its end, and gives what it said. A program that does not end in time is killed.
  [[nodiscard]] std::string output_of(std::vector<std::string> words, int timeout_ms = kWaitMs);
  // This process makes its sockets in the host while that lives.
  [[nodiscard]] NetworkScope scope() const { return NetworkScope(spaces_.network.get()); }

  // The place of one of its own files, below /run.
  [[nodiscard]] std::string run_file(const std::string& name) const { return files_.file("run/" + name); }

  // Commands for ip(8) in the host, one a line.
  [[nodiscard]] bool ip(const std::string& commands) const;
  [[nodiscard]] bool link_down() const { return ip("link set eth0 down\n"); }
  [[nodiscard]] bool link_up() const { return bring_up(); }
  // Gives eth0 the address of another number instead of its own.
  [[nodiscard]] bool move_to(int number);
  // Pulls eth0 and puts another in its place: the same name, another index, the address of this number.
  [[nodiscard]] bool replug(int number);
  // A second interface, eth1, on the second segment. Before the DNS-SD daemon is started.
  [[nodiscard]] bool add_second_interface();
  // IPv6 on eth0 as well, with the address that it gives itself. Before the DNS-SD daemon is started.
  [[nodiscard]] bool turn_ipv6_on();

  // The system bus.
  [[nodiscard]] testing::AssertionResult start_bus();
  void kill_bus() { bus_.kill(); }
  void pause_bus() { bus_.send_signal(SIGSTOP); }
  void resume_bus() { bus_.send_signal(SIGCONT); }
  // The DNS-SD daemon; launch_avahi() does not wait until its own name is settled on the network.
  [[nodiscard]] testing::AssertionResult start_avahi();
  void launch_avahi();
  [[nodiscard]] testing::AssertionResult wait_avahi();
  void stop_avahi() { avahi_.stop(); }
  void kill_avahi() { avahi_.kill(); }
  void pause_avahi();
  void resume_avahi();
  // Both, as on a machine that has just booted.
  [[nodiscard]] testing::AssertionResult start_discovery();
  [[nodiscard]] Program& bus() { return bus_; }
  [[nodiscard]] Program& avahi() { return avahi_; }

  // What the daemon announces by itself from its next start on.
  void announce(const std::vector<Announced>& services);
  // Announces while the result lives; it is on the network when this returns.
  [[nodiscard]] Program publish(const Announced& service);
  [[nodiscard]] std::vector<Program> publish_all(const std::vector<Announced>& services);
  // Asks for all there is now, with details.
  [[nodiscard]] std::vector<Sighting> look(const std::string& type = "_hark._tcp");

 private:
  [[nodiscard]] bool plug(Segment segment, const std::string& interface) const;
  [[nodiscard]] bool bring_up() const;
  [[nodiscard]] std::string port_of(Segment segment) const;
  [[nodiscard]] Program publisher(const Announced& service);
  [[nodiscard]] std::string output_file();

  int number_;
  std::string address_;
  std::string interfaces_ = "eth0";
  bool ipv6_ = false;
  TempRoot files_;
  NameSpaces spaces_;
  bool made_ = false;
  int outputs_ = 0;
  Program bus_;
  Program avahi_;
};

// Watches the network from a host from its start on.
class Witness {
 public:
  explicit Witness(Host& host, const std::string& type = "_hark._tcp");

  // Everything seen so far.
  [[nodiscard]] std::vector<Sighting> seen() const { return sightings_of(browse_.output()); }
  // What happened to a name on the whole: "+" it came, "+-" it came and went.
  [[nodiscard]] std::string events(const std::string& name) const;
  // The names that are there now, sorted.
  [[nodiscard]] std::vector<std::string> names() const;

  [[nodiscard]] testing::AssertionResult wait_there(const std::string& name, int timeout_ms = kWaitMs) const;
  [[nodiscard]] testing::AssertionResult wait_gone(const std::string& name, int timeout_ms = kWaitMs) const;

 private:
  Program browse_;
};

}  // namespace hark::test

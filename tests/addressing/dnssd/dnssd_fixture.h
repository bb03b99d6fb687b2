// A DNS-SD daemon on a simulated host, and the library in this very process as its client.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "addressing/dnssd/asked.h"
#include "system/net/host.h"
#include "system/net/test_net.h"

namespace hark::test {

class DnssdTest : public testing::Test {
 protected:
  void SetUp() override;

  // Where the library looks for the system bus from now on.
  static void UseBus(const std::string& path);
  void UseOwnBus() { UseBus(here.run_file("dbus/system_bus_socket")); }
  // Starts the bus and the daemon of `here`, and waits until the library gets to it.
  void StartDaemon();
  // Waits until the library gets to the daemon: it leaves one alone for a while that did not answer.
  [[nodiscard]] static testing::AssertionResult Reachable();
  // Files of services that the daemon announces by itself, "S0" to the last; before it is started.
  void AnnounceMany(int count);

  // The index of the host's eth0, or another interface.
  [[nodiscard]] static std::uint32_t IndexOf(const Host& host, const char* interface = "eth0");

  TestNet net;
  Host here{net, 2};
  AskedLoop loop;
};

// DNSServiceGetProperty of the daemon's version; what it told is in `version`.
DNSServiceErrorType daemon_version(std::uint32_t* version = nullptr);

// Descriptors and threads that this process has.
[[nodiscard]] int count_descriptors();
[[nodiscard]] int count_threads();

// How long the call takes.
[[nodiscard]] double seconds_of(const std::function<void()>& call);

// A TXT record of these items.
[[nodiscard]] std::string txt_of(const std::vector<std::string>& items);

// A full name of DNS without its escapes, cut at the dots: RFC 1035 section 5.1.
[[nodiscard]] std::vector<std::string> labels_of(const std::string& full_name);

}  // namespace hark::test

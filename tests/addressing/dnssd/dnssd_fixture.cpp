#include "addressing/dnssd/dnssd_fixture.h"

#include <net/if.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace hark::test {
namespace {

// libdbus reads its address once in a process; each host's bus is reached by the same link.
const std::string& bus_link() {
  static const TempRoot folder;
  static const std::string path = folder.file("bus");
  return path;
}

int count_entries(const char* folder) {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

bool is_digit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

}  // namespace

void DnssdTest::SetUp() {
  if (!net.why_not().empty()) GTEST_SKIP() << net.why_not();
  ASSERT_TRUE(here.made());
  UseOwnBus();
  // The hosts' own programs shall not have it: the library reads it at its first try, and keeps it.
  ASSERT_EQ(::setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + bus_link()).c_str(), 1), 0);
  EXPECT_EQ(daemon_version(), kDnssdServiceNotRunning);
  (void)::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

void DnssdTest::UseBus(const std::string& path) {
  (void)::unlink(bus_link().c_str());
  ASSERT_EQ(::symlink(path.c_str(), bus_link().c_str()), 0);
}

void DnssdTest::StartDaemon() {
  ASSERT_TRUE(here.start_discovery());
  ASSERT_TRUE(Reachable());
}

testing::AssertionResult DnssdTest::Reachable() {
  DNSServiceErrorType error = 0;
  if (wait_until([&] { return (error = daemon_version()) == kDNSServiceErr_NoError; }))
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << "no way to the daemon: " << error;
}

void DnssdTest::AnnounceMany(int count) {
  std::vector<Announced> services;
  for (int i = 0; i < count; ++i)
    services.push_back({.name = "S" + std::to_string(i)});
  here.announce(services);
}

std::uint32_t DnssdTest::IndexOf(const Host& host, const char* interface) {
  const NetworkScope inside = host.scope();
  return ::if_nametoindex(interface);
}

DNSServiceErrorType daemon_version(std::uint32_t* version) {
  std::uint32_t number = 0;
  std::uint32_t size = sizeof number;
  const DNSServiceErrorType error = DNSServiceGetProperty(kDnssdDaemonVersion, &number, &size);
  if (version != nullptr) *version = number;
  return error;
}

// Without the descriptor that looks.
int count_descriptors() { return count_entries("/proc/self/fd") - 1; }

int count_threads() { return count_entries("/proc/self/task"); }

double seconds_of(const std::function<void()>& call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string txt_of(const std::vector<std::string>& items) {
  std::string txt;
  for (const std::string& item : items)
    txt += static_cast<char>(item.size()) + item;
  return txt;
}

std::vector<std::string> labels_of(const std::string& full_name) {
  std::vector<std::string> labels(1);
  for (std::size_t at = 0; at < full_name.size(); ++at) {
    const char c = full_name[at];
    if (c == '.') {
      labels.emplace_back();
    } else if (c != '\\' || at + 1 == full_name.size()) {
      labels.back() += c;
    } else if (at + 3 < full_name.size() && is_digit(full_name[at + 1])) {
      labels.back() += static_cast<char>(std::atoi(full_name.substr(at + 1, 3).c_str()));
      at += 3;
    } else {
      labels.back() += full_name[++at];
    }
  }
  return labels;
}

}  // namespace hark::test

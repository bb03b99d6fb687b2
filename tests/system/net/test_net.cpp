#include "system/net/test_net.h"

#include <net/if.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

#include "system/net/name_space.h"
#include "system/support/pump.h"

namespace hark::test {
namespace {

constexpr int kExecFailed = 127;

// No delay: a port forwards from its first packet on. No snooping: groups reach every port, as on a plain
// switch.
std::string bridge_commands(Segment segment) {
  const std::string bridge = TestNet::bridge_of(segment);
  return "link add name " + bridge + " type bridge forward_delay 0 mcast_snooping 0\n" + "address add " +
         TestNet::address_of(1, segment) + "/24 dev " + bridge + "\n" + "link set " + bridge + " up\n";
}

}  // namespace

TestNet::TestNet() : before_(own_network()) {
  why_not_ = leave_for_new_network();
  if (!why_not_.empty()) {
    before_.reset();
    return;
  }
  set_ipv6(false);
  if (!ip_commands("link set lo up\n" + bridge_commands(Segment::kFirst) + bridge_commands(Segment::kSecond) +
                   "route add 224.0.0.0/4 dev " + bridge_of(Segment::kFirst) + "\n")) {
    why_not_ = "no bridges for this test: ip(8) failed";
  }
}

TestNet::~TestNet() {
  if (!before_.is_open() || ::setns(before_.get(), CLONE_NEWNET) == 0) return;
  std::perror("setns");
  std::abort();  // whatever came next would happen in the wrong place
}

std::string TestNet::address_of(int number, Segment segment) {
  return "10.77." + std::to_string(static_cast<int>(segment)) + "." + std::to_string(number);
}

std::string TestNet::bridge_of(Segment segment) { return "br" + std::to_string(static_cast<int>(segment)); }

std::vector<std::string> interface_names() {
  std::vector<std::string> names;
  struct if_nameindex* const list = ::if_nameindex();
  for (const struct if_nameindex* entry = list; entry != nullptr && entry->if_index != 0; ++entry)
    names.emplace_back(entry->if_name);
  ::if_freenameindex(list);
  std::sort(names.begin(), names.end());
  return names;
}

bool wait_forwarding(const std::string& port) {
  const std::string command = "ip -oneline -details link show dev " + port;
  return wait_until([&] {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> answer(::popen(command.c_str(), "re"), ::pclose);
    std::array<char, 4096> text{};
    return answer && std::fread(text.data(), 1, text.size() - 1, answer.get()) > 0 &&
           std::strstr(text.data(), "bridge_slave state forwarding") != nullptr;
  });
}

bool ip_commands(const std::string& commands) {
  const UniqueFd text(::memfd_create("ip commands", MFD_CLOEXEC));
  if (::write(text.get(), commands.data(), commands.size()) != static_cast<ssize_t>(commands.size())) {
    return false;
  }
  (void)::lseek(text.get(), 0, SEEK_SET);
  const pid_t child = ::fork();
  if (child == 0) {
    (void)::dup2(text.get(), STDIN_FILENO);
    (void)::execlp("ip", "ip", "-batch", "-", nullptr);
    ::_exit(kExecFailed);
  }
  int status = -1;
  if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
    std::cerr << "ip -batch failed:\n" << commands;
    return false;
  }
  return true;
}

}  // namespace hark::test

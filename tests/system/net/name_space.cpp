#include "system/net/name_space.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace hark::test {
namespace {

constexpr int kFailed = 126;

UniqueFd open_of(const std::string& process, const char* kind) {
  return UniqueFd(::open(("/proc/" + process + "/ns/" + kind).c_str(), O_RDONLY | O_CLOEXEC));
}

struct Pipe {
  UniqueFd read;
  UniqueFd write;

  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return;
    read.reset(ends[0]);
    write.reset(ends[1]);
  }
};

bool wait_byte(const UniqueFd& fd) {
  char byte = 0;
  return ::read(fd.get(), &byte, 1) == 1;
}

bool put_in_place(const Binds& binds) {
  if (::unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) return false;
  // Private, so that nothing that is mounted here is seen outside.
  if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  for (const auto& [folder, place] : binds) {
    if (::mount(folder.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) == 0) continue;
    std::perror(place.c_str());
    return false;
  }
  set_ipv6(false);
  return true;
}

// The child that has the namespaces first: makes them, and waits until its parent has taken hold of them.
[[noreturn]] void hold(const Binds& binds, Pipe& made, Pipe& taken) {
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
  taken.write.reset();
  if (!put_in_place(binds)) ::_exit(kFailed);
  (void)!::write(made.write.get(), "y", 1);
  (void)wait_byte(taken.read);
  ::_exit(0);
}

}  // namespace

void enter_for_good(const NameSpaces& spaces) {
  if (::setns(spaces.network.get(), CLONE_NEWNET) == 0 && ::setns(spaces.mounts.get(), CLONE_NEWNS) == 0)
    return;
  ::_exit(kFailed);
}

NameSpaces make_name_spaces(const Binds& binds) {
  Pipe made;
  Pipe taken;
  const pid_t child = ::fork();
  if (child < 0) return {};
  if (child == 0) hold(binds, made, taken);
  made.write.reset();
  NameSpaces spaces;
  if (wait_byte(made.read)) {
    spaces = {open_of(std::to_string(child), "net"), open_of(std::to_string(child), "mnt")};
  }
  taken.write.reset();
  (void)::waitpid(child, nullptr, 0);
  return spaces;
}

UniqueFd own_network() { return open_of("self", "net"); }

std::string leave_for_new_network() {
  if (::unshare(CLONE_NEWNET) == 0) return {};
  return std::string("no network of its own for this test: ") + std::strerror(errno);
}

NetworkScope::NetworkScope(int network) : before_(own_network()) {
  if (::setns(network, CLONE_NEWNET) != 0) std::perror("setns");
}

NetworkScope::~NetworkScope() {
  if (::setns(before_.get(), CLONE_NEWNET) == 0) return;
  std::perror("setns");
  std::abort();  // whatever came next would happen in the wrong place
}

void set_ipv6(bool on) {
  for (const char* scope : {"all", "default"})
    std::ofstream(std::string("/proc/sys/net/ipv6/conf/") + scope + "/disable_ipv6") << (on ? 0 : 1);
}

}  // namespace hark::test

#include "process.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <thread>
#include <vector>

namespace hark::bench {
namespace {

using namespace std::chrono_literals;

constexpr auto kStartLimit = 10s;
constexpr auto kStopLimit = 5s;
constexpr auto kLookEvery = 5ms;

// Looks at `done` until it is true; false when it is not within `limit`.
template <typename Done>
bool wait_until(std::chrono::seconds limit, Done done) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(kLookEvery);
  }
  return true;
}

// The cores that this process had when it was first asked for them, in order.
const std::vector<int>& allowed_cores() {
  static const std::vector<int> cores = [] {
    std::vector<int> found;
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(0, sizeof set, &set) != 0) return found;
    for (int core = 0; core < CPU_SETSIZE; ++core) {
      if (CPU_ISSET(core, &set)) found.push_back(core);
    }
    return found;
  }();
  return cores;
}

void go_to_cores(const std::vector<int>& cores) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (const int core : cores)
    CPU_SET(core, &set);
  (void)::sched_setaffinity(0, sizeof set, &set);
}

std::string proc_file(pid_t pid, const char* name) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/" + name);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

pid_t launch(const std::string& program, const std::string& root, const std::string& ctrl_port,
             const std::string& qnr_port) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  (void)::setenv("HARK_ROOT", root.c_str(), 1);
  // It is not announced on the network of the machine that runs it.
  (void)::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    (void)::dup2(nowhere, fd);
  ::execl(program.c_str(), "harkd", "-i", "none0", "-sip_ip", "127.0.0.2", "-ctrl_port", ctrl_port.c_str(),
          "-qnr_port", qnr_port.c_str(), nullptr);
  std::_Exit(127);
}

}  // namespace

void stay_on_one_core() {
  const std::vector<int>& cores = allowed_cores();
  // The last one: the first tends to serve the machine's interrupts.
  if (!cores.empty()) go_to_cores({cores.back()});
}

void leave_that_core() { go_to_cores(allowed_cores()); }

bool has_other_core() { return allowed_cores().size() > 1; }

void go_to_other_core() { go_to_cores({allowed_cores().front()}); }

Helper::Helper(const std::function<void()>& body) {
  const pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ != 0) return;
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() == parent) body();
  std::_Exit(0);
}

Helper::~Helper() {
  if (pid_ <= 0) return;
  (void)::kill(pid_, SIGKILL);
  (void)::waitpid(pid_, nullptr, 0);
}

TempRoot::TempRoot(const std::string& sources, const std::string& channels, const std::string& base) {
  const char* temp = std::getenv("TMPDIR");
  path_ = (!base.empty() ? base : temp != nullptr ? temp : "/tmp") + "/harkd-bench.XXXXXX";
  if (::mkdtemp(path_.data()) == nullptr) std::abort();
  for (const char* folder : {"/etc/Orfe/hark", "/etc/Orfe/EngConf", "/var/run", "/var/tmp"})
    std::filesystem::create_directories(path_ + folder);
  write_sources(sources);
  if (!channels.empty()) std::ofstream(path_ + "/etc/Orfe/hark/harkch.conf") << channels;
}

void TempRoot::write_sources(const std::string& text) const {
  std::ofstream(path_ + "/etc/Orfe/hark/hark_sources") << text;
}

TempRoot::~TempRoot() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

Daemon::Daemon(const std::string& program, const TempRoot& root, int ctrl_port, int qnr_port) {
  // What becomes a daemon is handed to this process instead of init, so that its end can be waited for.
  (void)::prctl(PR_SET_CHILD_SUBREAPER, 1);
  const pid_t launcher = launch(program, root.path(), std::to_string(ctrl_port), std::to_string(qnr_port));
  int status = 0;
  if (launcher < 0 || ::waitpid(launcher, &status, 0) != launcher || status != 0) return;
  const std::string pid_file = root.path() + "/var/run/harkd.pid";
  (void)wait_until(kStartLimit, [&] { return static_cast<bool>(std::ifstream(pid_file) >> pid_); });
}

Daemon::~Daemon() {
  if (pid_ <= 0) return;
  (void)::kill(pid_, SIGTERM);
  if (wait_until(kStopLimit, [this] { return ::waitpid(pid_, nullptr, WNOHANG) != 0; })) return;
  (void)::kill(pid_, SIGKILL);
  (void)::waitpid(pid_, nullptr, 0);
}

long resident_kib(pid_t pid) {
  constexpr std::string_view kTag = "VmRSS:";
  const std::string status = proc_file(pid, "status");
  const auto at = status.find(kTag);
  return at == std::string::npos ? -1 : std::strtol(status.c_str() + at + kTag.size(), nullptr, 10);
}

std::int64_t cpu_ns(pid_t pid) {
  const std::string schedstat = proc_file(pid, "schedstat");
  return schedstat.empty() ? -1 : std::strtoll(schedstat.c_str(), nullptr, 10);
}

std::int64_t cpu_ticks(pid_t pid) {
  const std::string stat = proc_file(pid, "stat");
  // The name, which may hold anything, ends at the last parenthesis. Behind it stands field 3; utime and
  // stime are fields 14 and 15.
  const auto name_end = stat.rfind(')');
  if (name_end == std::string::npos) return -1;
  std::istringstream fields(stat.substr(name_end + 1));
  std::string skipped;
  for (int field = 3; field < 14; ++field)
    fields >> skipped;
  std::int64_t user = 0;
  std::int64_t system = 0;
  return fields >> user >> system ? user + system : -1;
}

}  // namespace hark::bench

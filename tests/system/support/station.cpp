#include "system/support/station.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "system/support/ports.h"

namespace hark::test {
namespace {

constexpr char kPidFile[] = "var/run/harkd.pid";
constexpr int kKillWaitMs = 5'000;
constexpr int kSignalStatus = 128;
constexpr int kExecFailed = 127;

constexpr std::array<std::string_view, 4> kSanitizerMarks = {"AddressSanitizer", "LeakSanitizer",
                                                             "UndefinedBehaviorSanitizer", "runtime error:"};

void redirect(int target, const std::string& path, int flags) {
  const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
  if (fd >= 0) (void)::dup2(fd, target);
}

std::string proc_file(pid_t pid, const char* name) { return "/proc/" + std::to_string(pid) + "/" + name; }

int exit_code(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalStatus + WTERMSIG(status);
}

}  // namespace

Station::Station(StationOptions options)
    : options_(std::move(options)), ctrl_port_(free_tcp_port()), sip_port_(free_sip_base(options_.sip_ip)) {
  if (options_.binary.empty()) options_.binary = HARKD_BINARY;
  if (options_.routing_port == 0) options_.routing_port = closed_tcp_port();
}

Station::~Station() {
  if (alive()) {
    send_signal(SIGKILL);
    (void)wait_exit(kKillWaitMs);
  }
  if (testing::Test::HasFailure()) std::cerr << said();
}

void Station::write_log_params(const std::string& server, int level) const {
  root_.write(
      "etc/Orfe/EngConf/SyslogServerParams.cfg",
      "SyslogServer_IPaddr " + server + "\nSyslogServer_SeverityLevel " + std::to_string(level) + "\n");
}

testing::AssertionResult Station::start() {
  launch();
  return wait_ready();
}

void Station::launch() {
  ASSERT_FALSE(alive()) << "the station runs already";
  root_.remove(kPidFile);
  // A station that goes to the background is this process's child again, so that its exit status can be had.
  (void)::prctl(PR_SET_CHILD_SUBREAPER, 1);
  std::vector<std::string> words = command_line();
  pid_ = ::fork();
  ASSERT_GE(pid_, 0) << std::strerror(errno);
  if (pid_ == 0) become_station(std::move(words));
  running_ = true;
  exit_status_ = -1;
}

testing::AssertionResult Station::wait_ready(int timeout_ms) {
  if (!options_.debug) {
    const int status = wait_exit(timeout_ms);  // of the foreground process
    if (status != 0) return testing::AssertionFailure() << "start ended with status " << status << said();
    running_ = true;
  }
  const auto loop_runs = [this] {
    const int written = std::atoi(root_.read(kPidFile).c_str());
    if (written <= 0) return false;
    if (!options_.debug) pid_ = written;
    return written == pid_;
  };
  const auto settled = [&] { return loop_runs() || (options_.debug && !alive()); };
  if (wait_until(settled, timeout_ms) && loop_runs()) return testing::AssertionSuccess();
  if (!options_.debug) running_ = false;
  return testing::AssertionFailure() << (alive() ? "the station did not get ready" : "the station ended")
                                     << said();
}

int Station::terminate(int timeout_ms) {
  send_signal(SIGTERM);
  return wait_exit(timeout_ms);
}

void Station::send_signal(int number) const {
  if (running_) (void)::kill(pid_, number);
}

int Station::wait_exit(int timeout_ms) {
  (void)wait_until([this] { return !alive(); }, timeout_ms);
  return running_ ? -1 : exit_status_;
}

bool Station::alive() {
  if (running_) collect_exit();
  return running_;
}

void Station::collect_exit() {
  int status = 0;
  const pid_t ended = ::waitpid(pid_, &status, WNOHANG);
  if (ended == 0 || (ended < 0 && errno == EINTR)) return;
  running_ = false;
  exit_status_ = ended == pid_ ? exit_code(status) : -1;
}

testing::AssertionResult Station::ends_clean() {
  const int status = alive() ? terminate() : exit_status_;
  if (running_) return testing::AssertionFailure() << "the station does not end" << said();
  if (status != 0) return testing::AssertionFailure() << "ended with status " << status << said();
  const std::string log = stderr_text();
  for (const std::string_view mark : kSanitizerMarks) {
    if (log.find(mark) != std::string::npos) return testing::AssertionFailure() << mark << said();
  }
  for (const std::string& name : root_.files()) {
    if (name == kPidFile || name.ends_with('~'))
      return testing::AssertionFailure() << "left behind: " << name;
  }
  return testing::AssertionSuccess();
}

long Station::resident_kib() const {
  std::ifstream status(proc_file(pid_, "status"));
  for (std::string word; running_ && status >> word;) {
    long kib = -1;
    if (word == "VmRSS:" && status >> kib) return kib;
  }
  return -1;
}

int Station::open_fds() const {
  if (!running_) return -1;
  std::error_code error;
  int count = 0;
  for (std::filesystem::directory_iterator it(proc_file(pid_, "fd"), error), end; !error && it != end;
       it.increment(error)) {
    ++count;
  }
  return error ? -1 : count;
}

long Station::cpu_ms() const {
  std::ifstream file(proc_file(pid_, "stat"));
  std::string text;
  if (!running_ || !std::getline(file, text)) return -1;
  // The name in brackets may hold blanks; utime and stime are the 12th and 13th word behind it.
  std::istringstream words(text.substr(text.rfind(')') + 1));
  std::string skipped;
  for (int i = 0; i < 11; ++i)
    words >> skipped;
  long user = 0;
  long system = 0;
  words >> user >> system;
  return (user + system) * 1000 / ::sysconf(_SC_CLK_TCK);
}

std::vector<std::string> Station::command_line() const {
  std::vector<std::string> words = {options_.binary};
  if (options_.debug) words.emplace_back("-debug");
  const std::array<std::pair<const char*, std::string>, 5> pairs = {{
      {"-i", options_.nic},
      {"-sip_ip", options_.sip_ip},
      {"-sip_port", std::to_string(sip_port_)},
      {"-ctrl_port", std::to_string(ctrl_port_)},
      {"-qnr_port", std::to_string(options_.routing_port)},
  }};
  for (const auto& [option, value] : pairs) {
    words.emplace_back(option);
    words.push_back(value);
  }
  words.insert(words.end(), options_.extra_args.begin(), options_.extra_args.end());
  return words;
}

// In the child, between fork and exec.
void Station::become_station(std::vector<std::string> words) const {
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
  // A station of a test is not announced on the network of the machine that runs it.
  if (!options_.enter) (void)::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  if (options_.enter) options_.enter();
  (void)::setenv("HARK_ROOT", root_.path().c_str(), 1);
  redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
  redirect(STDOUT_FILENO, root_.file("stdout"), O_WRONLY | O_CREAT | O_APPEND);
  redirect(STDERR_FILENO, root_.file("stderr"), O_WRONLY | O_CREAT | O_APPEND);
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words)
    argv.push_back(word.data());
  argv.push_back(nullptr);
  (void)::execv(argv[0], argv.data());
  ::_exit(kExecFailed);
}

std::string Station::said() const {
  return "\nstation's stdout:\n" + stdout_text() + "\nstation's stderr:\n" + stderr_text();
}

}  // namespace hark::test

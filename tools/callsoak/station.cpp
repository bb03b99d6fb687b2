#include "tools/callsoak/station.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace callsoak {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kLimit = 10s;
constexpr auto kEndLimit = 20s;

bool fail(const std::string& what) {
  (void)std::fprintf(stderr, "callsoak: %s\n", what.c_str());
  return false;
}

sockaddr_in loopback(int port) {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_port = htons(static_cast<in_port_t>(port));
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return at;
}

// A TCP port that was free a moment ago.
int free_port() {
  const hark::UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in at = loopback(0);
  socklen_t size = sizeof at;
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0) return -1;
  if (::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&at), &size) != 0) return -1;
  return ntohs(at.sin_port);
}

quillsim::SimOptions greeting(const std::string& settings) {
  quillsim::SimOptions options;
  options.greeting = {"HARK LABL:\"Soak\" TRGL:1 DROPFLASH:1", "SRC 1 PSNM:\"Soak\" RTPA:\"239.192.0.77\""};
  if (!settings.empty()) options.greeting.push_back(settings);
  return options;
}

}  // namespace

std::string own_address(unsigned who) {
  const auto pid = static_cast<unsigned>(::getpid());
  return "127." + std::to_string(1 + (pid >> 14) % 254) + "." + std::to_string(pid >> 6 & 255) + "." +
         std::to_string((pid & 63) * 4 + who);
}

Station::Station(StationOptions options)
    : options_(std::move(options)), routing_(greeting(options_.settings)) {}

Station::~Station() {
  (void)stop();
  std::error_code ignored;
  if (!root_.empty()) fs::remove_all(root_, ignored);
}

bool Station::make_root() {
  const char* temp = std::getenv("TMPDIR");
  root_ = std::string(temp != nullptr ? temp : "/tmp") + "/callsoak.XXXXXX";
  if (::mkdtemp(root_.data()) == nullptr) return false;
  std::error_code error;
  for (const char* folder : {"/etc/Orfe/hark", "/etc/Orfe/EngConf", "/var/run", "/var/tmp"})
    fs::create_directories(root_ + folder, error);
  return !error;
}

void Station::become_harkd(int routing_port) const {
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
  (void)::setenv("HARK_ROOT", root_.c_str(), 1);
  // It is not announced on the network of the machine that runs it.
  (void)::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  const int errors = ::open((root_ + "/stderr").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  (void)::dup2(nowhere, STDIN_FILENO);
  (void)::dup2(nowhere, STDOUT_FILENO);
  (void)::dup2(errors, STDERR_FILENO);
  std::vector<std::string> words;
  std::istringstream wrapper(options_.wrapper);
  for (std::string word; wrapper >> word;)
    words.push_back(word);
  for (const std::string& word :
       {options_.harkd, std::string("-debug"), std::string("-i"), std::string("none0"),
        std::string("-sip_ip"), options_.address, std::string("-sip_port"), std::to_string(options_.sip_port),
        std::string("-ctrl_port"), std::to_string(control_port_), std::string("-qnr_port"),
        std::to_string(routing_port)})
    words.push_back(word);
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words)
    argv.push_back(word.data());
  argv.push_back(nullptr);
  (void)::execvp(argv[0], argv.data());
  ::_exit(127);
}

bool Station::start() {
  const int routing_port = routing_.listen("127.0.0.1", 0);
  control_port_ = free_port();
  if (!make_root() || routing_port < 0 || control_port_ < 0)
    return fail("no folder or no port for the station");
  pid_ = ::fork();
  if (pid_ == 0) become_harkd(routing_port);
  const auto end = Clock::now() + (options_.wrapper.empty() ? kLimit : 6 * kLimit);
  while (Clock::now() < end && alive() && !routing_.connected())
    pump(20);
  if (!connect()) return fail("the station's control port does not answer");
  // It has taken its name and source, of which VER knows nothing, when its loop has gone round.
  for (int turn = 0; turn < 5; ++turn) {
    pump(50);
    if (!ask("VER", "VER ")) return fail("the station does not answer");
  }
  return true;
}

bool Station::connect() {
  const auto end = Clock::now() + kLimit;
  const sockaddr_in at = loopback(control_port_);
  while (Clock::now() < end && alive()) {
    control_.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(control_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) == 0) return true;
    pump(20);
  }
  return false;
}

int Station::stop() {
  if (pid_ <= 0) return 0;
  control_.reset();
  (void)::kill(pid_, SIGTERM);
  const auto end = Clock::now() + kEndLimit;
  int status = 0;
  pid_t ended = 0;
  while ((ended = ::waitpid(pid_, &status, WNOHANG)) == 0 && Clock::now() < end)
    pump(20);
  if (ended == 0) {
    (void)::kill(pid_, SIGKILL);
    (void)::waitpid(pid_, &status, 0);
  }
  pid_ = -1;
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  if (code != 0) {
    std::ifstream errors(root_ + "/stderr");
    for (std::string line; std::getline(errors, line);)
      (void)std::fprintf(stderr, "station: %s\n", line.c_str());
  }
  return code;
}

bool Station::alive() {
  if (pid_ <= 0) return false;
  siginfo_t info{};
  // It stays to be waited for: its status is told by stop().
  return ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         info.si_pid == 0;
}

Figures Station::figures() const {
  Figures figures;
  const std::string folder = "/proc/" + std::to_string(pid_);
  std::ifstream status(folder + "/status");
  for (std::string word; status >> word;) {
    if (word == "VmRSS:") status >> figures.rss_kib;
    if (word == "VmHWM:") status >> figures.peak_kib;
  }
  std::error_code error;
  long count = 0;
  for (fs::directory_iterator it(folder + "/fd", error), none; !error && it != none; it.increment(error))
    ++count;
  if (!error) figures.descriptors = count;
  return figures;
}

void Station::send(std::string_view line) {
  const std::string text = std::string(line) + "\r\n";
  (void)::send(control_.get(), text.data(), text.size(), MSG_NOSIGNAL);
}

bool Station::next_line(std::string& line) {
  if (lines_.empty()) return false;
  line = std::move(lines_.front());
  lines_.pop_front();
  return true;
}

void Station::fill(fd_set& read, fd_set& write, int& highest) const {
  routing_.fill(read, write, highest);
  if (control_.is_open()) (void)hark::fdset_add(control_.get(), read, highest);
}

void Station::serve(const fd_set& read, const fd_set& write) {
  routing_.serve(read, write);
  routing_.forget_records();
  if (control_.is_open() && FD_ISSET(control_.get(), &read)) read_control();
}

void Station::read_control() {
  std::array<char, 16384> part;
  const ssize_t got = ::recv(control_.get(), part.data(), part.size(), MSG_DONTWAIT);
  if (got == 0) control_.reset();
  if (got <= 0) return;
  unread_.append(part.data(), static_cast<std::size_t>(got));
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = unread_.find('\n', begin)) != std::string::npos; begin = end + 1) {
    std::string line = unread_.substr(begin, end - begin);
    if (line.ends_with('\r')) line.pop_back();
    lines_.push_back(std::move(line));
  }
  unread_.erase(0, begin);
}

void Station::pump(int timeout_ms) {
  fd_set read;
  fd_set write;
  FD_ZERO(&read);
  FD_ZERO(&write);
  int highest = -1;
  fill(read, write, highest);
  timeval wait{timeout_ms / 1000, suseconds_t{timeout_ms % 1000} * 1000};
  if (::select(highest + 1, &read, &write, nullptr, &wait) >= 0) serve(read, write);
}

bool Station::ask(std::string_view line, std::string_view answer) {
  send(line);
  const auto end = Clock::now() + kLimit;
  while (Clock::now() < end && alive()) {
    std::string got;
    while (next_line(got)) {
      if (got.starts_with(answer)) return true;
    }
    pump(20);
  }
  return false;
}

}  // namespace callsoak

#include "call_rig.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace hark::bench {
namespace {

using namespace std::chrono_literals;

}  // namespace

bool cannot(const std::string& what) {
  (void)std::fprintf(stderr, "hark_bench_calls: %s\n", what.c_str());
  return false;
}

std::unique_ptr<callsoak::Station> answering_station(const std::string& harkd, const std::string& wrapper) {
  callsoak::StationOptions options;
  options.harkd = harkd;
  options.address = callsoak::own_address(1);
  options.sip_port = kBenchSipPort;
  options.wrapper = wrapper;
  auto station = std::make_unique<callsoak::Station>(options);
  if (!station->start()) return nullptr;
  station->send("HARK AANS:1");
  if (station->ask("VER", "VER ")) return station;
  (void)cannot("the station does not answer");
  return nullptr;
}

Target talk_service() { return {callsoak::own_address(1), kBenchSipPort + 2, "hark-talk"}; }
Target listen_service() { return {callsoak::own_address(1), kBenchSipPort + 1, "hark-listen"}; }
Target sipp_service() { return {callsoak::own_address(3), 5060, "hark-talk"}; }

Child::Child(std::vector<std::string> words, const std::string& output) : pid_(::fork()) {
  if (pid_ != 0) return;
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int file = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  (void)::dup2(nothing, STDIN_FILENO);
  (void)::dup2(file, STDOUT_FILENO);
  (void)::dup2(file, STDERR_FILENO);
  std::vector<char*> argv;
  for (std::string& word : words)
    argv.push_back(word.data());
  argv.push_back(nullptr);
  (void)::execvp(argv[0], argv.data());
  ::_exit(127);
}

Child::~Child() {
  if (pid_ <= 0) return;
  (void)::kill(pid_, SIGKILL);
  (void)::waitpid(pid_, nullptr, 0);
}

int Child::wait(callsoak::Station* station) {
  int status = 0;
  while (::waitpid(pid_, &status, WNOHANG) == 0) {
    if (station != nullptr) {
      station->pump(20);
    } else {
      std::this_thread::sleep_for(20ms);
    }
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Scratch::Scratch() {
  const char* temp = std::getenv("TMPDIR");
  path_ = std::string(temp != nullptr ? temp : "/tmp") + "/bench-calls.XXXXXX";
  if (::mkdtemp(path_.data()) == nullptr) std::abort();
}

Scratch::~Scratch() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::unique_ptr<Child> sipp_answerer(const std::string& scenarios, const Scratch& scratch) {
  const Target at = sipp_service();
  auto child =
      std::make_unique<Child>(std::vector<std::string>{"sipp", "-sf", scenarios + "/answerer.xml", "-i",
                                                       at.address, "-p", std::to_string(at.port), "-nostdin"},
                              scratch.file("answerer.out"));
  Caller caller(callsoak::own_address(2));
  // What comes before it listens is lost: the first call that is answered tells that it does.
  for (int tries = 0; tries < 50; ++tries) {
    std::this_thread::sleep_for(100ms);
    if (std::filesystem::exists(scratch.file("answerer.out")) && caller.call(at)) return child;
  }
  (void)cannot("sipp does not answer");
  return nullptr;
}

}  // namespace hark::bench

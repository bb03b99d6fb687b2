#include "system/net/program.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <utility>

#include "base/fd.h"

namespace hark::test {
namespace {

constexpr int kSignalStatus = 128;
constexpr int kExecFailed = 127;
constexpr int kEndMs = 5'000;

[[noreturn]] void become(std::vector<std::string> words, const UniqueFd& output,
                         const std::function<void()>& enter) {
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
  const UniqueFd nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  (void)::dup2(nothing.get(), STDIN_FILENO);
  (void)::dup2(output.get(), STDOUT_FILENO);
  (void)::dup2(output.get(), STDERR_FILENO);
  if (enter) enter();
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words)
    argv.push_back(word.data());
  argv.push_back(nullptr);
  (void)::execvp(argv[0], argv.data());
  ::_exit(kExecFailed);
}

}  // namespace

Program::Program(std::vector<std::string> words, std::string output, const std::function<void()>& enter)
    : output_(std::move(output)) {
  const UniqueFd file(::open(output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600));
  pid_ = ::fork();
  if (pid_ == 0) become(std::move(words), file, enter);
  running_ = pid_ > 0;
}

Program& Program::operator=(Program&& other) noexcept {
  kill();
  pid_ = std::exchange(other.pid_, -1);
  running_ = std::exchange(other.running_, false);
  exit_status_ = std::exchange(other.exit_status_, -1);
  output_ = std::move(other.output_);
  return *this;
}

bool Program::alive() {
  int status = 0;
  if (!running_ || ::waitpid(pid_, &status, WNOHANG) != pid_) return running_;
  running_ = false;
  exit_status_ = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalStatus + WTERMSIG(status);
  return false;
}

std::string Program::output() const {
  std::ifstream in(output_, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Program::send_signal(int number) const {
  if (running_) (void)::kill(pid_, number);
}

int Program::wait_exit(int timeout_ms) {
  (void)wait_until([this] { return !alive(); }, timeout_ms);
  return running_ ? -1 : exit_status_;
}

void Program::stop() {
  send_signal(SIGTERM);
  if (wait_exit(kEndMs) == -1) kill();
}

void Program::kill() {
  send_signal(SIGKILL);
  (void)wait_exit(kEndMs);
}

}  // namespace hark::test

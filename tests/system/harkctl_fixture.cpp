#include "system/harkctl_fixture.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>

namespace hark::test {
namespace {

constexpr int kSignalStatus = 128;

struct Pipe {
  UniqueFd read;
  UniqueFd write;
};

Pipe make_pipe() {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
  (void)set_nonblocking(ends[0]);
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

[[noreturn]] void become(const std::string& path, Words words, const Environment& environment, int out,
                         int err) {
  (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
  (void)::unsetenv("HARKCTL_STATION");
  for (const auto& [name, value] : environment)
    (void)::setenv(name.c_str(), value.c_str(), 1);
  (void)::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  (void)::dup2(out, STDOUT_FILENO);
  (void)::dup2(err, STDERR_FILENO);
  words.insert(words.begin(), path);
  std::vector<char*> argv;
  for (std::string& word : words)
    argv.push_back(word.data());
  argv.push_back(nullptr);
  (void)::execvp(argv[0], argv.data());
  ::_exit(127);
}

// Takes what is there; the pipe is closed at its end.
void take(UniqueFd& fd, std::string& text) {
  std::array<char, 4096> bytes;
  while (fd.is_open()) {
    const ssize_t got = ::read(fd.get(), bytes.data(), bytes.size());
    if (got < 0) return;
    if (got == 0) fd.reset();
    text.append(bytes.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace

Program::Program(const std::string& path, Words words, const Environment& environment) {
  Pipe out = make_pipe();
  Pipe err = make_pipe();
  pid_ = ::fork();
  if (pid_ == 0) become(path, std::move(words), environment, out.write.get(), err.write.get());
  out_ = std::move(out.read);
  err_ = std::move(err.read);
}

Program::~Program() {
  if (!Runs()) return;
  Signal(SIGKILL);
  (void)::waitpid(pid_, nullptr, 0);
}

bool Program::Runs() {
  int status = 0;
  if (!ended_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
    ended_ = true;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalStatus + WTERMSIG(status);
  }
  return !ended_;
}

int Program::WaitExit(int timeout_ms) {
  (void)wait_until([this] { return !Runs(); }, timeout_ms);
  take(out_, out_text_);
  take(err_, err_text_);
  return status_;
}

void Program::Signal(int number) const {
  if (!ended_) (void)::kill(pid_, number);
}

testing::AssertionResult Program::Prints(const std::string& text) const {
  if (wait_until([&] { return out_text_.find(text) != std::string::npos; }, 30'000))
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << "never printed: " << text << "\nbut: " << out_text_
                                     << "\nand on stderr: " << err_text_;
}

void Program::fill(fd_set& read, fd_set&, int& highest) const {
  for (const UniqueFd* fd : {&out_, &err_}) {
    if (fd->is_open()) (void)fdset_add(fd->get(), read, highest);
  }
}

void Program::serve(const fd_set& read, const fd_set&) {
  if (out_.is_open() && fdset_has(out_.get(), read)) take(out_, out_text_);
  if (err_.is_open() && fdset_has(err_.get(), read)) take(err_, err_text_);
}

Ended RunHarkctl(const Words& words, const Environment& environment) {
  Program program(HARKCTL_BINARY, words, environment);
  const int status = program.WaitExit();
  return {status, program.Out(), program.Err()};
}

testing::AssertionResult complains(const Ended& ended, int status, const std::string& text) {
  const bool one_line = ended.err.starts_with("harkctl: ") && ended.err.find('\n') + 1 == ended.err.size();
  if (ended.status == status && ended.out.empty() && one_line && ended.err.find(text) != std::string::npos)
    return testing::AssertionSuccess();
  return testing::AssertionFailure() << "wanted status " << status << " and one line with: " << text << "\n"
                                     << ended;
}

Words patient(Words words) {
  if (std::find(words.begin(), words.end(), "--timeout") == words.end())
    words.insert(words.end(), {"--timeout", "30"});
  return words;
}

Environment HarkctlTest::Env() const {
  return {{"HARKCTL_STATION", "127.0.0.1:" + std::to_string(station.ctrl_port())},
          {"HARK_ROOT", station.root().path()}};
}

std::string HarkctlTest::Out(const Words& words) const {
  const Ended ended = Run(words);
  EXPECT_EQ(ended.status, 0) << testing::PrintToString(words) << "\n" << ended;
  EXPECT_EQ(ended.err, "");
  return ended.out;
}

Json HarkctlTest::OutJson(Words words) const {
  words.emplace_back("--json");
  const std::string text = Out(words);
  EXPECT_EQ(text.find('\n') + 1, text.size()) << text;
  Json json = Json::parse(text, nullptr, false);
  EXPECT_FALSE(json.is_discarded()) << text;
  return json;
}

SilentPort::SilentPort() {
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof at;
  listener_.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0) return;
  if (::listen(listener_.get(), 16) != 0) return;
  if (::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&at), &size) == 0)
    port_ = ntohs(at.sin_port);
}

}  // namespace hark::test

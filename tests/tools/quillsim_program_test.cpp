// The program quillsim as a process: its command line, its output, its end.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/fd.h"
#include "system/support/client.h"
#include "system/support/ptt_sim.h"
#include "system/support/pump.h"
#include "system/support/temp_root.h"

namespace quillsim {
namespace {

using hark::test::Client;
using hark::test::wait_until;
using testing::HasSubstr;

constexpr char kListening[] = "listening on 127.0.0.1:";

// The program with its standard input on a pipe and its output in files.
class Program {
 public:
  explicit Program(std::vector<std::string> words) {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) std::abort();
    const hark::UniqueFd input(ends[0]);
    input_.reset(ends[1]);
    words.insert(words.begin(), QUILLSIM_BINARY);
    pid_ = ::fork();
    if (pid_ == 0) Become(input.get(), words);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() {
    if (ended_) return;
    (void)::kill(pid_, SIGKILL);
    (void)::waitpid(pid_, nullptr, 0);
  }

  // Status of the end, -1 when there is none in time.
  int WaitExit() {
    int status = 0;
    ended_ = wait_until([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; });
    return ended_ && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  int Signal(int number) {
    (void)::kill(pid_, number);
    return WaitExit();
  }
  void Type(const std::string& text) { ASSERT_GT(::write(input_.get(), text.data(), text.size()), 0); }
  [[nodiscard]] bool Prints(const std::string& text) const {
    return wait_until([&] { return Out().find(text) != std::string::npos; });
  }
  [[nodiscard]] bool Complains(const std::string& text) const {
    return wait_until([&] { return Err().find(text) != std::string::npos; });
  }
  [[nodiscard]] std::string Out() const { return files_.read("out"); }
  [[nodiscard]] std::string Err() const { return files_.read("err"); }
  // The port that it says it listens on; one that it says behind other words.
  [[nodiscard]] int Port() const { return PortBehind(kListening); }
  [[nodiscard]] int PortBehind(const std::string& words) const {
    const auto line_begin = [&](const std::string& out) { return ("\n" + out).find("\n" + words); };
    const bool told = wait_until([&] {
      const std::string out = Out();
      const std::size_t at = line_begin(out);
      return at != std::string::npos && out.find('\n', at) != std::string::npos;
    });
    if (!told) return -1;
    const std::string out = Out();
    return std::atoi(out.c_str() + line_begin(out) + words.size());
  }

 private:
  [[noreturn]] void Become(int input, std::vector<std::string>& words) const {
    (void)::dup2(input, STDIN_FILENO);
    (void)::dup2(::open(files_.file("out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDOUT_FILENO);
    (void)::dup2(::open(files_.file("err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDERR_FILENO);
    std::vector<char*> argv;
    for (std::string& word : words)
      argv.push_back(word.data());
    argv.push_back(nullptr);
    (void)::execv(argv[0], argv.data());
    ::_exit(127);
  }

  hark::test::TempRoot files_;
  hark::UniqueFd input_;
  pid_t pid_ = -1;
  bool ended_ = false;
};

TEST(QuillsimProgram, HelpAndBadOptionsEndAtOnce) {
  Program help({"--help"});
  EXPECT_EQ(help.WaitExit(), 0);
  EXPECT_THAT(help.Out(), HasSubstr("usage: quillsim"));

  Program bad({"--nonsense"});
  EXPECT_EQ(bad.WaitExit(), 2);
  EXPECT_THAT(bad.Err(), HasSubstr("unknown option --nonsense"));

  Program no_script({"--listen", "127.0.0.1:0", "--script", "/nonexistent"});
  EXPECT_EQ(no_script.WaitExit(), 1);
  EXPECT_THAT(no_script.Err(), HasSubstr("cannot read /nonexistent"));

  Program no_address({"--listen", "192.0.2.1:0"});
  EXPECT_EQ(no_address.WaitExit(), 1);
  EXPECT_THAT(no_address.Err(), HasSubstr("cannot listen on 192.0.2.1:0"));
}

TEST(QuillsimProgram, StopSignalsEndItWithStatus0) {
  for (const int number : {SIGTERM, SIGINT}) {
    Program program({"--listen", "127.0.0.1:0"});
    ASSERT_GT(program.Port(), 0);
    EXPECT_EQ(program.Signal(number), 0);
    EXPECT_EQ(program.Err(), "");
  }
}

TEST(QuillsimProgram, TypedLinesReachTheStationAndChangesAreShown) {
  Program program({"--listen", "127.0.0.1:0"});
  Client station(program.Port());
  ASSERT_TRUE(program.Prints("station connected"));
  program.Type("VER NGPI:24\nnonsense\n");
  EXPECT_TRUE(station.expect_line("VER NGPI:24"));
  EXPECT_TRUE(program.Complains("unknown directive: nonsense"));
  ASSERT_TRUE(station.send_line("create vmix2 app_id=\"orfe:app:hark#1@unknown\""));
  EXPECT_TRUE(program.Prints("hark#1 created, app_id=\"orfe:app:hark#1@unknown\"\n"));
  program.Type("show\nquit\n");
  EXPECT_EQ(program.WaitExit(), 0);
  EXPECT_THAT(program.Out(), HasSubstr("hark#1.sub#2 gain=0"));
}

TEST(QuillsimProgram, RunsAScriptAndGoesOn) {
  const hark::test::TempRoot files;
  files.write("script", "wait-for station connected\nSRC 1 RTPA:\"239.192.1.7\"\nwait-for created\nshow\n");
  Program program({"--listen", "127.0.0.1:0", "--script", files.file("script"), "--strict"});
  Client station(program.Port());
  EXPECT_TRUE(station.expect_line("SRC 1 RTPA:\"239.192.1.7\""));
  ASSERT_TRUE(station.send_line("create vmix2 app_id=\"orfe:app:hark#1@unknown\""));
  EXPECT_TRUE(program.Prints("hark#1.sub#2 gain=0"));
  EXPECT_EQ(program.Signal(SIGTERM), 0);
}

TEST(QuillsimProgram, PlaysAConsoleThatItNamesToTheStation) {
  Program program({"--listen", "127.0.0.1:0", "--console", "2", "--draw", "--strict"});
  Client station(program.Port());
  ASSERT_TRUE(station.send_line("get supv state"));
  const std::string line = station.read_line().value_or("");
  const std::string head = "INDI SUPV CONSOLE_IP:127.0.0.1:";
  ASSERT_THAT(line, testing::StartsWith(head));
  Client panel(std::atoi(line.c_str() + head.size()));
  ASSERT_TRUE(panel.ask("GET Intercom type", "INDI Intercom type=2"));
  ASSERT_TRUE(panel.send_raw("SUB Intercom\r\nSET Intercom.btn#1 IND=FLASH\n"));
  EXPECT_TRUE(program.Prints("Intercom.btn#1 IND=FLASH  (talk 1)\n"));
  EXPECT_TRUE(program.Prints("console |  1             T:flash  L:off\n"));
  program.Type("wait-lamp 1 FLASH\npress 1\n");
  EXPECT_TRUE(panel.expect_line("EVENT Intercom.btn#1 KEY=DOWN"));
  EXPECT_TRUE(panel.expect_line("EVENT Intercom.btn#1 KEY=UP"));
  program.Type("quit\n");
  EXPECT_EQ(program.WaitExit(), 0);
}

TEST(QuillsimProgram, StrictCountsTheMistakesAtTheConsole) {
  Program program({"--listen", "127.0.0.1:0", "--console", "1", "--strict"});
  Client panel(program.PortBehind("console listening on 127.0.0.1:"));
  ASSERT_TRUE(panel.send_line("nonsense"));
  ASSERT_TRUE(program.Prints("REFUSED by the console: no such command of a console: nonsense"));
  EXPECT_EQ(program.Signal(SIGTERM), 1);
}

TEST(QuillsimProgram, PlaysAFarDevice) {
  Program program({"--listen", "127.0.0.1:0", "--far-device", "0", "--far-password", "secret", "--far-dst",
                   "3=239.192.0.7", "--strict"});
  const int port = program.PortBehind("far device listening on 127.0.0.1:");
  ASSERT_GT(port, 0);
  Client station(port);
  ASSERT_TRUE(station.send_raw("DST\n"));
  EXPECT_TRUE(station.skip_to("DST 3 NAME:\"Output 3\" ADDR:\"239.192.0.7\""));
  EXPECT_TRUE(station.skip_to("DST 16 "));
  program.Type("wait-far 3 \"x\"\nfar-set 3 \"y\"\n");
  ASSERT_TRUE(station.send_raw("LOGIN secret\nDST 3 ADDR:\"x\"\n"));
  EXPECT_TRUE(station.expect_line("LOGIN OK"));
  EXPECT_TRUE(program.Prints("far DST 3 ADDR:\"x\"  (by 127.0.0.1:"));
  EXPECT_TRUE(station.skip_to("DST 3 NAME:\"Output 3\" ADDR:\"y\""));
  EXPECT_TRUE(program.Prints("far DST 3 ADDR:\"y\"  (by somebody else)\n"));
  ASSERT_TRUE(station.ask("LOGIN no", "ERROR 1001 not logged in"));
  EXPECT_EQ(program.Signal(SIGTERM), 1) << "a login that failed is a mistake";
}

TEST(QuillsimProgram, ServesRequestsToTalk) {
  const int channel = hark::test::own_ptt_channel(0);
  Program program({"--listen", "127.0.0.1:0", "--ptt", "127.0.0.1"});
  ASSERT_TRUE(program.Prints("joined 239.192.255.4 on 127.0.0.1\n"));
  hark::test::PttListener station;
  ASSERT_TRUE(station.request({channel, true, 7, 100}));
  const std::string name = "QnCH#" + std::to_string(channel);
  EXPECT_TRUE(station.wait_text("INDI " + name + " ifb_qnch=7"));
  EXPECT_TRUE(program.Prints("ptt request: EVENT " + name + " ptt=[DOWN,7,100]\n"));
  EXPECT_TRUE(station.wait_text("EVENT " + name + " ifb_qnch=0")) << "when the lease is over";
  EXPECT_TRUE(program.Prints("ptt " + name + " free, lease over\n"));

  Program nowhere({"--listen", "127.0.0.1:0", "--ptt", "192.0.2.99"});
  EXPECT_EQ(nowhere.WaitExit(), 1);
  EXPECT_THAT(nowhere.Err(), HasSubstr("cannot join the group on 192.0.2.99"));
}

TEST(QuillsimProgram, APortThatIsTakenEndsIt) {
  Program first({"--listen", "127.0.0.1:0"});
  const int port = first.Port();
  ASSERT_GT(port, 0);
  Program second({"--listen", "127.0.0.1:0", "--console", "1", "--console-port", std::to_string(port)});
  EXPECT_EQ(second.WaitExit(), 1);
  EXPECT_THAT(second.Err(), HasSubstr("cannot listen on 127.0.0.1:" + std::to_string(port)));
}

TEST(QuillsimProgram, StrictTellsMistakesByItsStatus) {
  for (const bool strict : {false, true}) {
    std::vector<std::string> words = {"--listen", "127.0.0.1:0"};
    if (strict) words.emplace_back("--strict");
    Program program(words);
    Client station(program.Port());
    ASSERT_TRUE(station.ask("set hark#1.sub#1 gain=0", "ERROR 1000 bad command"));
    EXPECT_THAT(program.Out(), HasSubstr("REFUSED: hark#1 is not created yet: set hark#1.sub#1 gain=0"));
    EXPECT_EQ(program.Signal(SIGTERM), strict ? 1 : 0);
  }
}

}  // namespace
}  // namespace quillsim

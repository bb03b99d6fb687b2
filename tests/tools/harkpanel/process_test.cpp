// The gateway as a process: what its surroundings do to it, standard output that nobody reads, streams that
// are closed, a terminal that goes away, must not leave a key of the station down.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "base/fd.h"
#include "system/net/program.h"
#include "system/support/line_socket.h"
#include "system/support/temp_root.h"
#include "system/support/ws_client.h"

namespace hark::test {
namespace {

constexpr int kPatienceMs = 30'000;

// A station of a few answers, and all lines that it was told.
class TinyStation : public Pumped {
 public:
  TinyStation() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof at;
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&at), size), 0);
    EXPECT_EQ(::listen(listener_.get(), 4), 0);
    EXPECT_EQ(::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&at), &size), 0);
    port_ = ntohs(at.sin_port);
  }
  [[nodiscard]] int port() const { return port_; }
  void HangUp() { peer_.close(); }
  [[nodiscard]] std::size_t heard(const std::string& text) const {
    std::size_t count = 0;
    for (const std::string& line : lines_)
      count += line.find(text) != std::string::npos ? 1 : 0;
    return count;
  }

  void fill(fd_set& read, fd_set& /*write*/, int& highest) const override {
    (void)fdset_add(listener_.get(), read, highest);
    if (peer_.is_open() && !peer_.at_end()) (void)fdset_add(peer_.fd(), read, highest);
  }
  void serve(const fd_set& read, const fd_set& /*write*/) override {
    if (fdset_has(listener_.get(), read))
      peer_.open(UniqueFd(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)));
    peer_.receive();
    for (const std::string& line : peer_.lines())
      answer(line);
    peer_.lines().clear();
    if (peer_.at_end()) peer_.close();
  }

 private:
  void answer(const std::string& line) {
    lines_.push_back(line);
    std::string reply;
    if (line == "HARK\n") reply = "HARK LABL:\"Studio\" LATCH:200 EXTC:0\r\n";
    if (line == "CALL\n") reply = "BEGIN\r\nEND\r\n";
    if (line == "VER\n") reply = "VER SVER:1.3.6.4 HARK:1\r\n";
    if (reply.empty()) return;
    EXPECT_TRUE(peer_.send_some(reply));
  }

  UniqueFd listener_;
  LineSocket peer_;
  std::vector<std::string> lines_;
  int port_ = 0;
};

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    from.reset(ends[0]);
    into.reset(ends[1]);
  }
  // Until it takes nothing more.
  void Fill() const {
    const int flags = ::fcntl(into.get(), F_GETFL);
    (void)::fcntl(into.get(), F_SETFL, flags | O_NONBLOCK);
    while (::write(into.get(), "x", 1) == 1) {
    }
    (void)::fcntl(into.get(), F_SETFL, flags);
  }
  [[nodiscard]] std::string Read() const {
    std::array<char, 4096> bytes{};
    (void)::fcntl(from.get(), F_SETFL, O_NONBLOCK);
    const ssize_t got = ::read(from.get(), bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(got > 0 ? got : 0)};
  }
  UniqueFd from, into;
};

class GatewayProcessTest : public testing::Test {
 protected:
  // `enter`: in the new process, before it becomes the gateway.
  void Start(const std::function<void()>& enter = {}) {
    program = Program({HARKPANEL_BINARY, "--station", "127.0.0.1:" + std::to_string(station.port()),
                       "--listen", "127.0.0.1:" + std::to_string(port)},
                      root.file("out"), [this, enter] {
                        (void)::setenv("HARK_ROOT", root.path().c_str(), 1);
                        (void)std::signal(SIGHUP, SIG_DFL);
                        if (enter) enter();
                      });
    ASSERT_TRUE(wait_until([this] { return station.heard("CALL") == 1; }, kPatienceMs)) << program.output();
  }
  // The port that it says it has.
  void Listens(const std::function<std::string()>& said) {
    static const std::string kAt = "listening on http://127.0.0.1:";
    std::string all;
    ASSERT_TRUE(wait_until([&] { return (all += said()).find(kAt) != std::string::npos; }, kPatienceMs))
        << all;
    port = std::atoi(all.c_str() + all.find(kAt) + kAt.size());
  }
  void StartListening(const std::function<void()>& enter = {}) {
    Start(enter);
    Listens([this] { return program.output(); });
  }
  void HoldKey(WsClient& browser) {
    ASSERT_TRUE(browser.connect(port));
    ASSERT_EQ(browser.upgrade(), 101) << browser.body();
    ASSERT_TRUE(browser.send_text(R"({"t":"hello","v":1})"));
    ASSERT_TRUE(browser.send_text(R"({"t":"key","key":"KT01","down":true,"at":1000})"));
    ASSERT_TRUE(wait_until([this] { return station.heard("KT01 KEY=DOWN") == 1; }, kPatienceMs));
  }
  [[nodiscard]] std::string Held() const {
    std::string held;
    for (const std::string& name : root.files()) {
      if (name.ends_with(".held")) held += root.read(name);
    }
    return held;
  }

  TempRoot root;
  TinyStation station;
  Program program;
  int port = 0;
};

// What was printed into a full pipe stopped the gateway until somebody read it, and with it all releases.
TEST_F(GatewayProcessTest, FullStandardOutputHoldsNoKey) {
  const Pipe pipe;
  Start([&pipe] { (void)::dup2(pipe.into.get(), STDOUT_FILENO); });
  Listens([&pipe] { return pipe.Read(); });
  WsClient browser;
  HoldKey(browser);
  pipe.Fill();
  station.HangUp();
  EXPECT_TRUE(wait_until([this] { return station.heard("KT01 KEY=UP") == 1; }, kPatienceMs));
}

// The same with a pipe whose reader has gone.
TEST_F(GatewayProcessTest, StandardOutputWithoutAReaderEndsNothing) {
  Pipe pipe;
  Start([&pipe] { (void)::dup2(pipe.into.get(), STDOUT_FILENO); });
  Listens([&pipe] { return pipe.Read(); });
  pipe.from.reset();
  pipe.into.reset();
  WsClient browser;
  HoldKey(browser);
  station.HangUp();
  EXPECT_TRUE(wait_until([this] { return station.heard("KT01 KEY=UP") == 1; }, kPatienceMs));
  EXPECT_TRUE(program.alive());
}

// The file of held keys was opened as standard output, and lines of the log stood in it.
TEST_F(GatewayProcessTest, ClosedStreamsAreNotTakenForFiles) {
  Start([] {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      (void)::close(stream);
  });
  program.send_signal(SIGTERM);
  EXPECT_EQ(program.wait_exit(kPatienceMs), 0);
  EXPECT_EQ(Held(), "");
}

// A hang-up of the terminal ended it with the key down.
TEST_F(GatewayProcessTest, HangUpLetsGoOfKeysFirst) {
  StartListening();
  WsClient browser;
  HoldKey(browser);
  program.send_signal(SIGHUP);
  EXPECT_TRUE(wait_until([this] { return station.heard("KT01 KEY=UP") == 1; }, kPatienceMs));
  EXPECT_EQ(program.wait_exit(kPatienceMs), 0) << program.output();
}

TEST_F(GatewayProcessTest, HangUpThatIsIgnoredFromTheStartStaysIgnored) {
  StartListening([] { (void)std::signal(SIGHUP, SIG_IGN); });
  program.send_signal(SIGHUP);
  WsClient browser;
  HoldKey(browser);  // the signal would be read before the browser
  EXPECT_TRUE(program.alive());
}

// The last answer of the station was not read, so that an orderly end left its keys in the file.
TEST_F(GatewayProcessTest, OrderlyEndLeavesNoKeyInTheFile) {
  StartListening();
  WsClient browser;
  HoldKey(browser);
  EXPECT_THAT(Held(), testing::HasSubstr("KT01"));
  program.send_signal(SIGTERM);
  EXPECT_EQ(program.wait_exit(kPatienceMs), 0) << program.output();
  EXPECT_EQ(station.heard("KT01 KEY=UP"), 1U);
  EXPECT_EQ(Held(), "");
}

// Only the spelling in small letters was taken (RFC 6455 4.2.1 wants any).
TEST_F(GatewayProcessTest, UpgradeMayBeSpeltInCapitals) {
  StartListening();
  WsClient browser;
  ASSERT_TRUE(browser.connect(port));
  ASSERT_TRUE(
      browser.send_raw("GET /panel HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: WebSocket\r\n"
                       "Connection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                       "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Protocol: harkpanel\r\n\r\n"));
  EXPECT_EQ(browser.wait_http(kPatienceMs), 101) << browser.body();
}

}  // namespace
}  // namespace hark::test

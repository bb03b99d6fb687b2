// The client side of a line connection, against a listener on this machine: dialling, sending, and the small
// line reader.
#include "daemon/qnrlib/qnrcli.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <csignal>
#include <string>
#include <vector>

#include "base/fd.h"

namespace hark {
namespace {

// A listener on 127.0.0.1; port 0 takes any that is free.
class Listener {
 public:
  explicit Listener(unsigned short port = 0) : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    ::setsockopt(fd_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    address_.sin_family = AF_INET;
    address_.sin_port = htons(port);
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address_;
    ready_ = ::bind(fd_.get(), Address(), size) == 0 && ::listen(fd_.get(), 4) == 0 &&
             ::getsockname(fd_.get(), Address(), &size) == 0;
  }
  [[nodiscard]] bool ready() const { return ready_; }
  [[nodiscard]] unsigned short port() const { return ntohs(address_.sin_port); }
  // Takes the connection that has been made; the kernel has it already when connect returned.
  [[nodiscard]] UniqueFd Accept() const { return UniqueFd(::accept(fd_.get(), nullptr, nullptr)); }
  void Close() { fd_.reset(); }

 private:
  sockaddr* Address() { return reinterpret_cast<sockaddr*>(&address_); }
  UniqueFd fd_;
  sockaddr_in address_{};
  bool ready_ = false;
};

const unsigned long kLoopback = htonl(INADDR_LOOPBACK);

TEST(QnrOpen, ConnectsWithoutDelayToTheGivenAddressAndPort) {
  const Listener listener;
  ASSERT_TRUE(listener.ready());
  const UniqueFd client(qnr_open(kLoopback, listener.port()));
  ASSERT_TRUE(client.is_open());
  EXPECT_TRUE(listener.Accept().is_open());
  int no_delay = 0;
  socklen_t size = sizeof no_delay;
  ASSERT_EQ(::getsockopt(client.get(), IPPROTO_TCP, TCP_NODELAY, &no_delay, &size), 0);
  EXPECT_NE(no_delay, 0);
}

TEST(QnrOpen, AddressZeroIsThisMachine) {
  const Listener listener;
  ASSERT_TRUE(listener.ready());
  const UniqueFd client(qnr_open(0, listener.port()));
  EXPECT_TRUE(client.is_open());
  EXPECT_TRUE(listener.Accept().is_open());
}

TEST(QnrOpen, RefusedConnectionGivesNoSocketAndLeavesNone) {
  Listener listener;
  ASSERT_TRUE(listener.ready());
  const unsigned short port = listener.port();
  listener.Close();
  const UniqueFd next_free(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(qnr_open(kLoopback, port), -1);
  const UniqueFd after(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(after.get(), next_free.get() + 1) << "a socket was left open";
}

TEST(QnrCmd, SendsTheWholeText) {
  const Listener listener;
  ASSERT_TRUE(listener.ready());
  const UniqueFd client(qnr_open(kLoopback, listener.port()));
  const UniqueFd server = listener.Accept();
  EXPECT_EQ(qnr_cmd(client.get(), "VER\r\n"), 0);
  EXPECT_EQ(qnr_cmd(client.get(), "SRC 1\r\n"), 0);
  std::array<char, 12> got{};
  EXPECT_EQ(::recv(server.get(), got.data(), got.size(), MSG_WAITALL), 12);
  EXPECT_EQ(std::string(got.data(), got.size()), "VER\r\nSRC 1\r\n");
}

TEST(QnrCmd, FailsWithoutASocket) { EXPECT_EQ(qnr_cmd(-1, "VER\r\n"), -1); }

TEST(QnrCmd, FailsWhenTheOtherEndHasGone) {
  std::array<int, 2> pair{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
  const UniqueFd client(pair[0]);
  UniqueFd(pair[1]).reset();
  EXPECT_EQ(qnr_cmd(client.get(), "VER\r\n"), -1);
}

TEST(QnrCli, DefaultConnectionGoesToPort93OfThisMachine) {
  Listener listener(kQnrDefaultPort);
  if (!listener.ready())
    GTEST_SKIP() << "port 93 is taken or not ours: the default connection is not checked";
  _tagQNRCLI client;
  ASSERT_EQ(qnrcli_init(&client), 0);
  EXPECT_GE(client.fd, 0);
  EXPECT_NE(client.buf, nullptr);
  EXPECT_EQ(client.head, client.buf);
  EXPECT_EQ(client.tail, client.buf);
  EXPECT_EQ(client.size, 2000);
  const UniqueFd server = listener.Accept();
  ASSERT_TRUE(server.is_open());
  EXPECT_EQ(::send(server.get(), "VER 1\r\n", 7, MSG_NOSIGNAL), 7);
  EXPECT_STREQ(qnrcli_recv(&client, 5'000'000), "VER 1");
  qnrcli_free(&client);
  char byte = 0;
  EXPECT_EQ(::recv(server.get(), &byte, 1, 0), 0) << "freeing ends the connection";

  listener.Close();
  ASSERT_EQ(qnrcli_init(&client), 0);
  EXPECT_EQ(client.fd, -1) << "nobody listens, so there is no connection";
  EXPECT_NE(client.buf, nullptr);
  qnrcli_free(&client);
}

// A reader over a socket pair, with a buffer of the test's own.
class QnrCliReader : public ::testing::Test {
 protected:
  QnrCliReader() : buffer_(kQnrClientBuffer) {
    std::array<int, 2> pair{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    client_.fd = pair[0];
    far_.reset(pair[1]);
    client_.buf = client_.head = client_.tail = buffer_.data();
    client_.size = static_cast<int>(buffer_.size());
  }
  ~QnrCliReader() override { UniqueFd(client_.fd).reset(); }

  void Send(const std::string& text) const {
    EXPECT_EQ(::send(far_.get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  }
  // The next line, "(none)" when there is none.
  std::string Next() {
    const char* line = qnrcli_recv(&client_, 0);
    return line != nullptr ? line : "(none)";
  }

  std::vector<char> buffer_;
  _tagQNRCLI client_;
  UniqueFd far_;
};

TEST_F(QnrCliReader, GivesNothingWhileNothingComes) {
  EXPECT_EQ(Next(), "(none)");
  EXPECT_GE(client_.fd, 0);
}

TEST_F(QnrCliReader, GivesOneLineAtATime) {
  Send("SRC 1\r\nGPI 2\nEND\r");
  EXPECT_EQ(Next(), "SRC 1");
  EXPECT_EQ(Next(), "GPI 2");
  EXPECT_EQ(Next(), "END");
  EXPECT_EQ(Next(), "(none)");
}

TEST_F(QnrCliReader, AnyRunOfLineEndsIsOneEnd) {
  Send("A\r\n\r\n\n\rB\r\n");
  EXPECT_EQ(Next(), "A");
  EXPECT_EQ(Next(), "B");
  EXPECT_EQ(Next(), "(none)");
}

TEST_F(QnrCliReader, PartOfALineWaitsForItsEnd) {
  Send("SRC 1 PS");
  EXPECT_EQ(Next(), "(none)");
  Send("NM:\"x\"\r\nGP");
  EXPECT_EQ(Next(), "SRC 1 PSNM:\"x\"");
  EXPECT_EQ(Next(), "(none)");
  Send("I\n");
  EXPECT_EQ(Next(), "GPI");
}

TEST_F(QnrCliReader, BufferIsUsedOverAndOver) {
  const std::string longest(1990, 'x');
  for (int i = 0; i < 5; ++i) {
    Send(longest + "\r\n");
    ASSERT_EQ(Next(), longest) << i;
  }
}

TEST_F(QnrCliReader, EndOfTheConnectionClosesTheSocketAndSaysSo) {
  far_.reset();
  testing::internal::CaptureStderr();
  EXPECT_EQ(Next(), "(none)");
  EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("qnrlib: recv() failed err="));
  EXPECT_EQ(client_.fd, -1);
  EXPECT_EQ(Next(), "(none)") << "and asking again is harmless";
}

// A line that was moved to the buffer's start when the connection ended was given twice.
TEST_F(QnrCliReader, LinesThatCameBeforeTheEndAreGivenOnceEach) {
  Send("A\nB\n");
  far_.reset();
  EXPECT_EQ(Next(), "A");
  EXPECT_EQ(Next(), "B");
  EXPECT_EQ(Next(), "(none)");
  EXPECT_EQ(client_.fd, -1);
}

}  // namespace
}  // namespace hark

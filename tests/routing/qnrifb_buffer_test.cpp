// What waits to be sent: the limit of the buffer, a far daemon that reads slowly, and sockets that no select
// set can hold.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include "routing/ifb_fixture.h"

namespace hark {
namespace {

using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* kOverrun = "qnrifb tx buffer overrun\n";

// Port 5 waits for the answer about destination 7.
class QnrifbBuffer : public RemoteIfb {
 protected:
  QnrifbBuffer() {
    Set(5, far, 7);
    EXPECT_EQ(Written(far), "DST\n");
    logged.clear();
  }

  // What goes to stderr meanwhile.
  template <typename Action>
  static std::string ErrorsOf(Action action) {
    ::testing::internal::CaptureStderr();
    action();
    return ::testing::internal::GetCapturedStderr();
  }

  FarDaemon far;
};

TEST_F(QnrifbBuffer, TakesWhatFitsAndNothingOfWhatDoesNot) {
  qnrifb_remote_connection& link = *Link(far);
  const std::string text(tx_size - 1, 'a');
  EXPECT_EQ(qnrifb_send(link, text), 0);
  EXPECT_EQ(ErrorsOf([&] { EXPECT_EQ(qnrifb_send(link, "bb"), -1); }), kOverrun);
  EXPECT_EQ(link.tx_wr - link.tx_rd, text.size());
  EXPECT_EQ(ErrorsOf([&] { EXPECT_EQ(qnrifb_send(link, "c"), 0); }), "");
  EXPECT_EQ(ErrorsOf([&] { EXPECT_EQ(qnrifb_send(link, "d"), -1); }), kOverrun);
  EXPECT_EQ(Written(far), text + "c");
}

TEST_F(QnrifbBuffer, IsEmptyAgainWhenAllIsSent) {
  const std::string text(tx_size, 'a');
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(qnrifb_send(*Link(far), text), 0);
    EXPECT_EQ(Written(far), text);
  }
  EXPECT_EQ(ErrorsOf([&] { EXPECT_EQ(qnrifb_send(*Link(far), text + "b"), -1); }), kOverrun);
  EXPECT_EQ(Written(far), "");
}

TEST_F(QnrifbBuffer, SetRequestThatDoesNotFitIsNotWrittenAndNotLogged) {
  const std::string text(tx_size - 10, 'a');
  EXPECT_EQ(qnrifb_send(*Link(far), text), 0);
  EXPECT_EQ(ErrorsOf([&] { qnrifb_receive_msg(*Link(far), R"(DST 7 ADDR:"1.1.1.1")"); }), kOverrun);
  EXPECT_EQ(LoggedCount("6 qnrifb route"), 0);
  EXPECT_EQ(Written(far), text);
}

TEST_F(QnrifbBuffer, QueryThatDoesNotFitIsNotWritten) {
  const std::string text(tx_size - 3, 'a');
  EXPECT_EQ(qnrifb_send(*Link(far), text), 0);
  EXPECT_EQ(ErrorsOf([&] { Set(6, far, 8); }), kOverrun);
  EXPECT_EQ(Written(far), text);
}

TEST_F(QnrifbBuffer, WhatTheFarDaemonDoesNotReadWaitsAndKeepsItsOrder) {
  qnrifb_remote_connection& link = *Link(far);
  const int small = 4096;
  ASSERT_EQ(::setsockopt(link.fd.get(), SOL_SOCKET, SO_SNDBUF, &small, sizeof small), 0);
  std::string expected;
  // Until the socket takes no more.
  for (int i = 0; link.tx_wr == link.tx_rd && i < 10'000; ++i) {
    std::string text = std::to_string(i) + ":";
    text.resize(8000, static_cast<char>('a' + i % 26));
    ASSERT_EQ(qnrifb_send(link, text), 0);
    expected += text;
    Pass();
    Pass();
  }
  ASSERT_GT(link.tx_wr, link.tx_rd);
  EXPECT_EQ(Written(far), expected);
}

TEST_F(QnrifbBuffer, SendThatFailsMovesNothing) {
  qnrifb_remote_connection& link = *Link(far);
  EXPECT_EQ(qnrifb_send(link, "waits\n"), 0);
  const std::size_t from = link.tx_rd;
  const std::size_t to = link.tx_wr;
  // Behind a shutdown every send fails, and the socket stays writable.
  ASSERT_EQ(::shutdown(link.fd.get(), SHUT_WR), 0);
  fd_set readable;
  fd_set writable;
  FD_ZERO(&readable);
  FD_ZERO(&writable);
  FD_SET(link.fd.get(), &writable);
  for (int i = 0; i < 3; ++i) {
    qnrifb_processevents(readable, writable, clock.Now());
    EXPECT_EQ(link.tx_rd, from);
    EXPECT_EQ(link.tx_wr, to);
  }
}

TEST_F(QnrifbBuffer, SocketThatIsNotReadableAfterAllIsLeftOpen) {
  fd_set readable;
  fd_set writable;
  FD_ZERO(&readable);
  FD_ZERO(&writable);
  FD_SET(Link(far)->fd.get(), &readable);
  qnrifb_processevents(readable, writable, clock.Now());
  EXPECT_NE(Link(far), nullptr);
  EXPECT_THAT(logged, IsEmpty());
}

TEST_F(QnrifbBuffer, SocketBeyondASelectSetIsNeverTouched) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit wider = before;
  wider.rlim_cur = before.rlim_max;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &wider), 0);
  FarDaemon late;
  std::vector<UniqueFd> filler;
  do
    filler.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  while (filler.back().is_open() && filler.back().get() < FD_SETSIZE + 1);
  if (!filler.back().is_open()) GTEST_SKIP() << "no descriptors of that height here";

  EXPECT_THAT(ErrorsOf([&] { (void)qnrifb_set(6, late.Url(7).c_str(), kOurSource); }),
              StartsWith("qnrifb_connect socket: "));
  fd_set readable;
  fd_set writable;
  FD_ZERO(&readable);
  FD_ZERO(&writable);
  EXPECT_EQ(qnrifb_selectevents(readable, writable), Link(far)->fd.get());
  for (int i = 0; i < 3; ++i)
    Pass();
  EXPECT_EQ(Link(late), nullptr);
  EXPECT_EQ(Port(6).conn, nullptr);
  EXPECT_THAT(reports, IsEmpty());
  EXPECT_NE(Link(far), nullptr) << "the others go on";

  filler.clear();
  Set(6, late, 7);
  EXPECT_EQ(Written(late), "DST\n");
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

}  // namespace
}  // namespace hark

// Datagrams between real sockets: what arrives, from whom, and what is told when none does.
#include <arpa/inet.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>
#include <string_view>

#include "cpsip/cpsip_socket.h"
#include "cpsip/socket_calls.h"
#include "cpsip/socket_fixture.h"

namespace hark::test {
namespace {

class SocketDatagram : public SocketTest {
 protected:
  // Loopback delivers within sendto: what was sent is there.
  struct Received {
    int length = 0;
    std::string text;
    cpsip_address from;
    int err = 0;
  };
  [[nodiscard]] static Received Receive(const SocCB& cb, std::size_t room = 2048) {
    Received got;
    got.text.assign(room, '~');
    got.length = Cpsip_SOC_Recvfrom(cb.fd.get(), got.text, got.from, got.err);
    got.text.resize(got.length < 0 ? 0 : static_cast<std::size_t>(got.length));
    return got;
  }
};

TEST_F(SocketDatagram, ArrivesWithItsSource) {
  const SocCB& from = AddBound();
  const SocCB& to = AddBound();
  Send(from, to, "OPTIONS");
  const Received got = Receive(to);
  EXPECT_EQ(got.length, 7) << "errno " << got.err;
  EXPECT_EQ(got.text, "OPTIONS");
  EXPECT_EQ(got.from, AddressOf(from));
}

TEST_F(SocketDatagram, ArrivesOneByOneInOrder) {
  const SocCB& from = AddBound();
  const SocCB& to = AddBound();
  Send(from, to, "one");
  Send(from, to, "");
  Send(from, to, "three");
  EXPECT_EQ(Receive(to).text, "one");
  const Received empty = Receive(to);
  EXPECT_EQ(empty.length, 0);
  EXPECT_EQ(empty.from, AddressOf(from));
  EXPECT_EQ(Receive(to).text, "three");
}

TEST_F(SocketDatagram, IsCutToTheBuffer) {
  const SocCB& from = AddBound();
  const SocCB& to = AddBound();
  Send(from, to, "0123456789");
  Send(from, to, "next");
  EXPECT_EQ(Receive(to, 4).text, "0123");
  EXPECT_EQ(Receive(to).text, "next") << "the rest is lost, as with any datagram";
}

TEST_F(SocketDatagram, NoneGivesTheErrnoAndLeavesTheSource) {
  const SocCB& cb = AddBound();
  std::array<char, 16> room{};
  cpsip_address from{.type = 7, .port = 8, .addr = 9};
  const cpsip_address before = from;
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Recvfrom(cb.fd.get(), room, from, err), -1);
  EXPECT_EQ(err, EAGAIN);
  EXPECT_EQ(from, before);
  EXPECT_EQ(Cpsip_SOC_Recvfrom(-1, room, from, err), -1);
  EXPECT_EQ(err, EBADF);
  const Failing failing(SystemCall::recvfrom, ECONNREFUSED);
  EXPECT_EQ(Cpsip_SOC_Recvfrom(cb.fd.get(), room, from, err), -1);
  EXPECT_EQ(err, ECONNREFUSED);
  EXPECT_EQ(from, before);
}

TEST_F(SocketDatagram, GoesWhereItIsToldAndIsCounted) {
  const SocCB& from = AddBound();
  const SocCB& to = AddBound();
  const SocCB& other = AddBound();
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Sendto(from.fd.get(), std::string_view{"BYE"}, AddressOf(to), err), 3);
  EXPECT_EQ(Receive(to).text, "BYE");
  EXPECT_EQ(Receive(other).length, -1);
}

TEST_F(SocketDatagram, ThatWentWhollyIsNotReported) {
  const SocCB& from = AddBound();
  const SocCB& to = AddBound();
  int err = 0;
  EXPECT_EQ(
      Printed([&] { (void)Cpsip_SOC_Sendto(from.fd.get(), std::string_view{"BYE"}, AddressOf(to), err); }),
      "");
}

TEST_F(SocketDatagram, ShortWriteIsReportedAndCounted) {
  const SocCB& from = AddBound();
  const SocCB& to = AddBound();
  const ShortSend shorter(4);
  int sent = 0;
  int err = 0;
  EXPECT_THAT(Printed([&] {
                sent = Cpsip_SOC_Sendto(from.fd.get(), std::string_view{"REGISTER"}, AddressOf(to), err);
              }),
              IsOneReport());
  EXPECT_EQ(sent, 4);
  EXPECT_EQ(Receive(to).text, "REGI");
}

TEST_F(SocketDatagram, ThatCannotGoGivesTheErrno) {
  const SocCB& cb = AddBound();
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Sendto(-1, std::string_view{"BYE"}, AddressOf(cb), err), -1);
  EXPECT_EQ(err, EBADF);
  const std::string huge(70'000, 'x');
  EXPECT_EQ(Cpsip_SOC_Sendto(cb.fd.get(), huge, AddressOf(cb), err), -1);
  EXPECT_EQ(err, EMSGSIZE);
}

TEST_F(SocketDatagram, ToAStreamThatEndedGivesTheErrnoAndNoSignal) {
  SocCB& server = AddOpen(cpsip_transport_kind::tcp);
  server.local = OwnAddress();
  int err = 0;
  ASSERT_EQ(Cpsip_SOC_Bind(server, err), 0);
  ASSERT_EQ(listen(server.fd.get(), 1), 0);
  SocCB& client = AddOpen(cpsip_transport_kind::tcp);
  client.remote = AddressOf(server);
  ASSERT_EQ(Cpsip_SOC_Connect(client, err), 0);
  ASSERT_EQ(shutdown(client.fd.get(), SHUT_WR), 0);
  EXPECT_EQ(Cpsip_SOC_Sendto(client.fd.get(), std::string_view{"BYE"}, client.remote, err), -1);
  EXPECT_EQ(err, EPIPE);
}

class SocketDatagramDeathTest : public SocketTest {};

TEST_F(SocketDatagramDeathTest, SourceOfAnotherLengthEndsTheProcess) {
  for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
    SCOPED_TRACE(type);
    std::array<int, 2> pair{};
    ASSERT_EQ(socketpair(AF_UNIX, type, 0, pair.data()), 0);
    const UniqueFd ours(pair[0]);
    const UniqueFd theirs(pair[1]);
    ASSERT_EQ(send(theirs.get(), "x", 1, 0), 1);
    std::array<char, 16> room{};
    cpsip_address from;
    int err = 0;
    EXPECT_EXIT(Dying([&] { (void)Cpsip_SOC_Recvfrom(ours.get(), room, from, err); }),
                ::testing::ExitedWithCode(1), kFatalReport);
  }
}

}  // namespace
}  // namespace hark::test

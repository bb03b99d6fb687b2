// The system calls of the socket layer on real sockets: what they open, bind, connect, close and tell.
#include "cpsip/cpsip_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>

#include "cpsip/socket_calls.h"
#include "cpsip/socket_fixture.h"

namespace hark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SocketCalls : public SocketTest {};

int Option(int fd, int name) {
  int value = -1;
  socklen_t size = sizeof value;
  EXPECT_EQ(getsockopt(fd, SOL_SOCKET, name, &value, &size), 0);
  return value;
}

// The number that the next descriptor gets: it tells whether one was left open.
int NextFd() {
  const UniqueFd fd(dup(STDERR_FILENO));
  return fd.get();
}

bool IsOpen(int fd) { return fcntl(fd, F_GETFD) >= 0; }

TEST_F(SocketCalls, SocketIsNonBlockingAndOfItsKind) {
  struct Row {
    cpsip_transport_kind kind;
    int type, protocol;
  };
  for (const Row& row : {Row{cpsip_transport_kind::udp, SOCK_DGRAM, IPPROTO_UDP},
                         Row{cpsip_transport_kind::tcp, SOCK_STREAM, IPPROTO_TCP},
                         Row{cpsip_transport_kind::tls, SOCK_STREAM, IPPROTO_TCP}}) {
    SCOPED_TRACE(static_cast<unsigned>(row.kind));
    int err = 0;
    const UniqueFd fd(Cpsip_SOC_Socket(row.kind, kAddressIp4, err));
    ASSERT_TRUE(fd.is_open()) << "errno " << err;
    EXPECT_EQ(Option(fd.get(), SO_DOMAIN), AF_INET);
    EXPECT_EQ(Option(fd.get(), SO_TYPE), row.type);
    EXPECT_EQ(Option(fd.get(), SO_PROTOCOL), row.protocol);
    EXPECT_NE(fcntl(fd.get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(fd.get(), F_GETFL) & O_ACCMODE, O_RDWR) << "the flags that it had stay";
    EXPECT_NE(fcntl(fd.get(), F_GETFD) & FD_CLOEXEC, 0);
  }
}

TEST_F(SocketCalls, OtherKindsAndFamiliesAreRefused) {
  struct Row {
    const char* what;
    cpsip_transport_kind kind;
    std::uint32_t type;
    int err;
  };
  for (const Row& row : {Row{"no kind", cpsip_transport_kind::none, kAddressIp4, EPROTONOSUPPORT},
                         Row{"SCTP", cpsip_transport_kind::sctp, kAddressIp4, EPROTONOSUPPORT},
                         Row{"above all", static_cast<cpsip_transport_kind>(5), kAddressIp4, EPROTONOSUPPORT},
                         Row{"no family", cpsip_transport_kind::udp, 0, EAFNOSUPPORT},
                         Row{"IPv6", cpsip_transport_kind::udp, kAddressOther, EAFNOSUPPORT}}) {
    SCOPED_TRACE(row.what);
    int fd = 0;
    int err = 0;
    EXPECT_THAT(Printed([&] { fd = Cpsip_SOC_Socket(row.kind, row.type, err); }), IsOneReport());
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(err, row.err);
  }
}

TEST_F(SocketCalls, SocketThatTheSystemRefusesGivesTheErrno) {
  const Failing failing(SystemCall::socket, EMFILE);
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Socket(cpsip_transport_kind::udp, kAddressIp4, err), -1);
  EXPECT_EQ(err, EMFILE);
}

TEST_F(SocketCalls, SocketThatStaysBlockingIsClosedAndGivesTheErrno) {
  const int next = NextFd();
  const Failing failing(SystemCall::fcntl, EPERM);
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Socket(cpsip_transport_kind::udp, kAddressIp4, err), -1);
  EXPECT_EQ(err, EPERM);
  EXPECT_EQ(NextFd(), next);
}

TEST_F(SocketCalls, BindTakesTheLocalAddressForReuse) {
  SocCB& cb = AddOpen();
  cb.local = OwnAddress();
  int err = 0;
  ASSERT_EQ(Cpsip_SOC_Bind(cb, err), 0) << "errno " << err;
  EXPECT_EQ(Option(cb.fd.get(), SO_REUSEADDR), 1);
  sockaddr_in name{};
  socklen_t size = sizeof name;
  ASSERT_EQ(getsockname(cb.fd.get(), reinterpret_cast<sockaddr*>(&name), &size), 0);
  EXPECT_EQ(name.sin_addr.s_addr, OwnLoopback());
  EXPECT_EQ(ntohs(name.sin_port), Cpsip_SOC_GetLocalPort(cb));
}

TEST_F(SocketCalls, BindTakesTheLocalPort) {
  // Reuse lets two datagram sockets have one port.
  const SocCB& first = AddBound();
  SocCB& second = AddOpen();
  second.local = AddressOf(first);
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Bind(second, err), 0) << "errno " << err;
  EXPECT_EQ(Cpsip_SOC_GetLocalPort(second), Cpsip_SOC_GetLocalPort(first));
}

TEST_F(SocketCalls, BindGoesOnWithoutReuse) {
  SocCB& cb = AddOpen();
  cb.local = OwnAddress();
  const Failing failing(SystemCall::setsockopt, ENOPROTOOPT);
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Bind(cb, err), 0);
  EXPECT_NE(Cpsip_SOC_GetLocalPort(cb), 0);
}

TEST_F(SocketCalls, BindThatFailsGivesTheErrno) {
  int err = 0;
  SocCB& bound = AddBound();
  EXPECT_EQ(Cpsip_SOC_Bind(bound, err), -1) << "a second time";
  EXPECT_EQ(err, EINVAL);
  SocCB& closed = Add();
  closed.local = OwnAddress();
  EXPECT_EQ(Cpsip_SOC_Bind(closed, err), -1);
  EXPECT_EQ(err, EBADF);
  SocCB& open = AddOpen();
  open.local = OwnAddress();
  const Failing failing(SystemCall::bind, EADDRINUSE);
  EXPECT_EQ(Cpsip_SOC_Bind(open, err), -1);
  EXPECT_EQ(err, EADDRINUSE);
}

TEST_F(SocketCalls, CloseClosesAndLeavesNoDescriptor) {
  SocCB& cb = AddBound();
  const int fd = cb.fd.get();
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Close(cb, err), 0);
  EXPECT_EQ(cb.fd.get(), -1);
  EXPECT_FALSE(IsOpen(fd));
}

TEST_F(SocketCalls, CloseTakesTheDescriptorOutOfTheSets) {
  SocCB& cb = AddBound();
  ASSERT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, true, true), 0);
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Close(cb, err), 0);
  const Sets sets = StackSets();
  EXPECT_EQ(sets.nfds, 0);
  EXPECT_THAT(sets.read, IsEmpty());
  EXPECT_THAT(sets.write, IsEmpty());
  EXPECT_THAT(sets.except, IsEmpty());
}

TEST_F(SocketCalls, CloseOfABlockWithoutASlotStillCloses) {
  SocCB& cb = AddBound();
  const int fd = cb.fd.get();
  cb.fdset_slot = -1;
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Close(cb, err), 0);
  EXPECT_FALSE(IsOpen(fd));
}

TEST_F(SocketCalls, CloseOfNothingGivesTheErrno) {
  SocCB& cb = Add();
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Close(cb, err), -1);
  EXPECT_EQ(err, EBADF);
  EXPECT_EQ(cb.fd.get(), -1);
}

// A stream socket that waits for connections on the process's own address.
SocCB& Listening(SocCB& cb) {
  cb.local = OwnAddress();
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Bind(cb, err), 0) << "errno " << err;
  EXPECT_EQ(listen(cb.fd.get(), 1), 0);
  return cb;
}

TEST_F(SocketCalls, ConnectReachesTheRemoteAddress) {
  SocCB& server = Listening(AddOpen(cpsip_transport_kind::tcp));
  SocCB& client = AddOpen(cpsip_transport_kind::tcp);
  client.remote = AddressOf(server);
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Connect(client, err), 0) << "errno " << err;
  sockaddr_in peer{};
  socklen_t size = sizeof peer;
  ASSERT_EQ(getpeername(client.fd.get(), reinterpret_cast<sockaddr*>(&peer), &size), 0);
  EXPECT_EQ(peer.sin_addr.s_addr, OwnLoopback());
  EXPECT_EQ(ntohs(peer.sin_port), Cpsip_SOC_GetLocalPort(server));
}

TEST_F(SocketCalls, ConnectInProgressIsGood) {
  SocCB& cb = AddOpen(cpsip_transport_kind::tcp);
  cb.remote = OwnAddress(5060);
  const Failing failing(SystemCall::connect, EINPROGRESS);
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Connect(cb, err), 0);
}

TEST_F(SocketCalls, ConnectThatFailsGivesTheErrno) {
  SocCB& cb = AddOpen(cpsip_transport_kind::tcp);
  cb.remote = OwnAddress(5060);
  for (const int error : {ECONNREFUSED, ENETUNREACH, EALREADY, EAGAIN}) {
    SCOPED_TRACE(error);
    const Failing failing(SystemCall::connect, error);
    int err = 0;
    EXPECT_EQ(Cpsip_SOC_Connect(cb, err), -1);
    EXPECT_EQ(err, error);
  }
}

TEST_F(SocketCalls, LocalPortIsTheBoundOne) {
  SocCB& cb = AddOpen();
  EXPECT_EQ(Cpsip_SOC_GetLocalPort(cb), 0) << "not bound yet";
  cb.local = OwnAddress();
  int err = 0;
  ASSERT_EQ(Cpsip_SOC_Bind(cb, err), 0);
  const std::uint16_t port = Cpsip_SOC_GetLocalPort(cb);
  EXPECT_NE(port, 0);
  EXPECT_NE(port, 65535);
  EXPECT_EQ(cb.local.port, 0) << "the block's own record stays";
}

TEST_F(SocketCalls, LocalPortOfAClosedSocketIs65535) {
  SocCB& cb = AddBound();
  int err = 0;
  ASSERT_EQ(Cpsip_SOC_Close(cb, err), 0);
  EXPECT_EQ(Cpsip_SOC_GetLocalPort(cb), 65535);
}

TEST_F(SocketCalls, LocalPortOfAnotherFamilyIs65535) {
  SocCB& cb = Add();
  cb.fd.reset(socket(AF_UNIX, SOCK_DGRAM, 0));
  ASSERT_TRUE(cb.fd.is_open());
  EXPECT_EQ(Cpsip_SOC_GetLocalPort(cb), 65535);
}

class SocketCallsDeathTest : public SocketTest {};

TEST_F(SocketCallsDeathTest, BindOfAnotherFamilyEndsTheProcess) {
  SocCB& cb = AddOpen();
  for (const std::uint32_t type : {0U, kAddressOther, 0xFFFFFFFFU}) {
    SCOPED_TRACE(type);
    cb.local = OwnAddress();
    cb.local.type = type;
    cb.remote = OwnAddress();
    int err = 0;
    EXPECT_EXIT(Dying([&] { (void)Cpsip_SOC_Bind(cb, err); }), ::testing::ExitedWithCode(1), kFatalReport);
  }
}

TEST_F(SocketCallsDeathTest, ConnectToAnotherFamilyEndsTheProcess) {
  SocCB& cb = AddOpen(cpsip_transport_kind::tcp);
  for (const std::uint32_t type : {0U, kAddressOther, 0xFFFFFFFFU}) {
    SCOPED_TRACE(type);
    cb.local = OwnAddress();
    cb.remote = OwnAddress(5060);
    cb.remote.type = type;
    int err = 0;
    EXPECT_EXIT(Dying([&] { (void)Cpsip_SOC_Connect(cb, err); }), ::testing::ExitedWithCode(1), kFatalReport);
  }
}

}  // namespace
}  // namespace hark::test

#include "cpsip/socket_fixture.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <ostream>

#include "cpsip/socket_calls.h"

namespace hark::test {

std::vector<Told> SocketTest::told;
std::function<void(const Told&)> SocketTest::on_told;

void PrintTo(const Told& told, std::ostream* out) {
  *out << "fd " << told.fd << (told.read ? " read" : "") << (told.write ? " write" : "")
       << (told.except ? " except" : "");
}

SocketTest::SocketTest() {
  told.clear();
  on_told = nullptr;
  Cpsip_SOC_Init();
  fd_set none;
  FD_ZERO(&none);
  Cpsip_SOC_UseFdsetSlot(Cpsip_SOC_AddFdsetList(none, none, none));
}

SocketTest::~SocketTest() {
  Cpsip_SOC_Init();
  Cpsip_SOC_SetServiceCheck(nullptr);
}

void SocketTest::Record(int fd, bool read, bool write, bool except) {
  told.push_back({fd, read, write, except});
  if (on_told) on_told({fd, read, write, except});
}

SocCB& SocketTest::Add(cpsip_transport_kind kind) {
  SocCB* const cb = Cpsip_SOC_AddSocCB(nullptr, Record, kind);
  EXPECT_NE(cb, nullptr);
  cb->refcount = 1;
  return *cb;
}

SocCB& SocketTest::AddOpen(cpsip_transport_kind kind) {
  SocCB& cb = Add(kind);
  int err = 0;
  cb.fd.reset(Cpsip_SOC_Socket(kind, kAddressIp4, err));
  EXPECT_TRUE(cb.fd.is_open()) << "errno " << err;
  return cb;
}

SocCB& SocketTest::AddBound() {
  SocCB& cb = AddOpen();
  int err = 0;
  cb.local = OwnAddress();
  EXPECT_EQ(Cpsip_SOC_Bind(cb, err), 0) << "errno " << err;
  EXPECT_EQ(Cpsip_SOC_ChangeSelSta(cb, true, false, false), 0);
  return cb;
}

cpsip_address SocketTest::AddressOf(const SocCB& cb) { return OwnAddress(Cpsip_SOC_GetLocalPort(cb)); }

void SocketTest::Send(const SocCB& from, const SocCB& to, std::string_view text) {
  int err = 0;
  EXPECT_EQ(Cpsip_SOC_Sendto(from.fd.get(), text, AddressOf(to), err), static_cast<int>(text.size()))
      << "errno " << err;
}

SocketTest::Sets SocketTest::StackSets() {
  fd_set read;
  fd_set except;
  fd_set write;
  const int nfds = CPSIP_Select_FDs(read, except, write);
  EXPECT_GE(nfds, 0);
  return {nfds, In(read), In(except), In(write)};
}

std::uint32_t OwnLoopback() {
  const auto pid = static_cast<std::uint32_t>(getpid());  // of 22 bits
  const std::uint32_t host =
      127U << 24U | (1 + (pid >> 15U & 0x7FU)) << 16U | (pid >> 7U & 0xFFU) << 8U | (1 + (pid & 0x7FU));
  return htonl(host);
}

cpsip_address OwnAddress(std::uint16_t port) { return {kAddressIp4, port, OwnLoopback()}; }

std::string Printed(const std::function<void()>& action) {
  ::testing::internal::CaptureStdout();
  action();
  return ::testing::internal::GetCapturedStdout();
}

void Dying(const std::function<void()>& action) {
  (void)dup2(STDERR_FILENO, STDOUT_FILENO);
  action();
}

}  // namespace hark::test

#include "support/sip_kernel.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <deque>

#include "support/fuzzing.h"

namespace {

using hark::fuzz::check;

struct Waiting {
  std::string text;
  sockaddr_in from;
};

struct Socket {
  bool open = false;
  std::uint16_t port = 0;  // host order; 0: not bound
  std::deque<Waiting> unread;
};

constexpr int kFirstFd = 1000;
constexpr std::size_t kSockets = 24;
constexpr std::uint16_t kFirstFreePort = 40000;

struct Kernel {
  std::array<Socket, kSockets> sockets;
  std::function<void(const hark::fuzz::SentDatagram&)> sink;
  unsigned failures = 0;
  std::uint16_t next_port = kFirstFreePort;
};

Kernel& kernel() {
  static Kernel& the_kernel = *new Kernel;
  return the_kernel;
}

bool is_ours(int fd) { return fd >= kFirstFd && fd < kFirstFd + static_cast<int>(kSockets); }

Socket& socket_of(int fd) {
  check(is_ours(fd), "a descriptor of the stack is a socket");
  Socket& socket = kernel().sockets[static_cast<std::size_t>(fd - kFirstFd)];
  check(socket.open, "a descriptor that is used is open");
  return socket;
}

int fail(int error) {
  errno = error;
  return -1;
}

bool fails_now() {
  if (kernel().failures == 0) return false;
  --kernel().failures;
  return true;
}

// Which of the set's descriptors have something; each must be an open socket.
int ready_of(int nfds, fd_set* set, bool may_be_ready) {
  if (set == nullptr) return 0;
  int count = 0;
  for (int fd = 0; fd < nfds; ++fd) {
    if (!FD_ISSET(fd, set)) continue;
    const bool ready = !socket_of(fd).unread.empty() && may_be_ready;
    if (ready) ++count;
    if (!ready) FD_CLR(fd, set);
  }
  return count;
}

}  // namespace

namespace hark::fuzz {

void SipKernel::Reset() { kernel() = Kernel{}; }
void SipKernel::OnSend(std::function<void(const SentDatagram&)> sink) { kernel().sink = std::move(sink); }
void SipKernel::Fail(unsigned times) { kernel().failures = times; }

void SipKernel::Arrive(std::uint16_t port, std::string_view text, std::uint32_t from_addr,
                       std::uint16_t from_port) {
  sockaddr_in from{};
  from.sin_family = AF_INET;
  from.sin_addr.s_addr = htonl(from_addr);
  from.sin_port = htons(from_port);
  for (Socket& socket : kernel().sockets) {
    if (socket.open && socket.port == port) return socket.unread.push_back({std::string(text), from});
  }
}

unsigned SipKernel::OpenSockets() {
  const auto& sockets = kernel().sockets;
  return static_cast<unsigned>(
      std::count_if(sockets.begin(), sockets.end(), [](const Socket& one) { return one.open; }));
}

bool SipKernel::HasUnread() {
  const auto& sockets = kernel().sockets;
  return std::any_of(sockets.begin(), sockets.end(),
                     [](const Socket& one) { return one.open && !one.unread.empty(); });
}

}  // namespace hark::fuzz

extern "C" {

int __real_close(int fd);
int __real_fcntl64(int fd, int command, ...);

int __wrap_socket(int /*domain*/, int type, int /*protocol*/) {
  check((type & SOCK_DGRAM) != 0, "all sockets are of datagrams");
  if (fails_now()) return fail(EMFILE);
  auto& sockets = kernel().sockets;
  const auto free = std::find_if(sockets.begin(), sockets.end(), [](const Socket& one) { return !one.open; });
  if (free == sockets.end()) return fail(EMFILE);
  *free = Socket{};
  free->open = true;
  return kFirstFd + static_cast<int>(free - sockets.begin());
}

int __wrap_setsockopt(int fd, int /*level*/, int /*name*/, const void* /*value*/, socklen_t /*size*/) {
  (void)socket_of(fd);
  return 0;
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t size) {
  check(size == sizeof(sockaddr_in), "an address of IPv4");
  Socket& socket = socket_of(fd);
  if (fails_now()) return fail(EADDRINUSE);
  sockaddr_in local;
  std::memcpy(&local, address, sizeof local);
  socket.port = ntohs(local.sin_port);
  if (socket.port == 0) socket.port = kernel().next_port++;
  return 0;
}

int __wrap_connect(int /*fd*/, const sockaddr* /*address*/, socklen_t /*size*/) {
  check(false, "nothing is connected");
  return -1;
}

int __wrap_getsockname(int fd, sockaddr* address, socklen_t* size) {
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_port = htons(socket_of(fd).port);
  std::memcpy(address, &local, std::min<std::size_t>(*size, sizeof local));
  *size = sizeof local;
  return 0;
}

ssize_t __wrap_recvfrom(int fd, void* buffer, size_t size, int /*flags*/, sockaddr* from,
                        socklen_t* from_size) {
  Socket& socket = socket_of(fd);
  if (socket.unread.empty()) return fail(EAGAIN);
  const Waiting datagram = std::move(socket.unread.front());
  socket.unread.pop_front();
  const std::size_t length = std::min(size, datagram.text.size());
  std::memcpy(buffer, datagram.text.data(), length);
  std::memcpy(from, &datagram.from, std::min<std::size_t>(*from_size, sizeof datagram.from));
  *from_size = sizeof datagram.from;
  return static_cast<ssize_t>(length);
}

ssize_t __wrap_sendto(int fd, const void* data, size_t size, int /*flags*/, const sockaddr* to,
                      socklen_t to_size) {
  check(to_size == sizeof(sockaddr_in), "an address of IPv4");
  const Socket& socket = socket_of(fd);
  check(socket.port != 0, "what is sent leaves by a socket that is bound");
  if (fails_now()) return fail(ENETUNREACH);
  sockaddr_in target;
  std::memcpy(&target, to, sizeof target);
  // On the heap and of the exact size: the reader that comes next may go no byte too far.
  const hark::fuzz::SentDatagram sent{std::string(static_cast<const char*>(data), size),
                                      ntohl(target.sin_addr.s_addr), ntohs(target.sin_port), socket.port};
  if (kernel().sink) kernel().sink(sent);
  return static_cast<ssize_t>(size);
}

int __wrap_select(int nfds, fd_set* read, fd_set* write, fd_set* except, timeval* /*wait*/) {
  const int count = ready_of(nfds, read, true);
  return count + ready_of(nfds, write, false) + ready_of(nfds, except, false);
}

int __wrap_close(int fd) {
  if (!is_ours(fd)) return __real_close(fd);
  socket_of(fd) = Socket{};
  return 0;
}

int __wrap_fcntl64(int fd, int command, ...) {
  va_list more;
  va_start(more, command);
  void* const argument = va_arg(more, void*);
  va_end(more);
  if (!is_ours(fd)) return __real_fcntl64(fd, command, argument);
  (void)socket_of(fd);
  return 0;
}

}  // extern "C"

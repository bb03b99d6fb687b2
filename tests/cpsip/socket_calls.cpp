#include "cpsip/socket_calls.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>

namespace hark::test {
namespace {

SystemCall g_failing = SystemCall::none;
int g_error = 0;
ssize_t g_most = -1;
ScriptedSelect* g_select = nullptr;

bool fails(SystemCall call) {
  if (g_failing != call) return false;
  errno = g_error;
  return true;
}

std::vector<int> in(const fd_set* set) { return set != nullptr ? In(*set) : std::vector<int>{}; }

int answer(fd_set* set, const std::vector<int>& ready) {
  if (set == nullptr) return 0;
  FD_ZERO(set);
  for (const int fd : ready)
    FD_SET(fd, set);
  return static_cast<int>(ready.size());
}

int scripted_select(int nfds, fd_set* read, fd_set* write, fd_set* except, const timeval* wait) {
  const long wait_us = wait != nullptr ? wait->tv_sec * 1'000'000 + wait->tv_usec : -1;
  g_select->asked.push_back({nfds, wait_us, in(read), in(write), in(except)});
  return answer(read, g_select->read) + answer(write, g_select->write) + answer(except, g_select->except);
}

}  // namespace

Failing::Failing(SystemCall call, int error) {
  g_failing = call;
  g_error = error;
}

Failing::~Failing() { g_failing = SystemCall::none; }

ShortSend::ShortSend(ssize_t most) { g_most = most; }

ShortSend::~ShortSend() { g_most = -1; }

ScriptedSelect::ScriptedSelect() { g_select = this; }

ScriptedSelect::~ScriptedSelect() { g_select = nullptr; }

std::vector<int> In(const fd_set& set) {
  std::vector<int> fds;
  for (int fd = 0; fd != FD_SETSIZE; ++fd) {
    if (FD_ISSET(fd, &set)) fds.push_back(fd);
  }
  return fds;
}

}  // namespace hark::test

using hark::test::fails;
using hark::test::SystemCall;

// The names are the linker's.
extern "C" {

int __real_socket(int domain, int type, int protocol);
int __real_setsockopt(int fd, int level, int name, const void* value, socklen_t size);
int __real_bind(int fd, const sockaddr* address, socklen_t size);
int __real_connect(int fd, const sockaddr* address, socklen_t size);
ssize_t __real_recvfrom(int fd, void* buf, size_t size, int flags, sockaddr* from, socklen_t* from_size);
ssize_t __real_sendto(int fd, const void* buf, size_t size, int flags, const sockaddr* to, socklen_t to_size);
int __real_select(int nfds, fd_set* read, fd_set* write, fd_set* except, timeval* wait);
int __real_fcntl64(int fd, int command, ...);

int __wrap_socket(int domain, int type, int protocol) {
  return fails(SystemCall::socket) ? -1 : __real_socket(domain, type, protocol);
}

int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
  return fails(SystemCall::setsockopt) ? -1 : __real_setsockopt(fd, level, name, value, size);
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t size) {
  return fails(SystemCall::bind) ? -1 : __real_bind(fd, address, size);
}

int __wrap_connect(int fd, const sockaddr* address, socklen_t size) {
  return fails(SystemCall::connect) ? -1 : __real_connect(fd, address, size);
}

ssize_t __wrap_recvfrom(int fd, void* buf, size_t size, int flags, sockaddr* from, socklen_t* from_size) {
  return fails(SystemCall::recvfrom) ? -1 : __real_recvfrom(fd, buf, size, flags, from, from_size);
}

ssize_t __wrap_sendto(int fd, const void* buf, size_t size, int flags, const sockaddr* to,
                      socklen_t to_size) {
  if (hark::test::g_most >= 0) size = std::min(size, static_cast<size_t>(hark::test::g_most));
  return __real_sendto(fd, buf, size, flags, to, to_size);
}

int __wrap_select(int nfds, fd_set* read, fd_set* write, fd_set* except, timeval* wait) {
  if (fails(SystemCall::select)) return -1;
  if (hark::test::g_select != nullptr) return hark::test::scripted_select(nfds, read, write, except, wait);
  return __real_select(nfds, read, write, except, wait);
}

// All commands here take a number or nothing.
int __wrap_fcntl64(int fd, int command, ...) {
  if (fails(SystemCall::fcntl)) return -1;
  va_list rest;
  va_start(rest, command);
  const int argument = va_arg(rest, int);
  va_end(rest);
  return __real_fcntl64(fd, command, argument);
}

}  // extern "C"

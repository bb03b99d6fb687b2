#include "tools/harkctl/connection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "tools/harkctl/network.h"

namespace hark::ctl {
namespace {

constexpr char kSilent[] = "does not answer";
constexpr std::size_t kReadSize = 4096;

int error_of(int fd) {
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

}  // namespace

std::string Connection::open(const control::HostPort& place, Deadline deadline) {
  close();
  Resolved resolved = resolve(place, SOCK_STREAM, deadline);
  std::string why = std::move(resolved.why);
  for (const Address& address : resolved.addresses) {
    why = try_address(address, deadline);
    if (why.empty()) break;
  }
  return why;
}

std::string Connection::try_address(const Address& address, Deadline deadline) {
  UniqueFd fd(::socket(address.generic()->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!fd.is_open()) return reason_of(errno);
  // A command is a few small writes, each of which waits for its answer.
  const int on = 1;
  (void)::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  if (::connect(fd.get(), address.generic(), address.size) != 0 && errno != EINPROGRESS)
    return reason_of(errno);
  switch (wait_for(fd.get(), POLLOUT, deadline, interrupts_)) {
    case Wait::kTimeout:
      return kSilent;
    case Wait::kInterrupted:
      return "interrupted";
    case Wait::kReady:
      break;
  }
  if (const int error = error_of(fd.get()); error != 0) return reason_of(error);
  fd_ = std::move(fd);
  return {};
}

void Connection::close() {
  fd_.reset();
  splitter_.clear();
  lines_.clear();
  failure_.clear();
}

bool Connection::send(std::string_view bytes, Deadline deadline) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (errno != EAGAIN && errno != EINTR) {
      failure_ = reason_of(errno);
      return false;
    } else if (const Wait wait = wait_for(fd_.get(), POLLOUT, deadline, interrupts_); wait != Wait::kReady) {
      if (wait == Wait::kTimeout) failure_ = kSilent;
      return false;
    }
  }
  return true;
}

Connection::Got Connection::read(std::string& line, Deadline deadline) {
  while (lines_.empty()) {
    switch (wait_for(fd_.get(), POLLIN, deadline, interrupts_)) {
      case Wait::kTimeout:
        failure_ = kSilent;
        return Got::kTimeout;
      case Wait::kInterrupted:
        return Got::kInterrupted;
      case Wait::kReady:
        break;
    }
    if (!receive()) return Got::kLost;
  }
  line = std::move(lines_.front());
  lines_.pop_front();
  return Got::kLine;
}

// Takes what has arrived. False when the connection is gone.
bool Connection::receive() {
  std::array<char, kReadSize> bytes;
  const ssize_t got = ::recv(fd_.get(), bytes.data(), bytes.size(), 0);
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) return true;
  if (got <= 0) {
    failure_ = got < 0 ? reason_of(errno) : "closed by the station";
    return false;
  }
  splitter_.feed({bytes.data(), static_cast<std::size_t>(got)},
                 [this](const std::string& line) { lines_.push_back(line); });
  return true;
}

}  // namespace hark::ctl

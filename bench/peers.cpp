#include "peers.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace hark::bench {
namespace {

constexpr timeval kReadLimit{5, 0};
constexpr timeval kAcceptLimit{10, 0};
constexpr int kFirstBusyHost = 2;
constexpr int kConnectionsPerHost = 5;
constexpr auto kCommandEvery = std::chrono::microseconds(10'000);

sockaddr_in loopback(int host, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(0x7F000000U + static_cast<in_addr_t>(host));
  address.sin_port = htons(static_cast<in_port_t>(port));
  return address;
}

UniqueFd tcp_socket() { return UniqueFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)); }

bool bind_to(int fd, const sockaddr_in& address) {
  return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int port_of(int fd) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) std::abort();
  return ntohs(address.sin_port);
}

void set_nodelay(int fd) {
  const int on = 1;
  (void)::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool send_all(int fd, std::string_view text) {
  return ::send(fd, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

// Reads what has come. False at the end of the connection.
bool read_off(int fd) {
  std::array<char, 16384> part;
  ssize_t got = 0;
  do {
    got = ::recv(fd, part.data(), part.size(), MSG_DONTWAIT);
  } while (got > 0);
  return got < 0;
}

// Returns when there is something to read, or after as long as a read waits. It takes no lock of the socket,
// which a recv in its place would hold against who sends.
void look_for_data(int fd) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(kReadLimit.tv_sec);
  pollfd wanted{fd, POLLIN, 0};
  while (::poll(&wanted, 1, 0) == 0 && std::chrono::steady_clock::now() < end) {
  }
}

void echo(int listen_fd, std::size_t request, std::size_t reply) {
  const UniqueFd fd(::accept4(listen_fd, nullptr, nullptr, SOCK_CLOEXEC));
  const UniqueFd reply_fd(::accept4(listen_fd, nullptr, nullptr, SOCK_CLOEXEC));
  set_nodelay(reply_fd.get());
  const std::string answer(reply, 'x');
  std::array<char, 2000> part;
  for (std::size_t got = 0;;) {
    fd_set readable;
    FD_ZERO(&readable);
    int highest = -1;
    (void)fdset_add(fd.get(), readable, highest);
    timeval timeout{0, 10'000};
    if (::select(highest + 1, &readable, nullptr, nullptr, &timeout) <= 0) continue;
    const ssize_t n = ::recv(fd.get(), part.data(), part.size(), 0);
    if (n <= 0) return;
    for (got += static_cast<std::size_t>(n); got >= request; got -= request) {
      if (!send_all(reply_fd.get(), answer)) return;
    }
  }
}

// The `turn`-th command of connection `i`.
std::string busy_command(int i, int turn, const std::string& volume_prefix, int volume_urls) {
  switch ((i + turn) % 4) {
    case 0:
      return "VER\r\n";
    case 1:
      return "GPO " + std::to_string(i % 9 + 1) + "\r\n";
    case 2:
      return "CALL URL:\"" + volume_prefix + std::to_string(i % volume_urls + 1) + "\" VOLUME:-" +
             std::to_string(turn % 60) + "\r\n";
    default:
      return "HARK\r\n";
  }
}

void keep_busy(int ctrl_port, const std::string& volume_prefix, int volume_urls, int ready_fd) {
  std::vector<UniqueFd> clients;
  for (int i = 0; i < kBusyConnections; ++i) {
    UniqueFd fd = connect_from(kFirstBusyHost + i / kConnectionsPerHost, ctrl_port);
    LineConnection connection{UniqueFd(::dup(fd.get()))};
    connection.send("SUB CALL HARK HARKUI GPI GPO SRC\r\nVER\r\n");
    (void)connection.wait_for("VER ");
    if (connection.is_lost()) return;
    clients.push_back(std::move(fd));
  }
  (void)!::write(ready_fd, "r", 1);
  // The connections take their turns in even steps, so that commands come all the time. What was missed is
  // not caught up on: that would be a flood.
  auto next = std::chrono::steady_clock::now();
  for (int turn = 0;; ++turn) {
    for (int i = 0; i < kBusyConnections; ++i) {
      const int fd = clients[static_cast<std::size_t>(i)].get();
      if (!read_off(fd)) return;
      if (!send_all(fd, busy_command(i, turn, volume_prefix, volume_urls))) return;
      next = std::max(next + kCommandEvery / kBusyConnections, std::chrono::steady_clock::now());
      std::this_thread::sleep_until(next);
    }
  }
}

}  // namespace

Listener::Listener() : fd_(tcp_socket()) {
  if (!bind_to(fd_.get(), loopback(1, 0)) || ::listen(fd_.get(), 4) != 0) std::abort();
  (void)::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &kAcceptLimit, sizeof kAcceptLimit);
  port_ = port_of(fd_.get());
}

UniqueFd Listener::accept() const { return UniqueFd(::accept4(fd_.get(), nullptr, nullptr, SOCK_CLOEXEC)); }

int free_port() {
  const UniqueFd fd = tcp_socket();
  if (!bind_to(fd.get(), loopback(1, 0))) std::abort();
  return port_of(fd.get());
}

UniqueFd connect_from(int host, int port) {
  UniqueFd fd = tcp_socket();
  const sockaddr_in to = loopback(1, port);
  if (!bind_to(fd.get(), loopback(host, 0)) ||
      ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
    return {};
  }
  return fd;
}

LineConnection::LineConnection(UniqueFd fd) : fd_(std::move(fd)), lost_(!fd_.is_open()) {
  set_nodelay(fd_.get());
  (void)::setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &kReadLimit, sizeof kReadLimit);
}

void LineConnection::send(std::string_view text) {
  if (!send_all(fd_.get(), text)) lost_ = true;
}

bool LineConnection::receive() {
  std::array<char, 16384> part;
  if (busy_waiting_ && !lost_) look_for_data(fd_.get());
  const ssize_t got = lost_ ? -1 : ::recv(fd_.get(), part.data(), part.size(), 0);
  lost_ = got <= 0;
  if (!lost_) unread_.append(part.data(), static_cast<std::size_t>(got));
  return !lost_;
}

std::string LineConnection::wait_for(std::string_view start) {
  for (;;) {
    const std::size_t end = unread_.find('\n');
    if (end == std::string::npos) {
      if (!receive()) return {};
      continue;
    }
    std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    if (line.ends_with('\r')) line.pop_back();
    if (line.starts_with(start)) return line;
  }
}

void LineConnection::read_past(std::string_view text) {
  for (;;) {
    const std::size_t at = unread_.find(text);
    if (at != std::string::npos) {
      unread_.erase(0, at + text.size());
      return;
    }
    if (!receive()) return;
  }
}

void LineConnection::read(std::size_t size) {
  while (unread_.size() < size) {
    if (!receive()) return;
  }
  unread_.erase(0, size);
}

void LineConnection::drain() {
  unread_.clear();
  lost_ = lost_ || !read_off(fd_.get());
}

EchoProcess::EchoProcess(std::size_t request, std::size_t reply) {
  const int listen_fd = listener_.fd();
  process_ = std::make_unique<Helper>([=] { echo(listen_fd, request, reply); });
}

LineConnection EchoProcess::connect() const { return LineConnection(connect_from(1, listener_.port())); }

BusyProcess::BusyProcess(int ctrl_port, std::string volume_prefix, int volume_urls) {
  std::array<int, 2> ready{};
  if (::pipe(ready.data()) != 0) std::abort();
  const UniqueFd read_end(ready[0]);
  UniqueFd write_end(ready[1]);
  process_ =
      std::make_unique<Helper>([&] { keep_busy(ctrl_port, volume_prefix, volume_urls, write_end.get()); });
  write_end.reset();
  char byte = 0;
  running_ = ::read(read_end.get(), &byte, 1) == 1;
}

}  // namespace hark::bench

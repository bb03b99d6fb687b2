#include "tools/harkpanel/station_link.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace hark::panel_gateway {
namespace {

constexpr std::size_t kPiece = 8192;
constexpr int kPiecesInARow = 16;  // then others have their turn
// A station whose machine has vanished: found after a silence of so long, and when it confirms nothing.
constexpr unsigned kKeepAliveAfterS = 5;
constexpr unsigned kKeepAliveEachS = 2;
constexpr unsigned kKeepAliveTries = 3;
constexpr unsigned kUnconfirmedMs = 10'000;

constexpr const char* kNoAnswer = "does not answer";
constexpr const char* kClosed = "closed by the station";

std::string words_for(int error) {
  switch (error) {
    case ECONNREFUSED:
      return "connection refused";
    case EHOSTUNREACH:
    case ENETUNREACH:
    case ENETDOWN:
    case EHOSTDOWN:
      return "no route";
    case ETIMEDOUT:
      return kNoAnswer;
    case ECONNRESET:
    case EPIPE:
      return kClosed;
    default:
      return std::strerror(error);
  }
}

void set_option(int file, int level, int name, unsigned value) {
  (void)::setsockopt(file, level, name, &value, sizeof value);
}

// Keys are short lines that must not wait for company.
void tune(int file) {
  set_option(file, IPPROTO_TCP, TCP_NODELAY, 1);
  set_option(file, SOL_SOCKET, SO_SNDBUF, kMostUnsent);
  set_option(file, SOL_SOCKET, SO_KEEPALIVE, 1);
  set_option(file, IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveAfterS);
  set_option(file, IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveEachS);
  set_option(file, IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveTries);
  set_option(file, IPPROTO_TCP, TCP_USER_TIMEOUT, kUnconfirmedMs);
}

int error_of(int file) {
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(file, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

}  // namespace

void StationLink::dial() {
  if (state_ != State::kIdle && state_ != State::kLost) return;
  state_ = State::kLookup;
  give_up_at_ = now_ms() + kConnectTime;
  next_address_ = 0;
  why_ = kNoAnswer;
  lookup_.start(station_);
  if (lookup_.poll() == HostLookup::State::kFound) connect_next();
}

// Tries the host's addresses one after the other, each for its share of the time that is left.
void StationLink::connect_next() {
  drop();
  state_ = State::kConnecting;
  const std::vector<SocketAddress>& addresses = lookup_.addresses();
  while (next_address_ < addresses.size()) {
    const Ms left = std::max<Ms>(give_up_at_ - now_ms(), 0);
    next_at_ = now_ms() + left / static_cast<Ms>(addresses.size() - next_address_);
    const SocketAddress& address = addresses[next_address_++];
    UniqueFd file(::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!file.is_open()) {
      why_ = words_for(errno);
      continue;
    }
    tune(file.get());
    if (::connect(file.get(), reinterpret_cast<const sockaddr*>(&address.storage), address.size) != 0 &&
        errno != EINPROGRESS) {
      why_ = words_for(errno);
      continue;
    }
    if (watch(vhost_, std::move(file))) {
      want_write();
      return;
    }
    why_ = "too many open files";
  }
  fail(std::string(why_));
}

void StationLink::check_connected() {
  if (const int error = error_of(fd()); error != 0) {
    why_ = words_for(error);
    return connect_next();
  }
  state_ = State::kUp;
  lines_.clear();
  unsent_.clear();
  waits_ = false;
  user_.station_connected();
}

void StationLink::give_up() {
  if (state_ != State::kIdle && state_ != State::kLost && state_ != State::kFinishing) fail("given up");
}

void StationLink::fail(std::string_view why) {
  drop();
  if (state_ == State::kFinishing) return;
  state_ = State::kLost;
  why_ = why;
  lines_.clear();
  unsent_.clear();
  go_on_soon();
}

void StationLink::go_on_soon() {
  soon_.link = this;
  lws_sul_schedule(context_, 0, &soon_, go_on, 1);
}

void StationLink::go_on(lws_sorted_usec_list_t* timer) {
  StationLink& link = *static_cast<Soon*>(timer)->link;
  if (link.state_ == State::kConnecting && !link.watching()) return link.connect_next();
  if (link.state_ != State::kLost) return;
  link.state_ = State::kIdle;
  link.user_.station_lost(std::string(link.why_));  // a copy: the user may dial
}

void StationLink::send(std::string_view text) {
  if (state_ != State::kUp) return;
  unsent_.append(text);
  if (!waits_) flush();
  if (unsent_.size() > kMostUnsent) fail("takes nothing of what it is told");
}

void StationLink::flush() {
  std::size_t sent = 0;
  while (sent < unsent_.size()) {
    const ssize_t n = ::send(fd(), unsent_.data() + sent, unsent_.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && errno != EAGAIN) return fail(words_for(errno));
    if (n < 0) break;
    sent += static_cast<std::size_t>(n);
  }
  unsent_.erase(0, sent);
  waits_ = !unsent_.empty();
  if (waits_) want_write();
}

void StationLink::on_writable() {
  waits_ = false;
  if (state_ == State::kConnecting) return check_connected();
  if (state_ == State::kUp || state_ == State::kFinishing) flush();
  after_flush();
}

// The station is told the end only behind the last line; it then closes, which says that it has read them.
void StationLink::after_flush() {
  if (state_ == State::kFinishing && unsent_.empty() && watching()) (void)::shutdown(fd(), SHUT_WR);
}

void StationLink::on_readable() {
  if (state_ == State::kConnecting) return check_connected();
  std::array<char, kPiece> piece;
  for (int i = 0; i < kPiecesInARow && watching(); ++i) {
    const ssize_t n = ::recv(fd(), piece.data(), piece.size(), MSG_DONTWAIT);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    if (n < 0) return fail(words_for(errno));
    if (n == 0) return fail(kClosed);
    if (state_ == State::kUp || state_ == State::kFinishing) {
      lines_.feed({piece.data(), static_cast<std::size_t>(n)},
                  [this](const std::string& line) { user_.station_said(line); });
    }
  }
}

void StationLink::on_broken(int file) {
  const int error = error_of(file);
  if (state_ == State::kConnecting) {
    if (error != 0) why_ = words_for(error);
    go_on_soon();
  } else if (state_ == State::kUp) {
    fail(error == 0 ? kClosed : words_for(error));
  }
}

void StationLink::tick(Ms now) {
  if (state_ == State::kLookup) {
    const HostLookup::State found = lookup_.poll();
    if (found == HostLookup::State::kFound) {
      connect_next();
    } else if (found == HostLookup::State::kFailed) {
      fail("no such host");
    } else if (now >= give_up_at_) {
      fail("name server does not answer");
    }
  } else if (state_ == State::kConnecting && now >= next_at_) {
    why_ = kNoAnswer;
    connect_next();
  }
}

void StationLink::finish() {
  if (state_ != State::kUp) {
    drop();
    state_ = State::kFinishing;
    return;
  }
  state_ = State::kFinishing;
  after_flush();
}

}  // namespace hark::panel_gateway

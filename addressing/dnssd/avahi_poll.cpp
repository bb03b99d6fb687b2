#include "addressing/dnssd/avahi_poll.h"

#include <avahi-common/timeval.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace hark {
namespace {

constexpr int kEventsPerRound = 8;
// A flood of messages does not hold the caller's loop up: what is left keeps the descriptor readable.
constexpr int kMostRounds = 256;

// Adds `fd` to the set, or changes what it is watched for; none takes it out.
void set_epoll(int epoll, int fd, unsigned events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = fd;
  if (events == 0) {
    (void)::epoll_ctl(epoll, EPOLL_CTL_DEL, fd, nullptr);
  } else if (::epoll_ctl(epoll, EPOLL_CTL_MOD, fd, &event) != 0) {
    (void)::epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
  }
}

// Starts the timer for the point in time `when` of the system's clock; none stops it.
void set_timer(int timer, const timeval* when) {
  itimerspec spec{};
  if (when != nullptr) {
    constexpr AvahiUsec second = 1'000'000;
    const AvahiUsec left = std::max<AvahiUsec>(-avahi_age(when), 0);
    spec.it_value.tv_sec = left / second;
    // One that is over fires at once; 0 would stop it.
    spec.it_value.tv_nsec = std::max<AvahiUsec>(left % second * 1000, left == 0 ? 1 : 0);
  }
  (void)::timerfd_settime(timer, 0, &spec, nullptr);
}

AvahiPollLoop& loop_of(const AvahiPoll* api) { return *static_cast<AvahiPollLoop*>(api->userdata); }

}  // namespace

AvahiPollLoop::AvahiPollLoop()
    : epoll_(::epoll_create1(EPOLL_CLOEXEC)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  api_.userdata = this;
  api_.watch_new = watch_new;
  api_.watch_update = watch_update;
  api_.watch_get_events = watch_get_events;
  api_.watch_free = watch_free;
  api_.timeout_new = timeout_new;
  api_.timeout_update = timeout_update;
  api_.timeout_free = timeout_free;
  if (is_usable()) set_epoll(epoll_.get(), wake_.get(), EPOLLIN);
}

void AvahiPollLoop::run() {
  running_ = true;
  for (int round = 0; round < kMostRounds && run_round(); ++round) {
  }
  running_ = false;
  sweep();
}

void AvahiPollLoop::set_wake(bool on) {
  if (waking_ == on) return;
  waking_ = on;
  std::uint64_t value = 1;
  if (on) {
    (void)!::write(wake_.get(), &value, sizeof value);
  } else {
    (void)!::read(wake_.get(), &value, sizeof value);
  }
}

// One look at what is ready. False when nothing was.
bool AvahiPollLoop::run_round() {
  std::array<epoll_event, kEventsPerRound> events{};
  const int n = ::epoll_wait(epoll_.get(), events.data(), kEventsPerRound, 0);
  bool any = false;
  for (int i = 0; i < n; ++i) {
    const epoll_event& event = events[static_cast<std::size_t>(i)];
    if (event.data.fd == wake_.get()) continue;
    any = true;
    dispatch(event.data.fd, event.events);
  }
  return any;
}

void AvahiPollLoop::dispatch(int fd, unsigned events) {
  for (AvahiTimeout& timeout : timeouts_) {
    if (timeout.freed || timeout.timer.get() != fd) continue;
    std::uint64_t expired = 0;
    if (::read(fd, &expired, sizeof expired) == sizeof expired) timeout.callback(&timeout, timeout.userdata);
    return;
  }
  for (AvahiWatch& watch : watches_) {
    if (watch.freed || watch.fd != fd) continue;
    const unsigned happened = events & (static_cast<unsigned>(watch.wanted) | EPOLLERR | EPOLLHUP);
    if (happened == 0) continue;
    watch.happened = static_cast<AvahiWatchEvent>(happened);
    watch.callback(&watch, fd, watch.happened, watch.userdata);
    watch.happened = static_cast<AvahiWatchEvent>(0);
  }
}

void AvahiPollLoop::sweep() {
  if (running_) return;
  watches_.remove_if([](const AvahiWatch& watch) { return watch.freed; });
  timeouts_.remove_if([](const AvahiTimeout& timeout) { return timeout.freed; });
}

void AvahiPollLoop::watch_descriptor(int fd) {
  unsigned events = 0;
  for (const AvahiWatch& watch : watches_) {
    if (!watch.freed && watch.fd == fd) events |= static_cast<unsigned>(watch.wanted);
  }
  set_epoll(epoll_.get(), fd, events);
}

AvahiWatch* AvahiPollLoop::watch_new(const AvahiPoll* api, int fd, AvahiWatchEvent wanted,
                                     AvahiWatchCallback callback, void* userdata) {
  AvahiPollLoop& loop = loop_of(api);
  AvahiWatch& watch = loop.watches_.emplace_back(
      AvahiWatch{&loop, fd, wanted, static_cast<AvahiWatchEvent>(0), callback, userdata, false});
  loop.watch_descriptor(fd);
  return &watch;
}

void AvahiPollLoop::watch_update(AvahiWatch* watch, AvahiWatchEvent wanted) {
  watch->wanted = wanted;
  watch->loop->watch_descriptor(watch->fd);
}

AvahiWatchEvent AvahiPollLoop::watch_get_events(AvahiWatch* watch) { return watch->happened; }

void AvahiPollLoop::watch_free(AvahiWatch* watch) {
  watch->freed = true;
  watch->loop->watch_descriptor(watch->fd);
  watch->loop->sweep();
}

AvahiTimeout* AvahiPollLoop::timeout_new(const AvahiPoll* api, const timeval* when,
                                         AvahiTimeoutCallback callback, void* userdata) {
  AvahiPollLoop& loop = loop_of(api);
  UniqueFd timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
  if (!timer.is_open()) return nullptr;
  AvahiTimeout& timeout =
      loop.timeouts_.emplace_back(AvahiTimeout{&loop, std::move(timer), callback, userdata, false});
  set_timer(timeout.timer.get(), when);
  set_epoll(loop.epoll_.get(), timeout.timer.get(), EPOLLIN);
  return &timeout;
}

void AvahiPollLoop::timeout_update(AvahiTimeout* timeout, const timeval* when) {
  set_timer(timeout->timer.get(), when);
}

void AvahiPollLoop::timeout_free(AvahiTimeout* timeout) {
  timeout->freed = true;
  set_timer(timeout->timer.get(), nullptr);
  timeout->loop->sweep();
}

}  // namespace hark

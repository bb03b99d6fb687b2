#include "tools/harkpanel/host_lookup.h"

#include <netdb.h>
#include <pthread.h>

#include <atomic>
#include <cstring>

namespace hark::panel_gateway {
namespace {

constexpr std::size_t kMostAddresses = 8;

// Empty: there are none.
std::vector<SocketAddress> look_up(const control::HostPort& target, int flags) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = flags | AI_NUMERICSERV;
  addrinfo* list = nullptr;
  std::vector<SocketAddress> found;
  if (::getaddrinfo(target.host.c_str(), std::to_string(target.port).c_str(), &hints, &list) != 0) {
    return found;
  }
  for (const addrinfo* at = list; at != nullptr && found.size() < kMostAddresses; at = at->ai_next) {
    SocketAddress& address = found.emplace_back();
    std::memcpy(&address.storage, at->ai_addr, at->ai_addrlen);
    address.size = at->ai_addrlen;
  }
  ::freeaddrinfo(list);
  return found;
}

}  // namespace

// Written by the thread before it says that it has finished, and read afterwards.
struct HostLookup::Job {
  control::HostPort target;
  std::vector<SocketAddress> found;
  std::atomic<bool> finished = false;
};

void* HostLookup::run(void* job) {
  const std::unique_ptr<std::shared_ptr<Job>> mine(static_cast<std::shared_ptr<Job>*>(job));
  (*mine)->found = look_up((*mine)->target, 0);
  (*mine)->finished = true;
  return nullptr;
}

void HostLookup::start(const control::HostPort& target) {
  if (state_ == State::kBusy) return;
  addresses_ = look_up(target, AI_NUMERICHOST);
  if (!addresses_.empty()) {
    state_ = State::kFound;
    return;
  }
  job_ = std::make_shared<Job>();
  job_->target = target;
  state_ = State::kBusy;

  auto for_thread = std::make_unique<std::shared_ptr<Job>>(job_);
  pthread_attr_t detached;
  (void)::pthread_attr_init(&detached);
  (void)::pthread_attr_setdetachstate(&detached, PTHREAD_CREATE_DETACHED);
  pthread_t thread{};
  if (::pthread_create(&thread, &detached, run, for_thread.get()) == 0) {
    (void)for_thread.release();
  } else {
    job_->finished = true;
  }
  (void)::pthread_attr_destroy(&detached);
}

HostLookup::State HostLookup::poll() {
  if (state_ == State::kBusy && job_->finished) {
    addresses_ = std::move(job_->found);
    job_.reset();
    state_ = addresses_.empty() ? State::kFailed : State::kFound;
  }
  return state_;
}

}  // namespace hark::panel_gateway

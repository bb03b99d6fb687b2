#include "arrival.h"

#include "process.h"

namespace hark::bench {

Arrival::Arrival() {
  if (has_other_core()) thread_ = std::thread([this] { look(); });
}

Arrival::~Arrival() {
  if (!thread_.joinable()) return;
  set_state(State::kEnding);
  thread_.join();
}

void Arrival::set_state(State state) {
  {
    const std::lock_guard lock(mutex_);
    state_ = state;
  }
  changed_.notify_all();
}

// A connection that is lost has arrived as soon as it is looked at: the state between may be over unseen.
void Arrival::wait_for_state(State state) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return state_ == state || state_ == State::kArrived; });
}

void Arrival::look() {
  go_to_other_core();
  for (;;) {
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return state_ == State::kWanted || state_ == State::kEnding; });
      if (state_ == State::kEnding) return;
    }
    set_state(State::kLooking);
    from_->set_busy_waiting(true);
    (*read_)(*from_);
    arrived_ = Clock::now();
    from_->set_busy_waiting(false);
    set_state(State::kArrived);
  }
}

Clock::duration Arrival::time(const std::function<void()>& send, LineConnection& from,
                              const std::function<void(LineConnection&)>& read) {
  if (!thread_.joinable()) {
    const auto start = Clock::now();
    send();
    read(from);
    return Clock::now() - start;
  }
  from_ = &from;
  read_ = &read;
  set_state(State::kWanted);
  wait_for_state(State::kLooking);
  const auto start = Clock::now();
  send();
  wait_for_state(State::kArrived);
  return arrived_ - start;
}

}  // namespace hark::bench

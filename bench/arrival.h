// Tells when something arrives, as a far end sees it that is a device of its own: a thread on another core
// than the station's looks for it all the time. On the station's core the reader would get its turn when the
// daemon has finished its pass, and what the daemon does behind its answer would count as well. The sender
// stays on the station's core, where a wake-up costs least.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "peers.h"

namespace hark::bench {

using Clock = std::chrono::steady_clock;

class Arrival {
 public:
  Arrival();
  ~Arrival();
  Arrival(const Arrival&) = delete;
  Arrival& operator=(const Arrival&) = delete;

  // How long it takes from `send` until `read` has got what it reads from `from`. Without a second core both
  // are done here, one after the other.
  Clock::duration time(const std::function<void()>& send, LineConnection& from,
                       const std::function<void(LineConnection&)>& read);

 private:
  enum class State { kIdle, kWanted, kLooking, kArrived, kEnding };
  void look();
  void set_state(State state);
  void wait_for_state(State state);

  std::mutex mutex_;
  std::condition_variable changed_;
  State state_ = State::kIdle;
  LineConnection* from_ = nullptr;
  const std::function<void(LineConnection&)>* read_ = nullptr;
  Clock::time_point arrived_;
  std::thread thread_;  // none without a second core
};

}  // namespace hark::bench

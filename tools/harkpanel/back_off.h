// How long to wait before the station is dialled again: 1 s, doubling to 16 s, and for ever.
#pragma once

#include <cstdint>

namespace hark::panel_gateway {

using Ms = std::int64_t;  // milliseconds of a steady clock

class BackOff {
 public:
  static constexpr Ms kFirst = 1'000;
  static constexpr Ms kLongest = 16'000;

  // An attempt failed, or the connection was lost: the time to wait from now.
  Ms next();
  // The station has answered: the next wait is the first again.
  void reset() { wait_ = kFirst; }

 private:
  Ms wait_ = kFirst;
};

}  // namespace hark::panel_gateway

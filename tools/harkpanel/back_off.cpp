#include "tools/harkpanel/back_off.h"

#include <algorithm>

namespace hark::panel_gateway {

Ms BackOff::next() {
  const Ms wait = wait_;
  wait_ = std::min(2 * wait_, kLongest);
  return wait;
}

}  // namespace hark::panel_gateway

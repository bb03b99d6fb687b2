// SIGTERM, SIGINT and SIGHUP, as something that the loop reads: they come between its callbacks, never within
// one.
#pragma once

#include <functional>

#include "tools/harkpanel/web_loop.h"

namespace hark::panel_gateway {

class StopSignals : private Watched {
 public:
  // `stop`: called for each of them.
  explicit StopSignals(std::function<void()> stop) : stop_(std::move(stop)) {}
  // From here on they end nothing by themselves. False: they could not be watched.
  [[nodiscard]] bool catch_them(lws_vhost* vhost);

 private:
  void on_readable() override;

  std::function<void()> stop_;
};

}  // namespace hark::panel_gateway

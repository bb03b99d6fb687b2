// Who a station talks into, in one example: a foreign device, and whoever is at the control group. Neither
// says anything by itself here, so that an example shows all that is said. They are there from the start of
// an example that mentions them.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "docs/document.h"
#include "system/support/far_device_sim.h"
#include "system/support/ptt_sim.h"

namespace hark::test {

class LinkPeers {
 public:
  explicit LinkPeers(const Example& example);

  // A step of the foreign device or of the group, with its text filled in.
  [[nodiscard]] testing::AssertionResult run(const Step& step, const std::string& text);
  // The foreign device got nothing that the example does not show.
  [[nodiscard]] testing::AssertionResult shown_all() const;
  // Port of the foreign device at 127.0.0.1.
  [[nodiscard]] int far_port();

 private:
  FarDeviceSim& far();
  testing::AssertionResult far_send(const std::string& text);
  testing::AssertionResult far_expect(const std::string& text);
  testing::AssertionResult group_send(const std::string& text);
  testing::AssertionResult group_expect(const std::string& text);
  // The station's datagrams to the group so far.
  [[nodiscard]] std::vector<std::string> requests() const;

  std::unique_ptr<FarDeviceSim> far_;
  std::unique_ptr<PttSim> group_;
  std::size_t far_seen_ = 0;
  std::size_t group_seen_ = 0;
};

}  // namespace hark::test

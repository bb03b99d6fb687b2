// One panel with its shared model, without the daemon around them: a small station's files, a clock that only
// the input moves, and calls that go through at once, so that each command of the model comes back as an
// indication. Every text that goes out is checked. It is made for each input and leaves nothing behind.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "panel/HarkUIProxy.h"

namespace hark::fuzz {

class PanelRig {
 public:
  // A panel `id` of `type` (HarkUIProxy::kNetworkPanel and on) that has just attached.
  PanelRig(const std::string& id, int type);
  ~PanelRig();
  PanelRig(const PanelRig&) = delete;
  PanelRig& operator=(const PanelRig&) = delete;

  [[nodiscard]] HarkUIProxy& panel() { return *panel_; }
  [[nodiscard]] HarkUIProxyShared& model() { return *model_; }

  // The panel's part of a pass of the loop.
  void pass();
  // Does what a line says that is not for the target itself: "@ms" moves the clock and makes a pass, "!"
  // tells that other programs changed the files, "<" is an indication of a call. False for any other line.
  bool run_mark(const std::string& line);

 private:
  void housekeeping();

  std::unique_ptr<HarkUIProxyShared> model_;
  std::unique_ptr<HarkUIProxy> panel_;
};

// The input's lines, none of which is empty or longer than a line of the control port.
[[nodiscard]] std::vector<std::string> lines_of(std::string_view input);

// Checks that the file of learned stations is what a reader needs: one station for each that is known, in
// lines that are read whole, each detail behind its station.
void check_learned_table();

}  // namespace hark::fuzz

// Seam: one attached panel. It knows who it is and which keys it shows, which is what the control port lists;
// the text between it and the panel is not built, so that it sends nothing and takes what it receives.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/clock.h"
#include "panel/HarkUIProxyShared.h"

namespace hark {

class HarkUIProxy {
 public:
  // Writes a text to the panel's connection `context`. Not 0 when it was taken.
  using Send = int (*)(const char* text, int context);

  static constexpr int kNoModule = -1;     // a console whose key module is gone
  static constexpr int kNetworkPanel = 0;  // attached over the control port

  // A panel `id` for the keys `first` to `last` (from 1); `aans`: it offers auto-answer. Borrows `shared`.
  // Null without memory.
  [[nodiscard]] static std::unique_ptr<HarkUIProxy> Create(std::string id, int first, int last, int aans,
                                                           HarkUIProxyShared* shared, Send send, int context);

  // Sends what the bits of `flags` ask for; `now` 0: no time is known, and what depends on it waits.
  void Notify(std::uint32_t /*flags*/, TimeUs /*now*/) {}
  // Reopens all latched listens.
  void ActivateLatchedListen() {}
  // A line of the panel's objects, from "HARKUI#" on or from behind it; and a line of a console.
  void harkui_receive(const char* /*text*/) {}
  void harkui_receive_surface(const char* /*text*/) {}

  [[nodiscard]] const std::string& GetUIID() const { return id_; }
  [[nodiscard]] int first_key() const { return first_; }
  [[nodiscard]] int last_key() const { return last_; }
  [[nodiscard]] bool aans() const { return aans_ != 0; }

  // Module type: kNetworkPanel at creation, set by the console's report.
  int type = kNetworkPanel;

 private:
  HarkUIProxy(std::string id, int first, int last, int aans);
  std::string id_;
  int first_;
  int last_;
  int aans_;
};

}  // namespace hark

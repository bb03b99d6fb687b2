// Seam: the shared model behind all panels. The model is not built: it knows how many keys there are and
// takes what it is told, shows nothing, and never asks for anything.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace hark {

class HarkUIProxyShared {
 public:
  // Receives each command of the model as text; `context` is what Create was given. Not 0 when it was taken.
  using Send = int (*)(const char* text, int context);

  // A new model for `nkeys` keys, its files in `folder`; null without memory.
  [[nodiscard]] static std::unique_ptr<HarkUIProxyShared> Create(int nkeys, const std::string& folder,
                                                                 Send send, int context);

  [[nodiscard]] int nkeys() const { return nkeys_; }

  // What the panels must refresh, a bit for each kind; taken and cleared by the main loop.
  std::uint32_t dirty = 0;

  // Housekeeping, at least every 3 seconds.
  void TimerAction() {}
  // The state of the panel outputs, active low: all at rest.
  [[nodiscard]] std::uint8_t ComputeGPO() const { return 0xFF; }
  // The speaker's mute, as a far contact sets it.
  void SetSpeakerMute(bool /*mute*/) {}
  // An indication of a call, or the text of an object.
  void harkd_receive(const char* /*text*/) {}

 private:
  explicit HarkUIProxyShared(int nkeys) : nkeys_(nkeys) {}
  int nkeys_;
};

// Bits of `dirty`.
inline constexpr std::uint32_t kDirtyIndicators = 2;
inline constexpr std::uint32_t kDirtyStations = 7;  // labels, indicators and the channel list
inline constexpr std::uint32_t kDirtyAll = 65535;

}  // namespace hark

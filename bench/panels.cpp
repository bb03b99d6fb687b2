#include "panels.h"

#include <algorithm>

#include "rig.h"

namespace hark::bench {
namespace {

constexpr int kFirstHost = 257;  // 127.0.1.1

}  // namespace

std::string key_label(int number) { return number == 1 ? kSourceLabel : "Station" + std::to_string(number); }

std::string channel_file() {
  std::string text = "SHIFT LABL:\"Bench\"\n";
  for (int key = 1; key <= kKeys; ++key)
    text += "HARKCH " + std::to_string(key) + " LABL:\"" + key_label(key) + "\"\n";
  return text + "\n";
}

Panels::Panels(int ctrl_port) {
  const std::string keys = " KEYS:\"1-" + std::to_string(kKeys) + "\"\r\n";
  for (int i = 0; i < kPanels; ++i) {
    LineConnection panel(connect_from(kFirstHost + i, ctrl_port));
    panel.send("ATTACH HARKUI#" + std::to_string(i + 1) + keys + "VER\r\n");
    (void)panel.wait_for("VER ");
    panels_.push_back(std::move(panel));
  }
}

bool Panels::are_attached() const {
  return std::none_of(panels_.begin(), panels_.end(),
                      [](const LineConnection& panel) { return panel.is_lost(); });
}

void Panels::drain() {
  for (LineConnection& panel : panels_)
    panel.drain();
}

}  // namespace hark::bench

#include "tools/harkpanel/holds.h"

namespace hark::panel_gateway {

bool Holds::press(Signature key, BrowserId browser) {
  std::set<BrowserId>& holders = holders_[key];
  const bool goes_down = holders.empty();
  holders.insert(browser);
  return goes_down;
}

bool Holds::release(Signature key, BrowserId browser) {
  const auto at = holders_.find(key);
  if (at == holders_.end() || at->second.erase(browser) == 0 || !at->second.empty()) return false;
  holders_.erase(at);
  return true;
}

Holds::Released Holds::release_all(BrowserId browser) {
  Released released;
  for (auto at = holders_.begin(); at != holders_.end();) {
    const bool held = at->second.erase(browser) != 0;
    if (held) released.let_go.push_back(at->first);
    if (!at->second.empty()) {
      ++at;
      continue;
    }
    released.up.push_back(at->first);
    at = holders_.erase(at);
  }
  return released;
}

std::vector<Signature> Holds::clear() {
  std::vector<Signature> keys = down();
  holders_.clear();
  return keys;
}

bool Holds::holds(Signature key, BrowserId browser) const {
  const auto at = holders_.find(key);
  return at != holders_.end() && at->second.contains(browser);
}

bool Holds::any(BrowserId browser) const {
  for (const auto& [key, holders] : holders_) {
    if (holders.contains(browser)) return true;
  }
  return false;
}

std::vector<Signature> Holds::down() const {
  std::vector<Signature> keys;
  keys.reserve(holders_.size());
  for (const auto& [key, holders] : holders_)
    keys.push_back(key);
  return keys;
}

}  // namespace hark::panel_gateway

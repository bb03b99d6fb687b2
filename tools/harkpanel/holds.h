// Which keys are down, and who holds them. All browsers together are one panel: a key of it is down from its
// first finger to its last, as a key of metal is.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "panel/signature.h"

namespace hark::panel_gateway {

using BrowserId = std::uint64_t;  // never used twice

class Holds {
 public:
  // True when the key goes down by this: nobody held it. A browser that holds it already changes nothing.
  bool press(Signature key, BrowserId browser);
  // True when the key goes up by this: nobody else holds it. A browser that does not hold it changes nothing.
  bool release(Signature key, BrowserId browser);
  // The keys that go up when this browser lets go of all that it holds, and those that it let go of.
  struct Released {
    std::vector<Signature> up;
    std::vector<Signature> let_go;
  };
  Released release_all(BrowserId browser);
  // Nobody holds anything from here on; the keys that were down.
  std::vector<Signature> clear();

  [[nodiscard]] bool holds(Signature key, BrowserId browser) const;
  [[nodiscard]] bool any(BrowserId browser) const;
  [[nodiscard]] std::vector<Signature> down() const;

 private:
  std::map<Signature, std::set<BrowserId>> holders_;  // none of them empty
};

}  // namespace hark::panel_gateway

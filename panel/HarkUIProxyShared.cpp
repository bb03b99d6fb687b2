#include "panel/HarkUIProxyShared.h"

#include <new>

namespace hark {

std::unique_ptr<HarkUIProxyShared> HarkUIProxyShared::Create(int nkeys, const std::string& /*folder*/,
                                                             Send /*send*/, int /*context*/) {
  return std::unique_ptr<HarkUIProxyShared>(new (std::nothrow) HarkUIProxyShared(nkeys));
}

}  // namespace hark

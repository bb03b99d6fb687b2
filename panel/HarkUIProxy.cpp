#include "panel/HarkUIProxy.h"

#include <new>
#include <utility>

namespace hark {

HarkUIProxy::HarkUIProxy(std::string id, int first, int last, int aans)
    : id_(std::move(id)), first_(first), last_(last), aans_(aans) {}

std::unique_ptr<HarkUIProxy> HarkUIProxy::Create(std::string id, int first, int last, int aans,
                                                 HarkUIProxyShared* /*shared*/, Send /*send*/,
                                                 int /*context*/) {
  return std::unique_ptr<HarkUIProxy>(new (std::nothrow) HarkUIProxy(std::move(id), first, last, aans));
}

}  // namespace hark

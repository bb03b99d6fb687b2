#include "cpsip/cpsip_osa.h"

#include <algorithm>
#include <new>

#include "cpsip/cpapp.h"

namespace hark {

cpsip_osa_buf* cpsip_osa_buf_alloc(std::uint16_t size) {
  const std::uint16_t capacity = std::min(size, kMaxOsaCapacity);
  void* memory = ::operator new(sizeof(cpsip_osa_buf) + capacity, std::nothrow);
  if (memory == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_osa));
  return new (memory) cpsip_osa_buf{.capacity = capacity, .used = 0, .next = nullptr};
}

void cpsip_osa_buf_free(cpsip_osa_buf* block) {
  while (block != nullptr) {
    cpsip_osa_buf* const next = block->next;
    ::operator delete(block);
    block = next;
  }
}

}  // namespace hark

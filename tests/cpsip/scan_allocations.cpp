// The count of allocations in the scanner's test program: every form of operator new that the product uses.
#include <atomic>
#include <cstdlib>
#include <new>

#include "cpsip/scan_fixture.h"

namespace {

std::atomic<std::int64_t> g_calls{0};
std::atomic<std::int64_t> g_live{0};

void* Allocate(std::size_t size) noexcept {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) return nullptr;
  g_calls.fetch_add(1, std::memory_order_relaxed);
  g_live.fetch_add(1, std::memory_order_relaxed);
  return block;
}

void* AllocateOrAbort(std::size_t size) {
  void* block = Allocate(size);
  if (block == nullptr) std::abort();
  return block;
}

void Release(void* block) noexcept {
  if (block == nullptr) return;
  g_live.fetch_sub(1, std::memory_order_relaxed);
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrAbort(size); }
void* operator new[](std::size_t size) { return AllocateOrAbort(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*unused*/) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { Release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { Release(block); }
void operator delete(void* block, const std::nothrow_t& /*unused*/) noexcept { Release(block); }
void operator delete[](void* block, const std::nothrow_t& /*unused*/) noexcept { Release(block); }

namespace hark::test {

std::int64_t Allocations() { return g_calls.load(std::memory_order_relaxed); }
std::int64_t LiveAllocations() { return g_live.load(std::memory_order_relaxed); }

}  // namespace hark::test

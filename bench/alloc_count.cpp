#include "alloc_count.h"

#include <atomic>
#include <cstddef>

// glibc's own entry points behind the ones that are replaced here.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace {
std::atomic<std::uint64_t> g_allocations{0};
}

extern "C" {

void* malloc(std::size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(block, size);
}
}

namespace hark::bench {

std::uint64_t allocations() { return g_allocations.load(std::memory_order_relaxed); }

}  // namespace hark::bench

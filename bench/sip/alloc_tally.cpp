// The program's own malloc, calloc and realloc, which the libraries get too: one addition, and on to those of
// glibc.
#include "alloc_tally.h"

#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace {
std::uint64_t g_allocations = 0;
}

extern "C" {

void* malloc(std::size_t size) {
  ++g_allocations;
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  ++g_allocations;
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  ++g_allocations;
  return __libc_realloc(block, size);
}
}

namespace hark::bench {

std::uint64_t allocation_tally() { return g_allocations; }

}  // namespace hark::bench

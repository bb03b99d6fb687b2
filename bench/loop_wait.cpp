#include "loop_wait.h"

#include <ucontext.h>

#include <cstddef>
#include <cstdlib>
#include <memory>

#include "daemon/harkd.h"

extern "C" int __real_select(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout);

namespace hark::bench {
namespace {

constexpr std::size_t kStackSize = std::size_t{1} << 20;

// What the loop's select was called with.
struct Call {
  int count = 0;
  fd_set readable{};
  fd_set writable{};
  fd_set failed{};
};

struct Loop {
  std::unique_ptr<std::byte[]> stack;  // null: not entered yet
  ucontext_t loop{};
  ucontext_t caller{};
  int passes_left = 0;
  Wait wait = Wait::kAsGiven;
  Call call;
};
Loop g_loop;

void enter() {
  (void)harkd_main();
  std::abort();
}

int select_at_once(int count, fd_set* readable, fd_set* writable, fd_set* failed) {
  timeval at_once{0, 0};
  return __real_select(count, readable, writable, failed, &at_once);
}

int wait_of_loop(int count, fd_set* readable, fd_set* writable, fd_set* failed, timeval* timeout) {
  if (g_loop.passes_left == 0) {
    g_loop.call = {count, *readable, *writable, *failed};
    (void)::swapcontext(&g_loop.loop, &g_loop.caller);
  }
  --g_loop.passes_left;
  if (g_loop.wait == Wait::kAsGiven) return __real_select(count, readable, writable, failed, timeout);
  if (g_loop.wait == Wait::kNotAtAll) return select_at_once(count, readable, writable, failed);
  for (fd_set* set : {readable, writable, failed})
    FD_ZERO(set);
  return 0;
}

}  // namespace

void loop_passes(int count, Wait wait) {
  g_loop.passes_left = count;
  g_loop.wait = wait;
  if (!g_loop.stack) {
    ++g_loop.passes_left;  // the way to the first wait is one
    g_loop.stack = std::make_unique<std::byte[]>(kStackSize);
    (void)::getcontext(&g_loop.loop);
    g_loop.loop.uc_stack.ss_sp = g_loop.stack.get();
    g_loop.loop.uc_stack.ss_size = kStackSize;
    ::makecontext(&g_loop.loop, enter, 0);
  }
  (void)::swapcontext(&g_loop.caller, &g_loop.loop);
}

int loop_select() {
  Call call = g_loop.call;
  return select_at_once(call.count, &call.readable, &call.writable, &call.failed);
}

}  // namespace hark::bench

// The name that the linker's --wrap=select puts in place of select. What else in this program selects has no
// loop that was entered.
extern "C" int __wrap_select(int count, fd_set* readable, fd_set* writable, fd_set* failed,
                             timeval* timeout) {
  return hark::bench::g_loop.stack ? hark::bench::wait_of_loop(count, readable, writable, failed, timeout)
                                   : __real_select(count, readable, writable, failed, timeout);
}

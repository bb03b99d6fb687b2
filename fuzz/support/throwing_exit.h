// Put in front of a product source that ends the process, by the compiler's -include: its std::exit throws
// instead. The real one cannot be made to throw, since the C library declares that it does not.
#pragma once

#include <cstdlib>

namespace hark::fuzz {
// What std::exit was given.
struct ExitCalled {
  int status;
};
}  // namespace hark::fuzz

namespace std {
[[noreturn]] inline void exit_thrown(int status) { throw hark::fuzz::ExitCalled{status}; }
}  // namespace std

#define exit exit_thrown

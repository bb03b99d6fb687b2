// Owned file descriptors and files, and the one guarded way to put a descriptor into a select set.
#pragma once

#include <sys/select.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

namespace hark {

// Owns one descriptor and closes it. -1 is none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { reset(); }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool is_open() const { return fd_ >= 0; }
  // Gives the descriptor away; this holds none afterwards.
  [[nodiscard]] int release() { return std::exchange(fd_, -1); }
  // Closes what is held and takes `fd`.
  void reset(int fd = -1);

 private:
  int fd_ = -1;
};

// Owns one stdio file and closes it; null is none.
struct CloseFile {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, CloseFile>;

// Opens the file `path` in an fopen(3) mode; null when it cannot be opened.
[[nodiscard]] inline UniqueFile open_file(const std::string& path, const char* mode) {
  return UniqueFile(std::fopen(path.c_str(), mode));
}

// Adds `fd` to `set` and raises `highest` to it. A descriptor that is not open, or that a select set cannot
// hold (FD_SETSIZE and above), is left out: false.
bool fdset_add(int fd, fd_set& set, int& highest);

// Whether `fd` is in `set`; false for a descriptor that no set can hold.
[[nodiscard]] bool fdset_has(int fd, const fd_set& set);

// Makes `fd` non-blocking. False when fcntl(2) refuses.
[[nodiscard]] bool set_nonblocking(int fd);

}  // namespace hark

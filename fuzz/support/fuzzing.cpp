#include "support/fuzzing.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace hark::fuzz {
namespace {

struct TempFolder {
  std::string path;
  TempFolder() {
    const char* base = std::getenv("TMPDIR");
    path = std::string(base != nullptr ? base : "/tmp") + "/harkd-fuzz.XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) std::abort();
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
};

}  // namespace

void check(bool holds, const char* what) {
  if (holds) return;
  (void)::dprintf(STDERR_FILENO, "\n== does not hold: %s\n", what);
  std::abort();
}

ExactText::ExactText(std::string_view text) : size_(std::min(text.find('\0'), text.size())) {
  text_.reset(new char[size_ + 1]);
  std::copy_n(text.data(), size_, text_.get());
  text_[size_] = '\0';
}

bool ExactText::holds(const char* p) const { return p >= c_str() && p <= end(); }

void ExactBuffer::check_text(int length, const char* what) const {
  check(length >= 0 && length < size_ && bytes_[static_cast<std::size_t>(length)] == '\0', what);
}

std::string_view ExactBuffer::text(int length) const {
  return {bytes_.get(), static_cast<std::size_t>(length)};
}

std::vector<std::string> split(std::string_view data, std::string_view separators, std::size_t limit) {
  std::vector<std::string> parts;
  while (parts.size() + 1 < limit) {
    const std::size_t end = data.find_first_of(separators);
    if (end == std::string_view::npos) break;
    parts.emplace_back(data.substr(0, end));
    data.remove_prefix(end + 1);
  }
  parts.emplace_back(data);
  return parts;
}

std::string_view as_text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

void mute_output() {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
  // glibc lets stderr be assigned. The fuzzer holds the old one, and the sanitizers write to the descriptor
  // itself.
  std::FILE* nowhere = std::fopen("/dev/null", "we");
  if (nowhere == nullptr) std::abort();
  stderr = nowhere;
}

const std::string& temp_folder() {
  static const TempFolder folder;
  return folder.path;
}

MemoryFile::MemoryFile() : fd_(::memfd_create("harkd-fuzz", MFD_CLOEXEC)) {
  if (fd_ < 0) std::abort();
  path_ = "/proc/self/fd/" + std::to_string(fd_);
}

MemoryFile::~MemoryFile() { ::close(fd_); }

void MemoryFile::write(std::string_view text) const {
  const bool written = ::ftruncate(fd_, 0) == 0 &&
                       ::pwrite(fd_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
  if (!written) std::abort();
}

std::string MemoryFile::read() const {
  std::string text;
  std::array<char, 4096> part{};
  for (;;) {
    const ssize_t got = ::pread(fd_, part.data(), part.size(), static_cast<off_t>(text.size()));
    if (got <= 0) return text;
    text.append(part.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace hark::fuzz

// What every fuzz target uses: checks, texts in memory of their exact size, a folder for the files that the
// product writes, and silence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace hark::fuzz {

// Tells `what` did not hold and ends the run, so that the fuzzer keeps the input.
void check(bool holds, const char* what);

// A copy of `text`, up to its first NUL, on the heap and terminated: a reader that goes a byte too far leaves
// the block, which the address sanitizer sees.
class ExactText {
 public:
  explicit ExactText(std::string_view text);
  [[nodiscard]] const char* c_str() const { return text_.get(); }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] const char* end() const { return text_.get() + size_; }
  // Whether `p` points into the text or at its NUL.
  [[nodiscard]] bool holds(const char* p) const;

 private:
  std::size_t size_;
  std::unique_ptr<char[]> text_;
};

// The same for what is written: `size` bytes and not one more.
class ExactBuffer {
 public:
  explicit ExactBuffer(int size) : size_(size), bytes_(new char[static_cast<std::size_t>(size)]) {}
  [[nodiscard]] char* data() { return bytes_.get(); }
  [[nodiscard]] int size() const { return size_; }
  // Checks that `length` characters and a NUL are in the buffer.
  void check_text(int length, const char* what) const;
  [[nodiscard]] std::string_view text(int length) const;

 private:
  int size_;
  std::unique_ptr<char[]> bytes_;
};

// The parts of `data` between characters of `separators`, at most `limit` of them; the last one holds the
// rest.
[[nodiscard]] std::vector<std::string> split(std::string_view data, std::string_view separators,
                                             std::size_t limit = SIZE_MAX);

[[nodiscard]] std::string_view as_text(const std::uint8_t* data, std::size_t size);

// From here on what the product prints on stdout and stderr goes nowhere. Reports of the fuzzer and of the
// sanitizers still come out.
void mute_output();

// A folder for this process, gone when it ends in order.
[[nodiscard]] const std::string& temp_folder();

// A file in memory that the product opens by its path.
class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  [[nodiscard]] const std::string& path() const { return path_; }
  void write(std::string_view text) const;
  [[nodiscard]] std::string read() const;

 private:
  int fd_;
  std::string path_;
};

}  // namespace hark::fuzz

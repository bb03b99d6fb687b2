// A folder for the files of one test, gone with all that is in it when the test ends. For tests of modules
// that read or write a file whose path can be set.
#pragma once

#include <string>

namespace hark {

class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  // The folder itself, with its closing slash.
  [[nodiscard]] const std::string& path() const { return path_; }
  // The path of a file in it.
  [[nodiscard]] std::string File(const std::string& name) const { return path_ + name; }

  // Writes a file and gives it a modification time of its own, later than that of any earlier Write: a
  // watcher sees each change, however fast they follow. Returns its path.
  std::string Write(const std::string& name, const std::string& text);
  void Remove(const std::string& name) const;
  [[nodiscard]] bool Has(const std::string& name) const;
  // The whole file; empty when there is none.
  [[nodiscard]] std::string Read(const std::string& name) const;
  // Gives a file the modification time `seconds`.
  void SetTime(const std::string& name, long seconds) const;

 private:
  std::string path_;
  long next_time_ = 1'600'000'000;
};

}  // namespace hark

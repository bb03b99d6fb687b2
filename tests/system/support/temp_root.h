// A folder of its own for one station, with the folders that its fixed paths need, gone when the test ends.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hark::test {

class TempRoot {
 public:
  // Makes the folder under $TMPDIR or /tmp. A failure ends the test program.
  TempRoot();
  TempRoot(const TempRoot&) = delete;
  TempRoot& operator=(const TempRoot&) = delete;
  ~TempRoot();

  [[nodiscard]] const std::string& path() const { return path_; }
  // The place of one file in it: `name` as in "etc/Orfe/hark/harkid", with or without a leading slash.
  [[nodiscard]] std::string file(std::string_view name) const;

  // Writes and reads whole files; reading a file that is not there gives an empty text, or none.
  void write(std::string_view name, std::string_view text) const;
  [[nodiscard]] std::string read(std::string_view name) const;
  [[nodiscard]] bool exists(std::string_view name) const;
  void remove(std::string_view name) const;
  // The names of all files in it, relative to it, sorted.
  [[nodiscard]] std::vector<std::string> files() const;

 private:
  std::string path_;
};

}  // namespace hark::test

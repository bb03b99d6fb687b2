#include "base/scratch_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace hark {

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "hark_test_XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) std::abort();
  path_ = name + "/";
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::Write(const std::string& name, const std::string& text) {
  std::ofstream(File(name), std::ios::binary) << text;
  SetTime(name, ++next_time_);
  return File(name);
}

void ScratchFolder::Remove(const std::string& name) const { std::filesystem::remove(File(name)); }

bool ScratchFolder::Has(const std::string& name) const { return std::filesystem::exists(File(name)); }

std::string ScratchFolder::Read(const std::string& name) const {
  std::ifstream in(File(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void ScratchFolder::SetTime(const std::string& name, long seconds) const {
  std::array<timespec, 2> times{};
  times[0].tv_sec = seconds;
  times[1].tv_sec = seconds;
  if (::utimensat(AT_FDCWD, File(name).c_str(), times.data(), 0) != 0) std::abort();
}

}  // namespace hark

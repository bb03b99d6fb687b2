#include "system/support/temp_root.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace hark::test {
namespace fs = std::filesystem;

TempRoot::TempRoot() {
  const char* parent = std::getenv("TMPDIR");
  path_ = std::string(parent != nullptr && *parent != '\0' ? parent : "/tmp") + "/harkd-test-XXXXXX";
  if (::mkdtemp(path_.data()) == nullptr) {
    std::perror(path_.c_str());
    std::abort();
  }
  for (const char* folder : {"etc/Orfe/hark", "etc/Orfe/EngConf", "var/run", "var/tmp", "tmp"}) {
    fs::create_directories(file(folder));
  }
}

TempRoot::~TempRoot() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TempRoot::file(std::string_view name) const {
  while (name.starts_with('/'))
    name.remove_prefix(1);
  return path_ + "/" + std::string(name);
}

void TempRoot::write(std::string_view name, std::string_view text) const {
  std::ofstream out(file(name), std::ios::binary | std::ios::trunc);
  out << text;
}

std::string TempRoot::read(std::string_view name) const {
  std::ifstream in(file(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool TempRoot::exists(std::string_view name) const {
  std::error_code ignored;
  return fs::exists(file(name), ignored);
}

void TempRoot::remove(std::string_view name) const {
  std::error_code ignored;
  fs::remove(file(name), ignored);
}

std::vector<std::string> TempRoot::files() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(path_)) {
    if (entry.is_regular_file()) names.push_back(fs::relative(entry.path(), path_).string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace hark::test

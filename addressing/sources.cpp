#include "addressing/sources.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "base/fd.h"

namespace hark {

std::string harksources_file = "/etc/Orfe/hark/hark_sources";

namespace {}  // namespace

void for_each_source_line(const std::function<void(const char*)>& line) {
  const UniqueFile file = open_file(harksources_file, "re");
  if (!file) return;
  std::array<char, kSourceLineSize> text{};
  while (std::fgets(text.data(), static_cast<int>(text.size()), file.get()) != nullptr) {
    text[std::strcspn(text.data(), "\r\n")] = '\0';
    if (text[0] != '\0' && text[0] != '#') line(text.data());
  }
}

}  // namespace hark

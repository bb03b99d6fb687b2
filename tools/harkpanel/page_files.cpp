#include "tools/harkpanel/page_files.h"

#include <array>
#include <string>
#include <vector>

#include "tools/harkpanel/page_data.h"

namespace hark::panel_gateway {
namespace {

constexpr std::string_view kStartPage = "index.html";

// Ending of a name, type of such a file.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kTypes{{
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
}};

std::string_view type_of(std::string_view name) {
  for (const auto& [ending, type] : kTypes) {
    if (name.ends_with(ending)) return type;
  }
  return "application/octet-stream";
}

// The paths and the files, made once: a path is a file's name behind a slash.
struct Site {
  std::vector<std::string> paths;
  std::vector<PageFile> files;

  Site() {
    paths.reserve(kEmbeddedCount);  // the files refer to them
    for (std::size_t i = 0; i < kEmbeddedCount; ++i) {
      const EmbeddedFile& file = kEmbeddedFiles[i];
      const std::string_view name = file.name;
      paths.push_back(name == kStartPage ? "/" : "/" + std::string(name));
      files.push_back({paths.back(), type_of(name), {reinterpret_cast<const char*>(file.bytes), file.size}});
    }
  }
};

}  // namespace

std::span<const PageFile> page_files() {
  static const Site site;
  return site.files;
}

const PageFile* find_page_file(std::string_view path) {
  for (const PageFile& file : page_files()) {
    if (file.path == path) return &file;
  }
  return nullptr;
}

}  // namespace hark::panel_gateway

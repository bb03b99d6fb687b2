// The page that browsers load, built into the program.
#pragma once

#include <span>
#include <string_view>

namespace hark::panel_gateway {

struct PageFile {
  std::string_view path;  // "/", "/panel.css"
  std::string_view type;  // of its content: "text/html; charset=utf-8"
  std::string_view bytes;
};

[[nodiscard]] std::span<const PageFile> page_files();
// Null for a path that there is not.
[[nodiscard]] const PageFile* find_page_file(std::string_view path);

}  // namespace hark::panel_gateway

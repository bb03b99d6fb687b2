// What embed.cmake makes of the folder page/: its files as arrays.
#pragma once

#include <cstddef>

namespace hark::panel_gateway {

struct EmbeddedFile {
  const char* name;  // in the folder: "panel.css"
  const unsigned char* bytes;
  std::size_t size;
};

extern const EmbeddedFile kEmbeddedFiles[];
extern const std::size_t kEmbeddedCount;

}  // namespace hark::panel_gateway

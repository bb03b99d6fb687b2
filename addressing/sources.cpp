#include "addressing/sources.h"

#include <array>
#include <optional>

#include "daemon/qnrlib/textfile.h"

namespace hark {

std::string harksources_file = "/etc/Orfe/hark/hark_sources";

void for_each_source_line(const std::string& file, const std::function<void(const char*)>& line) {
  const std::optional<std::string> content = read_text_file(file);
  if (!content) return;
  TextLines lines(*content, kSourceLineSize - 1);
  std::array<char, kSourceLineSize> text;
  while (lines.next_text(text)) {
    if (text[0] == '#') text[0] = '\0';
    line(text.data());
  }
}

void for_each_source_line(const std::function<void(const char*)>& line) {
  for_each_source_line(harksources_file, [&line](const char* text) {
    if (*text != '\0') line(text);
  });
}

}  // namespace hark

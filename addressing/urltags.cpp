// The tags behind a URL's address: "name=value" items between semicolons.
#include "addressing/harkurl.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "addressing/url_escape.h"

namespace hark {
namespace {

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }

// What stands behind "name=" at the start of an item of `tags`, to the end of `tags`. Null data when absent.
// Only the start of an item is compared, so that "gpio" does not find "gpiol"; blanks are skipped only in
// front of the first item.
std::string_view find_tag(std::string_view tags, std::string_view name) {
  const auto blanks = tags.find_first_not_of(' ');
  tags.remove_prefix(blanks == std::string_view::npos ? tags.size() : blanks);
  while (tags.size() > name.size()) {
    if (tags.starts_with(name) && tags[name.size()] == '=') return tags.substr(name.size() + 1);
    const auto semicolon = tags.find(';');
    if (semicolon == std::string_view::npos) break;
    tags.remove_prefix(semicolon + 1);
  }
  return {};
}

}  // namespace

int decimal_escape(std::string_view text) {
  if (text.size() < 4 || !is_digit(text[1]) || !is_digit(text[2]) || !is_digit(text[3])) return -1;
  const int value = (text[1] - '0') * 100 + (text[2] - '0') * 10 + (text[3] - '0');
  return value < 256 ? value : -1;
}

long url_tagl(const char* tags, const char* name) {
  if (tags == nullptr || name == nullptr || *name == '\0') return 0;
  const std::string_view value = find_tag(tags, name);
  return value.data() == nullptr ? 0 : std::strtol(value.data(), nullptr, 0);
}

int url_level(const char* tags) {
  return static_cast<int>(std::clamp<long>(url_tagl(tags, "trgl"), INT_MIN + 1L, INT_MAX) - 1);
}

int url_tagsz(const harkurl_info* info, const char* name, char* out, std::size_t outlen) {
  if (out != nullptr && outlen > 0) *out = '\0';
  if (info == nullptr || info->tags == nullptr || name == nullptr || *name == '\0') return 0;
  if (out == nullptr) return 0;
  return url_unescape(find_tag({info->tags, info->tags_len}, name), {out, outlen},
                      [](char c) { return c == ';' || c == '>'; });
}

}  // namespace hark

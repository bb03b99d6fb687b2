#include "addressing/harkurl.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace hark {

const char* harkurl_prefix = "hark:";

namespace {

constexpr const char* kSipPrefix = "sip:";

struct Name {
  const char* start = nullptr;
  std::ptrdiff_t length = 0;  // -1 for a text that begins with "<": see find_address
};

// Finds where the address begins, and the display name in front of it.
const char* find_address(const char* text, Name& name) {
  name.start = text;
  if (*text == '"') {
    ++name.start;
    if (const char* quote = std::strchr(name.start, '"'); quote != nullptr) {
      name.length = quote - name.start;
      const char* address = quote + 1;
      while (*address == ' ')
        ++address;
      return *address == '<' ? address + 1 : address;
    }
  }
  const char* bracket = std::strchr(name.start, '<');
  if (bracket == nullptr) return text;  // an opening quote that nothing closes belongs to the address
  // Kept: the name ends one character before the bracket, whatever that character is. With the usual blank
  // there the name is exact; "Name<hark:x>" has always shown as "Nam", and labels in the field are stored
  // that way. A text that begins with the bracket gets a name one character shorter than empty.
  name.length = bracket - name.start - 1;
  while (name.length > 0 && name.start[name.length - 1] == ' ')
    --name.length;
  return bracket + 1;
}

int address_type(const char* address) {
  struct Scheme {
    const char* prefix;
    int type;
  };
  // prefix, type; in the order of the tests: a telephone's "sip:" comes last
  static constexpr std::array<Scheme, 3> kSchemes{
      {{"quillnet:", HARKURL_QUILLNET}, {"phone:", HARKURL_PHONE}, {kSipPrefix, HARKURL_PHONE}}};
  if (harkurl_address(address) != nullptr) return HARKURL_STATION;
  for (const Scheme& scheme : kSchemes) {
    if (strstartswith(address, scheme.prefix) != 0) return scheme.type;
  }
  return 0;
}

// The length of [start, end), less one closing bracket.
std::uint32_t cut_bracket(const char* start, const char* end) {
  if (end <= start) return 0;
  return static_cast<std::uint32_t>(end - start - (end[-1] == '>' ? 1 : 0));
}

// `url` without its station prefix, if it has one.
std::string_view station_address(const harkurl_info& info) {
  const char* address = harkurl_address(info.url);
  const auto prefix = static_cast<std::size_t>(address - info.url);
  return {address, info.url_len - std::min<std::size_t>(prefix, info.url_len)};
}

}  // namespace

std::size_t strstartswith(const char* s, const char* prefix) {
  const std::size_t length = std::strlen(prefix);
  return std::strncmp(s, prefix, length) == 0 ? length : 0;
}

std::string_view harkurl_name(const harkurl_info& info) {
  return info.name_len <= info.full_len ? std::string_view(info.name, info.name_len) : std::string_view();
}

const char* harkurl_address(const char* url) {
  if (url == nullptr) return nullptr;
  if (*url == '*' && strstartswith(url + 1, harkurl_prefix) != 0)
    return url + 1 + std::strlen(harkurl_prefix);
  for (const char* prefix : {harkurl_prefix, "sip:hark-talk@", "sip:hark-listen@"}) {
    if (const std::size_t length = strstartswith(url, prefix); length != 0) return url + length;
  }
  return nullptr;
}

int harkurl_parse(const char* text, harkurl_info* info) {
  if (info != nullptr) *info = harkurl_info{};
  if (text == nullptr || *text == '\0') return -1;
  Name name;
  const char* address = find_address(text, name);
  const int type = address_type(address);
  if (info == nullptr) return type;

  const std::size_t length = std::strlen(text);
  const char* end = text + length;
  // The first ";" of the whole text: one inside a display name ends the address early.
  const char* semicolon = std::find(text, end, ';');
  info->type = static_cast<std::uint32_t>(type);
  info->full = text;
  info->full_len = static_cast<std::uint32_t>(length);
  info->name = name.start;
  info->name_len = static_cast<std::uint32_t>(name.length);
  info->url = address;
  info->url_len = cut_bracket(address, semicolon);
  info->tags = semicolon == end ? end : semicolon + 1;
  info->tags_len = cut_bracket(info->tags, end);
  return type;
}

std::size_t harkurl_meaningfull_addr_len(const char* addr, std::size_t len) {
  if (addr == nullptr || len == 0) return 0;
  const std::string_view text(addr, len);
  const std::string_view scheme(kSipPrefix);
  if (!text.starts_with(scheme)) return len;
  return std::min(text.find(':', scheme.size()), len);
}

int hark_urlcompare(const char* a, const char* b) {
  harkurl_info info_a;
  harkurl_info info_b;
  if (harkurl_parse(a, &info_a) != harkurl_parse(b, &info_b)) return std::strcmp(a, b);
  // No address was cut out (a ";" in the display name, or no text at all): only the same text is the same
  // party.
  if (info_a.url_len == 0 || info_b.url_len == 0) return std::strcmp(a, b);
  std::string_view url_a(info_a.url, info_a.url_len);
  std::string_view url_b(info_b.url, info_b.url_len);
  if (info_a.type == HARKURL_STATION) {
    url_a = station_address(info_a);
    url_b = station_address(info_b);
  }
  const int order = url_a.compare(url_b);
  return (order > 0) - (order < 0);
}

std::optional<std::string> harkurl_fromsip(const char* sip) {
  const char* address = harkurl_address(sip);
  if (address == nullptr) return std::nullopt;
  return std::string(harkurl_prefix) + address;
}

std::string harkurl_fromsip2(const char* name, const char* sip) {
  std::string address;
  if (sip != nullptr) address = harkurl_fromsip(sip).value_or(sip);
  if (name == nullptr || *name == '\0') return address;
  std::string out;
  out.append(1, '"').append(name).append(1, '"');
  if (!address.empty()) out.append(" <").append(address).append(1, '>');
  return out;
}

}  // namespace hark

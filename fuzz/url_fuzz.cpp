// URLs: what is cut out of one lies inside it, and two are ordered the same from both sides. An input is up
// to three texts that a line feed cuts: two URLs and a tag's name.
#include <algorithm>
#include <string>

#include "addressing/harkurl.h"
#include "support/fuzzing.h"

namespace {

using hark::fuzz::check;
using hark::fuzz::ExactBuffer;
using hark::fuzz::ExactText;

constexpr std::uint32_t kNameOfBracket = UINT32_MAX;  // name_len of a text that begins with "<"

bool holds(const ExactText& text, const char* start, std::uint32_t length) {
  return text.holds(start) && length <= static_cast<std::size_t>(text.end() - start);
}

void tags(const hark::harkurl_info& info, const ExactText& name) {
  for (const char* tag : {name.c_str(), "trgl", "gpio", "label"})
    (void)hark::url_tagl(info.tags, tag);
  for (const int size : {1, 11, 65}) {
    ExactBuffer out(size);
    for (const char* tag : {name.c_str(), "label", "ifb"}) {
      const int length = hark::url_tagsz(&info, tag, out.data(), static_cast<std::size_t>(size));
      out.check_text(length, "a tag's text is terminated at its length");
    }
  }
}

void parse(const ExactText& text, const ExactText& name) {
  hark::harkurl_info info;
  info.url_len = 1;
  const int type = hark::harkurl_parse(text.c_str(), &info);
  check(hark::harkurl_parse(text.c_str(), nullptr) == type, "the type is the same without a record");
  if (type == -1) {
    check(text.size() == 0 && info.url == nullptr && info.url_len == 0, "only an empty text is none");
    return;
  }
  check(type >= 0 && type <= hark::HARKURL_PHONE && info.type == static_cast<std::uint32_t>(type),
        "the type");
  check(info.full == text.c_str() && info.full_len == text.size(), "the whole text");
  check(holds(text, info.url, info.url_len), "the address is inside the text");
  check(holds(text, info.tags, info.tags_len), "the tags are inside the text");
  check(info.name_len == kNameOfBracket || holds(text, info.name, info.name_len),
        "the name is inside the text");
  check(info.name_len != kNameOfBracket || *text.c_str() == '<' || *text.c_str() == '"',
        "a name of less than nothing stands before a bracket");
  check(std::find(info.url, info.url + info.url_len, ';') == info.url + info.url_len,
        "no tags in the address");
  tags(info, name);
  const std::size_t host = hark::harkurl_meaningfull_addr_len(info.url, info.url_len);
  check(host <= info.url_len, "the host is in the address");
}

void station(const ExactText& text, const ExactText& name) {
  const char* address = hark::harkurl_address(text.c_str());
  check(address == nullptr || text.holds(address), "a station's address is inside the text");
  const auto url = hark::harkurl_fromsip(text.c_str());
  check(url.has_value() == (address != nullptr), "what has a station's prefix is a station");
  check(!url || *url == std::string("hark:") + address, "a station's URL is its address");
  const std::string shown = hark::harkurl_fromsip2(name.c_str(), text.c_str());
  check(shown.size() <= name.size() + text.size() + std::string_view(R"("" <hark:>)").size(),
        "the display form");
}

int sign(int order) { return (order > 0) - (order < 0); }

void compare(const ExactText& a, const ExactText& b) {
  check(hark::hark_urlcompare(a.c_str(), a.c_str()) == 0, "a URL is equal to itself");
  check(
      sign(hark::hark_urlcompare(a.c_str(), b.c_str())) == -sign(hark::hark_urlcompare(b.c_str(), a.c_str())),
      "two URLs are ordered the same from both sides");
  // Without an address, only the same text is the same party.
  hark::harkurl_info info;
  if (hark::harkurl_parse(a.c_str(), &info) < 0 || info.url_len == 0 || info.tags != a.end()) return;
  const std::string tagged = a.c_str() + std::string(";trgl=2");
  check(hark::hark_urlcompare(a.c_str(), tagged.c_str()) == 0, "tags play no part");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 3);
  const ExactText a(parts[0]);
  const ExactText b(parts.size() > 1 ? parts[1] : "");
  const ExactText name(parts.size() > 2 ? parts[2] : "");
  for (const ExactText* text : {&a, &b}) {
    parse(*text, name);
    station(*text, name);
  }
  compare(a, b);
  return 0;
}

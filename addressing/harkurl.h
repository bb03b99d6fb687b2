// What a far end's URL is: a channel assignment, a line of the source file, the URL of a CALL, a SIP address
// turned back into a station. The one place that knows its shape: an optional display name, an address,
// optional tags, as
// `"Name" <address>;tags`, `Name <address>;tags` or `address;tags`. Parsing copies and allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hark {

// What an address can be called by; 0 is an address that the system cannot call.
inline constexpr int HARKURL_STATION = 1;   // intercom station, reached by SIP
inline constexpr int HARKURL_QUILLNET = 2;  // channel or audio source of the routing network
inline constexpr int HARKURL_PHONE = 3;     // telephone party, which can only call in

// Prefix of a station's address. Writable for deployments.
extern const char* harkurl_prefix;

// A URL cut in place. Every pointer is valid as long as the text that was parsed; none is terminated.
struct harkurl_info {
  std::uint32_t type = 0;
  const char* full = nullptr;  // the whole text
  std::uint32_t full_len = 0;
  const char* name = nullptr;  // display name, behind an opening quote
  std::uint32_t name_len = 0;  // 0: none; all bits set for a text that begins with "<"
  const char* url = nullptr;   // the address
  std::uint32_t url_len = 0;
  const char* tags = nullptr;  // behind the first ";", or the end of the text
  std::uint32_t tags_len = 0;
};

// The length of `prefix` if `s` begins with it, else 0; an empty prefix gives 0.
[[nodiscard]] std::size_t strstartswith(const char* s, const char* prefix);

// Cuts `text` into `info` (null: only the type is wanted), which is cleared first, on failure too. Returns
// the type code, -1 for a null or empty text.
int harkurl_parse(const char* text, harkurl_info* info);

// The display name; empty when there is none, and for a text that begins with "<".
[[nodiscard]] std::string_view harkurl_name(const harkurl_info& info);

// What stands behind the station prefix of `url` ("hark:", "*hark:", "sip:hark-talk@", "sip:hark-listen@"),
// or null.
[[nodiscard]] const char* harkurl_address(const char* url);

// `url` without the "*" that marks one which is not written to files.
[[nodiscard]] inline const char* behind_star(const char* url) { return *url == '*' ? url + 1 : url; }

// The length of the part of an address that identifies a host: of a SIP address without its port. 0 for a
// null `addr`.
[[nodiscard]] std::size_t harkurl_meaningfull_addr_len(const char* addr, std::size_t len);

// That part of a parsed URL's address.
[[nodiscard]] inline std::string_view harkurl_meaningfull_addr(const harkurl_info& info) {
  return {info.url, harkurl_meaningfull_addr_len(info.url, info.url_len)};
}

// An order of two URLs by address, as strcmp gives one; station prefixes, tags and display names play no
// part. Requires texts that are not null.
[[nodiscard]] int hark_urlcompare(const char* a, const char* b);

// "hark:" and the address behind the station prefix of `sip`; nothing when it has no such prefix.
[[nodiscard]] std::optional<std::string> harkurl_fromsip(const char* sip);

// The display form of a SIP party: `"name" <address>`, `"name"`, `address` or nothing at all, as far as
// `name` and `sip` (either may be null or empty) are known. The address becomes a "hark:" address where it
// has a station prefix.
[[nodiscard]] std::string harkurl_fromsip2(const char* name, const char* sip);

// The numeric tag `name` in `tags` (terminated text), in base 0; 0 when absent.
[[nodiscard]] long url_tagl(const char* tags, const char* name);

// The zero-based trigger level that `tags` give, held to a number that sums stay in range with; -1 when they
// give none.
[[nodiscard]] int url_level(const char* tags);

// Copies the text tag `name` to `out` of `outlen` bytes, unescaped and always terminated. Returns the length,
// 0 when absent or when `info` is null or has no tags.
int url_tagsz(const harkurl_info* info, const char* name, char* out, std::size_t outlen);

}  // namespace hark

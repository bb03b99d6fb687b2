// URIs, and the escaping of reserved characters. An input is up to three texts that a line feed cuts: a URI,
// a text to escape, and the characters that are reserved in it, as a number. Parts lie in the text; a URI
// that was taken apart and is put together again has the same parts.
#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "cpsip/cpsip_uri.h"
#include "support/fuzzing.h"
#include "support/sip_case.h"

namespace {

using hark::cpsip_transport_kind;
using hark::cpsip_uri;
using hark::fuzz::check;

constexpr std::uint32_t kAllReserved = 0x1FFFF;

// A text of its exact size, without an end.
class Text {
 public:
  explicit Text(std::string_view text) : size_(text.size()), bytes_(new char[text.size()]) {
    std::copy(text.begin(), text.end(), bytes_.get());
  }
  [[nodiscard]] std::string_view view() const { return {bytes_.get(), size_}; }
  [[nodiscard]] bool holds(std::string_view part) const {
    return part.empty() || (part.data() >= bytes_.get() && part.data() + part.size() <= bytes_.get() + size_);
  }

 private:
  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
};

std::array<std::string_view, 6> parts_of(const cpsip_uri& uri) {
  return {uri.scheme, uri.user, uri.password, uri.host, uri.params, uri.headers};
}

// What is parsed: without a bracket at its start, up to a NUL.
std::string_view looked_at(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  if (text.starts_with('<')) text.remove_prefix(1);
  return text;
}

void check_parts(const Text& text, const cpsip_uri& uri, int result) {
  const std::string_view whole = looked_at(text.view());
  std::size_t total = 0;
  for (const std::string_view part : parts_of(uri)) {
    check(text.holds(part), "a part lies in the text");
    check(part.find('\0') == std::string_view::npos && part.find('>') == std::string_view::npos,
          "a part ends where the URI does");
    total += part.size();
  }
  check(total <= whole.size(), "parts do not overlap");
  check(uri.host.find_first_of("@;?") == std::string_view::npos, "nothing in the host that ends it");
  // One that was opened before the host counts as well.
  check(uri.host.find(':') == std::string_view::npos || whole.find('[') != std::string_view::npos,
        "no colon in a host without brackets");
  check(uri.user.find('@') == std::string_view::npos && uri.password.find('@') == std::string_view::npos,
        "no second at sign");
  check(uri.port <= 65534, "a port");
  const bool secure = hark::fuzz::same_in_any_case(whole.substr(0, 4), "sips");
  if (result == hark::kUriOk && uri.params.empty()) {
    check(uri.transport == (secure ? cpsip_transport_kind::tls : cpsip_transport_kind::none),
          "without parameters the scheme decides on the transport");
  }
  check(uri.transport <= cpsip_transport_kind::tls, "a transport");
}

std::string put_together(const cpsip_uri& uri) {
  std::string text;
  const auto add = [&](auto... words) { ((text += words), ...); };
  if (!uri.scheme.empty()) add(uri.scheme, ":");
  if (!uri.user.empty()) {
    add(uri.user);
    if (!uri.password.empty()) add(":", uri.password);
    add("@");
  }
  add(uri.host);
  if (uri.port != 0) add(":", std::to_string(uri.port));
  if (!uri.params.empty()) add(";", uri.params);
  return text;
}

// Whether the text that is put together can be told apart in the same way. Headers are not written, and with
// them only a part of the parameters was looked at. Without its empty scheme, or its empty user, a host may
// be taken for a scheme; and a further bracket would be taken for the first.
bool reads_back(std::string_view text, const cpsip_uri& uri, std::string_view together) {
  const std::string_view whole = looked_at(text);
  if (whole.find('?') != std::string_view::npos || together.starts_with('<')) return false;
  if (whole.starts_with(':')) return false;
  // What stands behind the digits of a port, or behind the URI, is not written either. With a bracket there
  // colons count that did not, or the other way round.
  const auto is_bracket = [](char c) { return c == '[' || c == ']'; };
  if (std::count_if(whole.begin(), whole.end(), is_bracket) !=
      std::count_if(together.begin(), together.end(), is_bracket))
    return false;
  const bool empty_user = uri.user.empty() && whole.find('@') != std::string_view::npos;
  return !empty_user || (uri.port == 0 && !uri.scheme.empty());
}

void write(const cpsip_uri& uri, std::string_view together, std::size_t room) {
  const std::unique_ptr<char[]> out(new char[room]);
  cpsip_uri written = uri;
  check(hark::CPSIP_UriToStr(written, {out.get(), room}) == hark::kUriOk, "a URI is written");
  check(written.text.data() == out.get() && written.text.size() <= room, "into its room");
  check(written.text == together.substr(0, room), "its parts, cut to fit");
}

void parse(const Text& text) {
  cpsip_uri uri{.text = text.view()};
  const int result = hark::CPSIP_MsgParseURI(uri);
  check((result == hark::kUriTooLong) == (text.view().size() > hark::kMaxUri), "a URI has a limit");
  check(result == hark::kUriOk || result == hark::kUriBad || result == hark::kUriTooLong, "a known result");
  check(uri.text == text.view() && uri.text.data() == text.view().data(), "the text stays as it is");
  check_parts(text, uri, result);
  const std::string together = put_together(uri);
  for (const std::size_t room : {together.size(), together.size() / 2, std::size_t{0}, hark::kMaxUri})
    write(uri, together, room);
  if (result != hark::kUriOk || !reads_back(text.view(), uri, together)) return;
  const Text again_text(together);
  cpsip_uri again{.text = again_text.view()};
  check(hark::CPSIP_MsgParseURI(again) == hark::kUriOk, "a URI that was put together can be parsed");
  check(parts_of(again) == parts_of(uri) && again.port == uri.port, "it has the same parts");
  check(again.transport == uri.transport, "and the same transport");
}

std::string escaped(std::string_view source, std::uint32_t mask) {
  constexpr std::string_view kCharacters = ":,=<>\xFF; /\xFF\xFF\xFF?@&+$";  // by bit; 0xFF: none
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const char c : source.substr(0, source.find('\0'))) {
    const std::size_t bit = kCharacters.find(c);
    const bool reserved = c != '\xFF' && bit != std::string_view::npos && (mask >> bit & 1) != 0;
    const auto code = static_cast<unsigned char>(c);
    const std::string piece =
        reserved ? std::string{'%', kDigits[code / 16], kDigits[code % 16]} : std::string{c};
    if (text.size() + piece.size() > hark::kMaxUri) return text;
    text += piece;
  }
  return text;
}

void escape(const Text& source, std::uint32_t mask) {
  const std::unique_ptr<char[]> out(new char[hark::kEscapedSize]);
  std::uint32_t length = 0;
  const int result = hark::CPSIP_EscapeReservedChar(
      source.view(), std::span<char, hark::kEscapedSize>(out.get(), hark::kEscapedSize), length, mask);
  check(result == hark::kUriOk, "a text is escaped");
  const std::string want = escaped(source.view(), mask);
  check(length == want.size() + 2, "its length, with the NUL and one more");
  check(std::string_view(out.get(), want.size() + 1) == std::string_view(want.c_str(), want.size() + 1),
        "reserved characters are escaped, and no others");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  cpsip_uri none;
  check(hark::CPSIP_MsgParseURI(none) == hark::kUriBad, "no text is no URI");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n", 3);
  parse(Text(parts[0]));
  const Text source(parts.size() > 1 ? parts[1] : parts[0]);
  escape(source, kAllReserved);
  escape(source, 0);
  if (parts.size() > 2)
    escape(source, static_cast<std::uint32_t>(std::strtoul(parts[2].c_str(), nullptr, 0)));
  return 0;
}

// What stands on the wire of DNS-SD, read and written: the TXT record (RFC 6763 section 6), the full name of
// a service with its escapes (RFC 6763 section 4.3), and an address as a host name.
#include <algorithm>
#include <cctype>
#include <charconv>

#include "addressing/harkbonjour_private.h"

namespace hark {
namespace {

constexpr std::string_view kAlt = "ALT=";
constexpr std::string_view kLevel = "TRGL=";
constexpr std::string_view kLevelKey = "TRGL";
constexpr std::string_view kAddress = "RTPA=";
constexpr std::size_t kEscapeDigits = 3;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The character that the escape at the start of `text`, behind its backslash, stands for; it is taken off.
char take_escape(std::string_view& text) {
  const std::string_view digits = text.substr(0, kEscapeDigits);
  if (digits.size() == kEscapeDigits && std::all_of(digits.begin(), digits.end(), is_digit)) {
    unsigned code = 0;
    (void)std::from_chars(digits.data(), digits.data() + digits.size(), code);
    text.remove_prefix(kEscapeDigits);
    return static_cast<char>(static_cast<unsigned char>(code));
  }
  const char c = text.front();
  text.remove_prefix(1);
  return c;
}

void take_item(std::string_view item, harkresolvtable_entry& entry) {
  if (item.starts_with(kAlt)) {
    entry.alt = item.substr(kAlt.size());
  } else if (item.starts_with(kLevelKey) && item.size() == kLevel.size() + 1) {
    entry.trgl = static_cast<unsigned char>(item.back());
  } else if (item.starts_with(kAddress) && item.size() == kAddress.size() + sizeof entry.rtpa) {
    item.remove_prefix(kAddress.size());
    std::copy(item.begin(), item.end(), reinterpret_cast<char*>(&entry.rtpa));
  }
}

// Items behind one another in a buffer, each behind its length.
class ItemWriter {
 public:
  explicit ItemWriter(std::span<unsigned char> out) : out_(out) {}
  void add(std::string_view key, std::string_view value) {
    const std::size_t length = std::min(key.size() + value.size(), std::size_t{255});
    if (length + 1 > out_.size() - length_) return;
    out_[length_++] = static_cast<unsigned char>(length);
    const std::string item = std::string(key).append(value);
    std::copy_n(item.begin(), length, out_.begin() + static_cast<std::ptrdiff_t>(length_));
    length_ += length;
  }
  [[nodiscard]] std::size_t length() const { return length_; }

 private:
  std::span<unsigned char> out_;
  std::size_t length_ = 0;
};

// A number up to 255 at the start of `text`, which is taken off. False when there is none.
bool take_part(std::string_view& text) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number > 255) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

}  // namespace

std::string_view cut_full_name(std::string_view full_name, std::string& instance) {
  instance.clear();
  while (!full_name.empty() && full_name.front() != '.') {
    const char c = full_name.front();
    full_name.remove_prefix(1);
    instance += c == '\\' && !full_name.empty() ? take_escape(full_name) : c;
  }
  return full_name;
}

void take_txt(std::span<const unsigned char> txt, harkresolvtable_entry& entry) {
  while (!txt.empty()) {
    const std::size_t length = txt.front();
    txt = txt.subspan(1);
    if (length > txt.size()) return;
    take_item({reinterpret_cast<const char*>(txt.data()), length}, entry);
    txt = txt.subspan(length);
  }
}

std::size_t make_txt(std::string_view alt, int level, in_addr_t rtpa,
                     std::span<unsigned char, kTxtSize> out) {
  ItemWriter items(out);
  if (!alt.empty()) items.add(kAlt, alt);
  const char level_byte = static_cast<char>(static_cast<unsigned char>(level + 1));
  if (level != 0) items.add(kLevel, {&level_byte, 1});
  if (rtpa != 0) items.add(kAddress, {reinterpret_cast<const char*>(&rtpa), sizeof rtpa});
  return items.length();
}

bool isipv4(std::string_view text) {
  const auto take_dot = [&text] {
    const bool found = text.starts_with('.');
    if (found) text.remove_prefix(1);
    return found;
  };
  return take_part(text) && take_dot() && take_part(text) && take_dot() && take_part(text) && text.empty();
}

}  // namespace hark

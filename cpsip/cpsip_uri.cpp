#include "cpsip/cpsip_uri.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "base/text.h"
#include "cpsip/cpapp.h"

namespace hark {
namespace {

enum class State { scheme = 1, user, password, host, port, parameters, headers };

int fail() {
  (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
  return kUriBad;
}

// What one look over the whole text tells.
struct Overview {
  State start = State::scheme;
  bool has_at = false;
  bool bad = false;
};

// The characters that one of the two looks over a URI acts on.
constexpr std::array<bool, 256> make_special() {
  std::array<bool, 256> special{};
  for (const char c : {':', '@', '.', ';', '?', '[', ']', '>'})
    special[static_cast<unsigned char>(c)] = true;
  return special;
}
constexpr std::array<bool, 256> kSpecial = make_special();

// The next of them from `at` on; the text's size when there is none.
std::size_t next_special(std::string_view text, std::size_t at) {
  while (at < text.size() && !kSpecial[static_cast<unsigned char>(text[at])])
    ++at;
  return at;
}

// A colon in brackets is part of an IPv6 address, and none that cuts.
Overview look_over(std::string_view text) {
  Overview seen;
  bool has_dot = false;
  bool has_colon = false;
  bool in_brackets = false;
  for (std::size_t at = next_special(text, 0); at < text.size(); at = next_special(text, at + 1)) {
    const char c = text[at];
    if (c == '@') {
      seen.has_at = true;
    } else if (c == '.') {
      has_dot = true;
    } else if (c == '[' || c == ']') {
      in_brackets = c == '[';
    } else if (c == ':' && !in_brackets) {
      if (at != 0 && text[at - 1] == ':') seen.bad = true;
      if (!has_colon && (seen.has_at || has_dot)) seen.start = seen.has_at ? State::user : State::host;
      has_colon = true;
    }
  }
  if (!has_colon) seen.start = seen.has_at ? State::user : State::host;
  return seen;
}

class Parser {
 public:
  Parser(cpsip_uri& uri, std::string_view text, const Overview& overview)
      : uri_(uri), text_(text), has_at_(overview.has_at), state_(overview.start) {}

  // False for what cannot be parsed.
  bool parse() {
    for (at_ = next_special(text_, 0); at_ < text_.size(); at_ = next_special(text_, at_ + 1)) {
      if (text_[at_] == '>') break;
      if (!step(text_[at_])) return false;
    }
    return finish() && read_transport();
  }

 private:
  bool step(char c) {
    switch (c) {
      case ':':
        return in_brackets_ || colon();
      case '@':
        return at_sign();
      case ';':
        return semicolon();
      case '?':
        return question();
      case '[':
        in_brackets_ = true;
        return true;
      case ']':
        return std::exchange(in_brackets_, false);
      default:
        return true;
    }
  }

  // The part so far; the next one begins behind the character at hand.
  std::string_view cut(State next) {
    const std::string_view part = text_.substr(begin_, at_ - begin_);
    begin_ = at_ + 1;
    state_ = next;
    return part;
  }

  bool colon() {
    switch (state_) {
      case State::scheme:
        uri_.scheme = cut(has_at_ ? State::user : State::host);
        return true;
      case State::user:
        uri_.user = cut(State::password);
        return true;
      case State::host:
        uri_.host = cut(State::port);
        return read_port();
      default:
        return false;
    }
  }

  bool at_sign() {
    switch (state_) {
      case State::scheme:
        uri_.scheme = cut(State::host);
        return true;
      case State::user:
        uri_.user = cut(State::host);
        return true;
      case State::password:
        uri_.password = cut(State::host);
        return true;
      default:
        return false;
    }
  }

  bool semicolon() {
    switch (state_) {
      case State::user:
      case State::parameters:
        return true;
      case State::host:
        uri_.host = cut(State::parameters);
        return true;
      case State::port:
      case State::headers:
        (void)cut(State::parameters);
        return true;
      default:
        return false;
    }
  }

  bool question() {
    switch (state_) {
      case State::host:
        uri_.host = cut(State::headers);
        return true;
      case State::port:
        (void)cut(State::headers);
        return true;
      case State::parameters:
        uri_.params = cut(State::headers);
        return true;
      case State::headers:
        return true;
      default:
        return false;
    }
  }

  static bool is_digit(std::string_view text) {
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
  }

  bool read_port() {
    constexpr std::uint32_t kMaxPort = 65534;
    std::string_view digits = text_.substr(begin_);
    if (!is_digit(digits)) {  // as strtoul reads: blanks and a plus are passed
      digits.remove_prefix(std::min(digits.find_first_not_of(" \t"), digits.size()));
      if (digits.starts_with('+')) digits.remove_prefix(1);
    }
    std::uint32_t port = 0;
    for (; is_digit(digits) && port <= kMaxPort; digits.remove_prefix(1))
      port = port * 10 + static_cast<std::uint32_t>(digits.front() - '0');
    if (port == 0 || port > kMaxPort) return false;
    uri_.port = static_cast<std::uint16_t>(port);
    return true;
  }

  bool finish() {
    last_length_ = at_ - begin_;
    switch (state_) {
      case State::scheme:
        uri_.scheme = cut(state_);
        return true;
      case State::user:
        uri_.user = cut(state_);
        return true;
      case State::host:
        uri_.host = cut(state_);
        return true;
      case State::parameters:
        uri_.params = cut(state_);
        return true;
      case State::headers:
        uri_.headers = cut(state_);
        return true;
      case State::port:
        return true;
      case State::password:
        break;
    }
    return false;
  }

  // Kept: with headers behind the parameters, only as many characters of these are looked at as the headers
  // have.
  bool read_transport() {
    std::string_view text = uri_.params.substr(0, last_length_);
    std::array<char, kMaxUri> bare;
    if (text.find(' ') != std::string_view::npos) {
      const auto end = std::remove_copy(text.begin(), text.end(), bare.begin(), ' ');
      text = {bare.data(), static_cast<std::size_t>(end - bare.begin())};
    }
    constexpr std::string_view kName = "transport=";
    for (; text.size() > kName.size(); text.remove_prefix(1)) {
      if (text.starts_with(kName) || starts_with_nocase(text, kName))
        return take_transport(text.substr(kName.size()));
    }
    return true;
  }

  bool take_transport(std::string_view value) {
    struct Row {
      std::string_view text;
      cpsip_transport_kind kind;
    };
    static constexpr std::array<Row, 4> kTransports{{{"udp", cpsip_transport_kind::udp},
                                                     {"tcp", cpsip_transport_kind::tcp},
                                                     {"sctp", cpsip_transport_kind::sctp},
                                                     {"tls", cpsip_transport_kind::tls}}};
    const auto row = std::find_if(kTransports.begin(), kTransports.end(),
                                  [&](const Row& one) { return starts_with_nocase(value, one.text); });
    if (row == kTransports.end()) return false;
    uri_.transport = row->kind;
    return true;
  }

  cpsip_uri& uri_;
  const std::string_view text_;
  const bool has_at_;
  State state_;
  std::size_t at_ = 0;           // the character at hand
  std::size_t begin_ = 0;        // of the part at hand
  std::size_t last_length_ = 0;  // of the last part
  bool in_brackets_ = false;
};

// Text that grows in a span, cut to fit.
class Output {
 public:
  explicit Output(std::span<char> room) : room_(room) {}
  void add(std::string_view text) {
    length_ += text.copy(room_.data() + length_, std::min(text.size(), room_.size() - length_));
  }
  [[nodiscard]] std::string_view text() const { return {room_.data(), length_}; }

 private:
  std::span<char> room_;
  std::size_t length_ = 0;
};

struct Escaped {
  char character;
  std::uint32_t bit;
};
constexpr std::array<Escaped, 13> kEscapes{{{':', kEscapeColon},
                                            {',', kEscapeComma},
                                            {'=', kEscapeEquals},
                                            {'<', kEscapeLess},
                                            {'>', kEscapeGreater},
                                            {';', kEscapeSemicolon},
                                            {' ', kEscapeSpace},
                                            {'/', kEscapeSlash},
                                            {'?', kEscapeQuestion},
                                            {'@', kEscapeAt},
                                            {'&', kEscapeAmpersand},
                                            {'+', kEscapePlus},
                                            {'$', kEscapeDollar}}};

bool is_escaped(char c, std::uint32_t mask) {
  return std::any_of(kEscapes.begin(), kEscapes.end(),
                     [&](const Escaped& row) { return row.character == c && (row.bit & mask) != 0; });
}

}  // namespace

int CPSIP_MsgParseURI(cpsip_uri& uri) {
  uri.scheme = uri.user = uri.password = uri.host = uri.params = uri.headers = {};
  uri.port = 0;
  uri.transport = cpsip_transport_kind::none;
  if (uri.text.data() == nullptr) return fail();
  if (uri.text.size() > kMaxUri) {
    (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
    return kUriTooLong;
  }
  std::string_view text = uri.text.substr(0, uri.text.find('\0'));
  if (text.starts_with('<')) text.remove_prefix(1);
  const Overview overview = look_over(text);
  if (overview.bad) return fail();
  if (starts_with_nocase(text, "sips")) uri.transport = cpsip_transport_kind::tls;
  return Parser(uri, text, overview).parse() ? kUriOk : fail();
}

int CPSIP_UriToStr(cpsip_uri& uri, std::span<char> dest) {
  Output out(dest);
  if (!uri.scheme.empty()) out.add(uri.scheme), out.add(":");
  if (!uri.user.empty()) {
    out.add(uri.user);
    if (!uri.password.empty()) out.add(":"), out.add(uri.password);
    out.add("@");
  }
  out.add(uri.host);
  if (uri.port != 0) {
    std::array<char, 5> digits;
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), uri.port).ptr;
    out.add(":"), out.add({digits.data(), static_cast<std::size_t>(end - digits.data())});
  }
  if (!uri.params.empty()) out.add(";"), out.add(uri.params);
  uri.text = out.text();
  return kUriOk;
}

int CPSIP_EscapeReservedChar(std::string_view source, std::span<char, kEscapedSize> dest,
                             std::uint32_t& length, std::uint32_t mask) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::size_t written = 0;
  for (const char c : source.substr(0, source.find('\0'))) {
    const bool escaped = is_escaped(c, mask);
    if (written + (escaped ? 3 : 1) > kMaxUri) break;
    if (!escaped) {
      dest[written++] = c;
      continue;
    }
    const auto code = static_cast<unsigned char>(c);
    dest[written++] = '%';
    dest[written++] = kDigits[code >> 4U];
    dest[written++] = kDigits[code & 0xFU];
  }
  dest[written] = '\0';
  // Kept: callers count the NUL and one more.
  length = static_cast<std::uint32_t>(written + 2);
  return kUriOk;
}

}  // namespace hark

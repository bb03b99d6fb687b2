#include "cpsip/cpsip_uri.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <utility>

#include "base/text.h"
#include "cpsip/cpapp.h"

namespace hark {
namespace {

enum class State { scheme, user, password, host, port, parameters, headers };

// Reports the place of its call.
int fail(std::uint32_t location = cpapp_here(cpapp_module::cpsip_msg)) {
  (void)cpapp_uxp(location);
  return kUriBad;
}

// What one look over the whole text tells.
struct Overview {
  std::size_t end;  // where the URI ends: at a NUL, a ">", or with the text
  State start = State::scheme;
  bool has_at = false;
  bool bad = false;
};

// The characters that one of the two looks over a URI acts on.
constexpr std::array<bool, 256> make_special() {
  std::array<bool, 256> special{};
  for (const char c : {':', '@', '.', ';', '?', '[', ']', '>', '\0'})
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
  Overview seen{.end = text.size()};
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
    } else if (c == '>' || c == '\0') {
      seen.end = at;
      break;
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
        return std::exchange(in_brackets_, false);  // one that closes none is an error
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

  bool read_port() {
    constexpr std::uint64_t kMaxPort = 65534;
    std::string_view digits = text_.substr(begin_);
    if (digits.empty() || digits.front() < '0' ||
        digits.front() > '9') {  // as strtoul reads: blanks and a plus are passed
      digits.remove_prefix(std::min(digits.find_first_not_of(" \t"), digits.size()));
      if (digits.starts_with('+')) digits.remove_prefix(1);
    }
    const std::uint64_t port = take_digits(digits, kMaxPort + 1);
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

  // Kept: with headers behind the parameters, only as many places of these are looked at as the headers have
  // characters. A value that begins there is read whole.
  bool read_transport() {
    std::string_view text = uri_.params;
    std::array<char, kMaxUri> bare;
    if (text.find(' ') != std::string_view::npos) {
      const auto end = std::remove_copy(text.begin(), text.end(), bare.begin(), ' ');
      text = {bare.data(), static_cast<std::size_t>(end - bare.begin())};
    }
    constexpr std::string_view kName = "transport=";
    const std::size_t looked_at = std::min(text.size(), last_length_);
    for (std::size_t at = 0; at + kName.size() < looked_at; ++at) {
      const std::string_view rest = text.substr(at);
      // The first comparison is the quick one.
      if (rest.starts_with(kName) || starts_with_nocase(rest, kName))
        return take_transport(rest.substr(kName.size()));
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
  void add(std::initializer_list<std::string_view> parts) {
    for (const std::string_view part : parts)
      length_ += part.copy(room_.data() + length_, room_.size() - length_);
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
  std::string_view text = uri.text;
  if (text.starts_with('<')) text.remove_prefix(1);
  const Overview overview = look_over(text);
  text = text.substr(0, overview.end);
  if (overview.bad) return fail();
  if (starts_with_nocase(text, "sips")) uri.transport = cpsip_transport_kind::tls;
  return Parser(uri, text, overview).parse() ? kUriOk : fail();
}

int CPSIP_UriToStr(cpsip_uri& uri, std::span<char> dest) {
  Output out(dest);
  if (!uri.scheme.empty()) out.add({uri.scheme, ":"});
  if (!uri.user.empty()) {
    out.add({uri.user});
    if (!uri.password.empty()) out.add({":", uri.password});
    out.add({"@"});
  }
  out.add({uri.host});
  if (uri.port != 0) {
    std::array<char, 5> digits;
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), uri.port).ptr;
    out.add({":", {digits.data(), static_cast<std::size_t>(end - digits.data())}});
  }
  if (!uri.params.empty()) out.add({";", uri.params});
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

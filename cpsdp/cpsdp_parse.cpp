// The parser: strict about the order of the lines, tolerant of what it does not know, and ended by the first
// violation, whose reason is a number.
#include <algorithm>
#include <limits>
#include <new>

#include "base/text.h"
#include "cpsdp/cpsdp.h"
#include "cpsip/cpapp.h"

namespace hark {
namespace {

constexpr std::size_t kMaxTokens =
    32;  // of a line; those behind them count for the length of a whole line only
constexpr std::uint8_t kNoLineYet = 255;

// Where a word or a text ends.
constexpr std::array<bool, 256> make_ends() {
  std::array<bool, 256> ends{};
  for (const char c : {' ', '\t', '\r', '\n'})
    ends[static_cast<unsigned char>(c)] = true;
  return ends;
}
constexpr std::array<bool, 256> kEndsWord = make_ends();

bool ends_word(char c) { return kEndsWord[static_cast<unsigned char>(c)]; }
constexpr bool is_blank(char c) { return c == ' ' || c == '\t'; }
constexpr bool is_line_end(char c) { return c == '\r' || c == '\n'; }

template <typename Number>
Number read_as(std::string_view text) {
  constexpr std::uint64_t kMost = std::numeric_limits<Number>::max();
  const std::uint64_t number = take_digits(text, kMost);
  if (number != 0 || !text.starts_with('+')) return static_cast<Number>(number);
  text.remove_prefix(1);
  return static_cast<Number>(take_digits(text, kMost));
}

std::int32_t read_signed(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  constexpr std::uint64_t kMost = std::numeric_limits<std::int32_t>::max();
  const auto number = static_cast<std::int64_t>(take_digits(text, kMost + (negative ? 1 : 0)));
  return static_cast<std::int32_t>(negative ? -number : number);
}

class Parser {
 public:
  Parser(std::span<char> text, cpsdp_parms& parms)
      : text_(text), parms_(parms), last_line_end_(text.data() + last_line_end(text)) {}

  int parse();

 private:
  // Of a line type: the highest order it may follow, the reason otherwise, the order it sets; how many words
  // it has (0: any; below 0: at least so many), the reason otherwise; and what reads it, null for one that is
  // skipped.
  struct Rule {
    std::uint8_t limit = 0;
    std::uint8_t order_reason = 0;
    std::uint8_t sets = 0;
    std::int8_t tokens = 0;
    std::uint8_t token_reason = 0;
    int (Parser::*read)() = nullptr;
    std::uint8_t least = 0;  // the lowest order it may follow
  };
  using Rules = std::array<Rule, 26>;  // by letter
  static constexpr Rules make_session_rules();
  static constexpr Rules make_media_rules();
  static const Rules kSessionRules;
  static const Rules kMediaRules;

  struct Token {
    std::uint16_t offset;
    std::uint16_t length;  // kCpsdpMaxToken at most
  };

  int begin_medium();
  int split();
  const char* word_end(const char* at, const char* end) const;
  // The place of the last line end; 0 when there is none.
  static std::size_t last_line_end(std::span<const char> text) {
    std::size_t at = text.size();
    while (at != 0 && !is_line_end(text[at - 1]))
      --at;
    return at == 0 ? 0 : at - 1;
  }
  int handle(char type);
  [[nodiscard]] bool token_count_is_wrong(int wanted) const;

  [[nodiscard]] std::string_view pool() const { return {text_.data(), text_.size()}; }
  // The word, counted from 0.
  [[nodiscard]] std::string_view token(std::size_t at) const {
    return {text_.data() + tokens_[at].offset, tokens_[at].length};
  }
  [[nodiscard]] cpsdp_text token_text(std::size_t at) const {
    return {static_cast<std::uint8_t>(tokens_[at].length), tokens_[at].offset};
  }
  // A part of the body as a text; longer ones are cut.
  [[nodiscard]] cpsdp_text text_of(std::string_view part) const {
    return {static_cast<std::uint8_t>(std::min(part.size(), kCpsdpMaxText)),
            static_cast<std::uint16_t>(part.data() - text_.data())};
  }
  // The value of the line. Kept: words and one blank between each are counted, so that every further blank
  // takes a character off its end.
  [[nodiscard]] cpsdp_text whole_line() const {
    if (count_ == 0) return {};
    return {static_cast<std::uint8_t>(std::min(words_length_ + count_ - 1, kCpsdpMaxText)),
            tokens_[0].offset};
  }

  cpsdp_media& medium() { return *parms_.media[parms_.m_count - 1U]; }
  void cut_behind_third(std::string_view word);
  int read_addr_type(std::string_view word, cpsdp_addr_type& type, int length_reason, int type_reason);
  int read_bandwidth(cpsdp_text& type, std::uint32_t& value, int reason) const;
  static int set(cpsdp_text& to, cpsdp_text text) {
    to = text;
    return 0;
  }
  template <std::size_t size>
  int add(std::array<cpsdp_text, size>& texts, std::uint8_t& count, cpsdp_text text, int reason);

  int read_version();
  int read_origin();
  int read_name() { return set(parms_.s_name, whole_line()); }
  int read_info() { return set(parms_.i_info, whole_line()); }
  int read_uri() { return set(parms_.u_uri, token_text(0)); }
  int read_email() { return add(parms_.e_email, parms_.e_count, token_text(0), 17); }
  int read_phone() { return add(parms_.p_phone, parms_.p_count, token_text(0), 20); }
  int read_connection();
  int read_session_bandwidth() { return read_bandwidth(parms_.b_type, parms_.b_value, 26); }
  int read_time();
  int read_repeat() { return set(parms_.r_repeat, whole_line()); }
  int read_zone() { return set(parms_.z_zone, whole_line()); }
  int read_key() { return set(parms_.k_key, token_text(0)); }
  int read_attribute() { return add(parms_.a_attr, parms_.a_count, whole_line(), 37); }
  int read_medium();
  int read_formats(cpsdp_media& media);

  int read_media_info() { return set(medium().i_info, whole_line()); }
  int read_media_connection();
  int read_media_bandwidth() { return read_bandwidth(medium().b_type, medium().b_value, 48); }
  int read_media_key() { return set(medium().k_key, token_text(0)); }
  int read_media_attribute();
  int read_rtpmap(std::string_view number);
  int read_fmtp(std::string_view number);
  [[nodiscard]] std::size_t find_format(std::string_view number);

  const std::span<char> text_;
  cpsdp_parms& parms_;
  const char* const last_line_end_;
  std::size_t position_ = 0;
  std::uint8_t order_ = kNoLineYet;
  bool in_media_ = false;
  // The line's words, and where it ends.
  std::array<Token, kMaxTokens> tokens_;  // valid up to count_
  std::size_t count_ = 0;                 // of all words
  std::size_t words_length_ = 0;          // of all words together
  std::size_t line_end_ = 0;
};

constexpr Parser::Rules Parser::make_session_rules() {
  Rules rules;
  const auto rule = [&](char type) -> Rule& { return rules[static_cast<std::size_t>(type - 'a')]; };
  rule('v') = {kNoLineYet, 3, 0, 1, 4, &Parser::read_version, kNoLineYet};
  rule('o') = {0, 6, 1, 6, 7, &Parser::read_origin};
  rule('s') = {1, 9, 2, 0, 0, &Parser::read_name};
  rule('i') = {2, 11, 3, 0, 0, &Parser::read_info};
  rule('u') = {3, 13, 4, 1, 14, &Parser::read_uri};
  rule('e') = {5, 15, 5, 1, 16, &Parser::read_email};
  rule('p') = {6, 18, 6, 1, 19, &Parser::read_phone};
  rule('c') = {6, 21, 7, 3, 22, &Parser::read_connection};
  rule('b') = {7, 24, 8, 1, 25, &Parser::read_session_bandwidth};
  rule('t') = {8, 27, 9, 2, 28, &Parser::read_time};
  rule('r') = {10, 29, 10, 0, 0, &Parser::read_repeat};
  rule('z') = {11, 31, 11, 0, 0, &Parser::read_zone};
  rule('k') = {12, 33, 12, 1, 34, &Parser::read_key};
  rule('a') = {13, 35, 13, -1, 36, &Parser::read_attribute};
  rule('m') = {14, 38, 14, -3, 39, &Parser::read_medium};
  return rules;
}

constexpr Parser::Rules Parser::make_media_rules() {
  Rules rules;
  const auto rule = [&](char type) -> Rule& { return rules[static_cast<std::size_t>(type - 'a')]; };
  rule('i') = {14, 41, 15, 0, 0, &Parser::read_media_info};
  rule('c') = {15, 43, 16, 3, 44, &Parser::read_media_connection};
  rule('b') = {16, 46, 17, 1, 47, &Parser::read_media_bandwidth};
  rule('k') = {18, 49, 18, 1, 50, &Parser::read_media_key};
  rule('a') = {19, 51, 19, -1, 52, &Parser::read_media_attribute};
  return rules;
}

constexpr Parser::Rules Parser::kSessionRules = make_session_rules();
constexpr Parser::Rules Parser::kMediaRules = make_media_rules();

int Parser::parse() {
  while (position_ < text_.size()) {
    // What does not look like a line ends the description, and does not spoil it.
    if (position_ + 1 == text_.size() || text_[position_ + 1] != '=') return 0;
    const char type = text_[position_];
    if (type == 'm') {
      if (const int reason = begin_medium(); reason != 0) return reason;
    }
    if (const int reason = split(); reason != 0) return reason;
    if (const int reason = handle(type); reason != 0) return reason;
  }
  return 0;
}

int Parser::begin_medium() {
  if (parms_.m_count >= parms_.media.size()) return 1;
  parms_.media[parms_.m_count].reset(new (std::nothrow) cpsdp_media);
  if (parms_.media[parms_.m_count] == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsdp));
  in_media_ = false;
  return 0;
}

// The end of the word at `at`. Nearly all of a body is words, so this is where the time goes: up to the
// text's last line end every word is ended by something, and the end of the text needs no look.
const char* Parser::word_end(const char* at, const char* end) const {
  if (at < last_line_end_) {
    while (true) {
      if (ends_word(at[0])) return at;
      if (ends_word(at[1])) return at + 1;
      if (ends_word(at[2])) return at + 2;
      at += 3;
    }
  }
  return std::find_if(at, end, ends_word);
}

int Parser::split() {
  const char* const begin = text_.data();
  const char* const end = begin + text_.size();
  const char* at = begin + position_ + 2;
  std::size_t count = 0;
  std::size_t length = 0;
  while (true) {
    while (at != end && is_blank(*at))
      ++at;
    if (at == end) return 2;
    if (is_line_end(*at)) break;
    const char* const word = at;
    at = word_end(at, end);
    const auto word_length = static_cast<std::size_t>(at - word);
    if (word_length > kCpsdpMaxToken) return 10;
    if (count < kMaxTokens)
      tokens_[count] = {static_cast<std::uint16_t>(word - begin), static_cast<std::uint16_t>(word_length)};
    ++count;
    length += word_length;
    if (at != end && *at == ' ') ++at;
  }
  count_ = count;
  words_length_ = length;
  line_end_ = static_cast<std::size_t>(at - begin);
  while (at != end && is_line_end(*at))
    ++at;
  position_ = static_cast<std::size_t>(at - begin);
  return 0;
}

bool Parser::token_count_is_wrong(int wanted) const {
  if (wanted < 0) return count_ < static_cast<std::size_t>(-wanted);
  return wanted > 0 && count_ != static_cast<std::size_t>(wanted);
}

int Parser::handle(char type) {
  const Rules& rules = in_media_ ? kMediaRules : kSessionRules;
  static constexpr Rule kNoRule;
  const Rule& rule = type >= 'a' && type <= 'z' ? rules[static_cast<std::size_t>(type - 'a')] : kNoRule;
  if (rule.read == nullptr) {
    (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsdp), static_cast<unsigned char>(type));
    return 0;
  }
  if (order_ > rule.limit || order_ < rule.least) {
    // A further medium may follow any line.
    if (type != 'm' || parms_.m_count == 0) return rule.order_reason;
  }
  if (token_count_is_wrong(rule.tokens)) return rule.token_reason;
  order_ = rule.sets;
  return (this->*rule.read)();
}

// Kept: a word of the wrong length is cut behind its third character, in the body.
void Parser::cut_behind_third(std::string_view word) {
  const auto at = static_cast<std::size_t>(word.data() - text_.data()) + 3;
  if (at < text_.size()) text_[at] = '\0';
}

template <std::size_t size>
int Parser::add(std::array<cpsdp_text, size>& texts, std::uint8_t& count, cpsdp_text text, int reason) {
  if (count >= size) return reason;
  texts[count++] = text;
  return 0;
}

int Parser::read_version() { return token(0).front() == '0' ? 0 : 5; }

int Parser::read_origin() {
  parms_.o_username = token_text(0);
  parms_.o_session_id = read_signed(token(1));
  parms_.o_session_version = read_signed(token(2));
  const std::string_view type = token(4);
  if (type != "IP4" && type != "IP6") {
    cut_behind_third(type);
    return 8;
  }
  parms_.o_addr_type = type == "IP6" ? cpsdp_addr_type::ip6 : cpsdp_addr_type::ip4;
  parms_.o_address = token_text(5);
  return 0;
}

// Kept: only the third character decides, unlike in the origin line. Devices send all kinds of words here.
int Parser::read_addr_type(std::string_view word, cpsdp_addr_type& type, int length_reason, int type_reason) {
  if (word.size() != 3) {
    cut_behind_third(word);
    return length_reason;
  }
  type = word[2] == '4'   ? cpsdp_addr_type::ip4
         : word[2] == '6' ? cpsdp_addr_type::ip6
                          : cpsdp_addr_type::neither;
  return type == cpsdp_addr_type::neither ? type_reason : 0;
}

int Parser::read_connection() {
  if (const int reason = read_addr_type(token(1), parms_.c_addr_type, 23, 30); reason != 0) return reason;
  parms_.c_address = token_text(2);
  return 0;
}

int Parser::read_bandwidth(cpsdp_text& type, std::uint32_t& value, int reason) const {
  const std::string_view word = token(0);
  const std::size_t colon = word.find(':');
  if (colon >= word.size() - 1) return reason;  // npos too
  type = text_of(word.substr(0, colon));
  value = read_as<std::uint32_t>(word.substr(colon + 1));
  return 0;
}

int Parser::read_time() {
  parms_.t_start = read_as<std::uint32_t>(token(0));
  parms_.t_stop = read_as<std::uint32_t>(token(1));
  return 0;
}

// Words are compared by their beginning: "RTP/AVPF" is taken as "RTP/AVP".
int Parser::read_medium() {
  cpsdp_media& media = *parms_.media[parms_.m_count];
  media.m_type = token(0).starts_with("audio")   ? cpsdp_media_type::audio
                 : token(0).starts_with("video") ? cpsdp_media_type::video
                                                 : cpsdp_media_type::other;
  const std::string_view port = token(1);
  media.m_port = read_as<std::uint16_t>(port);
  if (const std::size_t slash = port.find('/'); slash != std::string_view::npos)
    media.m_nports = read_as<std::uint16_t>(port.substr(slash + 1));
  media.m_proto = token(2).starts_with("RTP/AVP")    ? cpsdp_proto::rtp_avp
                  : token(2).starts_with("RTP/SAVP") ? cpsdp_proto::rtp_savp
                  : token(2).starts_with("udp")      ? cpsdp_proto::udp
                                                     : cpsdp_proto::other;
  return read_formats(media);
}

int Parser::read_formats(cpsdp_media& media) {
  constexpr std::size_t kBefore = 3;  // type, port, protocol
  const std::size_t formats = count_ - kBefore;
  const std::size_t taken = std::min(formats, kCpsdpMaxFormats);
  for (std::size_t i = 0; i < taken; ++i)
    media.fmt[i] = read_as<std::uint16_t>(token(kBefore + i));
  if (formats > kCpsdpMaxFormats) return 40;
  media.fmt_count = static_cast<std::uint16_t>(formats);
  ++parms_.m_count;
  in_media_ = true;
  return 0;
}

int Parser::read_media_connection() {
  if (const int reason = read_addr_type(token(1), medium().c_addr_type, 45, 42); reason != 0) return reason;
  medium().c_address = token_text(2);
  return 0;
}

int Parser::read_media_attribute() {
  struct Direction {
    std::string_view word;
    cpsdp_direction direction;
  };
  static constexpr std::array<Direction, 4> kDirections{{{"sendrecv", cpsdp_direction::sendrecv},
                                                         {"recvonly", cpsdp_direction::recvonly},
                                                         {"sendonly", cpsdp_direction::sendonly},
                                                         {"inactive", cpsdp_direction::inactive}}};
  constexpr std::string_view kRtpmap = "rtpmap:";
  constexpr std::string_view kFmtp = "fmtp:";
  constexpr std::string_view kPtime = "ptime:";
  const std::string_view word = token(0);
  if (word.starts_with(kRtpmap)) return read_rtpmap(word.substr(kRtpmap.size()));
  if (word.starts_with(kFmtp)) return read_fmtp(word.substr(kFmtp.size()));
  if (word.starts_with(kPtime)) {
    medium().ptime = read_as<std::uint16_t>(word.substr(kPtime.size()));
    return 0;
  }
  for (const Direction& row : kDirections) {
    if (!word.starts_with(row.word)) continue;
    medium().direction = row.direction;
    return 0;
  }
  return add(medium().a_attr, medium().a_count, whole_line(), 53);
}

// The place of the payload number among the medium's formats; their count if it is none.
std::size_t Parser::find_format(std::string_view number) {
  const cpsdp_media& media = medium();
  const auto wanted = read_as<std::uint16_t>(number);
  std::size_t at = 0;
  while (at != media.fmt_count && media.fmt[at] != wanted)
    ++at;
  return at;
}

int Parser::read_rtpmap(std::string_view number) {
  cpsdp_media& media = medium();
  const std::size_t at = find_format(number);
  if (at == media.fmt_count) return 54;
  if (count_ < 2) return 0;
  const std::string_view word = token(1);
  const std::size_t slash = word.find('/');
  if (slash == std::string_view::npos) {
    // Kept: without a rate the name loses its last character, so that it matches no local one.
    media.rtp_name[at] = text_of(word.substr(0, word.size() - 1));
    return 0;
  }
  media.rtp_name[at] = text_of(word.substr(0, slash));
  const std::string_view rate = word.substr(slash + 1);
  media.rtp_rate[at] = read_as<std::uint32_t>(rate);
  if (const std::size_t second = rate.find('/'); second != std::string_view::npos)
    media.rtp_param[at] = text_of(rate.substr(second + 1));
  return 0;
}

int Parser::read_fmtp(std::string_view number) {
  cpsdp_media& media = medium();
  const std::size_t at = find_format(number);
  if (at == media.fmt_count) return 55;
  if (count_ < 2) return 0;
  const std::string_view value = pool().substr(tokens_[1].offset, line_end_ - tokens_[1].offset);
  if (value.size() > kCpsdpMaxText) return 55;
  media.fmtp[at] = text_of(value);
  return 0;
}

}  // namespace

int CPSDP_ParseSession(std::span<char> text, cpsdp_parms& parms) {
  // Offsets have 16 bits.
  return Parser(text.first(std::min<std::size_t>(text.size(), 0xFFFF)), parms).parse();
}

}  // namespace hark

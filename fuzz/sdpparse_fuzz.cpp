// Session descriptions from far stations: an input is the body. What is taken lies in the body, which stays
// as it was; and a description that can be written again reads back as the same, word by word, but for what
// the parser and the encoder change on purpose.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "cpsdp/cpsdp.h"
#include "support/fuzzing.h"
#include "support/sip_sdp.h"

namespace {

using hark::cpsdp_media;
using hark::cpsdp_parms;
using hark::cpsdp_text;
using hark::fuzz::check;

constexpr std::size_t kLongest = 0xFFFF;
constexpr std::array<int, 3> kCutting{8, 23, 45};  // reasons that put a NUL behind a third character
// Numbers below 56 that are no reason: one is reserved, the others are not given out.
constexpr std::array<int, 2> kNoReason{12, 32};

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Whether a whole line of this text is taken as it is: each doubled blank takes a character off its end.
bool is_stable(std::string_view text) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool at_edge = at == 0 || at + 1 == text.size();
    if (is_blank(text[at]) && (at_edge || is_blank(text[at + 1]))) return false;
  }
  return true;
}

// A description and what it was read from.
struct Read {
  explicit Read(std::string_view body) : size(body.size()), bytes(new char[body.size()]) {
    std::copy(body.begin(), body.end(), bytes.get());
    result = hark::CPSDP_ParseSession({bytes.get(), size}, parms);
  }
  [[nodiscard]] std::string_view pool() const { return {bytes.get(), size}; }
  [[nodiscard]] std::string_view operator()(const cpsdp_text& text) const { return text.in(pool()); }

  std::size_t size;
  std::unique_ptr<char[]> bytes;  // of the exact size
  cpsdp_parms parms;
  int result;
};

void check_body(const Read& read, std::string_view body) {
  const auto differs = [&](std::size_t at) { return read.bytes[at] != body[at]; };
  std::size_t changed = 0;
  for (std::size_t at = 0; at < body.size(); ++at)
    changed += differs(at) ? 1 : 0;
  const bool may_cut = std::find(kCutting.begin(), kCutting.end(), read.result) != kCutting.end();
  check(changed <= (may_cut ? 1U : 0U), "the body stays as it was");
}

// What was read first, and what was read of its encoding.
class Pair {
 public:
  Pair(const Read& a, const Read& b) : a_(a), b_(b) {}

  void check_all() const {
    session();
    check(a_.parms.m_count == b_.parms.m_count, "all media read back");
    for (std::size_t at = 0; at < a_.parms.m_count; ++at)
      medium(*a_.parms.media[at], *b_.parms.media[at]);
  }

 private:
  void word(const cpsdp_text& a, const cpsdp_text& b, const char* what) const { check(a_(a) == b_(b), what); }
  void line(const cpsdp_text& a, const cpsdp_text& b, const char* what) const {
    check(is_stable(a_(a)) ? a_(a) == b_(b) : a_(a).starts_with(b_(b)), what);
  }
  template <typename Lines>
  void lines(std::size_t a_count, const Lines& a, std::size_t b_count, const Lines& b,
             const char* what) const {
    check(a_count == b_count, what);
    for (std::size_t at = 0; at < a_count; ++at)
      line(a[at], b[at], what);
  }

  void session() const {
    const cpsdp_parms& a = a_.parms;
    const cpsdp_parms& b = b_.parms;
    word(a.o_username, b.o_username, "o= user");
    check(a.o_session_id == b.o_session_id && a.o_session_version == b.o_session_version, "o= numbers");
    check(a.o_addr_type == b.o_addr_type, "o= type");
    word(a.o_address, b.o_address, "o= address");
    line(a.s_name, b.s_name, "s=");
    line(a.i_info, b.i_info, "i=");
    word(a.u_uri, b.u_uri, "u=");
    lines(a.e_count, a.e_email, b.e_count, b.e_email, "e=");
    lines(a.p_count, a.p_phone, b.p_count, b.p_phone, "p=");
    check(a.c_addr_type == b.c_addr_type, "c= type");
    word(a.c_address, b.c_address, "c= address");
    word(a.b_type, b.b_type, "b= type");
    check(a.b_type.empty() || a.b_value == b.b_value, "b= value");
    check(b.t_start == 0 && b.t_stop == 0, "times are not written");
    line(a.r_repeat, b.r_repeat, "r=");
    line(a.z_zone, b.z_zone, "z=");
    word(a.k_key, b.k_key, "k=");
    lines(a.a_count, a.a_attr, b.a_count, b.a_attr, "a=");
  }

  void medium(const cpsdp_media& a, const cpsdp_media& b) const {
    check(a.m_type == b.m_type && a.m_proto == b.m_proto, "m= type and protocol");
    check(a.m_port == b.m_port && a.m_nports == b.m_nports, "m= ports");
    line(a.i_info, b.i_info, "i= of a medium");
    check(a.c_addr_type == b.c_addr_type, "c= type of a medium");
    word(a.c_address, b.c_address, "c= address of a medium");
    word(a.b_type, b.b_type, "b= type of a medium");
    check(a.b_type.empty() || a.b_value == b.b_value, "b= value of a medium");
    word(a.k_key, b.k_key, "k= of a medium");
    check(a.ptime == b.ptime && a.direction == b.direction, "ptime and direction");
    lines(a.a_count, a.a_attr, b.a_count, b.a_attr, "a= of a medium");
    check(a.fmt_count == b.fmt_count && a.fmt == b.fmt, "formats");
    for (std::size_t at = 0; at < a.fmt_count; ++at) {
      const auto first = std::find(a.fmt.begin(), a.fmt.end(), a.fmt[at]) - a.fmt.begin();
      const auto others = std::count(a.fmt.begin(), a.fmt.begin() + a.fmt_count, a.fmt[at]);
      // The lines of a number that is listed twice all go to its first place.
      if (others == 1 && first == static_cast<std::ptrdiff_t>(at)) format(a, b, at);
    }
  }

  void format(const cpsdp_media& a, const cpsdp_media& b, std::size_t at) const {
    word(a.fmtp[at], b.fmtp[at], "fmtp");
    const std::string_view name = a_(a.rtp_name[at]);
    if (name.empty()) {
      check(hark::cpsdp_static_payload(a.fmt[at]).empty() == b.rtp_name[at].empty(),
            "static names are written");
    } else if (a.rtp_rate[at] == 0) {
      check(b_(b.rtp_name[at]) == name.substr(0, name.size() - 1), "a name without a rate loses its end");
    } else {
      check(b_(b.rtp_name[at]) == name && b.rtp_rate[at] == a.rtp_rate[at], "rtpmap");
      word(a.rtp_param[at], b.rtp_param[at], "rtpmap parameters");
    }
  }

  const Read& a_;
  const Read& b_;
};

int encode(const Read& read, std::size_t capacity, std::string& text) {
  const std::unique_ptr<char[]> out(new char[capacity]);
  std::uint32_t length = 99;
  const int result = hark::CPSDP_EncodeSession(&read.parms, read.pool(), {out.get(), capacity}, length);
  check(length <= capacity, "what is written fits");
  check(result == 0 || length == 0, "an error writes nothing");
  text.assign(out.get(), length);
  return result;
}

// A description of one of the kinds that the encoder does not know.
bool has_other_kind(const cpsdp_parms& parms) {
  for (std::size_t at = 0; at < parms.m_count; ++at) {
    const cpsdp_media& media = *parms.media[at];
    if (media.m_type == hark::cpsdp_media_type::other || media.m_proto == hark::cpsdp_proto::other)
      return true;
  }
  return false;
}

void write_again(const Read& read) {
  std::string text;
  const int result = encode(read, 4 * kLongest, text);
  if (has_other_kind(read.parms)) {
    check(result == hark::kEncodeBadMediaType || result == hark::kEncodeBadMediaProto, "an unknown kind");
    return;
  }
  check(result == 0, "all that was read can be written");
  std::string same;
  check(encode(read, text.size(), same) == 0 && same == text, "with just the room for it too");
  check(encode(read, text.size() - 1, same) >= hark::kEncodeVersion, "with a byte less it is an error");
  const Read again(text);
  // An origin of less than six words is refused, and its own length makes a text too long for the offsets.
  if (read.parms.o_username.empty() || read.parms.o_address.empty() || text.size() > kLongest) return;
  check(again.result == 0, "what was written reads back");
  Pair(read, again).check_all();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view body = hark::fuzz::as_text(data, std::min(size, kLongest));
  const Read read(body);
  check(read.result >= 0 && read.result <= 55, "a reason");
  check(std::find(kNoReason.begin(), kNoReason.end(), read.result) == kNoReason.end(), "a known reason");
  check_body(read, body);
  hark::fuzz::check_texts_within(read.parms, body.size());
  const std::unique_ptr<cpsdp_parms> clone = read.parms.clone();
  hark::fuzz::check_same_session(*clone, read.pool(), read.parms, read.pool(), "a copy is the same");
  if (read.result == 0) write_again(read);
  return 0;
}

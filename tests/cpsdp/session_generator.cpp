// Sessions by chance: every field within what a line may hold, so that what is encoded can be parsed again.
#include <array>
#include <memory>
#include <string>

#include "cpsdp/session_lines.h"

namespace hark::test {
namespace {

class SessionMaker {
 public:
  SessionMaker(Chance& chance, Parsed& made) : chance_(chance), made_(made) {}

  void make() {
    cpsdp_parms& parms = made_.parms;
    parms.o_username = word(1, 12);
    parms.o_session_id = number();
    parms.o_session_version = -number();
    parms.o_addr_type = address_type();
    parms.o_address = word(1, 30);
    parms.s_name = words();
    if (one_in(3)) parms.i_info = words();
    if (one_in(3)) parms.u_uri = word(1, 129);
    parms.e_count = fill(parms.e_email, 2), parms.p_count = fill(parms.p_phone, 2);
    shared(parms);
    if (one_in(4)) parms.r_repeat = words();
    if (one_in(4)) parms.z_zone = words();
    if (one_in(4)) parms.k_key = word(1, 20);
    parms.a_count = fill_attributes(parms.a_attr);
    parms.m_count = static_cast<std::uint8_t>(below(5));
    for (unsigned at = 0; at < parms.m_count; ++at) {
      parms.media[at] = std::make_unique<cpsdp_media>();
      medium(*parms.media[at]);
    }
  }

 private:
  unsigned below(unsigned limit) { return chance_.below(limit); }
  bool one_in(unsigned count) { return chance_.one_in(count); }
  std::int32_t number() { return static_cast<std::int32_t>(below(0x7FFFFFFF)); }
  cpsdp_addr_type address_type() { return one_in(3) ? cpsdp_addr_type::ip6 : cpsdp_addr_type::ip4; }

  cpsdp_text put(const std::string& text) {
    const cpsdp_text put{static_cast<std::uint8_t>(text.size()),
                         static_cast<std::uint16_t>(made_.pool.size())};
    made_.pool += text;
    return put;
  }
  cpsdp_text word(unsigned low, unsigned high) { return put(chance_.word(low, high)); }
  cpsdp_text words() {
    std::string text = chance_.word(1, 20);
    for (unsigned more = below(8); more > 0; --more)
      text += " " + chance_.word(1, 20);
    return put(text);
  }

  template <typename Texts>
  std::uint8_t fill(Texts& texts, unsigned limit) {
    const unsigned count = below(limit + 1);
    for (unsigned at = 0; at < count; ++at)
      texts[at] = word(1, 20);
    return static_cast<std::uint8_t>(count);
  }
  // They begin with a word that no attribute with a meaning of its own begins with.
  template <typename Texts>
  std::uint8_t fill_attributes(Texts& texts) {
    const unsigned count = one_in(8) ? 16 : below(4);
    for (unsigned at = 0; at < count; ++at)
      texts[at] = put("x-" + chance_.word(1, 20) + " " + chance_.word(1, 20));
    return static_cast<std::uint8_t>(count);
  }

  template <typename Record>
  void shared(Record& record) {
    if (one_in(2)) record.c_addr_type = address_type(), record.c_address = word(1, 20);
    if (one_in(3)) record.b_type = word(1, 4), record.b_value = below(0xFFFFFFFF);
  }

  void format(cpsdp_media& media, unsigned at) {
    // Each number once: attributes of a format are found by it.
    media.fmt[at] = static_cast<std::uint16_t>(96 + at * 3 + below(3));
    media.rtp_name[at] = word(1, 16);
    media.rtp_rate[at] = 1 + below(192000);
    if (one_in(2)) media.rtp_param[at] = put(std::to_string(1 + below(8)));
    if (one_in(2)) media.fmtp[at] = words();
  }

  void medium(cpsdp_media& media) {
    media.m_type = one_in(4) ? cpsdp_media_type::video : cpsdp_media_type::audio;
    media.m_port = one_in(5) ? std::uint16_t{0} : static_cast<std::uint16_t>(below(65536));
    media.m_nports = one_in(5) ? static_cast<std::uint16_t>(1 + below(9)) : std::uint16_t{0};
    media.m_proto = std::array{cpsdp_proto::rtp_avp, cpsdp_proto::rtp_savp, cpsdp_proto::udp}[below(3)];
    if (one_in(4)) media.i_info = words();
    shared(media);
    if (one_in(4)) media.k_key = word(1, 20);
    media.fmt_count = static_cast<std::uint16_t>(one_in(8) ? 16 : below(5));
    for (unsigned at = 0; at < media.fmt_count; ++at)
      format(media, at);
    media.ptime = static_cast<std::uint16_t>(one_in(2) ? 0 : 1 + below(200));
    media.direction = static_cast<cpsdp_direction>(below(5));
    media.a_count = fill_attributes(media.a_attr);
  }

  Chance& chance_;
  Parsed& made_;
};

}  // namespace

void generate_session(Chance& chance, Parsed& made) { SessionMaker(chance, made).make(); }

}  // namespace hark::test

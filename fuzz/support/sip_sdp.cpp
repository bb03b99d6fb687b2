#include "support/sip_sdp.h"

#include <array>
#include <string>
#include <vector>

#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

// Texts and numbers of a record, in one order.
std::vector<std::string> words_of(const cpsdp_parms& parms, std::string_view pool) {
  std::vector<std::string> words;
  const auto text = [&](std::string_view name, const cpsdp_text& one) {
    words.push_back(std::string(name) + std::string(one.in(pool)));
  };
  const auto numbers = [&](auto... number) {
    for (const std::uint64_t one : {static_cast<std::uint64_t>(number)...})
      words.push_back(std::to_string(one));
  };
  visit_session(parms, text);
  numbers(parms.o_session_id, parms.o_session_version, parms.o_addr_type, parms.c_addr_type, parms.b_value,
          parms.t_start, parms.t_stop, parms.e_count, parms.p_count, parms.a_count, parms.m_count);
  for (std::size_t at = 0; at < parms.m_count; ++at) {
    const cpsdp_media& media = *parms.media[at];
    visit_medium(media, text);
    numbers(media.m_type, media.m_port, media.m_nports, media.m_proto, media.c_addr_type, media.b_value,
            media.fmt_count, media.ptime, media.direction, media.a_count);
    for (std::size_t format = 0; format < media.fmt_count; ++format)
      numbers(media.fmt[format], media.fmt_local[format], media.rtp_rate[format]);
  }
  return words;
}

cpsdp_text make_text(Bytes& input) {
  // Short and near the start, as a rule.
  const std::uint8_t kind = input.byte();
  if (kind < 64) return {};
  if (kind < 224) return {.length = static_cast<std::uint8_t>(kind % 16), .offset = input.byte()};
  return {.length = input.byte(), .offset = input.word()};
}

std::uint32_t make_count(Bytes& input, std::size_t limit, bool wild) {
  const std::uint32_t count = input.byte();
  return wild && count > 240 ? count : count % static_cast<std::uint32_t>(limit + 1);
}

// One of the first `known` values of an enumeration; a wild one is any of them now and then.
template <typename Enum>
Enum make_value(Bytes& input, unsigned known, bool wild) {
  const std::uint32_t value = input.byte();
  return static_cast<Enum>(wild && value > 250 ? input.number() : value % known);
}

cpsdp_media make_medium(Bytes& input, bool wild) {
  static constexpr std::array<std::uint16_t, 8> kUsual{0, 8, 9, 18, 96, 97, 101, 3};
  cpsdp_media media;
  media.m_type = make_value<cpsdp_media_type>(input, 2, wild);
  media.m_port = input.word();
  media.m_nports = input.byte() > 200 ? input.word() : std::uint16_t{0};
  media.m_proto = make_value<cpsdp_proto>(input, 3, wild);
  media.i_info = make_text(input);
  media.c_addr_type = make_value<cpsdp_addr_type>(input, 2, wild);
  media.c_address = make_text(input);
  media.b_type = make_text(input);
  media.b_value = input.byte() > 200 ? input.number() : 0;
  media.k_key = make_text(input);
  media.fmt_count = static_cast<std::uint16_t>(make_count(input, kCpsdpMaxFormats, wild));
  for (std::size_t at = 0; at < kCpsdpMaxFormats && at < media.fmt_count; ++at) {
    const std::uint8_t number = input.byte();
    media.fmt[at] = number < 200 ? kUsual[number % kUsual.size()] : input.word();
    media.rtp_name[at] = make_text(input);
    media.rtp_rate[at] = std::array<std::uint32_t, 4>{0, 8000, 48000, 0xFFFFFFFF}[input.below(4)];
    media.rtp_param[at] = make_text(input);
    media.fmtp[at] = make_text(input);
  }
  media.ptime = input.byte();
  media.direction = make_value<cpsdp_direction>(input, 5, wild);
  media.a_count = static_cast<std::uint8_t>(make_count(input, kCpsdpMaxAttributes, wild));
  for (std::size_t at = 0; at < kCpsdpMaxAttributes && at < media.a_count; ++at)
    media.a_attr[at] = make_text(input);
  return media;
}

}  // namespace

void visit_session(const cpsdp_parms& parms, const SdpTextVisitor& visit) {
  visit("o_username ", parms.o_username);
  visit("o_address ", parms.o_address);
  visit("s_name ", parms.s_name);
  visit("i_info ", parms.i_info);
  visit("u_uri ", parms.u_uri);
  for (std::size_t at = 0; at < parms.e_count; ++at)
    visit("e_email ", parms.e_email[at]);
  for (std::size_t at = 0; at < parms.p_count; ++at)
    visit("p_phone ", parms.p_phone[at]);
  visit("c_address ", parms.c_address);
  visit("b_type ", parms.b_type);
  visit("r_repeat ", parms.r_repeat);
  visit("z_zone ", parms.z_zone);
  visit("k_key ", parms.k_key);
  for (std::size_t at = 0; at < parms.a_count; ++at)
    visit("a_attr ", parms.a_attr[at]);
}

void visit_medium(const cpsdp_media& media, const SdpTextVisitor& visit) {
  visit("media i_info ", media.i_info);
  visit("media c_address ", media.c_address);
  visit("media b_type ", media.b_type);
  visit("media k_key ", media.k_key);
  for (std::size_t at = 0; at < media.fmt_count; ++at) {
    visit("rtp_name ", media.rtp_name[at]);
    visit("rtp_param ", media.rtp_param[at]);
    visit("fmtp ", media.fmtp[at]);
  }
  for (std::size_t at = 0; at < media.a_count; ++at)
    visit("media a_attr ", media.a_attr[at]);
}

void check_counts(const cpsdp_parms& parms) {
  check(parms.e_count <= kCpsdpMaxContacts && parms.p_count <= kCpsdpMaxContacts, "e= and p= lines");
  check(parms.a_count <= kCpsdpMaxAttributes, "session attributes");
  check(parms.m_count <= kCpsdpMaxMedia, "media");
  for (std::size_t at = 0; at < parms.m_count; ++at) {
    check(parms.media[at] != nullptr, "a medium that counts is there");
    check(parms.media[at]->fmt_count <= kCpsdpMaxFormats, "formats");
    check(parms.media[at]->a_count <= kCpsdpMaxAttributes, "attributes of a medium");
  }
}

void check_texts_within(const cpsdp_parms& parms, std::size_t size) {
  check_counts(parms);
  const auto within = [&](std::string_view, const cpsdp_text& text) {
    check(text.empty() || std::size_t{text.offset} + text.length <= size, "a text lies in its pool");
  };
  visit_session(parms, within);
  for (std::size_t at = 0; at < parms.m_count; ++at)
    visit_medium(*parms.media[at], within);
}

void check_same_session(const cpsdp_parms& a, std::string_view a_pool, const cpsdp_parms& b,
                        std::string_view b_pool, const char* what) {
  check(words_of(a, a_pool) == words_of(b, b_pool), what);
}

cpsdp_parms make_session(Bytes& input, bool wild) {
  cpsdp_parms parms;
  parms.o_username = make_text(input);
  parms.o_session_id = static_cast<std::int32_t>(input.byte() > 200 ? input.number() : 1);
  parms.o_session_version = parms.o_session_id;
  parms.o_addr_type = make_value<cpsdp_addr_type>(input, 2, wild);
  parms.o_address = make_text(input);
  for (cpsdp_text* const text : {&parms.s_name, &parms.i_info, &parms.u_uri, &parms.c_address, &parms.b_type,
                                 &parms.r_repeat, &parms.z_zone, &parms.k_key})
    *text = make_text(input);
  parms.e_count = static_cast<std::uint8_t>(make_count(input, kCpsdpMaxContacts, wild));
  parms.p_count = static_cast<std::uint8_t>(make_count(input, kCpsdpMaxContacts, wild));
  for (std::size_t at = 0; at < kCpsdpMaxContacts; ++at)
    parms.e_email[at] = make_text(input), parms.p_phone[at] = make_text(input);
  parms.c_addr_type = make_value<cpsdp_addr_type>(input, 2, wild);
  parms.b_value = input.byte();
  parms.a_count = static_cast<std::uint8_t>(make_count(input, kCpsdpMaxAttributes, wild));
  for (std::size_t at = 0; at < kCpsdpMaxAttributes && at < parms.a_count; ++at)
    parms.a_attr[at] = make_text(input);
  parms.m_count = static_cast<std::uint8_t>(make_count(input, kCpsdpMaxMedia, wild));
  for (std::size_t at = 0; at < kCpsdpMaxMedia && at < parms.m_count; ++at) {
    if (wild && input.byte() > 250) continue;
    parms.media[at] = std::make_unique<cpsdp_media>(make_medium(input, wild));
  }
  return parms;
}

}  // namespace hark::fuzz

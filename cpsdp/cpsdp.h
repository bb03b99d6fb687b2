// Session descriptions (RFC 4566 as far as this system goes): the record, its parser, its encoder and the
// answer to an offer. The record holds no text: each text is a length and an offset into a pool that travels
// beside it. The pool of a parsed description is the body it was parsed from. Called by the message scanner
// and formatter, and by the offer and answer of a dialog.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace hark {

inline constexpr std::size_t kCpsdpMaxMedia = 4;
inline constexpr std::size_t kCpsdpMaxFormats = 16;     // of a medium
inline constexpr std::size_t kCpsdpMaxAttributes = 16;  // of the session, and of each medium
inline constexpr std::size_t kCpsdpMaxContacts = 2;     // e= lines, p= lines
inline constexpr std::size_t kCpsdpMaxToken = 129;      // characters of a word of a line
inline constexpr std::size_t kCpsdpMaxText = 255;       // characters of a text
inline constexpr std::size_t kCpsdpMaxEncoded = 1024;   // bytes of a description on the wire
inline constexpr std::size_t kEventBits = 256;          // telephone events that have a bit
// What an answer appends to the offer's texts at most: our origin and connection, and for each medium a
// connection, an event list and an annexb.
inline constexpr std::size_t kCpsdpAnswerAdds = 3 * kCpsdpMaxText + kCpsdpMaxMedia * (2 * kCpsdpMaxText + 10);

// A text in the pool.
struct cpsdp_text {
  std::uint8_t length = 0;   // 0: absent
  std::uint16_t offset = 0;  // of its first byte in the pool

  // The text; what would lie behind the pool's end is not part of it.
  [[nodiscard]] std::string_view in(std::string_view pool) const {
    return offset < pool.size() ? pool.substr(offset, length) : std::string_view{};
  }
  [[nodiscard]] bool empty() const { return length == 0; }
};

enum class cpsdp_addr_type : std::uint32_t { ip4 = 0, ip6 = 1, neither = 2 };
enum class cpsdp_media_type : std::uint32_t { audio = 0, video = 1, other = 5 };
enum class cpsdp_proto : std::uint32_t { rtp_avp = 0, rtp_savp = 1, udp = 2, other = 3 };
enum class cpsdp_direction : std::uint32_t {
  none = 0,
  sendrecv = 1,
  recvonly = 2,
  sendonly = 3,
  inactive = 4
};

// A medium: an m= line and what follows it. Entry i of `fmt`, `fmt_local`, the rtp_ fields and `fmtp` belong
// together.
struct cpsdp_media {
  cpsdp_media_type m_type = cpsdp_media_type::audio;
  std::uint16_t m_port = 0;
  std::uint16_t m_nports = 0;  // the number behind the port's "/"; 0: none
  cpsdp_proto m_proto = cpsdp_proto::rtp_avp;
  cpsdp_text i_info;
  cpsdp_addr_type c_addr_type = cpsdp_addr_type::ip4;
  cpsdp_text c_address;
  cpsdp_text b_type;
  std::uint32_t b_value = 0;
  cpsdp_text k_key;
  std::uint16_t fmt_count = 0;
  std::array<std::uint16_t, kCpsdpMaxFormats> fmt{};        // payload numbers, in the order of the line
  std::array<std::uint16_t, kCpsdpMaxFormats> fmt_local{};  // the local number of each: by negotiation only
  std::array<cpsdp_text, kCpsdpMaxFormats> rtp_name{};      // encoding name
  std::array<std::uint32_t, kCpsdpMaxFormats> rtp_rate{};   // clock rate, Hz
  std::array<cpsdp_text, kCpsdpMaxFormats> rtp_param{};     // encoding parameters
  std::array<cpsdp_text, kCpsdpMaxFormats> fmtp{};          // format parameters
  std::uint16_t ptime = 0;                                  // milliseconds; 0: absent
  cpsdp_direction direction = cpsdp_direction::none;
  std::uint8_t a_count = 0;
  std::array<cpsdp_text, kCpsdpMaxAttributes> a_attr{};  // other attributes, whole lines

  template <typename Visit>
  void for_each_text(Visit visit) {
    for (cpsdp_text* text : {&i_info, &c_address, &b_type, &k_key})
      visit(*text);
    for (auto* texts : {&rtp_name, &rtp_param, &fmtp, &a_attr}) {
      for (cpsdp_text& text : *texts)
        visit(text);
    }
  }
};

// What a description says of the session itself.
struct cpsdp_session {
  cpsdp_text o_username;
  std::int32_t o_session_id = 0;
  std::int32_t o_session_version = 0;
  cpsdp_addr_type o_addr_type = cpsdp_addr_type::ip4;
  cpsdp_text o_address;
  cpsdp_text s_name;
  cpsdp_text i_info;
  cpsdp_text u_uri;
  std::uint8_t e_count = 0;
  std::array<cpsdp_text, kCpsdpMaxContacts> e_email{};
  std::uint8_t p_count = 0;
  std::array<cpsdp_text, kCpsdpMaxContacts> p_phone{};
  cpsdp_addr_type c_addr_type = cpsdp_addr_type::ip4;
  cpsdp_text c_address;
  cpsdp_text b_type;
  std::uint32_t b_value = 0;
  std::uint32_t t_start = 0;
  std::uint32_t t_stop = 0;
  cpsdp_text r_repeat;
  cpsdp_text z_zone;
  cpsdp_text k_key;
  std::uint8_t a_count = 0;
  std::array<cpsdp_text, kCpsdpMaxAttributes> a_attr{};  // session attributes, whole lines
  std::uint8_t m_count = 0;                              // media descriptions

  template <typename Visit>
  void for_each_text(Visit visit) {
    for (cpsdp_text* text : {&o_username, &o_address, &s_name, &i_info, &u_uri, &c_address, &b_type,
                             &r_repeat, &z_zone, &k_key, &e_email[0], &e_email[1], &p_phone[0], &p_phone[1]})
      visit(*text);
    for (cpsdp_text& text : a_attr)
      visit(text);
  }
};

// The entries that a count says, as far as there are so many.
template <typename Entry, std::size_t size>
[[nodiscard]] std::span<Entry> cpsdp_counted(std::array<Entry, size>& entries, std::size_t count) {
  return std::span(entries).first(count < size ? count : size);
}
template <typename Entry, std::size_t size>
[[nodiscard]] std::span<const Entry> cpsdp_counted(const std::array<Entry, size>& entries,
                                                   std::size_t count) {
  return std::span(entries).first(count < size ? count : size);
}

// A description: the session, and its media.
struct cpsdp_parms : cpsdp_session {
  std::array<std::unique_ptr<cpsdp_media>, kCpsdpMaxMedia> media;

  // The other description's session and media in place of these. The pool is the caller's to copy. Ends the
  // process when memory runs out, as the next one does.
  void copy_from(const cpsdp_parms& other);
  [[nodiscard]] std::unique_ptr<cpsdp_parms> clone() const;
};

// Parses the `text` of a body into `parms`, which is new. 0, or the reason, 1 to 55: docs/sip.md lists them.
// What was filled before a failure stays. The texts of `parms` lie in `text`, which must outlive it; the
// reasons 8, 23 and 45 put a NUL behind the third character of the word they refuse.
[[nodiscard]] int CPSDP_ParseSession(std::span<char> text, cpsdp_parms& parms);

// Errors of the encoder. All are about room for the named piece but those that say otherwise.
enum cpsdp_encode_error : int {
  kEncodeVersion = 2048,
  kEncodeOrigin = 2049,  // "o="
  kEncodeOriginUser = 2050,
  kEncodeOriginNumbers = 2051,      // session id and version
  kEncodeOriginNet = 2052,          // "IN"
  kEncodeOriginType = 2053,         // " IP4 "
  kEncodeOriginAddress = 2054,      // with its line end
  kEncodeName = 2055,               // s=
  kEncodeInfo = 2056,               // i=
  kEncodeUri = 2057,                // u=
  kEncodeEmail = 2059,              // e=
  kEncodePhone = 2061,              // p=
  kEncodeConnection = 2063,         // "c=IN"
  kEncodeConnectionType = 2064,     // " IP4 "
  kEncodeBadConnectionType = 2065,  // not room: neither IPv4 nor IPv6
  kEncodeConnectionAddress = 2066,
  kEncodeBandwidthType = 2067,  // "b=", type, ":"
  kEncodeBandwidthValue = 2068,
  kEncodeTime = 2069,  // "t=0 0"
  kEncodeRepeat = 2070,
  kEncodeZone = 2071,
  kEncodeKey = 2072,
  kEncodeAttribute = 2074,
  kEncodeBadMediaType = 2075,   // not room: neither audio nor video
  kEncodeMedia = 2076,          // "m=", type, port
  kEncodeMediaPorts = 2077,     // "/" and their number
  kEncodeBadMediaProto = 2078,  // not room: none of the three
  kEncodeMediaProto = 2079,
  kEncodeMediaFormat = 2080,
  kEncodeMediaEnd = 2081,  // line end
  kEncodeMediaInfo = 2082,
  kEncodeMediaConnection = 2084,
  kEncodeMediaConnectionType = 2085,
  kEncodeBadMediaConnectionType = 2086,  // not room
  kEncodeMediaConnectionAddress = 2087,
  kEncodeMediaBandwidthType = 2088,
  kEncodeMediaBandwidthValue = 2089,
  kEncodeMediaKey = 2090,
  kEncodeDirection = 2091,
  kEncodeRtpmap = 2092,      // "a=rtpmap:" and the number
  kEncodeRtpmapName = 2093,  // the name, or the static one
  kEncodeRtpmapRate = 2094,
  kEncodeRtpmapParam = 2095,
  kEncodeRtpmapEnd = 2096,  // line end
  kEncodeFmtp = 2097,       // "a=fmtp:", the number, a blank
  kEncodeFmtpText = 2098,   // with its line end
  kEncodePtime = 2099,
  kEncodeMediaAttribute = 2101,
  kEncodeNoSession = 2176,  // not room: null
};

// Writes `parms`, whose texts lie in `pool`, into `out`, without NUL; `length` becomes the number of bytes.
// 0, or a cpsdp_encode_error, `length` then being 0. Borrows all.
[[nodiscard]] int CPSDP_EncodeSession(const cpsdp_parms* parms, std::string_view pool, std::span<char> out,
                                      std::uint32_t& length);

// The static payload type's text in an rtpmap line, with a blank in front; empty for any other number.
[[nodiscard]] std::string_view cpsdp_static_payload(std::uint16_t number);

// Makes the answer of the `local` description to the `offer`: `answer` is new, no part of the offer, and gets
// a medium for each offered one with the formats that both have; its texts lie in `answer_pool`, of which
// `answer_pool_len` bytes are used. A text for which the pool has no room is left out. An offered medium
// without a direction becomes sendrecv. Returns the number of media that were rejected (port 0) because there
// is no local one of that type and protocol.
int CPSDP_NegotiateCommonMedia(const cpsdp_parms& local, std::string_view local_pool, cpsdp_parms& offer,
                               std::string_view offer_pool, cpsdp_parms& answer, std::span<char> answer_pool,
                               std::uint32_t& answer_pool_len);

// The values of a list such as "0-11,16", as bits. It ends at what cannot be read, and after 256 items;
// values above 255 have no bit.
void cpsdp_map_list_of_telephone_event_values(std::string_view list, std::bitset<kEventBits>& bitmap);

}  // namespace hark

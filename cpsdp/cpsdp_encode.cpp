// The encoder. Before each piece is written its room is checked; each piece has an error number of its own.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "cpsdp/cpsdp.h"

namespace hark {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kLineEnd = "\r\n";

// A number as decimal text.
class Digits {
 public:
  template <typename Number>
  explicit Digits(Number number) {
    length_ = static_cast<std::size_t>(std::to_chars(text_.data(), text_.data() + text_.size(), number).ptr -
                                       text_.data());
  }
  [[nodiscard]] std::string_view view() const { return {text_.data(), length_}; }

 private:
  std::array<char, 11> text_;
  std::size_t length_;
};

class Encoder {
 public:
  Encoder(const cpsdp_parms& parms, std::string_view pool, std::span<char> out)
      : parms_(parms), pool_(pool), begin_(out.data()), at_(out.data()), left_(out.size()) {}

  // 0, or the error at which it stopped.
  int encode() {
    (void)(session() && media());
    return error_;
  }
  [[nodiscard]] std::uint32_t length() const { return static_cast<std::uint32_t>(at_ - begin_); }

 private:
  // Writes the parts, which are one piece as far as room goes.
  template <typename... Parts>
  bool put(cpsdp_encode_error error, const Parts&... parts) {
    const std::size_t size = (parts.size() + ...);
    if (size > left_) return stop(error);
    (append(parts), ...);
    left_ -= size;
    return true;
  }
  void append(std::string_view part) {
    if (part.empty()) return;
    std::memcpy(at_, part.data(), part.size());
    at_ += part.size();
  }
  bool stop(cpsdp_encode_error error) {
    error_ = error;
    return false;
  }
  [[nodiscard]] std::string_view text(const cpsdp_text& where) const { return where.in(pool_); }

  // A line of one text, if it is there.
  bool optional(cpsdp_encode_error error, std::string_view type, const cpsdp_text& value) {
    return value.empty() || put(error, type, text(value), kLineEnd);
  }
  bool attributes(cpsdp_encode_error error, std::span<const cpsdp_text> texts) {
    return std::all_of(texts.begin(), texts.end(),
                       [&](const cpsdp_text& value) { return optional(error, "a="sv, value); });
  }
  bool each(cpsdp_encode_error error, std::string_view type, std::span<const cpsdp_text> texts) {
    return std::all_of(texts.begin(), texts.end(),
                       [&](const cpsdp_text& value) { return put(error, type, text(value), kLineEnd); });
  }
  bool session();
  bool origin();
  bool connection(cpsdp_encode_error first, cpsdp_addr_type type, const cpsdp_text& address);
  bool bandwidth(cpsdp_encode_error first, const cpsdp_text& type, std::uint32_t value);
  bool media();
  bool medium(const cpsdp_media& media);
  bool medium_line(const cpsdp_media& media);
  bool direction(cpsdp_direction value);
  bool rtpmap(const cpsdp_media& media, std::size_t at);
  bool fmtp(const cpsdp_media& media, std::size_t at);

  const cpsdp_parms& parms_;
  const std::string_view pool_;
  char* const begin_;
  char* at_;
  std::size_t left_;
  int error_ = 0;
};

constexpr cpsdp_encode_error behind(cpsdp_encode_error first, int steps) {
  return static_cast<cpsdp_encode_error>(first + steps);
}

bool Encoder::origin() {
  const Digits id(parms_.o_session_id);
  const Digits version(parms_.o_session_version);
  const bool ip6 = parms_.o_addr_type == cpsdp_addr_type::ip6;
  return put(kEncodeOrigin, "o="sv) && put(kEncodeOriginUser, text(parms_.o_username)) &&
         put(kEncodeOriginNumbers, " "sv, id.view(), " "sv, version.view(), " "sv) &&
         put(kEncodeOriginNet, "IN"sv) && put(kEncodeOriginType, ip6 ? " IP6 "sv : " IP4 "sv) &&
         put(kEncodeOriginAddress, text(parms_.o_address), kLineEnd);
}

// `first` is the number of "c=IN"; those of the type, of a type that is none and of the address follow.
bool Encoder::connection(cpsdp_encode_error first, cpsdp_addr_type type, const cpsdp_text& address) {
  if (address.empty()) return true;
  if (!put(first, "c=IN"sv)) return false;
  if (type != cpsdp_addr_type::ip4 && type != cpsdp_addr_type::ip6) return stop(behind(first, 2));
  return put(behind(first, 1), type == cpsdp_addr_type::ip6 ? " IP6 "sv : " IP4 "sv) &&
         put(behind(first, 3), text(address), kLineEnd);
}

// `first` is the number of the type; that of the value follows.
bool Encoder::bandwidth(cpsdp_encode_error first, const cpsdp_text& type, std::uint32_t value) {
  if (type.empty()) return true;
  const Digits number(value);
  return put(first, "b="sv, text(type), ":"sv) && put(behind(first, 1), number.view(), kLineEnd);
}

bool Encoder::session() {
  const auto emails = cpsdp_counted(parms_.e_email, parms_.e_count);
  const auto phones = cpsdp_counted(parms_.p_phone, parms_.p_count);
  const auto lines = cpsdp_counted(parms_.a_attr, parms_.a_count);
  // The times of what was parsed are not written: a call has no other than now (RFC 4566 section 5.9).
  return put(kEncodeVersion, "v=0\r\n"sv) && origin() &&
         put(kEncodeName, "s="sv, text(parms_.s_name), kLineEnd) &&
         optional(kEncodeInfo, "i="sv, parms_.i_info) && optional(kEncodeUri, "u="sv, parms_.u_uri) &&
         each(kEncodeEmail, "e="sv, emails) && each(kEncodePhone, "p="sv, phones) &&
         connection(kEncodeConnection, parms_.c_addr_type, parms_.c_address) &&
         bandwidth(kEncodeBandwidthType, parms_.b_type, parms_.b_value) && put(kEncodeTime, "t=0 0\r\n"sv) &&
         optional(kEncodeRepeat, "r="sv, parms_.r_repeat) && optional(kEncodeZone, "z="sv, parms_.z_zone) &&
         optional(kEncodeKey, "k="sv, parms_.k_key) && attributes(kEncodeAttribute, lines);
}

bool Encoder::media() {
  for (const auto& media : cpsdp_counted(parms_.media, parms_.m_count)) {
    // A medium that cannot be ends the description, and is no error.
    if (media == nullptr || media->fmt_count > kCpsdpMaxFormats) return true;
    if (!medium(*media)) return false;
  }
  return true;
}

bool Encoder::medium_line(const cpsdp_media& media) {
  static constexpr std::array<std::string_view, 2> kTypes{"audio", "video"};
  static constexpr std::array<std::string_view, 3> kProtos{" RTP/AVP", " RTP/SAVP", " udp"};
  const auto type = static_cast<std::size_t>(media.m_type);
  const auto proto = static_cast<std::size_t>(media.m_proto);
  if (type >= kTypes.size()) return stop(kEncodeBadMediaType);
  const Digits port(media.m_port);
  if (!put(kEncodeMedia, "m="sv, kTypes[type], " "sv, port.view())) return false;
  const Digits ports(media.m_nports);
  if (media.m_nports != 0 && !put(kEncodeMediaPorts, "/"sv, ports.view())) return false;
  if (proto >= kProtos.size()) return stop(kEncodeBadMediaProto);
  if (!put(kEncodeMediaProto, kProtos[proto])) return false;
  for (std::size_t i = 0; i < media.fmt_count; ++i) {
    const Digits number(media.fmt[i]);
    if (!put(kEncodeMediaFormat, " "sv, number.view())) return false;
  }
  return put(kEncodeMediaEnd, kLineEnd);
}

bool Encoder::direction(cpsdp_direction value) {
  switch (value) {
    case cpsdp_direction::none:
      return true;
    case cpsdp_direction::recvonly:
      return put(kEncodeDirection, "a=recvonly\r\n"sv);
    case cpsdp_direction::sendonly:
      return put(kEncodeDirection, "a=sendonly\r\n"sv);
    case cpsdp_direction::inactive:
      return put(kEncodeDirection, "a=inactive\r\n"sv);
    case cpsdp_direction::sendrecv:
      break;
  }
  return put(kEncodeDirection, "a=sendrecv\r\n"sv);
}

// Written for static formats too, which need none by RFC 3551: far stations expect it.
bool Encoder::rtpmap(const cpsdp_media& media, std::size_t at) {
  const Digits number(media.fmt[at]);
  if (!put(kEncodeRtpmap, "a=rtpmap:"sv, number.view())) return false;
  if (media.rtp_name[at].empty()) {
    return put(kEncodeRtpmapName, cpsdp_static_payload(media.fmt[at])) && put(kEncodeRtpmapEnd, kLineEnd);
  }
  if (!put(kEncodeRtpmapName, " "sv, text(media.rtp_name[at]))) return false;
  if (media.rtp_rate[at] != 0) {
    const Digits rate(media.rtp_rate[at]);
    if (!put(kEncodeRtpmapRate, "/"sv, rate.view())) return false;
    if (!media.rtp_param[at].empty() && !put(kEncodeRtpmapParam, "/"sv, text(media.rtp_param[at])))
      return false;
  }
  return put(kEncodeRtpmapEnd, kLineEnd);
}

bool Encoder::fmtp(const cpsdp_media& media, std::size_t at) {
  if (media.fmtp[at].empty()) return true;
  const Digits number(media.fmt[at]);
  return put(kEncodeFmtp, "a=fmtp:"sv, number.view(), " "sv) &&
         put(kEncodeFmtpText, text(media.fmtp[at]), kLineEnd);
}

bool Encoder::medium(const cpsdp_media& media) {
  if (!medium_line(media) || !optional(kEncodeMediaInfo, "i="sv, media.i_info) ||
      !connection(kEncodeMediaConnection, media.c_addr_type, media.c_address) ||
      !bandwidth(kEncodeMediaBandwidthType, media.b_type, media.b_value) ||
      !optional(kEncodeMediaKey, "k="sv, media.k_key) || !direction(media.direction))
    return false;
  for (std::size_t i = 0; i < media.fmt_count; ++i) {
    if (!rtpmap(media, i)) return false;
  }
  for (std::size_t i = 0; i < media.fmt_count; ++i) {
    if (!fmtp(media, i)) return false;
  }
  const Digits ptime(media.ptime);
  if (media.ptime != 0 && !put(kEncodePtime, "a=ptime:"sv, ptime.view(), kLineEnd)) return false;
  return attributes(kEncodeMediaAttribute, cpsdp_counted(media.a_attr, media.a_count));
}

}  // namespace

int CPSDP_EncodeSession(const cpsdp_parms* parms, std::string_view pool, std::span<char> out,
                        std::uint32_t& length) {
  length = 0;
  if (parms == nullptr) return kEncodeNoSession;
  Encoder encoder(*parms, pool, out);
  const int error = encoder.encode();
  if (error == 0) length = encoder.length();
  return error;
}

}  // namespace hark

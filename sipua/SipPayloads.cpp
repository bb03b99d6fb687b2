#include "sipua/SipPayloads.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

#include "base/text.h"
#include "cpsdp/cpsdp_pool.h"
#include "cpsip/cpapp.h"

namespace hark {
namespace {

// False when there are no digits.
bool take_number(std::string_view& rest, std::uint64_t most, std::uint64_t& number) {
  const std::size_t before = rest.size();
  number = take_digits(rest, most);
  return rest.size() != before;
}

bool take_character(std::string_view& rest, char c) {
  if (!rest.starts_with(c)) return false;
  rest.remove_prefix(1);
  return true;
}

// Takes what stands before the first of `ends`, or all, off `rest`.
std::string_view take_up_to(std::string_view& rest, const char* ends) {
  const std::string_view part = rest.substr(0, rest.find_first_of(ends));
  rest.remove_prefix(part.size());
  return part;
}

void fill_medium(cpsdp_media& media, cpsdp_pool& pool, std::span<const SPayloadTypes> types) {
  media.m_type = cpsdp_media_type::audio;
  media.m_proto = cpsdp_proto::rtp_avp;
  media.fmt_count = static_cast<std::uint16_t>(std::min(types.size(), kCpsdpMaxFormats));
  for (std::size_t i = 0; i < media.fmt_count; ++i) {
    media.fmt[i] = types[i].nPayloadType;
    media.rtp_name[i] = pool.add(types[i].pszName);
    media.rtp_rate[i] = types[i].nClockRate;
    media.rtp_param[i] = pool.add(types[i].pszParams);
    media.fmtp[i] = pool.add(types[i].pszFmtp);
  }
}

}  // namespace

bool SipPayloads::ParseEntry(std::string_view& rest) {
  constexpr std::uint64_t kNumbers = 128;
  if (m_nPayloadTypes == kMaxTypes) return false;
  SPayloadTypes& type = m_PayloadTypes[m_nPayloadTypes];
  type = {};
  std::uint64_t number = 0;
  if (!take_number(rest, kNumbers, number) || number == kNumbers || !take_character(rest, '=')) return false;
  type.nPayloadType = static_cast<std::uint8_t>(number);
  type.pszName = take_up_to(rest, "/");
  if (!take_character(rest, '/')) return false;
  if (!take_number(rest, std::numeric_limits<std::uint32_t>::max(), number)) return false;
  type.nClockRate = static_cast<std::uint32_t>(number);
  if (take_character(rest, '/')) type.pszParams = take_up_to(rest, " |");
  if (take_character(rest, ' ')) type.pszFmtp = take_up_to(rest, "|");
  (void)take_up_to(rest, "|");
  ++m_nPayloadTypes;
  return true;
}

bool SipPayloads::ParsePayloadTypes(const char* text) {
  m_PayloadBuffer = text != nullptr ? text : "";
  m_nPayloadTypes = 0;
  if (text == nullptr) return true;
  std::string_view rest = m_PayloadBuffer;
  bool good = false;
  do {
    good = ParseEntry(rest);
  } while (good && take_character(rest, '|'));
  if (!good) m_nPayloadTypes = 0;
  return good;
}

std::size_t InitSDPConfig(cpsdp_parms& parms, std::span<char> pool, std::string_view address,
                          std::span<const SPayloadTypes> types) {
  if (types.empty()) return 0;
  cpsdp_pool texts(pool);
  parms.o_username = texts.add("-");
  parms.o_session_id = parms.o_session_version = std::rand();
  parms.o_addr_type = cpsdp_addr_type::ip4;
  parms.o_address = texts.add(address);
  parms.s_name = texts.add("-");
  parms.c_addr_type = cpsdp_addr_type::ip4;
  parms.c_address = texts.add(address);
  parms.media[0].reset(new (std::nothrow) cpsdp_media);
  if (parms.media[0] == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpapp));
  parms.media[0]->c_address = texts.add(address);
  fill_medium(*parms.media[0], texts, types);
  parms.m_count = 1;
  return texts.text().size();
}

}  // namespace hark

// The payload types of a service: an input is the string. What can be read is written again as such a string
// from what was read, reads as the same, and makes a description that comes back from its text.
#include <algorithm>
#include <array>
#include <string>

#include "sipua/SipPayloads.h"
#include "support/fuzzing.h"

namespace {

using hark::SPayloadTypes;
using hark::fuzz::check;

std::string entry_of(const SPayloadTypes& type) {
  std::string text = std::to_string(type.nPayloadType) + '=' + std::string(type.pszName) + '/' +
                     std::to_string(type.nClockRate);
  if (!type.pszParams.empty()) text += '/' + std::string(type.pszParams);
  if (!type.pszFmtp.empty()) text += ' ' + std::string(type.pszFmtp);
  return text;
}

std::string string_of(const hark::SipPayloads& payloads) {
  std::string text;
  for (const SPayloadTypes& type : payloads.types())
    text += (text.empty() ? "" : "|") + entry_of(type);
  return text;
}

void check_description(const hark::SipPayloads& payloads) {
  hark::cpsdp_parms parms;
  std::array<char, hark::kCpsdpMaxEncoded> pool;
  const std::size_t used = hark::InitSDPConfig(parms, pool, "10.0.0.1", payloads.types());
  check(used <= pool.size(), "the texts lie in the pool");
  check(parms.m_count == 1, "there is one medium");
  const hark::cpsdp_media& media = *parms.media[0];
  check(media.fmt_count == std::min(payloads.types().size(), hark::kCpsdpMaxFormats), "it has the types");
  for (std::size_t i = 0; i < media.fmt_count; ++i) {
    const std::string_view name = media.rtp_name[i].in({pool.data(), used});
    check(media.fmt[i] == payloads.types()[i].nPayloadType, "in their order");
    check(name.empty() || name == payloads.types()[i].pszName, "with their names");
  }
  std::array<char, hark::kCpsdpMaxEncoded> out;
  std::uint32_t length = 0;
  (void)hark::CPSDP_EncodeSession(&parms, {pool.data(), used}, out, length);
  check(length <= out.size(), "what is written fits");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const hark::fuzz::ExactText text(hark::fuzz::as_text(data, size));
  hark::SipPayloads payloads;
  if (!payloads.ParsePayloadTypes(text.c_str())) {
    check(payloads.types().empty(), "what cannot be read has no types");
    return 0;
  }
  check(!payloads.types().empty(), "what can be read has types");
  const std::string again = string_of(payloads);
  hark::SipPayloads second;
  check(second.ParsePayloadTypes(again.c_str()), "what was written can be read");
  check(string_of(second) == again, "and is the same");
  check_description(payloads);
  return 0;
}

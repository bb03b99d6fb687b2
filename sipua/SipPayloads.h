// The payload types of a service: the string that tells them, such as "96=L24/48000/2|9=G722/8000", and the
// session description that the service offers by them. The service keeps the one and hands the other to the
// stack.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "cpsdp/cpsdp.h"

namespace hark {

// One payload type. The texts lie in the storage of the SipPayloads that has it.
struct SPayloadTypes {
  std::uint8_t nPayloadType = 0;
  std::string_view pszName;
  std::uint32_t nClockRate = 0;  // Hz
  std::string_view pszParams;    // empty: none
  std::string_view pszFmtp;      // empty: none
};

class SipPayloads {
 public:
  static constexpr std::size_t kMaxTypes = 32;

  SipPayloads() = default;
  SipPayloads(const SipPayloads&) = delete;
  SipPayloads& operator=(const SipPayloads&) = delete;

  // Entries joined by "|", each "number=name/rate", then perhaps "/parameters" and perhaps a blank and the
  // fmtp text. What stands between a rate and the next "|" beside these is skipped. Numbers below 128. False
  // for what cannot be read, which leaves no types; null is no text and gives none, and true.
  [[nodiscard]] bool ParsePayloadTypes(const char* text);

  [[nodiscard]] std::span<const SPayloadTypes> types() const {
    return {m_PayloadTypes.data(), m_nPayloadTypes};
  }

 private:
  [[nodiscard]] bool ParseEntry(std::string_view& rest);

  std::string m_PayloadBuffer;
  std::array<SPayloadTypes, kMaxTypes> m_PayloadTypes;
  std::size_t m_nPayloadTypes = 0;
};

// Fills `parms`, which is new, with a description of one audio medium of these types, at `address` (dotted),
// its texts in `pool`. Its port is 0: the stack sets it. Of more types than a medium holds the first ones are
// taken, and a text for which the pool has no room is left out. Returns the bytes of the pool that are used;
// 0 for no types, with nothing filled.
std::size_t InitSDPConfig(cpsdp_parms& parms, std::span<char> pool, std::string_view address,
                          std::span<const SPayloadTypes> types);

}  // namespace hark

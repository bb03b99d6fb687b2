// What both ends of the HARKUI# vocabulary share: how a line begins, which is the panel's name and an object
// with the key, fader or display that it is about, and the flags of a key.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "base/text.h"
#include "panel/signature.h"

namespace hark {

inline constexpr std::string_view kPanelObject = "HARKUI#";
inline constexpr std::string_view kKeyObject = "BUT#";
inline constexpr std::string_view kFaderObject = "FAD#";
inline constexpr std::string_view kDisplayObject = "DISP#";

// Bits of a key's `dfl`, as a network panel is told them.
inline constexpr std::uint32_t kDflNoTalk = 1;
inline constexpr std::uint32_t kDflHigherLevel = 2;    // the far end will not answer by itself: the key winks
inline constexpr std::uint32_t kDflLatchedListen = 8;  // the panel opens the listen by itself

// What stands behind the panel's name, which may be left out. Null for a name that is not `id`.
// Kept: another panel's name of the same length is taken as this panel's; panels have relied on sending under
// a name that they changed after they attached.
inline const char* behind_panel_name(const char* text, const std::string& id) {
  if (!starts_with_nocase(text, kPanelObject)) return text;
  const char* name = text + kPanelObject.size();
  if (std::strlen(name) <= id.size()) return nullptr;
  const bool is_own = id.compare(0, id.size(), name, id.size()) == 0;
  return is_own || name[id.size()] == '.' ? name + id.size() + 1 : nullptr;
}

// What stands behind "object", a signature and a blank, with the signature read; null when the text is not
// so.
inline const char* object_values(const char* text, std::string_view object, Signature& signature) {
  constexpr std::size_t kSignatureLength = 4;
  if (!starts_with_nocase(text, object)) return nullptr;
  const char* at = text + object.size();
  if (std::strlen(at) <= kSignatureLength || at[kSignatureLength] != ' ') return nullptr;
  signature = read_sig(at);
  return at + kSignatureLength;
}

}  // namespace hark

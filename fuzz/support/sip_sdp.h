// What the targets of session descriptions share: all texts of a record, what holds for every record, whether
// two say the same, and records that an input makes up.
#pragma once

#include <functional>
#include <string_view>

#include "cpsdp/cpsdp.h"
#include "support/sip_bytes.h"

namespace hark::fuzz {

// `text` comes with its name.
using SdpTextVisitor = std::function<void(std::string_view name, const cpsdp_text& text)>;
// All texts of the session or of one medium, as far as the counts go. *Requires* counts within the arrays.
void visit_session(const cpsdp_parms& parms, const SdpTextVisitor& visit);
void visit_medium(const cpsdp_media& media, const SdpTextVisitor& visit);

// Counts are within the arrays, and the media are there.
void check_counts(const cpsdp_parms& parms);
// The same, and each text lies in the first `size` bytes of the pool.
void check_texts_within(const cpsdp_parms& parms, std::size_t size);
// The two records say the same, word by word, each in its pool.
void check_same_session(const cpsdp_parms& a, std::string_view a_pool, const cpsdp_parms& b,
                        std::string_view b_pool, const char* what);

// A record of what the input says. A wild one may have any counts, offsets, enumerators, and media that are
// missing; else counts are within the arrays and media are there.
[[nodiscard]] cpsdp_parms make_session(Bytes& input, bool wild);

}  // namespace hark::fuzz

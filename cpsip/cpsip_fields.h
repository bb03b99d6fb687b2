// How each field id reaches its record. The access by field, the counts and the copies share it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_msg_access.h"

namespace hark {

// Modes: an embedded record; a parameter of one; an instance of a chain; a parameter of an instance.
enum class cpsip_fld_mode : std::uint8_t { none, direct, parm, instance, instance_parm };

struct cpsip_fld_row {
  cpsip_fld_mode mode = cpsip_fld_mode::none;
  cpsip_field cpsip_msg::*record = nullptr;  // direct, parm
  std::uint16_t cpsip_msg::*head = nullptr;  // instance, instance_parm
  std::uint8_t cpsip_msg::*count = nullptr;  // of the instances
};

// Ids that are counted, and that reach no record: lines and parameters that only received messages have.
inline constexpr std::uint32_t kFldReserved36 = 36;
inline constexpr std::uint32_t kFldReserved37 = 37;
inline constexpr std::uint32_t kFldReplacesParm = 62;
inline constexpr std::uint32_t kFldSubscriptionStateLine = 70;
inline constexpr std::uint32_t kFldSubscriptionStateParm = 72;
inline constexpr std::uint32_t kFldEventLine = 73;
inline constexpr std::uint32_t kFldEventParm = 75;

// The rows by field id. The first is that of an id that is none.
inline constexpr std::size_t kFields = CPSIP_FLD_CONTENT_TYPE_PARM + 1;
extern const std::array<cpsip_fld_row, kFields> Cpsip_fields;

// The row of a field id; one with mode none for an id that is none.
[[nodiscard]] inline const cpsip_fld_row& cpsip_find_fld(std::uint32_t field_id) {
  return Cpsip_fields[field_id < kFields ? field_id : 0];
}

[[nodiscard]] inline bool cpsip_has_parms(const cpsip_fld_row& row) {
  return row.mode == cpsip_fld_mode::parm || row.mode == cpsip_fld_mode::instance_parm;
}
[[nodiscard]] inline bool cpsip_has_instances(const cpsip_fld_row& row) { return row.head != nullptr; }

// The embedded record, or the instance, counted from 1; null for an instance that is not there. *Requires* a
// row whose mode is not none, as the next one does.
[[nodiscard]] const cpsip_field* cpsip_find_record(const cpsip_msg& msg, const cpsip_fld_row& row,
                                                   unsigned instance);
[[nodiscard]] inline cpsip_field* cpsip_find_record(cpsip_msg& msg, const cpsip_fld_row& row,
                                                    unsigned instance) {
  return const_cast<cpsip_field*>(cpsip_find_record(std::as_const(msg), row, instance));
}
// The same; instances that are missing up to this one, which is not 0, are made.
[[nodiscard]] cpsip_field& cpsip_make_record(cpsip_msg& msg, const cpsip_fld_row& row, unsigned instance);

// The text of a field from `offset` on, over the borders of blocks, as far as `out` has room. It is in `out`.
[[nodiscard]] std::string_view cpsip_read_text(const cpsip_field& field, std::uint32_t offset,
                                               std::span<char> out);

// Appends the text, which is not empty and has at most 65,535 bytes, to the chain, and points the field at
// it.
void cpsip_write_text(cpsip_msg& msg, cpsip_field& field, std::string_view text);

}  // namespace hark

// The one entry by which every layer above the scanner reads and writes a message: any field, by a field id,
// the number of its instance and the number of a parameter. Around it: counts, and the search for a
// parameter.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "cpsip/cpsip_msg.h"

namespace hark {

// Field ids. Those that stand twice reach the same field.
enum cpsip_fld : std::uint32_t {
  CPSIP_FLD_CALL_ID = 1,
  CPSIP_FLD_CONTACT_DISPLAY = 2,
  CPSIP_FLD_CONTACT = 3,
  CPSIP_FLD_CONTACT_PARM = 4,
  CPSIP_FLD_CONTACT_URI = 5,
  CPSIP_FLD_FROM_DISPLAY = 6,
  CPSIP_FLD_FROM = 7,
  CPSIP_FLD_FROM_PARM = 8,
  CPSIP_FLD_FROM_URI = 9,
  CPSIP_FLD_REQUEST_URI = 10,
  CPSIP_FLD_START_LINE = 11,
  CPSIP_FLD_REASON = 12,
  CPSIP_FLD_TO_DISPLAY = 13,
  CPSIP_FLD_TO = 14,
  CPSIP_FLD_TO_PARM = 15,
  CPSIP_FLD_TO_URI = 16,
  CPSIP_FLD_VIA = 17,
  CPSIP_FLD_VIA_HOST = 18,
  CPSIP_FLD_VIA_PARM = 19,
  CPSIP_FLD_VIA_PORT = 20,
  CPSIP_FLD_VIA_TRANSPORT = 21,
  CPSIP_FLD_ROUTE = 30,
  CPSIP_FLD_ROUTE_URI = 31,
  CPSIP_FLD_RECORD_ROUTE = 32,
  CPSIP_FLD_RECORD_ROUTE_URI = 33,
  CPSIP_FLD_USER_AGENT_LINE = 34,
  CPSIP_FLD_USER_AGENT = 35,
  CPSIP_FLD_ALLOW = 38,
  CPSIP_FLD_ALLOW_ITEM = 39,
  CPSIP_FLD_SUBJECT_LINE = 40,
  CPSIP_FLD_SUBJECT = 41,
  CPSIP_FLD_REQUIRE = 42,
  CPSIP_FLD_REQUIRE_ITEM = 43,
  CPSIP_FLD_PROXY_REQUIRE = 44,
  CPSIP_FLD_PROXY_REQUIRE_ITEM = 45,
  CPSIP_FLD_SUPPORTED = 46,
  CPSIP_FLD_SUPPORTED_ITEM = 47,
  CPSIP_FLD_UNSUPPORTED = 48,
  CPSIP_FLD_UNSUPPORTED_ITEM = 49,
  CPSIP_FLD_SERVER_LINE = 50,
  CPSIP_FLD_SERVER = 51,
  CPSIP_FLD_ACCEPT = 52,
  CPSIP_FLD_ACCEPT_ITEM = 53,
  CPSIP_FLD_UNKNOWN = 54,
  CPSIP_FLD_REPLACES = 61,
  CPSIP_FLD_REFER_TO = 63,
  CPSIP_FLD_REFER_TO_DISPLAY = 64,
  CPSIP_FLD_REFER_TO_PARM = 65,
  CPSIP_FLD_REFER_TO_URI = 66,
  CPSIP_FLD_ALLOW_EVENTS = 67,
  CPSIP_FLD_ALLOW_EVENTS_ITEM = 69,
  CPSIP_FLD_SUBSCRIPTION_STATE = 71,
  CPSIP_FLD_EVENT = 74,
  CPSIP_FLD_REFERRED_BY = 76,
  CPSIP_FLD_REFERRED_BY_DISPLAY = 77,
  CPSIP_FLD_REFERRED_BY_URI = 78,
  CPSIP_FLD_REFERRED_BY_PARM = 79,
  CPSIP_FLD_CONTENT_TYPE_LINE = 84,
  CPSIP_FLD_CONTENT_TYPE = 85,
  CPSIP_FLD_CONTENT_TYPE_PARM = 86,
};

// Results.
enum cpsip_access_result : int {
  kAccessOk = 0,
  kAccessTooLong = 6,      // a parameter longer than kMaxFieldText, or a value that no record can hold
  kAccessNoParameter = 9,  // no such parameter, or parameter number 0
  kAccessNoInstance = 14,  // an instance above the count, or one that no count can hold
};

// What a field is read through where it passes a buffer of its own.
inline constexpr std::uint32_t kMaxFieldText = 300;
using cpsip_field_text = std::array<char, kMaxFieldText>;

// Reads or writes a field. Instances and parameters count from 1; a direct field takes any number.
//
// Read: at most `max` bytes from `offset` on go into `buffer`, without NUL; `length` becomes their count,
// `remaining` what was cut off behind them. A field that is absent gives `length` 0 and kAccessOk; the end of
// the parameters is kAccessNoParameter. *Requires* `max` bytes at `buffer`.
//
// Write: the `length` bytes at `buffer` are appended to the chain, and the field points at them: a value is
// never changed in place, so a chain only grows. `offset`, `max` and `remaining` have no role. Instances and
// parameters that are missing before this one are made, blank. `length` 0 empties a direct field or an
// instance, and takes a parameter out of its header, so that those behind it move up.
//
// A field id that is none is reported, and does nothing: kAccessOk, and `length` 0 of a read.
[[nodiscard]] int CPSIP_MsgAccess(bool is_read, cpsip_msg& msg, std::uint32_t field_id, unsigned instance,
                                  unsigned parm, std::uint32_t offset, std::uint32_t max, char* buffer,
                                  std::uint32_t& length, std::uint32_t& remaining);

// The two uses of it: a text to write; and a read from the start into `out`, which returns what was read.
// `result` may be null.
[[nodiscard]] int cpsip_msg_write(cpsip_msg& msg, std::uint32_t field_id, unsigned instance, unsigned parm,
                                  std::string_view text);
[[nodiscard]] std::string_view cpsip_msg_read(const cpsip_msg& msg, std::uint32_t field_id, unsigned instance,
                                              unsigned parm, std::span<char> out, int* result = nullptr);

// The number of instances of the header that the field belongs to; 0, with a report, for a field that cannot
// be counted.
[[nodiscard]] unsigned CPSIP_MsgGetHdrCnt(const cpsip_msg& msg, std::uint32_t field_id);

// The number of parameters of the instance; 0 for an instance above the count.
[[nodiscard]] unsigned CPSIP_MsgGetParmCnt(const cpsip_msg& msg, std::uint32_t field_id, unsigned instance);

// Looks through the parameters of an instance for `name`: "tag=", "branch=", or without "=" for a flag such
// as "rport"; *requires* no other "=" in it. Blanks around the "=" do not count, nor does case, and `name`
// may be the beginning of the parameter's. Found: `index` is the number of the parameter, and the value is in
// `value` with its length in `length`; a parameter without "=" gives `length` 1 and leaves `value` alone. Not
// found: `index` and `length` 0. kAccessOk; kAccessNoInstance; kAccessTooLong for a parameter above
// kMaxFieldText on the way.
[[nodiscard]] int CPSIP_MsgGetParmValue(const cpsip_msg& msg, std::uint32_t field_id, unsigned instance,
                                        std::string_view name, unsigned& index, cpsip_field_text& value,
                                        std::uint32_t& length);

}  // namespace hark

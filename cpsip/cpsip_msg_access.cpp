#include "cpsip/cpsip_msg_access.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_fields.h"

namespace hark {
namespace {

using M = cpsip_msg;
constexpr std::uint32_t kMaxValue = 0xFFFF;  // what the length of a record can say
constexpr unsigned kMaxInstance = 0xFF;      // what a count can say
constexpr unsigned kMaxParm = cpsip_field_pool::kMaxFields;

constexpr cpsip_fld_row direct(cpsip_field M::*record) {
  return {.mode = cpsip_fld_mode::direct, .record = record};
}
constexpr cpsip_fld_row parm(cpsip_field M::*record) {
  return {.mode = cpsip_fld_mode::parm, .record = record};
}
constexpr cpsip_fld_row instance(std::uint16_t M::*head, std::uint8_t M::*count) {
  return {.mode = cpsip_fld_mode::instance, .head = head, .count = count};
}
constexpr cpsip_fld_row instance_parm(std::uint16_t M::*head, std::uint8_t M::*count) {
  return {.mode = cpsip_fld_mode::instance_parm, .head = head, .count = count};
}

constexpr std::array<cpsip_fld_row, kFields> make_fields() {
  std::array<cpsip_fld_row, kFields> rows{};
  rows[CPSIP_FLD_CALL_ID] = direct(&M::call_id);
  rows[CPSIP_FLD_CONTACT_DISPLAY] = instance(&M::contact_display_head, &M::contact_count);
  rows[CPSIP_FLD_CONTACT] = instance(&M::contact_head, &M::contact_count);
  rows[CPSIP_FLD_CONTACT_PARM] = instance_parm(&M::contact_head, &M::contact_count);
  rows[CPSIP_FLD_CONTACT_URI] = instance(&M::contact_uri_head, &M::contact_count);
  rows[CPSIP_FLD_FROM_DISPLAY] = direct(&M::from_display);
  rows[CPSIP_FLD_FROM] = direct(&M::from);
  rows[CPSIP_FLD_FROM_PARM] = parm(&M::from);
  rows[CPSIP_FLD_FROM_URI] = direct(&M::from_uri);
  rows[CPSIP_FLD_REQUEST_URI] = direct(&M::request_uri);
  rows[CPSIP_FLD_START_LINE] = direct(&M::start_line);
  rows[CPSIP_FLD_REASON] = direct(&M::reason);
  rows[CPSIP_FLD_TO_DISPLAY] = direct(&M::to_display);
  rows[CPSIP_FLD_TO] = direct(&M::to);
  rows[CPSIP_FLD_TO_PARM] = parm(&M::to);
  rows[CPSIP_FLD_TO_URI] = direct(&M::to_uri);
  rows[CPSIP_FLD_VIA] = instance(&M::via_head, &M::via_count);
  rows[CPSIP_FLD_VIA_HOST] = instance(&M::via_host_head, &M::via_count);
  rows[CPSIP_FLD_VIA_PARM] = instance_parm(&M::via_head, &M::via_count);
  rows[CPSIP_FLD_VIA_PORT] = instance(&M::via_port_head, &M::via_count);
  rows[CPSIP_FLD_VIA_TRANSPORT] = instance(&M::via_transport_head, &M::via_count);
  rows[CPSIP_FLD_ROUTE] = instance(&M::route_head, &M::route_count);
  rows[CPSIP_FLD_ROUTE_URI] = instance(&M::route_uri_head, &M::route_count);
  rows[CPSIP_FLD_RECORD_ROUTE] = instance(&M::record_route_head, &M::record_route_count);
  rows[CPSIP_FLD_RECORD_ROUTE_URI] = instance(&M::record_route_uri_head, &M::record_route_count);
  rows[CPSIP_FLD_USER_AGENT_LINE] = rows[CPSIP_FLD_USER_AGENT] = direct(&M::user_agent);
  rows[CPSIP_FLD_ALLOW] = instance(&M::allow_head, &M::allow_count);
  rows[CPSIP_FLD_ALLOW_ITEM] = instance_parm(&M::allow_head, &M::allow_count);
  rows[CPSIP_FLD_SUBJECT_LINE] = rows[CPSIP_FLD_SUBJECT] = direct(&M::subject);
  rows[CPSIP_FLD_REQUIRE] = instance(&M::require_head, &M::require_count);
  rows[CPSIP_FLD_REQUIRE_ITEM] = instance_parm(&M::require_head, &M::require_count);
  rows[CPSIP_FLD_PROXY_REQUIRE] = instance(&M::proxy_require_head, &M::proxy_require_count);
  rows[CPSIP_FLD_PROXY_REQUIRE_ITEM] = instance_parm(&M::proxy_require_head, &M::proxy_require_count);
  rows[CPSIP_FLD_SUPPORTED] = instance(&M::supported_head, &M::supported_count);
  rows[CPSIP_FLD_SUPPORTED_ITEM] = instance_parm(&M::supported_head, &M::supported_count);
  rows[CPSIP_FLD_UNSUPPORTED] = instance(&M::unsupported_head, &M::unsupported_count);
  rows[CPSIP_FLD_UNSUPPORTED_ITEM] = instance_parm(&M::unsupported_head, &M::unsupported_count);
  rows[CPSIP_FLD_SERVER_LINE] = rows[CPSIP_FLD_SERVER] = direct(&M::server);
  rows[CPSIP_FLD_ACCEPT] = instance(&M::accept_head, &M::accept_count);
  rows[CPSIP_FLD_ACCEPT_ITEM] = instance_parm(&M::accept_head, &M::accept_count);
  rows[CPSIP_FLD_UNKNOWN] = instance(&M::unknown_head, &M::unknown_count);
  rows[CPSIP_FLD_REPLACES] = direct(&M::replaces);
  rows[CPSIP_FLD_REFER_TO] = direct(&M::refer_to);
  rows[CPSIP_FLD_REFER_TO_DISPLAY] = direct(&M::refer_to_display);
  rows[CPSIP_FLD_REFER_TO_PARM] = parm(&M::refer_to);
  rows[CPSIP_FLD_REFER_TO_URI] = direct(&M::refer_to_uri);
  rows[CPSIP_FLD_ALLOW_EVENTS] = instance(&M::allow_events_head, &M::allow_events_count);
  rows[CPSIP_FLD_ALLOW_EVENTS_ITEM] = instance_parm(&M::allow_events_head, &M::allow_events_count);
  rows[CPSIP_FLD_SUBSCRIPTION_STATE] = direct(&M::subscription_state);
  rows[CPSIP_FLD_EVENT] = direct(&M::event);
  rows[CPSIP_FLD_REFERRED_BY] = direct(&M::referred_by);
  rows[CPSIP_FLD_REFERRED_BY_DISPLAY] = direct(&M::referred_by_display);
  rows[CPSIP_FLD_REFERRED_BY_URI] = direct(&M::referred_by_uri);
  rows[CPSIP_FLD_REFERRED_BY_PARM] = parm(&M::referred_by);
  rows[CPSIP_FLD_CONTENT_TYPE_LINE] = direct(&M::content_type_line);
  rows[CPSIP_FLD_CONTENT_TYPE] = direct(&M::content_type);
  rows[CPSIP_FLD_CONTENT_TYPE_PARM] = parm(&M::content_type_line);
  return rows;
}

// Whether there is such a field, and with such a parameter number.
bool is_reachable(const cpsip_fld_row& row, unsigned parm) {
  return row.mode != cpsip_fld_mode::none && (!cpsip_has_parms(row) || parm != 0);
}

int refuse(const cpsip_fld_row& row, std::uint32_t field_id, unsigned line = __builtin_LINE()) {
  (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg, line), field_id);
  return row.mode == cpsip_fld_mode::none ? kAccessOk : kAccessNoParameter;
}

// ---- Read ----

// The parameter, counted from 1; null behind the last.
const cpsip_field* find_parm(const cpsip_msg& msg, const cpsip_field& record, unsigned parm) {
  std::uint16_t index = record.next_parm;
  for (; index != 0 && parm > 1; --parm)
    index = msg.fields[index].next_parm;
  return index != 0 ? &msg.fields[index] : nullptr;
}

int read(const cpsip_msg& msg, std::uint32_t field_id, unsigned instance, unsigned parm, std::uint32_t offset,
         std::span<char> out, std::uint32_t& length, std::uint32_t& remaining) {
  length = 0;
  remaining = 0;
  const cpsip_fld_row& row = cpsip_find_fld(field_id);
  if (!is_reachable(row, parm)) return refuse(row, field_id);
  const cpsip_field* field = cpsip_find_record(msg, row, instance);
  if (cpsip_has_parms(row)) {
    field = field != nullptr ? find_parm(msg, *field, parm) : nullptr;
    if (field == nullptr) return kAccessNoParameter;
  }
  if (field == nullptr || field->length == 0) return kAccessOk;
  length = static_cast<std::uint32_t>(cpsip_read_text(*field, offset, out).size());
  remaining = field->length - std::min<std::uint32_t>(field->length, offset + length);
  return kAccessOk;
}

// ---- Write ----

cpsip_field& make_parm(cpsip_msg& msg, cpsip_field& record, unsigned parm) {
  std::uint16_t* link = &record.next_parm;
  for (;; --parm) {
    if (*link == 0) *link = msg.fields.alloc();
    if (parm == 1) return msg.fields[*link];
    link = &msg.fields[*link].next_parm;
  }
}

// Takes the parameter out of its chain, if it is there.
void unlink_parm(cpsip_msg& msg, cpsip_field& record, unsigned parm) {
  std::uint16_t* link = &record.next_parm;
  for (; *link != 0 && parm > 1; --parm)
    link = &msg.fields[*link].next_parm;
  if (*link != 0) *link = msg.fields[*link].next_parm;
}

// The last block of the chain, which is begun if there is none.
cpsip_osa_buf* last_block(cpsip_msg& msg) {
  if (msg.chain == nullptr) msg.chain.reset(cpsip_osa_buf_alloc(kBuildBlockSize));
  cpsip_osa_buf* block = msg.chain.get();
  while (block->next != nullptr)
    block = block->next;
  return block;
}

std::uint16_t append(cpsip_osa_buf& block, std::string_view text) {
  const auto offset = static_cast<std::uint16_t>(kOsaHeaderSize + block.used);
  std::memcpy(block.data() + block.used, text.data(), text.size());
  block.used = static_cast<std::uint16_t>(block.used + text.size());
  return offset;
}

unsigned free_records(const cpsip_msg& msg) {
  return unsigned{cpsip_field_pool::kMaxFields} - msg.fields.count();
}

int write_parm(cpsip_msg& msg, const cpsip_fld_row& row, unsigned instance, unsigned parm,
               std::string_view text) {
  if (text.empty()) {
    if (cpsip_field* record = cpsip_find_record(msg, row, instance); record != nullptr)
      unlink_parm(msg, *record, parm);
    return kAccessOk;
  }
  // So many records may not be left in the pool.
  if (parm > kMaxParm || kMaxInstance + parm > free_records(msg)) return kAccessNoParameter;
  cpsip_field& record = cpsip_make_record(msg, row, instance);
  cpsip_write_text(msg, make_parm(msg, record, parm), text);
  return kAccessOk;
}

int write_field(cpsip_msg& msg, const cpsip_fld_row& row, unsigned instance, unsigned parm,
                std::string_view text) {
  if (text.size() > kMaxValue) return kAccessTooLong;
  if (cpsip_has_instances(row) && (instance == 0 || instance > kMaxInstance)) return kAccessNoInstance;
  if (cpsip_has_parms(row)) return write_parm(msg, row, instance, parm, text);
  if (cpsip_has_instances(row) && instance > free_records(msg)) return kAccessNoInstance;
  cpsip_field& record = cpsip_make_record(msg, row, instance);
  if (text.empty()) {
    record.length = 0;
  } else {
    cpsip_write_text(msg, record, text);
  }
  return kAccessOk;
}

}  // namespace

constexpr std::array<cpsip_fld_row, kFields> Cpsip_fields = make_fields();

const cpsip_field* cpsip_find_record(const cpsip_msg& msg, const cpsip_fld_row& row, unsigned instance) {
  if (!cpsip_has_instances(row)) return &(msg.*row.record);
  std::uint16_t index = instance != 0 ? msg.*row.head : 0;
  for (; index != 0 && instance > 1; --instance)
    index = msg.fields[index].next_hdr;
  return index != 0 ? &msg.fields[index] : nullptr;
}

cpsip_field& cpsip_make_record(cpsip_msg& msg, const cpsip_fld_row& row, unsigned instance) {
  if (!cpsip_has_instances(row)) return msg.*row.record;
  std::uint16_t* link = &(msg.*row.head);
  for (unsigned at = 1;; ++at) {
    if (*link == 0) *link = msg.fields.alloc();
    if (at == instance) break;
    link = &msg.fields[*link].next_hdr;
  }
  msg.*row.count = std::max(msg.*row.count, static_cast<std::uint8_t>(instance));
  return msg.fields[*link];
}

std::string_view cpsip_read_text(const cpsip_field& field, std::uint32_t offset, std::span<char> out) {
  if (offset >= field.length) return {};
  std::size_t left = std::min<std::size_t>(out.size(), field.length - offset);
  std::size_t length = 0;
  std::string_view part = cpsip_field_view(field);
  for (const cpsip_osa_buf* block = field.buf; left != 0;) {
    if (offset < part.size()) {
      const std::size_t copied = part.copy(out.data() + length, left, offset);
      length += copied;
      left -= copied;
      offset = 0;
    } else {
      offset -= static_cast<std::uint32_t>(part.size());
    }
    block = block->next;
    if (block == nullptr) break;
    part = block->text();
  }
  return {out.data(), length};
}

// The room that a block has left is used only if all fits there.
void cpsip_write_text(cpsip_msg& msg, cpsip_field& field, std::string_view text) {
  cpsip_osa_buf* block = last_block(msg);
  field.buf = nullptr;
  field.length = static_cast<std::uint16_t>(text.size());
  while (!text.empty()) {
    if (block->room() < text.size()) block = block->next = cpsip_osa_buf_alloc(kBuildBlockSize);
    const std::string_view part = text.substr(0, block->room());
    const std::uint16_t offset = append(*block, part);
    if (field.buf == nullptr) {
      field.buf = block;
      field.offset = offset;
    }
    text.remove_prefix(part.size());
  }
}

int CPSIP_MsgAccess(bool is_read, cpsip_msg& msg, std::uint32_t field_id, unsigned instance, unsigned parm,
                    std::uint32_t offset, std::uint32_t max, char* buffer, std::uint32_t& length,
                    std::uint32_t& remaining) {
  if (!is_read) return cpsip_msg_write(msg, field_id, instance, parm, {buffer, length});
  return read(msg, field_id, instance, parm, offset, {buffer, max}, length, remaining);
}

int cpsip_msg_write(cpsip_msg& msg, std::uint32_t field_id, unsigned instance, unsigned parm,
                    std::string_view text) {
  const cpsip_fld_row& row = cpsip_find_fld(field_id);
  if (!is_reachable(row, parm)) return refuse(row, field_id);
  return write_field(msg, row, instance, parm, text);
}

std::string_view cpsip_msg_read(const cpsip_msg& msg, std::uint32_t field_id, unsigned instance,
                                unsigned parm, std::span<char> out, int* result) {
  std::uint32_t length = 0;
  std::uint32_t remaining = 0;
  const int answer = read(msg, field_id, instance, parm, 0, out, length, remaining);
  if (result != nullptr) *result = answer;
  return {out.data(), length};
}

}  // namespace hark

#include "cpsip/cpsip_msg_copy.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <new>

#include "cpsip/cpapp.h"
#include "cpsip/cpsip_fields.h"
#include "cpsip/cpsip_msg_access.h"

namespace hark {
namespace {

std::unique_ptr<char[]> copy_bytes(std::string_view bytes) {
  std::unique_ptr<char[]> copy(new (std::nothrow) char[std::max<std::size_t>(bytes.size(), 1)]);
  if (copy == nullptr) cpapp_fatal_err(cpapp_here(cpapp_module::cpsip_msg));
  (void)bytes.copy(copy.get(), bytes.size());
  return copy;
}

void copy_session(const std::unique_ptr<cpsdp_parms>& session, const cpsip_sdp_text& text,
                  std::unique_ptr<cpsdp_parms>& to, cpsip_sdp_text& to_text) {
  if (session == nullptr) return;
  to = session->clone();
  to_text.own(copy_bytes(text.view()), static_cast<std::uint32_t>(text.view().size()));
}

// Copies the parameters from `index` on to the record `to`, which has none. What the pool has no room for is
// left out.
void copy_parms(const cpsip_msg& src, std::uint16_t index, cpsip_msg& dst, cpsip_field& to) {
  std::uint16_t* link = &to.next_parm;
  for (; index != 0; index = src.fields[index].next_parm) {
    cpsip_field_text room;
    const std::string_view text = cpsip_read_text(src.fields[index], 0, room);
    if (dst.fields.count() == cpsip_field_pool::kMaxFields) return;
    *link = dst.fields.alloc();
    cpsip_field& parm = dst.fields[*link];
    if (!text.empty()) cpsip_write_text(dst, parm, text);
    link = &parm.next_parm;
  }
}

// What a message holds beside its fields.
void copy_members(const cpsip_msg& src, cpsip_msg& dst) {
  dst.method = src.method;
  dst.app_dialog_id = src.app_dialog_id;
  dst.unknown_method = src.unknown_method;
  dst.status_code = src.status_code;
  dst.cseq = src.cseq;
  dst.cseq_method = src.cseq_method;
  dst.max_forwards = src.max_forwards;
  dst.content_kind = src.content_kind;
  dst.content_length_seen = src.content_length_seen;
  dst.content_length = src.content_length;
  dst.body_received = src.body_received;
  dst.expires = src.expires;
  dst.include_allow = src.include_allow;
}

void copy_fields(const cpsip_msg& src, cpsip_msg& dst, std::initializer_list<std::uint32_t> fields) {
  for (const std::uint32_t field : fields)
    (void)cpsip_msg_copy_field(src, dst, 1, field);
}

void copy_instances(const cpsip_msg& src, cpsip_msg& dst, std::uint32_t field_id) {
  const unsigned count = CPSIP_MsgGetHdrCnt(src, field_id);
  for (unsigned instance = 1; instance <= count; ++instance)
    (void)cpsip_msg_copy_field(src, dst, instance, field_id);
}

// A received line that is cut keeps its line end, by which it is known for one.
void copy_unknown_headers(const cpsip_msg& src, cpsip_msg& dst) {
  constexpr std::string_view kLineEnd = "\r\n";
  std::uint16_t index = src.unknown_head;
  for (unsigned instance = 1; instance <= src.unknown_count; ++instance) {
    const cpsip_field& header = src.fields[index];
    cpsip_field_text room;
    std::string_view text = cpsip_read_text(header, 0, room);
    std::array<char, kLineEnd.size()> end;
    if (header.length > text.size() &&
        cpsip_read_text(header, header.length - std::uint32_t{end.size()}, end) == kLineEnd)
      kLineEnd.copy(room.data() + text.size() - kLineEnd.size(), kLineEnd.size());
    if (!text.empty()) (void)cpsip_msg_write(dst, CPSIP_FLD_UNKNOWN, instance, 0, text);
    index = header.next_hdr;
  }
}

void copy_lists(const cpsip_msg& src, cpsip_msg& dst, std::initializer_list<std::uint32_t> items) {
  for (const std::uint32_t item : items)
    (void)cpsip_msg_copy_header_parms(src, dst, CPSIP_MsgGetHdrCnt(src, item), item);
}

void copy_body(const cpsip_msg& src, cpsip_msg& dst) {
  if (src.body == nullptr) return;
  dst.body.reset(new (std::nothrow) char[std::max<std::uint32_t>(src.content_length, 1)]);
  if (dst.body == nullptr) {
    (void)cpapp_uxp(cpapp_here(cpapp_module::cpsip_msg));
    return;
  }
  std::memcpy(dst.body.get(), src.body.get(), src.content_length);
}

}  // namespace

int cpsip_msg_copy_field(const cpsip_msg& src, cpsip_msg& dst, unsigned instance, std::uint32_t field_id) {
  cpsip_field_text room;
  int result = kAccessOk;
  const std::string_view text = cpsip_msg_read(src, field_id, instance, 0, room, &result);
  if (result != kAccessOk || text.empty()) return result;
  return cpsip_msg_write(dst, field_id, instance, 0, text);
}

int cpsip_msg_copy_header_parms(const cpsip_msg& src, cpsip_msg& dst, unsigned instances,
                                std::uint32_t field_id) {
  const cpsip_fld_row& row = cpsip_find_fld(field_id);
  if (!cpsip_has_parms(row)) return kAccessNoParameter;
  for (unsigned instance = 1; instance <= instances; ++instance) {
    cpsip_field* const to = cpsip_find_record(dst, row, instance);
    if (to != nullptr) to->next_parm = 0;
    const cpsip_field* from = cpsip_find_record(src, row, instance);
    if (from == nullptr || from->next_parm == 0) continue;
    // A new instance may want a record of each of its chains.
    constexpr unsigned kChains = 4;
    const bool has_room =
        to != nullptr || dst.fields.count() + kChains * instance <= cpsip_field_pool::kMaxFields;
    if (has_room) copy_parms(src, from->next_parm, dst, cpsip_make_record(dst, row, instance));
  }
  return kAccessOk;
}

void cpsip_msg_copy_parms_across(const cpsip_msg& src, std::uint32_t from, cpsip_msg& dst, std::uint32_t to) {
  cpsip_field& record = cpsip_make_record(dst, cpsip_find_fld(to), 1);
  record.next_parm = 0;
  const cpsip_field* source = cpsip_find_record(src, cpsip_find_fld(from), 1);
  if (source != nullptr) copy_parms(src, source->next_parm, dst, record);
}

int cpsip_msg_copy_contact(const cpsip_msg& src, cpsip_msg& dst) {
  for (unsigned instance = 1; instance <= src.contact_count; ++instance) {
    for (const std::uint32_t field : {CPSIP_FLD_CONTACT_DISPLAY, CPSIP_FLD_CONTACT_URI}) {
      if (const int result = cpsip_msg_copy_field(src, dst, instance, field); result != kAccessOk)
        return result;
    }
  }
  return cpsip_msg_copy_header_parms(src, dst, src.contact_count, CPSIP_FLD_CONTACT_PARM);
}

int cpsip_msg_copy_via(const cpsip_msg& src, cpsip_msg& dst) {
  int result = kAccessOk;
  for (unsigned instance = 1; instance <= src.via_count && result == kAccessOk; ++instance) {
    for (const std::uint32_t field : {CPSIP_FLD_VIA_TRANSPORT, CPSIP_FLD_VIA_HOST, CPSIP_FLD_VIA_PORT}) {
      if (result == kAccessOk) result = cpsip_msg_copy_field(src, dst, instance, field);
    }
  }
  if (result == kAccessOk) result = cpsip_msg_copy_header_parms(src, dst, src.via_count, CPSIP_FLD_VIA_PARM);
  if (result != kAccessOk)
    (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg), static_cast<std::uint32_t>(result));
  return result;
}

int cpsip_msg_copy_sdp(const cpsip_msg& src, cpsip_msg& dst) {
  copy_session(src.sdp, src.sdp_text, dst.sdp, dst.sdp_text);
  copy_session(src.sdp2, src.sdp2_text, dst.sdp2, dst.sdp2_text);
  return kAccessOk;
}

int cpsip_msg_copy_sip_msg(const cpsip_msg& src, cpsip_msg& dst) {
  copy_members(src, dst);
  if (const int result = cpsip_msg_copy_sdp(src, dst); result != kAccessOk) return result;
  dst.related_dialog = src.related_dialog;
  dst.scan_status = src.scan_status;
  copy_fields(src, dst,
              {CPSIP_FLD_REQUEST_URI, CPSIP_FLD_REASON, CPSIP_FLD_FROM_DISPLAY, CPSIP_FLD_FROM_URI});
  (void)cpsip_msg_copy_header_parms(src, dst, 1, CPSIP_FLD_FROM_PARM);
  copy_fields(src, dst, {CPSIP_FLD_CALL_ID, CPSIP_FLD_TO_DISPLAY, CPSIP_FLD_TO_URI});
  (void)cpsip_msg_copy_header_parms(src, dst, 1, CPSIP_FLD_TO_PARM);
  (void)cpsip_msg_copy_via(src, dst);
  (void)cpsip_msg_copy_contact(src, dst);
  // Nothing reads the display names of these two.
  copy_instances(src, dst, CPSIP_FLD_ROUTE_URI);
  copy_instances(src, dst, CPSIP_FLD_RECORD_ROUTE_URI);
  copy_fields(src, dst, {CPSIP_FLD_USER_AGENT, CPSIP_FLD_SERVER, CPSIP_FLD_SUBJECT});
  copy_lists(src, dst,
             {CPSIP_FLD_ALLOW_ITEM, CPSIP_FLD_REQUIRE_ITEM, CPSIP_FLD_PROXY_REQUIRE_ITEM,
              CPSIP_FLD_SUPPORTED_ITEM, CPSIP_FLD_UNSUPPORTED_ITEM, CPSIP_FLD_ACCEPT_ITEM});
  copy_fields(src, dst, {CPSIP_FLD_REFER_TO, CPSIP_FLD_REFER_TO_DISPLAY, CPSIP_FLD_REFER_TO_URI});
  (void)cpsip_msg_copy_header_parms(src, dst, 1, CPSIP_FLD_REFER_TO_PARM);
  copy_fields(src, dst, {CPSIP_FLD_REFERRED_BY, CPSIP_FLD_REFERRED_BY_DISPLAY, CPSIP_FLD_REFERRED_BY_URI});
  (void)cpsip_msg_copy_header_parms(src, dst, 1, CPSIP_FLD_REFERRED_BY_PARM);
  copy_lists(src, dst, {CPSIP_FLD_ALLOW_EVENTS_ITEM});
  copy_fields(src, dst, {CPSIP_FLD_SUBSCRIPTION_STATE, CPSIP_FLD_EVENT});
  dst.subscription_state_id = src.subscription_state_id;
  dst.event_id = src.event_id;
  dst.event_id_parm = src.event_id_parm;
  copy_fields(src, dst, {CPSIP_FLD_CONTENT_TYPE});
  (void)cpsip_msg_copy_header_parms(src, dst, 1, CPSIP_FLD_CONTENT_TYPE_PARM);
  copy_unknown_headers(src, dst);
  copy_body(src, dst);
  return kAccessOk;
}

}  // namespace hark

// How many instances and parameters a message has, and the search for a parameter by its name.
#include <cstring>
#include <optional>

#include "base/text.h"
#include "cpsip/cpapp.h"
#include "cpsip/cpsip_fields.h"
#include "cpsip/cpsip_line.h"
#include "cpsip/cpsip_msg_access.h"

namespace hark {
namespace {

unsigned is_there(const cpsip_field& line) { return line.length != 0 ? 1 : 0; }

// The headers that are no chain, by their field ids. Kept: Server, Subject and User-Agent are counted by
// their line records, which nothing fills, so that they count as absent.
std::optional<unsigned> count_of_embedded(const cpsip_msg& msg, std::uint32_t field_id) {
  switch (field_id) {
    case CPSIP_FLD_FROM_DISPLAY:
    case CPSIP_FLD_FROM:
    case CPSIP_FLD_FROM_PARM:
    case CPSIP_FLD_FROM_URI:
    case CPSIP_FLD_TO_DISPLAY:
    case CPSIP_FLD_TO:
    case CPSIP_FLD_TO_PARM:
    case CPSIP_FLD_TO_URI:
    case kFldReserved36:
    case kFldReserved37:
      return 1;
    case CPSIP_FLD_REPLACES:
    case kFldReplacesParm:
      return is_there(msg.replaces);
    case CPSIP_FLD_REFER_TO:
    case CPSIP_FLD_REFER_TO_DISPLAY:
    case CPSIP_FLD_REFER_TO_PARM:
    case CPSIP_FLD_REFER_TO_URI:
      return is_there(msg.refer_to);
    case kFldSubscriptionStateLine:
    case CPSIP_FLD_SUBSCRIPTION_STATE:
    case kFldSubscriptionStateParm:
      return is_there(msg.subscription_state_line);
    case kFldEventLine:
    case CPSIP_FLD_EVENT:
    case kFldEventParm:
      return is_there(msg.event_line);
    case CPSIP_FLD_REFERRED_BY:
    case CPSIP_FLD_REFERRED_BY_URI:
    case CPSIP_FLD_REFERRED_BY_PARM:
      return is_there(msg.referred_by);
    case CPSIP_FLD_CONTENT_TYPE_LINE:
    case CPSIP_FLD_CONTENT_TYPE:
    case CPSIP_FLD_CONTENT_TYPE_PARM:
      return is_there(msg.content_type_line);
    case CPSIP_FLD_USER_AGENT_LINE:
    case CPSIP_FLD_USER_AGENT:
      return is_there(msg.user_agent_line);
    case CPSIP_FLD_SUBJECT_LINE:
    case CPSIP_FLD_SUBJECT:
      return is_there(msg.subject_line);
    case CPSIP_FLD_SERVER_LINE:
    case CPSIP_FLD_SERVER:
      return is_there(msg.server_line);
    default:
      return std::nullopt;
  }
}

// The record on which the parameters of a field hang; null for an instance that is not there, and for a field
// that has none.
const cpsip_field* record_of(const cpsip_msg& msg, const cpsip_fld_row& row, unsigned instance) {
  return cpsip_has_parms(row) ? cpsip_find_record(msg, row, instance) : nullptr;
}

unsigned count_instances(const cpsip_msg& msg, const cpsip_fld_row& row, std::uint32_t field_id) {
  if (row.count != nullptr) return msg.*row.count;
  if (const std::optional<unsigned> count = count_of_embedded(msg, field_id)) return *count;
  (void)cpapp_uxp1(cpapp_here(cpapp_module::cpsip_msg), field_id);
  return 0;
}

// A parameter's text in one piece: where it lies, or in `room` when it runs over blocks.
std::string_view flat_text(const cpsip_field& parm, cpsip_field_text& room) {
  const std::string_view view = cpsip_field_view(parm);
  return view.size() == parm.length ? view : cpsip_read_text(parm, 0, room);
}

// As match_key, where the two are not the same to the byte.
std::size_t match_folded_key(std::string_view parm, std::string_view name) {
  std::size_t at = 0;
  std::size_t matched = 0;
  for (; matched != name.size(); ++at) {
    if (at == parm.size()) return 0;
    const char c = parm[at];
    if (cpsip_is_blank(c)) continue;
    if (ascii_lower(c) != ascii_lower(name[matched])) return 0;
    ++matched;
    if (c == '=' && matched != name.size()) return 0;
  }
  return at;
}

// How much of the parameter is looked at to see that its key, up to and with the "=" if it has one, begins
// with `name` in any case; blanks in it do not count. 0 when it does not.
std::size_t match_key(std::string_view parm, std::string_view name) {
  // Nearly every sender writes them in the same way.
  const bool same = parm.size() >= name.size() && !name.empty() && parm.front() == name.front() &&
                    std::memcmp(parm.data(), name.data(), name.size()) == 0;
  return same ? name.size() : match_folded_key(parm, name);
}

// The value behind the key, of which `matched` characters were looked at.
void take_value(std::string_view parm, std::size_t matched, cpsip_field_text& value, std::uint32_t& length) {
  std::size_t at = matched;
  if (matched == 0 || parm[matched - 1] != '=') at = parm.find('=', matched) + 1;
  if (at == 0) {
    length = 1;
    return;
  }
  while (at != parm.size() && cpsip_is_blank(parm[at]))
    ++at;
  length = static_cast<std::uint32_t>(parm.copy(value.data(), value.size(), at));
}

}  // namespace

unsigned CPSIP_MsgGetHdrCnt(const cpsip_msg& msg, std::uint32_t field_id) {
  return count_instances(msg, cpsip_find_fld(field_id), field_id);
}

unsigned CPSIP_MsgGetParmCnt(const cpsip_msg& msg, std::uint32_t field_id, unsigned instance) {
  const cpsip_fld_row& row = cpsip_find_fld(field_id);
  if (instance > count_instances(msg, row, field_id)) return 0;
  const cpsip_field* record = record_of(msg, row, instance);
  unsigned count = 0;
  for (std::uint16_t index = record != nullptr ? record->next_parm : 0; index != 0;
       index = msg.fields[index].next_parm)
    ++count;
  return count;
}

int CPSIP_MsgGetParmValue(const cpsip_msg& msg, std::uint32_t field_id, unsigned instance,
                          std::string_view name, unsigned& index, cpsip_field_text& value,
                          std::uint32_t& length) {
  index = 0;
  length = 0;
  const cpsip_fld_row& row = cpsip_find_fld(field_id);
  if (instance > count_instances(msg, row, field_id)) return kAccessNoInstance;
  const cpsip_field* record = record_of(msg, row, instance);
  std::uint16_t at = record != nullptr ? record->next_parm : 0;
  for (unsigned number = 1; at != 0; ++number) {
    const cpsip_field& parm = msg.fields[at];
    if (parm.length > kMaxFieldText) return kAccessTooLong;
    cpsip_field_text room;
    const std::string_view text = flat_text(parm, room);
    const std::size_t matched = match_key(text, name);
    if (matched != 0 || name.empty()) {
      index = number;
      take_value(text, matched, value, length);
      return kAccessOk;
    }
    at = parm.next_parm;
  }
  return kAccessOk;
}

}  // namespace hark

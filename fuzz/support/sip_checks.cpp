// The checks of messages.
#include <algorithm>
#include <array>

#include "support/fuzzing.h"
#include "support/sip_message.h"

namespace hark::fuzz {
namespace {

// Whole lines: all else is one token.
constexpr std::array<std::uint32_t, 19> kLines{3,  7,  11, 14, 17, 30, 32, 38, 42, 44,
                                               46, 48, 52, 54, 61, 63, 67, 76, 84};

constexpr std::array<std::string_view, 6> kNames{"tag=", "branch=", "rport", "lr", "a", ""};

bool is_line(std::uint32_t id) { return std::find(kLines.begin(), kLines.end(), id) != kLines.end(); }

// A record lies in the chain from its block on.
void check_record(const cpsip_msg& msg, const cpsip_field& record) {
  check(record.next_hdr < msg.fields.count() && record.next_parm < msg.fields.count(),
        "a link leads to a record");
  if (record.length == 0) return;
  const cpsip_osa_buf* block = msg.chain.get();
  while (block != nullptr && block != record.buf)
    block = block->next;
  check(block != nullptr, "a text begins in a block of its message");
  const unsigned filled = kOsaHeaderSize + block->used;
  check(record.offset >= kOsaHeaderSize && record.offset < filled, "a text begins in what its block holds");
  std::size_t held = filled - record.offset;
  while ((block = block->next) != nullptr)
    held += block->used;
  check(record.length <= held, "a text ends in its message's chain");
}

void check_records(cpsip_msg& msg) {
  check(msg.fields.count() > 0, "record 0 is there");
  const cpsip_field& none = *cpsip_msg_get_field_ptr_using_idx(msg, 0);
  check(none.length == 0 && none.next_hdr == 0 && none.next_parm == 0, "record 0 is blank");
  check(cpsip_msg_get_field_ptr_using_idx(msg, msg.fields.count()) == nullptr,
        "there is none behind the last");
  for (unsigned index = 1; index < msg.fields.count(); ++index)
    check_record(msg, *cpsip_msg_get_field_ptr_using_idx(msg, static_cast<std::uint16_t>(index)));
  for (const SipField& field : sip_fields())
    if (field.record != nullptr) check_record(msg, msg.*field.record);
}

// Pieces of a text are those of the whole.
void check_pieces(cpsip_msg& msg, const SipKey& key, const std::string& whole) {
  const auto& [id, instance, parm] = key;
  for (const std::size_t offset : {whole.size() / 2, whole.size(), whole.size() + 3}) {
    std::array<char, 5> out;
    std::uint32_t length = 77;
    std::uint32_t remaining = 77;
    const int result = CPSIP_MsgAccess(true, msg, id, instance, parm, static_cast<std::uint32_t>(offset),
                                       out.size(), out.data(), length, remaining);
    const std::string_view rest = std::string_view(whole).substr(std::min(offset, whole.size()));
    const std::string_view want = rest.substr(0, out.size());
    check(result == kAccessOk, "what is there can be read in pieces");
    check(std::string_view(out.data(), length) == want, "a piece is that of the whole");
    check(remaining == rest.size() - want.size(), "the rest is counted");
  }
}

unsigned counted(const cpsip_msg& msg, const SipField& field) {
  return field.in_chain() ? msg.*field.instances : CPSIP_MsgGetHdrCnt(msg, field.id);
}

void check_parameters(cpsip_msg& msg, const SipField& field) {
  const std::size_t instances = field.in_chain() ? chain_length(msg, msg.*field.head) : 1;
  const unsigned count = counted(msg, field);
  for (unsigned instance = 1; instance <= std::min<std::size_t>(instances, 12); ++instance) {
    const std::vector<std::string> parameters = read_parameters(msg, field.id, instance);
    const unsigned want = instance <= count ? static_cast<unsigned>(parameters.size()) : 0;
    check(CPSIP_MsgGetParmCnt(msg, field.id, instance) == want, "parameters are counted");
    for (const std::string_view name : kNames)
      check_search(msg, field.id, instance, name, parameters);
  }
  if (count < kMostInstances)
    check(CPSIP_MsgGetParmCnt(msg, field.id, count + 1) == 0, "none above the count");
}

}  // namespace

void check_search(cpsip_msg& msg, std::uint32_t id, unsigned instance, std::string_view name,
                  const std::vector<std::string>& parameters) {
  const unsigned count = counted(msg, sip_field(id));
  cpsip_field_text value;
  value.fill('~');
  unsigned index = 99;
  std::uint32_t length = 99;
  const int result = CPSIP_MsgGetParmValue(msg, id, instance, name, index, value, length);
  if (instance > count) {
    check(result == kAccessNoInstance, "an instance above the count has no parameters");
    return;
  }
  const FoundParameter want = find_parameter(parameters, name);
  check(result == want.result, "a search ends as a plain walk does");
  if (result != kAccessOk) return;
  check(index == want.index, "the parameter that is found");
  if (want.has_value) {
    check(std::string_view(value.data(), length) == want.value, "the value that is found");
  } else {
    check(length == (index != 0 ? 1U : 0U) && value[0] == '~', "a parameter without a value, or none");
  }
}

void check_message(cpsip_msg& msg) {
  check_records(msg);
  for (const auto& [key, text] : texts_of(msg))
    check_pieces(msg, key, text);
  for (const SipField& field : sip_fields()) {
    const unsigned count = CPSIP_MsgGetHdrCnt(msg, field.id);
    if (field.in_chain()) {
      check(count == msg.*field.instances, "instances are counted");
    } else {
      check(count <= 1, "a header that stands once");
    }
    if (field.is_parameter()) check_parameters(msg, field);
  }
}

void check_scanned(cpsip_msg& msg) {
  for (const SipField& field : sip_fields())
    if (field.in_chain())
      check((chain_length(msg, msg.*field.head) & 0xFF) == msg.*field.instances,
            "a record for each instance");
  for (const auto& [key, text] : texts_of(msg)) {
    if (is_line(std::get<0>(key))) continue;
    check(text.size() <= kMaxFieldText, "a token has a limit");
    for (const char c : text)
      check(static_cast<unsigned char>(c) >= ' ' && c != 127, "a token holds nothing that one drops");
    if (sip_field(std::get<0>(key)).is_parameter()) check(!text.empty(), "no parameter is empty");
  }
}

}  // namespace hark::fuzz

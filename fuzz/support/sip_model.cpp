#include "support/sip_model.h"

#include <algorithm>

#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

std::size_t instances_in(const cpsip_msg& msg, const SipField& field) {
  return field.in_chain() ? chain_length(msg, msg.*field.head) : 1;
}

// The field whose text tells whether a header that stands once is there; 0: it is always, or never counted.
std::uint32_t line_of(std::uint32_t id) {
  switch (id) {
    case CPSIP_FLD_REPLACES:
      return CPSIP_FLD_REPLACES;
    case CPSIP_FLD_REFER_TO:
    case CPSIP_FLD_REFER_TO_DISPLAY:
    case CPSIP_FLD_REFER_TO_PARM:
    case CPSIP_FLD_REFER_TO_URI:
      return CPSIP_FLD_REFER_TO;
    case CPSIP_FLD_REFERRED_BY:
    case CPSIP_FLD_REFERRED_BY_URI:
    case CPSIP_FLD_REFERRED_BY_PARM:
      return CPSIP_FLD_REFERRED_BY;
    case CPSIP_FLD_CONTENT_TYPE_LINE:
    case CPSIP_FLD_CONTENT_TYPE:
    case CPSIP_FLD_CONTENT_TYPE_PARM:
      return CPSIP_FLD_CONTENT_TYPE_LINE;
    default:
      return 0;
  }
}

}  // namespace

SipModel::SipModel(cpsip_msg& msg) {
  for (const SipField& field : sip_fields()) {
    const std::size_t instances = instances_in(msg, field);
    if (field.in_chain()) count(field) = msg.*field.instances;
    for (unsigned at = 1; at <= instances; ++at) {
      if (field.is_parameter()) {
        parameters(field, at) = read_parameters(msg, field.id, at);
      } else {
        text(field, at) = read_field(msg, field.id, at, 1);
      }
    }
  }
}

int SipModel::write(const SipField& field, unsigned instance, unsigned parm, const std::string& value) {
  if (field.is_parameter() && parm == 0) return kAccessNoParameter;
  if (value.size() > kMostText) return kAccessTooLong;
  if (field.in_chain()) {
    if (instance == 0 || instance > kMostInstances) return kAccessNoInstance;
    // To clear a parameter of what is not there changes nothing; else all is made that is missing before it.
    if (field.is_parameter() && value.empty() && !has(field, instance)) return kAccessOk;
    count(field) = std::max(count(field), instance);
    (void)text(field, instance);
  }
  if (!field.is_parameter()) {
    text(field, instance) = value;
    return kAccessOk;
  }
  std::vector<std::string>& list = parameters(field, instance);
  if (!value.empty()) {
    list.resize(std::max<std::size_t>(list.size(), parm));
    list[parm - 1] = value;
  } else if (parm <= list.size()) {
    list.erase(list.begin() + (parm - 1));
  }
  return kAccessOk;
}

void SipModel::copy_field(SipModel& from, std::uint32_t id, unsigned instance) {
  const SipField& field = sip_field(id);
  const std::string value = from.known_text(field, instance);
  if (!value.empty()) (void)write(field, instance, 1, value.substr(0, kMaxFieldText));
}

void SipModel::copy_parameters(SipModel& from, std::uint32_t id, unsigned instances) {
  const SipField& field = sip_field(id);
  for (unsigned instance = 1; instance <= instances; ++instance) {
    if (has(field, instance)) parameters(field, instance).clear();
    std::vector<std::string> list = from.known_parameters(field, instance);
    if (list.empty()) continue;
    for (std::string& value : list)
      value.resize(std::min<std::size_t>(value.size(), kMaxFieldText));
    if (field.in_chain()) count(field) = std::max(count(field), instance);
    parameters(field, instance) = std::move(list);
  }
}

unsigned SipModel::counted(const SipField& field) {
  if (field.in_chain()) return count(field);
  if (field.header == "From" || field.header == "To") return 1;
  const std::uint32_t line = line_of(field.id);
  return line == 0 || known_text(sip_field(line), 1).empty() ? 0 : 1;
}

std::string SipModel::known_text(const SipField& field, unsigned instance) {
  return has(field, instance) ? text(field, instance) : std::string();
}

std::vector<std::string> SipModel::known_parameters(const SipField& field, unsigned instance) {
  return has(field, instance) ? parameters(field, instance) : std::vector<std::string>();
}

void SipModel::check_field(cpsip_msg& msg, const SipField& field) {
  check(CPSIP_MsgGetHdrCnt(msg, field.id) == counted(field), "the count of a header");
  const std::size_t instances = instances_in(msg, field);
  check(!field.in_chain() || instances == kept(field), "the instances of a chain");
  for (unsigned at = 1; at <= instances; ++at) {
    if (field.is_parameter()) {
      check(read_parameters(msg, field.id, at) == parameters(field, at), "parameters");
    } else {
      check(read_field(msg, field.id, at, 1) == text(field, at), "a text");
    }
  }
}

void SipModel::check_all(cpsip_msg& msg) {
  for (const SipField& field : sip_fields())
    check_field(msg, field);
}

SipModel::Chain& SipModel::chain(const SipField& field) {
  const Place place{field.record, field.head};
  const auto found =
      std::find_if(chains_.begin(), chains_.end(), [&](const auto& one) { return one.first == place; });
  return found != chains_.end() ? found->second : chains_.emplace_back(place, Chain{}).second;
}

SipModel::Chain& SipModel::reach(const SipField& field, unsigned instance) {
  Chain& one = chain(field);
  one.texts.resize(std::max<std::size_t>(one.texts.size(), field.in_chain() ? instance : 1));
  one.parameters.resize(one.texts.size());
  return one;
}

bool SipModel::has(const SipField& field, unsigned instance) {
  return !field.in_chain() || (instance > 0 && instance <= kept(field));
}

std::string& SipModel::text(const SipField& field, unsigned instance) {
  return reach(field, instance).texts[field.in_chain() ? instance - 1 : 0];
}

std::vector<std::string>& SipModel::parameters(const SipField& field, unsigned instance) {
  return reach(field, instance).parameters[field.in_chain() ? instance - 1 : 0];
}

}  // namespace hark::fuzz

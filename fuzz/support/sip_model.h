// A plain model of what the access by field does to a message: texts in vectors, and counts. The target of
// the access keeps one beside each message.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cpsip/cpsip_msg.h"
#include "support/sip_message.h"

namespace hark::fuzz {

inline constexpr std::size_t kMostText = 0xFFFF;

class SipModel {
 public:
  // What the message holds so far.
  explicit SipModel(cpsip_msg& msg);

  // Returns what the access returns.
  int write(const SipField& field, unsigned instance, unsigned parm, const std::string& value);
  // As the copies do it: a text that is empty is not written, and what is long is cut. Parameters keep their
  // numbers, also behind one that is blank.
  void copy_field(SipModel& from, std::uint32_t id, unsigned instance);
  void copy_parameters(SipModel& from, std::uint32_t id, unsigned instances);

  // The count of the field's header.
  [[nodiscard]] unsigned counted(const SipField& field);
  // Empty for what is not there.
  [[nodiscard]] std::string known_text(const SipField& field, unsigned instance);
  [[nodiscard]] std::vector<std::string> known_parameters(const SipField& field, unsigned instance);

  // The message holds the same.
  void check_field(cpsip_msg& msg, const SipField& field);
  void check_all(cpsip_msg& msg);

 private:
  // The instances of a chain; what is no chain has one.
  struct Chain {
    std::vector<std::string> texts;
    std::vector<std::vector<std::string>> parameters;
  };
  // Where a text is kept: two ids may reach the same.
  struct Place {
    cpsip_field cpsip_msg::*record;
    std::uint16_t cpsip_msg::*head;
    bool operator==(const Place&) const = default;
  };

  Chain& chain(const SipField& field);
  Chain& reach(const SipField& field, unsigned instance);
  [[nodiscard]] bool has(const SipField& field, unsigned instance);
  [[nodiscard]] std::size_t kept(const SipField& field) { return chain(field).texts.size(); }
  std::string& text(const SipField& field, unsigned instance);
  std::vector<std::string>& parameters(const SipField& field, unsigned instance);
  unsigned& count(const SipField& field) { return counts_[field.header]; }

  std::vector<std::pair<Place, Chain>> chains_;
  std::map<std::string_view, unsigned> counts_;
};

}  // namespace hark::fuzz

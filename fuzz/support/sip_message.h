// What the targets of the SIP stack know of a message: its fields by id, all of its texts as they are read
// through the access by field, and what holds for every message, however it came about.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "cpsip/cpsip_msg.h"
#include "cpsip/cpsip_msg_access.h"

namespace hark::fuzz {

// How a field is reached: the record in the message, a parameter of it, an instance of a chain, a parameter
// of an instance.
enum class Reach { direct, parameter, instance, instance_parameter };

struct SipField {
  std::uint32_t id;
  Reach reach;
  std::string_view header;             // the name of the header that it is part of
  cpsip_field cpsip_msg::*record;      // of the first two
  std::uint16_t cpsip_msg::*head;      // of the last two
  std::uint8_t cpsip_msg::*instances;  // the same: the header's count

  [[nodiscard]] bool in_chain() const { return head != nullptr; }
  [[nodiscard]] bool is_parameter() const {
    return reach == Reach::parameter || reach == Reach::instance_parameter;
  }
};

// Every id that reaches a field.
[[nodiscard]] std::span<const SipField> sip_fields();
// *Requires* one of them.
[[nodiscard]] const SipField& sip_field(std::uint32_t id);

inline constexpr unsigned kMostInstances = 255;

// Id, instance, parameter (both 1 where they have no role).
using SipKey = std::tuple<std::uint32_t, unsigned, unsigned>;
// Each instance up to kMostInstances and each parameter of them, also those of no length; direct fields if
// they have a length.
using SipTexts = std::map<SipKey, std::string>;

// A block with the bytes, and room for `slack` more.
[[nodiscard]] cpsip_osa_chain block_of(std::string_view bytes, std::size_t slack = 0);
// The filled bytes of a chain.
[[nodiscard]] std::string text_of(const cpsip_osa_buf* chain);

// The whole of a field, whatever its length. `result` may be null.
[[nodiscard]] std::string read_field(cpsip_msg& msg, std::uint32_t id, unsigned instance, unsigned parm,
                                     int* result = nullptr);
[[nodiscard]] std::vector<std::string> read_parameters(cpsip_msg& msg, std::uint32_t id, unsigned instance);
[[nodiscard]] SipTexts texts_of(cpsip_msg& msg);

// The number of instances in a chain, whatever the count says.
[[nodiscard]] std::size_t chain_length(const cpsip_msg& msg, std::uint16_t head);

// What a plain walk over the parameters finds for `name`.
struct FoundParameter {
  int result = kAccessOk;
  unsigned index = 0;
  bool has_value = false;
  std::string value;
};
[[nodiscard]] FoundParameter find_parameter(const std::vector<std::string>& parameters,
                                            std::string_view name);
// The search of the product finds the same in an instance with these parameters.
void check_search(cpsip_msg& msg, std::uint32_t id, unsigned instance, std::string_view name,
                  const std::vector<std::string>& parameters);

// All that holds for every message: records lie in its blocks, chains end, counts are those of the chains,
// pieces of a text are those of the whole, parameters are found.
void check_message(cpsip_msg& msg);
// What holds for one that was scanned as well: chains of one header run side by side, and tokens hold nothing
// that a token drops.
void check_scanned(cpsip_msg& msg);

}  // namespace hark::fuzz

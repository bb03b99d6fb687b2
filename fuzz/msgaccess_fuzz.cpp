// The access to messages by field id: an input is a row of operations on two messages, the first of which may
// have been received. After each of them the field that it was about reads as a plain model says, and at the
// end all fields of both do.
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/cpsip_msg_scan.h"
#include "support/fuzzing.h"
#include "support/sip_bytes.h"
#include "support/sip_message.h"
#include "support/sip_model.h"

namespace {

using hark::fuzz::Bytes;
using hark::fuzz::check;
using hark::fuzz::kMostText;
using hark::fuzz::SipField;

constexpr std::size_t kMostOperations = 60;
constexpr unsigned kMostParameters = 40;

constexpr std::string_view kReceived =
    "INVITE sip:console@10.0.0.7 SIP/2.0\r\n"
    "Via: SIP/2.0/UDP 10.0.0.12:5060;rport;branch=z9hG4bK1\r\n"
    "Via: SIP/2.0/UDP 10.0.0.13;branch=z9hG4bK2;received = 10.0.0.14\r\n"
    "From: \"Studio 2\" <sip:codec@10.0.0.12>;tag=a6f1\r\n"
    "To: <sip:console@10.0.0.7>\r\n"
    "Contact: <sip:a@b>;q=1, Desk <sip:c@d>;expires=5;x\r\n"
    "Supported: replaces, timer\r\n"
    "Refer-To: <sip:desk@10.0.0.9>;x=y\r\n"
    "X-Station: 7\r\n"
    "Call-ID: 5d0a\r\nCSeq: 1 INVITE\r\n\r\n";

// A message and what it should hold.
struct Subject {
  explicit Subject(hark::cpsip_msg_ptr message) : msg(std::move(message)), model(*msg) {}
  hark::cpsip_msg_ptr msg;
  hark::fuzz::SipModel model;
};

std::string make_text(Bytes& input) {
  static const std::string kPieces = "tag=1 ; branch=z9hG4bK,rport\t= x \"y\" ";
  const unsigned kind = input.below(16);
  if (kind < 8) return kPieces.substr(input.below(30), input.below(20));
  if (kind == 15) return std::string(kMostText + input.below(2), 'z');
  std::string text;
  const std::size_t size = input.word() % 700;
  const char first = static_cast<char>('a' + input.below(26));
  while (text.size() < size)
    text += static_cast<char>(first + text.size() % 7);
  return text;
}

unsigned make_instance(Bytes& input) {
  const unsigned value = input.byte();
  return value < 200 ? value % 5 : value < 240 ? value - 200 : value < 250 ? value + 5 : 300;
}

unsigned make_parameter(Bytes& input) {
  const unsigned value = input.byte();
  return value < 200 ? value % 6 : value < 250 ? value % kMostParameters : 0;
}

const SipField& make_field(Bytes& input) {
  const auto fields = hark::fuzz::sip_fields();
  return fields[input.byte() % fields.size()];
}

void write(Subject& subject, Bytes& input, bool clear) {
  const SipField& field = make_field(input);
  const unsigned instance = make_instance(input);
  const unsigned parm = make_parameter(input);
  std::string value = clear ? std::string() : make_text(input);
  auto length = static_cast<std::uint32_t>(value.size());
  std::uint32_t remaining = 0;
  const int result = hark::CPSIP_MsgAccess(false, *subject.msg, field.id, instance, parm, input.byte(),
                                           input.byte(), value.data(), length, remaining);
  check(result == subject.model.write(field, instance, parm, value), "the result of a write");
  subject.model.check_field(*subject.msg, field);
}

void read(Subject& subject, Bytes& input) {
  const SipField& field = make_field(input);
  const unsigned instance = make_instance(input);
  const unsigned parm = make_parameter(input);
  const std::uint32_t offset = input.below(8) == 0 ? input.number() : input.word() % 800;
  const std::uint32_t max = input.word() % 400;
  const std::unique_ptr<char[]> out(new char[max]);
  std::uint32_t length = 77;
  std::uint32_t remaining = 77;
  const int result = hark::CPSIP_MsgAccess(true, *subject.msg, field.id, instance, parm, offset, max,
                                           out.get(), length, remaining);
  std::string whole;
  int want = hark::kAccessOk;
  if (field.is_parameter()) {
    const auto list = subject.model.known_parameters(field, instance);
    if (parm == 0 || parm > list.size()) {
      want = hark::kAccessNoParameter;
    } else {
      whole = list[parm - 1];
    }
  } else {
    whole = subject.model.known_text(field, instance);
  }
  check(result == want, "the result of a read");
  const std::string rest = whole.substr(std::min<std::size_t>(offset, whole.size()));
  check(std::string_view(out.get(), length) == rest.substr(0, max), "what is read");
  check(remaining == rest.size() - length, "what is cut off");
}

void search(Subject& subject, Bytes& input) {
  static constexpr std::array<std::string_view, 8> kNames{"tag=", "TAG", "branch=", "rport",
                                                          "x",    "b",   "=",       ""};
  const SipField& field = make_field(input);
  if (!field.is_parameter()) return;
  const unsigned instance = std::max(make_instance(input), 1U);
  const auto list = subject.model.known_parameters(field, instance);
  const bool counts = instance <= subject.model.counted(field);
  check(hark::CPSIP_MsgGetParmCnt(*subject.msg, field.id, instance) == (counts ? list.size() : 0),
        "parameters");
  hark::fuzz::check_search(*subject.msg, field.id, instance, kNames[input.below(kNames.size())], list);
}

void nonsense(Subject& subject, Bytes& input) {
  const std::uint32_t id = input.byte() < 200 ? input.byte() : input.number();
  for (const SipField& field : hark::fuzz::sip_fields())
    if (field.id == id) return;
  std::string value = make_text(input);
  auto length = static_cast<std::uint32_t>(value.size());
  std::uint32_t remaining = 0;
  check(hark::CPSIP_MsgAccess(false, *subject.msg, id, 1, 1, 0, 0, value.data(), length, remaining) ==
            hark::kAccessOk,
        "a write to nothing does nothing");
  check(hark::CPSIP_MsgAccess(true, *subject.msg, id, 1, 1, 0, length, value.data(), length, remaining) ==
                hark::kAccessOk &&
            length == 0,
        "a read of nothing reads nothing");
  check(hark::CPSIP_MsgGetHdrCnt(*subject.msg, id) <= 1, "nothing is counted");
}

// `to` gets the field, the parameters, all Contacts or all Vias of `from`.
void copy(Subject& from, Subject& to, Bytes& input) {
  const SipField& field = make_field(input);
  switch (input.below(4)) {
    case 0: {
      if (field.is_parameter()) return;
      const unsigned instance = 1 + input.below(5);
      (void)hark::cpsip_msg_copy_field(*from.msg, *to.msg, instance, field.id);
      to.model.copy_field(from.model, field.id, instance);
      return to.model.check_field(*to.msg, field);
    }
    case 1: {
      if (!field.is_parameter()) return;
      const unsigned instances = input.below(6);
      (void)hark::cpsip_msg_copy_header_parms(*from.msg, *to.msg, instances, field.id);
      to.model.copy_parameters(from.model, field.id, instances);
      return to.model.check_field(*to.msg, field);
    }
    case 2: {
      check(hark::cpsip_msg_copy_contact(*from.msg, *to.msg) == hark::kAccessOk, "Contacts are copied");
      const unsigned count = from.model.counted(hark::fuzz::sip_field(hark::CPSIP_FLD_CONTACT));
      for (unsigned at = 1; at <= count; ++at)
        for (const std::uint32_t id : {2U, 5U})
          to.model.copy_field(from.model, id, at);
      return to.model.copy_parameters(from.model, hark::CPSIP_FLD_CONTACT_PARM, count);
    }
    default: {
      check(hark::cpsip_msg_copy_via(*from.msg, *to.msg) == hark::kAccessOk, "Vias are copied");
      const unsigned count = from.model.counted(hark::fuzz::sip_field(hark::CPSIP_FLD_VIA));
      for (unsigned at = 1; at <= count; ++at)
        for (const std::uint32_t id : {21U, 18U, 20U})
          to.model.copy_field(from.model, id, at);
      return to.model.copy_parameters(from.model, hark::CPSIP_FLD_VIA_PARM, count);
    }
  }
}

// A new message that has all that a dialog needs.
hark::cpsip_msg_ptr deep_copy(Subject& from, bool with_session) {
  // A session whose texts are all empty has no pool.
  if (with_session) from.msg->sdp = std::make_unique<hark::cpsdp_parms>();
  hark::cpsip_msg_ptr copy = hark::CPSIP_MsgCreate(true);
  check(hark::cpsip_msg_copy_sip_msg(*from.msg, *copy) == hark::kAccessOk, "a message is copied");
  for (const std::uint32_t id :
       {1U, 6U, 9U, 10U, 12U, 13U, 16U, 35U, 41U, 51U, 63U, 64U, 66U, 71U, 74U, 76U, 77U, 78U, 85U}) {
    const std::string want =
        from.model.known_text(hark::fuzz::sip_field(id), 1).substr(0, hark::kMaxFieldText);
    check(hark::fuzz::read_field(*copy, id, 1, 1) == want, "a field of the copy");
  }
  check((copy->sdp != nullptr) == (from.msg->sdp != nullptr), "the session of the copy");
  return copy;
}

hark::cpsip_msg_ptr begin(unsigned kind) {
  if (kind < 2) return hark::CPSIP_MsgCreate(kind == 0);
  hark::cpsip_scan scan;
  bool complete = false;
  std::uint32_t left_over = 0;
  const int result =
      hark::cpsip_msg_scan(scan, hark::fuzz::block_of(kReceived, kind == 2 ? 64 : 0), complete, left_over);
  check(result == hark::kScanOk && complete, "a message is received");
  return std::move(scan.scan_msg);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes input(data, size);
  Subject one(begin(input.below(4)));
  Subject two(begin(input.below(2)));
  for (std::size_t at = 0; at < kMostOperations && !input.empty(); ++at) {
    const unsigned operation = input.byte();
    Subject& subject = (operation & 0x80) == 0 ? one : two;
    Subject& other = &subject == &one ? two : one;
    switch (operation & 0xF) {
      case 0:
      case 1:
      case 2:
      case 3:
      case 4:
      case 5:
        write(subject, input, false);
        break;
      case 6:
      case 7:
        write(subject, input, true);
        break;
      case 8:
      case 9:
        read(subject, input);
        break;
      case 10:
      case 11:
        search(subject, input);
        break;
      case 12:
        nonsense(subject, input);
        break;
      case 13:
      case 14:
        copy(subject, other, input);
        break;
      default:
        two = Subject(deep_copy(subject, input.one_in(4)));
        break;
    }
  }
  for (Subject* const subject : {&one, &two}) {
    subject->model.check_all(*subject->msg);
    hark::fuzz::check_message(*subject->msg);
  }
  return 0;
}

// Datagrams from the network: an input is one. Whatever it holds, a message that comes of it reads in good
// order, is copied and written; and a plain one that is written reads back as the same.
#include <algorithm>
#include <string>
#include <vector>

#include "cpsip/cpsip_msg_copy.h"
#include "cpsip/cpsip_msg_format.h"
#include "cpsip/cpsip_msg_scan.h"
#include "support/fuzzing.h"
#include "support/sip_message.h"
#include "support/sip_roundtrip.h"
#include "support/sip_sdp.h"

namespace {

using hark::cpsip_msg;
using hark::fuzz::check;
using hark::fuzz::SipKey;
using hark::fuzz::SipTexts;

constexpr std::size_t kSlack = 64;
constexpr std::string_view kRoute = "10.0.0.1;lr";

// Numbers that are nothing but members.
void same_members(const cpsip_msg& a, const cpsip_msg& b) {
  check(a.method == b.method && a.status_code == b.status_code, "what is asked or answered");
  check(std::string_view(a.unknown_method.data()) == b.unknown_method.data(), "a method of others");
  check(a.cseq == b.cseq && a.cseq_method == b.cseq_method, "CSeq");
  check(a.max_forwards == b.max_forwards && a.expires == b.expires, "numbers");
  check(a.content_kind == b.content_kind && a.content_length == b.content_length, "the kind of the body");
  check(a.content_length_seen == b.content_length_seen, "whether a length was given");
  check(a.scan_status == b.scan_status, "what is told the sender");
  check(a.subscription_state_id == b.subscription_state_id, "the subscription");
  check(a.event_id == b.event_id && a.event_id_parm == b.event_id_parm, "the event");
}

void same_body(const cpsip_msg& a, const cpsip_msg& b) {
  check((a.body == nullptr) == (b.body == nullptr) && (a.sdp == nullptr) == (b.sdp == nullptr), "a body");
  if (a.body != nullptr) {
    check(std::equal(a.body.get(), a.body.get() + a.content_length, b.body.get()), "the bytes of a body");
  }
  if (a.sdp != nullptr)
    hark::fuzz::check_same_session(*a.sdp, a.sdp_text.view(), *b.sdp, b.sdp_text.view(), "a session");
}

// A text as a deep copy has it. A received header that is cut keeps its line end.
std::string cut(std::uint32_t id, const std::string& text) {
  const bool is_line = id == hark::CPSIP_FLD_UNKNOWN && text.ends_with("\r\n");
  if (!is_line || text.size() <= hark::kMaxFieldText) return text.substr(0, hark::kMaxFieldText);
  return text.substr(0, hark::kMaxFieldText - 2) + "\r\n";
}

// What a deep copy has of the texts.
SipTexts copied(const cpsip_msg& msg, const SipTexts& texts) {
  constexpr std::array<std::uint32_t, 42> kCopied{1,  2,  4,  5,  6,  8,  9,  10, 12, 13, 15, 16, 18, 19,
                                                  20, 21, 31, 33, 34, 35, 39, 40, 41, 43, 45, 47, 49, 50,
                                                  51, 53, 54, 63, 64, 65, 66, 69, 71, 74, 76, 77, 78, 79};
  SipTexts some;
  for (const auto& [key, text] : texts) {
    const auto& [id, instance, parm] = key;
    const auto& field = hark::fuzz::sip_field(id);
    const bool is_copied =
        std::find(kCopied.begin(), kCopied.end(), id) != kCopied.end() || id == 85 || id == 86;
    if (!is_copied || (field.in_chain() && instance > msg.*field.instances)) continue;
    if (!text.empty()) some[key] = cut(id, text);
  }
  return some;
}

void without_empty(SipTexts& texts) {
  std::erase_if(texts, [](const auto& one) { return one.second.empty(); });
}

hark::cpsip_msg_ptr copy(cpsip_msg& msg) {
  hark::cpsip_msg_ptr copied_msg = hark::CPSIP_MsgCreate(true);
  check(hark::cpsip_msg_copy_sip_msg(msg, *copied_msg) == 0, "a message is copied");
  return copied_msg;
}

void check_copy(cpsip_msg& msg, cpsip_msg& copy_msg) {
  hark::fuzz::check_message(copy_msg);
  same_members(msg, copy_msg);
  same_body(msg, copy_msg);
  SipTexts have = hark::fuzz::texts_of(copy_msg);
  // Instances are those of the parts that are copied; lines are not, but for these two.
  std::erase_if(have, [](const auto& one) {
    const std::uint32_t id = std::get<0>(one.first);
    return id == hark::CPSIP_FLD_VIA || id == hark::CPSIP_FLD_CONTACT;
  });
  without_empty(have);
  check(have == copied(msg, hark::fuzz::texts_of(msg)), "a copy has all that a dialog needs");
}

struct Scanned {
  explicit Scanned(std::string_view datagram, std::size_t slack = 0) {
    result = hark::cpsip_msg_scan(scan, hark::fuzz::block_of(datagram, slack), complete, left_over);
    check(left_over <= datagram.size(), "what is left over is a part of it");
    const bool answered = result == hark::kScanBodyTooShort || result == hark::kScanBadSdp;
    check(!complete || result == hark::kScanOk, "only a good one is whole");
    check((scan.scan_msg != nullptr) == (complete || answered), "only what is dropped is gone");
    check(answered || result == hark::kScanOk || result == hark::kScanBadHeader ||
              result == hark::kScanBadStartLine || result == hark::kScanNoClosingBracket ||
              result == hark::kScanTokenTooLong,
          "a known result");
  }
  [[nodiscard]] bool has_message() const { return scan.scan_msg != nullptr; }
  [[nodiscard]] cpsip_msg& msg() const { return *scan.scan_msg; }

  hark::cpsip_scan scan;
  bool complete = false;
  std::uint32_t left_over = 0;
  int result;
};

// The message on the wire; nothing when its session cannot be written.
std::string formatted(hark::cpsip_msg_ptr& msg, std::string_view route) {
  hark::cpsip_osa_chain out;
  const bool has_session = msg->content_kind == hark::cpsip_content_kind::sdp && msg->content_length != 0;
  const int result = hark::cpsip_msg_format(*msg, route, out);
  check(out != nullptr && msg != nullptr, "it is written into a block, and stays");
  check(result == 0 || (has_session && result >= hark::kEncodeVersion && result <= hark::kEncodeNoSession),
        "only a session can be in the way");
  check(result == 0 || !has_session || msg->sdp == nullptr || result != hark::kEncodeNoSession,
        "one that is there");
  const std::string text = hark::fuzz::text_of(out.get());
  if (result != 0) return {};
  check(text.find("\r\nContent-Length: ") != std::string::npos, "it tells the length of its body");
  return text;
}

// Writes the message, and reads it again.
void format_and_scan(hark::cpsip_msg_ptr& msg, bool plain) {
  const SipTexts before = hark::fuzz::texts_of(*msg);
  const hark::fuzz::SipFacts facts = hark::fuzz::facts_of(*msg);
  const std::string text = formatted(msg, {});
  check(hark::fuzz::texts_of(*msg) == before, "what is written stays as it was");
  if (text.empty()) return;
  const Scanned again(text);
  if (again.has_message()) hark::fuzz::check_message(again.msg());
  if (!plain) return;
  check(again.has_message() && again.left_over == 0, "what is written reads back, all of it");
  hark::fuzz::check_reads_back(facts, before, again.msg());
}

void format_all(hark::cpsip_msg_ptr msg, std::string_view datagram) {
  const bool plain = hark::fuzz::is_plain(datagram, *msg, hark::fuzz::texts_of(*msg));
  hark::cpsip_msg_ptr first = copy(*msg);
  format_and_scan(msg, plain);
  msg.reset();
  // From here on the copy stands on its own.
  hark::cpsip_msg_ptr second = copy(*first);
  hark::cpsip_msg_ptr third = copy(*second);
  format_and_scan(first, plain);
  hark::cpsip_msg_ptr routed = copy(*second);
  check(formatted(second, {}) == formatted(third, {}), "a copy of a copy is the same on the wire");
  (void)formatted(routed, kRoute);
  hark::fuzz::check_message(*routed);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view datagram =
      hark::fuzz::as_text(data, std::min<std::size_t>(size, hark::kSocketBlockSize));
  Scanned scanned(datagram);
  const Scanned slack(datagram, kSlack);
  check(scanned.result == slack.result && scanned.complete == slack.complete,
        "what is behind it plays no part");
  if (!scanned.has_message()) return 0;
  cpsip_msg& msg = scanned.msg();
  hark::fuzz::check_message(msg);
  hark::fuzz::check_scanned(msg);
  same_members(msg, slack.msg());
  same_body(msg, slack.msg());
  check(hark::fuzz::texts_of(msg) == hark::fuzz::texts_of(slack.msg()), "nor for the texts");
  if (msg.sdp != nullptr) hark::fuzz::check_texts_within(*msg.sdp, msg.sdp_text.view().size());
  check_copy(msg, *copy(msg));
  format_all(std::move(scanned.scan.scan_msg), datagram);
  return 0;
}

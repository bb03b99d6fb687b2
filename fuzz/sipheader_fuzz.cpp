// One header line: an input is the line, which may be folded. It is scanned alone; as the only header of a
// message; and as the first header of a message that has all others. It says the same each time, and the
// others say what they say without it.
#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "cpsip/cpsip_msg_scan.h"
#include "support/fuzzing.h"
#include "support/sip_message.h"

namespace {

using hark::cpsip_msg;
using hark::cpsip_scan;
using hark::fuzz::check;
using hark::fuzz::SipTexts;

constexpr std::string_view kStart = "OPTIONS sip:console@10.0.0.7 SIP/2.0\r\n";
constexpr std::string_view kOthers =
    "Via: SIP/2.0/UDP 10.0.0.12:5060;rport;branch=z9hG4bK1\r\n"
    "Max-Forwards: 70\r\n"
    "From: \"Studio 2\" <sip:codec@10.0.0.12>;tag=a6f1\r\n"
    "To: <sip:console@10.0.0.7>;tag=b\r\n"
    "Call-ID: 5d0a3c11@10.0.0.12\r\n"
    "CSeq: 20871 OPTIONS\r\n"
    "Contact: Codec <sip:codec@10.0.0.12:5060>;expires=60\r\n"
    "Route: <sip:10.0.0.1;lr>\r\n"
    "Record-Route: <sip:10.0.0.2;lr>\r\n"
    "Allow: INVITE, ACK\r\n"
    "Require: replaces\r\n"
    "Proxy-Require: a\r\n"
    "Supported: replaces, timer\r\n"
    "Unsupported: b\r\n"
    "Accept: application/sdp\r\n"
    "Allow-Events: refer\r\n"
    "User-Agent: Codec\r\n"
    "Server: Codec\r\n"
    "Subject: Talkback\r\n"
    "Replaces: 5d0a;to-tag=1;from-tag=2\r\n"
    "Refer-To: Desk <sip:desk@10.0.0.9>;x=y\r\n"
    "Referred-By: Desk <sip:desk@10.0.0.9>;z\r\n"
    "Subscription-State: active;expires=60\r\n"
    "Event: refer;id=7\r\n"
    "X-Station: 7\r\n"
    "Content-Type: text/plain;charset=utf-8\r\n";
constexpr std::string_view kEnd = "\r\n";

// Headers of which the first one stands. Of chains all do, and of the rest the later one or a mix of both.
const std::set<std::string_view> kFirstStands{"To", "From", "Refer-To", "Referred-By", "Replaces"};

// The line without what would end it: each CR goes that does not fold.
std::string one_line(std::string_view data) {
  std::string line;
  for (std::size_t at = 0; at < data.size(); ++at) {
    const std::string_view rest = data.substr(at);
    const bool folds = rest.starts_with("\r\n ") || rest.starts_with("\r\n\t");
    if (data[at] == '\r' && (!folds || line.empty())) continue;
    line += data[at];
    if (folds) line += data[++at];
  }
  return line;
}

struct Scanned {
  // A whole message.
  explicit Scanned(const std::string& datagram) {
    bool complete = false;
    std::uint32_t left_over = 0;
    result = hark::cpsip_msg_scan(scan, hark::fuzz::block_of(datagram), complete, left_over);
    if (has_message()) texts = hark::fuzz::texts_of(*scan.scan_msg);
  }
  // A line alone, behind which another byte lies.
  static Scanned alone(const std::string& line) {
    Scanned one;
    one.scan.scan_msg = hark::CPSIP_MsgCreate(false);
    one.scan.scan_msg->chain = hark::fuzz::block_of(line + "\r\nX");
    one.scan.cur_buf = one.scan.scan_msg->chain.get();
    one.scan.cur_off = hark::kOsaHeaderSize;
    check(hark::cpsip_msg_scan_for_eol(one.scan) && one.scan.line_len == line.size() + 2, "the line ends");
    one.result = hark::cpsip_msg_scan_header_line(one.scan);
    one.texts = hark::fuzz::texts_of(*one.scan.scan_msg);
    return one;
  }
  [[nodiscard]] bool has_message() const { return scan.scan_msg != nullptr; }
  [[nodiscard]] const cpsip_msg& msg() const { return *scan.scan_msg; }

  cpsip_scan scan;
  int result = -1;
  SipTexts texts;

 private:
  Scanned() = default;
};

std::string_view header_of(std::uint32_t id) { return hark::fuzz::sip_field(id).header; }

SipTexts of_header(const SipTexts& texts, std::string_view header) {
  SipTexts some;
  for (const auto& [key, text] : texts)
    if (header_of(std::get<0>(key)) == header) some[key] = text;
  return some;
}

// `first`, and behind its instances those of `second`.
SipTexts joined(const Scanned& first, const SipTexts& second) {
  SipTexts both = first.texts;
  for (const auto& [key, text] : second) {
    const auto& field = hark::fuzz::sip_field(std::get<0>(key));
    const std::size_t before = hark::fuzz::chain_length(first.msg(), first.msg().*field.head);
    both[{field.id, static_cast<unsigned>(before) + std::get<1>(key), std::get<2>(key)}] = text;
  }
  return both;
}

void same_numbers(const cpsip_msg& a, const cpsip_msg& b) {
  check(a.max_forwards == b.max_forwards && a.cseq == b.cseq && a.expires == b.expires, "numbers");
  check(a.cseq_method == b.cseq_method && a.content_kind == b.content_kind, "kinds");
  check(a.subscription_state_id == b.subscription_state_id && a.event_id == b.event_id &&
            a.event_id_parm == b.event_id_parm,
        "events");
  check(a.scan_status == b.scan_status, "what is told the sender");
}

void same_alone(const Scanned& alone, const Scanned& only) {
  if (alone.result != hark::kScanOk) {
    check(only.result == alone.result && !only.has_message(), "a bad line drops its message");
    return;
  }
  check(only.result == hark::kScanOk || only.result == hark::kScanBodyTooShort, "a good line drops none");
  check(only.has_message(), "the message stays");
  SipTexts texts = only.texts;
  std::erase_if(texts, [](const auto& one) { return header_of(std::get<0>(one.first)) == "start"; });
  check(texts == alone.texts, "a line says the same in a message");
  same_numbers(alone.msg(), only.msg());
}

// `both` has the line ahead of the headers of `others`.
void same_among_others(const Scanned& alone, const Scanned& others, const Scanned& both) {
  std::set<std::string_view> headers;
  for (const auto& [key, text] : alone.texts)
    headers.insert(header_of(std::get<0>(key)));
  check(headers.size() <= 1, "a line is one header");
  std::set<std::string_view> done;
  for (const auto& field : hark::fuzz::sip_fields()) {
    const std::string_view name = field.header;
    if (!done.insert(name).second) continue;
    const SipTexts got = of_header(both.texts, name);
    if (!headers.contains(name)) {
      check(got == of_header(others.texts, name), "another header says what it says alone");
    } else if (kFirstStands.contains(name)) {
      check(got == of_header(alone.texts, name), "the first stands");
      check(both.msg().scan_status >= 400, "and a second is told");
    } else if (field.in_chain() && hark::fuzz::chain_length(alone.msg(), alone.msg().*field.head) < 200) {
      check(got == joined(alone, of_header(others.texts, name)), "instances in their order");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string line = one_line(hark::fuzz::as_text(data, size));
  if (line.empty() || line.front() == ' ' || line.front() == '\t') return 0;
  const Scanned alone = Scanned::alone(line);
  if (alone.result == hark::kScanOk) {
    hark::fuzz::check_message(*alone.scan.scan_msg);
    hark::fuzz::check_scanned(*alone.scan.scan_msg);
  }
  const std::string header = line + "\r\n";
  same_alone(alone, Scanned(std::string(kStart) + header + std::string(kEnd)));
  if (alone.result != hark::kScanOk) return 0;
  static const Scanned others(std::string(kStart) + std::string(kOthers) + std::string(kEnd));
  const Scanned both(std::string(kStart) + header + std::string(kOthers) + std::string(kEnd));
  check(both.has_message(), "a good line drops no message");
  same_among_others(alone, others, both);
  return 0;
}

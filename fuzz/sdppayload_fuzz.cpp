// Payload types, as far as descriptions hold them: an input is lines. The first one is a list of
// telephone-event values, the second one payload types as the configuration writes them
// ("96=L24/48000/2|9=G722/8000"), and those behind are attributes of a media section that lists some numbers.
// The values are those of a plain reader; payload types come through a description unchanged; an attribute is
// taken as its words say.
#include <algorithm>
#include <array>
#include <bitset>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "cpsdp/cpsdp.h"
#include "support/fuzzing.h"
#include "support/sip_sdp.h"

namespace {

using hark::cpsdp_media;
using hark::cpsdp_parms;
using hark::fuzz::check;

constexpr std::string_view kHead = "v=0\r\no=- 1 1 IN IP4 10.0.0.7\r\ns=-\r\nc=IN IP4 10.0.0.7\r\nt=0 0\r\n";
constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-./:;=_ ";
constexpr std::size_t kLongestWord = 40;
constexpr std::size_t kMostItems = 256;

// What every rtpmap line of a number has when the description does not name it.
const std::map<unsigned, std::string_view> kStatic{
    {0, " PCMU/8000"},    {3, " GSM/8000"},   {4, " G723/8000"},   {5, " DVI4U/8000"},   {6, " DVI4U/16000"},
    {7, " LPC/8000"},     {8, " PCMA/8000"},  {9, " G722/8000"},   {10, " L16/44100/2"}, {11, " L16/44100"},
    {12, " QCELP/8000"},  {13, " CN/8000"},   {14, " MPA/90000"},  {15, " G728/8000"},   {16, " DVI4U/11025"},
    {17, " DVI4U/22050"}, {18, " G729/8000"}, {25, " CelB/90000"}, {26, " JPEG/90000"},  {28, " nv/90000"},
    {31, " H261/90000"},  {32, " MPV/90000"}, {33, " MP2T/90000"}, {34, " H263/90000"}};

bool all_of(std::string_view text, std::string_view characters) {
  return text.find_first_not_of(characters) == std::string_view::npos;
}

bool is_number(std::string_view text, std::size_t most_digits) {
  return !text.empty() && text.size() <= most_digits && all_of(text, "0123456789");
}

unsigned number_of(std::string_view text) {
  return static_cast<unsigned>(std::strtoul(std::string(text).c_str(), nullptr, 10));
}

// Items of digits, or digits, "-", digits, between commas; it ends at the first that is neither.
std::bitset<256> plain_values(std::string_view list) {
  std::bitset<256> values;
  const auto items = hark::fuzz::split(list, ",");
  for (std::size_t at = 0; at < std::min(items.size(), kMostItems); ++at) {
    const std::string& item = items[at];
    const std::size_t dash = std::min(item.find('-'), item.size());
    if (dash == 0) return values;
    const unsigned long first = std::strtoul(item.substr(0, dash).c_str(), nullptr, 10);
    unsigned long last = first;
    if (dash != item.size()) {
      if (dash + 1 == item.size() || item[dash + 1] == '-') return values;
      last = std::strtoul(item.c_str() + dash + 1, nullptr, 10);
    }
    for (unsigned long value = first; value <= std::min(last, 255UL); ++value)
      values.set(value);
    if (std::count(item.begin(), item.end(), '-') > 1) return values;
  }
  return values;
}

void map_values(std::string_view line) {
  // Of its exact size, without an end.
  const std::unique_ptr<char[]> list(new char[line.size()]);
  std::copy(line.begin(), line.end(), list.get());
  std::bitset<256> values;
  hark::cpsdp_map_list_of_telephone_event_values({list.get(), line.size()}, values);
  if (all_of(line, "0123456789,-")) check(values == plain_values(line), "the values of a list");
  std::bitset<256> with_another;
  with_another.set(200);
  hark::cpsdp_map_list_of_telephone_event_values({list.get(), line.size()}, with_another);
  check(with_another == values.set(200), "values are added to those that are there");
}

struct Payload {
  std::string number, name, rate, parameters, fmtp;
};

// The entries that are plain; nothing if one is not, or if a number stands twice.
std::vector<Payload> payloads_of(std::string_view text) {
  std::vector<Payload> payloads;
  for (const std::string& entry : hark::fuzz::split(text, "|")) {
    const auto sides = hark::fuzz::split(entry, " ", 2);
    const auto number = hark::fuzz::split(sides[0], "=", 2);
    if (number.size() < 2 || entry.size() > 2 * kLongestWord || !all_of(entry, kPlain)) return {};
    const auto parts = hark::fuzz::split(number[1], "/", 3);
    if (parts.size() < 2 || parts[0].empty() || !is_number(number[0], 3) || !is_number(parts[1], 9))
      return {};
    const auto same = [&](const Payload& one) { return number_of(one.number) == number_of(number[0]); };
    if (std::any_of(payloads.begin(), payloads.end(), same)) return {};
    payloads.push_back(
        {number[0], parts[0], parts[1], parts.size() > 2 ? parts[2] : "", sides.size() > 1 ? sides[1] : ""});
    if (payloads.size() > hark::kCpsdpMaxFormats) return {};
  }
  return payloads;
}

// A description that owns its body.
struct Description {
  explicit Description(std::string text) : body(std::move(text)) {
    result = hark::CPSDP_ParseSession(body, parms);
  }
  [[nodiscard]] std::string_view operator()(const hark::cpsdp_text& text) const { return text.in(body); }
  [[nodiscard]] const cpsdp_media& medium() const { return *parms.media[0]; }

  std::string body;
  cpsdp_parms parms;
  int result;
};

std::string section(const std::vector<Payload>& payloads) {
  std::string text = std::string(kHead) + "m=audio 5004 RTP/AVP";
  for (const Payload& one : payloads)
    text += " " + one.number;
  text += "\r\n";
  for (const Payload& one : payloads) {
    text += "a=rtpmap:" + one.number + " " + one.name + "/" + one.rate;
    if (!one.parameters.empty()) text += "/" + one.parameters;
    text += "\r\n";
    if (!one.fmtp.empty()) text += "a=fmtp:" + one.number + " " + one.fmtp + "\r\n";
  }
  return text;
}

void check_payloads(const Description& read, const std::vector<Payload>& payloads) {
  check(read.result == 0 && read.medium().fmt_count == payloads.size(), "payload types are taken");
  for (std::size_t at = 0; at < payloads.size(); ++at) {
    const Payload& one = payloads[at];
    check(read.medium().fmt[at] == number_of(one.number), "their numbers, in order");
    check(read(read.medium().rtp_name[at]) == one.name, "their names");
    check(read.medium().rtp_rate[at] == number_of(one.rate), "their rates");
    check(read(read.medium().rtp_param[at]) == one.parameters, "their parameters");
    // The blanks in front of a value are not part of it.
    const std::size_t start = std::min(one.fmtp.find_first_not_of(' '), one.fmtp.size());
    check(read(read.medium().fmtp[at]) == std::string_view(one.fmtp).substr(start),
          "their formats' parameters");
  }
}

// Offered to the same payload types, each of them is common.
void offer_to_itself(const Description& read, const std::vector<Payload>& payloads) {
  Description offer(read.body);
  cpsdp_parms answer;
  std::array<char, 4096> pool{};
  std::uint32_t used = 0;
  const int rejected =
      hark::CPSDP_NegotiateCommonMedia(read.parms, read.body, offer.parms, offer.body, answer, pool, used);
  check(rejected == 0 && answer.m_count == 1, "an answer with the medium");
  hark::fuzz::check_texts_within(answer, used);
  const auto shares_a_beginning = [&](const Payload& a) {
    return std::any_of(payloads.begin(), payloads.end(), [&](const Payload& b) {
      return &a != &b && number_of(a.number) >= 96 && b.name.size() >= a.name.size();
    });
  };
  if (std::any_of(payloads.begin(), payloads.end(), shares_a_beginning)) return;
  check(answer.media[0]->fmt_count == payloads.size(), "all payload types are common");
  for (std::size_t at = 0; at < payloads.size(); ++at) {
    check(answer.media[0]->fmt[at] == number_of(payloads[at].number), "in their order");
    check(answer.media[0]->fmt_local[at] == answer.media[0]->fmt[at], "with their own numbers");
  }
}

void configured(std::string_view line) {
  const std::vector<Payload> payloads = payloads_of(line);
  if (payloads.empty()) return;
  const Description read(section(payloads));
  // A rate of 0 is none, and its format is not written with it.
  check_payloads(read, payloads);
  offer_to_itself(read, payloads);
  std::array<char, 8192> out{};
  std::uint32_t length = 0;
  check(hark::CPSDP_EncodeSession(&read.parms, read.body, out, length) == 0, "they can be written");
  const bool no_rate = std::any_of(payloads.begin(), payloads.end(),
                                   [](const Payload& one) { return number_of(one.rate) == 0; });
  if (!no_rate) check_payloads(Description(std::string(out.data(), length)), payloads);
}

void attributes(const std::vector<std::string>& lines) {
  std::string text = std::string(kHead) + "m=audio 5004 RTP/AVP 0 8 9 18 96 97 98 101\r\n";
  for (std::size_t at = 2; at < lines.size(); ++at)
    text += "a=" + lines[at] + "\r\n";
  const Description read(text);
  hark::fuzz::check_texts_within(read.parms, read.body.size());
  check(read.result == 0 || read.result == 10 || (read.result >= 41 && read.result <= 55) ||
            read.result == 1 || read.result == 2 || read.result == 39 || read.result == 40,
        "a reason of a media section");
  if (read.result != 0 || lines.size() != 3 || !all_of(lines[2], kPlain)) return;
  check(read.medium().a_count <= 1, "one line is one attribute, or none");
  // A plain "ptime:20" and a direction.
  if (lines[2].starts_with("ptime:") && is_number(lines[2].substr(6), 4))
    check(read.medium().ptime == number_of(lines[2].substr(6)), "the packet time");
  if (lines[2] == "recvonly")
    check(read.medium().direction == hark::cpsdp_direction::recvonly, "a direction");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  for (unsigned number = 0; number <= 0xFFFF; ++number) {
    const auto row = kStatic.find(number);
    const std::string_view want = row != kStatic.end() ? row->second : std::string_view{};
    check(hark::cpsdp_static_payload(static_cast<std::uint16_t>(number)) == want, "a static payload type");
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto lines = hark::fuzz::split(hark::fuzz::as_text(data, size), "\n");
  map_values(lines[0]);
  if (lines.size() > 1) configured(lines[1]);
  if (lines.size() > 2) attributes(lines);
  return 0;
}

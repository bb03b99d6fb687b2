#include "tools/harkpanel/browser_message.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace hark::panel_gateway {
namespace {

using Json = nlohmann::json;
using Result = std::variant<BrowserMessage, BadMessage>;

constexpr double kLatestTime = 9007199254740992.0;  // 2^53: beyond it a browser's numbers have gaps
constexpr int kLowestLevel = -1000;
constexpr int kHighestLevel = 120;
constexpr int kLongestStep = 1000;

Result bad(const char* why) { return BadMessage{why}; }

// A member of the object `message`, null when there is none. Nothing below may use json's own checked access:
// it throws, which ends a program without exceptions.
const Json* member(const Json& message, const char* name) {
  const auto at = message.find(name);
  return at != message.end() ? &*at : nullptr;
}

const std::string* text_member(const Json& message, const char* name) {
  const Json* value = member(message, name);
  return value != nullptr ? value->get_ptr<const std::string*>() : nullptr;
}

const bool* bool_member(const Json& message, const char* name) {
  const Json* value = member(message, name);
  return value != nullptr ? value->get_ptr<const bool*>() : nullptr;
}

std::optional<double> number_member(const Json& message, const char* name) {
  const Json* value = member(message, name);
  if (value == nullptr || !value->is_number()) return std::nullopt;
  const auto number = value->get<double>();
  return std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
}

// A whole number in that range.
std::optional<int> int_member(const Json& message, const char* name, int lowest, int highest) {
  const Json* value = member(message, name);
  if (value == nullptr || !value->is_number_integer()) return std::nullopt;
  const auto number = value->get<double>();  // each of the range is exact
  if (number < lowest || number > highest) return std::nullopt;
  return static_cast<int>(number);
}

// The station's lines are made of such texts.
bool is_plain(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) >= ' ' && c != '\x7F'; });
}

Result read_hello(const Json& message) {
  const std::optional<int> version = int_member(message, "v", 0, std::numeric_limits<int>::max());
  if (!version) return bad("hello: no version");
  Hello hello{.version = *version, .token = {}};
  if (member(message, "token") != nullptr) {
    const std::string* token = text_member(message, "token");
    if (token == nullptr) return bad("hello: the token is no text");
    hello.token = *token;
  }
  return BrowserMessage(std::move(hello));
}

Result read_key_event(const Json& message) {
  const std::string* name = text_member(message, "key");
  const std::optional<Signature> key = name != nullptr ? read_key(*name) : std::nullopt;
  if (!key) return bad("key: no such key");
  const bool* down = bool_member(message, "down");
  if (down == nullptr) return bad("key: neither down nor up");
  const std::optional<double> at = number_member(message, "at");
  if (!at || *at < 0 || *at > kLatestTime) return bad("key: no time, or a bad one");
  KeyEvent event{.key = *key, .down = *down, .at_ms = *at};
  if (member(message, "cancel") != nullptr) {
    const bool* cancel = bool_member(message, "cancel");
    if (cancel == nullptr) return bad("key: cancel is neither true nor false");
    event.cancelled = *cancel;
  }
  return BrowserMessage(event);
}

std::optional<Signature> read_fader(std::string_view text) {
  if (text == "SPKV") return kSpeakerVolume;
  const std::optional<Signature> key = read_key(text);
  if (!key || !sig_between(*key, kListen00 + 1, mksig(kListen00, kHighestKeyNumber))) return std::nullopt;
  return key;
}

Result read_fader_move(const Json& message) {
  const std::string* name = text_member(message, "key");
  const std::optional<Signature> fader = name != nullptr ? read_fader(*name) : std::nullopt;
  if (!fader) return bad("fader: no such fader");
  const bool to = member(message, "to") != nullptr;
  const bool by = member(message, "by") != nullptr;
  if (to == by) return bad("fader: needs one of to and by");
  FaderMove move{.fader = *fader, .to = {}, .by = {}};
  if (to) move.to = int_member(message, "to", kLowestLevel, kHighestLevel);
  if (by) move.by = int_member(message, "by", -kLongestStep, kLongestStep);
  if (!move.to && !move.by) return bad("fader: beyond its range, or no whole number");
  return BrowserMessage(move);
}

Result read_caller(const Json& message) {
  const std::string* label = text_member(message, "label");
  if (label == nullptr) return bad("caller: no label");
  if (label->size() > kMaxLabel) return bad("caller: the label is too long");
  if (!is_plain(*label)) return bad("caller: control characters in the label");
  return BrowserMessage(ChooseCaller{*label});
}

Result read_shift(const Json& message) {
  const std::string* name = text_member(message, "name");
  if (name == nullptr || name->empty()) return bad("shift: no name");
  if (name->size() > kMaxLabel) return bad("shift: the name is too long");
  if (!is_plain(*name)) return bad("shift: control characters in the name");
  return BrowserMessage(SelectShift{*name});
}

Result read_echo(const Json& message) {
  const std::optional<double> number = number_member(message, "n");
  return number ? Result(BrowserMessage(Echo{*number})) : bad("echo: no number");
}

Result read_retry(const Json&) { return BrowserMessage(Retry{}); }

struct Kind {
  std::string_view name;
  Result (*read)(const Json& message);
};

// value of "t", reader
constexpr std::array<Kind, 7> kKinds{{
    {"hello", read_hello},
    {"key", read_key_event},
    {"fader", read_fader_move},
    {"caller", read_caller},
    {"shift", read_shift},
    {"echo", read_echo},
    {"retry", read_retry},
}};

constexpr std::array<Signature, 7> kKeysWithoutNumber{kListenAa,  kTalkAa,      kBothAa, kAssign,
                                                      kGroupTalk, kSpeakerMute, kMicMute};

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::optional<Signature> read_key(std::string_view text) {
  constexpr std::size_t kLength = 4;
  if (text.size() != kLength) return std::nullopt;
  const Signature key = read_sig(text.data());
  if (std::find(kKeysWithoutNumber.begin(), kKeysWithoutNumber.end(), key) != kKeysWithoutNumber.end())
    return key;
  const bool channel = text[0] == 'K' && (text[1] == 'L' || text[1] == 'T' || text[1] == 'X');
  if (!channel || !is_digit(text[2]) || !is_digit(text[3])) return std::nullopt;
  const int number = sigidx(key);
  return number >= 1 && number <= kHighestKeyNumber ? std::optional<Signature>(key) : std::nullopt;
}

std::variant<BrowserMessage, BadMessage> read_browser_message(std::string_view text) {
  if (text.size() > kMaxMessage) return bad("too large");
  // The parser takes a NUL for the end of the text, and would pass over what stands behind it.
  if (text.find('\0') != std::string_view::npos) return bad("not JSON");
  const Json message = Json::parse(text.begin(), text.end(), nullptr, false);
  if (message.is_discarded()) return bad("not JSON");
  if (!message.is_object()) return bad("no JSON object");
  const std::string* name = text_member(message, "t");
  if (name == nullptr) return bad("no kind of message");
  const auto* kind =
      std::find_if(kKinds.begin(), kKinds.end(), [name](const Kind& row) { return row.name == *name; });
  return kind != kKinds.end() ? kind->read(message) : bad("no such kind of message");
}

}  // namespace hark::panel_gateway

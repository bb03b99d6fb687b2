#include "tools/harkpanel/gateway_message.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "tools/control/control_lines.h"
#include "tools/harkpanel/browser_message.h"

namespace hark::panel_gateway {
namespace {

using Json = nlohmann::json;

// Labels come from stations, which may write them in any encoding: what is no UTF-8 becomes U+FFFD.
std::string to_text(const Json& message) {
  return message.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const char* word_of(Lamp lamp) {
  switch (lamp) {
    case Lamp::kOn:
      return "on";
    case Lamp::kFlash:
      return "flash";
    case Lamp::kWink:
      return "wink";
    case Lamp::kOff:
      break;
  }
  return "off";
}

const char* word_of(Link link) {
  switch (link) {
    case Link::kUp:
      return "up";
    case Link::kLost:
      return "lost";
    case Link::kConnecting:
      break;
  }
  return "connecting";
}

// A connection is not yet an answer: one that hangs, or turns others away, takes connections too.
Json station_part(const StationView& view) {
  const bool unanswered = view.link() == Link::kUp && !view.answered();
  return {{"link", word_of(unanswered ? Link::kConnecting : view.link())},
          {"name", view.station_name()},
          {"why", view.why()},
          {"retryMs", view.retry_ms()}};
}

Json channels_part(const StationView& view, const std::vector<bool>& wanted) {
  Json channels = Json::array();
  for (std::size_t i = 0; i != wanted.size(); ++i) {
    if (!wanted[i]) continue;
    const StationView::Channel channel = view.channel(static_cast<int>(i));
    channels.push_back({{"n", channel.number},
                        {"text", channel.text},
                        {"alt", channel.alt},
                        {"listen", word_of(channel.listen)},
                        {"talk", word_of(channel.talk)},
                        {"noTalk", channel.no_talk},
                        {"level", channel.level}});
  }
  return channels;
}

Json auto_answer_part(const StationView& view) {
  const StationView::Channel channel = view.auto_answer();
  return {{"text", channel.text},
          {"alt", channel.alt},
          {"listen", word_of(channel.listen)},
          {"talk", word_of(channel.talk)}};
}

Json keys_part(const StationView& view) {
  Json keys = Json::object();
  for (const Signature key : kFunctionKeys)
    keys[sig_text(key).data()] = word_of(view.function_key(key));
  return keys;
}

Json calls_part(const StationView& view) {
  Json calls = Json::array();
  for (const control::Call& call : view.calls()) {
    if (calls.size() == kMostCallsTold) break;
    calls.push_back({{"url", call.url},
                     {"name", call.name},
                     {"talk", std::string(1, call.talk)},
                     {"listen", std::string(1, call.listen)},
                     {"talkWord", std::string(control::word_of(call.talk))},
                     {"listenWord", std::string(control::word_of(call.listen))},
                     {"rings", call.rings()}});
  }
  return calls;
}

}  // namespace

std::string welcome_message(const StationView& view) {
  return to_text({{"t", "welcome"},
                  {"v", kProtocolVersion},
                  {"id", view.id()},
                  {"first", view.first_key()},
                  {"last", view.first_key() + view.nkeys() - 1},
                  {"autoAnswer", view.offers_auto_answer()}});
}

std::string state_message(const StationView& view, const Parts& parts) {
  Json message = Json::object();
  message["t"] = "state";
  if (parts.station) message["station"] = station_part(view);
  if (std::find(parts.channels.begin(), parts.channels.end(), true) != parts.channels.end())
    message["channels"] = channels_part(view, parts.channels);
  if (parts.auto_answer) message["autoAnswer"] = auto_answer_part(view);
  if (parts.function_keys) message["keys"] = keys_part(view);
  if (parts.speaker) message["speaker"] = view.speaker_level();
  if (parts.outputs) message["outputs"] = {{"talk", view.talking()}, {"listen", view.listening()}};
  if (parts.calls) message["calls"] = calls_part(view);
  if (parts.shifts)
    message["shifts"] = {{"names", view.shifts().names()}, {"chosen", view.shifts().chosen()}};
  return to_text(message);
}

std::string released_message(const std::vector<Signature>& keys, std::string_view why) {
  Json names = Json::array();
  for (const Signature key : keys)
    names.push_back(sig_text(key).data());
  return to_text({{"t", "released"}, {"keys", std::move(names)}, {"why", std::string(why)}});
}

std::string echo_message(double number) {
  constexpr double kLargestWhole = 9007199254740992.0;  // 2^53
  // As the browser wrote it: 17, not 17.0.
  const bool whole = std::trunc(number) == number && std::fabs(number) <= kLargestWhole;
  Json message = {{"t", "echo"}, {"n", number}};
  if (whole) message["n"] = static_cast<std::int64_t>(number);
  return to_text(message);
}

std::string said_by_page(std::string_view text) {
  constexpr auto kLetterMask = 0xC0;
  constexpr auto kWithinLetter = 0x80;
  const Json shown = Json::parse(to_text(std::string(text)), nullptr, false);
  const auto* said = shown.get_ptr<const std::string*>();
  if (said == nullptr) return {};
  std::size_t size = std::min(said->size(), kMaxLabel);
  while (size < said->size() && (static_cast<unsigned char>((*said)[size]) & kLetterMask) == kWithinLetter)
    --size;
  while (size != 0 && (*said)[size - 1] == ' ')
    --size;
  return said->substr(0, size);
}

std::string refused_message(std::string_view why) {
  return to_text({{"t", "refused"}, {"why", std::string(why)}});
}

}  // namespace hark::panel_gateway

// Session descriptions for tests: see the header.
#include "cpsdp/sdp_fixture.h"

#include <gtest/gtest.h>

#include <span>
#include <utility>

namespace hark::test {

std::string Lines(std::initializer_list<std::string_view> lines) {
  std::string body;
  for (const std::string_view line : lines) {
    body.append(line).append("\r\n");
  }
  return body;
}

std::string Session(std::initializer_list<std::string_view> lines) {
  return Lines({"v=0", "o=- 1 2 IN IP4 192.0.2.1", "s=-", "c=IN IP4 192.0.2.1", "t=0 0"}) + Lines(lines);
}

std::string InMedia(std::initializer_list<std::string_view> lines) {
  return Session({"m=audio 5004 RTP/AVP 0 18 96 97"}) + Lines(lines);
}

std::string Times(std::size_t count, std::string_view unit) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text.append(unit);
  }
  return text;
}

const cpsdp_media& Description::Medium(std::size_t index) const {
  static const cpsdp_media kNone;
  if (index >= parms.media.size() || parms.media[index] == nullptr) {
    ADD_FAILURE() << "no medium " << index;
    return kNone;
  }
  return *parms.media[index];
}

cpsdp_text Description::Add(std::string_view text) {
  const cpsdp_text place{.length = static_cast<std::uint8_t>(text.size()),
                         .offset = static_cast<std::uint16_t>(pool.size())};
  pool.insert(pool.end(), text.begin(), text.end());
  pool.shrink_to_fit();
  return place;
}

Description Parse(std::string_view body) {
  Description result;
  result.pool.assign(body.begin(), body.end());
  result.reason = CPSDP_ParseSession(result.pool, result.parms);
  return result;
}

Encoded Encode(const cpsdp_parms& parms, std::string_view pool, std::size_t capacity) {
  std::vector<char> out(capacity);
  std::uint32_t length = 0;
  Encoded result;
  result.error = CPSDP_EncodeSession(&parms, pool, out, length);
  EXPECT_LE(length, capacity);
  if (length <= capacity) {
    result.text.assign(out.data(), length);
  }
  return result;
}

Encoded Encode(const Description& description, std::size_t capacity) {
  return Encode(description.parms, description.Pool(), capacity);
}

std::string Answer::Formats(std::size_t index) const {
  const cpsdp_media& medium = Medium(index);
  std::string list;
  for (std::size_t i = 0; i < medium.fmt_count && i < kCpsdpMaxFormats; ++i) {
    list.append(list.empty() ? "" : " ").append(std::to_string(medium.fmt[i]));
    list.append("/").append(std::to_string(medium.fmt_local[i]));
  }
  return list;
}

std::string Answer::Fmtp(std::size_t format, std::size_t index) const {
  return Text(Medium(index).fmtp.at(format));
}

Answer Negotiate(const Description& local, Description& offer, std::size_t room) {
  Answer answer;
  answer.pool.assign(room, '\0');
  answer.rejected = CPSDP_NegotiateCommonMedia(local.parms, local.Pool(), offer.parms, offer.Pool(),
                                               answer.parms, answer.pool, answer.pool_len);
  EXPECT_LE(answer.pool_len, room);
  return answer;
}

Answer Negotiate(std::string_view local, std::string_view offer) {
  const Description ours = Parse(local);
  Description theirs = Parse(offer);
  EXPECT_EQ(ours.reason, 0) << local;
  EXPECT_EQ(theirs.reason, 0) << offer;
  return Negotiate(ours, theirs);
}

}  // namespace hark::test

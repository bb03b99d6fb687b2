// The answer to an offer. An input is two descriptions: behind a "t" two bodies with a line of "====" between
// them, the local one and the offer; behind any other byte two records that it makes up. The answer has the
// offered media, with formats that both sides have, and texts of its own pool.
#include <algorithm>
#include <array>
#include <bitset>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cpsdp/cpsdp.h"
#include "support/fuzzing.h"
#include "support/sip_case.h"
#include "support/sip_sdp.h"

namespace {

using hark::cpsdp_direction;
using hark::cpsdp_media;
using hark::cpsdp_parms;
using hark::cpsdp_text;
using hark::fuzz::check;
using hark::fuzz::same_in_any_case;

constexpr std::size_t kUsualPool = 1024;
constexpr std::size_t kAmplePool = 0x4000;
constexpr std::size_t kLongAttribute = 129;  // characters: it is left out
constexpr unsigned kFirstDynamic = 96;
constexpr std::string_view kBetween = "\n====\n";

struct Side {
  cpsdp_parms parms;
  std::string pool;
  [[nodiscard]] std::string_view operator()(const cpsdp_text& text) const { return text.in(pool); }
};

using Formats = std::vector<std::pair<unsigned, unsigned>>;  // offered and local number

// The local medium that an offered one is answered with.
const cpsdp_media* partner(const Side& local, const cpsdp_media& offered) {
  for (std::size_t at = 0; at < local.parms.m_count; ++at) {
    const cpsdp_media& media = *local.parms.media[at];
    if (media.m_type == offered.m_type && media.m_proto == offered.m_proto) return &media;
  }
  return nullptr;
}

// The formats that both have, by a plain walk.
Formats common_formats(const Side& offer, const cpsdp_media& offered, const Side& local,
                       const cpsdp_media& mine) {
  Formats common;
  std::array<bool, hark::kCpsdpMaxFormats> used{};
  for (std::size_t far = 0; far < offered.fmt_count; ++far) {
    const std::string_view name = offer(offered.rtp_name[far]);
    for (std::size_t near = 0; near < mine.fmt_count; ++near) {
      if (used[near] || common.size() == hark::kCpsdpMaxFormats) continue;
      const std::string_view local_name = local(mine.rtp_name[near]).substr(0, name.size());
      const bool names = !name.empty() && same_in_any_case(name, local_name);
      const bool is_common = offered.fmt[far] < kFirstDynamic
                                 ? offered.fmt[far] == mine.fmt[near]
                                 : names && offered.rtp_rate[far] == mine.rtp_rate[near];
      if (!is_common) continue;
      used[near] = true;
      common.emplace_back(offered.fmt[far], mine.fmt[near]);
    }
  }
  return common;
}

cpsdp_direction mirrored(cpsdp_direction offered) {
  switch (offered) {
    case cpsdp_direction::none:
      return cpsdp_direction::sendrecv;
    case cpsdp_direction::sendonly:
      return cpsdp_direction::recvonly;
    case cpsdp_direction::recvonly:
      return cpsdp_direction::sendonly;
    default:
      return offered;
  }
}

// The one format of that name; nothing if there is none or more.
std::optional<std::size_t> only_format(std::string_view pool, const cpsdp_media& media,
                                       std::string_view name) {
  std::optional<std::size_t> found;
  for (std::size_t at = 0; at < media.fmt_count; ++at) {
    // Any beginning of the name may be taken for it.
    const std::string_view here = media.rtp_name[at].in(pool);
    const std::size_t size = std::min(here.size(), name.size());
    if (size == 0 || !same_in_any_case(here.substr(0, size), name.substr(0, size))) continue;
    if (found || size != here.size() || size != name.size()) return std::nullopt;
    found = at;
  }
  return found;
}

std::bitset<256> events(std::string_view list) {
  std::bitset<256> values;
  hark::cpsdp_map_list_of_telephone_event_values(list, values);
  return values;
}

// The values that both sides have, and 0.
void check_events(const Side& offer, const cpsdp_media& offered, const Side& local, const cpsdp_media& mine,
                  std::string_view pool, const cpsdp_media& answer) {
  constexpr std::string_view kName = "telephone-event";
  const auto far = only_format(offer.pool, offered, kName);
  const auto near = only_format(local.pool, mine, kName);
  const auto at = only_format(pool, answer, kName);
  if (!far || !near || !at || offered.fmtp[*far].empty() || mine.fmtp[*near].empty()) return;
  if (offered.fmt[*far] < kFirstDynamic || offered.rtp_rate[*far] != mine.rtp_rate[*near]) return;
  const std::string_view list = answer.fmtp[*at].in(pool);
  check(list.starts_with('0') && list.find_first_not_of("0123456789,-") == std::string_view::npos,
        "a list of values");
  auto want = events(offer(offered.fmtp[*far])) & events(local(mine.fmtp[*near]));
  // No range begins at the last value.
  if (!want.test(254)) want.reset(255);
  // A list that is too long is cut.
  if (want.count() > 40) return;
  check(events(list) == want.set(0), "the values that both sides have");
}

class Check {
 public:
  Check(const Side& local, const Side& offer, const cpsdp_parms& answer, std::string_view pool)
      : local_(local), offer_(offer), answer_(answer), pool_(pool) {}

  // `rejected` is what the negotiation returned. A wild pool may have left texts out.
  void all(int rejected) const {
    check(answer_.m_count == offer_.parms.m_count, "each offered medium is answered");
    int without = 0;
    for (std::size_t at = 0; at < answer_.m_count; ++at) {
      const cpsdp_media* const mine = partner(local_, *offer_.parms.media[at]);
      if (mine == nullptr) {
        ++without;
        check(answer_.media[at]->m_port == 0, "what nobody can answer is rejected");
      } else {
        medium(*offer_.parms.media[at], *mine, *answer_.media[at]);
      }
    }
    check(rejected == without, "rejected media are counted");
    attributes(offer_.parms.a_attr, offer_.parms.a_count, local_.parms.a_attr, local_.parms.a_count,
               answer_.a_attr, answer_.a_count);
  }

 private:
  template <typename Texts>
  void attributes(const Texts& offered, std::size_t count, const Texts& mine, std::size_t mine_count,
                  const Texts& answer, std::size_t answer_count) const {
    check(answer_count == count, "an attribute that goes still counts");
    for (std::size_t at = 0; at < count; ++at) {
      const std::string_view kept = answer[at].in(pool_);
      if (kept.empty()) continue;
      check(kept == offer_(offered[at]) && kept.size() < kLongAttribute,
            "an attribute stays as it is or goes");
      const auto name = [](std::string_view text) { return text.substr(0, text.find(':')); };
      const bool known = std::any_of(mine.begin(), mine.begin() + static_cast<std::ptrdiff_t>(mine_count),
                                     [&](const cpsdp_text& one) { return name(local_(one)) == name(kept); });
      check(known, "an attribute that stays is one of ours");
    }
  }

  void medium(const cpsdp_media& offered, const cpsdp_media& mine, const cpsdp_media& answer) const {
    check(answer.m_type == offered.m_type && answer.m_proto == offered.m_proto,
          "type and protocol are offered");
    check(answer.m_port == mine.m_port && answer.m_nports == mine.m_nports, "ports are ours");
    check(answer.direction == mirrored(offered.direction), "the direction is mirrored");
    const Formats want = common_formats(offer_, offered, local_, mine);
    check(answer.fmt_count == want.size(), "all common formats and no others");
    for (std::size_t at = 0; at < want.size(); ++at) {
      check(answer.fmt[at] == want[at].first && answer.fmt_local[at] == want[at].second,
            "formats in the order of the offer, with both numbers");
      g729(offered, answer, at);
    }
    check_events(offer_, offered, local_, mine, pool_, answer);
    if (!want.empty())
      attributes(offered.a_attr, offered.a_count, mine.a_attr, mine.a_count, answer.a_attr, answer.a_count);
  }

  void g729(const cpsdp_media&, const cpsdp_media& answer, std::size_t at) const {
    constexpr unsigned kG729 = 18;
    const auto number = std::count(answer.fmt.begin(), answer.fmt.begin() + answer.fmt_count, kG729);
    const bool event =
        std::any_of(answer.rtp_name.begin(), answer.rtp_name.end(), [&](const cpsdp_text& name) {
          return !name.empty() && (name.in(pool_)[0] == 't' || name.in(pool_)[0] == 'T');
        });
    if (answer.fmt[at] != kG729 || number != 1 || event) return;
    const std::string_view text = answer.fmtp[at].in(pool_);
    check(text == "annexb=yes" || text == "annexb=no", "annexb is settled");
  }

  const Side& local_;
  const Side& offer_;
  const cpsdp_parms& answer_;
  const std::string_view pool_;
};

void encode(const cpsdp_parms& answer, std::string_view pool) {
  for (const std::size_t room : {hark::kCpsdpMaxEncoded, std::size_t{0x10000}}) {
    const std::unique_ptr<char[]> out(new char[room]);
    std::uint32_t length = 0;
    (void)hark::CPSDP_EncodeSession(&answer, pool, {out.get(), room}, length);
    check(length <= room, "the answer's text fits");
  }
}

// `sound`: texts lie in their pools, and hold no NUL, which ends a name in a comparison.
void negotiate(const Side& local, const Side& offered, std::size_t room, bool sound) {
  Side offer;
  offer.parms.copy_from(offered.parms);
  offer.pool = offered.pool;
  const std::unique_ptr<char[]> bytes(new char[room]);
  std::fill_n(bytes.get(), room, '\0');
  cpsdp_parms answer;
  std::uint32_t used = 0;
  const int rejected = hark::CPSDP_NegotiateCommonMedia(local.parms, local.pool, offer.parms, offer.pool,
                                                        answer, {bytes.get(), room}, used);
  check(used <= room, "the pool is not left");
  const std::string_view pool(bytes.get(), used);
  hark::fuzz::check_counts(answer);
  check(rejected >= 0 && rejected <= answer.m_count, "media are rejected one by one");
  encode(answer, pool);
  if (!sound) return;
  hark::fuzz::check_texts_within(answer, used);
  if (room < kAmplePool) return;
  check(pool.starts_with(offered.pool), "the offer's texts stay in their places");
  Check(local, offered, answer, pool).all(rejected);
}

Side parsed(std::string_view text) {
  Side side{.parms = {}, .pool = std::string(text)};
  // What is left of a failure is a record too, but for a medium that was begun.
  (void)hark::CPSDP_ParseSession(side.pool, side.parms);
  return side;
}

Side made_up(hark::fuzz::Bytes& input) {
  Side side;
  side.pool = input.take(input.byte());
  side.parms = hark::fuzz::make_session(input, false);
  return side;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  hark::fuzz::mute_output();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  if (data[0] == 't') {
    const std::string_view texts = hark::fuzz::as_text(data + 1, size - 1);
    const std::size_t cut = texts.find(kBetween);
    if (cut == std::string_view::npos || size > kUsualPool * 4) return 0;
    const Side local = parsed(texts.substr(0, cut + 1));
    const Side offer = parsed(texts.substr(cut + kBetween.size()));
    const bool sound = texts.find('\0') == std::string_view::npos;
    negotiate(local, offer, kAmplePool, sound);
    // A body from a far station is not longer than the pool.
    negotiate(local, offer, kUsualPool, sound && offer.pool.size() <= kUsualPool);
    negotiate(local, offer, offer.pool.size() + 3, sound);
    negotiate(local, offer, offer.pool.size() / 2, false);
    return 0;
  }
  hark::fuzz::Bytes input(data + 1, size - 1);
  const Side local = made_up(input);
  const Side offer = made_up(input);
  negotiate(local, offer, kAmplePool, false);
  negotiate(local, offer, kUsualPool, false);
  negotiate(local, offer, data[0], false);
  return 0;
}

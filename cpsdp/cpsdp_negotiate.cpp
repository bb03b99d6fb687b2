// The answer to an offer: for each offered medium the formats that both sides have, in the order of the
// offer. It never fails as such; no common format gives a medium without formats, and the caller refuses the
// call.
#include <algorithm>

#include "base/text.h"
#include "cpsdp/cpsdp_events.h"
#include "cpsdp/cpsdp_pool.h"
#include "cpsip/cpapp.h"

namespace hark {
namespace {

constexpr std::size_t kMaxComparedAttribute = 128;
constexpr std::uint16_t kFirstDynamic = 96;
constexpr std::uint16_t kG729 = 18;
constexpr std::string_view kAnnexbNo = "annexb=no";
constexpr std::string_view kAnnexbYes = "annexb=yes";
constexpr std::string_view kTelephoneEvent = "telephone-event";

std::string_view name_of(std::string_view attribute) { return attribute.substr(0, attribute.find(':')); }

cpsdp_direction mirrored(cpsdp_direction direction) {
  if (direction == cpsdp_direction::sendonly) return cpsdp_direction::recvonly;
  if (direction == cpsdp_direction::recvonly) return cpsdp_direction::sendonly;
  return direction;
}

std::size_t formats_of(const cpsdp_media& media) {
  return std::min<std::size_t>(media.fmt_count, kCpsdpMaxFormats);
}

// One side: its record, and the pool of its texts.
struct Side {
  const cpsdp_parms& parms;
  std::string_view pool;

  [[nodiscard]] std::size_t media_count() const {
    return std::min<std::size_t>(parms.m_count, kCpsdpMaxMedia);
  }
  [[nodiscard]] std::string_view text(const cpsdp_text& text) const { return text.in(pool); }
  // What a format's event list is read from. Kept: without format parameters it is whatever the pool begins
  // with, which is no number as a rule.
  [[nodiscard]] std::string_view events(const cpsdp_text& fmtp) const {
    return fmtp.empty() ? pool : text(fmtp);
  }
};

// A pair of media, and what is noted while their formats are matched.
struct Match {
  const cpsdp_media& local;
  const cpsdp_media& offer;
  cpsdp_media& answer;
  std::size_t common = 0;  // formats in the answer so far
  std::array<bool, kCpsdpMaxFormats> local_used{};
  // Places of the telephone-event format in the offer, the local list and the answer, and of G.729 in the
  // answer.
  int offered_events = -1;
  int local_events = -1;
  int answer_events = -1;
  int answer_g729 = -1;
  bool annexb = true;
};

class Negotiation {
 public:
  Negotiation(const Side& local, cpsdp_parms& offer_parms, std::string_view offer_pool, cpsdp_parms& answer,
              std::span<char> room)
      : local_(local),
        offer_parms_(offer_parms),
        offer_{offer_parms, offer_pool},
        answer_(answer),
        pool_(room) {
    pool_.add_pool(offer_pool);
    copied_ = pool_.text().size();
  }

  // The number of rejected media.
  int run();
  [[nodiscard]] std::uint32_t pool_length() const { return static_cast<std::uint32_t>(pool_.text().size()); }

 private:
  [[nodiscard]] cpsdp_text kept(const cpsdp_text& text) const;
  void leave_out_what_was_cut();
  void take_local_origin();
  void take_local_media();
  void keep_common_attributes(std::span<cpsdp_text> attributes, std::span<const cpsdp_text> local);
  [[nodiscard]] bool has_attribute(std::string_view attribute, std::span<const cpsdp_text> local) const;
  [[nodiscard]] bool negotiate(std::size_t at);
  void match_formats(Match& match);
  void match_pair(Match& match, std::size_t offered, std::size_t local);
  void take_common(Match& match, std::size_t offered, std::size_t local, bool parms_match);
  void note_g729(Match& match, std::size_t offered, std::size_t local) const;
  void close(const Match& match);
  void close_events(const Match& match);

  const Side local_;
  cpsdp_parms& offer_parms_;
  const Side offer_;
  cpsdp_parms& answer_;
  cpsdp_pool pool_;
  std::size_t copied_;  // of the offer's pool
};

int Negotiation::run() {
  answer_.copy_from(offer_.parms);
  leave_out_what_was_cut();
  take_local_origin();
  take_local_media();
  keep_common_attributes(cpsdp_counted(answer_.a_attr, answer_.a_count),
                         cpsdp_counted(local_.parms.a_attr, local_.parms.a_count));
  int rejected = 0;
  std::size_t at = 0;
  for (; at < offer_.media_count() && answer_.media[at] != nullptr; ++at) {
    if (negotiate(at)) continue;
    answer_.media[at]->m_port = 0;
    ++rejected;
  }
  answer_.m_count = static_cast<std::uint8_t>(at);
  return rejected;
}

// A text of the offer; one that does not lie in its pool as far as that was copied is absent, and no part of
// others.
cpsdp_text Negotiation::kept(const cpsdp_text& text) const {
  return text.offset + std::size_t{text.length} <= copied_ ? text : cpsdp_text{};
}

void Negotiation::leave_out_what_was_cut() {
  const auto keep = [this](cpsdp_text& text) { text = kept(text); };
  answer_.for_each_text(keep);
  for (const std::unique_ptr<cpsdp_media>& media : answer_.media) {
    if (media != nullptr) media->for_each_text(keep);
  }
}

void Negotiation::take_local_origin() {
  const cpsdp_parms& local = local_.parms;
  if (!local.o_address.empty()) {
    answer_.o_username = pool_.add(local_.text(local.o_username));
    answer_.o_session_id = local.o_session_id;
    answer_.o_session_version = local.o_session_version;
    answer_.o_addr_type = local.o_addr_type;
    answer_.o_address = pool_.add(local_.text(local.o_address));
  }
  if (!local.c_address.empty()) {
    answer_.c_addr_type = local.c_addr_type;
    answer_.c_address = pool_.add(local_.text(local.c_address));
  }
}

// The media that stand at the same place on both sides; what is negotiated later goes over port and direction
// again.
void Negotiation::take_local_media() {
  const std::size_t both = std::min(local_.media_count(), offer_.media_count());
  for (std::size_t i = 0; i < both; ++i) {
    const cpsdp_media* const local = local_.parms.media[i].get();
    cpsdp_media* const answer = answer_.media[i].get();
    if (local == nullptr || answer == nullptr) continue;
    answer->m_port = local->m_port;
    answer->c_addr_type = local->c_addr_type;
    answer->c_address = pool_.add(local_.text(local->c_address));
    answer->direction = local->direction;
  }
}

bool Negotiation::has_attribute(std::string_view attribute, std::span<const cpsdp_text> local) const {
  bool found = false;
  for (const cpsdp_text& entry : local) {
    if (entry.length > kMaxComparedAttribute) {
      (void)cpapp_uxp(cpapp_here(cpapp_module::cpsdp));
      return false;
    }
    found = found || name_of(local_.text(entry)) == name_of(attribute);
  }
  return found;
}

// An attribute that the local side does not have gets the length 0: it stays counted, and is not written.
void Negotiation::keep_common_attributes(std::span<cpsdp_text> attributes,
                                         std::span<const cpsdp_text> local) {
  for (cpsdp_text& attribute : attributes) {
    const bool too_long = attribute.length > kMaxComparedAttribute;
    if (too_long) (void)cpapp_uxp(cpapp_here(cpapp_module::cpsdp));
    if (too_long || !has_attribute(attribute.in(pool_.text()), local)) attribute.length = 0;
  }
}

// False when there is no local medium of that type and protocol.
bool Negotiation::negotiate(std::size_t at) {
  cpsdp_media& offered = *offer_parms_.media[at];
  if (local_.media_count() != 0 && offered.direction == cpsdp_direction::none)
    offered.direction = cpsdp_direction::sendrecv;
  for (std::size_t i = 0; i < local_.media_count(); ++i) {
    const cpsdp_media* const local = local_.parms.media[i].get();
    if (local == nullptr || local->m_type != offered.m_type || local->m_proto != offered.m_proto) continue;
    Match match{.local = *local, .offer = offered, .answer = *answer_.media[at]};
    match_formats(match);
    close(match);
    return true;
  }
  return false;
}

void Negotiation::match_formats(Match& match) {
  for (std::size_t offered = 0; offered < formats_of(match.offer); ++offered) {
    // Kept: the scan goes on after a match, so that two local entries of one name and rate both answer.
    for (std::size_t local = 0; local < formats_of(match.local); ++local) {
      if (!match.local_used[local] && match.common < kCpsdpMaxFormats) match_pair(match, offered, local);
    }
  }
}

void Negotiation::match_pair(Match& match, std::size_t offered, std::size_t local) {
  const std::string_view name = offer_.text(match.offer.rtp_name[offered]);
  const bool names_match =
      !name.empty() && starts_with_nocase(local_.text(match.local.rtp_name[local]), name);
  // Kept: noted whatever the rates are, and the last such pair wins.
  if (names_match && starts_with_nocase(kTelephoneEvent, name)) {
    match.offered_events = static_cast<int>(offered);
    match.local_events = static_cast<int>(local);
    match.answer_events = static_cast<int>(match.common);
  }
  const std::uint16_t number = match.offer.fmt[offered];
  bool common = names_match && match.offer.rtp_rate[offered] == match.local.rtp_rate[local];
  if (number < kFirstDynamic) common = number == match.local.fmt[local];
  if (!common) return;
  if (number == kG729) note_g729(match, offered, local);
  const std::string_view parms = offer_.text(match.offer.rtp_param[offered]);
  take_common(match, offered, local,
              !parms.empty() && starts_with_nocase(local_.text(match.local.rtp_param[local]), parms));
}

void Negotiation::note_g729(Match& match, std::size_t offered, std::size_t local) const {
  match.answer_g729 = static_cast<int>(match.common);
  if (offer_.text(match.offer.fmtp[offered]) == kAnnexbNo ||
      local_.text(match.local.fmtp[local]) == kAnnexbNo)
    match.annexb = false;
}

void Negotiation::take_common(Match& match, std::size_t offered, std::size_t local, bool parms_match) {
  match.local_used[local] = true;
  const std::size_t at = match.common++;
  match.answer.fmt[at] = match.offer.fmt[offered];
  match.answer.fmt_local[at] = match.local.fmt[local];
  match.answer.rtp_name[at] = kept(match.offer.rtp_name[offered]);
  match.answer.rtp_rate[at] = match.offer.rtp_rate[offered];
  match.answer.rtp_param[at] = parms_match ? kept(match.offer.rtp_param[offered]) : cpsdp_text{};
  match.answer.fmtp[at] = kept(match.offer.fmtp[offered]);
}

void Negotiation::close(const Match& match) {
  cpsdp_media& answer = match.answer;
  answer.fmt_count = static_cast<std::uint16_t>(match.common);
  answer.m_type = match.offer.m_type;
  answer.m_proto = match.offer.m_proto;
  answer.m_port = match.local.m_port;
  answer.m_nports = match.local.m_nports;
  answer.direction = mirrored(match.offer.direction);
  if (match.answer_events >= 0) close_events(match);
  if (match.answer_g729 >= 0)
    answer.fmtp[static_cast<std::size_t>(match.answer_g729)] =
        pool_.add(match.annexb ? kAnnexbYes : kAnnexbNo);
  if (match.common == 0) return;
  keep_common_attributes(cpsdp_counted(answer.a_attr, answer.a_count),
                         cpsdp_counted(match.local.a_attr, match.local.a_count));
}

void Negotiation::close_events(const Match& match) {
  std::bitset<kEventBits> offered;
  std::bitset<kEventBits> local;
  cpsdp_map_list_of_telephone_event_values(
      offer_.events(match.offer.fmtp[static_cast<std::size_t>(match.offered_events)]), offered);
  cpsdp_map_list_of_telephone_event_values(
      local_.events(match.local.fmtp[static_cast<std::size_t>(match.local_events)]), local);
  match.answer.fmtp[static_cast<std::size_t>(match.answer_events)] =
      pool_.take(cpsdp_write_event_list(offered & local, pool_.rest()));
}

}  // namespace

int CPSDP_NegotiateCommonMedia(const cpsdp_parms& local, std::string_view local_pool, cpsdp_parms& offer,
                               std::string_view offer_pool, cpsdp_parms& answer, std::span<char> answer_pool,
                               std::uint32_t& answer_pool_len) {
  Negotiation negotiation({local, local_pool}, offer, offer_pool, answer, answer_pool);
  const int rejected = negotiation.run();
  answer_pool_len = negotiation.pool_length();
  return rejected;
}

}  // namespace hark

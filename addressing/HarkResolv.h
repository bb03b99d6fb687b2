// Turns a label into a URL, or a URL back into a label, with what else is known of the station: an alternate
// text, a trigger level, a network channel. Discovered stations go before the operator's file. Nothing is
// kept from one query to the next, so that a changed file takes effect at once.
#pragma once

#include <netinet/in.h>

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "addressing/harkurl.h"

namespace hark {

inline constexpr std::size_t kResolvedUrlSize = 81;  // a resolved URL and its NUL
inline constexpr std::size_t kAltSize = 11;          // 10 characters of alternate text and the NUL

// Kinds of query.
inline constexpr int kResolveLabel = 1;  // the key is a label: equals the display name
inline constexpr int kResolveUrl = 2;    // the key is a URL: equal addresses, a SIP port plays no part

// One query. The caller gives the buffers of what it wants to know (empty: not wanted) and keeps them; every
// text is terminated. A query that fails may have filled a part.
struct HarkResolvInfo {
  std::span<char> label;       // out: the station's label; left alone when the line has no display name
  std::span<char> url;         // out: the whole source line, display name and tags included
  std::span<char> alt;         // out: the alternate text; left alone when there is none
  in_addr_t rtpa = 0;          // out: address of the station's audio, network order, 0 if unknown, all bits
                               // set if what stands for it is no address
  const char* addr = nullptr;  // out: where the address begins inside `url`, null if nowhere
  std::size_t addr_len = 0;    // out: its length, a SIP port left out
  int trgl = -1;               // out: trigger level, zero-based, -1 if the station has none
};

// A search with the signature of HarkResolv2. 0 found, below 0 not.
using ResolvFunction = int (*)(int kind, const char* key, HarkResolvInfo& info);

// The search of the discovered stations; null while discovery is not running, and then the table file that
// discovery left behind is searched in its place.
extern ResolvFunction HarkResolv_dynamic;

// The standard search: discovered stations, then the operator's file. 0, or -1 when no station was found, its
// line does not fit the buffers, or the key is empty or null.
int HarkResolv2(int kind, const char* key, HarkResolvInfo& info);

// A label to its URL and alternate text. 0, or -1 with both buffers emptied.
int HarkResolv(const char* label, std::span<char> url, std::span<char> alt);

// The buffers of a query by label, ready made.
struct ResolvedLabel {
  std::array<char, kResolvedUrlSize> url{};
  std::array<char, kAltSize> alt{};
  HarkResolvInfo info{{}, url, alt};
  ResolvedLabel() = default;
  ResolvedLabel(const ResolvedLabel&) = delete;
  ResolvedLabel& operator=(const ResolvedLabel&) = delete;
};

// Many queries by label against one reading of the files, for a refresh that asks for every key of a panel.
// It answers from the files as they were at the first query; it lives no longer than that refresh.
class LabelResolver {
 public:
  LabelResolver();
  ~LabelResolver();
  LabelResolver(const LabelResolver&) = delete;
  LabelResolver& operator=(const LabelResolver&) = delete;

  // As HarkResolv2 with kResolveLabel.
  int find(const char* label, HarkResolvInfo& info);

 private:
  struct Files;
  std::unique_ptr<Files> files_;  // read at the first query
};

// Whether the station of a parsed URL can be told that we talk to it. Every kind of station can, except a
// source of the routing network, which needs the pins of a far contact, a PTT channel, or an IFB link.
[[nodiscard]] bool urli_get_talk_control(const harkurl_info& info);

// The channel number of the audio of the station `label`: its address in host order, 15 bits. -1 for a null
// or empty label, or one that is not known.
[[nodiscard]] int Resolv2QnChannel(const char* label);

}  // namespace hark

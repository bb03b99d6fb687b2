#include "tools/harkctl/known_urls.h"

#include <algorithm>
#include <array>

#include "addressing/harkurl.h"
#include "base/text.h"
#include "daemon/qnrlib/textfile.h"
#include "tools/control/control_lines.h"
#include "tools/harkctl/network.h"
#include "tools/harkctl/options.h"
#include "tools/harkctl/text.h"

namespace hark::ctl {
namespace {

constexpr const char* kHeardOf = "/var/tmp/orfehark-bonjour.tbl";
constexpr const char* kSources = "/etc/Orfe/hark/hark_sources";
// As a station reads them: a longer line is two.
constexpr std::size_t kSourceLineSize = 128;
// A station's own URL in its quotes, but for the NUL.
constexpr std::size_t kLongestQuoted = kEscapedUrlSize + 1;

const control::Call* same_party(const std::string& url, const std::vector<control::Call>& calls) {
  const auto found = std::find_if(calls.begin(), calls.end(), [&](const control::Call& call) {
    return hark_urlcompare(call.url.c_str(), url.c_str()) == 0;
  });
  return found == calls.end() ? nullptr : &*found;
}

const KnownUrl* named(const std::string& name, const std::vector<KnownUrl>& known) {
  const auto found =
      std::find_if(known.begin(), known.end(), [&](const KnownUrl& each) { return each.name == name; });
  return found == known.end() ? nullptr : &*found;
}

Party from_files(const KnownUrl& known) {
  if (known.address.empty()) return {{}, "the address of " + known.name + " is not known yet"};
  if (known.url.size() > kLongestUrl)
    return {{}, "the line of " + known.name + " is longer than 79 bytes: a station cuts it"};
  return {known.url, {}};
}

// Who says that a longer one is up is no station, and with its quotes escaped it may not fit a line.
Party from_call(const control::Call& call) {
  const bool fits = control::quoted(call.url).size() <= kLongestQuoted;
  return fits ? Party{call.url, {}} : Party{{}, "the URL of " + call.name + " is too long for a line"};
}

// The call of this name; a fault when there are several, nothing at all when there is none.
Party from_calls(const std::string& name, const std::vector<control::Call>& calls) {
  const control::Call* found = nullptr;
  for (const control::Call& call : calls) {
    if (call.name != name) continue;
    if (found != nullptr) return {{}, "several calls have the name " + name + ": give the URL"};
    found = &call;
  }
  return found != nullptr ? from_call(*found) : Party{};
}

Party as_it_stands(const std::string& text, const std::vector<control::Call>& calls) {
  if (!is_url(text)) return {{}, "no such name: " + text};
  const control::Call* call = same_party(text, calls);
  return call != nullptr ? from_call(*call) : Party{text, {}};
}

bool is_nothing(const Party& party) { return party.url.empty() && party.fault.empty(); }

}  // namespace

std::vector<KnownUrl> read_known(std::string_view text) {
  std::vector<KnownUrl> known;
  TextLines lines(text, kSourceLineSize - 1);
  std::array<char, kSourceLineSize> line;
  while (lines.next_text(line)) {
    if (line[0] == '\0' || line[0] == '#' || line[0] == '\t') continue;
    harkurl_info info;
    (void)harkurl_parse(line.data(), &info);
    KnownUrl each{std::string(harkurl_name(info)), line.data(), address_of(line.data())};
    // A name alone is a station that was heard of and not found yet.
    if (each.name.empty() && !is_url(each.address)) std::swap(each.name, each.address);
    known.push_back(std::move(each));
  }
  return known;
}

std::vector<KnownUrl> known_urls(const std::string& host, const std::string& root) {
  if (!is_this_machine(host)) return {};
  std::vector<KnownUrl> known = read_known(read_text_file(root + kHeardOf).value_or(""));
  const std::vector<KnownUrl> sources = read_known(read_text_file(root + kSources).value_or(""));
  known.insert(known.end(), sources.begin(), sources.end());
  return known;
}

bool is_url(const std::string& text) {
  harkurl_info info;
  if (harkurl_parse(text.c_str(), &info) > 0) return true;
  // Other schemes too: the station tells what it thinks of them.
  const std::string whole = address_of(text);
  std::string_view address(whole);
  if (address.starts_with('*')) address.remove_prefix(1);
  const std::size_t colon = address.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  return std::all_of(address.begin(), address.begin() + static_cast<std::ptrdiff_t>(colon),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

Party party_to_call(const std::string& text, const std::vector<KnownUrl>& known,
                    const std::vector<control::Call>& calls) {
  if (const KnownUrl* found = named(text, known)) return from_files(*found);
  if (Party party = from_calls(text, calls); !is_nothing(party)) return party;
  return is_url(text) ? Party{text, {}} : Party{{}, "no such name: " + text};
}

Party party_to_drop(const std::string& text, const std::vector<KnownUrl>& known,
                    const std::vector<control::Call>& calls) {
  if (Party party = from_calls(text, calls); !is_nothing(party)) return party;
  if (const KnownUrl* found = named(text, known)) {
    Party party = from_files(*found);
    return party.fault.empty() ? as_it_stands(party.url, calls) : party;
  }
  return as_it_stands(text, calls);
}

std::vector<std::string> candidates(const std::string& prefix, const std::vector<KnownUrl>& known,
                                    const std::vector<control::Call>& calls) {
  std::vector<std::string> all;
  for (const KnownUrl& each : known) {
    if (!each.address.empty()) all.insert(all.end(), {each.name, each.address});
  }
  for (const control::Call& call : calls)
    all.insert(all.end(), {call.name, address_of(call.url)});
  // What would have to be escaped for a terminal cannot be typed either.
  const auto is_unfit = [&](const std::string& text) {
    return text.empty() || printable(text) != text || !text.starts_with(prefix);
  };
  std::erase_if(all, is_unfit);
  std::sort(all.begin(), all.end());
  all.erase(std::unique(all.begin(), all.end()), all.end());
  return all;
}

std::string address_of(const std::string& url) {
  harkurl_info info;
  if (harkurl_parse(url.c_str(), &info) < 0) return {};
  return {info.url, info.url_len};
}

}  // namespace hark::ctl

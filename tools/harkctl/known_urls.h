// Whom a station can call by name: what stands in its files, when they are on this machine.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/control/call_list.h"

namespace hark::ctl {

struct KnownUrl {
  std::string name;
  std::string url;      // the whole line: name, address and tags
  std::string address;  // empty: not known yet
};

// Reads the lines of a file of sources; those behind a TAB, remarks and empty ones are left out.
[[nodiscard]] std::vector<KnownUrl> read_known(std::string_view text);

// All that the station at `host` knows, as it searches them: those heard of, then those of the operator's
// file. `root` stands in front of the paths. None when the host is another machine.
[[nodiscard]] std::vector<KnownUrl> known_urls(const std::string& host, const std::string& root);

// Whether `text` is meant as a URL, and not as a name.
[[nodiscard]] bool is_url(const std::string& text);

struct Party {
  std::string url;
  std::string fault;  // or why there is none
};
// Whom `text` names: a name that the files know, a call that is up, or a URL as it stands.
[[nodiscard]] Party party_to_call(const std::string& text, const std::vector<KnownUrl>& known,
                                  const std::vector<control::Call>& calls);
// The same, calls that are up first: those are what can be dropped.
[[nodiscard]] Party party_to_drop(const std::string& text, const std::vector<KnownUrl>& known,
                                  const std::vector<control::Call>& calls);

// Names and addresses that begin with `prefix`, sorted, each once.
[[nodiscard]] std::vector<std::string> candidates(const std::string& prefix,
                                                  const std::vector<KnownUrl>& known,
                                                  const std::vector<control::Call>& calls);

// The address in a URL, without name and tags.
[[nodiscard]] std::string address_of(const std::string& url);

}  // namespace hark::ctl

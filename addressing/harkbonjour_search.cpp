// The search for a label or a URL among the stations found.
#include <algorithm>

#include "addressing/harkbonjour_private.h"
#include "base/text.h"

namespace hark {
namespace {

constexpr int kNotFound = -1;
constexpr int kBufferTooSmall = -2;

std::string_view address_of(const harkresolvtable_entry& entry) {
  return std::string_view(entry.url).substr(0,
                                            harkurl_meaningfull_addr_len(entry.url.data(), entry.url.size()));
}

const harkresolvtable_entry* find(int kind, std::string_view key) {
  for (const harkresolvtable_entry& entry : harkd_dynamicsources) {
    if (entry.url.empty()) continue;
    if (key == (kind == kResolveLabel ? std::string_view(entry.name) : address_of(entry))) return &entry;
  }
  return nullptr;
}

int take(const harkresolvtable_entry& entry, HarkResolvInfo& info) {
  info.rtpa = entry.rtpa;
  if (!info.url.empty()) {
    if (entry.url.size() >= info.url.size()) return kBufferTooSmall;
    copy_text(info.url, entry.url);
    info.addr = info.url.data();
    info.addr_len = address_of(entry).size();
  }
  if (!info.label.empty()) {
    if (entry.name.size() >= info.label.size()) return kBufferTooSmall;
    copy_text(info.label, entry.name);
  }
  copy_text(info.alt, entry.alt);
  info.trgl = static_cast<int>(entry.trgl) - 1;
  return 0;
}

}  // namespace

int HarkResolv_dynamic_callback(int kind, const char* key, HarkResolvInfo& info) {
  if (key == nullptr || *key == '\0') return kNotFound;
  std::string_view wanted = key;
  if (kind == kResolveUrl) {
    harkurl_info parsed;
    (void)harkurl_parse(key, &parsed);
    wanted = harkurl_meaningfull_addr(parsed);
    // A ";" in the display name leaves no address to search for: that is nobody's, not everybody's.
    if (wanted.empty()) return kNotFound;
  }
  const harkresolvtable_entry* entry = find(kind, wanted);
  return entry != nullptr ? take(*entry, info) : kNotFound;
}

}  // namespace hark

#include "addressing/learn.h"

#include "addressing/harkresolvtable.h"
#include "addressing/url_escape.h"
#include "base/text.h"
#include "daemon/log/log.h"
#include "daemon/station/station.h"

namespace hark {
namespace {

constexpr std::string_view kSipScheme = "sip:";

// The label by which the station of a call's URL can be known; empty when it has none.
Label label_of_call(const harkurl_info& url) {
  Label label{};
  if (url_tagsz(&url, "label", label.data(), label.size()) == 0) uri2label({url.url, url.url_len}, label);
  const std::string_view name = harkurl_name(url);
  if (label[0] == '\0' && url.type == HARKURL_STATION && name.size() < kLabelSize) copy_text(label, name);
  return label;
}

// All texts are the caller's: they are held to what the file can hold, so that memory and file say the same.
void learn(const Label& label, const harkurl_info& url) {
  const auto trgl = static_cast<std::uint32_t>(url_tagl(url.tags, "trgl"));
  harkresolvtable_entry& entry = harkresolvtable_learn(harkd_dynamicsources, table_name(label.data()));
  bool changed = strupd(entry.url, table_text({url.url, url.url_len}));
  changed = strupd(entry.alt, table_text(harkurl_name(url))) || changed;
  changed = entry.trgl != trgl || changed;
  entry.trgl = trgl;
  if (!changed) return;
  harkresolvtable_write(harkd_dynamicsources);
  syslog(kLogNotice, "Updated %s \"%s\" %s trgl=%d", entry.name.c_str(), entry.alt.c_str(), entry.url.c_str(),
         static_cast<int>(trgl));
}

}  // namespace

int urluserinfo2label(std::string_view user, std::span<char> out) {
  return url_unescape(user, out, [](char) { return false; });
}

int uri2label(std::string_view url, std::span<char> out) {
  if (url.size() > kSipScheme.size() && url.starts_with(kSipScheme)) url.remove_prefix(kSipScheme.size());
  const auto at = url.find('@');
  return at == std::string_view::npos ? 0 : urluserinfo2label(url.substr(0, at), out);
}

bool strupd(std::string& dst, std::string_view src) {
  if (dst == src) return false;
  dst = src;
  return true;
}

int HarkResolvURL_DynamicLearn(const char* text, HarkResolvInfo& info, harkurl_info& urlinfo) {
  if (harkurl_parse(text, &urlinfo) != 0) {
    const Label label = label_of_call(urlinfo);
    if (label[0] != '\0') learn(label, urlinfo);
  }
  return HarkResolv2(kResolveUrl, text, info);
}

}  // namespace hark

#include "addressing/HarkResolv.h"

#include <arpa/inet.h>

#include <algorithm>
#include <optional>
#include <unordered_map>

#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "base/text.h"
#include "daemon/qnrlib/textfile.h"

namespace hark {

ResolvFunction HarkResolv_dynamic = nullptr;

namespace {

constexpr int kNotFound = -1;
constexpr int kBufferTooSmall = -2;
constexpr std::string_view kAltDetail = "\talt ";
constexpr std::string_view kRtpaDetail = "\trtpa ";
constexpr int kChannelBits = 0x7FFF;
constexpr std::size_t kLongestAddressText = 63;
constexpr std::string_view kQuillnetScheme = "quillnet:";

using Line = std::array<char, kSourceLineSize>;

struct Key {
  int kind;
  std::string_view text;  // of kResolveLabel the label, of kResolveUrl the address
};

bool is_station_line(const char* line) { return line[0] != '\0' && line[0] != '#' && line[0] != '\t'; }

// Whether the line's display name can be the label that is asked for: most lines are told apart here, before
// any of them is copied and parsed.
bool can_match(std::string_view line, const Key& key) {
  if (key.kind != kResolveLabel) return true;
  if (line.starts_with('"')) line.remove_prefix(1);
  return line.starts_with(key.text);
}

bool matches(const Key& key, const harkurl_info& info) {
  return key.text == (key.kind == kResolveLabel ? harkurl_name(info) : harkurl_meaningfull_addr(info));
}

int take_station(const harkurl_info& station, HarkResolvInfo& info) {
  if (!info.url.empty() && station.full_len >= info.url.size()) return kBufferTooSmall;
  if (!info.url.empty()) {
    copy_text(info.url, {station.full, station.full_len});
    info.addr = info.url.data() + (station.url - station.full);
    info.addr_len = harkurl_meaningfull_addr(station).size();
  }
  const std::string_view name = harkurl_name(station);
  // Kept: a line that begins with its bracket has a name that fits no buffer.
  if (!info.label.empty() && station.name_len >= info.label.size()) return kBufferTooSmall;
  if (!info.label.empty() && !name.empty()) copy_text(info.label, name);
  info.trgl = url_level(station.tags);
  return 0;
}

// The lines behind a station that begin with a TAB; any other line ends them.
void take_details(TextLines& lines, HarkResolvInfo& info) {
  for (Line line; lines.next_text(line) && line[0] == '\t';) {
    if (!info.alt.empty() && strstartswith(line.data(), kAltDetail.data()) != 0) {
      const std::string_view alt = field_text(line).substr(kAltDetail.size());
      copy_text(info.alt, alt.substr(0, kAltSize - 1));
    } else if (strstartswith(line.data(), kRtpaDetail.data()) != 0) {
      info.rtpa = ::inet_addr(line.data() + kRtpaDetail.size());
    }
  }
}

// Searches from where `lines` stands. The first match wins.
int search(TextLines& lines, const Key& key, HarkResolvInfo& info) {
  while (const std::optional<std::string_view> text = lines.next()) {
    if (!can_match(*text, key)) continue;
    Line line;
    copy_text(line, without_line_end(*text));
    if (!is_station_line(line.data())) continue;
    harkurl_info station;
    (void)harkurl_parse(line.data(), &station);
    if (!matches(key, station)) continue;
    const int result = take_station(station, info);
    if (result == 0) take_details(lines, info);
    return result;
  }
  return kNotFound;
}

int HarkResolv_sources(const std::string& file, int kind, const char* text, HarkResolvInfo& info) {
  if (text == nullptr || *text == '\0') return kNotFound;
  const std::optional<std::string> content = read_text_file(file);
  if (!content) return kNotFound;
  Key key{kind, text};
  if (kind == kResolveUrl) {
    harkurl_info parsed;
    (void)harkurl_parse(text, &parsed);
    key.text = harkurl_meaningfull_addr(parsed);
    // A ";" in the display name leaves no address to search for: that is nobody's, not everybody's.
    if (key.text.empty()) return kNotFound;
  }
  TextLines lines(*content, kSourceLineSize - 1);
  return search(lines, key, info);
}

// A file with the place of the first line of each display name.
class IndexedFile {
 public:
  explicit IndexedFile(const std::string& path) : content_(read_text_file(path).value_or(std::string())) {
    TextLines lines(content_, kSourceLineSize - 1);
    std::size_t at = 0;
    for (Line line; lines.next_text(line); at = lines.position()) {
      if (!is_station_line(line.data())) continue;
      harkurl_info station;
      (void)harkurl_parse(line.data(), &station);
      if (const std::string_view name = harkurl_name(station); !name.empty())
        places_.try_emplace(std::string(name), at);
    }
  }

  int find(const char* label, HarkResolvInfo& info) const {
    const auto place = places_.find(label);
    if (place == places_.end()) return kNotFound;
    TextLines lines(content_, kSourceLineSize - 1);
    lines.seek(place->second);
    return search(lines, {kResolveLabel, label}, info);
  }

 private:
  std::string content_;
  std::unordered_map<std::string, std::size_t> places_;
};

}  // namespace

int HarkResolv2(int kind, const char* key, HarkResolvInfo& info) {
  const int discovered = HarkResolv_dynamic != nullptr ? HarkResolv_dynamic(kind, key, info)
                                                       : HarkResolv_sources(table_file, kind, key, info);
  if (discovered == 0) return 0;
  return HarkResolv_sources(harksources_file, kind, key, info) == 0 ? 0 : kNotFound;
}

int HarkResolv(const char* label, std::span<char> url, std::span<char> alt) {
  copy_text(url, {});
  copy_text(alt, {});
  HarkResolvInfo info;
  info.url = url;
  info.alt = alt;
  if (HarkResolv2(kResolveLabel, label, info) == 0) return 0;
  copy_text(url, {});
  copy_text(alt, {});
  return kNotFound;
}

struct LabelResolver::Files {
  ResolvFunction dynamic = HarkResolv_dynamic;
  std::optional<IndexedFile> table;  // none while the discovered stations are searched by themselves
  IndexedFile sources;

  Files() : sources(harksources_file) {
    if (dynamic == nullptr) table.emplace(table_file);
  }
};

LabelResolver::LabelResolver() = default;
LabelResolver::~LabelResolver() = default;

int LabelResolver::find(const char* label, HarkResolvInfo& info) {
  if (label == nullptr || *label == '\0') return kNotFound;
  if (!files_) files_ = std::make_unique<Files>();
  const int discovered =
      files_->table ? files_->table->find(label, info) : files_->dynamic(kResolveLabel, label, info);
  if (discovered == 0) return 0;
  return files_->sources.find(label, info) == 0 ? 0 : kNotFound;
}

bool urli_get_talk_control(const harkurl_info& info) {
  if (info.type != HARKURL_QUILLNET) return true;
  std::array<char, 2> ifb{};
  return (url_tagl(info.tags, "gpio") != 0 && url_tagl(info.tags, "gpiot") != 0) ||
         url_tagl(info.tags, "qntb") != 0 || url_tagsz(&info, "ifb", ifb.data(), ifb.size()) > 0;
}

int Resolv2QnChannel(const char* label) {
  if (label == nullptr || *label == '\0') return -1;
  std::array<char, kResolvedUrlSize> url{};
  HarkResolvInfo info;
  info.url = url;
  if (HarkResolv2(kResolveLabel, label, info) != 0) return -1;
  harkurl_info parsed;
  if (harkurl_parse(url.data(), &parsed) == HARKURL_QUILLNET) {
    std::string_view address(parsed.url, parsed.url_len);
    // A ";" in the display name ends the address before it begins.
    address.remove_prefix(std::min(address.size(), kQuillnetScheme.size()));
    if (address.size() <= kLongestAddressText) info.rtpa = ::inet_addr(std::string(address).c_str());
  }
  return static_cast<int>(ntohl(info.rtpa) & kChannelBits);
}

}  // namespace hark

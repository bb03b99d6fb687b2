// The file of sources and the table of discovered stations, which has the same layout: an input is the table,
// the sources and the texts to ask for, between lines of "====". Both kinds of query fill their buffers and
// no more, what was found is what was asked for, the many queries of a refresh get the answers of single
// ones, and the menu lists the stations in order.
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "addressing/HarkResolv.h"
#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "panel/HarkUIProxy.h"
#include "support/fuzzing.h"

namespace {

using hark::fuzz::check;
using hark::fuzz::ExactBuffer;
using hark::fuzz::ExactText;

constexpr std::string_view kCut = "====\n";
constexpr int kHighestChannel = 0x7FFF;
constexpr std::size_t kMenuText = 10;

struct Sizes {
  int url;
  int label;
  int alt;
};
// as everywhere in the program; room for no more than a NUL; for every line there can be
constexpr std::array<Sizes, 3> kSizes{{
    {hark::kResolvedUrlSize, 11, hark::kAltSize},
    {1, 1, 1},
    {hark::kSourceLineSize, hark::kSourceLineSize, 4},
}};

// A query that asks for everything, with buffers of the given sizes.
class Query {
 public:
  explicit Query(const Sizes& sizes) : url_(sizes.url), label_(sizes.label), alt_(sizes.alt) {
    for (ExactBuffer* buffer : {&url_, &label_, &alt_})
      buffer->data()[0] = '\0';
    info.url = span(url_);
    info.label = span(label_);
    info.alt = span(alt_);
  }

  [[nodiscard]] std::string url() { return text(url_); }
  [[nodiscard]] std::string label() { return text(label_); }
  [[nodiscard]] std::string alt() { return text(alt_); }
  // Where the address is, as an offset; -1 for nowhere.
  [[nodiscard]] std::ptrdiff_t place() { return info.addr != nullptr ? info.addr - url_.data() : -1; }
  [[nodiscard]] bool equals(Query& other) {
    return url() == other.url() && label() == other.label() && alt() == other.alt() &&
           place() == other.place() && info.addr_len == other.info.addr_len && info.rtpa == other.info.rtpa &&
           info.trgl == other.info.trgl;
  }
  void check_filled() {
    check(place() >= -1 && place() <= static_cast<std::ptrdiff_t>(url().size()), "the address is in the URL");
    check(place() < 0 || static_cast<std::size_t>(place()) + info.addr_len <= url().size(),
          "the address ends in the URL");
  }

  hark::HarkResolvInfo info;

 private:
  static std::span<char> span(ExactBuffer& buffer) {
    return {buffer.data(), static_cast<std::size_t>(buffer.size())};
  }
  static std::string text(ExactBuffer& buffer) {
    const auto length = static_cast<int>(::strnlen(buffer.data(), static_cast<std::size_t>(buffer.size())));
    buffer.check_text(length, "a text of an answer is terminated");
    return std::string(buffer.text(length));
  }
  ExactBuffer url_;
  ExactBuffer label_;
  ExactBuffer alt_;
};

void by_label(const ExactText& key, hark::LabelResolver& resolver, const Sizes& sizes) {
  Query single(sizes);
  Query one_of_many(sizes);
  const int result = hark::HarkResolv2(hark::kResolveLabel, key.c_str(), single.info);
  check(result == 0 || result == -1, "a station is found or not");
  check(resolver.find(key.c_str(), one_of_many.info) == result && single.equals(one_of_many),
        "a query of many has the answer of a single one");
  if (result != 0) return;
  single.check_filled();
  check(single.label() == key.c_str(), "the station that is found is the one that was asked for");
}

void by_url(const ExactText& key, const Sizes& sizes) {
  Query query(sizes);
  const int result = hark::HarkResolv2(hark::kResolveUrl, key.c_str(), query.info);
  check(result == 0 || result == -1, "a URL is found or not");
  if (result != 0) return;
  query.check_filled();
  hark::harkurl_info asked;
  (void)hark::harkurl_parse(key.c_str(), &asked);
  const std::string_view address(asked.url, hark::harkurl_meaningfull_addr_len(asked.url, asked.url_len));
  check(query.place() >= 0 && address == std::string_view(query.info.addr, query.info.addr_len),
        "the address that is found is the one that was asked for");
}

void by_convenience(const ExactText& key) {
  ExactBuffer url(hark::kResolvedUrlSize);
  ExactBuffer alt(hark::kAltSize);
  const int result =
      hark::HarkResolv(key.c_str(), {url.data(), hark::kResolvedUrlSize}, {alt.data(), hark::kAltSize});
  check(result == 0 || (url.data()[0] == '\0' && alt.data()[0] == '\0'), "no station leaves no text");
  const int channel = hark::Resolv2QnChannel(key.c_str());
  check(channel >= -1 && channel <= kHighestChannel, "a channel has 15 bits");
  check((channel >= 0) == (result == 0), "a station that is found has a channel");
}

int take_text(const char* /*text*/, int /*context*/) { return 1; }

void list_stations(const std::string& table, const std::string& sources) {
  const auto model = hark::HarkUIProxyShared::Create(1, hark::fuzz::temp_folder(), take_text, 0);
  const auto panel = hark::HarkUIProxy::Create("1", 1, 1, 0, model.get(), take_text, 0);
  panel->type = hark::HarkUIProxy::kModule10;
  panel->Notify(hark::kDirtyAll, 0);
  // The first item of the main page leads to the stations, which get their order when they are shown.
  panel->harkui_receive_surface(".btn#52 KEY=D");
  panel->Notify(hark::kDirtyChannelList, 0);
  const auto& items = panel->menu().channels.items;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const hark::HarkUI_ScrollItem& item = items[i];
    check(!item.text.empty() && item.text.size() <= kMenuText && item.alt.size() <= kMenuText,
          "a station of the menu has a name that fits");
    check(table.find(item.text) != std::string::npos || sources.find(item.text) != std::string::npos,
          "a station of the menu is in a file");
    check(i == 0 || ::strcasecmp(items[i - 1].text.c_str(), item.text.c_str()) <= 0,
          "the stations of the menu are in order");
  }
}

// The next part of an input, up to a line of "====".
std::string next_part(std::string_view& rest) {
  std::string part;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
    rest.remove_prefix(line.size());
    if (line == kCut) break;
    part += line;
  }
  return part;
}

void write_file(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::trunc);
  file << text;
  check(file.good(), "a file can be written");
}

// The texts to ask for, with the names of the stations, which are what finds something.
std::vector<std::string> keys_of(const std::string& asked) {
  std::vector<std::string> keys = hark::fuzz::split(asked, "\n");
  for (const std::string& file : {hark::table_file, hark::harksources_file}) {
    hark::for_each_source_line(file, [&](const char* line) {
      if (*line == '\0') return;
      hark::harkurl_info info;
      (void)hark::harkurl_parse(line, &info);
      if (info.name_len <= info.full_len) keys.emplace_back(info.name, info.name_len);
      keys.emplace_back(info.url, info.url_len);
    });
  }
  return keys;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  hark::fuzz::mute_output();
  hark::table_file = hark::fuzz::temp_folder() + "/table";
  hark::harksources_file = hark::fuzz::temp_folder() + "/sources";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest = hark::fuzz::as_text(data, size);
  const std::string table = next_part(rest);
  const std::string sources = next_part(rest);
  write_file(hark::table_file, table);
  write_file(hark::harksources_file, sources);
  hark::LabelResolver resolver;
  for (const std::string& text : keys_of(std::string(rest))) {
    const ExactText key(text);
    for (const Sizes& sizes : kSizes) {
      by_label(key, resolver, sizes);
      by_url(key, sizes);
    }
    by_convenience(key);
  }
  list_stations(table, sources);
  return 0;
}

#include "callctl/line_table.h"

#include <utility>

namespace hark {

std::array<HarkLine, kListenLines> listen_lines;
std::array<HarkLine, kTalkLines> talk_lines;

namespace {
std::uint32_t g_last_use = 0;
void ignore_call(const char* /*url*/, char /*listen*/, char /*talk*/) {}
void ignore_volume(const char* /*url*/, long /*volume*/) {}
}  // namespace

void (*sipctrl_modifycall_callback)(const char* url, char listen, char talk) = ignore_call;
void (*sipctrl_modifycallvolume_callback)(const char* url, long volume) = ignore_volume;

std::span<HarkLine> line_table(int kind) {
  if (kind == kListenKind) return listen_lines;
  if (kind == kTalkKind) return talk_lines;
  return {};
}

HarkLine* getline(int kind, int i) {
  const std::span<HarkLine> table = line_table(kind);
  return i >= 0 && static_cast<std::size_t>(i) < table.size() ? &table[static_cast<std::size_t>(i)] : nullptr;
}

void report_line(int kind, const std::string& url, char letter) {
  sipctrl_modifycall_callback(url.c_str(), kind == kListenKind ? letter : kNoReport,
                              kind == kListenKind ? kNoReport : letter);
}

void InitializeLineTable(std::span<HarkLine> table) {
  for (HarkLine& line : table)
    line = HarkLine{};
}

int LineTableSearchURL(std::span<const HarkLine> table, const char* url) {
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (!table[i].url.empty() && hark_urlcompare(table[i].url.c_str(), url) == 0) return static_cast<int>(i);
  }
  return -1;
}

int LineTableAlloc(std::span<HarkLine> table, const char* url, std::uint8_t direction) {
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (!table[i].url.empty()) continue;
    begin_use(table[i], url);
    table[i].direction = direction;
    table[i].trgl = table[i].trgl_compare = kDefaultTriggerLevel;
    return static_cast<int>(i);
  }
  return -1;
}

void LineTableFree(std::span<HarkLine> table, int i) {
  if (i < 0 || static_cast<std::size_t>(i) >= table.size()) return;
  // The line is free before its end is told: who hears of it may at once ask for a new one.
  const HarkLine ended = std::exchange(table[static_cast<std::size_t>(i)], HarkLine{});
  if (!is_active(ended)) return;
  report_line(table.data() == listen_lines.data() ? kListenKind : kTalkKind, ended.url, kLineOff);
}

void LineTableFreeAll(std::span<HarkLine> table) {
  for (std::size_t i = 0; i < table.size(); ++i)
    LineTableFree(table, static_cast<int>(i));
}

char release_fardropped_listen(const char* url) {
  const int i = LineTableSearchURL(listen_lines, url);
  if (i < 0 || getline(kListenKind, i)->state != kLineFarDropped) return kNoReport;
  LineTableFree(listen_lines, i);
  // Who heard of its end may have begun the call anew: it has been reported, and is not off.
  return LineTableSearchURL(listen_lines, url) < 0 ? kLineOff : kNoReport;
}

void begin_use(HarkLine& line, const char* url) {
  line = HarkLine{};
  line.url = url;
  if (++g_last_use == 0) ++g_last_use;
  line.use = g_last_use;
}

bool is_active(const HarkLine& line) {
  return !line.url.empty() && line.state != kLineFree && line.state != kLineOff;
}

}  // namespace hark

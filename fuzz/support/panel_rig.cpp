#include "support/panel_rig.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "base/clock.h"
#include "base/text.h"
#include "daemon/log/log.h"
#include "daemon/station/listenvol.h"
#include "daemon/station/station.h"
#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

constexpr TimeUs kStart = 1'700'000'000 * kUsPerSecond;
constexpr time_t kFilesMadeAt = 1'600'000'000;
constexpr TimeUs kSlowPeriodUs = 3'000'000;
constexpr long kLongestStepMs = 10'000'000;
constexpr int kKeys = 90;
constexpr int kPanelContext = 1;
constexpr int kModelContext = 2;
constexpr int kDeepest = 64;  // commands that one event may cause from inside each other

constexpr const char* kSources =
    "# sources of a small station\n"
    "\"Studio A\" <quillnet:239.192.4.210>;trgl=4;gpio=1;gpiol=1;gpiot=2\n"
    "\talt Studio One\n"
    "News <quillnet:239.192.4.211>;trgl=6\n"
    "Bob <hark:10.0.0.7>;trgl=2\n"
    "\talt \"B\\ob\"\n"
    "\trtpa 239.192.4.77\n"
    "Latched <hark:10.0.0.8>;llsn=1\n"
    "\"Eve\" <sip:hark-talk@10.0.0.9>\n"
    "Phone <phone:100>\n";
constexpr const char* kChannels =
    "SHIFT LABL:\"Day\"\n"
    "HARKCH 1 LABL:\"Bob\"\n"
    "HARKCH 2 LABL:\"Studio A\"\n"
    "HARKCH 3 LABL:\"News\" FLAGS:4\n"
    "HARKCH 4 LABL:\"Latched\" FLAGS:1\n"
    "HARKCH 5 URL:\"hark:10.0.0.7\" FLAGS:8\n"
    "HARKCH 6 LABL:\"q\\\"uote\"\n"
    "HARKCH 90 LABL:\"Eve\"\n"
    "HARKGR 1 LABL:\"Bob\"\n"
    "HARKGR 1 LABL:\"News\"\n"
    "\n"
    "SHIFT LABL:\"Night\"\n"
    "HARKCH 1 LABL:\"Eve\" FLAGS:2\n"
    "HARKCH 10 LABL:\"Bob\"\n"
    "\n";

TimeUs g_now = kStart;
TimeUs now_of_rig() { return g_now; }
TimeUs g_housekeeping_due = 0;

PanelRig* g_rig = nullptr;
int g_depth = 0;

const std::string& channels_file() {
  static const std::string path = temp_folder() + "/harkch.conf";
  return path;
}

// With a time of its own: the clock that stamps files does not move from one input to the next.
void stamp(const std::string& path, time_t seconds) {
  const std::array<timespec, 2> times{{{seconds, 0}, {seconds, 0}}};
  (void)::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
}

void write_file(const std::string& path, std::string_view text) {
  std::ofstream file(path, std::ios::trunc);
  file << text;
  file.close();
  check(file.good(), "a file of the rig can be written");
  stamp(path, kFilesMadeAt);
}

void prepare_process() {
  static const bool done = [] {
    mute_output();
    harksources_file = temp_folder() + "/sources";
    table_file = temp_folder() + "/table";
    log_cfgfile = temp_folder() + "/syslog.cfg";
    write_file(log_cfgfile, "SyslogServer_SeverityLevel 7\n");
    write_file(harksources_file, kSources);
    return openlog("harkd", kLogPid, kLogFacilityUser) == 0;
  }();
  (void)done;
}

// One whole line, no longer than its reader takes.
void check_line(const char* text) {
  const std::string_view line(text);
  check(!line.empty() && line.back() == '\n', "what is sent ends its line");
  check(line.size() <= kMaxLine, "what is sent fits a reader's line");
  const std::size_t end = line.find_last_not_of("\r\n");
  check(end != std::string_view::npos && line.find_first_of("\r\n") == end + 1, "what is sent is one line");
}

int take_panel_text(const char* text, int context) {
  check(context == kPanelContext, "a panel's text goes to its own connection");
  check_line(text);
  const std::string_view line(text);
  if (g_rig->panel().type == HarkUIProxy::kNetworkPanel) {
    check(line.starts_with("set HARKUI#") || line.starts_with("SET FaCH#"), "what a network panel is told");
  } else {
    check(line.starts_with("SET Intercom.") || line.starts_with("SET FaCH#"), "what a console is told");
  }
  return 1;
}

// The far end answers at once: the command comes back as what has become of the call.
int take_command(const char* text, int context) {
  check(context == kModelContext, "the model's command is its own");
  check_line(text);
  const std::string_view line(text);
  check(line.starts_with("CALL URL:\"") || line.starts_with("IO ") || line.starts_with("event HARKUI#"),
        "what the model asks for");
  if (g_rig == nullptr || !line.starts_with("CALL ")) return 1;
  check(++g_depth <= kDeepest, "an answer does not ask for itself");
  const std::string indication = std::string(line.substr(0, line.size() - 1)) + "\r\n";
  g_rig->model().harkd_receive(indication.c_str());
  --g_depth;
  return 1;
}

int offers_auto_answer() { return g_rig != nullptr && g_rig->panel().aans() ? 1 : 0; }

std::string read_file(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

bool is_control(char c) { return static_cast<unsigned char>(c) < ' '; }

// A name in the table, where each control character has a mark in its place.
std::string as_written(std::string name) {
  std::replace_if(name.begin(), name.end(), is_control, '?');
  return name;
}

bool is_detail(const std::string& line) {
  static constexpr std::array<std::string_view, 4> kDetails{"\tdomain ", "\talt ", "\tharkd ", "\trtpa "};
  return std::any_of(kDetails.begin(), kDetails.end(),
                     [&](std::string_view detail) { return line.starts_with(detail); });
}

}  // namespace

PanelRig::PanelRig(const std::string& id, int type) {
  prepare_process();
  g_now = kStart;
  g_housekeeping_due = kStart + kSlowPeriodUs;
  g_depth = 0;
  clock_set_source(now_of_rig);
  station_reset();
  harkd_dynamicsources.clear();
  harkresolvtable_write(harkd_dynamicsources);
  write_file(channels_file(), kChannels);
  stamp(harksources_file, kFilesMadeAt);
  harkd_has_autoanswer_callback = offers_auto_answer;
  model_ = HarkUIProxyShared::Create(kKeys, temp_folder(), take_command, kModelContext);
  check(model_ != nullptr, "the model is made");
  const int keys = type == HarkUIProxy::kNetworkPanel ? kKeys : type == HarkUIProxy::kModule20 ? 20 : 10;
  panel_ = HarkUIProxy::Create(id, 1, keys, 1, model_.get(), take_panel_text, kPanelContext);
  check(panel_ != nullptr, "the panel is made");
  panel_->type = type;
  g_rig = this;
  panel_->Notify(kDirtyAll, 0);
  pass();
}

PanelRig::~PanelRig() {
  panel_.reset();
  g_rig = nullptr;
  model_.reset();
  harkd_has_autoanswer_callback = nullptr;
  harkd_dynamicsources.clear();
  listenvol_cleanup();
  clock_set_source(nullptr);
  station_reset();
}

void PanelRig::pass() {
  if (clock_now() > g_housekeeping_due) housekeeping();
  const std::uint32_t mask = std::exchange(model_->dirty, 0U);
  panel_->Notify(mask, clock_now());
  (void)model_->ComputeGPO();
}

void PanelRig::housekeeping() {
  g_housekeeping_due = clock_now() + kSlowPeriodUs;
  model_->TimerAction();
}

bool PanelRig::run_mark(const std::string& line) {
  switch (line[0]) {
    case '@':
      g_now += std::clamp(std::strtol(line.c_str() + 1, nullptr, 10), 0L, kLongestStepMs) * kUsPerMs;
      return true;
    case '!':
      for (const std::string& path : {channels_file(), harksources_file})
        stamp(path, g_now / kUsPerSecond);
      housekeeping();
      return true;
    case '<':
      model_->harkd_receive(ExactText(line.substr(1)).c_str());
      return true;
    default:
      return false;
  }
}

std::vector<std::string> lines_of(std::string_view input) {
  std::vector<std::string> lines;
  for (const std::string& line : split(input, "\r\n")) {
    if (!line.empty() && line[0] != '\0') lines.push_back(line.substr(0, kMaxLine - 1));
  }
  return lines;
}

void check_learned_table() {
  const std::string text = read_file(table_file);
  check(text.empty() || text.back() == '\n', "the last line of the table is whole");
  auto station = harkd_dynamicsources.begin();
  const auto end = harkd_dynamicsources.end();
  bool in_station = false;
  for (const std::string& line : split(text, "\n")) {
    if (line.empty()) continue;
    check(std::none_of(line.begin() + 1, line.end(), is_control),
          "no control character inside a line of the table");
    check(line.size() < kSourceLineSize, "a line of the table is read whole");
    if (line[0] == '\t') {
      check(in_station && is_detail(line), "a detail of the table is behind its station");
      continue;
    }
    check(station != end, "each line of the table is a station that is known");
    check(line.starts_with(as_written(station->name)), "the stations of the table are in their order");
    in_station = true;
    ++station;
  }
  check(station == end, "each station that is known is in the table");
}

}  // namespace hark::fuzz

#include "support/station_rig.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <utility>

#include "addressing/harkresolvtable.h"
#include "addressing/sources.h"
#include "base/clock.h"
#include "base/text.h"
#include "callctl/line_table.h"
#include "callctl/modifycall.h"
#include "callctl/sipctrl.h"
#include "daemon/harkd.h"
#include "daemon/harkd_private.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/qnrserver.h"
#include "daemon/server.h"
#include "daemon/server_cmd.h"
#include "daemon/settings.h"
#include "daemon/station/listenvol.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/harkqnr_gpio.h"
#include "routing/vgpio.h"
#include "support/fuzzing.h"

namespace hark::fuzz {
namespace {

constexpr TimeUs kStart = 1'700'000'000 * kUsPerSecond;
constexpr int kKeys = 90;
constexpr int kConsoleSlot = 2;
constexpr in_port_t kConsolePort = 4010;
constexpr std::int32_t kConsoleRetryUs = 1'000'000;
// Contacts that make calls: of one source for both directions, two sources on one contact, and lines that
// name none.
constexpr const char* kSources =
    "# sources of a small station\n"
    "\"Studio A\" <quillnet:239.192.4.210>;trgl=4;gpio=1;gpiol=1;gpiot=2\n"
    "News <quillnet:239.192.4.211>;trgl=6;gpio=2;gpiol=1\n"
    "quillnet:239.192.4.212;gpio=2;gpiol=1;gpiot=3;gpioack=1\n"
    "\"Desk\" <hark:10.0.0.7>;trgl=2;gpio=1;gpiol=1\n"
    "phone:100;gpio=1;gpiol=1\n";

TimeUs g_now = kStart;
TimeUs now_of_rig() { return g_now; }

StationRig* g_rig_draining = nullptr;  // whose peers read what is sent

void write_file(const std::string& path, std::string_view text) {
  std::ofstream file(path, std::ios::trunc);
  file << text;
  check(file.good(), "a file of the rig can be written");
}

MemoryFile& settings_file() {
  static MemoryFile file;
  return file;
}

// Once for the process: files, and a log that formats every message and has nobody to send it to.
void prepare_process() {
  static const bool done = [] {
    const std::string& folder = temp_folder();
    mute_output();
    uilist_file = folder + "/uilist";
    harkui_file = folder + "/harkui";
    harksources_file = folder + "/sources";
    table_file = folder + "/table";
    log_cfgfile = folder + "/syslog.cfg";
    harkid_file = settings_file().path();
    write_file(harksources_file, kSources);
    write_file(log_cfgfile, "SyslogServer_SeverityLevel 7\n");
    return openlog("harkd", kLogPid, kLogFacilityUser) == 0;
  }();
  (void)done;
}

std::pair<UniqueFd, UniqueFd> socket_pair() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) std::abort();
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void report_call(const char* url, char listen, char talk) {
  qnrdb_indi(kAllConnections, "CALL", -1, fmt_call_indi(url, listen, talk, nullptr).data());
}

void report_volume(const char* url, long volume) {
  qnrdb_indi(kAllConnections, "CALL", -1, fmt_call_indi(url, 0, 0, &volume).data());
}

void model_receive(const char* text) { server.model->harkd_receive(text); }
void model_speaker_mute(bool mute) { server.model->SetSpeakerMute(mute); }

// A command of our mixer: whole, in quotes that close, and of a known form.
void check_mixer_line(std::string_view line) {
  static constexpr std::array<std::string_view, 3> kForms{"get supv state", "create vmix2 app_id=\"",
                                                          "set hark#1.sub#"};
  check(std::any_of(kForms.begin(), kForms.end(),
                    [&](std::string_view form) { return line.starts_with(form); }),
        "the routing daemon gets commands of the known forms");
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\') {
      ++i;
    } else if (line[i] == '"') {
      quoted = !quoted;
    }
  }
  check(!quoted, "each quote of a mixer command is closed");
}

std::string read_all(int fd) {
  std::string text;
  std::array<char, 8192> part{};
  for (;;) {
    const ssize_t got = ::recv(fd, part.data(), part.size(), MSG_DONTWAIT);
    if (got <= 0) return text;
    text.append(part.data(), static_cast<std::size_t>(got));
  }
}

bool is_at_end(int fd) {
  char byte = 0;
  return ::recv(fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}

}  // namespace

StationRig::StationRig(bool with_services) {
  prepare_process();
  g_now = kStart;
  clock_set_source(now_of_rig);
  station_reset();
  harkd.panel_outputs = HarkdState{}.panel_outputs;
  station.harkd_svcname = station.announced_svcname = Label{"Fuzz"};
  station.harkd_alt = Label{"Fuzz"};
  forget_stations();
  if (with_services) {
    station.sip_ip = inet_addr("127.0.0.2");
    station.harkd_qnsrcch = inet_addr("239.192.0.77");
  }
  qnrdb_hooks = {server.cons, server_resp_single, server_cmd_CALL_STATUS,
                 [](int fd) { uilist_indi(' ', -1, fd); }, model_receive};
  harkqnr_hooks = {sipctrl_qndstvolumechanged, harkd_consoleconnect, harkd_ext_input};
  harkqnr_gpio_hooks = {remotecommand, model_speaker_mute};
  harkd_has_autoanswer_callback = harkd_has_autoanswer;
  sipctrl_modifycall_callback = report_call;
  sipctrl_modifycallvolume_callback = report_volume;
  check(sipctrl_initialize() == 0, "the stack starts");
  server.model = HarkUIProxyShared::Create(kKeys, temp_folder(), harkui_receive, kInternalConnection);
  server.con_data = std::make_unique<ConnectionData[]>(kMaxConnections);
  check(register_objects(), "the objects are registered");
  harkd_ext_init(server.cons.data(), kMaxConnections);
  settings_file().write("");
  conf_qnr = harkid_file;
  connect_peers();
  station.sipservices_dirty = true;
  renew_services();
}

StationRig::~StationRig() {
  g_rig_draining = nullptr;
  { const UniqueFd closing(harkqnr_fd()); }
  harkqnr_connected(-1);
  sipctrl_done();
  server_cleanup();
  harkqnr_gpio_clear_events();
  vgpio_cleanup();
  drv_gpio.ngpi = drv_gpio.ngpo = 0;
  (void)qnrdb_cleanup(&qnrobjdb);
  listenvol_cleanup();
  clock_set_source(nullptr);
  station_reset();
}

// What an earlier input has taught the panels' model, and its channel file.
void StationRig::forget_stations() {
  harkd_dynamicsources.clear();
  for (const std::string& file : {table_file, temp_folder() + "/harkch.conf"})
    (void)::unlink(file.c_str());
}

void StationRig::connect_peers() {
  for (std::size_t i = 0; i < kPeers; ++i) {
    auto [ours, theirs] = socket_pair();
    ConnectionData& data = server.slot(static_cast<int>(i));
    data.addr.sin_family = AF_INET;
    data.addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK + static_cast<in_addr_t>(i));
    data.addr.sin_port = htons(kConsolePort);
    server.socket(static_cast<int>(i)) = ours.release();
    peers_[i].fd = std::move(theirs);
  }
  server.slot(kConsoleSlot).reconnect_us = kConsoleRetryUs;
  auto [ours, theirs] = socket_pair();
  mixer_ = std::move(theirs);
  harkqnr_connected(ours.release());

  // A line may cause more text than a socket holds. The peers read whenever something is sent, as peers of a
  // real station do at the same time.
  g_rig_draining = this;
  qnrdb_hooks.send = [](int fd, const char* text) {
    if (g_rig_draining != nullptr) g_rig_draining->drain();
    return server_resp_single(fd, text);
  };
  qnrdb_hooks.call_status = [](int fd) {
    if (g_rig_draining != nullptr) g_rig_draining->drain();
    server_cmd_CALL_STATUS(fd);
  };
}

void StationRig::send(Sender sender, const std::string& line) {
  const std::string cut = line.substr(0, kMaxLine - 1);
  const ExactText text(cut);
  if (sender == Sender::kRoutingDaemon) {
    harkqnr_cmd(text.c_str());
  } else {
    const int connection = static_cast<int>(sender) - static_cast<int>(Sender::kClient);
    if (connection < 0 || server.is_open(connection)) server_cmd(text.c_str(), connection);
  }
  drain();
}

void StationRig::advance_ms(long ms) {
  g_now += ms * kUsPerMs;
  const TimeUs now = clock_now();
  server_new_pass(ms * kUsPerMs);
  serve_connections();
  sipctrl_process(now);
  harkd_ext_timer();
  renew_services();
  refresh_panels(now);
  if (harkd_ext_config_changed()) harkd_ext_config_save();
  drain();
}

// The peers send nothing by themselves: what a connection can have is its end, after QUIT.
void StationRig::serve_connections() {
  for (int i = 0; i < kMaxConnections; ++i) {
    if (!server.is_open(i) || !is_at_end(server.socket(i))) continue;
    check(server_recv(i) == -1, "a connection at its end is closed");
    server_disconnected(i, clock_now());
  }
}

void StationRig::renew_services() {
  if (!station.sipservices_dirty) return;
  station.sipservices_dirty = false;
  (void)sipctrl_removeservice();
  if (station.sip_ip == 0 || station.harkd_svcname[0] == '\0' || station.harkd_qnsrcch == 0) return;
  check(sipctrl_createservice(station_identity()) == 0, "the services are made");
}

void StationRig::refresh_panels(TimeUs now) {
  const std::uint32_t mask = std::exchange(server.model->dirty, 0U);
  for (int i = 0; i < kMaxConnections; ++i) {
    if (HarkUIProxy* panel = server.panel(i)) panel->Notify(mask, now);
    drain();
  }
  if ((mask & kDirtyIndicators) != 0) harkgpo_update();
}

void StationRig::drain() {
  for (Peer& peer : peers_) {
    const std::string text = read_all(peer.fd.get());
    if (text.empty()) continue;
    check(text.find('\0') == std::string::npos, "what a peer gets is text");
    check(text.back() == '\n' || text.back() == '\r', "what a peer gets are whole lines");
  }
  drain_mixer();
}

void StationRig::drain_mixer() {
  const std::string text = read_all(mixer_.get());
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find("\r\n", start);
    check(end != std::string::npos, "the routing daemon gets whole lines");
    if (end != start) check_mixer_line(std::string_view(text).substr(start, end - start));
    start = end + 2;
  }
}

void StationRig::load_settings(const std::string& text) {
  settings_file().write(text);
  (void)harkd_ext_config_load();
  drain();
}

std::string StationRig::save_settings() {
  harkd_ext_config_save();
  return settings_file().read();
}

}  // namespace hark::fuzz

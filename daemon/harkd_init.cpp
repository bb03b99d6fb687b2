// Start-up and shut-down: two lists, one the mirror of the other as far as the parts depend on each other.
#include "daemon/harkd.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>

#include "addressing/harkbonjour.h"
#include "base/fd.h"
#include "callctl/line_table.h"
#include "callctl/modifycall.h"
#include "callctl/sipctrl.h"
#include "daemon/harkd_private.h"
#include "daemon/log/log.h"
#include "daemon/log/process_files.h"
#include "daemon/network.h"
#include "daemon/options.h"
#include "daemon/server.h"
#include "daemon/server_cmd.h"
#include "daemon/server_private.h"
#include "daemon/settings.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/harkqnr_gpio.h"
#include "routing/qncpptt.h"
#include "routing/qnrifb.h"
#include "routing/vgpio.h"

namespace hark {

HarkdState harkd;
volatile std::sig_atomic_t bStopSignaled = 0;

namespace {

constexpr int kExitNoMemory = 1;
constexpr int kExitNoSip = 3;
constexpr int kExitNoModel = 5;
constexpr int kExitNoSocket = 7;
constexpr int kExitNoPort = -1;

void on_sigterm(int /*signal*/) { bStopSignaled = 1; }

void install_signals() {
  std::signal(SIGPIPE, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = on_sigterm;
  sigemptyset(&action.sa_mask);
  (void)::sigaction(SIGTERM, &action, nullptr);
}

void report_call(const char* url, char listen, char talk) {
  if (url == nullptr) return;
  qnrdb_indi(kAllConnections, "CALL", -1, fmt_call_indi(url, listen, talk, nullptr).data());
}

void report_volume(const char* url, long volume) {
  qnrdb_indi(kAllConnections, "CALL", -1, fmt_call_indi(url, 0, 0, &volume).data());
}

void list_panels(int fd) { uilist_indi(' ', -1, fd); }

void model_receive(const char* text) {
  if (server.model) server.model->harkd_receive(text);
}

void model_speaker_mute(bool mute) {
  if (server.model) server.model->SetSpeakerMute(mute);
}

// The process ends from inside a callback of DNS-SD, without a way back to the loop.
void end_for_name_conflict() {
  if (harkd_ext_config_changed()) harkd_ext_config_save();
  (void)harkd_cleanup();
  remove_pid_file(station.appName.c_str());
  closelog();
}

void stations_changed() {
  if (server.model) server.model->dirty |= kDirtyStations;
}

// Fills the hooks by which the lower modules reach the upper ones.
void connect_modules() {
  qnrdb_hooks = {server.cons, server_resp_single, server_cmd_CALL_STATUS, list_panels, model_receive};
  harkqnr_hooks = {sipctrl_qndstvolumechanged, harkd_consoleconnect, harkd_ext_input};
  harkqnr_gpio_hooks = {remotecommand, model_speaker_mute};
  harkd_has_autoanswer_callback = harkd_has_autoanswer;
  sipctrl_modifycall_callback = report_call;
  sipctrl_modifycallvolume_callback = report_volume;
  qnrifb_update_status_callback = ifb_update_status;
  qncpptt_update_status_callback = ifb_update_status;
}

int out_of_memory() {
  (void)std::fputs("Error. Out of memory.\n", stderr);
  return kExitNoMemory;
}

void report_socket_error(const char* what) {
  (void)std::fprintf(stderr, "%s: %s err=%d\n", station.appName.c_str(), what, errno);
}

int open_control_port() {
  const int fd = harkd.listen_fd.get();
  const int on = 1;
  (void)::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  set_socket_option(fd, IPPROTO_TCP, TCP_NODELAY, "TCP_NODELAY", on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(static_cast<in_port_t>(station.ctrl_port));
  if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    const int error = errno;
    (void)std::fprintf(stderr, "%s: bind(%s:%d) err=%d\n", station.appName.c_str(),
                       dotted(address.sin_addr.s_addr).data(), station.ctrl_port, error);
    return kExitNoPort;
  }
  set_socket_option(fd, SOL_SOCKET, SO_KEEPALIVE, "SO_KEEPALIVE", on);
  // Non-blocking, so that a client that is gone again before it is accepted does not stop the loop.
  if (::listen(fd, station.tcp_backlog) != 0 || !set_nonblocking(fd)) {
    report_socket_error("listen()");
    return kExitNoPort;
  }
  return 0;
}

// The options, in the order of their strength. Kept: the interface and the address of the routing daemon go
// back to their defaults behind the command line, so that on it only the port of `-qnr_port` counts; a
// device's own file is what sets them for good.
void read_options(int argc, const char* const* argv) {
  process_commands(argc, argv);
  station.ifa_name = station.harkd_ifa_name_default;
  station.harkd_qnrd_ipv4 = htonl(INADDR_LOOPBACK);
  loadconfig();
}

void start_name() {
  (void)pollnetworkconfiguration();
  station.harkd_svcname = station.announced_svcname = station.harkd_alt = Label{};
  harkd_mkdefaultsvcname(station.harkd_svcname.data(), station.harkd_svcname.size());
}

int start_records() {
  server.con_data.reset(new (std::nothrow) ConnectionData[kMaxConnections]);
  if (!server.con_data || !register_objects()) return out_of_memory();
  server.cons.fill(-1);
  return 0;
}

int start_model() {
  server.model = HarkUIProxyShared::Create(station.hark_nkeys, station.ApplicationSettingsFolder,
                                           harkui_receive, kInternalConnection);
  if (server.model) return 0;
  (void)std::fprintf(stderr, "%s HarkUIProxy create failed\n", station.appName.c_str());
  return kExitNoModel;
}

}  // namespace

int harkd_initialize(int argc, const char* const* argv) {
  install_signals();
  read_options(argc, argv);
  if (station.dbg) openlog(station.appName.c_str(), kLogPid | kLogStderr, kLogFacilityUser);
  syslog(kLogInfo, "%s", build_stamp);
  (void)std::printf("%s %s\n", station.appName.c_str(), build_stamp);
  harkd.listen_fd.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!harkd.listen_fd.is_open()) {
    report_socket_error("socket()");
    return kExitNoSocket;
  }
  start_name();
  connect_modules();
  if (sipctrl_initialize() != 0) {
    (void)std::fprintf(stderr, "%s SIP initialize failed\n", station.appName.c_str());
    return kExitNoSip;
  }
  if (const int result = start_model(); result != 0) return result;
  if (const int result = start_records(); result != 0) return result;
  if (qncpptt_initialize() < 0) return kExitNoPort;
  harkd_ext_init(server.cons.data(), kMaxConnections);
  (void)harkd_ext_config_load();
  if (const int result = open_control_port(); result != 0) return result;
  dial_routing_daemon();
  harkbonjour_callback = stations_changed;
  harkbonjour_before_exit = end_for_name_conflict;
  return 0;
}

int harkd_cleanup() {
  harkbonjour_cleanup();
  { const UniqueFd closing(harkqnr_fd()); }
  harkqnr_connected(-1);
  sipctrl_done();
  // What the talk lines took over goes back with them.
  qnrifb_cleanup();
  qncpptt_cleanup();
  station.ifa_name.clear();
  server_cleanup();
  harkd = HarkdState{};
  harkqnr_gpio_clear_events();
  vgpio_cleanup();
  drv_gpio.ngpi = drv_gpio.ngpo = 0;
  (void)qnrdb_cleanup(&qnrobjdb);
  return 0;
}

void harkd_stop() { bStopSignaled = 1; }

}  // namespace hark

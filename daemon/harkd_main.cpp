// The one loop of the program: every socket, every timer. One `now` serves a whole pass.
#include "daemon/harkd.h"

#include <sys/select.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "addressing/harkbonjour.h"
#include "base/clock.h"
#include "base/fd.h"
#include "callctl/sipctrl.h"
#include "cpsip/cpsip_socket.h"
#include "daemon/harkd_private.h"
#include "daemon/log/log.h"
#include "daemon/network.h"
#include "daemon/qnrlib/qnrcli.h"
#include "daemon/server.h"
#include "daemon/server_cmd.h"
#include "daemon/settings.h"
#include "daemon/station/station.h"
#include "routing/harkqnr.h"
#include "routing/qncpptt.h"
#include "routing/qnr_gpio.h"
#include "routing/qnrifb.h"

namespace hark {
namespace {

constexpr suseconds_t kPassTimeoutUs = 10'000;
constexpr TimeUs kSlowPeriodUs = 3'000'000;
constexpr TimeUs kMdnsFirstRetryUs = 1'000'000;
constexpr TimeUs kMdnsLongestRetryUs = 16'000'000;
constexpr std::uint32_t kOutputPins = 31;

struct Sets {
  fd_set readable;
  fd_set writable;
  fd_set failed;
  int highest = -1;

  Sets() { clear(); }
  void clear() {
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_ZERO(&failed);
  }
};

struct LoopTimers {
  TimeUs t_slow;
  TimeUs t_mdns;
  TimeUs mdns_retry_us = 0;
  int announced_hwready = -1;  // whether there was a panel at the last start of DNS-SD; -1 before the first
};

template <typename Act>
void for_each_panel(Act act) {
  for (int i = 0; i < kMaxConnections; ++i) {
    if (HarkUIProxy* panel = server.panel(i)) act(*panel, i);
  }
}

void fill(Sets& sets) {
  sets.clear();
  // Negative before the stack is started: it has no sets.
  sets.highest = std::max(CPSIP_Select_FDs(sets.readable, sets.failed, sets.writable), 0) - 1;
  for (const int fd : server.cons)
    (void)fdset_add(fd, sets.readable, sets.highest);
  (void)fdset_add(harkd.listen_fd.get(), sets.readable, sets.highest);
  (void)fdset_add(harkqnr_fd(), sets.readable, sets.highest);
  sets.highest = std::max(
      {sets.highest, qnrifb_selectevents(sets.readable, sets.writable), qncpptt_selectevents(sets.readable)});
  // While DNS-SD waits for its next start it is not served, and what is ready there would keep the loop
  // awake.
  if (!station.harkbonjour_init) sets.highest = std::max(sets.highest, harkbonjour_addfdset(sets.readable));
}

void serve_connections(const Sets& sets, TimeUs now) {
  for (int i = 0; i < kMaxConnections; ++i) {
    if (!fdset_has(server.socket(i), sets.readable)) continue;
    const int fd = server.socket(i);
    // -1 with the slot's socket still there: it was lost. Given up by its own command: it is cleared already.
    if (server_recv(i) == -1 && server.socket(i) == fd) server_disconnected(i, now);
  }
}

void serve_mdns(const Sets& sets, LoopTimers& timers) {
  if (station.harkbonjour_init || harkbonjour_processevents(sets.readable) >= 0) return;
  harkbonjour_cleanup();
  station.harkbonjour_init = true;
  timers.mdns_retry_us = kMdnsFirstRetryUs;
  syslog(kLogError, "mdns failure\n");
}

void dispatch(const Sets& sets, LoopTimers& timers, TimeUs now) {
  if (fdset_has(harkd.listen_fd.get(), sets.readable)) (void)server_accept(harkd.listen_fd.get());
  if (fdset_has(harkqnr_fd(), sets.readable)) (void)harkqnr_recv();
  serve_connections(sets, now);
  serve_mdns(sets, timers);
}

void slow_section(LoopTimers& timers, TimeUs now) {
  const bool due = now - timers.t_slow > kSlowPeriodUs;
  if (!station.networkconfig_dirty && !station.sipservices_dirty && !due) return;
  station.networkconfig_dirty = false;
  if (!station.sipservices_dirty) station.sipservices_dirty = pollnetworkconfiguration() >= 1;
  if (station.harkd_svcname != station.announced_svcname) {
    station.harkbonjour_init = true;
    station.sipservices_dirty = true;
    station.announced_svcname = station.harkd_svcname;
  }
  dial_routing_daemon();
  server.model->TimerAction();
  timers.t_slow = now;
}

bool can_have_services() {
  return station.sip_ip != 0 && station.harkd_svcname[0] != '\0' && station.sip_port != 0 &&
         station.harkd_qnsrcch != 0;
}

// Makes the SIP services anew. All calls drop, which is meant: what changed is part of the services' own
// identity.
void renew_services() {
  if (!station.sipservices_dirty) return;
  station.sipservices_dirty = false;
  (void)sipctrl_removeservice();
  if (!can_have_services()) return;
  if (sipctrl_createservice(station_identity()) != 0) {
    (void)std::fprintf(stderr, "%s SIP service create failed\n", station.appName.c_str());
    return;
  }
  station.harkbonjour_init = true;
  for_each_panel([](HarkUIProxy& panel, int /*i*/) { panel.ActivateLatchedListen(); });
}

void restart_mdns(LoopTimers& timers, TimeUs now) {
  // The name is announced only while there is a panel to answer: the first that comes and the last that goes
  // start it again.
  const int hwready = ishwready();
  if (timers.announced_hwready != -1 && timers.announced_hwready != hwready) station.harkbonjour_init = true;
  if (!station.harkbonjour_init) return;
  if (timers.mdns_retry_us != 0 && now - timers.t_mdns <= timers.mdns_retry_us) return;
  timers.announced_hwready = hwready;
  const char* name = hwready != 0 ? station.announced_svcname.data() : nullptr;
  if (harkbonjour_initialize(station.sip_iface_index, station.ctrl_port, name) != 0) {
    timers.mdns_retry_us = std::clamp(timers.mdns_retry_us * 2, kMdnsFirstRetryUs, kMdnsLongestRetryUs);
  } else {
    timers.mdns_retry_us = 0;
    station.harkbonjour_init = false;
    syslog(kLogNotice, "mdns reconnected\n");
  }
  timers.t_mdns = now;
}

void refresh_panels(TimeUs now) {
  // Cleared first: a latched listen that a panel opens here, or a contact that the outputs move, changes the
  // model again, and all panels must see that in the next pass.
  const std::uint32_t mask = std::exchange(server.model->dirty, 0U);
  for_each_panel([mask, now](HarkUIProxy& panel, int /*i*/) { panel.Notify(mask, now); });
  if ((mask & kDirtyIndicators) != 0) harkgpo_update();
}

void save_settings() {
  if (harkd_ext_config_changed()) harkd_ext_config_save();
  if (!station.bonjour_txt_dirty) return;
  station.bonjour_txt_dirty = false;
  (void)harkbonjour_set_TXT(station.harkd_alt.data(), harkd_get_trgl(), station.harkd_qnsrcch);
}

void tell_panels(const char* what, bool off) {
  for_each_panel([what, off](HarkUIProxy& /*panel*/, int i) {
    server_resp(server.socket(i), "SET Intercom %s=%s\n", what, off ? "OFF" : "ON");
  });
}

void one_pass(const Sets& sets, int ready, LoopTimers& timers, TimeUs now) {
  if (ready > 0) dispatch(sets, timers, now);
  sipctrl_process(now);
  harkd_ext_timer();
  qnrifb_processevents(sets.readable, sets.writable, now);
  qncpptt_processevents(sets.readable, now);
  slow_section(timers, now);
  renew_services();
  restart_mdns(timers, now);
  refresh_panels(now);
  save_settings();
  for (int i = 0; i < kMaxConnections; ++i)
    console_redial(i, now);
}

}  // namespace

void dial_routing_daemon() {
  if (harkqnr_fd() >= 0 || station.harkd_qnrd_ipv4 == 0) return;
  UniqueFd fd(qnr_open(station.harkd_qnrd_ipv4, static_cast<unsigned short>(station.harkd_qnrd_port)));
  if (fd.is_open() && fd.get() < FD_SETSIZE) harkqnr_connected(fd.release());
}

void harkgpo_update() {
  const std::uint32_t outputs = server.model->ComputeGPO();
  if (outputs == harkd.panel_outputs) return;
  const std::uint32_t changed = outputs ^ harkd.panel_outputs;
  harkd.panel_outputs = outputs;
  if ((changed & kOutputPins) != 0) {
    std::array<char, 32> line{};
    format_text(line, "GPI 1 %s\n", gpio2asc((changed & kOutputPins) << 8 | (outputs & kOutputPins)).data());
    server_cmd(line.data(), kInternalConnection);
  }
  if ((changed & kOutTalk) != 0 && (station.harkd_extc & kExtcNoTalkReport) == 0) {
    tell_panels("talk", (outputs & kOutTalk) != 0);
  }
  if ((changed & kOutListen) != 0 && (station.harkd_extc & kExtcNoListenReport) == 0) {
    tell_panels("listen", (outputs & kOutListen) != 0);
  }
}

int harkd_main() {
  TimeUs now = clock_now();
  LoopTimers timers{now, now};
  Sets sets;
  for (;;) {
    fill(sets);
    timeval timeout{0, kPassTimeoutUs};
    const int ready = ::select(sets.highest + 1, &sets.readable, &sets.writable, &sets.failed, &timeout);
    const int error = errno;
    const TimeUs before = now;
    now = clock_now();
    server_new_pass(now - before);
    if (ready < 0) {
      sets.clear();
      if (bStopSignaled == 0) {
        (void)std::fprintf(stderr, "%s: select() err=%d\n", station.appName.c_str(), error);
        (void)harkd_cleanup();
        return -1;
      }
    }
    one_pass(sets, ready, timers, now);
    if (bStopSignaled == 0) continue;
    syslog(kLogNotice, "SIGTERM received");
    (void)harkd_cleanup();
    return 0;
  }
}

}  // namespace hark

// What the station is and wants: every process-wide setting, and the flags by which a change asks the main
// loop for work. Options, settings file, routing daemon and contacts write here; everybody reads.
#pragma once

#include <netinet/in.h>

#include <array>
#include <cstddef>
#include <string>

#include "base/clock.h"

namespace hark {

inline constexpr std::size_t kLabelSize = 11;  // 10 characters and the NUL
using Label = std::array<char, kLabelSize>;

// Kinds of line; also the numbers of the two SIP services.
inline constexpr int kListenKind = 1;  // what this station hears
inline constexpr int kTalkKind = 2;    // what it talks to

// A wish about a call.
inline constexpr char kWishConnect = '1';
inline constexpr char kWishDrop = '0';
inline constexpr char kNoWish = '\xff';

inline constexpr int kDefaultTriggerLevel = 3;  // zero-based
inline constexpr int kMutedGain = -1000;        // tenths of a dB: silence

// Far beyond any fader, any contact's channel or pin, any routing destination: numbers from outside are held
// to these, so that their sums stay in range.
inline constexpr int kGainLimit = 1'000'000;
inline constexpr int kNumberLimit = 1'000'000;

// Bits of harkd_extc.
inline constexpr int kExtcNoTalkReport = 1;
inline constexpr int kExtcNoListenReport = 2;

struct Station {
  // Names and files.
  std::string appName = "harkd";
  std::string ApplicationSettingsFolder = "/etc/Orfe/hark";
  std::string harkconfig_file = "/etc/Orfe/hark/harkd.conf";

  // Options of the command line and the option file.
  std::string harkd_iface_name = "eth0";        // its hardware address forms the default service name
  std::string harkd_ifa_name_default = "eth0";  // initial value of ifa_name
  std::string ifa_name;                         // interface polled for the SIP address; empty: none
  int hark_nkeys = 90;                          // keys of the shared panel model
  int sip_port = 5060;                          // the two services use the two ports above it
  int ctrl_port = 4013;                         // TCP
  int harkd_qnrd_port = 4010;                   // TCP
  in_addr_t harkd_qnrd_ipv4 = 0;                // network order; 0: no routing daemon. 127.0.0.1 by default
  int harkd_qnrd_io_min = 1;                    // first and last routing destination of the listen lines
  int harkd_qnrd_io_max = 8;
  int harkd_qnrd_io_src = 1;  // routing source number of this station
  int tcp_backlog = 17;
  bool dbg = false;  // foreground, log to stderr as well, traces on stdout

  // What is found out or told while running.
  int harkd_qnrd_gpio_base = 1;     // first GPIO channel of the intercom at the routing daemon
  in_addr_t sip_ip = 0;             // network order
  unsigned sip_iface_index = 0;     // of the interface that holds sip_ip
  Label harkd_svcname{};            // the station's service name
  bool svcname_configured = false;  // the name was given, not made
  Label harkd_alt{};                // name of the local source
  Label announced_svcname{};        // the name last announced
  in_addr_t harkd_qnsrcch = 0;   // network order; multicast address (or channel number) of the local source
  in_addr_t harkd_qnprevch = 0;  // network order; the preview source
  bool harkd_onair = false;

  // Settings of the HARK line.
  int harkd_trgl_normal = kDefaultTriggerLevel;  // zero-based; off air
  int harkd_trgl_onair = kDefaultTriggerLevel;   // on air
  int harkd_ifbgain = -240;                      // tenths of a dB: a dimmed listen line
  int harkd_extc = 0;
  TimeUs hark_fardrop_timeout = 5'000'000;   // how long a far-dropped listen line is shown
  TimeUs hark_localdrop_delay_us = 400'000;  // between the wish to drop and the drop
  TimeUs hark_recentcall_timeout_us = 60'000'000;
  long harkui_tap_time_ms = 200;  // a key released sooner is a tap
  int harkui_aans = -1;           // auto-answer; -1: as the panels ask

  // Work that the main loop is asked for.
  bool networkconfig_dirty = false;
  bool sipservices_dirty = false;
  bool bonjour_txt_dirty = false;
  bool harkbonjour_init = false;  // the DNS-SD layer must be started again
};

extern Station station;

// Puts every setting back to its value at program start.
void station_reset();

// The trigger level that fits the on-air state, zero-based.
[[nodiscard]] int harkd_get_trgl();

// Takes at most 10 characters as the service name. 0 when it is the name already, else 1; the DNS-SD layer is
// then asked to start again.
int harkd_set_svcname(const char* name);

// Takes the interface to poll for the SIP address (null: none). Nothing in the system calls it; it is there
// for a deployment that moves the station to another interface.
void harkd_set_ifid(const char* name);

// "IC %02X%02X%02X" of the last three bytes of the hardware address of harkd_iface_name. Without one `out` is
// left empty and the reason is printed.
void harkd_mkdefaultsvcname(char* out, std::size_t n);

// Reads the hardware address of `ifname` into six bytes. False, with errno set, when there is none.
[[nodiscard]] bool read_hardware_address(const char* ifname, std::array<unsigned char, 6>& out);

// The multicast address of the local source in host order; a channel number is widened. 0 when there is none.
[[nodiscard]] in_addr_t local_source_address();

// "a.b.c.d" of an address in network order.
[[nodiscard]] std::array<char, INET_ADDRSTRLEN> dotted(in_addr_t address);

}  // namespace hark

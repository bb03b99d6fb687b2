// The lines that come from the routing daemon, from the settings file and from clients: one function for each
// kind.
#include "routing/harkqnr.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/text.h"
#include "daemon/qnrlib/qnrdb.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/station.h"
#include "routing/harkqnr_gpio.h"

namespace hark {
namespace {

constexpr int kMaxContactPins = 64;    // more than any port has; what a line may cost is bounded by it
constexpr long kStationGpioPorts = 8;  // the last ports at the routing daemon are the intercom's
constexpr int kConsoleValueSize = 33;  // 32 characters and the NUL
constexpr long kRelayChassisPort = 4020;

// A setting's number, held to the range of int: nothing on a line may overflow what it is stored in.
int to_int(long value) { return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX)); }

// The number behind the keyword; `rest` is left behind it.
long leading_number(const char*& rest) {
  char* end = nullptr;
  const long number = std::strtol(rest, &end, 0);
  rest = end;
  return number;
}

void take_ver(const char* rest) {
  const long ngpi = qnr_getl(rest, "NGPI", 0);
  if (ngpi <= kStationGpioPorts || ngpi > kNumberLimit) return;
  station.harkd_qnrd_gpio_base = to_int(ngpi - kStationGpioPorts);
}

void take_gpo(const char* rest) {
  const int channel = to_int(leading_number(rest));
  if (*rest != ' ') return;
  ++rest;
  for (int pin = 1; pin <= kMaxContactPins && *rest != '\0' && std::strchr("LHlhxX", *rest) != nullptr;
       ++pin, ++rest) {
    if (*rest == 'L' || *rest == 'H') harkqnr_gpio_callback(channel, pin, *rest);
  }
}

void source_changed() {
  station.sipservices_dirty = true;
  station.bonjour_txt_dirty = true;
}

void take_src(const char* rest) {
  if (leading_number(rest) != station.harkd_qnrd_io_src) return;
  if (const char* rtpa = qnr_findval(rest, "RTPA"); rtpa != nullptr) {
    const auto address = static_cast<in_addr_t>(qnr_valip(rtpa));
    if (address != station.harkd_qnsrcch) {
      station.harkd_qnsrcch = address;
      source_changed();
    }
  }
  if (const char* psnm = qnr_findval(rest, "PSNM"); psnm != nullptr) {
    Label name{};
    qnr_copyval(name.data(), psnm, kLabelSize);
    if (field_text(name) != field_text(station.harkd_alt)) {
      station.harkd_alt = name;
      source_changed();
    }
  }
}

void take_dst(const char* rest) {
  const long number = leading_number(rest);
  if (number < station.harkd_qnrd_io_min) return;
  const long dst = number - station.harkd_qnrd_io_min;
  const char* volume = qnr_findval(rest, "AVOL");
  if (volume != nullptr && harkqnr_hooks.dst_volume_changed != nullptr) {
    harkqnr_hooks.dst_volume_changed(to_int(dst), qnr_vall(volume));
  }
}

// A trigger level stands one higher on the wire, so that 0 there means none.
void take_trigger_level(const char* rest, const char* tag, int& level) {
  const char* value = qnr_findval(rest, tag);
  if (value == nullptr) return;
  int wanted = to_int(std::clamp<long>(qnr_vall(value), INT_MIN + 1, INT_MAX)) - 1;
  if (wanted < 0) wanted = kDefaultTriggerLevel;
  if (wanted == level) return;
  level = wanted;
  source_changed();
}

void take_diml(const char* value) {
  const bool mute = *value == '*' || (*value == '"' && value[1] == '*');
  const int gain = to_int(std::clamp<long>(qnr_vall(value), -kGainLimit, kGainLimit));
  station.harkd_ifbgain = mute ? kMutedGain : gain > 0 ? -gain : gain;
}

void take_labl(const char* value) {
  Label name{};
  qnr_copyval(name.data(), value, kLabelSize);
  if (name[0] == '\0') harkd_mkdefaultsvcname(name.data(), name.size());
  (void)harkd_set_svcname(name.data());
}

// A time in ms that is not negative. The limit, some 24 days, keeps it in any later arithmetic.
long time_ms(const char* value) { return std::clamp<long>(qnr_vall(value), 0, INT_MAX); }

void take_hark(const char* rest) {
  if (const char* value = qnr_findval(rest, "DROPFLASH"))
    station.hark_fardrop_timeout = time_ms(value) * kUsPerMs;
  take_trigger_level(rest, "TRGL", station.harkd_trgl_normal);
  take_trigger_level(rest, "TRGLA", station.harkd_trgl_onair);
  if (const char* value = qnr_findval(rest, "DIML")) take_diml(value);
  if (const char* value = qnr_findval(rest, "LATCH")) station.harkui_tap_time_ms = time_ms(value);
  if (const char* value = qnr_findval(rest, "AANS")) station.harkui_aans = to_int(qnr_vall(value));
  if (const char* value = qnr_findval(rest, "EXTC")) station.harkd_extc = to_int(qnr_vall(value));
  if (const char* value = qnr_findval(rest, "LABL")) take_labl(value);
  qnrdb_indi(kAllConnections, "HARK", -1, nullptr);
}

// The supervisor object tells where the console is: an address, or what kind of device this is, which implies
// it.
void take_supv(const char* rest) {
  std::array<char, kConsoleValueSize> value{};
  std::array<char, kConsoleValueSize> address{};
  if (const char* ip = qnr_findval(rest, "CONSOLE_IP"); ip != nullptr) {
    qnr_copyval(address.data(), ip, kConsoleValueSize);
  } else if (const char* type = qnr_findval(rest, "DEVICE_TYPE"); type != nullptr) {
    qnr_copyval(value.data(), type, kConsoleValueSize);
    TextWriter out(address);
    out.append("127.0.0.1");
    if (equal_nocase(value.data(), "RELAYCHASSIS")) out.append(":%ld", kRelayChassisPort);
  } else {
    return;
  }
  if (harkqnr_hooks.consoleconnect != nullptr) harkqnr_hooks.consoleconnect(address.data());
}

void take_other(const char* line) {
  for (const char* prefix : {"INDI ", "EVENT "}) {
    if (starts_with_nocase(line, prefix)) {
      line += std::strlen(prefix);
      break;
    }
  }
  constexpr std::string_view kSupervisor = "SUPV ";
  if (starts_with_nocase(line, kSupervisor)) take_supv(line + kSupervisor.size());
}

struct LineKind {
  std::string_view prefix;
  void (*take)(const char* rest);
};

// What the line begins with, case counting; who takes the rest.
constexpr std::array<LineKind, 5> kLineKinds{{
    {"VER ", take_ver},
    {"GPO ", take_gpo},
    {"SRC ", take_src},
    {"DST ", take_dst},
    {"HARK ", take_hark},
}};

}  // namespace

void harkqnr_cmd(const char* line) {
  if (station.dbg) (void)std::printf("harkqnr_ctrl < %s\n", line);
  for (const LineKind& kind : kLineKinds) {
    if (std::strncmp(line, kind.prefix.data(), kind.prefix.size()) != 0) continue;
    kind.take(line + kind.prefix.size());
    return;
  }
  take_other(line);
}

}  // namespace hark

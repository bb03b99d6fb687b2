#include "routing/vgpio.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "base/clock.h"
#include "daemon/log/log.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/station/station.h"

namespace hark {

GpioDriver drv_gpio{0, 0, vgpio_gpo, vgpio_gpo_pulse, vgpio_gpo_cfg, vgpio_gpi, vgpio_gpi_set};

namespace {

constexpr std::uint16_t kAllHighWord = kGpioAllHigh << 8;  // levels stand in bits 8 to 12
constexpr std::size_t kMaxConfig = 1980;                   // so that "CFG GPO n " and the text are one line
constexpr int kNoPulse = -1;
constexpr long kScanLimitMs = 25;  // closures shorter than a scan can be lost
constexpr TimeUs kScanWarningPeriod = 30 * kUsPerSecond;

const char* const validtags_CFG_GPO[] = {"NAME", "SRCA", "FUNC", "CMAP", nullptr};

struct GpioPort {
  std::string cfg;                 // tag list
  std::uint32_t follow_state = 0;  // by pin: the level to take when a pulse ends
  std::array<TimeUs, kGpioPins> pulse_start{};
  std::array<std::int32_t, kGpioPins> pulse_ms{kNoPulse, kNoPulse, kNoPulse, kNoPulse, kNoPulse};
  std::uint16_t gpi_local = kAllHighWord;
  std::uint16_t gpo_local = kAllHighWord;
  std::uint16_t* gpi = &gpi_local;  // borrowed
  std::uint16_t* gpo = &gpo_local;  // borrowed
};

// The rhythm of the scan.
struct ScanWatch {
  TimeUs last_scan = 0;     // 0: none yet
  TimeUs last_warning = 0;  // 0: none yet
  long longest_ms = 0;
};

struct VgpioState {
  std::unique_ptr<GpioPort[]> gpo_func;
  int count = 0;
  ScanWatch watch;
};
VgpioState g_vgpio;

GpioPort* find_port(int port) {
  return port >= 0 && port < g_vgpio.count ? &g_vgpio.gpo_func[static_cast<std::size_t>(port)] : nullptr;
}

bool is_pin(int pin) { return pin >= 0 && pin < kGpioPins; }

int level_byte(std::uint16_t word) { return word >> 8; }

void set_pin(std::uint16_t& word, int pin, int level) {
  const unsigned bit = 1U << pin;
  const unsigned old = static_cast<unsigned>(level_byte(word));
  word = static_cast<std::uint16_t>((level != 0 ? old | bit : old & ~bit) << 8);
}

void watch_scan(TimeUs now) {
  ScanWatch& watch = g_vgpio.watch;
  if (watch.last_scan != 0) {
    watch.longest_ms = std::max(watch.longest_ms, static_cast<long>((now - watch.last_scan) / kUsPerMs));
  }
  watch.last_scan = now;
  if (watch.longest_ms <= kScanLimitMs) return;
  if (watch.last_warning != 0 && now - watch.last_warning < kScanWarningPeriod) return;
  syslog(kLogWarning, "GPIO scan latency %lums. Contact closures may be lost.\n",
         static_cast<unsigned long>(watch.longest_ms));
  watch.last_warning = now;
  watch.longest_ms = 0;
}

void end_pulses(GpioPort& port, TimeUs now) {
  for (int pin = 0; pin < kGpioPins; ++pin) {
    const auto i = static_cast<std::size_t>(pin);
    if (port.pulse_ms[i] == kNoPulse || (now - port.pulse_start[i]) / kUsPerMs <= port.pulse_ms[i]) continue;
    set_pin(*port.gpo, pin, static_cast<int>(port.follow_state >> pin & 1));
    port.pulse_ms[i] = kNoPulse;
  }
}

}  // namespace

int vgpio_init(int n, std::uint16_t* gpi_ext, std::uint16_t* gpo_ext, int n_ext) {
  vgpio_cleanup();
  if (n < 0) return -1;
  g_vgpio.gpo_func.reset(new (std::nothrow) GpioPort[static_cast<std::size_t>(n)]);
  if (!g_vgpio.gpo_func) return -1;
  g_vgpio.count = n;
  const int external = n_ext < 1 ? n : std::min(n, n_ext);
  for (int port = 0; port < external; ++port) {
    if (gpi_ext != nullptr) find_port(port)->gpi = gpi_ext + port;
    if (gpo_ext != nullptr) find_port(port)->gpo = gpo_ext + port;
  }
  return 0;
}

void vgpio_cleanup() { g_vgpio = VgpioState{}; }

int vgpio_gpi(int port) {
  vgpio_timer(port);
  const GpioPort* found = find_port(port);
  return found != nullptr ? level_byte(*found->gpi) : -1;
}

int vgpio_gpo(int port) {
  const GpioPort* found = find_port(port);
  return found != nullptr ? level_byte(*found->gpo) : -1;
}

void vgpio_gpi_set(int port, int pin, int level) {
  GpioPort* found = find_port(port);
  if (found != nullptr && is_pin(pin)) set_pin(*found->gpi, pin, level);
}

void vgpio_gpo_pulse(int port, int pin, int level, long ms) {
  GpioPort* found = find_port(port);
  if (found == nullptr || !is_pin(pin)) return;
  set_pin(*found->gpo, pin, level);
  const auto i = static_cast<std::size_t>(pin);
  const std::uint32_t bit = 1U << pin;
  const bool pulse = ms >= 1;
  const bool level_after = pulse ? level == 0 : level != 0;
  found->follow_state = level_after ? found->follow_state | bit : found->follow_state & ~bit;
  found->pulse_ms[i] = pulse ? static_cast<std::int32_t>(std::min<long>(ms, INT32_MAX)) : kNoPulse;
  if (pulse) found->pulse_start[i] = clock_now();
  if (!station.dbg) return;
  (void)std::printf("gpio_gpo_pulse(%d,%d,%d,%ld) duration=%ld follow_state=%X\n", port, pin, level, ms,
                    static_cast<long>(found->pulse_ms[i]), found->follow_state);
}

const char* vgpio_gpo_cfg(int port, const char* change) {
  GpioPort* found = find_port(port);
  if (found == nullptr) return nullptr;
  if (change != nullptr) {
    std::string merged = qnr_alter_str(found->cfg.c_str(), change, validtags_CFG_GPO);
    if (merged.size() <= kMaxConfig) found->cfg = std::move(merged);
  }
  return found->cfg.c_str();
}

void vgpio_timer(int port) {
  GpioPort* found = find_port(port);
  if (found == nullptr) return;
  const TimeUs now = clock_now();
  watch_scan(now);
  end_pulses(*found, now);
}

}  // namespace hark

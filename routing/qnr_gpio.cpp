#include "routing/qnr_gpio.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

#include "base/text.h"
#include "daemon/qnrlib/qnrdb.h"
#include "daemon/qnrlib/tagtext.h"
#include "routing/harkqnr.h"

namespace hark {

QnrGpio qnr_gpio;

QnrGpio::QnrGpio() {
  ver = qnr_gpio_ver;
  input = qnr_gpio_input;
}

namespace {

// A command line after its keyword and number.
struct Command {
  int port;          // zero-based
  const char* line;  // from "GPO" or "GPI" on
  const char* rest;  // behind the number and its blanks, never empty
};

bool may_change(const QnrGpio& gpio, int client) {
  if (client < 0 || gpio.server == nullptr || gpio.server->access == nullptr) return true;
  return (gpio.server->access[client] & kAccessGpio) != 0;
}

// A command that this station does not run itself ("GPO 3 CMD:...") is passed to whoever subscribed to the
// contact.
void pass_on(const char* name, const Command& command) {
  std::array<char, kMaxLine + 3> text{};  // the longest line and its end
  format_text(text, "%s\r\n", command.line);
  qnrdb_indi(kAllConnections, name, command.port, text.data());
}

bool is_passed_on(const Command& command, const char* name) {
  if (std::strncmp(command.rest, "CMD:", 4) != 0) return false;
  pass_on(name, command);
  return true;
}

// The ms of a "DURATION" behind the states and one blank; 0 when there is none.
long duration_ms(const char* states) {
  const std::string_view kTag = "DURATION";
  const char* p = states + std::strspn(states, "HhLlXx");
  if (*p != ' ' || std::strncmp(p + 1, kTag.data(), kTag.size()) != 0) return 0;
  p += 1 + kTag.size();
  return *p == '=' || *p == ':' ? std::strtol(p + 1, nullptr, 10) : 0;
}

// Calls `set(pin, level)` for each pin that the word changes.
template <typename Set>
void for_each_change(unsigned word, Set set) {
  for (int pin = 0; pin < kGpioPins; ++pin) {
    if ((word >> 8 >> pin & 1) != 0) set(pin, static_cast<int>(word >> pin & 1));
  }
}

// Reports the ports of one direction whose levels differ from what was last reported.
// Kept: 0 stands for a port that was never reported, so that a port with all pins low is reported again on
// each pass, with every pin as changed. Who drives a relay by these reports gets the closure repeated, and
// relies on it.
void notify_ports(const char* name, int count, int (*level)(int), std::span<std::uint8_t> state,
                  bool to_routing) {
  for (int port = 0; port < std::min(count, kMaxGpioPorts); ++port) {
    std::uint8_t& reported = state[static_cast<std::size_t>(port)];
    const unsigned current = static_cast<unsigned>(level(port)) & 0xFF;
    const unsigned old = reported == 0 ? kGpioAllHigh : reported;
    if (current == old) continue;
    std::array<char, 32> text{};
    format_text(text, "%s %d %s\r\n", name, port + 1, gpio2asc(current | (old ^ current) << 8).data());
    reported = static_cast<std::uint8_t>(current);
    qnrdb_indi(kAllConnections, name, port, text.data());
    if (to_routing) harkqnr_cmd(text.data());
  }
}

void qnr_gpio_notify(QnrGpio& gpio) {
  notify_ports("GPI", gpio.drv->ngpi, gpio.drv->gpi, gpio.gpi_state, false);
  notify_ports("GPO", gpio.drv->ngpo, gpio.drv->gpo, gpio.gpo_state, true);
}

int do_gpo(QnrGpio& gpio, const Command& command) {
  const unsigned word = asc2gpio(command.rest);
  if (word == 0) {
    (void)is_passed_on(command, "GPO");
    return 0;
  }
  const long ms = duration_ms(command.rest);
  for_each_change(word, [&](int pin, int level) { gpio.drv->gpo_pulse(command.port, pin, level, ms); });
  qnr_gpio_notify(gpio);
  return 0;
}

int do_gpi(QnrGpio& gpio, const Command& command) {
  const unsigned word = asc2gpio(command.rest);
  if (word == 0) {
    (void)is_passed_on(command, "GPI");
    return 0;
  }
  for_each_change(word, [&](int pin, int level) { gpio.drv->gpi_set(command.port, pin, level); });
  qnr_gpio_notify(gpio);
  return 0;
}

int do_cfg_gpo(QnrGpio& gpio, const Command& command) {
  (void)gpio.drv->gpo_cfg(command.port, command.rest);
  qnrdb_indi(kAllConnections, "CFG GPO", command.port, nullptr);
  if (gpio.server != nullptr) gpio.server->changed = true;
  return 0;
}

struct Keyword {
  std::string_view word;
  std::size_t object_at;  // where "GPO" or "GPI" stands in it
  int GpioDriver::*count;
  int (*run)(QnrGpio&, const Command&);
};

// keyword (case counts), offset of the object's name in it, the count of ports it runs on, what it does
constexpr std::array<Keyword, 4> kKeywords{{
    {"CFG GPO", 4, &GpioDriver::ngpo, do_cfg_gpo},
    {"SET GPO", 4, &GpioDriver::ngpo, do_gpo},
    {"GPO", 0, &GpioDriver::ngpo, do_gpo},
    {"GPI", 0, &GpioDriver::ngpi, do_gpi},
}};

// The one error that the client gets for the line: that it is no other command either need not be told.
int refuse(QnrGpio& gpio, int client, const char* error) {
  qnrdb_indi(client, nullptr, -1, error);
  if (gpio.server != nullptr) gpio.server->answered = true;
  return -1;
}

int run_keyword(QnrGpio& gpio, int client, const char* line, const Keyword& keyword) {
  if (!may_change(gpio, client)) return refuse(gpio, client, QNR_ERROR_BADCOMMAND);
  const char* p = line + keyword.word.size();
  if (*p != ' ') return -1;
  char* end = nullptr;
  const unsigned long number = std::strtoul(p, &end, 0);
  if (end == p) return -1;
  p = end + std::strspn(end, " ");
  if (*p == '\0') return -1;  // a plain read, which is the object table's
  if (number < 1 || number > static_cast<unsigned long>(gpio.drv->*keyword.count)) {
    return refuse(gpio, client, QNR_ERROR_BADPORT);
  }
  return keyword.run(gpio, {static_cast<int>(number) - 1, line + keyword.object_at, p});
}

int run_line(QnrGpio& gpio, int client, const char* line) {
  for (const Keyword& keyword : kKeywords) {
    if (gpio.drv->ngpo != 0 && std::strncmp(line, keyword.word.data(), keyword.word.size()) == 0) {
      return run_keyword(gpio, client, line, keyword);
    }
  }
  return -1;
}

int level_text(int level, char* buf, std::size_t n) {
  if (level < 0) return 0;
  return format_text(std::span(buf, n), "%s", gpio2asc(static_cast<unsigned>(level)).data());
}

}  // namespace

std::array<char, kGpioPins + 1> gpio2asc(unsigned word) {
  std::array<char, kGpioPins + 1> text{};
  for (unsigned pin = 0; pin < kGpioPins; ++pin) {
    const bool high = (word >> pin & 1) != 0;
    const bool changed = (word >> 8 >> pin & 1) != 0;
    text[pin] = high ? (changed ? 'H' : 'h') : (changed ? 'L' : 'l');
  }
  return text;
}

unsigned asc2gpio(const char* text) {
  unsigned word = 0;
  for (unsigned pin = 0; pin < kGpioPins; ++pin) {
    switch (text[pin]) {
      case 'H':
      case 'h':
        word |= 0x101U << pin;
        break;
      case 'L':
      case 'l':
        word |= 0x100U << pin;
        break;
      case 'X':
      case 'x':
        break;
      default:
        return word;
    }
  }
  return word;
}

int qnr_gpio_input(QNR_EXT* ext, int client, const char* const* lines, int count) {
  int result = -1;
  for (const char* line : std::span(lines, static_cast<std::size_t>(std::max(count, 0)))) {
    if (run_line(static_cast<QnrGpio&>(*ext), client, line) >= 0) result = 0;
  }
  return result;
}

void qnr_gpio_timer(QNR_EXT* ext) {
  auto& gpio = static_cast<QnrGpio&>(*ext);
  for (int port = 0; port < gpio.drv->ngpo; ++port)
    vgpio_timer(port);
  qnr_gpio_notify(gpio);
}

int qnr_gpio_ver(QNR_EXT* ext, char* buf, std::size_t n) {
  const GpioDriver& drv = *static_cast<QnrGpio&>(*ext).drv;
  TextWriter out(std::span(buf, n));
  if (drv.ngpi != 0) out.append(" NGPI:%d", drv.ngpi);
  if (drv.ngpo != 0) out.append(" NGPO:%d", drv.ngpo);
  return out.length();
}

int qnr_gpio_GPI_get(char* buf, std::size_t n, int index) { return level_text(drv_gpio.gpi(index), buf, n); }

int qnr_gpio_GPO_get(char* buf, std::size_t n, int index) { return level_text(drv_gpio.gpo(index), buf, n); }

int qnr_gpio_CFG_GPO_get(char* buf, std::size_t n, int index) {
  const char* cfg = drv_gpio.gpo_cfg(index, nullptr);
  return cfg == nullptr ? 0 : copy_text(std::span(buf, n), cfg);
}

}  // namespace hark

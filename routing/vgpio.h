// The station's virtual contacts: ports of 5 pins, inputs and outputs, with no hardware behind them, and
// pulses that run in software. Knows nothing of texts or connections; qnr_gpio does.
#pragma once

#include <array>
#include <cstdint>

namespace hark {

inline constexpr int kGpioPins = 5;
inline constexpr int kGpioAllHigh = 31;  // the level byte of a port with all pins high

// Makes `n` ports with all pins high and no configuration. With external words the first `n_ext` ports (all
// when it is below 1) live in those, which are borrowed. 0, or -1 without memory; the old ports are gone in
// any case.
[[nodiscard]] int vgpio_init(int n, std::uint16_t* gpi_ext, std::uint16_t* gpo_ext, int n_ext);
void vgpio_cleanup();

// The level byte of an input (its running pulse is looked after first) or of an output, bit 0 for pin 1; -1
// for a bad port. Ports count from 0.
[[nodiscard]] int vgpio_gpi(int port);
[[nodiscard]] int vgpio_gpo(int port);

// Sets one pin of an input. Pins count from 0. A bad port or pin is ignored.
void vgpio_gpi_set(int port, int pin, int level);

// Sets one pin of an output; with `ms` above 0 it takes the inverse level again after that time.
void vgpio_gpo_pulse(int port, int pin, int level, long ms);

// The configuration (a tag list) of an output, after `change` (null: none) was merged into it; a change that
// would make it longer than a line can hold is not taken. Null for a bad port. Valid until the next change.
const char* vgpio_gpo_cfg(int port, const char* change);

// Ends the pulses of a port that are over, and watches how regularly it is called.
void vgpio_timer(int port);

// The functions and counts of a driver, as the text layer uses them.
struct GpioDriver {
  int ngpi = 0;
  int ngpo = 0;
  int (*gpo)(int port) = nullptr;
  void (*gpo_pulse)(int port, int pin, int level, long ms) = nullptr;
  const char* (*gpo_cfg)(int port, const char* change) = nullptr;
  int (*gpi)(int port) = nullptr;
  void (*gpi_set)(int port, int pin, int level) = nullptr;
};
extern GpioDriver drv_gpio;

}  // namespace hark

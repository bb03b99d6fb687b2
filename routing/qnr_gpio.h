// The virtual contacts as text: the GPI, GPO and CFG GPO commands, their objects, and the reports of what
// changed. Hangs on the server record as its one extension.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "daemon/qnrlib/qnrserver.h"
#include "routing/vgpio.h"

namespace hark {

inline constexpr int kMaxGpioPorts = 128;

// The extension record, with what was last reported.
struct QnrGpio : QNR_EXT {
  QnrGpio();
  GpioDriver* drv = &drv_gpio;  // borrowed
  // The level byte of each port as last reported; 0: not yet.
  std::array<std::uint8_t, kMaxGpioPorts> gpi_state{};
  std::array<std::uint8_t, kMaxGpioPorts> gpo_state{};
};
extern QnrGpio qnr_gpio;

// The five characters of a port. `word`: levels in the low byte, marks of change in the high one; "h" and "l"
// for unchanged pins, "H" and "L" for changed ones.
[[nodiscard]] std::array<char, kGpioPins + 1> gpio2asc(unsigned word);

// The word that at most five characters ask for: marks of change in the high byte, levels in the low one. "x"
// leaves a pin; any other character ends the text. 0: nothing to do.
[[nodiscard]] unsigned asc2gpio(const char* text);

// Handles "CFG GPO n tags", "GPO n states [DURATION:ms]" (or "SET GPO ...") and "GPI n states". 0 if any of
// the lines was one of these and in order, otherwise -1; a port out of range is answered to `client`.
int qnr_gpio_input(QNR_EXT* ext, int client, const char* const* lines, int count);

// Ends pulses and reports what changed. Runs on each pass of the main loop.
void qnr_gpio_timer(QNR_EXT* ext);

// " NGPI:n NGPO:n", each if not 0, into `buf` of `n` bytes; returns the length.
int qnr_gpio_ver(QNR_EXT* ext, char* buf, std::size_t n);

// Object getters: the text of a port behind its name.
int qnr_gpio_GPI_get(char* buf, std::size_t n, int index);
int qnr_gpio_GPO_get(char* buf, std::size_t n, int index);
int qnr_gpio_CFG_GPO_get(char* buf, std::size_t n, int index);

}  // namespace hark

// The server record that extensions hang on, and the two ways of running a settings file through a line
// handler. Used by the daemon's settings and by the virtual GPIO, which is the one extension.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "base/clock.h"

namespace hark {

struct QNR_SERVER;

// One extension of the server: commands that the server doesn't know itself.
struct QNR_EXT {
  QNR_EXT* next = nullptr;       // borrowed
  QNR_SERVER* server = nullptr;  // borrowed; the record that this one hangs on
  // The extension's part of the version text; returns its length.
  int (*ver)(QNR_EXT*, char* buf, std::size_t n) = nullptr;
  // Handles lines; 0 or more when one of them was its own, otherwise negative.
  int (*input)(QNR_EXT*, int client, const char* const* lines, int count) = nullptr;
};

// Rights of a client in QNR_SERVER::access: any of these lets it change contacts.
inline constexpr unsigned char kAccessGpio = 0x82;

struct QNR_SERVER {
  int* cons = nullptr;                    // borrowed; the socket array
  const unsigned char* access = nullptr;  // borrowed; rights by client, null: everybody may
  int count = 0;                          // of `cons`
  QNR_EXT* exts = nullptr;                // borrowed
  bool changed = false;                   // a setting changed that belongs in the settings file
  bool answered = false;                  // an extension refused the line with an error of its own
};

// Path of the settings file in use, and of one to take when that is missing (empty: none).
extern std::string conf_qnr;
extern std::string conf_qnr_default;

// When the running configuration last changed without being saved; 0: it has not.
extern TimeUs tv_conf_running_changed;
extern bool tv_conf_running_changed_run;
void conf_running_changed();

// Called when a settings file has been run through; empty here, for whoever keeps a running configuration.
extern void (*conf_running_load)();

// Each extension's version text, in list order, into `buf` of `n` bytes.
void qnr_ext_ver(QNR_SERVER* server, char* buf, std::size_t n);

// Hands the line to each extension. 0 if any took it, otherwise -1.
[[nodiscard]] int qnr_ext_input(QNR_SERVER* server, const char* line, int client);

// Runs the file `path`, or `fallback` when `path` cannot be opened, through `line`: "BEGIN", each line that
// is not empty, "EXE". A missing file is logged and calls nothing.
void qnr_conf_load(const std::string& path, const std::string& fallback, void (*line)(const char*));

// The two's complement of the 8-bit sum of the bytes, so that data and checksum sum to 0.
[[nodiscard]] unsigned char CalculateChecksum(std::span<const unsigned char> data);

}  // namespace hark

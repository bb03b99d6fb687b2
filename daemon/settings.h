// The settings that clients and the console may change, kept in one file: the list of the commands that would
// set them again. Replayed at start, rewritten whole after a change. Also the way in for commands that the
// server itself does not know.
#pragma once

#include <cstddef>
#include <string>

#include "daemon/qnrlib/qnrserver.h"

namespace hark {

// The server record that the extensions hang on.
extern QNR_SERVER qnr;

// Path of the settings file. Writable for deployments and tests.
extern std::string harkid_file;

// Starts the settings: the server record over `count` sockets (borrowed), and the virtual contacts.
void harkd_ext_init(int* cons, int count);

// Handles one line of connection `client` (-1: the daemon's own). 0 when it was handled, -1 when nobody knows
// it.
int harkd_ext_input(const char* line, int client);

// The version text, such as " SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9". Static.
[[nodiscard]] const char* harkd_ext_ver();

// Looks after the virtual contacts. On each pass of the main loop.
void harkd_ext_timer();

// Whether a setting changed since the last question.
[[nodiscard]] bool harkd_ext_config_changed();

// Replays the settings file. Without one all settings stay as they are. 0.
int harkd_ext_config_load();

// Rewrites the settings file.
void harkd_ext_config_save();

// Line `index` (from 0) of the settings file, without its end, into `buf` of `n` bytes. Its length, below 1
// past the end.
int harkd_ext_save_config_callback(int index, char* buf, std::size_t n);

// Object getters.
int harkd_ext_HARK_get(char* buf, std::size_t n, int index);
int harkd_ext_SRC_get(char* buf, std::size_t n, int index);
int harkd_ext_SET_get(char* buf, std::size_t n, int index);
int harkd_ext_IP_get(char* buf, std::size_t n, int index);

// Registers the objects of the control port. False when one is refused.
[[nodiscard]] bool register_objects();

}  // namespace hark

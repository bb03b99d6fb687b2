// The two tables of lines. A line is one direction of one conversation with one station; its index is at the
// same time its number in the SIP stack, its input at the mixer, and its IFB and PTT port. Only call control
// changes the tables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "addressing/harkurl.h"
#include "base/clock.h"
#include "daemon/station/station.h"

namespace hark {

inline constexpr int kListenLines = 8;
inline constexpr int kTalkLines = 128;

// State letters, as they stand in reports to panels and clients.
inline constexpr char kLineFree = '\0';
inline constexpr char kLineRequest = 'R';  // a far station rings, or a far contact asks; waits for an answer
inline constexpr char kLineSeized = 'S';   // the SIP line was taken for a routing call
inline constexpr char kLineCalling = 'C';  // calling, or waiting for the far acknowledgement
inline constexpr char kLineFarRinging =
    'r';  // far end ringing, or an IFB or PTT request waits for its confirmation
inline constexpr char kLineConnected = '1';   // connected, audio path up
inline constexpr char kLineFarDropped = 'd';  // the far end hung up; shown for the flash time (listen lines)
inline constexpr char kLineOff = '0';         // off: in reports, and of a talk line whose confirmation lapsed

// In a report: this direction is not concerned.
inline constexpr char kNoReport = '\xff';

inline constexpr std::size_t kIfbSize = 65;  // 64 characters and the NUL

struct _tagHARK_LINE {
  std::string url;  // the line's key, the whole intercom URL; empty: free line
  char state = kLineFree;
  long gpio = 0;               // channel of the source's contacts, relative to the station's base; 0: none
  long gpiol = 0;              // pin for listen
  long gpiot = 0;              // pin for talk
  bool gpioack = false;        // the far side acknowledges, so the line waits in "C"
  TimeUs drop_time = 0;        // when the drop was asked for, or when the far end dropped
  bool drop_pending = false;   // a timed drop runs
  std::uint8_t direction = 0;  // 2 for a listen line, 1 for a talk line
  int trgl = 0;                // trigger level of the far station, zero-based
  int trgl_compare = 0;        // the same, as it is compared when gains are set
  int volume = 0;              // tenths of a dB; added to ifb_gain
  int ifb_gain = 0;            // tenths of a dB: the dimming of this listen line
  std::array<char, kIfbSize> ifb{};  // address of a remote IFB link
  std::uint32_t qntb = 0;            // not 0: asks for a PTT request
  bool outlived = false;             // stayed when its service was made anew: it has no SIP line any more
  std::uint32_t use = 0;             // number of the call that the line carries; 0 when free
};
using HarkLine = _tagHARK_LINE;

extern std::array<HarkLine, kListenLines> listen_lines;
extern std::array<HarkLine, kTalkLines> talk_lines;

// The table of a kind: listen lines for 1, talk lines for 2, otherwise empty.
[[nodiscard]] std::span<HarkLine> line_table(int kind);

// The line `i` of a kind, or null for a kind or an index that is none.
[[nodiscard]] HarkLine* getline(int kind, int i);

// Called with the line's key and the state letters of both directions, kNoReport for the one that is not
// concerned, after each change of a call; and with a new listen volume in tenths of a dB. Filled at start;
// never null.
extern void (*sipctrl_modifycall_callback)(const char* url, char listen, char talk);
extern void (*sipctrl_modifycallvolume_callback)(const char* url, long volume);

// Reports `letter` for the own side of a kind.
void report_line(int kind, const std::string& url, char letter);

// Frees every line, without reports.
void InitializeLineTable(std::span<HarkLine> table);

// The index of the first line in use whose key equals `url` by address; -1 when there is none.
[[nodiscard]] int LineTableSearchURL(std::span<const HarkLine> table, const char* url);

// Takes the first free line for `url`. Its index, -1 when the table is full.
[[nodiscard]] int LineTableAlloc(std::span<HarkLine> table, const char* url, std::uint8_t direction);

// Frees the line. One in use in a state other than "0" is reported off: the one place that tells of a line's
// end.
void LineTableFree(std::span<HarkLine> table, int i);
void LineTableFreeAll(std::span<HarkLine> table);

// Frees the listen line of `url` if it is far-dropped. The letter to report for it, "0", or kNoReport.
[[nodiscard]] char release_fardropped_listen(const char* url);

// Whether the line is neither free nor off.
[[nodiscard]] bool is_active(const HarkLine& line);

// Makes the line carry a new call: empty but for `url` and a number of its own.
void begin_use(HarkLine& line, const char* url);

// Looks again after a call that may call back (a report, a contact, the SIP stack): who hears of it may end
// the line's call, and begin another one on the same line. Borrows the line.
class LineWatch {
 public:
  explicit LineWatch(const HarkLine& line) : line_(line), use_(line.use), state_(line.state) {}
  // Whether the line still carries the call that it carried then.
  [[nodiscard]] bool same_call() const { return line_.use == use_; }
  // Whether it is in the same state as well.
  [[nodiscard]] bool unchanged() const { return same_call() && line_.state == state_; }

 private:
  const HarkLine& line_;
  std::uint32_t use_;
  char state_;
};

}  // namespace hark

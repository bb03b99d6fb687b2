// A station for harkctl without sockets: it stands in the places of the connection, of the SIP probe and of
// all waiting (the program is linked without theirs), says what it was given, and keeps what was sent to it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/fuzzing.h"
#include "tools/harkctl/output.h"

namespace hark::fuzz {

// What the station says from here on. `lines` are whole, of any bytes; three of them are marks:
//     %    the connection is lost        @    nothing comes for as long as one waits
//     -    as the first line of a connection: none comes about
// With the last line the connection is lost for good, and a watch ends. `datagrams` are what answers the
// question to a SIP service, whichever it is.
void station_says(const std::vector<std::string>& lines, const std::vector<std::string>& datagrams);

// The lines that were sent since then, without their ends. Each was checked: ended, of at most 2000 bytes,
// without control characters, and of a form that harkctl says.
[[nodiscard]] const std::vector<std::string>& lines_sent();

// Where a command writes to, and what it said: on standard output a text for each call of Output::line.
class Listener {
 public:
  Listener();
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  [[nodiscard]] ctl::Output output() const { return ctl::Output(fd_); }
  void clear() const;
  // The lines, without their ends.
  [[nodiscard]] std::vector<std::string> told() const;
  // What was complained of, as it came.
  [[nodiscard]] std::string complaints() const;

 private:
  int fd_;
  int complaints_fd_;
};

// The branch in a question to a SIP service.
inline constexpr std::string_view kProbeBranch = "z9hG4bKfuzz";

}  // namespace hark::fuzz

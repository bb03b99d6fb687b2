// What a station's control port says, read from its lines: reports of calls, the settings, errors. For
// programs that are clients of a station; the daemon does not use it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace hark::control {

// A line of the CALL object: one call, and those of its states that the line tells.
struct CallReport {
  std::string url;           // the whole text by which the call is known, unescaped
  std::optional<char> talk;  // state letters: 1 R r C S d 0
  std::optional<char> listen;
  std::optional<int> volume;  // tenths of a dB
};

// Reads a line; nothing when it is no report of a call, or has no URL.
[[nodiscard]] std::optional<CallReport> read_call(const std::string& line);

// Who a URL is, for people: its display name, its label, or its address.
[[nodiscard]] std::string name_of(const std::string& url);

// A value of a tag list ("LABL", "TRGL"...), unescaped; nothing when the tag is absent.
[[nodiscard]] std::optional<std::string> tag_of(const std::string& line, const char* tag);
// The same as a number.
[[nodiscard]] std::optional<long> number_of(const std::string& line, const char* tag);

// What an error line says to a person ("too many connections from this host"); nothing when the line is no
// error.
[[nodiscard]] std::optional<std::string> read_error(const std::string& line);

// `text` between quotes, with a backslash before each quote and backslash; control characters become blanks.
[[nodiscard]] std::string quoted(std::string_view text);

// A word for a state letter: "off", "on", "rings in", "rings out", "calling", "seized", "dropped"; "?" for
// others.
[[nodiscard]] std::string_view word_of(char letter);

}  // namespace hark::control

// The file of sources that an operator keeps: one station or source by line, in the URL syntax.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace hark {

// Path of the file. Writable for deployments and tests.
extern std::string harksources_file;

// A line is held in this many bytes, its NUL included; a longer line is read as two.
inline constexpr std::size_t kSourceLineSize = 128;

// Hands each line of `file` to `line`, without its CR and LF; the text is valid during the call. A comment
// ("#") is handed on as an empty line, which ends the details of a station as well. The file is opened, read
// and closed each time, so that a change takes effect at once. Nothing happens when there is no file.
void for_each_source_line(const std::string& file, const std::function<void(const char*)>& line);
// The lines of the operator's file that are not empty.
void for_each_source_line(const std::function<void(const char*)>& line);

}  // namespace hark

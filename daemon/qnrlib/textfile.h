// Small text files that the program shares with others: read whole, so that none is held open, cut into lines
// of a limited length, and replaced whole, so that no reader ever sees half of one.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace hark {

// The content of the file at `path`. None when it cannot be opened or read, is longer than 16 MiB, or is no
// regular file: a folder or a pipe under the name of a file must neither stop the loop nor pass for an empty
// file.
[[nodiscard]] std::optional<std::string> read_text_file(const std::string& path);

// Writes `content` to `path` with "~" appended and renames that over `path`. False when it could not be
// created or not be written to its end; the old file is then as it was.
[[nodiscard]] bool replace_text_file(const std::string& path, std::string_view content);

// Cuts a text into lines of at most `longest` bytes without their LF: a longer line is read as several.
// Borrows the text.
class TextLines {
 public:
  TextLines(std::string_view text, std::size_t longest) : text_(text), longest_(longest) {}

  // The next line with its line end; none behind the last.
  [[nodiscard]] std::optional<std::string_view> next();
  // The same as a text of its own, without its line end, cut to fit `text`. False behind the last.
  bool next_text(std::span<char> text);
  // Where the next line begins, as an offset into the text.
  [[nodiscard]] std::size_t position() const { return position_; }
  void seek(std::size_t position) { position_ = position; }

 private:
  std::string_view text_;
  std::size_t longest_;
  std::size_t position_ = 0;
};

// `line` without the CR and LF at which it ends, and without what may follow them.
[[nodiscard]] std::string_view without_line_end(std::string_view line);

}  // namespace hark

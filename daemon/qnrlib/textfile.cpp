#include "daemon/qnrlib/textfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include "base/fd.h"
#include "base/text.h"

namespace hark {
namespace {

constexpr std::size_t kReadSize = 16384;
constexpr std::size_t kLongestFile = 16U << 20;  // far more than any list of stations
constexpr mode_t kFileMode = 0666;               // less the umask

bool is_regular(int fd) {
  struct stat info {};
  return ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

bool write_all(std::FILE* file, std::string_view content) {
  return std::fwrite(content.data(), 1, content.size(), file) == content.size() && std::fflush(file) == 0;
}

}  // namespace

std::optional<std::string> read_text_file(const std::string& path) {
  // Non-blocking, because opening a pipe that nobody writes to would wait.
  const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!fd.is_open() || !is_regular(fd.get())) return std::nullopt;
  std::string content;
  std::array<char, kReadSize> piece;
  for (;;) {
    const ssize_t got = ::read(fd.get(), piece.data(), piece.size());
    if (got == 0) return content;
    if (got > 0 && content.size() > kLongestFile) return std::nullopt;
    if (got > 0) {
      content.append(piece.data(), static_cast<std::size_t>(got));
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
}

bool replace_text_file(const std::string& path, std::string_view content) {
  const std::string temporary = path + "~";
  // Always a file of its own: what a crash or somebody else left under that name, a pipe or a link at worst,
  // is not opened.
  (void)::unlink(temporary.c_str());
  UniqueFd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode));
  UniqueFile file(fd.is_open() ? ::fdopen(fd.get(), "w") : nullptr);
  if (!file) return false;
  (void)fd.release();
  bool whole = write_all(file.get(), content);
  whole = std::fclose(file.release()) == 0 && whole;
  if (whole && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
  (void)::unlink(temporary.c_str());
  return false;
}

std::optional<std::string_view> TextLines::next() {
  if (position_ >= text_.size()) return std::nullopt;
  const std::string_view rest = text_.substr(position_, longest_ + 1);
  const auto line_end = rest.find('\n');
  const std::string_view line = rest.substr(0, line_end == std::string_view::npos ? longest_ : line_end + 1);
  position_ += line.size();
  return line;
}

bool TextLines::next_text(std::span<char> text) {
  const std::optional<std::string_view> line = next();
  if (line) copy_text(text, without_line_end(*line));
  return line.has_value();
}

std::string_view without_line_end(std::string_view line) {
  return line.substr(0, std::min(line.find_first_of("\r\n"), line.size()));
}

}  // namespace hark

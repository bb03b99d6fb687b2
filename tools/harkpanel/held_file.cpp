#include "tools/harkpanel/held_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "base/text.h"
#include "tools/harkpanel/browser_message.h"

namespace hark::panel_gateway {
namespace {

constexpr std::size_t kLongestFile = 8192;  // far beyond all keys of a panel
constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kPressTime = "T=";
constexpr std::uint64_t kLatestTime = std::uint64_t{1} << 53;

std::string why_not() { return std::strerror(errno); }

bool is_regular(int fd) {
  struct stat state {};
  return ::fstat(fd, &state) == 0 && S_ISREG(state.st_mode);
}

// At most one file's worth of what `fd` holds from its beginning.
std::string read_all(int fd) {
  std::string text(kLongestFile, '\0');
  std::size_t size = 0;
  while (size != text.size()) {
    const ssize_t got = ::pread(fd, text.data() + size, text.size() - size, static_cast<off_t>(size));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    size += static_cast<std::size_t>(got);
  }
  text.resize(size);
  return text;
}

bool write_all(int fd, std::string_view text) {
  off_t at = 0;
  while (!text.empty()) {
    const ssize_t put = ::pwrite(fd, text.data(), text.size(), at);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    at += put;
    text.remove_prefix(static_cast<std::size_t>(put));
  }
  return true;
}

// The time that `word` is; 0 for what is none.
std::int64_t read_time(std::string_view word) {
  const std::uint64_t time = take_digits(word, kLatestTime);
  return word.empty() && time < kLatestTime ? static_cast<std::int64_t>(time) : 0;
}

std::string as_name(std::string_view text, char underscore) {
  std::string name(text);
  for (char& c : name) {
    const bool kept = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-';
    if (!kept) c = c == '_' ? underscore : '-';
  }
  return name;
}

}  // namespace

std::unique_ptr<HeldFile> HeldFile::open(const std::string& path, std::string& error) {
  // Not blocking: a pipe of that name must not stop the start.
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
  if (!file.is_open()) {
    error = why_not();
    return nullptr;
  }
  if (!is_regular(file.get())) {
    error = "not a file";
    return nullptr;
  }
  if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    error = errno == EWOULDBLOCK ? "in use" : why_not();
    return nullptr;
  }
  std::unique_ptr<HeldFile> held(new HeldFile(std::move(file)));
  held->read();
  return held;
}

void HeldFile::read() {
  const std::string content = read_all(file_.get());
  size_ = content.size();
  std::string_view rest = content;
  while (true) {
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
    if (rest.empty()) return;
    const std::string_view word = rest.substr(0, rest.find_first_of(kBlanks));
    rest.remove_prefix(word.size());
    if (word.starts_with(kPressTime)) found_press_ms_ = read_time(word.substr(kPressTime.size()));
    const std::optional<Signature> key = read_key(word);
    if (key && std::find(found_.begin(), found_.end(), *key) == found_.end()) found_.push_back(*key);
  }
}

bool HeldFile::write(const std::vector<Signature>& keys, std::int64_t press_ms) {
  std::string text;
  for (const Signature key : keys) {
    text += sig_text(key).data();
    text += '\n';
  }
  if (!keys.empty() && press_ms > 0) text.append(kPressTime).append(std::to_string(press_ms)).append("\n");
  const std::size_t size = text.size();
  // Blanks over the rest of what stood there: a process that is killed between the two calls leaves no key in
  // the file that is not down.
  text.resize(std::max(size, size_), '\n');
  if (!write_all(file_.get(), text)) return false;
  size_ = text.size();
  if (size_ == size) return true;
  if (::ftruncate(file_.get(), static_cast<off_t>(size)) != 0) return false;
  size_ = size;
  return true;
}

std::string held_file_name(const std::string& folder, std::string_view station, std::string_view id) {
  // An id has no points, so that a point in place of its underscores keeps all ids apart.
  return folder + "/harkpanel-" + as_name(station, '-') + "-" + as_name(id, '.') + ".held";
}

}  // namespace hark::panel_gateway

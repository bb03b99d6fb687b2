#include "tools/harkpanel/shift_names.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"
#include "daemon/qnrlib/tagtext.h"
#include "daemon/qnrlib/textfile.h"

namespace hark::panel_gateway {
namespace {

constexpr std::size_t kLabelSize = 11;  // 10 characters and the NUL, as the station cuts them
constexpr std::string_view kShift = "SHIFT ";

// Tells two states of a file apart without reading it; empty: there is no such file.
std::string stamp_of(const std::string& path) {
  struct stat state {};
  if (path.empty() || ::stat(path.c_str(), &state) != 0) return {};
  std::array<char, 128> text;
  format_text(text, "%lld.%09ld %lld %llu", static_cast<long long>(state.st_mtim.tv_sec),
              state.st_mtim.tv_nsec, static_cast<long long>(state.st_size),
              static_cast<unsigned long long>(state.st_ino));
  return text.data();
}

// Adds a name that is not there yet, as long as there is room.
bool add_name(std::vector<std::string>& names, std::string_view name) {
  if (name.empty() || names.size() >= kMostShifts) return false;
  if (std::find(names.begin(), names.end(), name) != names.end()) return false;
  names.emplace_back(name);
  return true;
}

std::vector<std::string> read_names(const std::string& path) {
  std::vector<std::string> names;
  const std::string content = read_text_file(path).value_or("");
  TextLines lines(content, kMaxLine);
  LineBuffer line;
  while (lines.next_text(line)) {
    if (!std::string_view(line.data()).starts_with(kShift)) continue;
    std::array<char, kLabelSize> label{};
    qnr_copyval(label.data(), qnr_findval(line.data() + kShift.size(), "LABL"), kLabelSize);
    add_name(names, label.data());
  }
  return names;
}

}  // namespace

bool ShiftNames::look() {
  std::string stamp = stamp_of(path_);
  if (stamp == stamp_) return false;
  const std::vector<std::string> before = names();
  of_file_ = stamp.empty() ? std::vector<std::string>() : read_names(path_);
  stamp_ = std::move(stamp);
  return names() != before;
}

bool ShiftNames::clear_told() {
  const std::vector<std::string> before = names();
  told_.clear();
  return names() != before;
}

bool ShiftNames::add_told(std::string_view name) {
  const std::vector<std::string> before = names();
  return add_name(told_, name) && names() != before;
}

bool ShiftNames::choose(std::string_view name) {
  const std::vector<std::string> before = names();
  const bool known = std::find(before.begin(), before.end(), name) != before.end();
  if (!known && asked_.size() >= kMostShifts) asked_.erase(asked_.begin());
  if (!known) add_name(asked_, name);
  const bool is_news = chosen_ != name;
  chosen_ = name;
  return is_news || names() != before;
}

bool ShiftNames::forget_choice() { return !std::exchange(chosen_, {}).empty(); }

std::vector<std::string> ShiftNames::names() const {
  std::vector<std::string> names = of_file_;
  for (const std::vector<std::string>* more : {&told_, &asked_}) {
    for (const std::string& name : *more)
      add_name(names, name);
  }
  return names;
}

}  // namespace hark::panel_gateway

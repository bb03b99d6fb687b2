#include "cpsip/corpus_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace hark::test {
namespace {

namespace fs = std::filesystem;

bool has_line(const Lines& lines, std::string_view wanted) {
  const bool wants_none = wanted.ends_with('=');
  const auto fits = [&](const std::string& line) {
    return wants_none ? line.starts_with(wanted) : line == wanted;
  };
  return std::any_of(lines.begin(), lines.end(), fits) != wants_none;
}

}  // namespace

std::string corpus_file(std::string_view name) {
  const fs::path path = fs::path(HARK_CORPUS_DIR) / name;
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path << " cannot be read";
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::string> corpus_names(std::string_view folder, std::string_view ending) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(HARK_CORPUS_DIR) / folder)) {
    if (entry.path().extension() == ending) names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string missing_lines(const Lines& lines, std::string_view wanted) {
  std::string missing;
  while (!wanted.empty()) {
    const std::string_view line = wanted.substr(0, wanted.find('\n'));
    wanted.remove_prefix(std::min(wanted.size(), line.size() + 1));
    if (!has_line(lines, line)) missing.append(line) += '\n';
  }
  if (missing.empty()) return missing;
  missing += "in:\n";
  for (const std::string& line : lines)
    missing += "  " + line + "\n";
  return missing;
}

std::string difference(const Lines& before, const Lines& after) {
  if (before == after) return {};
  std::string text;
  for (const std::string& line : before) {
    if (!has_line(after, line)) text += "only before: " + line + "\n";
  }
  for (const std::string& line : after) {
    if (!has_line(before, line)) text += "only after: " + line + "\n";
  }
  return text.empty() ? "in another order or number" : text;
}

unsigned Chance::below(unsigned limit) {
  state_ ^= state_ << 13;
  state_ ^= state_ >> 7;
  state_ ^= state_ << 17;
  return static_cast<unsigned>(state_ >> 33) % limit;
}

std::string Chance::word(unsigned low, unsigned high) {
  static constexpr std::string_view kLetters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~%+*'!";
  std::string text(between(low, high), ' ');
  for (char& letter : text)
    letter = kLetters[below(static_cast<unsigned>(kLetters.size()))];
  return text;
}

}  // namespace hark::test

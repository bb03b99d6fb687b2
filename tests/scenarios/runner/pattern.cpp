#include "scenarios/runner/pattern.h"

#include <cctype>
#include <utility>
#include <vector>

namespace hark::test {
namespace {

bool in_name(char c) { return std::islower(static_cast<unsigned char>(c)) != 0; }

// The name behind text[at]; empty for none.
std::string_view name_at(std::string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && in_name(text[end]))
    ++end;
  return text.substr(at, end - at);
}

// The number in "{300}"; empty for none.
std::string_view count_at(std::string_view text, std::size_t at) {
  if (text[at] != '{') return {};
  const std::size_t end = text.find_first_not_of("0123456789", at + 1);
  if (end == std::string_view::npos || end == at + 1 || text[end] != '}') return {};
  return text.substr(at + 1, end - at - 1);
}

struct Piece {
  enum Kind { literal, any, word } kind = literal;
  std::string text;  // the literal, or the name of the word
};

const std::string& value_of(std::string_view name, const Variables& variables, int line) {
  const auto at = variables.find(std::string(name));
  if (at == variables.end()) throw Failure{line, "nothing is known of $" + std::string(name)};
  return at->second;
}

std::vector<Piece> cut(std::string_view pattern, const Variables& variables, int line) {
  std::vector<Piece> pieces;
  std::string literal;
  const auto flush = [&] {
    if (!literal.empty()) pieces.push_back({Piece::literal, std::exchange(literal, {})});
  };
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    const std::string_view name = name_at(pattern, at + 1);
    if (pattern[at] == '*') {
      flush();
      pieces.push_back({Piece::any, {}});
    } else if (pattern[at] == '$' && !name.empty()) {
      literal += value_of(name, variables, line);
      at += name.size();
    } else if (pattern[at] == '{' && !name.empty() && pattern.substr(at + 1 + name.size()).starts_with("}")) {
      flush();
      pieces.push_back({Piece::word, std::string(name)});
      at += name.size() + 1;
    } else {
      literal += pattern[at];
    }
  }
  flush();
  return pieces;
}

bool in_word(char c) { return std::string_view(" \t;,>").find(c) == std::string_view::npos; }

bool match(const std::vector<Piece>& pieces, std::size_t piece, std::string_view text, Variables& words) {
  if (piece == pieces.size()) return text.empty();
  const Piece& now = pieces[piece];
  if (now.kind == Piece::literal)
    return text.starts_with(now.text) && match(pieces, piece + 1, text.substr(now.text.size()), words);
  std::size_t longest = text.size();
  if (now.kind == Piece::word) {
    longest = 0;
    while (longest < text.size() && in_word(text[longest]))
      ++longest;
  }
  const std::size_t shortest = now.kind == Piece::word ? 1 : 0;
  for (std::size_t length = longest + 1; length-- > shortest;) {
    if (!match(pieces, piece + 1, text.substr(length), words)) continue;
    if (now.kind == Piece::word) words[now.text] = std::string(text.substr(0, length));
    return true;
  }
  return false;
}

}  // namespace

std::string Expand(std::string_view text, const Variables& variables, int line) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (const std::string_view count = count_at(text, at); !count.empty() && !out.empty()) {
      out.append(std::stoul(std::string(count)) - 1, out.back());
      at += count.size() + 1;
      continue;
    }
    const std::string_view name = text[at] == '$' ? name_at(text, at + 1) : std::string_view{};
    if (name.empty()) {
      out += text[at];
    } else {
      out += value_of(name, variables, line);
      at += name.size();
    }
  }
  return out;
}

bool Matches(std::string_view pattern, std::string_view text, Variables& variables, int line) {
  Variables words;
  if (!match(cut(pattern, variables, line), 0, text, words)) return false;
  for (const auto& [name, word] : words)
    variables[name] = word;
  return true;
}

std::set<std::string> CapturedNames(std::string_view pattern) {
  std::set<std::string> names;
  for (std::size_t at = pattern.find('{'); at != std::string_view::npos; at = pattern.find('{', at + 1)) {
    const std::string_view name = name_at(pattern, at + 1);
    if (!name.empty() && pattern.substr(at + 1 + name.size()).starts_with("}")) names.emplace(name);
  }
  return names;
}

std::set<std::string> UsedNames(std::string_view text) {
  std::set<std::string> names;
  for (std::size_t at = text.find('$'); at != std::string_view::npos; at = text.find('$', at + 1))
    if (const std::string_view name = name_at(text, at + 1); !name.empty()) names.emplace(name);
  return names;
}

}  // namespace hark::test

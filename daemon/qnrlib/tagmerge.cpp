// Merging a stored tag list with changes, which only the GPIO configuration needs.
#include "daemon/qnrlib/tagtext.h"

#include <strings.h>

#include <cstring>
#include <string>
#include <string_view>

namespace hark {
namespace {

// The run up to the first ":" or "=", or to the token's end when it has no value.
std::string_view token_name(const char* token) { return {token, std::strcspn(token, ":= ,")}; }

bool same_name(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// The first token at or behind `list`.
const char* first_token(const char* list) { return list + std::strspn(list, " ,"); }

// The token of that name, with or without a value; null when there is none.
const char* find_named(const char* list, std::string_view name) {
  for (const char* token = first_token(list); *token != '\0'; qnr_nextval(token)) {
    if (same_name(token_name(token), name)) return token;
  }
  return nullptr;
}

void append_raw(std::string& out, const char* token) {
  const std::size_t before = out.size();
  out.resize(before + std::strlen(token) + 3);  // at most: a closing quote, a blank, the NUL
  char* end = out.data() + before;
  qnr_copyval(token, end);
  out.resize(static_cast<std::size_t>(end - out.data()));
}

bool is_valid(std::string_view name, const char* const* valid) {
  if (valid == nullptr) return true;
  for (; *valid != nullptr; ++valid) {
    if (same_name(name, *valid)) return true;
  }
  return false;
}

// Old tokens of unknown names stay, and a replacement is not checked: only what is new must be known.
void merge_old(std::string& out, const char* old, const char* changes) {
  for (const char* token = first_token(old); *token != '\0'; qnr_nextval(token)) {
    const std::string_view name = token_name(token);
    if (name.empty()) continue;
    const char* replacement = find_named(changes, name);
    append_raw(out, replacement != nullptr ? replacement : token);
  }
}

void add_new(std::string& out, const char* changes, const char* const* valid) {
  for (const char* token = first_token(changes); *token != '\0'; qnr_nextval(token)) {
    const std::string_view name = token_name(token);
    if (name.empty() || find_named(out.c_str(), name) != nullptr || !is_valid(name, valid)) continue;
    append_raw(out, token);
  }
}

}  // namespace

void qnr_copyval(const char*& src, char*& dst) {
  bool quoted = false;
  while (*src != '\0' && (quoted || (*src != ' ' && *src != ','))) {
    if (*src == '\\' && src[1] != '\0') {
      *dst++ = *src++;
    } else if (*src == '"') {
      quoted = !quoted;
    }
    *dst++ = *src++;
  }
  if (quoted) *dst++ = '"';
  *dst++ = ' ';
  *dst = '\0';
}

std::string qnr_alter_str(const char* old, const char* changes, const char* const* valid) {
  std::string out;
  if (old != nullptr && changes != nullptr) merge_old(out, old, changes);
  if (old != nullptr && changes == nullptr && *old != '\0') out.assign(old).push_back(' ');
  if (changes != nullptr) add_new(out, changes, valid);
  if (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

}  // namespace hark

// Tag lists: every reader and writer of the line grammar. An input is a buffer size (its first byte), and
// behind it up to three texts that a line feed cuts: a tag list, a tag's name, and a list of changes.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "daemon/qnrlib/tagtext.h"
#include "support/fuzzing.h"

namespace {

using hark::fuzz::check;
using hark::fuzz::ExactBuffer;
using hark::fuzz::ExactText;

int as_int(std::size_t n) { return static_cast<int>(n); }

// Every token ends where the next one starts, and the walk comes to the end.
void walk(const ExactText& list) {
  const char* p = list.c_str();
  while (*p != '\0') {
    const char* before = p;
    hark::qnr_nextval(p);
    check(list.holds(p) && p > before, "qnr_nextval moves on, inside the text");
  }
  hark::qnr_nextval(p);
  check(p == list.end(), "qnr_nextval stays at the end");
}

void find(const ExactText& list, const ExactText& name) {
  const char* token = hark::qnr_findtag(list.c_str(), name.c_str(), name.size());
  const char* value = hark::qnr_findval(list.c_str(), name.c_str());
  check(token == nullptr || (list.holds(token) && list.holds(token + name.size())), "the tag is in the list");
  check(value == nullptr || list.holds(value), "the value is in the list");
  check(token == nullptr || (value != nullptr && value <= token + name.size() + 1),
        "a tag that is found has a value, unless one stands before it");
  const long number = hark::qnr_getl(list.c_str(), name.c_str(), 77);
  check(number == (value != nullptr ? hark::qnr_vall(value) : 77), "qnr_getl is qnr_findval and qnr_vall");
}

// The value that begins with the text: into a buffer of any size, whole, and as its duplicate.
void copy(const ExactText& value, int size) {
  ExactBuffer whole(as_int(value.size()) + 1);
  const int length = hark::qnr_copyval(whole.data(), value.c_str(), whole.size());
  whole.check_text(length, "the whole copy is terminated at its length");

  ExactBuffer cut(size);
  const int cut_length = hark::qnr_copyval(cut.data(), value.c_str(), size);
  cut.check_text(cut_length, "the cut copy is terminated at its length");
  check(cut_length == std::min(length, size - 1), "a cut copy fills its buffer");
  check(whole.text(length).starts_with(cut.text(cut_length)), "a cut copy is the start of the whole");

  const int counted = hark::qnr_vallen(value.c_str());
  check(counted >= 0 && counted <= length, "the count is that of the copy, less what a line end cuts");
  char* duplicate = hark::qnr_valdup(value.c_str());
  check((duplicate == nullptr) == (counted < 1), "there is a duplicate of what has a length");
  if (duplicate != nullptr) {
    check(whole.text(length).substr(0, static_cast<std::size_t>(counted)) == duplicate,
          "the duplicate is the copy up to the count");
  }
  delete[] duplicate;
}

void raw_copy(const ExactText& list) {
  const char* from = list.c_str();
  ExactBuffer out(as_int(list.size()) + 3);
  char* to = out.data();
  hark::qnr_copyval(from, to);
  check(list.holds(from), "the raw copy stays in the text");
  out.check_text(as_int(static_cast<std::size_t>(to - out.data())), "the raw copy is terminated");
  const auto copied = static_cast<std::size_t>(from - list.c_str());
  check(std::memcmp(out.data(), list.c_str(), copied) == 0, "the raw copy is the token as it stands");
  check(to[-1] == ' ', "the raw copy ends in a blank");
}

// What was escaped and put in quotes reads as it was.
void escape(const ExactText& text, int size) {
  for (const int room : {as_int(text.size()) * 2 + 1, size}) {
    ExactBuffer escaped(room);
    const int length = hark::qnr_escape(escaped.data(), room, text.c_str());
    escaped.check_text(length, "the escaped text is terminated at its length");
    const ExactText quoted('"' + std::string(escaped.text(length)) + '"');
    ExactBuffer back(as_int(quoted.size()) + 1);
    const int back_length = hark::qnr_copyval(back.data(), quoted.c_str(), back.size());
    const std::string_view read = back.text(back_length);
    check(std::string_view(text.c_str()).starts_with(read), "an escaped text reads as its own start");
    check(room == size || read.size() == text.size(), "with room for all of it, as the whole");
  }
}

// Whether the list is what a careful client sends: tokens of a name, ":" or "=", and a value without quotes.
bool is_plain(const ExactText& list) {
  constexpr const char* kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789:=, ";
  if (std::strspn(list.c_str(), kPlain) != list.size()) return false;
  const char* p = list.c_str() + std::strspn(list.c_str(), " ,");
  for (; *p != '\0'; hark::qnr_nextval(p)) {
    const std::size_t name = std::strcspn(p, ":=, ");
    if (name == 0 || (p[name] != ':' && p[name] != '=')) return false;
  }
  return true;
}

std::string value_of(const char* list, const char* name) {
  const char* value = hark::qnr_findval(list, name);
  return value != nullptr ? std::string(value, std::strcspn(value, " ,")) : "(none)";
}

void merge(const ExactText& old, const ExactText& changes) {
  static constexpr std::array<const char*, 5> kValid{"NAME", "SRCA", "FUNC", "CMAP", nullptr};
  const std::string merged = hark::qnr_alter_str(old.c_str(), changes.c_str(), kValid.data());
  check(merged.find('\0') == std::string::npos, "the merged list is one text");
  check(hark::qnr_alter_str(nullptr, nullptr, nullptr).empty(), "nothing merges to nothing");
  check(hark::qnr_alter_str(old.c_str(), nullptr, nullptr) == old.c_str(), "without changes the list stays");
  (void)hark::qnr_alter_str(nullptr, changes.c_str(), kValid.data());
  (void)hark::qnr_alter_str(old.c_str(), changes.c_str(), nullptr);
  if (!is_plain(old) || !is_plain(changes)) return;
  for (const char* name : {"NAME", "SRCA", "FUNC", "CMAP"}) {
    const bool changed = hark::qnr_findval(changes.c_str(), name) != nullptr;
    check(value_of(merged.c_str(), name) == value_of(changed ? changes.c_str() : old.c_str(), name),
          "a tag has its new value, or its old one where there is no new");
  }
}

void address(const ExactText& text) {
  unsigned short port = 1;
  const unsigned long ip = hark::qn_url2ip(text.c_str(), &port);
  check(ip <= 0xFFFFFFFFUL, "an address has 32 bits");
  check(ip != 0 || port == 1, "no address, no port");
  check(hark::qn_url2ip(text.c_str(), nullptr) == ip, "the port is asked for or not");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const int room = data[0] + 1;
  const auto parts = hark::fuzz::split(hark::fuzz::as_text(data + 1, size - 1), "\n", 3);
  const ExactText list(parts[0]);
  const ExactText name(parts.size() > 1 ? parts[1] : "");
  const ExactText changes(parts.size() > 2 ? parts[2] : "");
  walk(list);
  find(list, name);
  if (const char* value = hark::qnr_findval(list.c_str(), name.c_str())) copy(ExactText(value), room);
  copy(changes, room);  // the last text is the one that can hold a line feed
  copy(list, room);
  raw_copy(list);
  escape(list, room);
  escape(changes, room);
  merge(list, changes);
  address(list);
  return 0;
}

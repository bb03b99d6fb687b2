#include "daemon/qnrlib/qnrdb.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"

namespace hark {

QnrObjectDb qnrobjdb;
QnrdbHooks qnrdb_hooks;

namespace {

// Rows that matched, `last` included.
struct Range {
  unsigned first = 0;
  unsigned last = UINT_MAX;
  int count = 0;

  Range(const QnrObjectDb& db, const char* name, int index) {
    count = qnrdb_get_obj_range(&db, name, index, &first, &last);
  }
};

bool is_connection(int client) { return client >= 0 && client < kMaxConnections; }

std::uint64_t bit_of(int client) { return std::uint64_t{1} << client; }

int socket_of(int client) {
  const auto i = static_cast<std::size_t>(client);
  return i < qnrdb_hooks.connections.size() ? qnrdb_hooks.connections[i] : -1;
}

void send_to(int client, const char* text) {
  const int fd = socket_of(client);
  if (fd >= 0 && qnrdb_hooks.send != nullptr) (void)qnrdb_hooks.send(fd, text);
}

void to_model(const char* text) {
  if (qnrdb_hooks.model_receive != nullptr) qnrdb_hooks.model_receive(text);
}

// Whether `candidate` is meant by a report to `client`, as far as `row` goes.
bool is_target(int client, int candidate, const QnrObject& row) {
  if (socket_of(candidate) < 0) return false;
  return client == candidate || (client == kAllConnections && (row.subs & bit_of(candidate)) != 0);
}

// Calls `act(candidate, text)` for each text of the range that goes to a target, connection by connection.
template <typename Act>
void for_each_text(const Range& range, int client, Act act) {
  LineBuffer text;
  for (int candidate = 0; candidate < kMaxConnections; ++candidate) {
    for (unsigned row = range.first; range.count > 0 && row <= range.last; ++row) {
      if (row >= qnrobjdb.objs.size() || !is_target(client, candidate, qnrobjdb.objs[row])) continue;
      if (qnrdb_get(text.data(), text.size(), &qnrobjdb, static_cast<int>(row), kQnrdbLineEnd) <= 0) continue;
      if (!act(candidate, text.data())) break;
    }
  }
}

// The marks of a batch, to each target that has something to get.
void mark_batch(const Range& range, int client, const char* mark) {
  for_each_text(range, client, [mark](int candidate, const char*) {
    send_to(candidate, mark);
    return false;
  });
}

void report_rows(const Range& range, int client) {
  if (range.count > 1) mark_batch(range, client, "BEGIN\r\n");
  for_each_text(range, client, [](int candidate, const char* text) {
    send_to(candidate, text);
    return true;
  });
  if (range.count > 1) mark_batch(range, client, "END\r\n");
}

void report_rows_to_model(const Range& range) {
  LineBuffer text;
  for (unsigned row = range.first; range.count > 0 && row <= range.last; ++row) {
    if (qnrdb_get(text.data(), text.size(), &qnrobjdb, static_cast<int>(row), kQnrdbLineEnd) > 0) {
      to_model(text.data());
    }
  }
}

// Only the first row of the range decides who subscribed; a null name asks nobody.
void report_text(const Range& range, int client, const char* name, const char* text) {
  if (*text == '\0' || (name != nullptr && range.count == 0 && client == kAllConnections)) return;
  for (int candidate = 0; candidate < kMaxConnections; ++candidate) {
    const bool anyone = name == nullptr && client == kAllConnections;
    const bool meant =
        client == candidate || anyone ||
        (client == kAllConnections && is_target(client, candidate, qnrobjdb.objs[range.first]));
    if (meant) send_to(candidate, text);
  }
}

void report(const Range& range, int client, const char* name, const char* text) {
  if (text == nullptr) {
    report_rows(range, client);
  } else {
    report_text(range, client, name, text);
  }
}

// A report to all that came while the model heard an earlier one.
struct WaitingReport {
  std::optional<std::string> name;
  int index;
  std::optional<std::string> text;
};

struct ReportsToAll {
  bool model_hears = false;
  std::deque<WaitingReport> waiting;
};
ReportsToAll reports;

const char* or_null(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

void tell_model(const Range& range, const char* text) {
  if (text == nullptr) {
    report_rows_to_model(range);
  } else if (*text != '\0') {
    to_model(text);
  }
}

// The model hears a report first, and may answer a call by another command, which reports in its turn.
// Subscribers get such a report behind the one that it answers, or an old state would be the last that they
// hear of.
void report_to_all(const char* name, int index, const char* text) {
  const auto optional = [](const char* value) {
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
  };
  const Range range(qnrobjdb, name, index);
  if (reports.model_hears) {
    reports.waiting.push_back({optional(name), index, optional(text)});
    tell_model(range, text);
    return;
  }
  reports.model_hears = true;
  tell_model(range, text);
  reports.model_hears = false;
  report(range, kAllConnections, name, text);
  while (!reports.waiting.empty()) {
    const WaitingReport next = std::move(reports.waiting.front());
    reports.waiting.pop_front();
    report(Range(qnrobjdb, or_null(next.name), next.index), kAllConnections, or_null(next.name),
           or_null(next.text));
  }
}

// "CALL" and "HARKUI" have no text of their own: a read of them is answered by a list. True when it was one.
bool answer_list(int fd, const char* name) {
  if (name == nullptr) return false;
  const bool call = std::strcmp(name, "CALL") == 0;
  if (!call && std::strcmp(name, "HARKUI") != 0) return false;
  auto* answer = call ? qnrdb_hooks.call_status : qnrdb_hooks.panel_list;
  if (answer != nullptr) answer(fd);
  return true;
}

// One name of a subscription list, and the index behind it if there is one.
struct ListEntry {
  std::array<char, kObjectNameSize> name{};
  bool fits = false;
  int index = -1;
};

// Reads the entry at `p` and moves `p` behind it and the blanks that follow. A number behind a name is its
// index when it is not 0 and a blank or the end follows.
ListEntry read_list_entry(const char*& p) {
  ListEntry entry;
  const std::string_view word(p, std::strcspn(p, " "));
  entry.fits = word.size() < entry.name.size();
  if (entry.fits) copy_text(entry.name, word);
  p += word.size();
  p += std::strspn(p, " ");
  char* end = nullptr;
  const unsigned long number = std::strtoul(p, &end, 0);
  if (end != p && number != 0 && number <= INT_MAX && (*end == ' ' || *end == '\0')) {
    entry.index = static_cast<int>(number) - 1;
    p = end;
    p += std::strspn(p, " ");
  }
  return entry;
}

// An unknown word is passed over, silently.
void cmd_sub(QnrObjectDb* db, int client, const char* list, bool on) {
  list += std::strspn(list, " ");
  while (*list != '\0') {
    const ListEntry entry = read_list_entry(list);
    if (!entry.fits || qnrdb_sub_set(db, entry.name.data(), entry.index, client, on) < 0) continue;
    if (on) qnrdb_indi(client, entry.name.data(), entry.index, nullptr);
  }
}

// "NAME" or "NAME n"; "CFG " belongs to the name. A read subscribes as well.
int cmd_read(QnrObjectDb* db, const char* line, int client) {
  constexpr std::string_view kConfigPrefix = "CFG ";
  const std::size_t skip = starts_with_nocase(line, kConfigPrefix) ? kConfigPrefix.size() : 0;
  const std::string_view word(line, skip + std::strcspn(line + skip, " "));
  std::array<char, kObjectNameSize> name{};
  if (word.size() >= name.size()) return -1;
  copy_text(name, word);

  int index = -1;
  const char* number = line + word.size();
  if (number[std::strspn(number, " ")] != '\0') {
    char* end = nullptr;
    const unsigned long value = std::strtoul(number, &end, 0);
    if (value == 0 || value > INT_MAX || end[std::strspn(end, " ")] != '\0') return -1;
    index = static_cast<int>(value) - 1;
  }
  Range range(*db, name.data(), index);
  if (range.count <= 0) return -1;
  (void)qnrdb_sub_set(db, name.data(), index, client, true);
  qnrdb_indi(client, name.data(), index, nullptr);
  return 0;
}

}  // namespace

int qnrdb_reg_obj(QnrObjectDb* db, const char* name, int count, QnrObjectGetter get) {
  if (db == nullptr) return -1;
  if (count != -1 && count <= 0) return -2;
  const auto first = static_cast<int>(db->objs.size());
  QnrObject row;
  copy_text(row.name, name);
  if (count == -1) {
    row.get = get;
    db->objs.push_back(row);
    return first;
  }
  db->objs.push_back(row);
  row.get = get;
  for (row.index = 0; row.index < count; ++row.index)
    db->objs.push_back(row);
  return first;
}

int qnrdb_get_obj_range(const QnrObjectDb* db, const char* name, int index, unsigned* first, unsigned* last) {
  if (db == nullptr || first == nullptr || last == nullptr) return -1;
  *first = 0;
  *last = UINT_MAX;
  bool found = false;
  for (unsigned row = 0; row < db->objs.size(); ++row) {
    const QnrObject& object = db->objs[row];
    const bool named = name == nullptr || field_text(object.name) == name;
    if (!named || (name != nullptr && index != -1 && object.index != index)) continue;
    if (!found) *first = row;
    found = true;
    *last = row;
  }
  return found ? static_cast<int>(*last - *first) + 1 : 0;
}

int qnrdb_get(char* buf, std::size_t size, const QnrObjectDb* db, int row, int flags) {
  if (db == nullptr || row < 0 || static_cast<std::size_t>(row) >= db->objs.size()) return -1;
  const QnrObject& object = db->objs[static_cast<std::size_t>(row)];
  if (object.get == nullptr) return 0;
  const bool line_end = (flags & kQnrdbLineEnd) != 0;
  const std::size_t reserved = line_end ? 3 : 1;
  const std::string_view name = field_text(object.name);
  std::array<char, kObjectNameSize + 12> title{};  // the name and " %d"
  TextWriter titled(title);
  titled.append("%.*s", static_cast<int>(name.size()), name.data());
  if (object.index >= 0) titled.append(" %d", object.index + 1);
  if (size < reserved + static_cast<std::size_t>(titled.length())) return -2;

  TextWriter out(std::span(buf, size - reserved + 1));
  out.append("%s", title.data());
  // The text goes behind one blank, which counts only when there is a text.
  const std::span<char> rest = out.rest();
  if (rest.size() > 2) {
    const int length = object.get(rest.data() + 1, rest.size() - 1, object.index);
    if (length > 0) {
      rest[0] = ' ';
      out.advance(length + 1);
    }
  }
  int length = out.length();
  if (line_end) length += copy_text(std::span(buf, size).subspan(static_cast<std::size_t>(length)), "\r\n");
  buf[length] = '\0';
  return length;
}

int qnrdb_sub_set(QnrObjectDb* db, const char* name, int index, int client, bool on) {
  if (db == nullptr || !is_connection(client)) return -1;
  const Range range(*db, name, index);
  if (range.count <= 0) return -1;
  for (unsigned row = range.first; row <= range.last; ++row) {
    std::uint64_t& subs = db->objs[row].subs;
    subs = on ? subs | bit_of(client) : subs & ~bit_of(client);
  }
  return 1;
}

int qnrdb_cmd_input(QnrObjectDb* db, const char* line, int client) {
  struct Verb {
    std::string_view prefix;
    bool on;
  };
  // prefix of the line, whether it subscribes
  static constexpr std::array<Verb, 4> kVerbs{
      {{"SUB ", true}, {"ADD ", true}, {"UNSUB ", false}, {"DEL ", false}}};

  if (*line == '\0' || *line == '#') return 0;
  if (equal_nocase(line, "CFG")) {
    qnrdb_indi(client, nullptr, -1, nullptr);
    return 0;
  }
  for (const Verb& verb : kVerbs) {
    if (!starts_with_nocase(line, verb.prefix)) continue;
    cmd_sub(db, client, line + verb.prefix.size(), verb.on);
    return 0;
  }
  return cmd_read(db, line, client);
}

int qnrdb_indi(int client, const char* name, int index, const char* text) {
  if (client == kInternalConnection) return 0;
  if (client == kAllConnections) {
    report_to_all(name, index, text);
    return 0;
  }
  if (!is_connection(client)) return -1;
  const int fd = socket_of(client);
  if (fd < 0 || answer_list(fd, name)) return 0;
  report(Range(qnrobjdb, name, index), client, name, text);
  return 0;
}

int qnrdb_cleanup(QnrObjectDb* db) {
  if (db != nullptr) db->objs.clear();
  return 0;
}

}  // namespace hark

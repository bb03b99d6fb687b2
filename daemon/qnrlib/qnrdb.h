// The named objects that the control port can read and subscribe to, per connection. An object gives its text
// on request; a change is pushed by name to all subscribers, and to the shared panel model first. What lies
// above (sending on a connection, the two lists that answer for themselves, the model) is reached through
// hooks that the server fills at start.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace hark {

inline constexpr int kMaxConnections = 16;
inline constexpr int kAllConnections = -2;      // all that subscribed
inline constexpr int kInternalConnection = -1;  // a command of the daemon's own: it has nobody to answer
inline constexpr int kObjectNameSize = 16;      // 15 characters and the NUL

// An object's own text into `buf` of `n` bytes, for the zero-based `index` (-1: no index). Returns its
// length, 0 for none.
using QnrObjectGetter = int (*)(char* buf, std::size_t n, int index);

struct QnrObject {
  std::array<char, kObjectNameSize> name{};
  std::uint64_t subs = 0;         // a bit for each connection
  QnrObjectGetter get = nullptr;  // null: no text of its own
  int index = -1;                 // zero-based; -1: none, also the head row of a family
};

// The table. A family of n objects takes n + 1 rows of one name, a head row (no getter, index -1) first.
struct QnrObjectDb {
  std::vector<QnrObject> objs;
};
extern QnrObjectDb qnrobjdb;

// What the table needs of the layers above. Set once at start; empty hooks do nothing.
struct QnrdbHooks {
  std::span<const int> connections;                   // sockets, -1 closed
  int (*send)(int fd, const char* text) = nullptr;    // one text to one socket
  void (*call_status)(int fd) = nullptr;              // answers a read of "CALL"
  void (*panel_list)(int fd) = nullptr;               // answers a read of "HARKUI"
  void (*model_receive)(const char* text) = nullptr;  // the shared panel model
};
extern QnrdbHooks qnrdb_hooks;

// Adds a family of `count` objects, or with `count` -1 one object without an index. Returns the index of the
// first row; -1 for a null `db`, -2 for a `count` that is neither -1 nor above 0.
[[nodiscard]] int qnrdb_reg_obj(QnrObjectDb* db, const char* name, int count, QnrObjectGetter get);

// The rows from the first to the last that match `name` (exactly; null: all) and `index` (-1: any). Returns
// how many lie between them, 0 when none matches (then `first` is 0 and `last` UINT_MAX), -1 for a null
// argument.
int qnrdb_get_obj_range(const QnrObjectDb* db, const char* name, int index, unsigned* first, unsigned* last);

inline constexpr int kQnrdbLineEnd = 1;  // flag: end the text with CR LF

// The text of one row, "NAME[ n][ text]". Returns its length; 0 when the row has no getter, -1 for a bad row,
// -2 when the name won't fit.
int qnrdb_get(char* buf, std::size_t size, const QnrObjectDb* db, int row, int flags);

// Sets or clears the subscription of `client` to each row that matches. 1, or -1 when nothing matches or
// `client` is no connection.
int qnrdb_sub_set(QnrObjectDb* db, const char* name, int index, int client, bool on);

// A line that reads or subscribes: "CFG", "SUB ...", "ADD ...", "UNSUB ...", "DEL ...", or an object's name.
// 0 when handled, -1 when not.
[[nodiscard]] int qnrdb_cmd_input(QnrObjectDb* db, const char* line, int client);

// Reports to one connection (0 to 15, whether it subscribed or not), or with -2 to all that subscribed:
// `text` as it stands, or with a null `text` the rows' own texts. 0; -1 for a bad `client`. A report to all
// that the model causes while it hears another one goes to the connections behind that one.
int qnrdb_indi(int client, const char* name, int index, const char* text);

// Empties the table. 0.
int qnrdb_cleanup(QnrObjectDb* db);

}  // namespace hark

// The examples of a document: fenced blocks of the languages `harkd` and `panel`, cut into steps that can be
// run against a station, and the files that the station has. Here they are only read; example_runner.h runs
// them.
//
// "```file etc/x" is a file under the station's root, for all examples behind it, until another block names
// the same file. "```saved etc/x" is what that file holds once the example in front of it has run.
//
// The other two are a talk, a line each:
//
//   # text             a remark
//   > text             the client sends this line
//   < text             this line comes back; `[closed]`: the station closes the connection
//   ~ text             this line comes later
//   * text             this line comes once or more
//   2> text, 2< text   the same on connection 2; a connection is made at its first mention
//   3-7+ address       connections 3 to 7 are made, from this address (127.0.0.1 when there is none)
//   routing> text      the routing daemon sends this line; routing< text: it gets this line, others before it
//   console> text      the mixing console sends this line; console< text: it gets this line
//   far> text          a foreign device sends this line; `[closed]`: it closes the connection
//   far< text          it gets this line; `[closed]`: the station closes the connection
//   group> text        this datagram is sent to the stations at the control group
//   group< text        the station sends this one there, others before it
//   station> SIGTERM   the station is ended, with status 0
//   B> text            a client of the other station, Studio B, sends this line; B< text: it comes back there
//   log< text          a line of the station's log ends so, others before it
//   < ...              lines that are not shown, as far as the next one that is; 2< and console< likewise
//
// In a `harkd` block a line that comes ends in CR LF, and `\n` at its end stands for one that ends in LF
// alone. In a `panel` block it ends in LF, and `\r\n` stands for one that ends in CR LF. What stands in
// braces depends on the machine, see example_runner.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hark::test {

enum class Peer { kClient, kRouting, kConsole, kFar, kGroup, kStation, kLog, kFarStation };
enum class Action { kSend, kExpect, kExpectRepeated, kConnect };

struct Step {
  int line = 0;  // in the document, from 1
  Peer peer = Peer::kClient;
  Action action = Action::kSend;
  int first = 1;  // connections, both included
  int last = 1;
  std::string text;
};

// A file of the station.
struct File {
  int line = 0;  // of its fence
  std::string path;
  std::string text;
};

enum class Language { kHarkd, kPanel };

// One talk.
struct Example {
  int line = 0;  // of its fence
  Language language = Language::kHarkd;
  std::vector<File> files;  // what the station finds
  std::vector<File> saved;  // what it leaves
  std::vector<Step> steps;
};

struct Fault {
  int line = 0;
  std::string reason;
};

struct Document {
  std::string path;
  std::string text;
  std::vector<Example> examples;
  std::vector<Fault> faults;  // lines of blocks that are no step, blocks without an end
};

inline constexpr int kMaxExampleConnections = 20;
inline constexpr std::string_view kNotShown = "...";

// Reads the examples of a text; `path` is only kept.
[[nodiscard]] Document parse_document(std::string path, std::string text);

// Reads a file of the source tree, named relative to its root. One that cannot be read is a fault.
[[nodiscard]] Document read_document(std::string_view name);

// The cells of a line of a table: what stands between its bars, without blanks and without the backquotes of
// a cell that is nothing else.
using Row = std::vector<std::string>;

// The rows of the first table of `text` whose line of titles begins with `titles`; none when there is none.
[[nodiscard]] std::vector<Row> table_rows(const std::string& text, std::string_view titles);

// What the first fenced block of this name holds; empty when there is none.
[[nodiscard]] std::string block_text(const std::string& text, std::string_view name);

// The whole text of a file of the source tree; empty when it cannot be read.
[[nodiscard]] std::string read_source(std::string_view name);

}  // namespace hark::test

// The examples of a document: fenced blocks of the language `harkd`, cut into steps that can be run against a
// station. Here they are only read; example_runner.h runs them.
//
// A block is a talk, a line each:
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
//
// A line that comes ends in CR LF; `\n` at its end stands for one that ends in LF alone. What stands in
// braces depends on the machine, see example_runner.cpp.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hark::test {

enum class Peer { kClient, kRouting, kConsole };
enum class Action { kSend, kExpect, kExpectRepeated, kConnect };

struct Step {
  int line = 0;  // in the document, from 1
  Peer peer = Peer::kClient;
  Action action = Action::kSend;
  int first = 1;  // connections, both included
  int last = 1;
  std::string text;
};

// One fenced block.
struct Example {
  int line = 0;  // of its fence
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

// Reads the examples of a text; `path` is only kept.
[[nodiscard]] Document parse_document(std::string path, std::string text);

// Reads a file of the source tree, named relative to its root. One that cannot be read is a fault.
[[nodiscard]] Document read_document(std::string_view name);

// The whole text of a file of the source tree; empty when it cannot be read.
[[nodiscard]] std::string read_source(std::string_view name);

}  // namespace hark::test

// The sockets of the far end, on loopback addresses that no other process uses. A datagram that the stack has
// sent has not always arrived when sendto(2) returns, on a busy machine: so each look at what came out is
// closed by a datagram of our own, behind which nothing that was sent before can be.
#pragma once

#include <deque>
#include <map>
#include <string>

#include "base/fd.h"
#include "scenarios/runner/words.h"

namespace hark::test {

struct Datagram {
  std::string at;  // the far end's socket: "far" or "alt"
  std::string bytes;
};

class Wire {
 public:
  // Binds the far end's two sockets: "far" on port 5070 and "alt" on the default port, 5060.
  Wire();

  [[nodiscard]] static int StackPort() { return 5060; }
  // "us", "ushost", "usport" and the same of "far" and "alt".
  [[nodiscard]] const Variables& addresses() const { return addresses_; }

  // Sends from a far socket to the stack's address (of `port`), and waits until it is there.
  void Send(const std::string& from, const std::string& bytes, int port = StackPort());
  // Reads what the stack has sent so far.
  void Collect();
  [[nodiscard]] std::deque<Datagram>& arrived() { return arrived_; }

 private:
  // False when an address is taken.
  bool OpenAll(unsigned number);
  bool Open(const std::string& name, const std::string& host, int port);
  void CollectAt(const std::string& name);

  std::map<std::string, UniqueFd> sockets_;
  UniqueFd marker_;
  Variables addresses_;
  std::deque<Datagram> arrived_;
};

}  // namespace hark::test

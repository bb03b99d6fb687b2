// Linux namespaces as files: a network with interfaces of its own, and a tree of mounts with folders of its
// own. A namespace lives as long as somebody holds it; here that is a descriptor, so that none outlives the
// test, however it ends.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/fd.h"

namespace hark::test {

struct NameSpaces {
  UniqueFd network;
  UniqueFd mounts;
};

// Takes this process into both for good. For a child before it becomes another program; ends it on failure.
void enter_for_good(const NameSpaces& spaces);

// Folders to be put in the place of others: {what is seen, where}.
using Binds = std::vector<std::pair<std::string, std::string>>;

// Makes both, with loopback down and nothing else in the network, and with the folders in place. Closed
// descriptors on failure.
[[nodiscard]] NameSpaces make_name_spaces(const Binds& binds);

// This process's own network.
[[nodiscard]] UniqueFd own_network();
// Puts this process into a new network of its own; empty on success, else why that is not allowed.
[[nodiscard]] std::string leave_for_new_network();

// This process is in another network while this lives: what sockets it makes then belong there for ever.
class NetworkScope {
 public:
  explicit NetworkScope(int network);
  NetworkScope(const NetworkScope&) = delete;
  NetworkScope& operator=(const NetworkScope&) = delete;
  ~NetworkScope();

 private:
  UniqueFd before_;
};

// IPv6 in the network of this process. Without it there are no addresses that configure themselves, and
// nothing is sent unasked.
void set_ipv6(bool on);

}  // namespace hark::test

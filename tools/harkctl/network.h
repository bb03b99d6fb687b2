// Names to addresses within a time, and the reasons why nothing came of it.
#pragma once

#include <sys/socket.h>

#include <string>
#include <vector>

#include "tools/control/station_address.h"
#include "tools/harkctl/wait.h"

namespace hark::ctl {

struct Address {
  sockaddr_storage storage{};
  socklen_t size = 0;
  [[nodiscard]] const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

struct Resolved {
  std::vector<Address> addresses;
  std::string why;  // there are none
};

// The addresses of a host for sockets of this type (SOCK_STREAM, SOCK_DGRAM). The system's resolver knows no
// deadline; what it finds after ours is dropped.
[[nodiscard]] Resolved resolve(const control::HostPort& place, int socket_type, Deadline deadline);

// Whether a host is the machine that we run on: then the station's files are here. Asks nobody: of names only
// those that control::is_loopback knows.
[[nodiscard]] bool is_this_machine(const std::string& host);

// What an errno of a socket says to a person.
[[nodiscard]] std::string reason_of(int error);

}  // namespace hark::ctl

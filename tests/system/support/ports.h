// Free port numbers for the stations and peers of a test. They lie below the kernel's own range for outgoing
// connections, so that no connection of another test takes one between the choice and its use, and no other
// process is given one while this one runs.
#pragma once

#include <string>

namespace hark::test {

// A TCP port that the station can bind on all addresses. Never gives the same twice in one process.
[[nodiscard]] int free_tcp_port();

// The base of the station's SIP ports: base+1 and base+2 are free UDP ports at `address`.
[[nodiscard]] int free_sip_base(const std::string& address);

// A TCP port at 127.0.0.1 where nobody listens.
[[nodiscard]] inline int closed_tcp_port() { return free_tcp_port(); }

}  // namespace hark::test

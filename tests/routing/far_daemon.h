// A far routing daemon on a loopback socket, played by the test itself: nothing here waits, what came is
// taken when Poll is called.
#pragma once

#include <netinet/in.h>

#include <cstddef>
#include <string>

#include "base/fd.h"

namespace hark {

class FarDaemon {
 public:
  // At `port` of `ip` (network order; 0: any that is free). One that does not listen refuses, and keeps its
  // port from others; one without a queue answers nobody once somebody waits there.
  static constexpr int kRefuses = -1;
  static constexpr int kNoQueue = 0;
  explicit FarDaemon(const std::string& ip = "127.0.0.1", int queue = 8, in_port_t port = 0);

  // Network order, both.
  [[nodiscard]] in_addr_t address() const { return at_.sin_addr.s_addr; }
  [[nodiscard]] in_port_t port() const { return at_.sin_port; }
  // "a.b.c.d:port", as the log has it.
  [[nodiscard]] std::string At() const { return ip_ + ":" + std::to_string(ntohs(at_.sin_port)); }
  // The value of an `ifb` tag for destination `dst`.
  [[nodiscard]] std::string Url(int dst, const std::string& password = "") const;

  // Takes a connection when it has none, and what was written on it.
  void Poll();
  // What was written so far.
  [[nodiscard]] const std::string& inbox() const { return inbox_; }
  // The same, once.
  [[nodiscard]] std::string Take();

  // Writes `text` whole.
  void Send(const std::string& text);
  // Ends the connection from this side.
  void HangUp() { connection_.reset(); }

  [[nodiscard]] int connections() const { return connections_; }  // taken so far
  [[nodiscard]] int ended() const { return ended_; }              // of them, by the link
  [[nodiscard]] std::size_t sent() const { return sent_; }        // on the present connection
  [[nodiscard]] int fd() const { return connection_.get(); }

 private:
  void Accept();

  std::string ip_;
  sockaddr_in at_{};
  UniqueFd listener_;
  UniqueFd connection_;
  std::string inbox_;
  int connections_ = 0;
  int ended_ = 0;
  std::size_t sent_ = 0;
};

}  // namespace hark

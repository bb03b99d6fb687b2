// The browsers' gateway as a process, and browsers of it, as far as the measurements need them: a WebSocket
// (RFC 6455) that sends short messages and looks for texts in what comes.
#pragma once

#include <memory>
#include <string>

#include "peers.h"
#include "process.h"

namespace hark::bench {

class GatewayProcess {
 public:
  // Runs `program` for the station at `ctrl_port`, with its own files under a folder of its own.
  GatewayProcess(const std::string& program, int ctrl_port);
  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] pid_t pid() const { return process_->pid(); }

 private:
  TempRoot root_;
  int port_ = free_port();
  std::unique_ptr<Helper> process_;
};

class WebPanel {
 public:
  // Connects, says hello, and waits until it has been told that the station is there.
  explicit WebPanel(int port);
  void say(const std::string& message);
  // Sends an echo and waits for it: all that was told before has come.
  void settle();
  [[nodiscard]] LineConnection& connection() { return connection_; }
  [[nodiscard]] bool is_lost() const { return connection_.is_lost(); }
  // The message of a new echo, and the text by which its return is known.
  [[nodiscard]] std::string next_echo();
  [[nodiscard]] std::string echo_text() const;

 private:
  LineConnection connection_;
  int echoes_ = 1'000'000;  // no other number of a message is so large
};

}  // namespace hark::bench

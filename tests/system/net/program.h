// A program that a test runs beside the station: a DNS-SD daemon, a witness of the network. Its output goes
// to a file; it is ended by its process id, at the latest when this goes.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "system/support/pump.h"

namespace hark::test {

class Program {
 public:
  Program() = default;
  // Starts it. `enter` is called in the child first, to take it to another place; `output` is emptied first.
  Program(std::vector<std::string> words, std::string output, const std::function<void()>& enter = {});
  Program(Program&& other) noexcept { *this = std::move(other); }
  Program& operator=(Program&& other) noexcept;
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() { kill(); }

  [[nodiscard]] bool alive();
  [[nodiscard]] pid_t pid() const { return pid_; }
  // All that it has said since its start.
  [[nodiscard]] std::string output() const;
  [[nodiscard]] bool said(const std::string& text) const { return output().find(text) != std::string::npos; }

  void send_signal(int number) const;
  // Its exit status, 128 + number when a signal ended it, -1 when it still runs when the time is over or was
  // never started.
  int wait_exit(int timeout_ms = kWaitMs);
  // SIGTERM, and kills it when that does not end it.
  void stop();
  void kill();

 private:
  pid_t pid_ = -1;
  bool running_ = false;
  int exit_status_ = -1;
  std::string output_;
};

}  // namespace hark::test

// The simulated routing daemon as a peer of a system test: it is served in every wait. RoutingSim gives the
// simulator's own interface by "->".
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "system/support/pump.h"
#include "tools/quillsim/sim.h"

namespace hark::test {

class RoutingSim : public Pumped {
 public:
  // Listens at `address` from the start; port 0 picks a free one.
  explicit RoutingSim(quillsim::SimOptions options = {}, std::string address = "127.0.0.1", int port = 0);

  [[nodiscard]] int port() const { return port_; }
  quillsim::Sim* operator->() { return &sim_; }
  const quillsim::Sim* operator->() const { return &sim_; }

  // The daemon dies: the listening socket and the station's connection go.
  void die();
  // It comes back at the same port. False when the port cannot be had.
  [[nodiscard]] bool come_back();

  // How many received lines are `line`, and whether one is.
  [[nodiscard]] int count(const std::string& line) const;
  [[nodiscard]] bool has_received(const std::string& line) const { return count(line) > 0; }
  // Waits for a line that the station sends, exactly; it may have come already.
  [[nodiscard]] testing::AssertionResult wait_received(const std::string& line,
                                                       int timeout_ms = kWaitMs) const;
  // Waits until the station is connected, has made its mixer, and has told it all that there is to tell at
  // the start.
  [[nodiscard]] testing::AssertionResult wait_mixer(int timeout_ms = kWaitMs) const;
  // Whether every command of the station was well formed.
  [[nodiscard]] testing::AssertionResult refused_nothing() const;

  void fill(fd_set& read, fd_set& write, int& highest) const override { sim_.fill(read, write, highest); }
  void serve(const fd_set& read, const fd_set& write) override { sim_.serve(read, write); }

 private:
  [[nodiscard]] bool mixer_is_told() const;

  quillsim::Sim sim_;
  std::string address_;
  int port_;
};

}  // namespace hark::test

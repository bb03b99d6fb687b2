// The simulated foreign device as a peer of a system test: it is served in every wait. FarDeviceSim gives the
// simulator's own interface by "->".
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "system/support/pump.h"
#include "tools/quillsim/far_device.h"

namespace hark::test {

class FarDeviceSim : public Pumped {
 public:
  // Listens on 127.0.0.1 from the start, at a port of its own.
  explicit FarDeviceSim(quillsim::FarDeviceOptions options = {});

  [[nodiscard]] int port() const { return port_; }
  // What an `ifb` tag says to get to the destination, with a password if there is one.
  [[nodiscard]] std::string url(int dst, const std::string& password = {}) const;
  quillsim::FarDevice* operator->() { return &device_; }
  const quillsim::FarDevice* operator->() const { return &device_; }

  // The device goes, with all connections, and comes back at the same port. False when that cannot be had.
  void die();
  [[nodiscard]] bool come_back() { return device_.listen_again(); }

  // How many received lines are `line`.
  [[nodiscard]] int count(const std::string& line) const;
  // Waits for that many lines that are `line`, of any client; they may have come already.
  [[nodiscard]] testing::AssertionResult wait_received(const std::string& line, int times = 1,
                                                       int timeout_ms = kWaitMs) const;
  // Waits until the destination carries the address.
  [[nodiscard]] testing::AssertionResult wait_address(int dst, const std::string& addr,
                                                      int timeout_ms = kWaitMs) const;
  // Waits until so many clients are connected.
  [[nodiscard]] testing::AssertionResult wait_clients(int count, int timeout_ms = kWaitMs) const;
  // Whether every line that came was well formed, and came from somebody who may say it.
  [[nodiscard]] testing::AssertionResult refused_nothing() const;

  void fill(fd_set& read, fd_set& write, int& highest) const override { device_.fill(read, write, highest); }
  void serve(const fd_set& read, const fd_set& write) override { device_.serve(read, write); }

 private:
  // Waits for the condition; the failure names it and tells what has come.
  testing::AssertionResult waits(const std::function<bool()>& condition, const std::string& what,
                                 int timeout_ms) const;

  quillsim::FarDevice device_;
  int port_;
};

}  // namespace hark::test

// A bound UDP socket that keeps each datagram that arrives: the log server of a system test.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/fd.h"
#include "system/support/pump.h"

namespace hark::test {

class UdpSink : public Pumped {
 public:
  // Port 0 picks a free one. A port below 1024 may need a privilege that the test lacks: see is_open().
  explicit UdpSink(const std::string& address = "127.0.0.1", int port = 0);

  [[nodiscard]] bool is_open() const { return fd_.is_open(); }
  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] const std::vector<std::string>& datagrams() const { return datagrams_; }
  void forget() { datagrams_.clear(); }
  // How many datagrams hold `text`.
  [[nodiscard]] int count(const std::string& text) const;
  // Waits for a datagram that holds `text`; it may have come already.
  [[nodiscard]] testing::AssertionResult wait_for(const std::string& text, int timeout_ms = kWaitMs) const;

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  UniqueFd fd_;
  int port_ = -1;
  std::vector<std::string> datagrams_;
};

}  // namespace hark::test

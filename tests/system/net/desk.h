// A panel on a simulated station: a connection from the test's own place in the network. It keeps every line,
// so that a test can ask what the panel shows now.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "system/net/net_station.h"
#include "system/support/client.h"
#include "system/support/pump.h"

namespace hark::test {

class Desk : public Pumped {
 public:
  // Attaches as a network panel with ten keys.
  [[nodiscard]] testing::AssertionResult attach(const NetStation& at);
  // Attaches as a console does, by the report of its key module; 1 to 3 are types, -1: the module is gone.
  [[nodiscard]] testing::AssertionResult report_module(const NetStation& at, int type);

  bool send(const std::string& line) { return client_.send_line(line); }
  // Puts a station on a key of the network panel, "KL01"; presses one and lets go.
  bool assign(const std::string& key, const std::string& label);
  bool tap(const std::string& key);
  // What the network panel's key shows: `TEXT="News", ALT="", DFL=0`.
  [[nodiscard]] std::string display(const std::string& key) const;
  [[nodiscard]] testing::AssertionResult wait_display(const std::string& key, const std::string& want,
                                                      int timeout_ms = kWaitMs);

  // How long the station takes for an answer; none in the time: that time.
  [[nodiscard]] int answer_ms(int timeout_ms = kWaitMs);

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  [[nodiscard]] testing::AssertionResult connect(const NetStation& at);

  Client client_;
  std::vector<std::string> lines_;
  int answers_ = 0;
};

}  // namespace hark::test

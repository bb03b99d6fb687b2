// The simulated mixing console as a peer of a system test: it is served in every wait. ConsoleSim gives the
// simulator's own interface by "->". The waits look at what the station has set; on failure they tell what
// the module shows.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "system/support/pump.h"
#include "tools/quillsim/console.h"

namespace hark::test {

class ConsoleSim : public Pumped {
 public:
  // Listens on 127.0.0.1 from the start, at a port of its own, with a module of this type.
  explicit ConsoleSim(int type = 1);

  [[nodiscard]] int port() const { return port_; }
  // The routing daemon's line that names this console.
  [[nodiscard]] std::string supervisor_line() const;
  quillsim::Console* operator->() { return &console_; }
  const quillsim::Console* operator->() const { return &console_; }

  // The console is gone and comes back at the same port, dark. False when the port cannot be had.
  void die();
  [[nodiscard]] bool come_back();

  // The station has dialled and has subscribed; its panel exists once it has sent something for it.
  [[nodiscard]] testing::AssertionResult wait_subscribed(int timeout_ms = kWaitMs) const;
  // The station's panel is there: the menu has been drawn on this connection.
  [[nodiscard]] testing::AssertionResult wait_panel(int timeout_ms = kWaitMs) const;
  [[nodiscard]] testing::AssertionResult wait_lamp(int button, quillsim::Lamp lamp,
                                                   int timeout_ms = kWaitMs) const;
  [[nodiscard]] testing::AssertionResult wait_light(int key, quillsim::KeyLight light,
                                                    int timeout_ms = kWaitMs) const;
  // The display that belongs to the channel shows the text.
  [[nodiscard]] testing::AssertionResult wait_label(int channel, const std::string& text,
                                                    int timeout_ms = kWaitMs) const;
  // A line of the menu is the text, marks apart.
  [[nodiscard]] testing::AssertionResult wait_menu(const std::string& text, int timeout_ms = kWaitMs) const;
  [[nodiscard]] testing::AssertionResult wait_fader(int fader, int source, int timeout_ms = kWaitMs) const;
  // Waits for a line that the station sends, exactly; it may have come already.
  [[nodiscard]] testing::AssertionResult wait_received(const std::string& line,
                                                       int timeout_ms = kWaitMs) const;
  // Whether every line of the station was well formed and fitted the module.
  [[nodiscard]] testing::AssertionResult refused_nothing() const;
  // How many received lines are `line`.
  [[nodiscard]] int count(const std::string& line) const;

  void fill(fd_set& read, fd_set& write, int& highest) const override { console_.fill(read, write, highest); }
  void serve(const fd_set& read, const fd_set& write) override { console_.serve(read, write); }

 private:
  // Waits for the condition; the failure names it and shows the module.
  testing::AssertionResult waits(const std::function<bool()>& condition, const std::string& what,
                                 int timeout_ms) const;

  quillsim::Console console_;
  int port_;
};

}  // namespace hark::test

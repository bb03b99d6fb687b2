// The log with both its ends in the test's hands: the file that steers it, what it writes to stderr, and the
// datagrams it sends. These go to the fixed port 514, which only root may open: can_receive() says whether
// the test sees them. Each process takes a loopback address of its own, so that tests run side by side.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "base/fd.h"
#include "base/scratch_folder.h"
#include "daemon/log/log.h"

namespace hark {

class LogBench : public ::testing::Test {
 protected:
  // Closed, at the defaults, with a file to be that is not there yet.
  LogBench();
  ~LogBench() override;

  // Opens with the copy to stderr.
  static void Open(const char* ident = "harkd") { openlog(ident, kLogPid | kLogStderr, kLogFacilityUser); }
  // Writes the file.
  void Configure(const std::string& text) { folder_.Write("log.cfg", text); }
  // Sends one message, and returns what stood on stderr for it.
  static std::string Log(int priority, const char* text);
  // Whether a message of this level passes.
  static bool Passes(int level) { return !Log(level, "probe").empty(); }

  [[nodiscard]] bool can_receive() const { return server_.is_open(); }
  // The address that this test listens on.
  [[nodiscard]] const std::string& server() const { return address_; }
  // The datagrams that came since the last call, each ended by "|".
  [[nodiscard]] std::string Received() const;

  ScratchFolder folder_;

 private:
  std::string cfgfile_before_;
  std::string address_;
  UniqueFd server_;
};

// "harkd[123]: text", with this process's number.
std::string Tagged(const std::string& ident, const std::string& text);

}  // namespace hark

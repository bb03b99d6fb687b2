// What the program logs during a stretch of a test: its copy on stderr, with no server to send to.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "daemon/log/log.h"

namespace hark {

class LogCapture {
 public:
  LogCapture() {
    log_cfgfile = "/nonexistent/log.cfg";
    openlog("test", kLogPid | kLogStderr, kLogFacilityUser);
  }
  ~LogCapture() {
    closelog();
    log_cfgfile = before_;
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // The log of what `action` does.
  template <typename Action>
  std::string Of(Action action) {
    ::testing::internal::CaptureStderr();
    action();
    return ::testing::internal::GetCapturedStderr();
  }

 private:
  std::string before_ = log_cfgfile;
};

}  // namespace hark

// The daemon's own state in a test's hands: settings at their defaults, sixteen empty slots, files in a
// folder that goes with the test, and connections whose far end the test holds.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

#include "daemon/server.h"
#include "support/line_socket.h"
#include "support/test_clock.h"

namespace hark {

// A folder for the files of one test.
class TestFolder {
 public:
  TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  ~TestFolder();

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string File(const std::string& name) const { return path_ + "/" + name; }
  void Write(const std::string& name, const std::string& text) const;
  [[nodiscard]] std::string Read(const std::string& name) const;
  [[nodiscard]] bool Exists(const std::string& name) const;

 private:
  std::string path_;
};

// The daemon's files for the time of a test, in that folder; then where they were.
class TestFiles {
 public:
  explicit TestFiles(const TestFolder& folder);
  TestFiles(const TestFiles&) = delete;
  TestFiles& operator=(const TestFiles&) = delete;
  ~TestFiles();

 private:
  std::string uilist_;
  std::string harkui_;
  std::string harkid_;
  std::string conf_qnr_;
};

class DaemonTest : public testing::Test {
 protected:
  DaemonTest();
  ~DaemonTest() override;

  // Opens connection `i`: the test reads and writes its far end.
  LineSocket& Open(int i);
  // Attaches a panel to it, from 10.0.0.(i+1):5000.
  HarkUIProxy& Attach(int i, const std::string& id, int first, int last, int aans = 0);

  TestFolder folder;
  TestFiles files{folder};
  TestClock clock;

 private:
  std::array<std::unique_ptr<LineSocket>, kMaxConnections> peers_;
};

}  // namespace hark

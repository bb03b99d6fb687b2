// What the tests of the routing folder share: a station at its defaults, a clock that stands, the hooks to
// the layers above recorded as text, and three control connections that may subscribe to the station's
// objects.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "daemon/qnrlib/qnrdb.h"
#include "daemon/qnrlib/qnrserver.h"
#include "support/line_socket.h"
#include "support/test_clock.h"

namespace hark {

// What was asked of the layers above, in order, each as one text.
struct Asked {
  std::vector<std::string> console;  // "addr"
  std::vector<std::string> input;    // the line, its end included
  std::vector<std::string> volume;   // "dst volume"
  std::vector<std::string> remote;   // "kind url wish"
  std::vector<std::string> speaker;  // "mute" or "open"
  std::vector<std::string> model;    // text for the panel model
};
extern Asked asked;

class RoutingTest : public ::testing::Test {
 protected:
  RoutingTest();
  ~RoutingTest() override;

  TestClock clock;
};

// Nine ports of contacts and the station's objects, as the daemon has them, with connections 0 to 2 open.
class SubscriberTest : public RoutingTest {
 protected:
  SubscriberTest();
  ~SubscriberTest() override;

  // A line of client `client`, to the contacts first and then to the objects, as the daemon does it.
  int Input(int client, const std::string& line);
  // The same to the contacts alone.
  int Contacts(const std::string& line, int client = 0);
  // One pass of the main loop.
  void Pass();
  void Subscribe(int client, const std::string& what);
  // What client `client` was sent, by line and as it stands.
  std::vector<std::string> Lines(int client = 0) {
    return clients_[static_cast<std::size_t>(client)].Lines();
  }
  std::string Text(int client = 0) { return clients_[static_cast<std::size_t>(client)].Text(); }

  QNR_SERVER server_;

 private:
  std::array<LineSocket, 3> clients_;
  std::array<int, kMaxConnections> connections_{};
};

// A file of sources that lives as long as the test.
class SourceFile {
 public:
  explicit SourceFile(const std::string& text);
  ~SourceFile();
  SourceFile(const SourceFile&) = delete;
  SourceFile& operator=(const SourceFile&) = delete;

 private:
  std::filesystem::path path_;
  std::string before_;
};

}  // namespace hark

// A table of objects as the daemon has it in small, with all hooks recorded: what each connection was sent,
// what the panel model heard, and who was asked to answer for the two lists.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "daemon/qnrlib/qnrdb.h"

namespace hark {

class ObjectTable : public ::testing::Test {
 protected:
  // Objects: "SET" (text " "), "IP" ("hostname studio"), "GPI" and "GPO" (9 each, five letters), "CFG GPO"
  // (2), "CALL" and "HARKUI" (no getter), "QUIET" (2, a getter that has nothing to say). No connection is
  // open.
  ObjectTable();
  ~ObjectTable() override;

  // Opens connection `client`.
  static void Connect(int client);
  static void Disconnect(int client);
  // Runs a line and returns its result.
  static int Line(const std::string& line, int client) {
    return qnrdb_cmd_input(&qnrobjdb, line.c_str(), client);
  }

  // What was sent, in order, each as "client:text", since the last call. Line ends are shown as "|".
  static std::vector<std::string> Sent();
  // What the panel model heard since the last call, line ends shown as "|".
  static std::vector<std::string> Heard();
  // "CALL 3" or "HARKUI 3" for each list that connection 3 was to be answered with.
  static std::vector<std::string> ListsAsked();

  // The rows of `client`'s subscriptions, as "NAME index" with the zero-based index, head rows as "NAME -1".
  static std::vector<std::string> SubscriptionsOf(int client);
};

}  // namespace hark

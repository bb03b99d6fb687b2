// What the tests of the panel proxy share: a model over a scratch folder with a file of stations and one of
// channels, panels of any module type that record the text sent to them, the commands that the model sends,
// and a clock that stands. Line ends are part of every text.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "addressing/HarkResolv.h"
#include "addressing/harkresolvtable.h"
#include "base/scratch_folder.h"
#include "panel/HarkUIProxy.h"
#include "panel/HarkUIProxyShared.h"
#include "support/test_clock.h"

namespace hark {

// Stations of every kind that a panel treats in a way of its own.
inline constexpr const char kStations[] =
    "Bob <hark:10.0.0.7>\n"
    "\talt Robert\n"
    "\trtpa 239.192.4.210\n"
    "Ann <hark:10.0.0.8>\n"
    "High <hark:10.0.0.9>;trgl=5\n"
    "Hall <hark:10.0.0.10>;llsn=1\n"
    "Air <quillnet:239.192.0.7>\n";
inline constexpr const char kBobUrl[] = "Bob <hark:10.0.0.7>";

// The channel file of one shift in which key 1 has the first label, key 2 the second...
std::string channel_file(const std::vector<std::string>& labels);

class ProxyTest : public ::testing::Test {
 protected:
  ProxyTest();
  ~ProxyTest() override;

  // The files, with a new modification time each.
  void Stations(const std::string& text) { scratch.Write("hark_sources", text); }
  void Channels(const std::string& text) { scratch.Write("harkch.conf", text); }
  void Labels(const std::vector<std::string>& labels) { Channels(channel_file(labels)); }
  // Notices files that were changed, as the main loop does.
  void Reread() { Model().TimerAction(); }

  // The model, made at the first call from what the files have then.
  HarkUIProxyShared& Model();
  // A panel with nothing sent yet, for the keys `first` to `last`. The ids are "p0", "p1"...
  HarkUIProxy& Attach(int type, int first = 1, int last = 4, int aans = 0);
  // The same, brought up to date, with what was sent so far forgotten.
  HarkUIProxy& AttachUpToDate(int type, int first = 1, int last = 4);
  // What the main loop does with the model's `dirty`; without a time.
  void Refresh();

  // Sets the state of a party, as a report of its call does.
  void Party(std::string_view label, std::uint8_t status);

  // Text and lines sent to a panel, and commands and events of the model, since the last question.
  static std::string Sent(int panel = 0);
  static std::vector<std::string> Lines(int panel = 0);
  static std::vector<std::string> Commands();
  static void Forget();

  int nkeys = 90;
  ScratchFolder scratch;
  TestClock clock;
  std::unique_ptr<HarkUIProxyShared> model;
  std::vector<std::unique_ptr<HarkUIProxy>> panels;

 private:
  std::string sources_before_;
  std::string table_before_;
  ResolvFunction dynamic_before_;
  int (*autoanswer_before_)();
};

}  // namespace hark

// What the tests of call control share: a station at its defaults with empty tables and both services, a
// clock that stands, a mixer that records, and every report of a call as one line of text.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "callctl/line_events.h"
#include "callctl/line_table.h"
#include "callctl/modifycall.h"
#include "callctl/sipctrl.h"
#include "daemon/station/station.h"
#include "sipua/SipStackUA.h"
#include "support/line_socket.h"
#include "support/test_clock.h"

namespace hark {

// A source of the routing network, and two stations.
inline constexpr const char kSource[] = "quillnet:239.192.0.7";
inline constexpr const char kStation[] = "hark:10.0.0.5";
inline constexpr const char kOtherStation[] = "hark:10.0.0.6";

// Heard since the last question: reports such as "hark:10.0.0.5 L:0 T:1" (a direction that is not concerned
// is left out), volumes such as "hark:10.0.0.5 -120", and lines for the daemon's own input, their ends
// included.
extern std::vector<std::string> reports_heard;
extern std::vector<std::string> volumes_heard;
extern std::vector<std::string> inputs_heard;
void note_report(const char* url, char listen, char talk);

class CallTest : public ::testing::Test {
 protected:
  CallTest();
  ~CallTest() override;

  static std::vector<std::string> Reports() { return std::exchange(reports_heard, {}); }
  static std::vector<std::string> Volumes() { return std::exchange(volumes_heard, {}); }
  static std::vector<std::string> Inputs() { return std::exchange(inputs_heard, {}); }
  std::vector<std::string> MixerLines() { return mixer.Lines(); }
  // Forgets all that was heard so far.
  void Forget();

  static int Modify(const std::string& url, char listen, char talk) {
    return sipctrl_modifycall(url.c_str(), listen, talk);
  }
  static int Listen(const std::string& url) { return Modify(url, kWishConnect, kNoWish); }
  static int Talk(const std::string& url) { return Modify(url, kNoWish, kWishConnect); }
  static int DropListen(const std::string& url) { return Modify(url, kWishDrop, kNoWish); }
  static int DropTalk(const std::string& url) { return Modify(url, kNoWish, kWishDrop); }
  // A far contact's wish.
  static void Remote(int kind, const std::string& url, char wish);
  void PassAfterMs(long ms);
  void PassAfterUs(TimeUs us);

  // A line of the table as it stands in a call, without any command or report.
  static HarkLine& Put(int kind, int i, const std::string& url, char state);
  static HarkLine& Line(int kind, int i) { return *getline(kind, i); }
  static const ISipStackUAEvents& Stack() {
    static const ISipStackUAEvents kEvents = line_events();
    return kEvents;
  }
  // The events of the SIP stack that most tests need.
  static void Idle(int kind, int i);
  static void Calling(int kind, int i);
  static void Connected(int kind, int i, const char* media = "10.0.0.5:5004");
  static void Ringing(int kind, int i);
  static void FarDrop(int kind, int i);

  TestClock clock;
  RecordingMixer mixer;
};

}  // namespace hark

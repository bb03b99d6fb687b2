// Panels as peers of a system test, and a station with a file of sources and a file of channels for them.
// A network panel and a console's key module both keep every line that the station sends them, so that a test
// can ask what they show now, and count what they were told since it last looked.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "system/station_fixture.h"
#include "system/support/client.h"
#include "system/support/fake_console.h"
#include "system/support/pump.h"

namespace hark::test {

// Stations behind the routing daemon. Bob can be talked to and heard, and asks for both by contacts of his
// own: GPO 4, pin 1 talk, pin 2 listen. Ann the same at GPO 5. Cal is on no key, GPO 6. Low stands below this
// station's level, GPO 7. Mic has no way to be talked to.
inline constexpr char kBob[] = "Bob <quillnet:239.192.0.7>;gpio=3;gpiot=1;gpiol=2";
inline constexpr char kAnn[] = "Ann <quillnet:239.192.0.8>;gpio=4;gpiot=1;gpiol=2";
inline constexpr char kCal[] = "Cal <quillnet:239.192.0.9>;gpio=5;gpiot=1;gpiol=2";
inline constexpr char kLow[] = "Low <quillnet:239.192.0.10>;trgl=2;gpio=6;gpiot=1";
inline constexpr char kMic[] = "Mic <quillnet:239.192.0.11>";

// Keys 1 to 4 are Bob, Ann, Low and Mic; what stands ahead of the first shift is the selected one.
inline constexpr char kKeys[] =
    "HARKCH 1 LABL:\"Bob\"\nHARKCH 2 LABL:\"Ann\"\nHARKCH 3 LABL:\"Low\"\nHARKCH 4 LABL:\"Mic\"\n";

inline constexpr char kChannelFile[] = "etc/Orfe/hark/harkch.conf";
inline constexpr char kSourceFile[] = "etc/Orfe/hark/hark_sources";

// What stands behind `start` in the last of the lines that begin so; "-" when none does.
[[nodiscard]] std::string last_behind(const Lines& lines, std::string_view start);
// How many of the lines begin so.
[[nodiscard]] int count_of(const Lines& lines, std::string_view start);

// A network panel. Times of key events are its own, so that a tap is one on a loaded machine too.
class NetworkPanel : public Pumped {
 public:
  explicit NetworkPanel(std::string id) : id_(std::move(id)) {}

  // Connects and attaches; the station has taken it up when this returns. Again after leave().
  [[nodiscard]] testing::AssertionResult attach(int port, const std::string& keys,
                                                const std::string& source = "127.0.0.1",
                                                const std::string& more = "");
  // Leaves when the station has nothing more to say, so that it does not send to who is gone.
  void leave();
  // The station has closed the connection.
  [[nodiscard]] bool wait_closed() { return client_.wait_closed(); }

  // Sends one line as it stands, or one behind "HARKUI#id.".
  bool send(const std::string& line) {
    sent_mark_ = all_lines_.size();
    return client_.send_line(line);
  }
  bool tell(const std::string& object) { return send("HARKUI#" + id_ + "." + object); }
  bool press(const std::string& key, int ms) {
    return tell("BUT#" + key + " KEY=DOWN T=" + std::to_string(ms));
  }
  bool release(const std::string& key, int ms) {
    return tell("BUT#" + key + " KEY=UP T=" + std::to_string(ms));
  }
  // Down and up again, short enough to latch or too long for it.
  void tap(const std::string& key);
  void hold(const std::string& key);
  // Waits until the station has done all that came before, and its panels know of it.
  void settle();

  // What it shows now: "On", `TEXT="Bob", ALT="", DFL=0` and a level; "-" for what it was never told.
  [[nodiscard]] std::string indicator(const std::string& key) const;
  [[nodiscard]] std::string display(const std::string& key) const;
  [[nodiscard]] std::string fader(const std::string& key) const;
  // Each waits until it shows that, and until whatever else was told in the same turn has come as well.
  [[nodiscard]] testing::AssertionResult wait_indicator(const std::string& key, const std::string& want);
  [[nodiscard]] testing::AssertionResult wait_display(const std::string& key, const std::string& want);
  [[nodiscard]] testing::AssertionResult wait_fader(const std::string& key, const std::string& want);

  // Every line since the last forget(), but for answers to its own settle().
  [[nodiscard]] const Lines& lines() const { return lines_; }
  void forget() { lines_.clear(); }
  [[nodiscard]] Client& client() { return client_; }
  [[nodiscard]] const std::string& id() const { return id_; }

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  [[nodiscard]] std::string object(const std::string& name) const { return "set HARKUI#" + id_ + "." + name; }
  [[nodiscard]] testing::AssertionResult wait_for(const std::string& start, const std::string& want);
  void take_lines();

  std::string id_;
  Client client_;
  Lines lines_;
  Lines all_lines_;
  std::size_t sent_mark_ = 0;  // how many lines had come when it sent something last
  int answers_ = 0;
};

// A console with one key module.
class ModuleConsole {
 public:
  // Lets the routing daemon name the console, and waits until the station has asked it for its module.
  [[nodiscard]] testing::AssertionResult join(RoutingSim& sim);
  // The module says of which type it is.
  void report(int type);
  void press(int number);
  void release(int number);
  // Down and up in one piece, so that the station finds both at the same time.
  void tap(int number);
  bool send(const std::string& line) { return peer.send_line(line); }
  // Waits until the station has done all that came before, and has told it.
  void settle();

  // The state of a button or a coloured key as last told since the module's type was reported;
  // the waits are those of a network panel.
  [[nodiscard]] std::string button(int number) const;
  [[nodiscard]] std::string key(int number) const;
  [[nodiscard]] testing::AssertionResult wait_button(int number, const std::string& want);
  [[nodiscard]] testing::AssertionResult wait_key(int number, const std::string& want);
  [[nodiscard]] testing::AssertionResult wait_told(const std::string& start, const std::string& want);
  // Every line since the type was reported, or the last forget(), but for answers to its own settle().
  [[nodiscard]] Lines lines() const { return since(mark_); }
  void forget() { mark_ = peer.lines().size(); }

  FakeConsole peer;

 private:
  [[nodiscard]] Lines since(std::size_t mark) const;
  [[nodiscard]] std::string event(int number, const std::string& what) const;

  int type_ = 0;
  std::size_t type_mark_ = 0;
  std::size_t mark_ = 0;
};

class PanelTest : public StationTest {
 protected:
  // The routing daemon names no console, and when it comes back does not take one away either.
  PanelTest() : StationTest({}, {.supv_line = "SUPV CONSOLE_IP:none", .greeting = {}}) {}
  // Starts the station on the sources and keys above, and attaches `panel` to keys 1 to 20.
  void StartWithPanel();
  // And `other` as well, to the same keys.
  void StartWithTwoPanels();
  // `other` makes a call and ends it, whatever went on beside it.
  void OtherWorks();
  [[nodiscard]] std::string Channels() const { return station.root().read(kChannelFile); }
  [[nodiscard]] testing::AssertionResult MixerGets(const std::string& command) const {
    return sim.wait_received("set hark#1." + command);
  }
  // The lines of the list of calls, less its marks.
  [[nodiscard]] Lines CallList();
  // Waits until the station's housekeeping, due every three seconds, has run at least once from here on.
  void Housekeeping();

  NetworkPanel panel{"desk"};
  NetworkPanel other{"gate"};  // attached where a test needs two
  Client client;
};

}  // namespace hark::test

// A station in a call: a daemon at a loopback address of its own, where others reach it at the usual ports,
// with its routing daemon and a client that is told of every call. What it shows and what its mixer carries
// can be asked together.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "system/station_fixture.h"
#include "system/support/client.h"
#include "system/support/pump.h"
#include "system/support/routing_sim.h"
#include "system/support/station.h"

namespace hark::test {

// For what a station does by itself within moments, on a machine however busy.
inline constexpr int kSipWaitMs = 30'000;

// Address `number`, 0 to 6, on the loopback network that nobody but this process uses: the SIP sockets of two
// stations may share an address without a word of complaint, so that two tests must not.
[[nodiscard]] std::string own_address(int number);

// What a report of a call says: who, and one of its states.
struct CallReport {
  std::string far;   // the far station's address
  std::string what;  // "LISTEN:1"
  bool operator==(const CallReport&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const CallReport& report) {
    return out << report.far << " " << report.what;
  }
};

// The reports that a line of the CALL object holds; none when it is no such line.
[[nodiscard]] std::vector<CallReport> reports_of(const std::string& line);

// A client that subscribed to CALL, and keeps all that it is told.
class CallWatch : public Pumped {
 public:
  [[nodiscard]] bool connect(int port, const std::string& source = "127.0.0.1",
                             const std::string& address = "127.0.0.1");
  // Waits until it has been told all that the station has to tell by now.
  void catch_up();

  // All since the last forget(), in their order.
  [[nodiscard]] const std::vector<CallReport>& reports() const { return reports_; }
  void forget() { reports_.clear(); }
  // Those of one far station since then, less the volumes.
  [[nodiscard]] Lines told(const std::string& far) const;
  // The letter of a direction, "TALK" or "LISTEN", as last told; "0" when it never was.
  [[nodiscard]] std::string letter(const std::string& far, const std::string& direction) const;
  // The station was told to `far` in this state since the last forget().
  [[nodiscard]] bool was(const std::string& far, const std::string& what) const;

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  Client client_;
  std::vector<CallReport> all_;
  std::vector<CallReport> reports_;
  int answers_ = 0;
};

class SipStation {
 public:
  // Station `number`, 0 to 6: that is its address on the loopback network, and the last part of its source's.
  SipStation(int number, std::string label);

  // Starts it on a name and a source; its services exist when this returns. The settings are written if they
  // are not there yet.
  [[nodiscard]] testing::AssertionResult start();
  // Connects both clients; after a start of the station that start() did not make.
  [[nodiscard]] testing::AssertionResult connect();

  [[nodiscard]] const std::string& address() const { return station.sip_ip(); }
  [[nodiscard]] const std::string& label() const { return label_; }
  // As a command names it.
  [[nodiscard]] std::string url() const { return "hark:" + address(); }
  // The source that others hear of it, as their mixers are told.
  [[nodiscard]] const std::string& media() const { return media_; }

  // Sends a line that has no answer.
  void command(const std::string& line);
  // "CALL URL:... what" to that address.
  void call(const std::string& far, const std::string& what);
  void call(const SipStation& far, const std::string& what) { call(far.address(), what); }

  // Waits until the state was told since the watch last forgot, or is the last that was told.
  [[nodiscard]] testing::AssertionResult shows(const std::string& far, const std::string& what,
                                               int timeout_ms = kSipWaitMs);
  [[nodiscard]] testing::AssertionResult shows(const SipStation& far, const std::string& what,
                                               int timeout_ms = kSipWaitMs) {
    return shows(far.address(), what, timeout_ms);
  }
  [[nodiscard]] Lines told(const SipStation& far) const { return watch.told(far.address()); }
  // The list of calls, less its marks. The watch knows of all that led to it.
  [[nodiscard]] Lines list();
  // Waits until no line is in use.
  [[nodiscard]] testing::AssertionResult becomes_free(int timeout_ms = kSipWaitMs);
  // The sources at the mixer's inputs, those that carry one.
  [[nodiscard]] Lines heard() const;
  [[nodiscard]] testing::AssertionResult hears(const Lines& sources, int timeout_ms = kSipWaitMs) const;
  // Waits until whatever came before has been worked off, and the watch has been told.
  void settle() {
    let_it_settle(client);
    watch.catch_up();
  }

  RoutingSim sim;
  Station station;
  Client client;
  CallWatch watch;

 private:
  std::string label_;
  std::string media_;
};

// No two stations of a test have a line left, a source at a mixer, or anything to complain of at their end.
class SipTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // A line of a log with this part is expected.
  void ExpectLog(std::string part) { expected_log_.push_back(std::move(part)); }
  // Talks from one to the other; the call is up on both sides when this returns.
  void Talk(SipStation& from, SipStation& to);
  // Listens from one to the other, in the same way.
  void Listen(SipStation& from, SipStation& to);
  // Both are without a line.
  void BothFree(int timeout_ms = kSipWaitMs);

  SipStation a{0, "STUDIO A"};
  SipStation b{1, "STUDIO B"};

 private:
  Lines expected_log_;
};

}  // namespace hark::test

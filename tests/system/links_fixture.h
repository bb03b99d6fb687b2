// A station that talks into foreign devices: who makes its calls, who is told what becomes of them, and the
// addresses of both kinds.
#pragma once

#include <string>

#include "system/station_fixture.h"
#include "system/support/far_device_sim.h"

namespace hark::test {

// What the station writes into a destination: its own source, marked as somebody who talks.
inline constexpr char kOwnAddress[] = "239.192.0.1 <^PTT>";
inline constexpr int kOwnChannel = 1;  // of that source

// The URL of a source that is talked to by way of the destination; each destination has its own.
[[nodiscard]] std::string ifb_url(const FarDeviceSim& device, int dst, const std::string& password = {});

// The line that asks for something about a call, and reports it.
[[nodiscard]] std::string call_line(const std::string& url, const std::string& what);

// The line that sets a destination.
[[nodiscard]] std::string set_line(int dst, const std::string& addr);

class Links : public StationTest {
 protected:
  // Starts the station; `client` makes its calls, `listener` is told of them.
  void SetUp() override;

  // The line was taken, and said nothing to who sent it.
  void Call(const std::string& url, const std::string& what);
  // The call's end has been asked for and has come, a confirmed one's with a report.
  void Drop(const std::string& url);
  // The next thing that is reported.
  [[nodiscard]] testing::AssertionResult Reported(const std::string& url, const std::string& what);
  // The talk has come about: first asked for, then confirmed.
  void TalkTo(const std::string& url);
  // What the station has to say of the talk by itself, now that everything that came has been worked off:
  // nothing more is reported, and the list has it in this state.
  [[nodiscard]] testing::AssertionResult StaysIn(const std::string& url, char state);
  // The same when others are reported of in between.
  void TalkToAmongOthers(const std::string& url);
  // The calls that there are, as the list has them.
  [[nodiscard]] Lines Listed();
  // No call is left.
  [[nodiscard]] testing::AssertionResult NoCalls();
  // The station has so many descriptors open, sooner or later.
  [[nodiscard]] testing::AssertionResult HasDescriptors(int count) const;
  // It serves its clients.
  void ServesClients();

  Client client;
  Client listener;

 private:
  Client lister_;
};

}  // namespace hark::test

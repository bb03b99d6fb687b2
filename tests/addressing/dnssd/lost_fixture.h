// What all the ways to lose the DNS-SD daemon have in common: what the library answers then, and that it
// works again later. A call to one that hangs takes about a second, and those behind it are refused at once
// for some seconds; the bounds here leave room for a loaded machine.
#pragma once

#include <vector>

#include "addressing/dnssd/dnssd_fixture.h"

namespace hark::test {

inline constexpr double kLongestCall = 3;
// For calls that do not wait for the daemon.
inline constexpr double kAtOnce = 0.9;

class LostTest : public DnssdTest {
 protected:
  // All calls that ask the daemon for something are refused, the first of them in bounded time, all others
  // at once.
  static void ExpectAllRefused();
  // A service is announced and seen.
  static void ExpectWorks(const char* name = "Again");
  // References of all kinds, all of which have been told something.
  void OpenAll();
  [[nodiscard]] std::vector<Asked*> All() { return {&service, &browse, &details, &address}; }
  // Each of them says that it is lost, again and again, and its descriptor stays ready.
  void ExpectAllLost();
  // Since that nothing was told.
  void ExpectNothingTold();
  void EndAll();

  Asked service;
  Asked browse;
  Asked details;
  Asked address;
};

}  // namespace hark::test

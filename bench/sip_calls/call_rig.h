// The stations that calls are measured with, and the programs beside them.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "caller.h"
#include "tools/callsoak/station.h"

namespace hark::bench {

inline constexpr int kBenchSipPort = 5058;  // listen service at +1, talk service at +2

// Says on stderr what could not be measured; false.
bool cannot(const std::string& what);

// A station that answers by itself whoever calls. Null, with the reason on stderr, when it does not start.
[[nodiscard]] std::unique_ptr<callsoak::Station> answering_station(const std::string& harkd,
                                                                   const std::string& wrapper = "");
[[nodiscard]] Target talk_service();
[[nodiscard]] Target listen_service();

// A program with its output in a file; killed at destruction.
class Child {
 public:
  Child(std::vector<std::string> words, const std::string& output);
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  // Serves the station until it has ended; its status, -1 when it was a signal.
  [[nodiscard]] int wait(callsoak::Station* station);

 private:
  pid_t pid_;
};

// A folder for what a run writes, gone with this.
class Scratch {
 public:
  Scratch();
  ~Scratch();
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// sipp that answers such calls at the second address of this process. Null when it does not.
[[nodiscard]] std::unique_ptr<Child> sipp_answerer(const std::string& scenarios, const Scratch& scratch);
[[nodiscard]] Target sipp_service();

}  // namespace hark::bench

// The program harkctl beside a real station: run to its end, or watched while it runs.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "base/fd.h"
#include "system/station_fixture.h"
#include "system/support/pump.h"

namespace hark::test {

using Words = std::vector<std::string>;
// Set for a program that is started; the rest is as in the test, but that no HARKCTL_STATION is there.
using Environment = std::map<std::string, std::string>;
using Json = nlohmann::json;

// A program with its output on pipes that every wait of the test reads.
class Program : public Pumped {
 public:
  Program(const std::string& path, Words words, const Environment& environment);
  ~Program() override;

  // Waits for its end: the status, 128 + number when a signal ended it, -1 when it still runs.
  int WaitExit(int timeout_ms = 30'000);
  void Signal(int number) const;
  [[nodiscard]] bool Runs();
  // Nobody reads its output any more.
  void CloseOutput() { out_.reset(); }

  [[nodiscard]] const std::string& Out() const { return out_text_; }
  [[nodiscard]] const std::string& Err() const { return err_text_; }
  // Waits until its output holds the text, and gives the line of it; a failure shows what came instead.
  [[nodiscard]] testing::AssertionResult Prints(const std::string& text) const;
  // The output up to now, read no more.
  void Forget() { out_text_.clear(); }

  void fill(fd_set& read, fd_set& write, int& highest) const override;
  void serve(const fd_set& read, const fd_set& write) override;

 private:
  UniqueFd out_;
  UniqueFd err_;
  std::string out_text_;
  std::string err_text_;
  pid_t pid_ = -1;
  bool ended_ = false;
  int status_ = -1;
};

struct Ended {
  int status = -1;
  std::string out;
  std::string err;
  friend std::ostream& operator<<(std::ostream& stream, const Ended& ended) {
    return stream << "status " << ended.status << "\nout: " << ended.out << "\nerr: " << ended.err;
  }
};

// Runs harkctl to its end.
[[nodiscard]] Ended RunHarkctl(const Words& words, const Environment& environment = {});
// One line on standard error that names the program, nothing else, and this status.
[[nodiscard]] testing::AssertionResult complains(const Ended& ended, int status, const std::string& text);

// With time enough for a busy machine, unless the words give one.
[[nodiscard]] Words patient(Words words);

class HarkctlTest : public StationTest {
 protected:
  explicit HarkctlTest(StationOptions options = {}) : StationTest(std::move(options)) {}

  // Where the station and its files are.
  [[nodiscard]] Environment Env() const;
  [[nodiscard]] Ended Run(const Words& words) const { return RunHarkctl(patient(words), Env()); }
  // What it writes, when it ends well and says nothing on standard error.
  [[nodiscard]] std::string Out(const Words& words) const;
  [[nodiscard]] Lines OutLines(const Words& words) const { return lines_of(Out(words)); }
  // Its one line of JSON.
  [[nodiscard]] Json OutJson(Words words) const;
};

// A TCP port at 127.0.0.1 that takes connections and never says a word.
class SilentPort {
 public:
  SilentPort();
  [[nodiscard]] int port() const { return port_; }

 private:
  UniqueFd listener_;
  int port_ = -1;
};

}  // namespace hark::test

// One real station: the harkd binary as a child process, in a root folder, with ports and addresses of its
// own. A test writes its files, starts it, talks to it from outside and ends it; it can be started again on
// the same files. Whatever the test leaves running is killed by its process id.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "system/support/pump.h"
#include "system/support/temp_root.h"

namespace hark::test {

struct StationOptions {
  // Port of the routing daemon at 127.0.0.1; 0 takes one where nobody listens.
  int routing_port = 0;
  std::string sip_ip = "127.0.0.1";
  // Interface for -i. One that does not exist leaves sip_ip in force and the station without a default name.
  std::string nic = "nonic0";
  // Foreground with traces; without it the process goes to the background as in service.
  bool debug = true;
  // Further words of the command line, behind the others.
  std::vector<std::string> extra_args = {};
  // The program; empty is the harkd of this build.
  std::string binary = {};
  // Called in the child before it becomes the program: takes it to another place, a simulated host for one.
  std::function<void()> enter = {};
};

class Station {
 public:
  explicit Station(StationOptions options = {});
  Station(const Station&) = delete;
  Station& operator=(const Station&) = delete;
  ~Station();

  // The files that it reads at start. Each call replaces the whole file.
  void write_harkd_conf(std::string_view text) const { root_.write("etc/Orfe/hark/harkd.conf", text); }
  void write_settings(std::string_view text) const { root_.write("etc/Orfe/hark/harkid", text); }
  void write_sources(std::string_view text) const { root_.write("etc/Orfe/hark/hark_sources", text); }
  void write_log_params(const std::string& server, int level) const;
  [[nodiscard]] std::string settings() const { return root_.read("etc/Orfe/hark/harkid"); }
  [[nodiscard]] const TempRoot& root() const { return root_; }

  // Starts it, and waits until its loop runs. A failure shows what the process said.
  [[nodiscard]] testing::AssertionResult start();
  // Starts it without waiting for anything.
  void launch();
  // Waits until its loop runs, which the pid file tells.
  [[nodiscard]] testing::AssertionResult wait_ready(int timeout_ms = kWaitMs);

  // Sends SIGTERM and waits for the end. As wait_exit().
  int terminate(int timeout_ms = kWaitMs);
  void send_signal(int number) const;
  // Its exit status, 128 + number when a signal ended it, -1 when it still runs when the time is over.
  int wait_exit(int timeout_ms = kWaitMs);
  [[nodiscard]] bool alive();
  [[nodiscard]] pid_t pid() const { return pid_; }

  // The last assertion of most tests: ends the station if it still runs; it had status 0, wrote no
  // sanitizer's report, and left neither a pid file nor a half-written one.
  [[nodiscard]] testing::AssertionResult ends_clean();

  [[nodiscard]] int ctrl_port() const { return ctrl_port_; }
  [[nodiscard]] int sip_port() const { return sip_port_; }
  [[nodiscard]] const std::string& sip_ip() const { return options_.sip_ip; }
  // What it has written so far, over all starts.
  [[nodiscard]] std::string stdout_text() const { return root_.read("stdout"); }
  [[nodiscard]] std::string stderr_text() const { return root_.read("stderr"); }

  // From /proc; -1 when it does not run.
  [[nodiscard]] long resident_kib() const;
  [[nodiscard]] int open_fds() const;
  // User and system time spent so far, in milliseconds.
  [[nodiscard]] long cpu_ms() const;

 private:
  [[nodiscard]] std::vector<std::string> command_line() const;
  [[noreturn]] void become_station(std::vector<std::string> words) const;
  void collect_exit();
  [[nodiscard]] std::string said() const;

  StationOptions options_;
  TempRoot root_;
  int ctrl_port_;
  int sip_port_;
  pid_t pid_ = -1;  // of the daemon itself, once known; it stays when that has ended
  bool running_ = false;
  int exit_status_ = -1;
};

}  // namespace hark::test

// The processes of a run: the real harkd under a folder of its own, and helpers that are forks of this
// program. All of them end with it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>

namespace hark::bench {

// Keeps this process, and all that it starts from here on, on one core. Left to itself the scheduler puts two
// processes that talk to each other on one core or on two as it likes, and a wake-up across cores costs
// several times the other: that would decide the result. On one core waking is cheapest, so that what the
// daemon itself does shows most.
void stay_on_one_core();

// Ends that: all cores that this process was given are its again, for what it starts from here on too.
void leave_that_core();

// Whether this process may use another core than that one; and from there on, the calling thread does.
[[nodiscard]] bool has_other_core();
void go_to_other_core();

// A fork of this program that runs `body` and never returns from it. Killed at destruction, and by
// the kernel when this program dies.
class Helper {
 public:
  explicit Helper(const std::function<void()>& body);
  ~Helper();
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;
  [[nodiscard]] pid_t pid() const { return pid_; }

 private:
  pid_t pid_;
};

// What a process takes: resident memory in KiB; time on a processor so far, as the scheduler counts it and in
// the clock ticks of /proc/PID/stat. -1 when it cannot be told.
[[nodiscard]] long resident_kib(pid_t pid);
[[nodiscard]] std::int64_t cpu_ns(pid_t pid);
[[nodiscard]] std::int64_t cpu_ticks(pid_t pid);

// A folder that stands for the root of the file system (HARK_ROOT), with what harkd expects in it.
class TempRoot {
 public:
  // `sources` is the file of sources, `channels` the channel file. It is made in `base`; empty: in $TMPDIR or
  // /tmp.
  TempRoot(const std::string& sources, const std::string& channels, const std::string& base = "");
  ~TempRoot();
  TempRoot(const TempRoot&) = delete;
  TempRoot& operator=(const TempRoot&) = delete;
  [[nodiscard]] const std::string& path() const { return path_; }
  // Replaces the file of sources.
  void write_sources(const std::string& text) const;

 private:
  std::string path_;
};

// A running harkd that became a daemon, as it does in operation: no traces, nothing on a terminal.
class Daemon {
 public:
  // Starts `program` under `root`; requires a routing daemon listening on `qnr_port`. pid() is -1 when it did
  // not start.
  Daemon(const std::string& program, const TempRoot& root, int ctrl_port, int qnr_port);
  // Ends it by SIGTERM, and by force if that does not help.
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
};

}  // namespace hark::bench

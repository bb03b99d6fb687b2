// The daemon as a process, measured from outside by a client of its control port that is its routing daemon
// too: memory, idle load, and the time from a CALL line to the mixer command that it causes.
//
// Each measured CALL makes a new call. What makes that quick is how the call ends: the source file names a
// contact for the source, and the routing daemon reports that contact as open, which ends the call at once
// where a drop by the client would take its 400 ms. Before the next one the station answers a version
// request, so that nothing of the last call is left to do.
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "benches.h"
#include "peers.h"
#include "process.h"

namespace hark::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kSource = "239.192.4.210";
constexpr const char* kListenPrefix = "quillnet:239.192.5.";
constexpr const char* kTalkPrefix = "quillnet:239.192.6.";
constexpr int kListenLines = 8;
constexpr int kTalkLines = 128;
constexpr int kWarmUp = 50;
constexpr int kBareLoopSeconds = 5;
constexpr double kRatioAim = 1.5;
constexpr double kLoadedRatioAim = 2;
constexpr double kIdleAim = 0.5;    // percent of a core
constexpr double kResidentAim = 6;  // MiB
constexpr const char* kIdentity =
    "HARK LABL:\"Bench\" DROPFLASH:0\r\nSRC 1 PSNM:\"Bench\" RTPA:\"239.192.0.77\"\r\n";

std::string call_line(const std::string& url, const char* wish) {
  return "CALL URL:\"" + url + "\" " + wish + "\r\n";
}

std::string source_command(int input, const std::string& source) {
  return "set hark#1.sub#1.in#" + std::to_string(input) + " src_id=\"" + source + "\"";
}

bool fail(const char* what) {
  (void)std::fprintf(stderr, "hark_bench: %s\n", what);
  return false;
}

// Times of one kind, in microseconds.
class Times {
 public:
  void add(Clock::duration time) { us_.push_back(std::chrono::duration<double, std::micro>(time).count()); }
  [[nodiscard]] double at(double part) {
    std::sort(us_.begin(), us_.end());
    return us_[static_cast<std::size_t>(part * static_cast<double>(us_.size() - 1))];
  }

 private:
  std::vector<double> us_;
};

// The station and the two sockets by which it is measured.
class Rig {
 public:
  explicit Rig(const std::string& harkd)
      : root_("quillnet:" + std::string(kSource) + ";gpio=1;gpiol=1\n"),
        daemon_(harkd, root_, ctrl_port_, listener_.port()),
        mixer_(daemon_.pid() > 0 ? listener_.accept() : UniqueFd()) {
    mixer_.send(kIdentity);
  }

  [[nodiscard]] const Daemon& daemon() const { return daemon_; }
  [[nodiscard]] int ctrl_port() const { return ctrl_port_; }
  [[nodiscard]] LineConnection& mixer() { return mixer_; }
  [[nodiscard]] bool is_up() const { return daemon_.pid() > 0 && !mixer_.is_lost(); }

 private:
  TempRoot root_;
  Listener listener_;
  int ctrl_port_ = free_port();
  Daemon daemon_;
  LineConnection mixer_;
};

// One new call on line `input`, and its end.
Clock::duration one_call(Rig& rig, LineConnection& control, int input) {
  static const std::string call = call_line("quillnet:" + std::string(kSource), "LISTEN:1");
  const std::string connected = source_command(input, kSource);
  const std::string ended = source_command(input, "");
  const auto start = Clock::now();
  control.send(call);
  (void)rig.mixer().wait_for(connected);
  const auto passed = Clock::now() - start;
  rig.mixer().send("GPO 2 Hxxxx\r\n");
  (void)rig.mixer().wait_for(ended);
  control.send("VER\r\n");
  (void)control.wait_for("VER ");
  return passed;
}

Clock::duration one_echo(LineConnection& echo, const std::string& request, std::size_t reply) {
  const auto start = Clock::now();
  echo.send(request);
  echo.read(reply);
  return Clock::now() - start;
}

// Calls and echoes in turn, so that both see the same machine.
bool measure_calls(Rig& rig, LineConnection& control, int input, int calls, const std::string& where,
                   double aim, Table& table) {
  const std::string request = call_line("quillnet:" + std::string(kSource), "LISTEN:1");
  const std::size_t reply = (source_command(input, kSource) + ", gain=0\r\n").size();
  const EchoProcess echo_process(request.size(), reply);
  LineConnection echo = echo_process.connect();
  Times call_times;
  Times echo_times;
  for (int i = -kWarmUp; i < calls; ++i) {
    const auto call_time = one_call(rig, control, input);
    const auto echo_time = one_echo(echo, request, reply);
    if (control.is_lost() || rig.mixer().is_lost() || echo.is_lost()) return fail("a call was not answered");
    if (i < 0) continue;
    call_times.add(call_time);
    echo_times.add(echo_time);
  }
  table.add({"CALL to mixer command" + where + ", median", call_times.at(0.5), "us"});
  table.add({"CALL to mixer command" + where + ", p99", call_times.at(0.99), "us"});
  table.add({"TCP echo of the same sizes" + where + ", median", echo_times.at(0.5), "us"});
  table.add({"TCP echo of the same sizes" + where + ", p99", echo_times.at(0.99), "us"});
  table.add({"ratio of the medians" + where, call_times.at(0.5) / echo_times.at(0.5), "", 2, aim});
  table.add({"ratio of the p99" + where, call_times.at(0.99) / echo_times.at(0.99), "", 2});
  return true;
}

// Takes every line but the last listen line. True when the station lists them all.
bool fill_lines(LineConnection& control) {
  for (int i = 1; i < kListenLines; ++i)
    control.send(call_line(kListenPrefix + std::to_string(i), "LISTEN:1"));
  for (int i = 1; i <= kTalkLines; ++i)
    control.send(call_line(kTalkPrefix + std::to_string(i) + ";gpio=2;gpiot=1", "TALK:1"));
  control.send("CALL\r\n");
  (void)control.wait_for("BEGIN");
  int listed = 0;
  while (control.wait_for("").starts_with("CALL "))
    ++listed;
  control.send("UNSUB CALL\r\n");
  return listed == kListenLines - 1 + kTalkLines;
}

// The least that a loop with the daemon's wait can take on this machine.
void bare_loop() {
  for (;;) {
    timeval timeout{0, 10'000};
    (void)::select(0, nullptr, nullptr, nullptr, &timeout);
  }
}

// What a process has used of a core between two looks at it, in percent.
class CpuWatch {
 public:
  explicit CpuWatch(pid_t pid) : pid_(pid), ticks_(cpu_ticks(pid)), ns_(cpu_ns(pid)) {}
  [[nodiscard]] bool works() const { return ticks_ >= 0; }
  [[nodiscard]] double percent_by_ticks() const {
    return 100 * static_cast<double>(cpu_ticks(pid_) - ticks_) / static_cast<double>(::sysconf(_SC_CLK_TCK)) /
           passed();
  }
  // Finer than ticks; kernels without schedstat give no more than those.
  [[nodiscard]] double percent() const {
    const std::int64_t now = cpu_ns(pid_);
    return now > 0 ? 1e-7 * static_cast<double>(now - ns_) / passed() : percent_by_ticks();
  }

 private:
  [[nodiscard]] double passed() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
  pid_t pid_;
  std::int64_t ticks_;
  std::int64_t ns_;
  Clock::time_point start_ = Clock::now();
};

bool measure_idle(const Daemon& daemon, int seconds, Table& table) {
  const CpuWatch watch(daemon.pid());
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  if (!watch.works()) return fail("the processor time of the daemon cannot be read");
  const std::string watched = ", idle for " + std::to_string(seconds) + " s";
  table.add({"CPU" + watched, watch.percent(), "%", 2, kIdleAim});
  table.add({"CPU by clock ticks" + watched, watch.percent_by_ticks(), "%", 2, kIdleAim});
  return true;
}

// While no daemon runs: two that wait on one core would wake it up for each other.
void measure_bare_loop(Table& table) {
  const Helper bare(bare_loop);
  const CpuWatch watch(bare.pid());
  std::this_thread::sleep_for(std::chrono::seconds(kBareLoopSeconds));
  table.add({"CPU of a bare loop of 10 ms waits", watch.percent(), "%", 2});
}

bool measure_memory(const Daemon& daemon, const std::string& when, Table& table) {
  const long kib = resident_kib(daemon.pid());
  if (kib < 0) return fail("the memory of the daemon cannot be read");
  table.add({"resident memory" + when, static_cast<double>(kib) / 1024, "MiB", 2, kResidentAim});
  return true;
}

}  // namespace

bool system_bench(const Settings& settings, Table& table) {
  stay_on_one_core();
  measure_bare_loop(table);
  Rig rig(settings.harkd);
  if (!rig.is_up()) return fail("harkd did not start and connect");
  LineConnection control(connect_from(1, rig.ctrl_port()));
  // The station can make calls once it has taken its identity, of which the version request knows nothing:
  // the loop has done it when it has answered twice.
  for (int i = 0; i < 2; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    control.send("VER\r\n");
    (void)control.wait_for("VER ");
  }
  if (control.is_lost()) return fail("the control port does not answer");
  if (!measure_memory(rig.daemon(), " after start", table)) return false;
  if (!measure_idle(rig.daemon(), settings.idle_s, table)) return false;
  if (!measure_calls(rig, control, 1, settings.calls, "", kRatioAim, table)) return false;

  if (!fill_lines(control)) return fail("not all lines could be taken");
  const BusyProcess busy(rig.ctrl_port(), kListenPrefix, kListenLines - 1);
  if (!busy.is_running()) return fail("fifteen more clients could not connect");
  if (!measure_calls(rig, control, kListenLines, settings.calls, ", all busy", kLoadedRatioAim, table))
    return false;
  return measure_memory(rig.daemon(), " after that", table);
}

}  // namespace hark::bench

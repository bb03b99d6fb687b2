// The daemon as a process, measured from outside by a client of its control port that is its routing daemon
// too: memory, idle load, and the time from a CALL line to the mixer command that it causes.
#include <sys/select.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "benches.h"
#include "latency.h"
#include "peers.h"
#include "process.h"
#include "rig.h"

namespace hark::bench {
namespace {

constexpr const char* kListenPrefix = "quillnet:239.192.5.";
constexpr const char* kTalkPrefix = "quillnet:239.192.6.";
constexpr int kListenLines = 8;
constexpr int kTalkLines = 128;
constexpr int kBareLoopSeconds = 5;
constexpr double kRatioAim = 1.5;
constexpr double kLoadedRatioAim = 2;
constexpr double kIdleAim = 0.5;    // percent of a core
constexpr double kResidentAim = 6;  // MiB

std::string call_line(const std::string& url, const char* wish) {
  return "CALL URL:\"" + url + "\" " + wish + "\r\n";
}

// One new call on line `input`, and its end. What the daemon has to do for the end is over before the next.
std::optional<Clock::duration> one_call(Arrival& arrival, Rig& rig, LineConnection& control, int input) {
  static const std::string call = call_line("quillnet:" + std::string(kSource), "LISTEN:1");
  const std::string connected = source_command(input, kSource);
  const auto passed = arrival.time([&] { control.send(call); }, rig.mixer(),
                                   [&](LineConnection& from) { (void)from.wait_for(connected); });
  rig.end_call(control, input);
  if (control.is_lost() || rig.mixer().is_lost()) return std::nullopt;
  return passed;
}

bool measure_calls(Rig& rig, LineConnection& control, int input, int calls, const std::string& where,
                   double aim, Table& table) {
  const std::size_t request = call_line("quillnet:" + std::string(kSource), "LISTEN:1").size();
  const Comparison comparison{"CALL to mixer command",    where, request,
                              source_command_size(input), calls, aim};
  return compare_with_echo(
             comparison, [&](Arrival& arrival) { return one_call(arrival, rig, control, input); }, table) ||
         fail("a call was not answered");
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
  if (!Rig::wait_ready(control)) return false;
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

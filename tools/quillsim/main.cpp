// The program quillsim: one loop over the station at the routing daemon and at whoever else is played, the
// script and the signals that end it. What it prints on standard output is for people and for scripts that
// wait for a line, so each line goes out at once.

#include <sys/select.h>
#include <unistd.h>
#include <csignal>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <optional>
#include <string>
#include <utility>

#include "base/fd.h"
#include "tools/quillsim/console.h"
#include "tools/quillsim/far_device.h"
#include "tools/quillsim/options.h"
#include "tools/quillsim/ptt_responder.h"
#include "tools/quillsim/screen.h"
#include "tools/quillsim/script.h"
#include "tools/quillsim/sim.h"

namespace {

using quillsim::Console;
using quillsim::FarDevice;
using quillsim::Options;
using quillsim::PttResponder;
using quillsim::Screen;
using quillsim::Script;
using quillsim::Sim;

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr std::size_t kMaxInputLine = 1U << 16;

volatile std::sig_atomic_t g_stop = 0;

void on_stop_signal(int) { g_stop = 1; }

void write_out(const std::string& bytes) {
  (void)std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  (void)std::fflush(stdout);
}

void complain(const std::string& line) { (void)std::fprintf(stderr, "quillsim: %s\n", line.c_str()); }

// Blocks the two signals but for the time inside pselect, whose mask is stored in `open`.
void catch_signals(sigset_t& open) {
  struct sigaction action {};
  action.sa_handler = on_stop_signal;
  (void)sigemptyset(&action.sa_mask);
  (void)sigaction(SIGTERM, &action, nullptr);
  (void)sigaction(SIGINT, &action, nullptr);
  action.sa_handler = SIG_IGN;
  (void)sigaction(SIGPIPE, &action, nullptr);

  sigset_t blocked;
  (void)sigemptyset(&blocked);
  (void)sigaddset(&blocked, SIGTERM);
  (void)sigaddset(&blocked, SIGINT);
  (void)sigprocmask(SIG_BLOCK, &blocked, &open);
  (void)sigdelset(&open, SIGTERM);
  (void)sigdelset(&open, SIGINT);
}

bool load_script(const std::string& path, Script& script) {
  std::ifstream file(path);
  if (!file) {
    complain("cannot read " + path + ": " + std::strerror(errno));
    return false;
  }
  for (std::string line; std::getline(file, line);)
    script.add(line);
  return true;
}

// Lines that are typed or piped in.
class StandardInput {
 public:
  // `on` false: nobody is listened to.
  explicit StandardInput(bool on) : open_(on) {}

  [[nodiscard]] int fd() const { return open_ ? STDIN_FILENO : -1; }

  // Hands each whole line to `script`, and at the end of input what is left. The end of input does not end
  // the program.
  void read(Script& script) {
    std::array<char, 4096> bytes{};
    const ssize_t got = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (got < 0 && errno == EINTR) return;
    if (got <= 0) {
      open_ = false;
      if (!partial_.empty()) script.add(std::exchange(partial_, {}));
      return;
    }
    partial_.append(bytes.data(), static_cast<std::size_t>(got));
    for (std::size_t end = 0; (end = partial_.find('\n')) != std::string::npos; partial_.erase(0, end + 1)) {
      script.add(partial_.substr(0, end));
    }
    if (partial_.size() > kMaxInputLine) {
      complain("input line too long");
      partial_.clear();
    }
  }

 private:
  bool open_;
  std::string partial_;
};

// What runs in the loop. Those that are not asked for are none.
struct Parts {
  Sim& sim;
  std::optional<Console>& console;
  std::optional<FarDevice>& far_device;
  std::optional<PttResponder>& ptt;
  std::optional<Screen>& screen;
  Script& script;

  void fill(fd_set& read, fd_set& write, int& highest) const {
    sim.fill(read, write, highest);
    if (console) console->fill(read, write, highest);
    if (far_device) far_device->fill(read, write, highest);
    if (ptt) ptt->fill(read, highest);
  }
  void serve(const fd_set& read, const fd_set& write) const {
    sim.serve(read, write);
    if (console) console->serve(read, write);
    if (far_device) far_device->serve(read, write);
    if (ptt) ptt->serve(read, std::chrono::steady_clock::now());
  }
  void forget_records() const {
    sim.forget_records();
    if (console) console->forget_records();
    if (far_device) far_device->forget_records();
    if (ptt) ptt->forget_records();
  }
  [[nodiscard]] bool ever_refused() const {
    return sim.ever_refused() || (console && console->ever_refused()) ||
           (far_device && far_device->ever_refused()) || (ptt && ptt->ever_refused());
  }
};

// How long the loop may sleep: until somebody is due; at most a second, which no case depends on.
timespec sleep_time(const Parts& parts) {
  using std::chrono::nanoseconds;
  nanoseconds left = std::chrono::seconds(1);
  const auto now = std::chrono::steady_clock::now();
  const auto wake = [&](const std::optional<Script::Time>& due) {
    if (due) left = std::clamp<nanoseconds>(*due - now, nanoseconds(0), left);
  };
  wake(parts.script.due());
  if (parts.screen) wake(parts.screen->due());
  if (parts.ptt) wake(parts.ptt->due());
  timespec time{};
  time.tv_sec = static_cast<time_t>(left.count() / 1'000'000'000);
  time.tv_nsec = static_cast<long>(left.count() % 1'000'000'000);
  return time;
}

void run_loop(const Parts& parts, StandardInput& input, const sigset_t& open_signals) {
  while (g_stop == 0) {
    const auto now = std::chrono::steady_clock::now();
    if (parts.ptt) parts.ptt->run(now);
    parts.script.run(now);
    if (parts.screen) parts.screen->paint(now);
    if (parts.script.quit()) return;
    parts.forget_records();

    fd_set read;
    fd_set write;
    FD_ZERO(&read);
    FD_ZERO(&write);
    int highest = -1;
    parts.fill(read, write, highest);
    (void)hark::fdset_add(input.fd(), read, highest);
    const timespec timeout = sleep_time(parts);
    if (::pselect(highest + 1, &read, &write, nullptr, &timeout, &open_signals) <= 0) continue;
    parts.serve(read, write);
    if (hark::fdset_has(input.fd(), read)) input.read(parts.script);
  }
}

// The port that it listens on; -1 with a complaint.
template <typename Server>
int start_listening(Server& server, const std::string& address, int port) {
  const int got = server.listen(address, port);
  if (got < 0) {
    complain("cannot listen on " + address + ":" + std::to_string(port) + ": " + std::strerror(errno));
  }
  return got;
}

// The two that need nobody else: each starts if it is asked for, and says where it is to be found.
bool start_far_device(const Options& options, const FarDevice::Printer& print,
                      std::optional<FarDevice>& far_device) {
  if (!options.far_port) return true;
  far_device.emplace(options.far_device, print);
  const std::string& address = options.far_address.empty() ? options.address : options.far_address;
  const int port = start_listening(*far_device, address, *options.far_port);
  if (port < 0) return false;
  print("far device listening on " + address + ":" + std::to_string(port));
  return true;
}

bool start_ptt(const Options& options, const PttResponder::Printer& print, std::optional<PttResponder>& ptt) {
  if (options.ptt_interface.empty()) return true;
  ptt.emplace(quillsim::PttOptions{}, print);
  if (!ptt->open(options.ptt_interface)) {
    complain("cannot join the group on " + options.ptt_interface + ": " + std::strerror(errno));
    return false;
  }
  print("joined " + std::string(quillsim::kPttGroup) + " on " + options.ptt_interface);
  return true;
}

int run(Options options) {
  sigset_t open_signals;
  catch_signals(open_signals);

  std::optional<Console> console;
  std::optional<Screen> screen;
  const auto print = [&screen](const std::string& line) {
    if (screen) return screen->print(line);
    write_out(line + "\n");
  };
  Script* listener = nullptr;
  const auto print_for_script = [&](const std::string& line) {
    print(line);
    if (listener != nullptr) listener->note_printed(line);
  };

  if (options.console_type) {
    console.emplace(*options.console_type, print_for_script);
    const int port = start_listening(*console, options.address, options.console_port);
    if (port < 0) return kExitFailed;
    announce_console(options, port);
    if (options.draw) screen.emplace(*console, ::isatty(STDOUT_FILENO) == 1, write_out);
  }
  std::optional<FarDevice> far_device;
  std::optional<PttResponder> ptt;
  if (!start_far_device(options, print_for_script, far_device)) return kExitFailed;
  if (!start_ptt(options, print_for_script, ptt)) return kExitFailed;
  Sim sim(options.sim, print_for_script);
  const quillsim::Players players{sim, console ? &*console : nullptr, far_device ? &*far_device : nullptr,
                                  ptt ? &*ptt : nullptr};
  Script script(players, print, complain, options.wait_limit);
  listener = &script;
  if (!options.script.empty() && !load_script(options.script, script)) return kExitFailed;

  const int port = start_listening(sim, options.address, options.port);
  if (port < 0) return kExitFailed;
  print("listening on " + options.address + ":" + std::to_string(port));
  if (console) print("console listening on " + options.console_ip);

  StandardInput input(options.script.empty());
  const Parts parts{sim, console, far_device, ptt, screen, script};
  run_loop(parts, input, open_signals);
  return options.strict && (parts.ever_refused() || script.failures() > 0) ? kExitFailed : kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const std::string error = quillsim::parse_options({argv + 1, argv + argc}, options);
  if (!error.empty()) {
    complain(error + " (--help tells more)");
    return kExitUsage;
  }
  if (options.help) {
    (void)std::fputs(quillsim::usage_text().c_str(), stdout);
    return kExitOk;
  }
  return run(std::move(options));
}

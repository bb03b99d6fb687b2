#include "system/net/desk.h"

#include <algorithm>
#include <chrono>

#include "base/fd.h"

namespace hark::test {
namespace {

constexpr char kAnswer[] = "VER ";
constexpr char kPanel[] = "HARKUI#desk.";

}  // namespace

testing::AssertionResult Desk::connect(const NetStation& at) {
  if (client_.connected() || at.connect(client_)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "no connection to " << at.host.name();
}

testing::AssertionResult Desk::attach(const NetStation& at) {
  if (testing::AssertionResult connected = connect(at); !connected) return connected;
  (void)send("ATTACH HARKUI#desk KEYS:\"1-10\"");
  if (wait_until([&] { return display("KL10") != "-"; })) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "not attached to " << at.host.name();
}

testing::AssertionResult Desk::report_module(const NetStation& at, int type) {
  if (testing::AssertionResult connected = connect(at); !connected) return connected;
  (void)send("INDI Intercom type=" + std::to_string(type));
  if (answer_ms() < kWaitMs) return testing::AssertionSuccess();
  return testing::AssertionFailure() << at.host.name() << " does not answer";
}

bool Desk::assign(const std::string& key, const std::string& label) {
  return send(std::string("EVENT ") + kPanel + "DISP#" + key + " TEXT=\"" + label + "\"");
}

bool Desk::tap(const std::string& key) {
  const std::string event = std::string("EVENT ") + kPanel + "BUT#" + key;
  return send(event + " KEY=DOWN T=1000") && send(event + " KEY=UP T=1050");
}

std::string Desk::display(const std::string& key) const {
  const std::string start = std::string("set ") + kPanel + "DISP#" + key + " ";
  const auto last = std::find_if(lines_.rbegin(), lines_.rend(),
                                 [&](const std::string& line) { return line.starts_with(start); });
  return last == lines_.rend() ? "-" : last->substr(start.size());
}

testing::AssertionResult Desk::wait_display(const std::string& key, const std::string& want, int timeout_ms) {
  if (wait_until([&] { return display(key) == want; }, timeout_ms)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << key << " never showed " << want << ", but " << display(key);
}

int Desk::answer_ms(int timeout_ms) {
  using std::chrono::steady_clock;
  const auto start = steady_clock::now();
  const int want = answers_ + 1;
  if (!send("VER") || !wait_until([&] { return answers_ >= want; }, timeout_ms)) return timeout_ms;
  return static_cast<int>(
      std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start).count());
}

void Desk::fill(fd_set& read, fd_set& /*write*/, int& highest) const {
  if (client_.connected()) (void)fdset_add(client_.fd(), read, highest);
}

void Desk::serve(const fd_set& read, const fd_set& /*write*/) {
  if (!client_.connected() || !fdset_has(client_.fd(), read)) return;
  while (client_.has_line()) {
    std::string line = client_.read_line().value_or("");
    if (line.starts_with(kAnswer)) {
      ++answers_;
    } else {
      lines_.push_back(std::move(line));
    }
  }
}

}  // namespace hark::test

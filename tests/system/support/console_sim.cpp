#include "system/support/console_sim.h"

#include <algorithm>

#include "system/support/ports.h"
#include "tools/quillsim/console_view.h"

namespace hark::test {
namespace {

constexpr char kAddress[] = "127.0.0.1";

std::string words(const quillsim::KeyLight& light) {
  return std::string(colour_word(light.off)) + "/" + std::string(colour_word(light.on)) + " " +
         std::string(lamp_word(light.how));
}

}  // namespace

ConsoleSim::ConsoleSim(int type) : console_(type), port_(console_.listen(kAddress, free_tcp_port())) {
  EXPECT_GT(port_, 0) << "the console has no port";
}

std::string ConsoleSim::supervisor_line() const {
  return std::string("SUPV CONSOLE_IP:") + kAddress + ":" + std::to_string(port_);
}

void ConsoleSim::die() {
  console_.stop_listening();
  console_.close_station();
}

bool ConsoleSim::come_back() { return console_.listen(kAddress, port_) == port_; }

testing::AssertionResult ConsoleSim::wait_subscribed(int timeout_ms) const {
  return waits([this] { return console_.subscribed(); }, "subscription", timeout_ms);
}

testing::AssertionResult ConsoleSim::wait_panel(int timeout_ms) const {
  return waits([this] { return !console_.menu().lines.empty(); }, "menu of a panel", timeout_ms);
}

testing::AssertionResult ConsoleSim::wait_lamp(int button, quillsim::Lamp lamp, int timeout_ms) const {
  return waits([&] { return console_.lamp(button) == lamp; },
               "button " + std::to_string(button) + " " + std::string(lamp_word(lamp)), timeout_ms);
}

testing::AssertionResult ConsoleSim::wait_light(int key, quillsim::KeyLight light, int timeout_ms) const {
  return waits([&] { return console_.light(key) == light; },
               "key " + std::to_string(key) + " " + words(light), timeout_ms);
}

testing::AssertionResult ConsoleSim::wait_label(int channel, const std::string& text, int timeout_ms) const {
  return waits([&] { return console_.label(channel) == text; },
               "channel " + std::to_string(channel) + " labelled \"" + text + "\"", timeout_ms);
}

testing::AssertionResult ConsoleSim::wait_menu(const std::string& text, int timeout_ms) const {
  return waits([&] { return shows(console_.menu(), text); }, "menu line \"" + text + "\"", timeout_ms);
}

testing::AssertionResult ConsoleSim::wait_fader(int fader, int source, int timeout_ms) const {
  return waits([&] { return console_.fader_source(fader) == source; },
               "fader " + std::to_string(fader) + " with source " + std::to_string(source), timeout_ms);
}

testing::AssertionResult ConsoleSim::wait_received(const std::string& line, int timeout_ms) const {
  return waits([&] { return count(line) > 0; }, "line: " + line, timeout_ms);
}

testing::AssertionResult ConsoleSim::refused_nothing() const {
  if (console_.refused().empty()) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << "refused:";
  for (const quillsim::Refusal& refusal : console_.refused()) {
    failure << "\n  " << refusal.reason << ": " << testing::PrintToString(refusal.line);
  }
  return failure;
}

int ConsoleSim::count(const std::string& line) const {
  return static_cast<int>(std::count(console_.received().begin(), console_.received().end(), line));
}

testing::AssertionResult ConsoleSim::waits(const std::function<bool()>& condition, const std::string& what,
                                           int timeout_ms) const {
  if (wait_until(condition, timeout_ms)) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure()
                 << "the console never had: " << what << "\nlines received: " << console_.lines_received()
                 << (console_.connected() ? "" : ", no station is connected");
  for (const std::string& line : draw_module(console_.module(), console_.held(), {}))
    failure << "\n  " << line;
  return failure;
}

}  // namespace hark::test

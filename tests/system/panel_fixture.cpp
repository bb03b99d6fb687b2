#include "system/panel_fixture.h"

#include <algorithm>

namespace hark::test {
namespace {

constexpr int kPressedAt = 100'000;
constexpr int kTapMs = 50;
constexpr int kHoldMs = 500;

testing::AssertionResult waited(bool in_time, const std::string& start, const std::string& want,
                                const Lines& lines) {
  if (in_time) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure() << start << " never became " << want << ". It was told:";
  for (const std::string& line : lines)
    failure << "\n  " << line;
  return failure;
}

}  // namespace

std::string last_behind(const Lines& lines, std::string_view start) {
  const auto found =
      std::find_if(lines.rbegin(), lines.rend(), [&](const auto& line) { return line.starts_with(start); });
  return found == lines.rend() ? "-" : found->substr(start.size());
}

int count_of(const Lines& lines, std::string_view start) {
  return static_cast<int>(
      std::count_if(lines.begin(), lines.end(), [&](const auto& line) { return line.starts_with(start); }));
}

testing::AssertionResult NetworkPanel::attach(int port, const std::string& keys, const std::string& source,
                                              const std::string& more) {
  lines_.clear();
  all_lines_.clear();
  sent_mark_ = 0;
  if (!client_.connect(port, source)) return testing::AssertionFailure() << "no connection from " << source;
  if (!send("ATTACH HARKUI#" + id_ + " KEYS:\"" + keys + "\"" + more)) {
    return testing::AssertionFailure() << "ATTACH could not be sent";
  }
  settle();
  if (display("KLAA") == "-") return testing::AssertionFailure() << "not attached: " << id_;
  return testing::AssertionSuccess();
}

void NetworkPanel::leave() {
  settle();
  client_.close();
}

void NetworkPanel::tap(const std::string& key) {
  EXPECT_TRUE(press(key, kPressedAt) && release(key, kPressedAt + kTapMs));
}

void NetworkPanel::hold(const std::string& key) {
  EXPECT_TRUE(press(key, kPressedAt) && release(key, kPressedAt + kHoldMs));
}

void NetworkPanel::settle() {
  for (int turn = 0; turn < 3; ++turn) {
    const int want = answers_ + 1;
    EXPECT_TRUE(send("VER"));
    EXPECT_TRUE(wait_until([&] { return answers_ >= want; })) << id_ << " is not answered";
  }
}

std::string NetworkPanel::indicator(const std::string& key) const {
  return last_behind(all_lines_, object("BUT#" + key + " IND="));
}
std::string NetworkPanel::display(const std::string& key) const {
  return last_behind(all_lines_, object("DISP#" + key + " "));
}
std::string NetworkPanel::fader(const std::string& key) const {
  return last_behind(all_lines_, object("FAD#" + key + " gain="));
}

testing::AssertionResult NetworkPanel::wait_indicator(const std::string& key, const std::string& want) {
  return wait_for(object("BUT#" + key + " IND="), want);
}
testing::AssertionResult NetworkPanel::wait_display(const std::string& key, const std::string& want) {
  return wait_for(object("DISP#" + key + " "), want);
}
testing::AssertionResult NetworkPanel::wait_fader(const std::string& key, const std::string& want) {
  return wait_for(object("FAD#" + key + " gain="), want);
}

// A state that was short may be over when this process gets its turn: it counts if it came behind what the
// panel sent last.
testing::AssertionResult NetworkPanel::wait_for(const std::string& start, const std::string& want) {
  const std::size_t sent = sent_mark_;
  const auto was_told = [&] {
    const auto from = all_lines_.begin() + static_cast<std::ptrdiff_t>(sent);
    return std::find(from, all_lines_.end(), start + want) != all_lines_.end() ||
           last_behind(all_lines_, start) == want;
  };
  const bool in_time = wait_until(was_told);
  if (in_time) settle();
  return waited(in_time, start, want, lines_);
}

void NetworkPanel::fill(fd_set& read, fd_set&, int& highest) const {
  if (client_.connected()) (void)fdset_add(client_.fd(), read, highest);
}

void NetworkPanel::serve(const fd_set& read, const fd_set&) {
  if (client_.connected() && fdset_has(client_.fd(), read)) take_lines();
}

void NetworkPanel::take_lines() {
  while (client_.has_line()) {
    std::string line = client_.read_line().value_or("");
    if (line == kVersion) {
      ++answers_;
      continue;
    }
    all_lines_.push_back(line);
    lines_.push_back(std::move(line));
  }
}

testing::AssertionResult ModuleConsole::join(RoutingSim& sim) {
  if (!sim->send("SUPV CONSOLE_IP:" + peer.address() + ":" + std::to_string(peer.port()))) {
    return testing::AssertionFailure() << "no routing daemon";
  }
  return peer.wait_line("SUB Intercom");
}

void ModuleConsole::report(int type) {
  type_ = type;
  type_mark_ = peer.lines().size();
  forget();
  EXPECT_TRUE(send("INDI Intercom type=" + std::to_string(type)));
}

std::string ModuleConsole::event(int number, const std::string& what) const {
  // The keys of a coloured module are keys, all others are buttons.
  const char* object = type_ == 3 && number <= 40 ? ".key#" : ".btn#";
  return "EVENT Intercom" + (object + std::to_string(number)) + " " + what;
}

void ModuleConsole::press(int number) { EXPECT_TRUE(send(event(number, "KEY=DOWN"))); }
void ModuleConsole::release(int number) { EXPECT_TRUE(send(event(number, "KEY=UP"))); }
void ModuleConsole::tap(int number) {
  EXPECT_TRUE(send(event(number, "KEY=DOWN") + "\r\n" + event(number, "KEY=UP")));
}

void ModuleConsole::settle() {
  for (int turn = 0; turn < 3; ++turn) {
    const int want = count_of(peer.lines(), kVersion) + 1;
    EXPECT_TRUE(send("VER"));
    EXPECT_TRUE(wait_until([&] { return count_of(peer.lines(), kVersion) >= want; }));
  }
}

std::string ModuleConsole::button(int number) const {
  return last_behind(since(type_mark_), "SET Intercom.btn#" + std::to_string(number) + " IND=");
}
std::string ModuleConsole::key(int number) const {
  return last_behind(since(type_mark_), "SET Intercom.key#" + std::to_string(number) + " ");
}

testing::AssertionResult ModuleConsole::wait_told(const std::string& start, const std::string& want) {
  const bool in_time = wait_until([&] { return last_behind(since(type_mark_), start) == want; });
  if (in_time) settle();
  return waited(in_time, start, want, lines());
}
testing::AssertionResult ModuleConsole::wait_button(int number, const std::string& want) {
  return wait_told("SET Intercom.btn#" + std::to_string(number) + " IND=", want);
}
testing::AssertionResult ModuleConsole::wait_key(int number, const std::string& want) {
  return wait_told("SET Intercom.key#" + std::to_string(number) + " ", want);
}

Lines ModuleConsole::since(std::size_t mark) const {
  Lines told(peer.lines().begin() + static_cast<std::ptrdiff_t>(mark), peer.lines().end());
  std::erase(told, kVersion);
  return told;
}

void PanelTest::StartWithPanel() {
  station.write_sources(std::string(kBob) + "\n" + kAnn + "\n\talt Anna B.\n" + kCal + "\n" + kLow + "\n" +
                        kMic + "\n");
  station.root().write(kChannelFile, kKeys);
  StartReadyForCalls();
  client = Connect("127.0.0.9");
  // The source of the settings file restarts the services, which would end a call that is made before.
  ASSERT_TRUE(wait_until([&] { return answers(client, "CALL") == Lines{"BEGIN", "END"}; }));
  ASSERT_TRUE(panel.attach(station.ctrl_port(), "1-20"));
  EXPECT_THAT(answers(client, "UNSUB CALL"), testing::ElementsAre());
  sim->forget_records();
  panel.forget();
}

void PanelTest::StartWithTwoPanels() {
  StartWithPanel();
  ASSERT_TRUE(other.attach(station.ctrl_port(), "1-20", "127.0.0.2"));
  other.forget();
}

void PanelTest::OtherWorks() {
  other.tap("KL02");
  EXPECT_TRUE(other.wait_indicator("KL02", "On"));
  other.hold("KL02");
  EXPECT_TRUE(other.wait_indicator("KL02", "Off"));
}

Lines PanelTest::CallList() {
  Lines lines;
  for (std::string& line : answers(client, "CALL")) {
    if (line != "BEGIN" && line != "END") lines.push_back(std::move(line));
  }
  EXPECT_THAT(answers(client, "UNSUB CALL"), testing::Each(testing::StartsWith("CALL ")));
  return lines;
}

// The daemon dials a routing daemon that it lost in the housekeeping only.
void PanelTest::Housekeeping() {
  const int connections = sim->connections();
  sim.die();
  ASSERT_TRUE(sim.come_back());
  ASSERT_TRUE(wait_until([&] { return sim->connections() > connections; }));
  ASSERT_TRUE(sim.wait_mixer());
  let_it_settle(client);
}

}  // namespace hark::test

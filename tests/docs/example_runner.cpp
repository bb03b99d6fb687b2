#include "docs/example_runner.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

#include "docs/far_station.h"
#include "docs/link_peers.h"
#include "system/support/client.h"
#include "system/support/fake_console.h"
#include "system/support/routing_sim.h"
#include "system/support/station.h"

namespace hark::test {
namespace {

// The station that all documents speak of.
constexpr char kLabelLine[] = "HARK LABL:\"Studio A\"";
constexpr char kSourceLine[] = "SRC 1 PSNM:\"Studio A\" RTPA:\"239.192.0.77\"";
constexpr char kSourceReadBack[] = "SRC 1 PSNM:\"Studio A\" RTPA:\"239.192.0.77:5004\"";
constexpr char kSources[] = "\"Ext 1\" <quillnet:239.192.4.213>;trgl=4;gpio=1;gpiol=1;gpiot=2\n";

constexpr char kClosed[] = "[closed]";
constexpr char kPing[] = "VER";
constexpr char kPong[] = "VER SVER:1.3.6.4 HARK:1 NSRC:2 NGPI:9 NGPO:9\r\n";

// Name and source come from the routing daemon. A station that calls others has them from its settings: a
// name that is new to it would end its first calls.
quillsim::SimOptions sim_options(const Example& example) {
  quillsim::SimOptions options;
  if (!has_far_station(example)) options.greeting = {kLabelLine, kSourceLine};
  return options;
}

StationOptions station_options(const Example& example, int routing_port) {
  if (has_far_station(example)) return calling_station(call_address(false), routing_port);
  StationOptions options;
  options.routing_port = routing_port;
  return options;
}

int local_port(const Client& client) {
  sockaddr_in own{};
  socklen_t size = sizeof own;
  if (::getsockname(client.fd(), reinterpret_cast<sockaddr*>(&own), &size) != 0) return 0;
  return ntohs(own.sin_port);
}

// Sender and receiver for one example. A step that fails ends it.
class ExampleRun {
 public:
  explicit ExampleRun(const Example& example)
      : example_(example),
        sim_(sim_options(example)),
        links_(example),
        station_(station_options(example, sim_.port())) {
    if (has_far_station(example)) far_station_ = std::make_unique<FarStation>();
  }

  testing::AssertionResult start();
  testing::AssertionResult run(const Step& step);
  // Nothing came that the example does not show, and all of it was well formed.
  testing::AssertionResult finish();

 private:
  testing::AssertionResult client_step(const Step& step);
  testing::AssertionResult routing_step(const Step& step);
  testing::AssertionResult console_step(const Step& step);
  testing::AssertionResult station_step();
  testing::AssertionResult log_step(const Step& step);
  testing::AssertionResult connect(int connection, const std::string& source);
  testing::AssertionResult expect(Client& client, const std::string& text);
  testing::AssertionResult expect_repeated(Client& client, const std::string& text);
  testing::AssertionResult flush();
  testing::AssertionResult client_shown_all(int connection);
  testing::AssertionResult console_shown_all();
  testing::AssertionResult all_shown();
  // The console's next line is `text`, or a later one when lines are not shown.
  testing::AssertionResult console_expect(const std::string& text);
  testing::AssertionResult files_are_saved();

  Client& client(int connection) { return clients_[static_cast<std::size_t>(connection - 1)]; }
  FakeConsole& console();
  bool& skips(const Client& client) { return skips_[static_cast<std::size_t>(&client - clients_.data())]; }
  // The line that comes next, but for one that may come any number of times. `wanted` is looked for behind
  // lines that are not shown.
  std::optional<std::string> next_line(Client& client, const std::string& wanted);
  std::string with_line_end(std::string text) const;
  // `text` with the values of this run in place of what stands in braces.
  std::string filled(std::string text, int connection);
  std::optional<std::string> value_of(std::string_view name, int connection);

  const Example& example_;
  RoutingSim sim_;
  LinkPeers links_;
  Station station_;
  std::unique_ptr<FarStation> far_station_;  // null in an example without one
  std::array<Client, kMaxExampleConnections> clients_;
  std::array<bool, kMaxExampleConnections> skips_{};  // lines that are not shown may come
  bool console_skips_ = false;
  std::unique_ptr<FakeConsole> console_;
  std::size_t routing_seen_ = 0;
  std::size_t console_seen_ = 0;
  std::size_t log_seen_ = 0;     // bytes
  int sender_ = 1;               // whose lines wait in `unsent_`
  std::string unsent_;           // lines that follow each other go out at once, as a program sends a batch
  Client* repeating_ = nullptr;  // whom `repeated_` may reach any number of times
  std::string repeated_;
};

testing::AssertionResult ExampleRun::start() {
  station_.write_sources(kSources);
  for (const File& file : example_.files)
    station_.root().write(file.path, filled(file.text, 1));
  if (far_station_) {
    station_.write_settings(std::string(kLabelLine) + "\n" + kSourceReadBack + "\n");
    if (auto started = far_station_->start(); !started) return started;
  }
  if (auto started = station_.start(); !started) return started;
  if (auto mixer = sim_.wait_mixer(); !mixer) return mixer;
  Client probe(station_.ctrl_port());
  std::optional<std::string> line;
  const bool greeted = wait_until([&] {
    (void)probe.send_line("SRC 1");
    line = probe.read_line();
    return !line || *line == kSourceReadBack;
  });
  if (!greeted || !line) return testing::AssertionFailure() << "the station did not take its source";
  // The slot is free again before the example begins.
  (void)probe.send_line("QUIT");
  if (!probe.wait_closed()) return testing::AssertionFailure() << "the probe's connection stays";
  return connect(1, {});
}

testing::AssertionResult ExampleRun::connect(int connection, const std::string& source) {
  const bool done = client(connection).connect(station_.ctrl_port(), source.empty() ? "127.0.0.1" : source);
  if (done) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "connection " << connection << " could not be made";
}

testing::AssertionResult ExampleRun::run(const Step& step) {
  const bool goes_on = step.peer == Peer::kClient && step.action == Action::kSend && step.first == sender_;
  if (!goes_on) {
    if (auto flushed = flush(); !flushed) return flushed;
  }
  switch (step.peer) {
    case Peer::kRouting:
      return routing_step(step);
    case Peer::kConsole:
      return console_step(step);
    case Peer::kFar:
    case Peer::kGroup:
      return links_.run(step, filled(step.text, 1));
    case Peer::kStation:
      return station_step();
    case Peer::kLog:
      return log_step(step);
    case Peer::kFarStation:
      return far_station_->run(step, filled(step.text, 1));
    case Peer::kClient:
      break;
  }
  return client_step(step);
}

testing::AssertionResult ExampleRun::flush() {
  if (unsent_.empty()) return testing::AssertionSuccess();
  if (client(sender_).send_raw(std::exchange(unsent_, {}))) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "could not send";
}

testing::AssertionResult ExampleRun::client_step(const Step& step) {
  for (int i = step.first; i <= step.last; ++i) {
    if (client(i).connected()) continue;
    const std::string source = step.action == Action::kConnect ? step.text : std::string();
    if (auto made = connect(i, source); !made) return made;
  }
  const std::string text = filled(step.text, step.first);
  switch (step.action) {
    case Action::kSend:
      sender_ = step.first;
      unsent_ += text + "\r\n";
      break;
    case Action::kExpect:
      return expect(client(step.first), text);
    case Action::kExpectRepeated:
      return expect_repeated(client(step.first), text);
    case Action::kConnect:
      break;
  }
  return testing::AssertionSuccess();
}

std::optional<std::string> ExampleRun::next_line(Client& client, const std::string& wanted) {
  std::optional<std::string> line = client.read_line_with_end();
  const bool repeats = repeating_ == &client;
  while (line && *line != wanted && (skips(client) || (repeats && *line == repeated_)))
    line = client.read_line_with_end();
  if (repeats) repeating_ = nullptr;
  skips(client) = false;
  return line;
}

std::string ExampleRun::with_line_end(std::string text) const {
  const bool panel = example_.language == Language::kPanel;
  const std::string_view other = panel ? "\\r\\n" : "\\n";
  if (!text.ends_with(other)) return text + (panel ? "\n" : "\r\n");
  text.resize(text.size() - other.size());
  return text + (panel ? "\r\n" : "\n");
}

testing::AssertionResult ExampleRun::expect(Client& client, const std::string& text) {
  if (text == kNotShown) {
    skips(client) = true;
    return testing::AssertionSuccess();
  }
  if (text == kClosed && client.wait_closed() && (skips(client) || !client.has_line()))
    return testing::AssertionSuccess();
  const std::string wanted = with_line_end(text);
  const std::optional<std::string> line = next_line(client, wanted);
  if (line && *line == wanted) return testing::AssertionSuccess();
  auto failure = testing::AssertionFailure()
                 << "expected " << testing::PrintToString(wanted) << "\ngot      ";
  return line ? failure << testing::PrintToString(*line) : failure << "nothing";
}

testing::AssertionResult ExampleRun::expect_repeated(Client& client, const std::string& text) {
  for (int times = 0; times < 2; ++times) {
    if (auto came = expect(client, text); !came) return came;
  }
  repeating_ = &client;
  repeated_ = with_line_end(text);
  return testing::AssertionSuccess();
}

testing::AssertionResult ExampleRun::routing_step(const Step& step) {
  const std::string text = filled(step.text, 1);
  if (step.action == Action::kSend) {
    if (sim_->send(text)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the station is not connected to the routing daemon";
  }
  const auto& received = sim_->received();
  auto found = received.end();
  const auto look = [&] {
    const auto from = received.begin() + static_cast<std::ptrdiff_t>(routing_seen_);
    found = std::find(from, received.end(), text);
    return found != received.end();
  };
  if (wait_until(look)) {
    routing_seen_ = static_cast<std::size_t>(found - received.begin()) + 1;
    return testing::AssertionSuccess();
  }
  auto failure = testing::AssertionFailure() << "the routing daemon never got it, but:";
  for (std::size_t i = routing_seen_; i < received.size(); ++i)
    failure << "\n  " << received[i];
  return failure;
}

FakeConsole& ExampleRun::console() {
  if (!console_) console_ = std::make_unique<FakeConsole>();
  return *console_;
}

testing::AssertionResult ExampleRun::console_step(const Step& step) {
  FakeConsole& console = this->console();
  const std::string text = filled(step.text, 1);
  if (step.action == Action::kSend) {
    if (console.send_line(text)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the station is not connected to the console";
  }
  if (text == kNotShown) {
    console_skips_ = true;
    return testing::AssertionSuccess();
  }
  return console_expect(text);
}

testing::AssertionResult ExampleRun::console_expect(const std::string& text) {
  const auto& lines = console().lines();
  const bool skips = std::exchange(console_skips_, false);
  std::string last = "nothing";
  while (wait_until([&] { return lines.size() > console_seen_; })) {
    last = lines[console_seen_++];
    if (last == text) return testing::AssertionSuccess();
    if (!skips) break;
  }
  return testing::AssertionFailure() << "expected " << testing::PrintToString(text) << "\nthe console got "
                                     << testing::PrintToString(last);
}

testing::AssertionResult ExampleRun::station_step() {
  const int status = station_.terminate();
  if (status == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the station ended with status " << status;
}

testing::AssertionResult ExampleRun::log_step(const Step& step) {
  const std::string end = filled(step.text, 1) + "\n";
  std::size_t at = std::string::npos;
  const auto look = [&] {
    at = station_.stderr_text().find(end, log_seen_);
    return at != std::string::npos;
  };
  if (!wait_until(look)) {
    return testing::AssertionFailure() << "never logged, but:\n" << station_.stderr_text().substr(log_seen_);
  }
  log_seen_ = at + end.size();
  return testing::AssertionSuccess();
}

testing::AssertionResult ExampleRun::client_shown_all(int connection) {
  Client& client = this->client(connection);
  const bool closed = client.wait_closed(0);
  if (skips(client) || (closed && !client.has_line())) return testing::AssertionSuccess();
  if (!closed) (void)client.send_line(kPing);
  const std::optional<std::string> line = next_line(client, kPong);
  if (!closed && line && *line == kPong) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "not shown on connection " << connection << ": "
                                     << testing::PrintToString(line.value_or("(nothing)"));
}

// A console may ask as a client does; what it is told before the answer was not shown.
testing::AssertionResult ExampleRun::console_shown_all() {
  if (!console_ || !console_->connected() || console_skips_) return testing::AssertionSuccess();
  if (!console_->send_line(kPing)) return testing::AssertionFailure() << "could not send to the station";
  return console_expect(without_line_end(kPong));
}

testing::AssertionResult ExampleRun::all_shown() {
  // The console first: what it has sent may reach the clients.
  if (auto shown = console_shown_all(); !shown) return shown;
  if (auto shown = links_.shown_all(); !shown) return shown;
  if (far_station_) {
    if (auto shown = far_station_->shown_all(); !shown) return shown;
  }
  for (int connection = 1; connection <= kMaxExampleConnections; ++connection) {
    if (!client(connection).connected()) continue;
    if (auto shown = client_shown_all(connection); !shown) return shown;
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult ExampleRun::files_are_saved() {
  for (const File& file : example_.saved) {
    const std::string text = station_.root().read(file.path);
    if (text == filled(file.text, 1)) continue;
    return testing::AssertionFailure() << file.path << " of line " << file.line << " holds\n" << text;
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult ExampleRun::finish() {
  if (auto flushed = flush(); !flushed) return flushed;
  // Twice: panels are told at the end of a pass, which may be behind the first answer.
  for (int times = 0; times < 2; ++times) {
    if (auto shown = all_shown(); !shown) return shown;
  }
  if (auto saved = files_are_saved(); !saved) return saved;
  if (auto sound = sim_.refused_nothing(); !sound) return sound;
  if (auto ended = station_.ends_clean(); !ended || !far_station_) return ended;
  return far_station_->finish();
}

// What may stand in braces: {port}, {port2}: the client's own port, of this connection or of the one named;
// {console}, {far}: the port of the console, of the foreign device; {a}, {b}: the addresses of the station
// and of the other one; {host}: the machine's name; {blank}: a blank, at the end of a line; {x81}: a byte
// that is no text; {9 times x}: as many of them.
std::optional<std::string> ExampleRun::value_of(std::string_view name, int connection) {
  constexpr std::string_view kPort = "port";
  if (name == "blank") return " ";
  if (name == "console") return std::to_string(console().port());
  if (name == "far") return std::to_string(links_.far_port());
  if (name == "a" || name == "b") return call_address(name == "b");
  if (name == "host") {
    std::array<char, 256> host{};
    (void)::gethostname(host.data(), host.size() - 1);
    return host.data();
  }
  int number = connection;
  if (name.size() == 3 && name.starts_with('x')) {
    if (std::from_chars(name.data() + 1, name.data() + 3, number, 16).ec != std::errc()) return std::nullopt;
    return std::string(1, static_cast<char>(number));
  }
  if (name.starts_with(kPort)) {
    const std::string_view digits = name.substr(kPort.size());
    (void)std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (number < 1 || number > kMaxExampleConnections) return std::nullopt;
    return std::to_string(local_port(client(number)));
  }
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc() || !name.ends_with(" times x") || number < 0) return std::nullopt;
  return std::string(static_cast<std::size_t>(number), 'x');
}

std::string ExampleRun::filled(std::string text, int connection) {
  for (std::size_t at = text.find('{'); at != std::string::npos; at = text.find('{', at)) {
    const std::size_t end = text.find('}', at);
    if (end == std::string::npos) break;
    const auto value = value_of(std::string_view(text).substr(at + 1, end - at - 1), connection);
    text.replace(at, end - at + 1, value.value_or("(nobody knows this word)"));
  }
  return text;
}

}  // namespace

void run_example(const Document& document, const Example& example) {
  ExampleRun run(example);
  if (const auto started = run.start(); !started) {
    ADD_FAILURE_AT(document.path.c_str(), example.line) << started.message();
    return;
  }
  for (const Step& step : example.steps) {
    const auto result = run.run(step);
    if (result) continue;
    ADD_FAILURE_AT(document.path.c_str(), step.line) << result.message();
    return;
  }
  if (const auto finished = run.finish(); !finished) {
    ADD_FAILURE_AT(document.path.c_str(), example.line) << finished.message();
  }
}

}  // namespace hark::test

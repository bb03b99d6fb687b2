#include "docs/example_runner.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <optional>
#include <utility>

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

quillsim::SimOptions sim_options() {
  quillsim::SimOptions options;
  options.greeting = {kLabelLine, kSourceLine};
  return options;
}

StationOptions station_options(int routing_port) {
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
  ExampleRun() : sim_(sim_options()), station_(station_options(sim_.port())) {}

  testing::AssertionResult start();
  testing::AssertionResult run(const Step& step);
  // Nothing came that the example does not show, and all of it was well formed.
  testing::AssertionResult finish();

 private:
  testing::AssertionResult client_step(const Step& step);
  testing::AssertionResult routing_step(const Step& step);
  testing::AssertionResult console_step(const Step& step);
  testing::AssertionResult connect(int connection, const std::string& source);
  testing::AssertionResult expect(Client& client, const std::string& text);
  testing::AssertionResult expect_repeated(Client& client, const std::string& text);
  testing::AssertionResult flush();

  Client& client(int connection) { return clients_[static_cast<std::size_t>(connection - 1)]; }
  FakeConsole& console();
  // The line that comes next, but for one that may come any number of times.
  std::optional<std::string> next_line(Client& client);
  // `text` with the values of this run in place of what stands in braces.
  std::string filled(std::string text, int connection);
  std::optional<std::string> value_of(std::string_view name, int connection);

  RoutingSim sim_;
  Station station_;
  std::array<Client, kMaxExampleConnections> clients_;
  std::unique_ptr<FakeConsole> console_;
  std::size_t routing_seen_ = 0;
  std::size_t console_seen_ = 0;
  int sender_ = 1;               // whose lines wait in `unsent_`
  std::string unsent_;           // lines that follow each other go out at once, as a program sends a batch
  Client* repeating_ = nullptr;  // whom `repeated_` may reach any number of times
  std::string repeated_;
};

testing::AssertionResult ExampleRun::start() {
  station_.write_sources(kSources);
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

std::optional<std::string> ExampleRun::next_line(Client& client) {
  std::optional<std::string> line = client.read_line_with_end();
  if (repeating_ != &client) return line;
  while (line && *line == repeated_)
    line = client.read_line_with_end();
  repeating_ = nullptr;
  return line;
}

std::string with_line_end(std::string text) {
  if (!text.ends_with("\\n")) return text + "\r\n";
  text.resize(text.size() - 2);
  return text + "\n";
}

testing::AssertionResult ExampleRun::expect(Client& client, const std::string& text) {
  const std::string wanted = with_line_end(text);
  if (text == kClosed && client.wait_closed() && !client.has_line()) return testing::AssertionSuccess();
  const std::optional<std::string> line = next_line(client);
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
  if (step.action == Action::kSend) {
    if (console.send_line(step.text)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the station is not connected to the console";
  }
  const auto& lines = console.lines();
  if (!wait_until([&] { return lines.size() > console_seen_; })) {
    return testing::AssertionFailure() << "the console got nothing";
  }
  const std::string& line = lines[console_seen_++];
  if (line == step.text) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the console got " << line;
}

testing::AssertionResult ExampleRun::finish() {
  if (auto flushed = flush(); !flushed) return flushed;
  for (Client& client : clients_) {
    if (!client.connected()) continue;
    const bool closed = client.wait_closed(0);
    if (!closed) (void)client.send_line(kPing);
    if (closed && !client.has_line()) continue;
    const std::optional<std::string> line = next_line(client);
    if (!closed && line && *line == kPong) continue;
    return testing::AssertionFailure() << "not shown: " << testing::PrintToString(line.value_or("(nothing)"));
  }
  if (auto sound = sim_.refused_nothing(); !sound) return sound;
  return station_.ends_clean();
}

// What may stand in braces: {port}, {port2}: the client's own port, of this connection or of the one named;
// {console}: the console's port; {host}: the machine's name; {blank}: a blank, at the end of a line; {9 times
// x}: as many of them.
std::optional<std::string> ExampleRun::value_of(std::string_view name, int connection) {
  constexpr std::string_view kPort = "port";
  if (name == "blank") return " ";
  if (name == "console") return std::to_string(console().port());
  if (name == "host") {
    std::array<char, 256> host{};
    (void)::gethostname(host.data(), host.size() - 1);
    return host.data();
  }
  int number = connection;
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
  ExampleRun run;
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
